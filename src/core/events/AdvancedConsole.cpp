// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "events/AdvancedConsole.h"

AdvancedConsole::AdvancedConsole(MainView &mainView, AdvancedView &view, CommandChannel &channel)
    : m_main(mainView), m_view(view), m_channel(channel)
{
}

// The channel must not call into a view that is gone.
AdvancedConsole::~AdvancedConsole() { m_channel.setMonitor({}); }

void AdvancedConsole::Check2_Click()
{
    if (m_main.isChecked(Control::Check2)) {
        m_main.setFocus(Control::List1);
        // The channel copies each exchange here only while the box is ticked; attaching now
        // means the first exchange after ticking already shows.
        m_channel.setMonitor([this](const QString &text) { m_view.setMonitorText(text); });
        m_main.showWindow(Window::frmVerbose, true);
        m_view.focusCommandLine();
        m_main.setForeColour(Control::Check2, Colours::Red);
    } else {
        m_channel.setMonitor({});
        m_main.showWindow(Window::frmVerbose, false);
        m_main.setFocus(Control::List1);
        m_main.setForeColour(Control::Check2, Colours::Black);
    }
}

void AdvancedConsole::cmdDirectCommand_Click() { m_channel.SendCommand(m_view.commandText()); }

bool AdvancedConsole::txtDirectCommand_KeyPress(int KeyAscii)
{
    if (KeyAscii != EnterKey)
        return false;
    cmdDirectCommand_Click();
    return true;
}

void AdvancedConsole::Form_Unload()
{
    m_main.setFocus(Control::List1);
    // As when the operator unticks it; a box that is already clear has nothing to report.
    if (!m_main.isChecked(Control::Check2))
        return;
    m_main.setChecked(Control::Check2, false);
    Check2_Click();
}
