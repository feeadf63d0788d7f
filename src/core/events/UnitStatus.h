// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/CommandChannel.h"
#include "link/DeviceCommands.h"
#include "model/SystemModel.h"
#include "view/MainView.h"
#include "view/SecondaryViews.h"

#include <QString>
#include <QTimer>

#include <chrono>

// The unit status window frmUnitBits and the "Unit Status" box Check1 that opens it: while the
// box is ticked, the watched unit's 32 state bits ("BITS") and status reply ("GSTAT") are polled
// five times a second. The watched unit is whatever lblWatchUnit shows; the spin control steps
// it through the enabled units.
class UnitStatus
{
public:
    static constexpr std::chrono::milliseconds PollInterval{200}; // tmrInputStatus
    // Where the window opens, from the main window's top-left corner: just right of its outline.
    static constexpr int PlaceLeftTwips = 8500;
    static constexpr int PlaceTopTwips = 450;

    UnitStatus(SystemModel &model, MainView &mainView, UnitStatusView &view,
               CommandChannel &channel, DeviceCommands &commands);
    UnitStatus(const UnitStatus &) = delete;
    UnitStatus &operator=(const UnitStatus &) = delete;

    // "BITS" for the unit; leaves its reply line in Response and its bits in UnitBits.
    void GetBits(qint16 Ounit);
    // The 0 and 1 characters of the reply line, in order; everything else is dropped.
    static QString ParseGetBits(const QString &Response);
    // Polls the watched unit's bits; the lamps change only for a reply of exactly 32 bits.
    void UpdateBitStatus();
    // lblStatus = the "GSTAT" reply line of the watched unit ("" when none came).
    void ShowStatus();

    // One poll: bits, then status. Does nothing while a poll is already running, since a tick
    // can be delivered from inside one (a message box, or events served during an exchange).
    void tmrInputStatus_Timer();
    // The main window's "Unit Status" box, after the operator changed it.
    void Check1_Click();
    // The window's load: placed beside the main window, the spin control set to the enabled
    // units, starting at unit 1. Runs on the first showing and after a close by the close box.
    void Form_Load();
    // The operator stepped UpDown1.
    void UpDown1_Change();
    // "Close Window".
    void cmdClose_Click();
    // The window was closed by its close box: the next showing loads it afresh.
    void Form_Unload();

    // The number shown in lblWatchUnit.
    qint16 watchedUnit() const;
    bool isLoaded() const { return m_loaded; }

private:
    void untickCheck1();

    SystemModel &m_model;
    MainView &m_main;
    UnitStatusView &m_view;
    CommandChannel &m_channel;
    DeviceCommands &m_commands;
    QTimer m_tmrInputStatus;
    bool m_loaded = false;
    bool m_polling = false;
};
