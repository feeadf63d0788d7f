// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/CommandChannel.h"
#include "model/SystemModel.h"

#include <QString>

// The system-level commands of the tally system. Numbers go on the wire as NumberField:
// "Uenable  5", "Res 2  16", "ClrMap 2  16", "GSTAT 10". What the local tables forget with them
// is the callers' business, a layer up.
class DeviceCommands
{
public:
    DeviceCommands(SystemModel &model, CommandChannel &channel);

    // "Init": the tally system forgets every mapping.
    void SystemInit();
    // "Refresh": the tally system forgets the output test.
    void SystemRefresh();
    void EnableUnit(qint16 UnitNumber);
    // One EnableUnit per entry of the enabled unit list, in list order; failures do not stop it.
    void EnableUnits();
    void ResetOutput(qint16 Ounit, qint16 Ochannel);
    // True when anything at all came back.
    bool ClearMapping(qint16 Ounit, qint16 Ochannel);
    // The reply line of "GSTAT"; "" when none.
    QString GetStat(qint16 Xunit);

private:
    SystemModel &m_model;
    CommandChannel &m_channel;
};
