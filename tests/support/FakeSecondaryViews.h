#pragma once

#include "view/SecondaryViews.h"

#include <QString>

#include <array>

// Recording stand-ins for the unit status window and the advanced window, like FakeView.

class FakeUnitStatusView : public UnitStatusView
{
public:
    std::array<bool, LampCount + 1> lamps{}; // lamps[k] for k 1..32; entry 0 unused
    QString watchUnit = QStringLiteral("1"), status = QStringLiteral("0");

    void setLampLit(int k, bool lit) override { lamps.at(k) = lit; }
    void setWatchUnitText(const QString &text) override { watchUnit = text; }
    QString watchUnitText() const override { return watchUnit; }
    void setStatusText(const QString &text) override { status = text; }
    void setSpinRange(int, int) override {}
    void setSpinValue(int) override {}
    int spinValue() const override { return 1; }
    void placeBesideMainWindow(int, int) override {}
};

class FakeAdvancedView : public AdvancedView
{
public:
    QString command;

    QString commandText() const override { return command; }
    void setMonitorText(const QString &) override {}
    void focusCommandLine() override {}
};
