// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// kestrel-sim's serial line: the port and its link, clients coming and going, ending by signal,
// how long an answer takes, and the faults, hanging up among them.

#include "SimSession.h"
#include "core/DataTable.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

static const QByteArray Second = "Map 2 5 1 3";
// The options, the least time the answer takes, what comes back, its dots, the table left.
using LineRows = DataTable<"arguments minimumMs received dots table", QStringList, double,
                           QByteArray, int, QByteArray>;

class TestSimLine : public QObject
{
    Q_OBJECT
private slots:
    // Two commands, the port closed and opened again through the link between them as the
    // configurator does going offline and online. What comes back for the second (the
    // configurator waits 2 s; half a second of silence is telling), never sooner than `minimumMs`
    // after it was sent, and what the table holds after both. An empty `received` stands for
    // noise as long as the answer, with `dots` "." in it. Then the line ends, by a hang-up or
    // else by a signal, and its link goes with it.
    void line_data()
    {
        const LineRows table;
        const QByteArray first = "[1][1][1][1][1][0][0][0]\r\n";
        const QByteArray both = first + "[2][5][1][3][1][0][0][0]\r\n";
        const QByteArray reply = SimSession::reply(Second, "OK");
        const auto row = [&](const char *name, const QString &option, const QString &value,
                             double minimumMs, const QByteArray &received, int dots) {
            table(name, QStringList{option, value}, minimumMs, received, dots,
                  value == u"drop:2"_s ? first : both);
        };
        // An answer that came at once would hide a configurator that gives up too early. Only
        // lower bounds: a busy machine can only make it later. At 1200 bit/s, 10 bits a
        // character: the command and CR LF over, the answer back.
        row("1200 bit/s", u"--baud"_s, u"1200"_s, (13 + reply.size()) * 10 * 1000.0 / 1200 * 0.9,
            reply, 1);
        row("latency", u"--latency"_s, u"300"_s, 290, reply, 1);
        row("slow fault", u"--fault"_s, u"slow:300"_s, 290, reply, 1);
        row("silent, yet carried out", u"--fault"_s, u"silent"_s, 0, "", 0);
        row("drop: neither answered nor carried out", u"--fault"_s, u"drop:2"_s, 0, "", 0);
        row("cut", u"--fault"_s, u"cut"_s, 0, Second + "\r\nOK\r\n", 0);
        row("garbage", u"--fault"_s, u"garbage"_s, 0, "", 1);
        row("garbage cut", u"--fault"_s, u"cut,garbage"_s, 0, "", 0);
        // The second answer still arrives whole; then the line goes.
        row("hangup", u"--fault"_s, u"hangup:2"_s, 0, reply, 1);
    }
    void line()
    {
        const auto [arguments, minimumMs, received, dots, table] = LineRows::fetch();
        SimSession sim;
        // Its --baud comes after the session's own "--baud 0": the later one wins.
        QVERIFY2(sim.start(arguments), sim.problem.constData());
        // Time for an answer to come, plenty where it is paced, else half a second.
        const int wait = minimumMs > 0 ? 5000 : 500;
        sim.send("Map 1 1 1 1");
        sim.readFor(wait, true);
        QVERIFY2(sim.open(sim.link()), sim.problem.constData());
        QElapsedTimer timer;
        timer.start();
        sim.send(Second);
        const QByteArray got = sim.readFor(wait, true);
        QVERIFY2(timer.elapsed() >= minimumMs, qPrintable(QString::number(timer.elapsed())));
        if (arguments[1].contains(u"garbage"_s)) {
            QCOMPARE(got.size(), SimSession::reply(Second, "OK").size());
            QVERIFY(!got.startsWith(Second.left(3))); // not even the echo survives
        } else {
            QCOMPARE(got, received);
        }
        QCOMPARE(got.count('.'), dots);
        QCOMPARE(sim.state(), table);
        const bool hangsUp = arguments[1].startsWith(u"hangup"_s);
        if (!hangsUp)
            sim.process.terminate();
        QVERIFY(sim.process.waitForFinished(5000));
        QCOMPARE(sim.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(sim.process.exitCode(), 0);
        QVERIFY(!QFileInfo(sim.link()).isSymLink());
        if (hangsUp) {
            // The configurator's port must notice, as it would a USB adapter pulled out.
            sim.send("VER");
            QCOMPARE(sim.readFor(200), QByteArray());
            QVERIFY(sim.port.error() == QSerialPort::ReadError ||
                    sim.port.error() == QSerialPort::ResourceError);
        }
    }
};

QTEST_GUILESS_MAIN(TestSimLine)
#include "tst_simline.moc"
