#pragma once

#include "link/CommandChannel.h"
#include "matrix/Clearing.h"
#include "matrix/MatrixLists.h"
#include "view/MainView.h"
#include "model/SystemModel.h"

#include <QString>

// The system-level commands of the tally system and the "Clear All" button. Numbers go on the
// wire as NumberField: "Uenable  5", "Res 2  16", "ClrMap 2  16", "GSTAT 10".
class DeviceCommands
{
public:
    DeviceCommands(SystemModel &model, MainView &view, CommandChannel &channel, Clearing &clearing,
                   MatrixLists &lists);

    // "Init", then the local maps are forgotten.
    void SystemInit();
    // The output test state is cleared first, then "Refresh".
    void SystemRefresh();
    void EnableUnit(qint16 UnitNumber);
    // One EnableUnit per entry of the enabled unit list, in list order; failures do not stop it.
    void EnableUnits();
    void ResetOutput(qint16 Ounit, qint16 Ochannel);
    // True when anything at all came back.
    bool ClearMapping(qint16 Ounit, qint16 Ochannel);
    // The reply line of "GSTAT"; "" when none.
    QString GetStat(qint16 Xunit);
    // After the operator's confirmation: the tally system initialised (online only), the model
    // and the output list emptied, no tally file named.
    void ResetAndClearAll();
    // "Clear All".
    void cmdInit_Click();

private:
    void keepReplyLine();

    SystemModel &m_model;
    MainView &m_view;
    CommandChannel &m_channel;
    Clearing &m_clearing;
    MatrixLists &m_lists;
};
