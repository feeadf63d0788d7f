// kestrel-sim's serial line: the port, its link, clients coming and going, ending by signal,
// and the pacing of what it sends.

#include "SimSession.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QStringList Unpaced = {u"--baud"_s, u"0"_s};

// Milliseconds that `bytes` characters take at `baud` (10 bits each).
double wireMs(qsizetype bytes, int baud) { return bytes * 10.0 * 1000.0 / baud; }

// Runs the configurator's read-back of rows 1..rows+1 and gives the bytes that crossed the
// line (both ways) and the time it took.
struct ReadBack
{
    qsizetype bytes = 0;
    qint64 elapsedMs = 0;
    bool complete = true;
};
ReadBack readBack(SimSession &sim, int rows)
{
    ReadBack result;
    QElapsedTimer timer;
    timer.start();
    for (int row = 1; row <= rows + 1; ++row) {
        const QByteArray command = "RawMap " + QByteArray::number(row);
        const QByteArray reply = sim.exchange(command);
        result.complete = result.complete && reply.endsWith("\r\n.");
        result.bytes += command.size() + 2 + reply.size();
    }
    // exchange() waits a moment after each reply to see that nothing follows; that is ours.
    result.elapsedMs = timer.elapsed() - (rows + 1) * SimSession::SettleMs;
    return result;
}

QString preload(const QTemporaryDir &dir, int rows)
{
    const QString path = dir.filePath(u"rows.qvr"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return {};
    for (int i = 1; i <= rows; ++i)
        file.write("[1][" + QByteArray::number(i) + "][2][" + QByteArray::number(i) +
                   "][1][0][0][0]\r\n");
    return path;
}

} // namespace

class TestSimLine : public QObject
{
    Q_OBJECT
private slots:
    void portIsRawAndFirstLineIsItsPath()
    {
        SimSession sim;
        QVERIFY2(sim.start(Unpaced), sim.problemText());
        QVERIFY(sim.portPath().startsWith(u"/dev/"_s));
        // Bytes that a cooked line would translate or swallow must pass unchanged.
        const QByteArray odd = QByteArray("VER\x7f\x03\x1a\x04\xff", 8);
        QCOMPARE(sim.exchange(odd), SimSession::reply(odd, "ERR ARGS"));
    }

