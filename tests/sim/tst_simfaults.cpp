// kestrel-sim's faults, as a reliability test of the configurator meets them.

#include "SimSession.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QStringList unpacedWith(const QStringList &more) { return QStringList{u"--baud"_s, u"0"_s} + more; }

// The configurator waits 2 s for a reply; half a second of silence is already telling.
constexpr int SilenceMs = 500;

QByteArrayList garbageRun(quint32 seed, const QByteArrayList &commands, QString *problem)
{
    SimSession sim;
    if (!sim.start(unpacedWith({u"--fault"_s, u"garbage"_s, u"--seed"_s, QString::number(seed)}))) {
        *problem = QString::fromLocal8Bit(sim.problemText());
        return {};
    }
    QByteArrayList replies;
    for (const QByteArray &c : commands) {
        sim.send(c);
        replies.append(sim.readFor(150));
    }
    return replies;
}

} // namespace

class TestSimFaults : public QObject
{
    Q_OBJECT
private slots:
    void silent()
    {
        QTemporaryDir dir;
        const QString state = dir.filePath(u"state.qvr"_s);
        SimSession sim;
        QVERIFY2(sim.start(unpacedWith({u"--fault"_s, u"silent"_s, u"--state"_s, state})),
                 sim.problemText());
        sim.send("\rVER");
        QCOMPARE(sim.readFor(SilenceMs), QByteArray());
        sim.send("Map 2 5 1 3");
        QCOMPARE(sim.readFor(SilenceMs), QByteArray());
        // The system still carries commands out; only its answers are lost.
        QCOMPARE(SimSession::readFile(state), QByteArray("[2][5][1][3][1][0][0][0]\r\n"));
    }

