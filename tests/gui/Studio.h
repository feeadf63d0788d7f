#pragma once

#include "gui/Configurator.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "gui/TallyList.h"
#include "support/ScriptedPort.h"

#include <QAbstractButton>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The main window with its beeps counted: a beep is how a time-out reaches the operator.
class CountingWindow : public MainWindow
{
public:
    using MainWindow::MainWindow;
    void beep() override { ++beeps; }
    int beeps = 0;
};

// The whole configurator as the application builds it (Configurator wiring the windows to the
// logic) on the given line, started from its own program directory; message boxes and file
// dialogs are answered from lists (Yes/No boxes: No, others: their default) and recorded.
class Studio
{
public:
    Studio(SerialPort &port, MonotonicClock clock, Pause pause)
        : logic(model, window, port, std::move(clock), std::move(pause))
    {
        dialogs.setResponder([this](const Dialogs::Request &r) {
            boxes << r;
            const MessageResult given =
                r.buttons == MessageButtons::YesNo ? MessageResult::No : r.defaultButton;
            return answers.isEmpty() ? given : answers.takeFirst();
        });
        dialogs.setFileResponder(
            [this](auto &) { return files.isEmpty() ? QString() : files.takeFirst(); });
    }

    // Kestrel.ini holds `outputs` outputs on unit 1 and `inputs` inputs on unit 2, channels from
    // 1, and the lines `more`; then the load sequence runs.
    bool load(int outputs, int inputs, const QByteArray &more = {})
    {
        QByteArray ini = "[Kestrel]\r\nSystem=Test studio\r\nEnabledUnits=1,2\r\n" + more;
        for (int k = 1; k <= std::max(outputs, inputs); ++k) {
            if (k <= outputs)
                ini += QString::asprintf("Output %d=Out %d,1,%d\r\n", k, k, k).toLatin1();
            if (k <= inputs)
                ini += QString::asprintf("Input %d=In %d,2,%d\r\n", k, k, k).toLatin1();
        }
        QFile f(dir.filePath(u"Kestrel.ini"_s));
        if (outputs >= 0 && (!f.open(QIODevice::WriteOnly) || f.write(ini) != ini.size()))
            return false;
        f.close();
        return logic.Form_Load(dir.path());
    }

    // The model's mappings, in output order.
    QStringList mapped() const
    {
        QStringList out(model.OutputMap.begin() + 1,
                        model.OutputMap.begin() + model.NumberOfOutputs + 1);
        out.removeAll(QString());
        return out;
    }
    void click(Control c) { QTest::mouseClick(window.button(c), Qt::LeftButton); }
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

// The configurator on a scripted tally system that answers every command ("OK", an empty
// table, its version), on the port's fake clock. No Kestrel.ini for `outputs` below 0.
struct ScriptedStudio
{
    explicit ScriptedStudio(int outputs = 6, int inputs = 6)
    {
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            if (c == "VER")
                return ScriptedPort::answer(c, "KESTREL MAIN V2.14");
            return ScriptedPort::answer(c, c.startsWith("RawMap") ? "" : "OK");
        };
        loaded = s.load(outputs, inputs);
    }
    ScriptedPort port;
    Studio s{port, port.clock(), port.pause()};
    bool loaded = false;
};
