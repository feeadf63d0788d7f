// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "events/SelectionEvents.h"

#include "matrix/Mapping.h"
#include "matrix/MatrixLists.h"
#include "matrix/OutputTest.h"

SelectionEvents::SelectionEvents(SystemModel &model, MainView &view, MatrixLists &lists,
                                 Mapping &mapping, OutputTest &test)
    : m_model(model), m_view(view), m_lists(lists), m_mapping(mapping), m_test(test)
{
}

void SelectionEvents::GetInChannel()
{
    const int j = m_view.currentRow(Control::list2);
    if (j < 0 || j > m_model.NumberOfInputs)
        return; // no input selected: nothing to read
    m_model.CurrentInUnit = m_model.InputUnit[j];
    m_model.CurrentInChannel = m_model.InputChannel[j];
    m_view.setText(Control::lblInUnit, QString::number(m_model.CurrentInUnit));
    m_view.setText(Control::lblInChannel, QString::number(m_model.CurrentInChannel));
}

void SelectionEvents::GetOutChannel()
{
    int i = m_view.currentRow(Control::List1) + 1;
    if (i < 0 || i > m_model.NumberOfOutputs)
        i = 0; // index 0 holds unit 0, channel 0
    const bool underTest = m_model.OutputTestOn[i];
    m_view.setChecked(Control::chkTest, underTest);
    m_view.setForeColour(Control::chkTest, underTest ? Colours::Red : Colours::Black);
    m_view.setBackColour(Control::cmdTest, underTest ? Colours::Red : Colours::ButtonFace);
    m_view.setText(Control::lblOutUnit, QString::number(m_model.OutputUnit[i]));
    m_view.setText(Control::lblOutChannel, QString::number(m_model.OutputChannel[i]));
    ReadBackMapping();
}

void SelectionEvents::ReadBackMapping()
{
    m_view.setText(Control::lblInUnit, QString::number(m_model.CurrentInUnit));
    m_view.setText(Control::lblInChannel, QString::number(m_model.CurrentInChannel));
}

void SelectionEvents::moveSelection(Control list, int last, bool up,
                                    Qt::KeyboardModifiers modifiers)
{
    const int r = m_view.currentRow(list);
    const int step = WithModifier(modifiers) ? 10 : 1;
    const int to = up ? std::max(r - step, 0) : std::min(r + step, last);
    m_view.setCurrentRow(list, std::max(to, 0));
}

// Mapping moves on to the next output; the read-out follows the selection at once.
void SelectionEvents::mapAndMoveOn()
{
    m_mapping.MapCurrent();
    m_lists.ScrollOutputList();
    GetOutChannel();
}

bool SelectionEvents::List1_KeyDown(int key, Qt::KeyboardModifiers modifiers)
{
    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        mapAndMoveOn();
        m_view.setText(Control::txtInput, QString::number(m_view.currentRow(Control::list2)));
        return true;
    case Qt::Key_Space:
        // Key repeat lands here again; an output already under test sends nothing more.
        m_test.TestOn(m_view.currentRow(Control::List1) + 1);
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right:
        moveSelection(Control::list2, m_model.NumberOfInputs, key == Qt::Key_Left, modifiers);
        GetInChannel();
        return true;
    case Qt::Key_Delete:
        m_view.setCurrentRow(Control::list2, 0);
        GetInChannel();
        return true;
    default:
        return false;
    }
}

void SelectionEvents::List1_KeyUp(int key)
{
    // Space's release is HeldTest's: it ends the test the hold started.
    switch (key) {
    case Qt::Key_Space:
    case Qt::Key_Left:
    case Qt::Key_Right:
        break;
    default:
        GetOutChannel();
        break;
    }
}

void SelectionEvents::List1_Click() { GetOutChannel(); }

void SelectionEvents::list2_Click()
{
    m_view.setText(Control::txtInput, QString::number(m_view.currentRow(Control::list2)));
    GetInChannel();
}

void SelectionEvents::list2_DblClick() { mapAndMoveOn(); }

void SelectionEvents::list2_MouseUp()
{
    GetInChannel();
    m_view.setFocus(Control::List1);
}

void SelectionEvents::cmdMapIt_Click() { mapAndMoveOn(); }

void SelectionEvents::cmdBool_Click(BoolMode mode)
{
    if (m_view.currentRow(Control::list2) < 1 || m_view.currentRow(Control::list3) < 1)
        return; // both inputs must be real ones
    m_mapping.MapBool(mode);
    GetOutChannel();
}
