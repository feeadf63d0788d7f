// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "gui/Configurator.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "gui/TallyList.h"
#include "link/QtSerialPortAdapter.h"
#include "support/Files.h"
#include "support/ScriptedPort.h"
#include "support/SimProcess.h"

#include <QtTest>
#include <QtWidgets>

using namespace Qt::StringLiterals;

inline QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

// The main window with its beeps counted: a beep is how a time-out reaches the operator.
struct CountingWindow : MainWindow
{
    using MainWindow::MainWindow;
    void beep() override { ++beeps; }
    int beeps = 0;
};

// The whole configurator as the application builds it (Configurator wiring the windows to the
// logic) on the given line, started from its own program directory; message boxes and file
// dialogs are answered from lists (Yes/No boxes: No, others: their default) and recorded.
struct Studio
{
    Studio(SerialPort &port, MonotonicClock clock, Pause pause)
        : logic(model, window, port, std::move(clock), std::move(pause))
    {
        dialogs.setResponder([this](const Dialogs::Request &r) {
            boxes << r;
            return !answers.isEmpty()                   ? answers.takeFirst()
                   : r.buttons == MessageButtons::YesNo ? MessageResult::No
                                                        : r.defaultButton;
        });
        dialogs.setFileResponder(
            [this](auto &) { return files.isEmpty() ? QString() : files.takeFirst(); });
    }

    // Kestrel.ini (none for `outputs` below 0) holds outputs 1.. on unit 1 and inputs 1.. on
    // unit 2, and the lines `more`; then the load sequence runs.
    bool load(int outputs, int inputs, const QByteArray &more = {})
    {
        QByteArray ini = "[Kestrel]\r\nSystem=Test studio\r\nEnabledUnits=1,2\r\n" + more;
        for (int k = 1; k <= outputs; ++k)
            ini += QString::asprintf("Output %d=Out %d,1,%d\r\n", k, k, k).toLatin1();
        for (int k = 1; k <= inputs; ++k)
            ini += QString::asprintf("Input %d=In %d,2,%d\r\n", k, k, k).toLatin1();
        return (outputs < 0 || !writeFile(dir.filePath(u"Kestrel.ini"_s), ini).isEmpty()) &&
               logic.Form_Load(dir.path());
    }

    // The model's mappings, sorted.
    QStringList mapped() const
    {
        QStringList out(model.OutputMap.begin() + 1,
                        model.OutputMap.begin() + model.NumberOfOutputs + 1);
        out.removeAll(QString());
        return sorted(out);
    }
    QWidget *w(Control c) const { return window.control(c); }
    void click(Control c) { QTest::mouseClick(w(c), Qt::LeftButton); }
    // The operator picks a row of a list with the mouse (scrolled into view first).
    void pick(Control list, int row)
    {
        TallyList *l = window.list(list);
        l->scrollTo(l->model()->index(row, 0));
        QTest::mouseClick(l->viewport(), Qt::LeftButton, {},
                          l->visualRect(l->model()->index(row, 0)).center());
    }

    QTemporaryDir dir;
    Dialogs dialogs;
    QList<Dialogs::Request> boxes;
    QList<MessageResult> answers;
    QStringList files; // what the file dialogs return, in turn
    SystemModel model;
    CountingWindow window{dialogs};
    Configurator logic;
};

// The configurator, 5 outputs and 9 inputs, active on a scripted tally system that answers
// every command and holds `rows` mappings for the read-back, or stays silent when offline.
// The first file dialog offers a tally file of one mapping.
struct ScriptedStudio
{
    explicit ScriptedStudio(int rows = 0, bool online = true, int outputs = 5)
    {
        port.responder = [=](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            const int n = c.startsWith("RawMap") ? c.mid(6).trimmed().toInt() : 0;
            const QByteArray map = "[1][" + QByteArray::number(n % 5 + 1) + "][2][1][1][0][0][0]";
            if (!online)
                return std::nullopt;
            return ScriptedPort::answer(c,
                                        n ? (n <= rows ? map : QByteArray())
                                          : QByteArray(c == "VER" ? "KESTREL MAIN V2.14" : "OK"));
        };
        s.files = {writeFile(s.dir.filePath(u"t.qvr"_s), "[1][2][2][3][1][0][0][0]\r\n")};
        if ((loaded = s.load(outputs, 9))) {
            s.window.activateWindow();
            (void)QTest::qWaitForWindowActive(&s.window);
        }
    }
    ScriptedPort port;
    Studio s{port, port.clock(), port.pause()};
    bool loaded = false;
};

// kestrel-sim needs no time to settle.
inline const Pause NoPause = [](std::chrono::milliseconds) {};

// The configurator's end of a line to kestrel-sim: the real port, on a clock that runs `speed`
// times faster than the wall's. The waits for bytes shrink alike, so that a time-out costs
// 1/speed of its time and the order of events on the line is kept.
struct SimLine : QtSerialPortAdapter
{
    explicit SimLine(int speed = 1) : speed(speed) {}
    MonotonicClock clock() const
    {
        return [start = start, speed = speed] {
            return start + (std::chrono::steady_clock::now() - start) * speed;
        };
    }
    void PortWrite(const QByteArray &bytes) override
    {
        written += bytes;
        QtSerialPortAdapter::PortWrite(bytes);
    }
    bool PortWaitForData(Duration limit) override
    {
        return QtSerialPortAdapter::PortWaitForData(limit / speed);
    }
    QByteArray written; // everything the configurator sent
    int speed = 1;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};
