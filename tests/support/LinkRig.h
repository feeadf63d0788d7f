// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "events/Logic.h"
#include "support/FakeView.h"
#include "support/ScriptedPort.h"

// The tally system a rig talks to, built before the logic that uses it.
struct LinkRigParts
{
    QList<QByteArray> table;
    SystemModel model;
    FakeView view;
    ScriptedPort port;
};

// The configurator's logic as the window has it, on a scripted port (and its fake clock) and
// fake views. Outputs are at unit 1 channels 1..outputs, inputs at unit 2
// channels 1..inputs. The tally system answers every line "OK", "VER" with "MAINV3", and
// "RawMap k" with table[k - 1], an empty line past the table.
struct LinkRig : LinkRigParts, Logic
{
    explicit LinkRig(int outputs = 4, int inputs = 6)
        : Logic(model, view, port, port.clock(), port.pause())
    {
        model.NumberOfOutputs = qint16(outputs);
        model.NumberOfInputs = qint16(inputs);
        for (int i = 1; i <= std::max(outputs, inputs); ++i) {
            model.OutputName[i] = QStringLiteral("Out %1").arg(i);
            model.InputName[i] = QStringLiteral("In %1").arg(i);
            model.OutputUnit[i] = 1;
            model.InputUnit[i] = 2;
            model.OutputChannel[i] = model.InputChannel[i] = qint16(i);
        }
        model.InputName[0] = QStringLiteral("Unassigned");
        model.SystemName = QStringLiteral("Studio A");
        model.KestrelCommport = 1;
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
};
