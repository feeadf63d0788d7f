// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "events/ClearAll.h"
#include "events/KeyboardEntry.h"
#include "events/SelectionEvents.h"
#include "files/TallyFiles.h"
#include "link/Connection.h"
#include "matrix/Mapping.h"
#include "matrix/OutputTest.h"
#include "matrix/ReadBack.h"
#include "support/FakeView.h"
#include "support/ScriptedPort.h"

// The configurator's logic put together as the main window does, on a scripted port (and its
// fake clock) and fake views. Outputs are at unit 1 channels 1..outputs, inputs at unit 2
// channels 1..inputs. The tally system answers every line "OK", "VER" with "MAINV3", and
// "RawMap k" with table[k - 1], an empty line past the table.
struct LinkRig
{
    explicit LinkRig(int outputs = 4, int inputs = 6)
    {
        model.NumberOfOutputs = qint16(outputs), model.NumberOfInputs = qint16(inputs);
        for (int i = 1; i <= std::max(outputs, inputs); ++i) {
            model.OutputName[i] = QStringLiteral("Out %1").arg(i);
            model.InputName[i] = QStringLiteral("In %1").arg(i);
            model.OutputUnit[i] = 1, model.InputUnit[i] = 2;
            model.OutputChannel[i] = model.InputChannel[i] = qint16(i);
        }
        model.InputName[0] = QStringLiteral("Unassigned");
        model.SystemName = QStringLiteral("Studio A"), model.KestrelCommport = 1;
        port.responder = [this](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            const qsizetype k = c.startsWith("RawMap ") ? c.mid(7).toInt() : 0;
            return ScriptedPort::answer(c, k            ? table.value(k - 1)
                                           : c == "VER" ? "MAINV3"
                                                        : QByteArray("OK"));
        };
        lists.FillLists();
        for (Control l : {Control::List1, Control::list2, Control::list3})
            view.setCurrentRow(l, 0);
    }
    // The operator selects an output row and input rows, as a click in List1 shows them.
    void select(int outputRow, int inputRow = 0, int secondRow = 0)
    {
        view.setCurrentRow(Control::List1, outputRow);
        view.setCurrentRow(Control::list2, inputRow);
        view.setCurrentRow(Control::list3, secondRow);
        selection.List1_Click();
    }
    // The command lines sent, joined by "|".
    QString sent() const { return QString::fromLatin1(port.commands.join('|')); }

    QList<QByteArray> table;
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
    Mapping mapping{model, view, channel, commands, lists};
    OutputTest test{model, view, channel, readBack};
    SelectionEvents selection{model, view, lists, mapping, test};
    KeyboardEntry entry{model, view, lists, mapping, selection};
    TallyFiles files{model, view, mapping, readBack, commands, clearing, lists};
};
