// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "view/SecondaryViews.h"

#include <QString>

#include <array>

class Console;

// The unit status window as kestrelctl watch has it: a time-stamped line on standard output
// for every lamp that changes and every new status reply. The watched unit is the one named
// on the command line; there is no spin control to change it.
class ConsoleUnitStatusView : public UnitStatusView
{
public:
    ConsoleUnitStatusView(Console &console, qint16 unit);

    void setLampLit(int k, bool lit) override;
    void setWatchUnitText(const QString &) override {}
    QString watchUnitText() const override;
    void setStatusText(const QString &text) override;
    void setSpinRange(int, int) override {}
    void setSpinValue(int value) override { m_spin = value; }
    int spinValue() const override { return m_spin; }
    void placeBesideMainWindow(int, int) override {}

    // From now on changes are printed; before, the window's own reset only sets the lamps.
    void startPrinting();
    void stopPrinting() { m_printing = false; }
    const QString &statusText() const { return m_status; }
    // "HH:mm:ss.zzz unit N " before each line.
    QString stamp() const;

private:
    Console &m_console;
    qint16 m_unit = 0;
    std::array<bool, LampCount + 1> m_lit{};
    QString m_status;
    int m_spin = 1;
    bool m_printing = false;
};
