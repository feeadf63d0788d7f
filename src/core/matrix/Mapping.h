// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "matrix/MapString.h"
#include "model/SystemModel.h"
#include "view/MainView.h"

#include <QTimer>

#include <chrono>
#include <initializer_list>

class CommandChannel;
class DeviceCommands;
class MatrixLists;

// Setting the mapping of one output: the commands to the tally system, the map string, and the
// output's row in the list.
class Mapping
{
public:
    static constexpr std::chrono::milliseconds MapFlashTime{100}; // Timer3
    // Map strings hold three characters a number: only these survive a save and a read-back.
    static constexpr int LowestNumber = 0;
    static constexpr int HighestNumber = 999;

    Mapping(SystemModel &model, MainView &view, CommandChannel &channel, DeviceCommands &device,
            MatrixLists &lists);

    // Plain mapping; an input unit below 1 unmaps the output. False when an unmap got no
    // answer to its clear, or when a number cannot be written into a map string.
    bool SetMapping(qint16 Ounit, qint16 Ochannel, qint16 IUnit, qint16 IChannel);
    // Adds the second input of an AND or OR mapping, after SetMapping for the output. A mode
    // read from a file may hold any number: anything but AND is sent as OR, and filed as read.
    bool SetBoolMapping(qint16 Ounit, qint16 Ochannel, qint16 IUnit, qint16 IChannel,
                        qint16 IUnitBool, qint16 IChannelBool, BoolMode BoolType);
    // The selected output to the selected input.
    void MapCurrent();
    // The selected output to the AND or OR of the two selected inputs.
    void MapBool(BoolMode BoolOp);

private:
    // Both set operations: the flash, the number check, then online the unmap or the command;
    // the map string is recorded when it stands.
    bool apply(qint16 Ounit, qint16 Ochannel, bool unmap, std::initializer_list<qint16> inputs,
               const QString &command, const QString &mapString);
    void flashMapButton();
    bool composable(std::initializer_list<qint16> numbers);
    // Output index of the selected List1 row and input index of a list's row; 0 / -1 when
    // there is no selection that names a table entry.
    int selectedOutput() const;
    int selectedInput(Control list) const;
    void recordMapping(int output);

    SystemModel &m_model;
    MainView &m_view;
    CommandChannel &m_channel;
    DeviceCommands &m_device;
    MatrixLists &m_lists;
    QTimer m_timer3;
};