    void linkIsPlacedAndRemoved_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGINT") << int(SIGINT);
    }
    void linkIsPlacedAndRemoved()
    {
        QFETCH(int, signal);
        QTemporaryDir dir;
        const QString link = dir.filePath(u"kestrel-tty"_s);
        QFile stale(link); // a file left behind by a crash is replaced
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.close();
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--link"_s, link}), sim.problemText());
        QVERIFY(QFileInfo(link).isSymLink());
        QCOMPARE(QFileInfo(link).symLinkTarget(), sim.portPath());
        sim.closePort();
        QVERIFY2(sim.open(link), sim.problemText());
        QCOMPARE(sim.exchange("VER"), SimSession::reply("VER", "KESTREL MAIN V2.14"));
        sim.closePort();
        ::kill(pid_t(sim.process().processId()), signal);
        QVERIFY(sim.process().waitForFinished(5000));
        QCOMPARE(sim.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(sim.process().exitCode(), 0);
        QVERIFY(!QFileInfo(link).exists());
        QVERIFY(!QFileInfo(link).isSymLink());
    }

    void clientsComeAndGo()
    {
        SimSession sim;
        QVERIFY2(sim.start(Unpaced), sim.problemText());
        QVERIFY(sim.exchange("Map 2 5 1 3").endsWith("\r\n."));
        for (int i = 0; i < 3; ++i) {
            sim.closePort();
            QTest::qWait(50);
            QVERIFY2(sim.open(sim.portPath()), sim.problemText());
            QCOMPARE(sim.exchange("RawMap 1"),
                     SimSession::reply("RawMap 1", "[2][5][1][3][1][0][0][0]"));
        }
        QCOMPARE(sim.process().state(), QProcess::Running);
        QCOMPARE(sim.terminate(), 0);
    }

    // QSerialPort locks the line (TIOCEXCL) and unlocks it on close. A client that dies holding
    // the lock must not turn every later client away (root is exempt from the lock, so the
    // flag itself is checked here).
    void lockOfAVanishedClientIsLifted()
    {
        SimSession sim;
        QVERIFY2(sim.start(Unpaced), sim.problemText());
        const QByteArray path = QFile::encodeName(sim.portPath());
        auto locked = [&path]() {
            const int probe = ::open(path.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
            int flag = -1;
            if (probe >= 0) {
                ::ioctl(probe, TIOCGEXCL, &flag);
                ::close(probe);
            }
            return flag;
        };
        QCOMPARE(locked(), 1); // the live client's lock holds...
        QTest::qWait(100);
        QCOMPARE(locked(), 1); // ...also after another descriptor came and went
        sim.closePort();
        QTest::qWait(100);
        QCOMPARE(locked(), 0);

        const int doomed = ::open(path.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        QVERIFY(doomed >= 0);
        QCOMPARE(::ioctl(doomed, TIOCEXCL), 0);
        ::close(doomed); // gone without unlocking, as a killed client
        QTest::qWait(100);
        QCOMPARE(locked(), 0);
        QVERIFY2(sim.open(sim.portPath()), sim.problemText());
        QCOMPARE(sim.exchange("VER"), SimSession::reply("VER", "KESTREL MAIN V2.14"));
    }

    void helpNamesEveryOption()
    {
        QProcess help;
        help.start(QStringLiteral(KESTREL_SIM_PATH), {u"--help"_s});
        QVERIFY(help.waitForFinished(5000));
        QCOMPARE(help.exitCode(), 0);
        const QByteArray text = help.readAllStandardOutput();
        for (const char *word :
             {"--link", "--rows", "--log", "--state", "--baud", "--latency", "--fault", "--seed",
              "silent", "slow:", "cut", "garbage", "drop:", "hangup:", "RawMap", "BITS", "GSTAT"})
            QVERIFY2(text.contains(word), word);
    }

    void badCommandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("unknown option") << QStringList{u"--frobnicate"_s};
        QTest::newRow("negative baud") << QStringList{u"--baud"_s, u"-5"_s};
        QTest::newRow("unknown fault") << QStringList{u"--fault"_s, u"explode"_s};
        QTest::newRow("fault without its number") << QStringList{u"--fault"_s, u"drop"_s};
        QTest::newRow("drop:0") << QStringList{u"--fault"_s, u"drop:0"_s};
        QTest::newRow("number on a plain fault") << QStringList{u"--fault"_s, u"cut:3"_s};
        QTest::newRow("stray argument") << QStringList{u"/dev/ttyS0"_s};
    }
    void badCommandLine()
    {
        QFETCH(QStringList, arguments);
        QProcess sim;
        sim.start(QStringLiteral(KESTREL_SIM_PATH), arguments);
        QVERIFY(sim.waitForFinished(5000));
        QCOMPARE(sim.exitCode(), 2);
        QCOMPARE(sim.readAllStandardOutput(), QByteArray());
        QVERIFY(!sim.readAllStandardError().isEmpty());
    }

    // At 9600 bit/s a read-back of a few hundred bytes takes about as long as the line needs
    // (the precise figure is the benchmark's); unpaced it is much faster.
    void pacing_data()
    {
        QTest::addColumn<int>("baud");
        QTest::newRow("9600") << 9600;
        QTest::newRow("2400") << 2400;
    }
    void pacing()
    {
        QFETCH(int, baud);
        QTemporaryDir dir;
        const int rows = baud == 9600 ? 8 : 3;
        SimSession sim;
        QVERIFY2(sim.start({u"--baud"_s, QString::number(baud), u"--rows"_s, preload(dir, rows)}),
                 sim.problemText());
        const ReadBack paced = readBack(sim, rows);
        QVERIFY(paced.complete);
        QVERIFY(paced.bytes > (baud == 9600 ? 300 : 100));
        const double expected = wireMs(paced.bytes, baud);
        QVERIFY2(paced.elapsedMs > expected * 0.5 && paced.elapsedMs < expected * 1.5,
                 qPrintable(u"%1 bytes in %2 ms, expected about %3 ms"_s.arg(paced.bytes)
                                .arg(paced.elapsedMs)
                                .arg(expected)));
    }
    void unpacedIsFast()
    {
        QTemporaryDir dir;
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--rows"_s, preload(dir, 8)}), sim.problemText());
        const ReadBack fast = readBack(sim, 8);
        QVERIFY(fast.complete);
        QVERIFY2(fast.elapsedMs < wireMs(fast.bytes, 9600) * 0.3,
                 qPrintable(QString::number(fast.elapsedMs)));
    }

    // The answer waits for the command to have crossed the line, then goes out byte by byte.
    void answerWaitsForTheCommand()
    {
        SimSession sim;
        QVERIFY2(sim.start({u"--baud"_s, u"1200"_s}), sim.problemText());
        const QByteArray command = "Map 123 456 789 1"; // 19 bytes with CR LF: 158 ms
        QElapsedTimer timer;
        timer.start();
        sim.send(command);
        QVERIFY(sim.port().waitForReadyRead(2000));
        const qint64 firstByte = timer.elapsed();
        const QByteArray reply = sim.collectReply(2000);
        const qint64 lastByte = timer.elapsed() - SimSession::SettleMs;
        QCOMPARE(sim.port().readAll().prepend(reply).size(), reply.size());
        QVERIFY(reply.endsWith("\r\nOK\r\n."));
        const double commandMs = wireMs(command.size() + 2, 1200);
        QVERIFY2(firstByte > commandMs * 0.9 && firstByte < commandMs * 1.5,
                 qPrintable(QString::number(firstByte)));
        const double total = commandMs + wireMs(reply.size(), 1200);
        QVERIFY2(lastByte > total * 0.8 && lastByte < total * 1.5,
                 qPrintable(QString::number(lastByte)));
    }

    void latency()
    {
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--latency"_s, u"300"_s}), sim.problemText());
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(sim.exchange("VER"), SimSession::reply("VER", "KESTREL MAIN V2.14"));
        const qint64 elapsed = timer.elapsed() - SimSession::SettleMs;
        QVERIFY2(elapsed >= 295 && elapsed < 1000, qPrintable(QString::number(elapsed)));
    }
};

QTEST_GUILESS_MAIN(TestSimLine)
#include "tst_simline.moc"
