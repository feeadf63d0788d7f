// kestrel-sim's command set through its pseudo-terminal, unpaced (--baud 0): the exact bytes of
// each answer, the table the mapping commands leave behind, and reading a tally file at start.

#include "SimSession.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QStringList Unpaced = {u"--baud"_s, u"0"_s};

QByteArray linesOf(const QByteArrayList &rows)
{
    QByteArray text;
    for (const QByteArray &row : rows)
        text += row + "\r\n";
    return text;
}

QString writeFile(const QTemporaryDir &dir, const QByteArray &text)
{
    QFile file(dir.filePath(u"rows.qvr"_s));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() ? file.fileName()
                                                                              : QString();
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
        const auto row = [](const char *name, const QByteArrayList &before,
                            const QByteArray &command, const QByteArray &line) {
            QTest::newRow(name) << before << command << line;
        };
        const QByteArray version = "KESTREL MAIN V2.14";
        row("empty line", {}, "", "READY");
        row("probe: CR then VER", {}, "\rVER", version);
        row("keyword in any case", {}, "vEr", version);
        row("runs of blanks", {}, "  Map  2  5  1  3  ", "OK");
        row("RawMap 0", {"Map 2 5 1 3"}, "RawMap 0", "");
        row("AND without a row", {}, "AND 2 5 4 7", "ERR NO MAP");
        row("ClrMap without a row", {}, "ClrMap 2  16", "ERR NO MAP");
        row("BITS after Set and Res", {"Set 3  1", "Set 3  32", "Set 3  5", "Res 3  5", "Set 4  8"},
            "BITS 3", "1" + QByteArray(30, '0') + "1");
        row("BITS after Refresh", {"Set 3  7", "Refresh"}, "BITS 3", QByteArray(32, '0'));
        row("GSTAT", {"Uenable  10", "Set 10  1", "Set 10  32"}, "GSTAT 10",
            "UNIT 10 ENABLED 2 LIT");
        // What the configurator never writes is refused, not read some lenient way.
        row("hex number", {}, "Map 1 1 &H2 3", "ERR ARGS");
        row("octal number", {}, "Map 1 1 2 &O3", "ERR ARGS");
        row("decimal point", {}, "Map 1 3 2 0.6", "ERR ARGS");
        row("exponent", {}, "Map 1 3 2 6e0", "ERR ARGS");
        row("plus sign", {}, "Map 1 3 +2 6", "ERR ARGS");
        row("leading zero", {}, "Map 1 3 2 06", "ERR ARGS");
        row("minus zero", {}, "Map 1 3 2 -0", "ERR ARGS");
        row("no blank before a number", {}, "Res2  16", "ERR ARGS");
        row("tab for a blank", {}, "Res 2\t16", "ERR ARGS");
        row("stray character", {}, "GSTAT 10x", "ERR ARGS");
        row("missing argument", {}, "Map 1 3 2", "ERR ARGS");
        row("extra argument", {}, "Map 1 3 2 5 6", "ERR ARGS");
        row("bytes a cooked line would change", {}, QByteArray("VER\x7f\x03\x1a\x04\xff", 8),
            "ERR ARGS");
        row("negatives without blanks", {}, "Map-1-2-3-4", "ERR RANGE");
        row("beyond 16 bits", {}, "RawMap 32768", "ERR RANGE");
        row("far beyond 16 bits", {}, "RawMap 99999999999999999999", "ERR RANGE");
        row("input wider than a field", {}, "Map 1 5 1000 3", "ERR RANGE");
        row("channel 33", {}, "Set 1  33", "ERR RANGE");
        row("unknown command", {}, "Frobnicate 1", "ERR COMMAND");
        row("keyword is all the letters", {}, "Mapx 2 5 1 3", "ERR COMMAND");
    }
    void replies()
    {
        QFETCH(QByteArrayList, before);
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, line);
        SimSession sim;
        QVERIFY2(sim.start(Unpaced), sim.problemText());
        for (const QByteArray &c : before) // answered at all; what is another row's business
            QVERIFY(sim.exchange(c).endsWith("\r\n."));
        // A "." typed into a command would end the configurator's wait early; it comes back as ",".
        const QByteArray echo = QByteArray(command).replace('.', ',');
        QCOMPARE(sim.exchange(command), SimSession::reply(echo, line));
    }

    // Every command acts on output 2/5 ("Map 2 5 1 3" first, or a preloaded row); getMap is what
    // GetMap reports for it afterwards, rows the whole table as RawMap and the state file give it.
    void table_data()
    {
        QTest::addColumn<QByteArrayList>("preload");
        QTest::addColumn<QByteArrayList>("commands");
        QTest::addColumn<QByteArray>("getMap");
        QTest::addColumn<QByteArrayList>("rows");
        const QByteArray a = "Map 2 5 1 3", b = "Map 1 4 2 2", c = "Map 3 12 100 999";
        const QByteArray rowA = "[2][5][1][3][1][0][0][0]", rowB = "[1][4][2][2][1][0][0][0]",
                         rowC = "[3][12][100][999][1][0][0][0]", hole = "[0][0][0][0][0][0][0][0]";
        const auto row = [](const char *name, const QByteArrayList &commands,
                            const QByteArray &getMap, const QByteArrayList &rows) {
            QTest::newRow(name) << QByteArrayList() << commands << getMap << rows;
        };
        row("Map, rows in the order mapped", {a, b, c}, rowA, {rowA, rowB, rowC});
        row("Map again replaces the row in place", {a, b, "Map 2 5 9 8"},
            "[2][5][9][8][1][0][0][0]", {"[2][5][9][8][1][0][0][0]", rowB});
        row("AND", {a, b, "AND 2 5 4 7"}, "[2][5][1][3][1][4][7][1]",
            {"[2][5][1][3][1][4][7][1]", rowB});
        row("OR", {a, "OR 2 5 14 17"}, "[2][5][1][3][1][14][17][2]",
            {"[2][5][1][3][1][14][17][2]"});
        row("Map after AND is plain again", {a, "AND 2 5 4 7", a}, rowA, {rowA});
        row("mapdisab", {a, "mapdisab 2  5"}, "[2][5][1][3][0][0][0][0]",
            {"[2][5][1][3][0][0][0][0]"});
        row("MapEnab", {a, "mapdisab 2  5", "MapEnab 2  5"}, rowA, {rowA});
        row("ClrMap leaves a hole", {a, b, "ClrMap 2  5"}, "", {hole, rowB});
        row("Comp closes the holes", {b, a, c, "ClrMap 1  4", "Comp"}, rowA, {rowA, rowC});
        row("Map of a cleared output appends", {a, b, "ClrMap 2  5", a}, rowA, {hole, rowB, rowA});
        row("Init empties the table", {a, b, "Init"}, "", {});
        row("refused commands change nothing",
            {a, "Map 2 5 &H4 3", "Map 2 5 1 4.5", "Map 2 5 9", "Map 2 5 9 9 9", "AND 2 5 4 +7",
             "OR 2 5 4 7 2", "mapdisab 2 05", "ClrMap 2  5x", "Map 2 5 1000 3", "AND 9 9 1 1"},
            rowA, {rowA});
        const QByteArray negative = "[3][12][-99][999][1][4][7][2]";
        QTest::newRow("preloaded rows, empty lines skipped")
            << QByteArrayList{hole, "", rowA, negative} << QByteArrayList{"AND 2 5 4 7"}
            << QByteArray("[2][5][1][3][1][4][7][1]")
            << QByteArrayList{hole, "[2][5][1][3][1][4][7][1]", negative};
    }
    void table()
    {
        QFETCH(QByteArrayList, preload);
        QFETCH(QByteArrayList, commands);
        QFETCH(QByteArray, getMap);
        QFETCH(QByteArrayList, rows);
        QTemporaryDir dir;
        const QString state = dir.filePath(u"state.qvr"_s);
        QStringList arguments = Unpaced + QStringList{u"--state"_s, state};
        if (!preload.isEmpty())
            arguments << u"--rows"_s << writeFile(dir, linesOf(preload));
        SimSession sim;
        QVERIFY2(sim.start(arguments), sim.problemText());
        for (const QByteArray &c : commands)
            QVERIFY(sim.exchange(c).endsWith("\r\n."));
        QCOMPARE(sim.exchange("GetMap 2  5"), SimSession::reply("GetMap 2  5", getMap));
        for (qsizetype i = 0; i <= rows.size(); ++i) {
            const QByteArray command = "RawMap " + QByteArray::number(i + 1);
            QCOMPARE(sim.exchange(command), SimSession::reply(command, rows.value(i)));
        }
        QCOMPARE(SimSession::readFile(state), linesOf(rows));
    }

    // --rows takes a tally file only in the exact form a map string is written in.
    void preloadRefuses_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("seven fields") << QByteArray("[2][5][1][3][1][0][0]");
        QTest::newRow("nine fields") << QByteArray("[2][5][1][3][1][0][0][0][0]");
        QTest::newRow("hex field") << QByteArray("[2][5][&H1][3][1][0][0][0]");
        QTest::newRow("four characters") << QByteArray("[2][5][1000][3][1][0][0][0]");
        QTest::newRow("text after the fields") << QByteArray("[2][5][1][3][1][0][0][0]x");
    }
    void preloadRefuses()
    {
        QFETCH(QByteArray, line);
        QTemporaryDir dir;
        SimSession sim;
        const QString rows = writeFile(dir, "[2][5][1][3][1][0][0][0]\r\n" + line + "\r\n");
        QVERIFY(!sim.start(Unpaced + QStringList{u"--rows"_s, rows}));
        QVERIFY2(QByteArray(sim.problemText()).contains("line 2 is not a map string"),
                 sim.problemText());
    }
};

QTEST_GUILESS_MAIN(TestSimCommands)
#include "tst_simcommands.moc"
