// kestrel-sim's command set through its pseudo-terminal, unpaced (--baud 0).

#include "SimSession.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QStringList Unpaced = {u"--baud"_s, u"0"_s};

QByteArray bitsWith(std::initializer_list<int> channels)
{
    QByteArray bits(32, '0');
    for (int k : channels)
        bits[k - 1] = '1';
    return bits;
}

QByteArray tallyText(const QByteArrayList &rows)
{
    QByteArray text;
    for (const QByteArray &row : rows)
        text += row + "\r\n";
    return text;
}

} // namespace

class TestSimCommands : public QObject
{
    Q_OBJECT
private slots:
    void replies_data()
    {
        QTest::addColumn<QByteArrayList>("before");
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("line");

        const QByteArrayList none;
        QTest::newRow("empty line") << none << QByteArray() << QByteArray("READY");
        QTest::newRow("VER") << none << QByteArray("VER") << QByteArray("KESTREL MAIN V2.14");
        QTest::newRow("probe: CR then VER")
            << none << QByteArray("\rVER") << QByteArray("KESTREL MAIN V2.14");
        QTest::newRow("keyword in any case")
            << none << QByteArray("vEr") << QByteArray("KESTREL MAIN V2.14");
        QTest::newRow("Map") << none << QByteArray("Map 2 5 1 3") << QByteArray("OK");
        QTest::newRow("MAP upper case") << none << QByteArray("MAP 2 5 1 3") << QByteArray("OK");
        QTest::newRow("RawMap of a plain row")
            << QByteArrayList{"Map 2 5 1 3"} << QByteArray("RawMap 1")
            << QByteArray("[2][5][1][3][1][0][0][0]");
        QTest::newRow("RawMap past the end")
            << QByteArrayList{"Map 2 5 1 3"} << QByteArray("RawMap 2") << QByteArray();
        QTest::newRow("RawMap of an empty table") << none << QByteArray("RawMap 1") << QByteArray();
        QTest::newRow("RawMap 0") << QByteArrayList{"Map 2 5 1 3"} << QByteArray("RawMap 0")
                                  << QByteArray();
        QTest::newRow("GetMap with the configurator's blanks")
            << QByteArrayList{"Map 1 1 1 1", "Map 3 12 4 7"} << QByteArray("GetMap 3  12")
            << QByteArray("[3][12][4][7][1][0][0][0]");
        QTest::newRow("GetMap of an unmapped output")
            << QByteArrayList{"Map 1 1 1 1"} << QByteArray("GetMap 3  12") << QByteArray();
        QTest::newRow("AND") << QByteArrayList{"Map 2 5 1 3"} << QByteArray("AND 2 5 4 7")
                             << QByteArray("OK");
        QTest::newRow("AND without a row")
            << none << QByteArray("AND 2 5 4 7") << QByteArray("ERR NO MAP");
        QTest::newRow("OR without a row")
            << none << QByteArray("OR 2 5 4 7") << QByteArray("ERR NO MAP");
        QTest::newRow("ClrMap") << QByteArrayList{"Map 2 16 1 3"} << QByteArray("ClrMap 2  16")
                                << QByteArray("OK");
        QTest::newRow("ClrMap without a row")
            << none << QByteArray("ClrMap 2  16") << QByteArray("ERR NO MAP");
        QTest::newRow("Comp") << none << QByteArray("Comp") << QByteArray("OK");
        QTest::newRow("Init") << QByteArrayList{"Map 2 5 1 3"} << QByteArray("Init")
                              << QByteArray("OK");
        QTest::newRow("Uenable") << none << QByteArray("Uenable  5") << QByteArray("OK");
        QTest::newRow("mapdisab") << QByteArrayList{"Map 3 12 1 1"} << QByteArray("mapdisab 3  12")
                                  << QByteArray("OK");
        QTest::newRow("MapEnab") << QByteArrayList{"Map 3 12 1 1", "mapdisab 3  12"}
                                 << QByteArray("MapEnab 3  12") << QByteArray("OK");
        QTest::newRow("mapdisab without a row")
            << none << QByteArray("mapdisab 3  12") << QByteArray("ERR NO MAP");
        QTest::newRow("Set") << none << QByteArray("Set 3  12") << QByteArray("OK");
        QTest::newRow("Res") << QByteArrayList{"Set 3  12"} << QByteArray("Res 2  16")
                             << QByteArray("OK");
        QTest::newRow("Refresh") << QByteArrayList{"Set 3  12"} << QByteArray("Refresh")
                                 << QByteArray("OK");
        QTest::newRow("BITS of a quiet unit") << none << QByteArray("BITS 4") << bitsWith({});
        QTest::newRow("BITS after Set")
            << QByteArrayList{"Set 3  12"} << QByteArray("BITS 3") << bitsWith({12});
        QTest::newRow("GSTAT of a disabled unit")
            << none << QByteArray("GSTAT 10") << QByteArray("UNIT 10 DISABLED 0 LIT");
        QTest::newRow("GSTAT of an enabled unit with two lit")
            << QByteArrayList{"Uenable  10", "Set 10  1", "Set 10  32"} << QByteArray("GSTAT 10")
            << QByteArray("UNIT 10 ENABLED 2 LIT");
        QTest::newRow("negatives without blanks")
            << none << QByteArray("Res-1 -2") << QByteArray("ERR RANGE");
        QTest::newRow("four negatives in a row")
            << none << QByteArray("Map-1-2-3-4") << QByteArray("ERR RANGE");
        QTest::newRow("channel 33") << none << QByteArray("Set 1  33") << QByteArray("ERR RANGE");
        QTest::newRow("output unit 0")
            << none << QByteArray("Map 0 5 1 3") << QByteArray("ERR RANGE");
        QTest::newRow("too few arguments")
            << none << QByteArray("Map 2 5 1") << QByteArray("ERR ARGS");
        QTest::newRow("argument to VER") << none << QByteArray("VER 2") << QByteArray("ERR ARGS");
        QTest::newRow("unknown command")
            << none << QByteArray("Frobnicate 1") << QByteArray("ERR COMMAND");
        QTest::newRow("keyword is all the letters")
            << none << QByteArray("Mapx 2 5 1 3") << QByteArray("ERR COMMAND");
    }
    void replies()
    {
        QFETCH(QByteArrayList, before);
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, line);
        SimSession sim;
        QVERIFY2(sim.start(Unpaced), sim.problemText());
        for (const QByteArray &c : before)
            QCOMPARE(sim.exchange(c).left(c.size() + 2), c + "\r\n");
        const QByteArray received = sim.exchange(command);
        QCOMPARE(received, SimSession::reply(command, line));
        // The configurator ends a reply at its first "."; only the version may hold one early.
        if (!line.contains("MAIN"))
            QCOMPARE(received.indexOf('.'), received.size() - 1);
    }

    // The configurator's probe and version query read the reply only up to its first ".".
    void probeAndVersion()
    {
        SimSession sim;
        QVERIFY2(sim.start(Unpaced), sim.problemText());
        QCOMPARE(sim.exchange(QByteArray()), SimSession::reply("", "READY"));
        const QByteArray probe = sim.exchange("\rVER");
        QVERIFY(!probe.isEmpty());
        const QByteArray version = sim.exchange("VER");
        const qsizetype main = version.indexOf("MAIN");
        QVERIFY(main > 0);
        const qsizetype dot = version.indexOf('.');
        QVERIFY(dot > main);
        QCOMPARE(version.mid(main, dot - main), QByteArray("MAIN V2"));
    }

    void dotTypedIntoACommandIsNotEchoed()
    {
        SimSession sim;
        QVERIFY2(sim.start(Unpaced), sim.problemText());
        QCOMPARE(sim.exchange("GSTAT 1.5"),
                 SimSession::reply("GSTAT 1,5", "UNIT 2 DISABLED 0 LIT"));
    }

    void table_data()
    {
        QTest::addColumn<QByteArrayList>("commands");
        QTest::addColumn<QByteArrayList>("rows");

        const QByteArray a = "Map 2 5 1 3", b = "Map 1 4 2 2", c = "Map 3 12 100 999";
        const QByteArray rowA = "[2][5][1][3][1][0][0][0]", rowB = "[1][4][2][2][1][0][0][0]",
                         rowC = "[3][12][100][999][1][0][0][0]", hole = "[0][0][0][0][0][0][0][0]";
        QTest::newRow("rows in the order mapped")
            << QByteArrayList{a, b, c} << QByteArrayList{rowA, rowB, rowC};
        QTest::newRow("Map replaces the output's row in place")
            << QByteArrayList{a, b, "Map 2 5 9 8"}
            << QByteArrayList{"[2][5][9][8][1][0][0][0]", rowB};
        QTest::newRow("AND") << QByteArrayList{a, b, "AND 2 5 4 7"}
                             << QByteArrayList{"[2][5][1][3][1][4][7][1]", rowB};
        QTest::newRow("OR") << QByteArrayList{a, "OR 2 5 4 7"}
                            << QByteArrayList{"[2][5][1][3][1][4][7][2]"};
        QTest::newRow("Map after AND makes the row plain again")
            << QByteArrayList{a, "AND 2 5 4 7", a} << QByteArrayList{rowA};
        QTest::newRow("ClrMap leaves a hole")
            << QByteArrayList{a, b, c, "ClrMap 1  4"} << QByteArrayList{rowA, hole, rowC};
        QTest::newRow("Comp closes the holes")
            << QByteArrayList{a, b, c, "ClrMap 2  5", "ClrMap 1  4", "Comp"}
            << QByteArrayList{rowC};
        QTest::newRow("Map of a cleared output appends")
            << QByteArrayList{a, b, "ClrMap 2  5", a} << QByteArrayList{hole, rowB, rowA};
        QTest::newRow("mapdisab clears the enable flag")
            << QByteArrayList{a, b, "mapdisab 1  4"}
            << QByteArrayList{rowA, "[1][4][2][2][0][0][0][0]"};
        QTest::newRow("MapEnab sets it again")
            << QByteArrayList{a, b, "mapdisab 1  4", "MapEnab 1  4"} << QByteArrayList{rowA, rowB};
        QTest::newRow("Init empties the table") << QByteArrayList{a, b, "Init"} << QByteArrayList{};
        QTest::newRow("refused commands change nothing")
            << QByteArrayList{a,           "AND 9 9 1 1",  "ClrMap 9  9", "Map 0 5 1 1",
                              "Map 2 5 1", "mapdisab 9  9"}
            << QByteArrayList{rowA};
        QTest::newRow("unassigned input")
            << QByteArrayList{"Map 1 4 0 0"} << QByteArrayList{"[1][4][0][0][1][0][0][0]"};
    }
    void table()
    {
        QFETCH(QByteArrayList, commands);
        QFETCH(QByteArrayList, rows);
        QTemporaryDir dir;
        const QString state = dir.filePath(u"state.qvr"_s);
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--state"_s, state}), sim.problemText());
        for (const QByteArray &c : commands)
            QVERIFY(sim.exchange(c).endsWith("\r\n."));
        for (qsizetype i = 0; i <= rows.size(); ++i) {
            const QByteArray command = "RawMap" + QByteArray::number(i + 1).prepend(' ');
            QCOMPARE(sim.exchange(command), SimSession::reply(command, rows.value(i)));
        }
        QCOMPARE(SimSession::readFile(state), tallyText(rows));
    }

    void stateFileAtStart()
    {
        QTemporaryDir dir;
        const QString state = dir.filePath(u"state.qvr"_s);
        QFile old(state);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("[9][9][9][9][1][0][0][0]\r\n");
        old.close();
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--state"_s, state}), sim.problemText());
        QCOMPARE(SimSession::readFile(state), QByteArray()); // the table starts empty
    }

    void rowsPreloaded()
    {
        QTemporaryDir dir;
        const QString rowsPath = dir.filePath(u"rows.qvr"_s);
        const QString state = dir.filePath(u"state.qvr"_s);
        QFile rows(rowsPath);
        QVERIFY(rows.open(QIODevice::WriteOnly));
        rows.write("[2][5][1][3][1][0][0][0]\r\n\r\n[1][4][0][0][1][0][0][0]\r\n"
                   "[0][0][0][0][0][0][0][0]\r\n[3][12][1][3][1][4][7][2]\r\n");
        rows.close();
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--rows"_s, rowsPath, u"--state"_s, state}),
                 sim.problemText());
        const QByteArrayList expected = {"[2][5][1][3][1][0][0][0]", "[1][4][0][0][1][0][0][0]",
                                         "[0][0][0][0][0][0][0][0]", "[3][12][1][3][1][4][7][2]",
                                         ""};
        for (int i = 0; i < expected.size(); ++i) {
            const QByteArray command = "RawMap " + QByteArray::number(i + 1);
            QCOMPARE(sim.exchange(command), SimSession::reply(command, expected[i]));
        }
        QCOMPARE(SimSession::readFile(state), tallyText(expected.first(4)));
        QCOMPARE(sim.exchange("GetMap 3  12"),
                 SimSession::reply("GetMap 3  12", "[3][12][1][3][1][4][7][2]"));
        // A preloaded row is the output's row like any other.
        QVERIFY(sim.exchange("Map 1 4 6 6").endsWith("\r\nOK\r\n."));
        QCOMPARE(sim.exchange("RawMap 2"),
                 SimSession::reply("RawMap 2", "[1][4][6][6][1][0][0][0]"));
        QCOMPARE(sim.exchange("RawMap 5"), SimSession::reply("RawMap 5", ""));
    }

    void rowsFileNotATallyFile()
    {
        QTemporaryDir dir;
        const QString rowsPath = dir.filePath(u"rows.qvr"_s);
        QFile rows(rowsPath);
        QVERIFY(rows.open(QIODevice::WriteOnly));
        rows.write("[2][5][1][3][1][0][0][0]\r\nhello\r\n");
        rows.close();
        QProcess sim;
        sim.start(QStringLiteral(KESTREL_SIM_PATH), {u"--rows"_s, rowsPath});
        QVERIFY(sim.waitForFinished(5000));
        QCOMPARE(sim.exitCode(), 1);
        QCOMPARE(sim.readAllStandardOutput(), QByteArray());
        QVERIFY(sim.readAllStandardError().contains("line 2"));
    }

    void log()
    {
        QTemporaryDir dir;
        const QString logPath = dir.filePath(u"k.log"_s);
        QFile earlier(logPath);
        QVERIFY(earlier.open(QIODevice::WriteOnly));
        earlier.write("earlier run\n");
        earlier.close();
        SimSession sim;
        QVERIFY2(sim.start(Unpaced + QStringList{u"--log"_s, logPath}), sim.problemText());
        const QByteArrayList sent = {"", "\rVER", "Map 2 5 1 3", "nonsense\x01"};
        for (const QByteArray &c : sent)
            QVERIFY(sim.exchange(c).endsWith("\r\n."));
        const QByteArrayList lines = SimSession::readFile(logPath).split('\n');
        QCOMPARE(lines.size(), 6); // the earlier line, four commands, the final line feed
        QCOMPARE(lines[0], QByteArray("earlier run"));
        QCOMPARE(lines[5], QByteArray());
        const QByteArrayList shown = {"", "<CR>VER", "Map 2 5 1 3", "nonsense<01>"};
        const QRegularExpression timed(u"^(\\d\\d):(\\d\\d):(\\d\\d)\\.(\\d\\d\\d) (.*)$"_s);
        for (int i = 0; i < shown.size(); ++i) {
            const auto match = timed.match(QString::fromLatin1(lines[i + 1]));
            QVERIFY2(match.hasMatch(), lines[i + 1].constData());
            QVERIFY(match.captured(1).toInt() < 24 && match.captured(2).toInt() < 60);
            QCOMPARE(match.captured(5).toLatin1(), shown[i]);
        }
    }

    void bits_data()
    {
        QTest::addColumn<QByteArrayList>("commands");
        QTest::addColumn<int>("unit");
        QTest::addColumn<QByteArray>("bits");
        QTest::newRow("first and last channel")
            << QByteArrayList{"Set 3  1", "Set 3  32"} << 3 << bitsWith({1, 32});
        QTest::newRow("Res releases one")
            << QByteArrayList{"Set 3  1", "Set 3  2", "Res 3  1"} << 3 << bitsWith({2});
        QTest::newRow("units are separate")
            << QByteArrayList{"Set 3  7", "Set 4  8"} << 4 << bitsWith({8});
        QTest::newRow("Refresh releases every unit")
            << QByteArrayList{"Set 3  7", "Set 4  8", "Refresh"} << 3 << bitsWith({});
        QTest::newRow("Init releases every unit")
            << QByteArrayList{"Set 4  8", "Init"} << 4 << bitsWith({});
        QTest::newRow("refused channel changes nothing")
            << QByteArrayList{"Set 3  5", "Set 3  33", "Set 3  0", "Res 3  33"} << 3
            << bitsWith({5});
        QTest::newRow("setting twice")
            << QByteArrayList{"Set 9  16", "Set 9  16"} << 9 << bitsWith({16});
    }
    void bits()
    {
        QFETCH(QByteArrayList, commands);
        QFETCH(int, unit);
        QFETCH(QByteArray, bits);
        SimSession sim;
        QVERIFY2(sim.start(Unpaced), sim.problemText());
        for (const QByteArray &c : commands)
            QVERIFY(sim.exchange(c).endsWith("\r\n."));
        const QByteArray command = "BITS " + QByteArray::number(unit);
        QCOMPARE(sim.exchange(command), SimSession::reply(command, bits));
    }

    void linesPipelined()
    {
        // Several lines at once, one of them ending in a bare LF: each gets its own answer,
        // in order.
        SimSession sim;
        QVERIFY2(sim.start(Unpaced), sim.problemText());
        sim.port().write("Map 2 5 1 3\r\nVER\nRawMap 1\r\n");
        const QByteArray expected = SimSession::reply("Map 2 5 1 3", "OK") +
                                    SimSession::reply("VER", "KESTREL MAIN V2.14") +
                                    SimSession::reply("RawMap 1", "[2][5][1][3][1][0][0][0]");
        QByteArray received;
        for (int i = 0; i < 50 && received.size() < expected.size(); ++i)
            received += sim.readFor(20);
        QCOMPARE(received, expected);
    }
};

QTEST_GUILESS_MAIN(TestSimCommands)
#include "tst_simcommands.moc"
