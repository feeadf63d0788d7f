// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The configurator and kestrelctl on kestrel-sim through the real ser2net, once with a raw TCP
// accepter and once with telnet(rfc2217): the start-up and a mapping reach the tally system's
// table, kestrelctl reads and applies alike, and ser2net stopped in the middle is a time-out,
// not a hang; the window's OFFLINE and ONLINE then connect again.

#include "core/DataTable.h"
#include "gui/Studio.h"
#include "link/DevicePort.h"

#include <QTcpServer>

namespace {

// ser2net in the foreground on 127.0.0.1, bridging the line at `tty`; its two ports are kept
// when it starts again.
struct Ser2net
{
    ~Ser2net() { stop(); }
    bool start(const QString &tty)
    {
        if (raw == 0) {
            QTcpServer a, b; // both held while chosen, so that they differ
            if (a.listen(QHostAddress::LocalHost) && b.listen(QHostAddress::LocalHost))
                raw = a.serverPort(), telnet = b.serverPort();
        }
        const QString connection = u"connection: &%1\n  accepter: %2tcp,127.0.0.1,%3\n"
                                   u"  connector: serialdev,%4,9600n81,local\n"
                                   u"  options:\n    chardelay: false\n"_s;
        const QString yaml = u"%YAML 1.1\n---\n"_s +
                             connection.arg(u"raw"_s, QString()).arg(raw).arg(tty) +
                             connection.arg(u"tel"_s, u"telnet(rfc2217),"_s).arg(telnet).arg(tty);
        process.start(QStringLiteral(SER2NET_PATH),
                      {u"-n"_s, u"-c"_s, writeFile(dir.filePath(u"s.yaml"_s), yaml.toUtf8())});
        for (int k = 0; k < 500; ++k) { // up once its accepter takes a connection
            QTcpSocket probe;
            probe.connectToHost(QHostAddress::LocalHost, raw);
            if (probe.waitForConnected(1000))
                return true;
            QThread::msleep(10);
        }
        return false;
    }
    void stop() { process.kill(), process.waitForFinished(); }
    QString url(bool rfc2217) const
    {
        return (rfc2217 ? u"rfc2217://127.0.0.1:%1"_s : u"socket://127.0.0.1:%1"_s)
            .arg(rfc2217 ? telnet : raw);
    }
    QTemporaryDir dir;
    QProcess process;
    quint16 raw = 0, telnet = 0;
};

// The configurator's end, on a clock five times faster than the wall's, as SimLine.
struct NetLine : DevicePort
{
    static constexpr int Speed = 5;
    MonotonicClock clock() const
    {
        return
            [start = start] { return start + (std::chrono::steady_clock::now() - start) * Speed; };
    }
    bool PortWaitForData(Duration limit) override
    {
        return DevicePort::PortWaitForData(limit / Speed);
    }
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

const QByteArray Held = "[1][4][2][1][1][0][0][0]\r\n[1][1][2][2][1][2][3][1]\r\n";

} // namespace

class TestNetEndToEnd : public QObject
{
    Q_OBJECT
private slots:
    void window_data()
    {
        DataTable<bool> row; // rfc2217
        row("raw TCP", false), row("telnet", true);
    }
    void window()
    {
        const auto [rfc2217] = DataTable<bool>::fetch();
        SimProcess sim;
        Ser2net server;
        QVERIFY(sim.start({}, Held) && server.start(sim.link()));
        NetLine line;
        Studio s{line, line.clock(), NoPause};
        QVERIFY(s.load(6, 120, "CommDevice=" + server.url(rfc2217).toUtf8() + "\r\n"));
        QVERIFY(s.boxes.isEmpty()); // neither "Port Conflict" nor the retry question
        QCOMPARE(s.model.MainCPUVersion, u"MAIN V2"_s);
        QCOMPARE(s.mapped(), sorted(sim.table()));
        s.pick(Control::List1, 2), s.pick(Control::list2, 5), s.click(Control::cmdMapIt);
        const QString added = u"[1][3][2][5][1][0][0][0]"_s;
        QCOMPARE(sim.table(), QString::fromLatin1(Held).split(u"\r\n"_s, Qt::SkipEmptyParts)
                                  << added);

        server.stop();
        s.pick(Control::List1, 4), s.click(Control::cmdMapIt);
        QCOMPARE(s.window.text(Control::lblError), u"Comm Error!"_s);
        QVERIFY(server.start(sim.link()));
        s.click(Control::cmdOnline), s.click(Control::cmdOnline); // OFFLINE, then ONLINE
        QVERIFY(s.model.Online);
        s.pick(Control::List1, 5), s.click(Control::cmdMapIt);
        QCOMPARE(sim.table().last(), u"[1][6][2][5][1][0][0][0]"_s);
    }

