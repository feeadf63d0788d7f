#pragma once

#include "events/ClearAll.h"
#include "link/CommandChannel.h"
#include "link/Connection.h"
#include "link/DeviceCommands.h"
#include "matrix/Clearing.h"
#include "matrix/MatrixLists.h"
#include "matrix/ReadBack.h"
#include "model/SystemModel.h"
#include "support/FakeView.h"
#include "support/ScriptedPort.h"

#include <QString>

#include <chrono>

// The device link put together as the main window does, on a scripted port, a fake view and
// the port's fake clock. The model describes outputs at unit 1 channels 1..outputs and inputs
// at unit 2 channels 1..inputs.
struct LinkRig
{
    explicit LinkRig(int outputs = 4, int inputs = 6)
    {
        model.NumberOfOutputs = static_cast<qint16>(outputs);
        for (int i = 1; i <= outputs; ++i) {
            model.OutputName[i] = QStringLiteral("Out ") + QString::number(i);
            model.OutputUnit[i] = 1;
            model.OutputChannel[i] = static_cast<qint16>(i);
        }
        model.NumberOfInputs = static_cast<qint16>(inputs);
        model.InputName[0] = QStringLiteral("Unassigned");
        for (int j = 1; j <= inputs; ++j) {
            model.InputName[j] = QStringLiteral("In ") + QString::number(j);
            model.InputUnit[j] = 2;
            model.InputChannel[j] = static_cast<qint16>(j);
        }
        model.SystemName = QStringLiteral("Studio A");
        model.KestrelCommport = 1;
        lists.FillLists();
    }

    // Seconds on the fake clock since `from`.
    double secondsSince(ScriptedPort::TimePoint from) const
    {
        return std::chrono::duration<double>(port.now - from).count();
    }

    SystemModel model;
    FakeView view;
    ScriptedPort port;
    CommandChannel channel{model, view, port, port.clock()};
    MatrixLists lists{model, view};
    Clearing clearing{model, view};
    DeviceCommands commands{model, channel};
    ClearAll clearAll{model, view, commands, clearing, lists};
    Connection connection{model, view, channel, port.pause()};
    ReadBack readBack{model, view, channel, lists, clearing, commands, port.pause()};
};
