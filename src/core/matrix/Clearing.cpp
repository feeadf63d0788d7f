// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "matrix/Clearing.h"

#include <algorithm>

Clearing::Clearing(SystemModel &model, MainView &view) : m_model(model), m_view(view) {}

void Clearing::ClearLocalMaps()
{
    const int last = std::min<int>(m_model.NumberOfOutputs, TableSize - 1);
    for (int i = 0; i <= last; ++i) {
        m_model.OutputSource[i].clear();
        m_model.OutputMap[i].clear();
    }
}

void Clearing::ClearAllTest()
{
    const int last = std::min<int>(m_model.NumberOfOutputs, TableSize - 1);
    for (int i = 1; i <= last; ++i) {
        m_model.OutputTestOn[i] = false;
        m_view.setRowColour(Control::List1, i - 1, Colours::ListBlue);
    }
}
