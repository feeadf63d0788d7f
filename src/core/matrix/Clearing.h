// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "model/SystemModel.h"
#include "view/MainView.h"

// Forgetting local state: the mappings of the outputs, and the output test. Nothing is sent
// and no row text is redrawn; callers redraw when they need to.
class Clearing
{
public:
    Clearing(SystemModel &model, MainView &view);

    // OutputMap and OutputSource become "" for indexes 0..NumberOfOutputs.
    void ClearLocalMaps();
    // No output under test; every output row back to the list's own colour.
    void ClearAllTest();

private:
    SystemModel &m_model;
    MainView &m_view;
};
