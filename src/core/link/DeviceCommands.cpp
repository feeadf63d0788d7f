// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "link/DeviceCommands.h"

#include "model/NumberText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

DeviceCommands::DeviceCommands(SystemModel &model, CommandChannel &channel)
    : m_model(model), m_channel(channel)
{
}

void DeviceCommands::SystemInit() { m_channel.SendCommand(u"Init"_s); }

void DeviceCommands::SystemRefresh() { m_channel.SendCommand(u"Refresh"_s); }

void DeviceCommands::EnableUnit(qint16 UnitNumber)
{
    m_channel.SendCommand(u"Uenable "_s + NumberField(UnitNumber));
}

void DeviceCommands::EnableUnits()
{
    const int count = std::clamp<int>(m_model.EnabledUnitCount, 0, MaxEnabledUnits);
    for (int i = 1; i <= count; ++i)
        EnableUnit(m_model.EnabledUnitList[i]);
}

void DeviceCommands::ResetOutput(qint16 Ounit, qint16 Ochannel)
{
    m_channel.SendCommand(u"Res"_s + NumberField(Ounit) + u" "_s + NumberField(Ochannel));
}

bool DeviceCommands::ClearMapping(qint16 Ounit, qint16 Ochannel)
{
    return m_channel.SendCommand(u"ClrMap"_s + NumberField(Ounit) + u" "_s + NumberField(Ochannel));
}

QString DeviceCommands::GetStat(qint16 Xunit)
{
    m_channel.SendCommand(u"GSTAT"_s + NumberField(Xunit));
    return m_model.Response;
}
