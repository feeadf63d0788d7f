// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The network port's bytes: Telnet decoded and answered as a server's stream arrives, cut
// anywhere; and against a peer on 127.0.0.1, what goes on the wire and what an exchange lets
// in from a well-behaved, a flooding and a chattering peer.

#include "core/DataTable.h"
#include "link/NetworkPort.h"

#include <QTcpServer>

#include <future>
#include <thread>

using B = QByteArray;

// Bytes as written, NUL included.
B operator""_b(const char *s, std::size_t n) { return B(s, qsizetype(n)); }

namespace {

const B Offers = "\xff\xfb\x00\xff\xfb\x03\xff\xfb\x2c\xff\xfd\x00\xff\xfd\x03"_b;
// 9600 bit/s, 8 data bits, no parity, 1 stop bit, no flow control.
const B Settings = "\xff\xfa\x2c\x01\x00\x00\x25\x80\xff\xf0\xff\xfa\x2c\x02\x08\xff\xf0"
                   "\xff\xfa\x2c\x03\x01\xff\xf0\xff\xfa\x2c\x04\x01\xff\xf0"
                   "\xff\xfa\x2c\x05\x01\xff\xf0"_b;

// A peer on 127.0.0.1: accepts one connection, agrees to COM port control when `telnet`,
// answers the first line with `reply` and hands back every byte it received once closed.
std::future<B> peer(quint16 *port, bool telnet, B reply)
{
    std::promise<quint16> listening;
    auto portNumber = listening.get_future();
    auto received = std::async(std::launch::async, [&listening, telnet, reply] {
        QTcpServer server;
        listening.set_value(server.listen(QHostAddress::LocalHost) ? server.serverPort() : 0);
        if (!server.waitForNewConnection(5000))
            return B();
        QTcpSocket *s = server.nextPendingConnection();
        if (telnet)
            s->write("\xff\xfd\x2c"), s->flush();
        B in;
        while (!in.endsWith("\r\n") && s->waitForReadyRead(60000))
            in += s->readAll();
        for (s->write(reply); s->bytesToWrite() > 0 && s->waitForBytesWritten(5000);) {
        }
        while (s->state() == QAbstractSocket::ConnectedState && s->waitForReadyRead(60000))
            in += s->readAll();
        return in + s->readAll();
    });
    *port = portNumber.get();
    return received;
}

} // namespace

class TestNet : public QObject
{
    Q_OBJECT
private slots:
    void telnet_data()
    {
        DataTable<B, B, B> row; // from the server, the line's bytes, the answers
        row("0xFF doubled", "a\xff\377b"_b, "a\377b"_b, B());
        row("NOP skipped", "a\xff\361b"_b, "ab"_b, B());
        row("our offer agreed", "\xff\xfd\x00\xff\xfb\x00"_b, B(), B());
        row("unknown DO refused", "\xff\xfd\x18"_b, B(), "\xff\xfc\x18"_b);
        row("echo refused", "\xff\xfb\x01"_b, B(), "\xff\xfe\x01"_b);
        row("COM port agreed", "\xff\xfd\x2c"_b, B(), Settings);
        row("withdrawn option", "\xff\xfd\x00\xff\xfe\x00"_b, B(), "\xff\xfc\x00"_b);
        row("answer skipped", "a\xff\xfa\x2c\x65\x00\x00\x25\x80\xff\360b"_b, "ab"_b, B());
        row("0xFF in a subnegotiation", "\xff\xfa\x2c\xff\xff\x01\xff\360b"_b, "b"_b, B());
        row("endless subnegotiation", "\xff\xfa\x2c"_b + B(100000, 'x') + "\xff\360b"_b, "b"_b,
            B());
    }
    void telnet()
    {
        const auto [received, data, answers] = DataTable<B, B, B>::fetch();
        TelnetCodec codec;
        QCOMPARE(codec.start(), Offers);
        B gotData, gotAnswers;
        for (char c : received) // a byte at a time: a command may be cut anywhere
            gotData += codec.decode(B(1, c), gotAnswers);
        QCOMPARE(gotData, data);
        QCOMPARE(gotAnswers, answers);
    }

    void exchange_data()
    {
        DataTable<bool, B, B, B> row; // Telnet, the peer's reply, let in, the wire
        const B text = B(2000, 'x') + '.';
        row("raw bytes as they are", false, "o\377k."_b, "o\377k."_b, "A\377B\r\n"_b);
        row("telnet escaped", true, "o\xff\377k."_b, "o\377k."_b,
            Offers + Settings + "A\xff\377B\r\n"_b);
        row("2000 characters whole", false, text, text, "A\377B\r\n"_b);
        row("a flood cut", false, B(1 << 20, 'x'), B(NetworkPort::ExchangeLimit, 'x'),
            "A\377B\r\n"_b);
        row("commands without end", true, B(1 << 20, '\xf1').replace("\xf1", "\xff\xf1"), B(),
            Offers + Settings + "A\xff\377B\r\n"_b);
    }
    void exchange()
    {
        const auto [telnet, reply, in, wire] = DataTable<bool, B, B, B>::fetch();
        quint16 number = 0;
        auto received = peer(&number, telnet, reply);
        NetworkPort port;
        port.PortSetDevice(QLatin1String(telnet ? "rfc2217" : "socket") +
                           QLatin1String("://127.0.0.1:") + QString::number(number));
        QVERIFY(port.PortOpen());
        port.PortWrite("A\377B\r\n");
        B got; // as the command channel takes it, to its "." or the end of the wait
        while (!got.endsWith('.') && port.PortWaitForData(std::chrono::milliseconds(300)))
            got += port.PortRead(port.PortInCount());
        port.PortClose();
        QCOMPARE(got.size(), in.size());
        QCOMPARE(got, in);
        QCOMPARE(received.get(), wire);
    }
};

QTEST_GUILESS_MAIN(TestNet)
#include "tst_net.moc"
