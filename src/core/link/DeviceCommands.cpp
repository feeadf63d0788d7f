#include "link/DeviceCommands.h"

#include "model/NumberText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

DeviceCommands::DeviceCommands(SystemModel &model, MainView &view, CommandChannel &channel,
                               Clearing &clearing, MatrixLists &lists)
    : m_model(model), m_view(view), m_channel(channel), m_clearing(clearing), m_lists(lists)
{
}

void DeviceCommands::keepReplyLine()
{
    m_model.Response = CommandChannel::GetResponse(m_model.IBuffer);
}

void DeviceCommands::SystemInit()
{
    m_channel.SendCommand(u"Init"_s);
    m_clearing.ClearLocalMaps();
    keepReplyLine();
}

void DeviceCommands::SystemRefresh()
{
    // Before sending: the test state is gone even when the tally system does not answer.
    m_clearing.ClearAllTest();
    m_channel.SendCommand(u"Refresh"_s);
    keepReplyLine();
}

void DeviceCommands::EnableUnit(qint16 UnitNumber)
{
    m_channel.SendCommand(u"Uenable "_s + NumberField(UnitNumber));
    keepReplyLine();
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
    const bool answered =
        m_channel.SendCommand(u"ClrMap"_s + NumberField(Ounit) + u" "_s + NumberField(Ochannel));
    keepReplyLine();
    return answered;
}

QString DeviceCommands::GetStat(qint16 Xunit)
{
    m_channel.SendCommand(u"GSTAT"_s + NumberField(Xunit));
    keepReplyLine();
    return m_model.Response;
}

void DeviceCommands::ResetAndClearAll()
{
    const MessageResult answer =
        m_view.messageBox(u"Are you absolutely sure you want to Clear ALL ??"_s, u"Clear All"_s,
                          MessageButtons::OkCancel, MessageIcon::None, MessageResult::Cancel);
    if (answer != MessageResult::Ok)
        return;
    m_clearing.ClearAllTest();
    if (m_model.Online) {
        SystemInit();
        EnableUnits();
    }
    m_clearing.ClearLocalMaps();
    m_lists.UpdateListBox1();
    m_view.setText(Control::lblFileName, QString());
}

void DeviceCommands::cmdInit_Click()
{
    ResetAndClearAll();
    m_view.setFocus(Control::List1);
}
