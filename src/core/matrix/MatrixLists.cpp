// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "matrix/MatrixLists.h"

#include "matrix/Lookup.h"
#include "matrix/MapString.h"
#include "model/NumberText.h"

namespace {
const QChar Tab = QLatin1Char('\t');
}

MatrixLists::MatrixLists(SystemModel &model, MainView &view) : m_model(model), m_view(view) {}

void MatrixLists::FillLists()
{
    m_view.setColumnWidths(Control::List1, {30, 5, 4, 5});
    m_view.setColumnWidths(Control::list2, {8, 30});
    m_view.setColumnWidths(Control::list3, {8, 30});
    for (Control list : {Control::List1, Control::list2, Control::list3})
        m_view.clearRows(list);

    for (int i = 1; i <= m_model.NumberOfOutputs; ++i)
        m_view.addRow(Control::List1, m_model.OutputName[i] + Tab + m_model.OutputSource[i]);
    for (int j = 0; j <= m_model.NumberOfInputs; ++j) {
        const QString row = QString::number(j) + Tab + m_model.InputName[j];
        m_view.addRow(Control::list2, row);
        m_view.addRow(Control::list3, row);
    }
}

void MatrixLists::ShowMappingInList(int OutputListPointer)
{
    const int i = OutputListPointer;
    if (i < 1 || i > m_model.NumberOfOutputs)
        return; // only outputs with a row are drawn

    ParseGetMap(m_model, m_model.OutputMap[i]);
    const int a = SearchInputList(m_model, m_model.CurrentInUnit, m_model.CurrentInChannel);
    m_model.OutputSource[i] = a == 0 ? QString() : NumberField(a);
    const int b =
        SearchInputList(m_model, m_model.CurrentBooleanInUnit, m_model.CurrentBooleanInChannel);

    QString op;
    switch (m_model.CurrentBooleanMode) {
    case PlainMapping:
        m_model.OutputBoolSource[i].clear();
        break;
    case AndMapping:
        op = QStringLiteral("&");
        m_model.OutputBoolSource[i] = NumberField(b);
        break;
    case OrMapping:
        op = QStringLiteral("||");
        m_model.OutputBoolSource[i] = NumberField(b);
        break;
    default: // an unknown mode keeps the second source shown before
        break;
    }
    m_view.setRowText(Control::List1, i - 1,
                      m_model.OutputName[i] + Tab + m_model.OutputSource[i] + Tab + op + Tab +
                          m_model.OutputBoolSource[i]);
}

void MatrixLists::UpdateListBox1()
{
    m_view.setVisible(Control::List1, false);
    for (int i = 1; i <= m_model.NumberOfOutputs; ++i)
        ShowMappingInList(i);
    if (m_model.NumberOfOutputs > 0)
        m_view.setCurrentRow(Control::List1, 0);
    m_view.setVisible(Control::List1, true);
}

void MatrixLists::ScrollOutputList()
{
    const int r = m_view.currentRow(Control::List1);
    if (r < m_view.rowCount(Control::List1) - 1)
        m_view.setCurrentRow(Control::List1, r + 1);
}

void MatrixLists::EnableControls(bool Enabled)
{
    m_view.setVisible(Control::lblTallyOutputs, Enabled);
    m_view.setVisible(Control::lblDownloading, !Enabled);
    if (Enabled)
        m_view.endBlocking();
    else
        m_view.beginBlocking();
    for (Control c : {Control::list2, Control::cmdMapIt, Control::txtInput, Control::cmdInit})
        m_view.setEnabled(c, Enabled);
    // Offline these keep the disabled state that going offline gave them.
    if (m_model.Online) {
        for (Control c : {Control::cmdTest, Control::chkTest, Control::cmdRefresh})
            m_view.setEnabled(c, Enabled);
    }
}

void MatrixLists::Check3_Click()
{
    const bool boolean = m_view.isChecked(Control::Check3);
    m_view.setHeightTwips(Control::list2, boolean ? List2ShortTwips : List2TallTwips);
    if (boolean) {
        // Row 1 is the first real input; a system without inputs only has "Unassigned".
        const int row = m_view.rowCount(Control::list2) > 1 ? 1 : 0;
        m_view.setCurrentRow(Control::list2, row);
        m_view.setCurrentRow(Control::list3, row);
    }
    for (Control c : {Control::list3, Control::cmdBoolAnd, Control::cmdBoolOr})
        m_view.setVisible(c, boolean);
    m_view.setForeColour(Control::Check3, boolean ? Colours::Red : Colours::Black);
    m_view.setFocus(Control::List1);
}