    void ctl_data()
    {
        // rfc2217, ser2net stopped during a read-back (once: after the drop both forms are
        // the same code, and the window stops it under each)
        DataTable<bool, bool> row;
        row("raw TCP", false, false), row("telnet", true, true);
    }
    void ctl()
    {
        const auto [rfc2217, cut] = DataTable<bool, bool>::fetch();
        SimProcess sim;
        Ser2net server;
        QVERIFY(sim.start({}, Held) && server.start(sim.link()));
        QProcess p;
        // kestrelctl on outputs 1..6 of unit 1 through `through`; started, or run to its status.
        const auto start = [&](const Ser2net &through, const QString &command) {
            QByteArray ini = "[Kestrel]\r\nSystem=T\r\nEnabledUnits=1,2\r\nCommDevice=" +
                             through.url(rfc2217).toUtf8() + "\r\n";
            for (int k = 1; k <= 6; ++k)
                ini += QString::asprintf("Output %d=O,1,%d\r\nInput %d=I,2,%d\r\n", k, k, k, k)
                           .toLatin1();
            p.start(QStringLiteral(KESTRELCTL_PATH),
                    QStringList{u"--ini"_s, writeFile(sim.path("Kestrel.ini"), ini), u"--quiet"_s} +
                        command.split(u' '));
        };
        const auto run = [&](const QString &command) {
            start(server, command);
            return p.waitForFinished(30000) ? p.exitCode() : -1;
        };
        QCOMPARE(run(u"read"_s), 0);
        QCOMPARE(p.readAllStandardOutput(), Held);
        const QByteArray show = "[1][2][2][3][1][0][0][0]\r\n[1][4][2][1][1][0][0][0]\r\n";
        QCOMPARE(run(u"apply "_s + writeFile(sim.path("show.qvr"), show)), 0);
        QCOMPARE(sorted(sim.table()),
                 QString::fromLatin1(show).split(u"\r\n"_s, Qt::SkipEmptyParts));
        server.stop();
        QCOMPARE(run(u"read"_s), 2);
        QVERIFY(p.readAllStandardError().contains("Connection refused"));
        if (!cut)
            return;
        // A table of 300 rows, so that the read-back is still under way when ser2net stops.
        QByteArray many;
        for (int k = 1; k <= 300; ++k)
            many += "[3][" + QByteArray::number(k) + "][2][1][1][0][0][0]\r\n";
        SimProcess longer;
        Ser2net other;
        QVERIFY(longer.start({u"--log"_s, longer.path("log")}, many) && other.start(longer.link()));
        start(other, u"read"_s);
        while (p.state() != QProcess::NotRunning &&
               !readFile(longer.path("log")).contains("RawMap"))
            QThread::msleep(5);
        other.stop();
        QVERIFY(p.waitForFinished(30000));
        QCOMPARE(p.exitCode(), 2);
        QVERIFY(p.readAllStandardError().contains("no reply"));
    }
};

QTEST_MAIN(TestNetEndToEnd)
#include "tst_net_endtoend.moc"
