// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/CommandChannel.h"
#include "view/MainView.h"
#include "view/SecondaryViews.h"

// The advanced window frmVerbose and the "Advanced" box Check2 that opens it: any text the
// operator types goes to the tally system as it stands, and while the box is ticked every
// exchange of the program, typed here or not, shows in the receive monitor.
class AdvancedConsole
{
public:
    static constexpr int EnterKey = 13;

    AdvancedConsole(MainView &mainView, AdvancedView &view, CommandChannel &channel);
    ~AdvancedConsole();
    AdvancedConsole(const AdvancedConsole &) = delete;
    AdvancedConsole &operator=(const AdvancedConsole &) = delete;

    // The main window's "Advanced" box, after the operator changed it.
    void Check2_Click();
    // "send": the entry line exactly as typed; the line keeps its text for the next go.
    void cmdDirectCommand_Click();
    // A key typed in the entry line; Enter sends as "send" does. True when the key is swallowed.
    bool txtDirectCommand_KeyPress(int KeyAscii);
    // The window was closed by its close box. Closing is never refused.
    void Form_Unload();

private:
    MainView &m_main;
    AdvancedView &m_view;
    CommandChannel &m_channel;
};
