// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The network port against a peer on 127.0.0.1: the bytes both ways, Telnet answered, floods
// and chatter bounded. Then the window and kestrelctl on kestrel-sim through the real ser2net.

#include "core/DataTable.h"
#include "gui/Studio.h"
#include "link/DevicePort.h"

#include <QTcpServer>

#include <future>

using B = QByteArray;
B operator""_b(const char *s, std::size_t n) { return B(s, qsizetype(n)); } // NUL included

namespace {

const B Offers = "\xff\xfb\x00\xff\xfb\x03\xff\xfb\x2c\xff\xfd\x00\xff\xfd\x03"_b;
// Telnet's COM port control: 9600 bit/s, 8 data bits, no parity, 1 stop bit, no flow control.
const B Settings = "\xff\xfa\x2c\x01\x00\x00\x25\x80\xff\xf0\xff\xfa\x2c\x02\x08\xff\xf0\xff\xfa"
                   "\x2c\x03\x01\xff\xf0\xff\xfa\x2c\x04\x01\xff\xf0\xff\xfa\x2c\x05\x01\xff\xf0"_b;

// A peer agreeing to COM port control when `telnet`; answers a line, returns what it got.
std::future<B> peer(quint16 *port, bool telnet, B reply)
{
    std::promise<quint16> listening;
    auto received = std::async(std::launch::async, [&listening, telnet, reply]() mutable {
        QTcpServer server;
        listening.set_value(server.listen(QHostAddress::LocalHost) ? server.serverPort() : 0);
        auto *s = server.waitForNewConnection(5000) ? server.nextPendingConnection() : nullptr;
        B in;
        if (s && telnet)
            s->write("\xff\xfd\x2c");
        while (s && s->waitForReadyRead(-1))
            if ((in += s->readAll()).endsWith("\r\n") && !reply.isEmpty())
                s->write(std::exchange(reply, B()));
        return in;
    });
    *port = listening.get_future().get();
    return received;
}

// ser2net in the foreground, one accepter on 127.0.0.1 (its port kept when it starts again).
struct Ser2net
{
    ~Ser2net() { stop(); }
    bool start(const QString &tty)
    {
        if (QTcpServer free; port == 0 && free.listen(QHostAddress::LocalHost))
            port = free.serverPort();
        url = (telnet ? "rfc2217://127.0.0.1:" : "socket://127.0.0.1:") + B::number(port);
        const QString yaml = u"connection: &k\n  accepter: %1tcp,127.0.0.1,%2\n  connector: "
                             u"serialdev,%3,9600n81,local\n  options: {chardelay: false, "
                             u"kickolduser: true}\n"_s;
        const QString path = writeFile(
            dir.filePath(u"s.yaml"_s),
            yaml.arg(telnet ? u"telnet(rfc2217),"_s : QString()).arg(port).arg(tty).toUtf8());
        process.start(QStringLiteral(SER2NET_PATH), {u"-n"_s, u"-c"_s, path});
        // Up once it takes a connection.
        return QTest::qWaitFor(
            [this] {
                QTcpSocket probe;
                probe.connectToHost(QHostAddress::LocalHost, port);
                return probe.waitForConnected();
            },
            5000);
    }
    void stop()
    {
        process.kill();
        process.waitForFinished();
    }
    bool telnet = false;
    quint16 port = 0;
    B url;
    QTemporaryDir dir;
    QProcess process;
};

// The window's end, on a clock five times faster than the wall's, as SimLine.
struct NetLine : DevicePort
{
    MonotonicClock clock() const
    {
        return [t = start] { return t + (std::chrono::steady_clock::now() - t) * 5; };
    }
    bool PortWaitForData(Duration limit) override { return DevicePort::PortWaitForData(limit / 5); }
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

QStringList rows(const B &f) { return QString::fromLatin1(f).split(u"\r\n"_s, Qt::SkipEmptyParts); }

// Telnet, the peer's reply, what is let in, what the peer received.
using ExchangeRows = DataTable<"telnet reply in wire", bool, B, B, B>;
using Ser2netRows = DataTable<"rfc2217", bool>;
} // namespace

class TestNet : public QObject
{
    Q_OBJECT
private slots:
    void exchange_data()
    {
        const ExchangeRows row;
        const B text = B(2000, 'x') + '.', sent = "A\377B\r\n"_b, escaped = "A\xff\377B\r\n"_b;
        row("raw bytes as they are", false, "o\377k."_b, "o\377k."_b, sent);
        row("telnet escaped", true, "o\xff\377k."_b, "o\377k."_b, Offers + Settings + escaped);
        row("requests refused", true, "\xff\xfd\x18\xff\xfb\x01\xff\xfd\x00\xff\xfb\x00."_b, "."_b,
            Offers + Settings + escaped + "\xff\xfc\x18\xff\xfe\x01"_b);
        row("option withdrawn", true, "\xff\xfd\x00\xff\xfe\x00\xff\xf1."_b, "."_b,
            Offers + Settings + escaped + "\xff\xfc\x00"_b);
        row("subnegotiations skipped", true,
            "\xff\xfa\x2c\x65\x00\x00\x25\x80\xff\xf0\xff\xfa\x2c\xff\xff\xff\xf0\xff\xfa"_b +
                B(100000, 'x') + "\xff\360."_b,
            "."_b, Offers + Settings + escaped);
        row("2000 characters whole", false, text, text, sent);
        row("a flood cut", false, B(1 << 20, 'x'), B(NetworkPort::ExchangeLimit, 'x'), sent);
        row("commands without end", true, B(1 << 20, '\xf1').replace("\xf1", "\xff\xf1"), B(),
            Offers + Settings + escaped);
    }
    void exchange()
    {
        const auto [telnet, reply, in, wire] = ExchangeRows::fetch();
        quint16 number = 0;
        auto received = peer(&number, telnet, reply);
        NetworkPort port;
        port.PortSetDevice(QString::fromLatin1(
            (telnet ? "rfc2217://127.0.0.1:" : "socket://127.0.0.1:") + B::number(number)));
        QVERIFY(port.PortOpen());
        port.PortWrite("A\377B\r\n");
        B got; // as the command channel takes it, to its "." or the end of the wait
        while (!got.endsWith('.') && port.PortWaitForData(std::chrono::milliseconds(300)))
            got += port.PortRead(port.PortInCount());
        port.PortClose();
        QCOMPARE(got, in);
        QCOMPARE(received.get(), wire);
    }

