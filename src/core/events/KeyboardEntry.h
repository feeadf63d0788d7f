// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "model/SystemModel.h"
#include "view/MainView.h"

#include <Qt>

class Mapping;
class MatrixLists;
class SelectionEvents;

// The entry box txtInput: type an input number, Enter maps the selected output to it and
// moves on; Up and Down step through the outputs without leaving the box.
class KeyboardEntry
{
public:
    KeyboardEntry(SystemModel &model, MainView &view, MatrixLists &lists, Mapping &mapping,
                  SelectionEvents &selection);

    // The text changed, by typing or by the program: numbers above the last input are cut
    // back to it, with a message.
    void txtInput_Change();
    void txtInput_Click();
    // True when the key is swallowed.
    bool txtInput_KeyDown(int key, Qt::KeyboardModifiers modifiers);

private:
    void selectAll();

    SystemModel &m_model;
    MainView &m_view;
    MatrixLists &m_lists;
    Mapping &m_mapping;
    SelectionEvents &m_selection;
    bool m_checking = false;
};
