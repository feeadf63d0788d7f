// kestrel-sim's serial line: the port and its link, clients coming and going, ending by signal,
// how long an answer takes, and the faults, one check each.

#include "SimSession.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QStringList Unpaced = {u"--baud"_s, u"0"_s};

// The configurator waits 2 s for a reply; half a second of silence is already telling, and
// anything still to come after it would be a fault of its own.
constexpr int SilenceMs = 500;

const QByteArray First = "Map 1 1 1 1", Second = "Map 2 5 1 3";
const QByteArray FirstRow = "[1][1][1][1][1][0][0][0]\r\n",
                 SecondRow = "[2][5][1][3][1][0][0][0]\r\n";

} // namespace

const QByteArray Reply = SimSession::reply("Map 123 456 789 1", "OK");

class TestSimLine : public QObject
{
    Q_OBJECT
private slots:
    void linkClientsAndSignal()
    {
        QTemporaryDir dir;
        const QString link = dir.filePath(u"kestrel-tty"_s);
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--link"_s, link}), sim.problemText());
        QCOMPARE(QFileInfo(link).symLinkTarget(), sim.portPath());
        QCOMPARE(sim.exchange("Map 2 5 1 3"), SimSession::reply("Map 2 5 1 3", "OK"));
        // The configurator closes and reopens its port when it goes offline and online again.
        sim.closePort();
        QVERIFY2(sim.open(link), sim.problemText());
        QCOMPARE(sim.exchange("RawMap 1"),
                 SimSession::reply("RawMap 1", "[2][5][1][3][1][0][0][0]"));
        sim.closePort();
        sim.process().terminate();
        QVERIFY(sim.process().waitForFinished(5000));
        QCOMPARE(sim.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(sim.process().exitCode(), 0);
        QVERIFY(!QFileInfo(link).exists() && !QFileInfo(link).isSymLink());
    }

    // An answer never comes sooner than the line and the delays asked for allow: a simulator
    // that answered at once would hide a configurator that gives up too early. Only the lower
    // bound is checked; a busy machine can only make it later.
    void answerTakesItsTime_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<double>("minimumMs");
        // At 1200 bit/s, 10 bits a character: the command with CR LF over, the answer back.
        QTest::newRow("1200 bit/s") << QStringList{u"--baud"_s, u"1200"_s}
                                    << (19 + Reply.size()) * 10 * 1000.0 / 1200 * 0.9;
        QTest::newRow("latency") << Unpaced + QStringList{u"--latency"_s, u"300"_s} << 290.0;
        QTest::newRow("slow fault") << Unpaced + QStringList{u"--fault"_s, u"slow:300"_s} << 290.0;
    }
    void answerTakesItsTime()
    {
        QFETCH(QStringList, arguments);
        QFETCH(double, minimumMs);
        SimSession sim;
        QVERIFY2(sim.start(arguments), sim.problemText());
        QElapsedTimer timer;
        timer.start();
        sim.send("Map 123 456 789 1");
        QCOMPARE(sim.readFor(5000, true), Reply); // a moment after the reply is waited out too
        const qint64 elapsed = timer.elapsed();
        QVERIFY2(elapsed >= minimumMs,
                 qPrintable(u"%1 ms, at least %2 expected"_s.arg(elapsed).arg(minimumMs)));
    }

    // Two commands; what comes back for the second, and what the table holds after both. An
    // empty `received` stands for noise as long as the answer, with `dots` "." in it.
    void faults_data()
    {
        QTest::addColumn<QString>("faults");
        QTest::addColumn<QByteArray>("received");
        QTest::addColumn<int>("dots");
        QTest::addColumn<QByteArray>("table");
        const QByteArray both = FirstRow + SecondRow;
        QTest::newRow("silent, yet carried out") << u"silent"_s << QByteArray() << 0 << both;
        QTest::newRow("drop: neither answered nor carried out")
            << u"drop:2"_s << QByteArray() << 0 << FirstRow;
        QTest::newRow("cut") << u"cut"_s << Second + "\r\nOK\r\n" << 0 << both;
        QTest::newRow("garbage") << u"garbage"_s << QByteArray() << 1 << both;
        QTest::newRow("garbage cut") << u"cut,garbage"_s << QByteArray() << 0 << both;
    }
    void faults()
    {
        QFETCH(QString, faults);
        QFETCH(QByteArray, received);
        QFETCH(int, dots);
        QFETCH(QByteArray, table);
        QTemporaryDir dir;
        const QString state = dir.filePath(u"state.qvr"_s);
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--fault"_s, faults, u"--state"_s, state}),
                 sim.problemText());
        sim.send(First);
        sim.readFor(SilenceMs);
        sim.send(Second);
        const QByteArray got = sim.readFor(SilenceMs);
        if (faults.contains(u"garbage"_s)) {
            QCOMPARE(got.size(), SimSession::reply(Second, "OK").size());
            QVERIFY(!got.startsWith(Second.left(3))); // not even the echo survives
        } else {
            QCOMPARE(got, received);
        }
        QCOMPARE(got.count('.'), dots);
        QCOMPARE(SimSession::readFile(state), table);
    }

    void hangupEndsTheLine()
    {
        QTemporaryDir dir;
        const QString link = dir.filePath(u"kestrel-tty"_s);
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--fault"_s, u"hangup:2"_s, u"--link"_s, link}),
                 sim.problemText());
        QCOMPARE(sim.exchange("VER"), SimSession::reply("VER", "KESTREL MAIN V2.14"));
        // The second answer still arrives whole; then the line goes, and the link with it.
        QCOMPARE(sim.exchange("GSTAT 1"), SimSession::reply("GSTAT 1", "UNIT 1 DISABLED 0 LIT"));
        QVERIFY(sim.process().waitForFinished(5000));
        QCOMPARE(sim.process().exitCode(), 0);
        QVERIFY(!QFileInfo(link).exists() && !QFileInfo(link).isSymLink());
        // The configurator's port must notice, as it would a USB adapter pulled out.
        sim.send("VER");
        QCOMPARE(sim.readFor(200), QByteArray());
        QVERIFY(sim.port().error() == QSerialPort::ReadError ||
                sim.port().error() == QSerialPort::ResourceError);
    }
};

QTEST_GUILESS_MAIN(TestSimLine)
#include "tst_simline.moc"