    void ser2net_data()
    {
        const Ser2netRows row;
        row("raw TCP", false);
        row("telnet", true);
    }
    void ser2net()
    {
        const auto [rfc2217] = Ser2netRows::fetch();
        const B held = "[1][4][2][1][1][0][0][0]\r\n[1][1][2][2][1][2][3][1]\r\n";
        SimProcess sim;
        Ser2net server;
        server.telnet = rfc2217;
        QVERIFY(sim.start({}, held) && server.start(sim.link()));
        NetLine line;
        Studio s{line, line.clock(), NoPause};
        QVERIFY(s.load(6, 120, "CommDevice=" + server.url + "\r\n"));
        QVERIFY(s.boxes.isEmpty()); // neither "Port Conflict" nor the retry question
        QCOMPARE(s.model.MainCPUVersion, u"MAIN V2"_s);
        QCOMPARE(s.mapped(), sorted(sim.table()));
        s.pick(Control::List1, 2);
        s.pick(Control::list2, 5);
        s.click(Control::cmdMapIt);
        QCOMPARE(sim.table(), rows(held) << u"[1][3][2][5][1][0][0][0]"_s);
        server.stop();
        s.pick(Control::List1, 4);
        s.click(Control::cmdMapIt);
        QCOMPARE(s.window.text(Control::lblError), u"Comm Error!"_s);
        QVERIFY(server.start(sim.link()));
        s.click(Control::cmdOnline); // OFFLINE
        s.click(Control::cmdOnline); // ONLINE
        QVERIFY(s.model.Online);
        s.pick(Control::List1, 5);
        s.click(Control::cmdMapIt);
        QCOMPARE(sim.table().last(), u"[1][6][2][5][1][0][0][0]"_s);
        // kestrelctl on the window's own Kestrel.ini; ser2net hands it the line (kickolduser).
        QProcess p;
        const auto run = [&](const QString &command) {
            p.start(QStringLiteral(KESTRELCTL_PATH),
                    QStringList{u"--ini"_s, s.dir.filePath(u"Kestrel.ini"_s)} +
                        command.split(u' '));
            return p.waitForFinished(30000) ? p.exitCode() : -1;
        };
        const B show = "[1][2][2][3][1][0][0][0]\r\n[1][4][2][1][1][0][0][0]\r\n";
        QCOMPARE(run(u"--quiet apply "_s + writeFile(sim.path("show.qvr"), show)), 0);
        QCOMPARE(sorted(sim.table()), rows(show));
        QCOMPARE(run(u"read"_s), 0);
        QCOMPARE(rows(p.readAllStandardOutput()), sim.table());
        server.stop();
        QCOMPARE(run(u"read"_s), 2);
        QVERIFY(p.readAllStandardError().contains("Connection refused"));
    }
};

QTEST_MAIN(TestNet)
#include "tst_net.moc"