    void cut_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("Map") << QByteArray("Map 2 5 1 3") << QByteArray("OK");
        QTest::newRow("RawMap past the end") << QByteArray("RawMap 1") << QByteArray();
        QTest::newRow("BITS") << QByteArray("BITS 1") << QByteArray(32, '0');
    }
    void cut()
    {
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, line);
        SimSession sim;
        QVERIFY2(sim.start(unpacedWith({u"--fault"_s, u"cut"_s})), sim.problemText());
        sim.send(command);
        QCOMPARE(sim.readFor(SilenceMs), command + "\r\n" + line + "\r\n");
    }

    void slow()
    {
        SimSession sim;
        QVERIFY2(sim.start(unpacedWith({u"--fault"_s, u"slow:400"_s})), sim.problemText());
        QElapsedTimer timer;
        timer.start();
        sim.send("VER");
        QVERIFY(sim.port().waitForReadyRead(2000));
        const qint64 firstByte = timer.elapsed();
        QVERIFY2(firstByte >= 395 && firstByte < 1200, qPrintable(QString::number(firstByte)));
        QCOMPARE(sim.collectReply(), SimSession::reply("VER", "KESTREL MAIN V2.14"));
    }

    void slowAndCutTogether()
    {
        SimSession sim;
        QVERIFY2(sim.start(unpacedWith({u"--fault"_s, u"slow:300,cut"_s})), sim.problemText());
        QElapsedTimer timer;
        timer.start();
        sim.send("Comp");
        QVERIFY(sim.port().waitForReadyRead(2000));
        QVERIFY(timer.elapsed() >= 295);
        QCOMPARE(sim.readFor(SilenceMs), QByteArray("Comp\r\nOK\r\n"));
    }

    void drop()
    {
        SimSession sim;
        QVERIFY2(sim.start(unpacedWith({u"--fault"_s, u"drop:3"_s})), sim.problemText());
        QCOMPARE(sim.exchange("Map 1 1 1 1"), SimSession::reply("Map 1 1 1 1", "OK"));
        QCOMPARE(sim.exchange("Map 1 2 1 1"), SimSession::reply("Map 1 2 1 1", "OK"));
        QCOMPARE(sim.exchange("Map 1 3 1 1", SilenceMs), QByteArray()); // the 3rd
        QCOMPARE(sim.exchange("VER"), SimSession::reply("VER", "KESTREL MAIN V2.14"));
        // The dropped command was not carried out either.
        QCOMPARE(sim.exchange("RawMap 3"), SimSession::reply("RawMap 3", ""));
        QCOMPARE(sim.exchange("RawMap 1", SilenceMs), QByteArray()); // the 6th
        QCOMPARE(sim.exchange("RawMap 2"),
                 SimSession::reply("RawMap 2", "[1][2][1][1][1][0][0][0]"));
    }

    void hangup()
    {
        QTemporaryDir dir;
        const QString link = dir.filePath(u"kestrel-tty"_s);
        SimSession sim;
        QVERIFY2(sim.start(unpacedWith({u"--fault"_s, u"hangup:2"_s, u"--link"_s, link})),
                 sim.problemText());
        QVERIFY(QFileInfo(link).isSymLink());
        QSignalSpy errors(&sim.port(), &QSerialPort::errorOccurred);
        QCOMPARE(sim.exchange("VER"), SimSession::reply("VER", "KESTREL MAIN V2.14"));
        // The second answer still arrives whole; then the line goes.
        QCOMPARE(sim.exchange("GSTAT 1"), SimSession::reply("GSTAT 1", "UNIT 1 DISABLED 0 LIT"));
        QVERIFY(sim.process().waitForFinished(3000));
        QCOMPARE(sim.process().exitCode(), 0);
        QVERIFY(!QFileInfo(link).exists() && !QFileInfo(link).isSymLink());
        // The configurator's port notices: reading fails, and nothing is answered any more.
        sim.send("VER");
        QCOMPARE(sim.readFor(200), QByteArray());
        QList<QSerialPort::SerialPortError> seen;
        for (const QList<QVariant> &e : std::as_const(errors))
            seen.append(e.at(0).value<QSerialPort::SerialPortError>());
        QVERIFY2(seen.contains(QSerialPort::ReadError) || seen.contains(QSerialPort::ResourceError),
                 qPrintable(u"port errors seen: %1"_s.arg(seen.size())));
    }

    void garbage()
    {
        const QByteArrayList commands = {"VER", "Map 2 5 1 3", "RawMap 1"};
        QString problem;
        const QByteArrayList first = garbageRun(7, commands, &problem);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        const QByteArrayList again = garbageRun(7, commands, &problem);
        const QByteArrayList otherSeed = garbageRun(8, commands, &problem);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QCOMPARE(again, first); // reproducible from the seed
        QVERIFY(otherSeed != first);

        const QByteArrayList clean = {SimSession::reply("VER", "KESTREL MAIN V2.14"),
                                      SimSession::reply("Map 2 5 1 3", "OK"),
                                      SimSession::reply("RawMap 1", "[2][5][1][3][1][0][0][0]")};
        QCOMPARE(first.size(), clean.size());
        for (int i = 0; i < clean.size(); ++i) {
            QCOMPARE(first[i].size(), clean[i].size()); // noise in place of the whole answer
            QCOMPARE(first[i].count('.'), 1);           // with one terminator somewhere in it
            QVERIFY(first[i] != clean[i]);
            QVERIFY(!first[i].startsWith(commands[i])); // not even the echo survives
        }
    }

    void garbageAndCut()
    {
        SimSession sim;
        QVERIFY2(sim.start(unpacedWith({u"--fault"_s, u"garbage"_s, u"--fault"_s, u"cut"_s})),
                 sim.problemText());
        sim.send("Map 2 5 1 3");
        const QByteArray noise = sim.readFor(300);
        QCOMPARE(noise.size(), SimSession::reply("Map 2 5 1 3", "OK").size());
        QVERIFY(!noise.contains('.'));
    }
};

QTEST_GUILESS_MAIN(TestSimFaults)
#include "tst_simfaults.moc"
