#include "link/CommandChannel.h"
#include "link/QtSerialPortAdapter.h"
#include "support/FakeView.h"

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// A pseudo-terminal standing in for the serial line: the adapter opens the slave, the test
// plays the tally system on the master.
struct Pty
{
    Pty()
    {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0)
            slave = QString::fromLocal8Bit(ptsname(master));
    }
    ~Pty() { hangUp(); }
    void hangUp()
    {
        if (master >= 0)
            ::close(master);
        master = -1;
    }
    void send(const QByteArray &b) const
    {
        QCOMPARE(::write(master, b.data(), b.size()), b.size());
    }
    // What arrived at the master within `limit`.
    QByteArray receive(std::chrono::milliseconds limit = 500ms) const
    {
        QByteArray got;
        pollfd p{master, POLLIN, 0};
        while (::poll(&p, 1, int(limit.count())) > 0 && (p.revents & POLLIN)) {
            char buf[256];
            const ssize_t n = ::read(master, buf, sizeof buf);
            if (n <= 0)
                break;
            got.append(buf, n);
            limit = 20ms; // the rest of a burst
        }
        return got;
    }
    int master = -1;
    QString slave;
};

double threadCpuSeconds()
{
    rusage u{};
    getrusage(RUSAGE_THREAD, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

} // namespace

class TestLinkSerialPort : public QObject
{
    Q_OBJECT
private slots:
    void devicePath_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("device");
        QTest::addColumn<QString>("path");
        QTest::newRow("port 1") << 1 << u""_s << u"/dev/ttyS0"_s;
        QTest::newRow("port 4") << 4 << u""_s << u"/dev/ttyS3"_s;
        QTest::newRow("port 255") << 255 << u""_s << u"/dev/ttyS254"_s;
        QTest::newRow("out of range means 1") << 0 << u""_s << u"/dev/ttyS0"_s;
        QTest::newRow("device path wins") << 3 << u"/dev/ttyUSB0"_s << u"/dev/ttyUSB0"_s;
    }
    void devicePath()
    {
        QFETCH(int, number);
        QFETCH(QString, device);
        QFETCH(QString, path);
        QtSerialPortAdapter port;
        port.PortSetNumber(number);
        port.PortSetDevice(device);
        QCOMPARE(port.devicePath(), path);
    }

    void portNotAvailable()
    {
        QtSerialPortAdapter port;
        port.PortSetDevice(u"/dev/kestrel-no-such-port"_s);
        QVERIFY(!port.PortOpen());
        port.PortWrite("VER\r\n"); // dropped, no complaint
        QCOMPARE(port.PortInCount(), 0);
        QCOMPARE(port.PortRead(5), QByteArray());
        QElapsedTimer wall;
        wall.start();
        const double cpu = threadCpuSeconds();
        QVERIFY(!port.PortWaitForData(150ms));
        QVERIFY2(wall.elapsed() >= 145 && wall.elapsed() < 1000,
                 qPrintable(QString::number(wall.elapsed())));
        QVERIFY(threadCpuSeconds() - cpu < 0.03); // slept, did not spin
    }

    void lineSettings()
    {
        Pty pty;
        QVERIFY(!pty.slave.isEmpty());
        const int watch = ::open(pty.slave.toLocal8Bit().constData(), O_RDWR | O_NOCTTY);
        QVERIFY(watch >= 0);
        QtSerialPortAdapter port;
        port.PortSetDevice(pty.slave);
        QVERIFY(port.PortOpen());
        termios t{};
        QCOMPARE(tcgetattr(watch, &t), 0);
        ::close(watch);
        QCOMPARE(cfgetospeed(&t), speed_t(B9600));
        QCOMPARE(cfgetispeed(&t), speed_t(B9600));
        QCOMPARE(t.c_cflag & CSIZE, tcflag_t(CS8));
        QCOMPARE(t.c_cflag & PARENB, tcflag_t(0));
        QCOMPARE(t.c_cflag & CSTOPB, tcflag_t(0));
        QCOMPARE(t.c_cflag & CRTSCTS, tcflag_t(0));
        QCOMPARE(t.c_iflag & (IXON | IXOFF), tcflag_t(0));
        QCOMPARE(t.c_lflag & (ICANON | ECHO), tcflag_t(0)); // bytes as they are
    }

    void bytesBothWays()
    {
        Pty pty;
        QtSerialPortAdapter port;
        port.PortSetDevice(pty.slave);
        QVERIFY(port.PortOpen());
        port.PortWrite("\rVER\r\n");
        QCOMPARE(pty.receive(), QByteArray("\rVER\r\n"));
        QCOMPARE(port.PortInCount(), 0);
        QElapsedTimer wall;
        wall.start();
        std::thread later([&] {
            std::this_thread::sleep_for(100ms);
            pty.send("VER\r\nMAINV2\r\n.");
        });
        const bool arrived = port.PortWaitForData(2s);
        later.join();
        QVERIFY(arrived);
        QVERIFY(wall.elapsed() >= 90 && wall.elapsed() < 1000); // woke on the bytes
        QByteArray got;
        for (int k = 0; k < 50 && got.size() < 14; ++k) {
            if (port.PortInCount() == 0)
                port.PortWaitForData(100ms);
            got += port.PortRead(1);
        }
        QCOMPARE(got, QByteArray("VER\r\nMAINV2\r\n."));
        QCOMPARE(port.PortRead(0), QByteArray());
    }

    void inCountSeesWhatTheDriverHolds()
    {
        // Bytes that came while no event loop ran must still be visible to the flush.
        Pty pty;
        QtSerialPortAdapter port;
        port.PortSetDevice(pty.slave);
        QVERIFY(port.PortOpen());
        pty.send("23\r\n.");
        QTest::qSleep(50);
        QCOMPARE(port.PortInCount(), 5);
    }

    void notificationBetweenEvents()
    {
        Pty pty;
        QtSerialPortAdapter port;
        int notified = 0;
        port.setPortDataReceived([&] { ++notified; });
        port.PortSetDevice(pty.slave);
        QVERIFY(port.PortOpen());
        pty.send("abc");
        QVERIFY(port.PortWaitForData(1s));
        QTest::qSleep(30);
        pty.send("def.");
        port.PortRead(3);
        QVERIFY(port.PortWaitForData(1s));
        QCOMPARE(notified, 0); // never from inside a wait
        QCoreApplication::processEvents();
        QCOMPARE(notified, 1); // both bursts in one notification
        port.setPortDataReceived({});
        pty.send("x");
        QVERIFY(port.PortWaitForData(1s));
        QCoreApplication::processEvents();
        QCOMPARE(notified, 1);
    }

    void vanishedPort()
    {
        Pty pty;
        QtSerialPortAdapter port;
        port.PortSetDevice(pty.slave);
        QVERIFY(port.PortOpen());
        pty.hangUp(); // the adapter is pulled out
        QElapsedTimer wall;
        wall.start();
        const double cpu = threadCpuSeconds();
        QVERIFY(!port.PortWaitForData(300ms));
        QVERIFY2(wall.elapsed() >= 290 && wall.elapsed() < 1500,
                 qPrintable(QString::number(wall.elapsed())));
        port.PortWrite("VER\r\n");
        QCOMPARE(port.PortInCount(), 0);
        QVERIFY(!port.PortWaitForData(100ms));
        QVERIFY2(threadCpuSeconds() - cpu < 0.05,
                 qPrintable(QString::number(threadCpuSeconds() - cpu)));
    }

    // The channel on the real adapter: a reply through the line, then silence.
    void channelOverTheLine()
    {
        Pty pty;
        QtSerialPortAdapter port;
        port.PortSetDevice(pty.slave);
        QVERIFY(port.PortOpen());
        SystemModel model;
        FakeView view;
        CommandChannel channel(model, view, port);
        std::atomic<bool> stop = false;
        std::thread device([&] {
            QByteArray line;
            while (!stop) {
                const QByteArray got = pty.receive(50ms);
                line += got;
                const qsizetype end = line.indexOf("\r\n");
                if (end < 0)
                    continue;
                const QByteArray command = line.left(end);
                line.remove(0, end + 2);
                if (command == "VER")
                    pty.send("VER\r\nMAINV2.5\r\n.");
            }
        });
        QVERIFY(channel.SendCommand(u"VER"_s));
        QCOMPARE(model.IBuffer, u"VER\r\nMAINV2."_s);
        QCOMPARE(view.text(Control::lblError), u""_s);
        QTest::qSleep(100); // the rest of the version line comes in meanwhile
        QElapsedTimer wall;
        wall.start();
        const double cpu = threadCpuSeconds();
        QVERIFY(!channel.SendCommand(u"silent"_s)); // the flush took "5\r\n."
        const qint64 waited = wall.elapsed();
        const double used = threadCpuSeconds() - cpu;
        stop = true;
        device.join();
        QCOMPARE(model.IBuffer, u""_s);
        QCOMPARE(view.text(Control::lblError), u"Comm Error!"_s);
        QVERIFY2(waited >= 2000 && waited < 2600, qPrintable(QString::number(waited)));
        QVERIFY2(used < 0.05, qPrintable(QString::number(used)));
    }
};

QTEST_GUILESS_MAIN(TestLinkSerialPort)
#include "tst_link_serialport.moc"
