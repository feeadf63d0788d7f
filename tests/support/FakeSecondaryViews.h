#pragma once

#include "view/SecondaryViews.h"

#include <QList>
#include <QPoint>
#include <QStringList>

#include <array>

// Recording stand-ins for the unit status window and the advanced window, like FakeView.

class FakeUnitStatusView : public UnitStatusView
{
public:
    std::array<bool, LampCount + 1> lamps{}; // lamps[k] for k 1..32; entry 0 unused
    QString watchUnit = QStringLiteral("1"), status = QStringLiteral("0");
    int spinMinimum = 1, spinMaximum = 1, spin = 1;
    QList<QPoint> placements; // offsets in twips, one per placement

    QList<int> litLamps() const
    {
        QList<int> lit;
        for (int k = 1; k <= LampCount; ++k) {
            if (lamps[k])
                lit << k;
        }
        return lit;
    }
    void lightAll(bool lit) { lamps.fill(lit); }

    void setLampLit(int k, bool lit) override { lamps.at(k) = lit; }
    void setWatchUnitText(const QString &text) override { watchUnit = text; }
    QString watchUnitText() const override { return watchUnit; }
    void setStatusText(const QString &text) override { status = text; }
    void setSpinRange(int minimum, int maximum) override
    {
        spinMinimum = minimum;
        spinMaximum = maximum;
    }
    void setSpinValue(int value) override { spin = value; }
    int spinValue() const override { return spin; }
    void placeBesideMainWindow(int left, int top) override { placements << QPoint(left, top); }
};

class FakeAdvancedView : public AdvancedView
{
public:
    QString command;
    QStringList monitorTexts; // every text handed to the monitor, in order
    int commandLineFocus = 0;

    QString commandText() const override { return command; }
    void setMonitorText(const QString &text) override { monitorTexts << text; }
    void focusCommandLine() override { ++commandLineFocus; }
};
