// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "events/UnitStatus.h"

#include "model/NumberText.h"

#include <QScopeGuard>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Entries of EnabledUnitList that may be read: 1..this. The count comes from the description
// file; the table never holds more than MaxEnabledUnits whatever the count says.
int usableEnabledUnits(const SystemModel &model)
{
    return std::clamp<int>(model.EnabledUnitCount, 0, MaxEnabledUnits);
}

} // namespace

UnitStatus::UnitStatus(SystemModel &model, MainView &mainView, UnitStatusView &view,
                       CommandChannel &channel, DeviceCommands &commands)
    : m_model(model), m_main(mainView), m_view(view), m_channel(channel), m_commands(commands)
{
    m_tmrInputStatus.setInterval(PollInterval);
    QObject::connect(&m_tmrInputStatus, &QTimer::timeout, &m_tmrInputStatus,
                     [this] { tmrInputStatus_Timer(); });
}

void UnitStatus::GetBits(qint16 Ounit)
{
    m_channel.SendCommand(u"BITS"_s + NumberField(Ounit));
    m_model.UnitBits = ParseGetBits(m_model.Response);
}

QString UnitStatus::ParseGetBits(const QString &Response)
{
    QString bits;
    bits.reserve(Response.size());
    for (const QChar c : Response) {
        if (c == u'0' || c == u'1')
            bits += c;
    }
    return bits;
}

void UnitStatus::UpdateBitStatus()
{
    GetBits(watchedUnit());
    // Anything but a full set of bits (a short, long or missing reply) says nothing reliable
    // about any single lamp, so all of them keep what they showed.
    if (m_model.UnitBits.size() != UnitStatusView::LampCount)
        return;
    for (int k = 1; k <= UnitStatusView::LampCount; ++k)
        m_view.setLampLit(k, m_model.UnitBits.at(k - 1) == u'1');
}

void UnitStatus::ShowStatus() { m_view.setStatusText(m_commands.GetStat(watchedUnit())); }

void UnitStatus::tmrInputStatus_Timer()
{
    if (m_polling)
        return;
    m_polling = true;
    const auto done = qScopeGuard([this] { m_polling = false; });
    UpdateBitStatus();
    ShowStatus();
}

void UnitStatus::Check1_Click()
{
    if (m_main.isChecked(Control::Check1)) {
        m_tmrInputStatus.start();
        if (!m_loaded)
            Form_Load();
        m_main.showWindow(Window::frmUnitBits, true);
        m_main.setFocus(Control::List1);
        m_main.setForeColour(Control::Check1, Colours::Red);
    } else {
        m_tmrInputStatus.stop();
        m_main.showWindow(Window::frmUnitBits, false);
        m_main.setFocus(Control::List1);
        m_main.setForeColour(Control::Check1, Colours::Black);
    }
}

void UnitStatus::Form_Load()
{
    m_loaded = true;
    // A fresh window: what it showed before it was closed is gone.
    for (int k = 1; k <= UnitStatusView::LampCount; ++k)
        m_view.setLampLit(k, false);
    m_view.setWatchUnitText(u"1"_s);
    m_view.setStatusText(u"0"_s);

    m_view.placeBesideMainWindow(PlaceLeftTwips, PlaceTopTwips);
    // With no enabled units there is nothing to step through; the control then stays at 1.
    m_view.setSpinRange(1, std::max(1, usableEnabledUnits(m_model)));
    m_view.setSpinValue(1);
    ShowStatus();
}

void UnitStatus::UpDown1_Change()
{
    const int value = m_view.spinValue();
    if (value >= 1 && value <= usableEnabledUnits(m_model))
        m_view.setWatchUnitText(QString::number(m_model.EnabledUnitList[value]));
    ShowStatus();
    m_main.setFocus(Control::List1);
}

void UnitStatus::cmdClose_Click()
{
    m_tmrInputStatus.stop();
    m_main.showWindow(Window::frmUnitBits, false);
    untickCheck1();
    m_main.setFocus(Control::List1);
}

void UnitStatus::Form_Unload()
{
    untickCheck1();
    m_tmrInputStatus.stop();
    m_loaded = false;
}

qint16 UnitStatus::watchedUnit() const { return ReadInt16(m_view.watchUnitText()); }

void UnitStatus::untickCheck1()
{
    // As when the operator unticks it; a box that is already clear has nothing to report.
    if (!m_main.isChecked(Control::Check1))
        return;
    m_main.setChecked(Control::Check1, false);
    Check1_Click();
}
