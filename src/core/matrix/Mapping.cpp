// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "matrix/Mapping.h"

#include "link/CommandChannel.h"
#include "link/DeviceCommands.h"
#include "matrix/MapString.h"
#include "matrix/MatrixLists.h"
#include "model/NumberText.h"

Mapping::Mapping(SystemModel &model, MainView &view, CommandChannel &channel,
                 DeviceCommands &device, MatrixLists &lists)
    : m_model(model), m_view(view), m_channel(channel), m_device(device), m_lists(lists)
{
    m_timer3.setSingleShot(true);
    m_timer3.setInterval(MapFlashTime);
    QObject::connect(&m_timer3, &QTimer::timeout, &m_timer3,
                     [this] { m_view.setBackColour(Control::cmdMapIt, Colours::ButtonFace); });
}

void Mapping::flashMapButton()
{
    m_view.setBackColour(Control::cmdMapIt, Colours::Red);
    m_view.repaintNow(Control::cmdMapIt);
    m_timer3.start();
}

bool Mapping::composable(std::initializer_list<qint16> numbers)
{
    for (qint16 n : numbers) {
        if (n < LowestNumber || n > HighestNumber) {
            m_view.setText(Control::lblError,
                           QStringLiteral("Not mapped: %1 is outside 0-999").arg(n));
            return false;
        }
    }
    return true;
}

bool Mapping::apply(qint16 Ounit, qint16 Ochannel, bool unmap, std::initializer_list<qint16> inputs,
                    const QString &command, const QString &mapString)
{
    flashMapButton();
    // A number a map string cannot hold would come back as another output or input: refuse
    // it before anything is sent, rather than let the list and the tally system disagree.
    if (!composable({Ounit, Ochannel}) || (!unmap && !composable(inputs)))
        return false;
    if (m_model.Online) {
        if (unmap) {
            m_device.ResetOutput(Ounit, Ochannel);
            const bool cleared = m_device.ClearMapping(Ounit, Ochannel);
            m_model.CurrentMapstring.clear();
            return cleared;
        }
        m_channel.SendCommand(command);
    }
    m_model.CurrentMapstring = unmap ? QString() : mapString;
    return true;
}

bool Mapping::SetMapping(qint16 Ounit, qint16 Ochannel, qint16 IUnit, qint16 IChannel)
{
    return apply(Ounit, Ochannel, IUnit < 1, {IUnit, IChannel},
                 QStringLiteral("Map") + NumberField(Ounit) + NumberField(Ochannel) +
                     NumberField(IUnit) + NumberField(IChannel),
                 ComposeMapString(Ounit, Ochannel, IUnit, IChannel));
}

bool Mapping::SetBoolMapping(qint16 Ounit, qint16 Ochannel, qint16 IUnit, qint16 IChannel,
                             qint16 IUnitBool, qint16 IChannelBool, BoolMode BoolType)
{
    // The unmap test is on the first input; the second is then not sent at all.
    const QString keyword = BoolType == AndMapping ? QStringLiteral("AND") : QStringLiteral("OR");
    return apply(
        Ounit, Ochannel, IUnit < 1, {IUnit, IChannel, IUnitBool, IChannelBool},
        keyword + NumberField(Ounit) + NumberField(Ochannel) + NumberField(IUnitBool) +
            NumberField(IChannelBool),
        ComposeBoolMapString(Ounit, Ochannel, IUnit, IChannel, IUnitBool, IChannelBool, BoolType));
}

int Mapping::selectedOutput() const
{
    const int i = m_view.currentRow(Control::List1) + 1;
    return i >= 1 && i <= m_model.NumberOfOutputs ? i : 0;
}

int Mapping::selectedInput(Control list) const
{
    const int j = m_view.currentRow(list);
    return j >= 0 && j <= m_model.NumberOfInputs ? j : -1;
}

void Mapping::recordMapping(int output)
{
    m_model.OutputMap[output] = m_model.CurrentMapstring;
    m_lists.ShowMappingInList(output);
    m_view.setText(Control::txtInput, QString::number(m_view.currentRow(Control::list2)));
    m_view.setFocus(Control::List1);
}

void Mapping::MapCurrent()
{
    const int i = selectedOutput();
    const int j = selectedInput(Control::list2);
    if (i == 0 || j < 0)
        return;
    if (SetMapping(m_model.OutputUnit[i], m_model.OutputChannel[i], m_model.InputUnit[j],
                   m_model.InputChannel[j]))
        recordMapping(i);
}

void Mapping::MapBool(BoolMode BoolOp)
{
    MapCurrent();
    const int i = selectedOutput();
    const int j = selectedInput(Control::list2);
    const int k = selectedInput(Control::list3);
    if (i != 0 && j >= 0 && k >= 0 &&
        SetBoolMapping(m_model.OutputUnit[i], m_model.OutputChannel[i], m_model.InputUnit[j],
                       m_model.InputChannel[j], m_model.InputUnit[k], m_model.InputChannel[k],
                       BoolOp))
        recordMapping(i);
    m_lists.ScrollOutputList();
}
