#pragma once

#include "view/SecondaryViews.h"

#include <QList>
#include <QPoint>
#include <QStringList>

#include <array>

// Recording stand-ins for the unit status window and the advanced window: they keep what the
// logic wrote and answer what it reads, like FakeView for the main window.

class FakeUnitStatusView : public UnitStatusView
{
public:
    std::array<bool, LampCount + 1> lamps{}; // lamps[k] for k 1..32; entry 0 unused
    int lampWrites = 0;
    QString watchUnit = QStringLiteral("1");
    QString status = QStringLiteral("0");
    int statusWrites = 0;
    int spinMinimum = 1;
    int spinMaximum = 1;
    int spin = 1;
    QList<QPoint> placements; // offsets in twips, one per placement

    // Lamps lit, as their numbers.
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

    void setLampLit(int k, bool lit) override
    {
        ++lampWrites;
        if (k >= 1 && k <= LampCount)
            lamps[k] = lit;
    }
    void setWatchUnitText(const QString &text) override { watchUnit = text; }
    QString watchUnitText() const override { return watchUnit; }
    void setStatusText(const QString &text) override
    {
        status = text;
        ++statusWrites;
    }
    void setSpinRange(int minimum, int maximum) override
    {
        spinMinimum = minimum;
        spinMaximum = maximum;
    }
    void setSpinValue(int value) override { spin = value; }
    int spinValue() const override { return spin; }
    void placeBesideMainWindow(int leftTwips, int topTwips) override
    {
        placements << QPoint(leftTwips, topTwips);
    }
};

class FakeAdvancedView : public AdvancedView
{
public:
    QString command;
    QStringList monitorTexts; // every text handed to the monitor, in order
    int commandLineFocus = 0;

    QString monitor() const { return monitorTexts.value(monitorTexts.size() - 1); }

    QString commandText() const override { return command; }
    void setMonitorText(const QString &text) override { monitorTexts << text; }
    void focusCommandLine() override { ++commandLineFocus; }
};
