// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "events/ClearAll.h"

using namespace Qt::StringLiterals;

ClearAll::ClearAll(SystemModel &model, MainView &view, DeviceCommands &commands, Clearing &clearing,
                   MatrixLists &lists)
    : m_model(model), m_view(view), m_commands(commands), m_clearing(clearing), m_lists(lists)
{
}

void ClearAll::ResetAndClearAll()
{
    const MessageResult answer =
        m_view.messageBox(u"Are you absolutely sure you want to Clear ALL ??"_s, u"Clear All"_s,
                          MessageButtons::OkCancel, MessageIcon::None, MessageResult::Cancel);
    if (answer != MessageResult::Ok)
        return;
    m_clearing.ClearAllTest();
    if (m_model.Online) {
        m_commands.SystemInit();
        m_commands.EnableUnits();
    }
    m_clearing.ClearLocalMaps();
    m_lists.UpdateListBox1();
    m_view.setText(Control::lblFileName, QString());
}

void ClearAll::cmdInit_Click()
{
    ResetAndClearAll();
    m_view.setFocus(Control::List1);
}
