// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "events/KeyboardEntry.h"

#include "events/SelectionEvents.h"
#include "matrix/Mapping.h"
#include "matrix/MatrixLists.h"
#include "model/NumberText.h"

#include <cmath>

KeyboardEntry::KeyboardEntry(SystemModel &model, MainView &view, MatrixLists &lists,
                             Mapping &mapping, SelectionEvents &selection)
    : m_model(model), m_view(view), m_lists(lists), m_mapping(mapping), m_selection(selection)
{
}

void KeyboardEntry::selectAll() { m_view.selectAllText(Control::txtInput); }

void KeyboardEntry::txtInput_Change()
{
    // Writing the highest input back changes the text again; that pass has nothing to do.
    if (m_checking || ReadNumber(m_view.text(Control::txtInput)) <= m_model.NumberOfInputs)
        return;
    m_checking = true;
    m_view.setText(Control::txtInput, QString::number(m_model.NumberOfInputs));
    selectAll();
    m_view.messageBox(QStringLiteral("Highest Input allowable\ron this system is") +
                          NumberField(m_model.NumberOfInputs),
                      QStringLiteral("Entry Error"), MessageButtons::Ok, MessageIcon::Information,
                      MessageResult::Ok);
    m_checking = false;
}

void KeyboardEntry::txtInput_Click() { selectAll(); }

bool KeyboardEntry::txtInput_KeyDown(int key, Qt::KeyboardModifiers modifiers)
{
    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter: {
        const double v = std::nearbyint(ReadNumber(m_view.text(Control::txtInput)));
        // A negative number names no input: nothing is mapped and the selection stays.
        if (v >= 0 && v <= m_model.NumberOfInputs) {
            m_view.setCurrentRow(Control::list2, static_cast<int>(v));
            m_mapping.MapCurrent();
            m_lists.ScrollOutputList();
            m_selection.GetOutChannel();
        }
        m_view.setFocus(Control::txtInput);
        selectAll();
        return true;
    }
    case Qt::Key_Space:
    case Qt::Key_Delete:
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
        m_selection.moveSelection(Control::List1, m_model.NumberOfOutputs - 1, key == Qt::Key_Up,
                                  modifiers);
        m_selection.GetOutChannel();
        return true;
    default:
        return false;
    }
}
