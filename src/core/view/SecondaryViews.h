// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

// What the logic reads and writes on the two secondary windows: passive views, as MainView is
// for the main window. Showing and hiding them goes through MainView::showWindow; these only
// carry what is inside the windows.

// frmUnitBits: 32 lamps for the bits of the watched unit, its number, its status reply and the
// spin control that picks it.
class UnitStatusView
{
public:
    static constexpr int LampCount = 32;

    virtual ~UnitStatusView() = default;

    // Shape3(k), k 1..LampCount: red when lit, black when not.
    virtual void setLampLit(int k, bool lit) = 0;
    // lblWatchUnit: the number of the watched unit, as shown beside "Unit".
    virtual void setWatchUnitText(const QString &text) = 0;
    virtual QString watchUnitText() const = 0;
    // lblStatus: the status reply of the watched unit.
    virtual void setStatusText(const QString &text) = 0;
    // UpDown1. Setting range or value from here raises no change notification; only the
    // operator's steps do.
    virtual void setSpinRange(int minimum, int maximum) = 0;
    virtual void setSpinValue(int value) = 0;
    virtual int spinValue() const = 0;
    // Moves the window's frame to this offset from the main window's top-left corner.
    virtual void placeBesideMainWindow(int leftTwips, int topTwips) = 0;
};

// frmVerbose: a command line to send as typed, and the receive monitor.
class AdvancedView
{
public:
    virtual ~AdvancedView() = default;

    // txtDirectCommand, exactly as typed.
    virtual QString commandText() const = 0;
    // txtIBuffer: the whole new content; CR LF in it shows as a line break.
    virtual void setMonitorText(const QString &text) = 0;
    // The window comes to the front with the cursor in txtDirectCommand.
    virtual void focusCommandLine() = 0;
};
