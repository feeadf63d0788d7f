// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "matrix/MapString.h"
#include "model/SystemModel.h"
#include "view/MainView.h"

#include <Qt>

class Mapping;
class MatrixLists;
class OutputTest;

// The operator's work on the lists with mouse and keys, and the read-out of the selection:
// the output's unit, channel and test state, and the current input's unit and channel.
class SelectionEvents
{
public:
    SelectionEvents(SystemModel &model, MainView &view, MatrixLists &lists, Mapping &mapping,
                    OutputTest &test);

    void GetInChannel();
    void GetOutChannel();
    void ReadBackMapping();

    // Key handlers return true when they swallow the key.
    bool List1_KeyDown(int key, Qt::KeyboardModifiers modifiers);
    void List1_KeyUp(int key);
    void List1_Click();
    void list2_Click();
    void list2_DblClick();
    void list2_MouseUp();
    void cmdMapIt_Click();
    // "AND" or "OR".
    void cmdBool_Click(BoolMode mode);

    // Moves the selection of `list` by one row, or by ten with a modifier, within 0..last.
    void moveSelection(Control list, int last, bool up, Qt::KeyboardModifiers modifiers);

private:
    void mapAndMoveOn();

    SystemModel &m_model;
    MainView &m_view;
    MatrixLists &m_lists;
    Mapping &m_mapping;
    OutputTest &m_test;
};

// Any of Shift, Ctrl or Alt held down makes the arrow keys move ten rows.
inline bool WithModifier(Qt::KeyboardModifiers m)
{
    return m & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier);
}
