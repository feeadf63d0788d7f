// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/CommandChannel.h"
#include "link/LinkTiming.h"
#include "model/SystemModel.h"
#include "view/MainView.h"

#include <QString>

#include <chrono>

// Online or offline: the probe with its retry dialog, the controls that only work online, the
// tally system's version and the information texts shown as tool tips.
class Connection
{
public:
    static constexpr int VersionMajor = KESTREL_VERSION_MAJOR;
    static constexpr int VersionMinor = KESTREL_VERSION_MINOR;
    static constexpr int VersionPatch = KESTREL_VERSION_PATCH;
    // Lets the tally system settle after answering the probe, before the version query.
    static constexpr std::chrono::milliseconds SettleTime{100};

    Connection(SystemModel &model, MainView &view, CommandChannel &channel,
               Pause pause = ThreadPause());

    // Probes until the tally system answers or the operator gives up; true when online.
    bool GoOnline();
    // Offline: state and controls only; the port stays open and nothing is sent.
    void GoOffline();
    void cmdOnline_Click();
    // MainCPUVersion from the "VER" reply: from "MAIN" to just before the reply's last
    // character; "MAINV0" when there is no such text.
    void GetVersion();
    // InfoString and the tool tips of lblVersionInfo and lblMainVersionInfo.
    void MakeInfoString();

    // The tool tip of lblVersionInfo: the configurator's version and a credit line.
    static QString VersionText();

private:
    void enableOnlineControls(bool enabled);

    SystemModel &m_model;
    MainView &m_view;
    CommandChannel &m_channel;
    Pause m_pause;
};
