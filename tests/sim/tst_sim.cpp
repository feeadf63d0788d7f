// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// kestrel-sim through its pseudo-terminal. Its command set, unpaced (--baud 0): the exact bytes
// of each answer, the table the mapping commands leave behind, and reading a tally file at start.
// Its serial line: the port and its link, clients coming and going, ending by signal, how long an
// answer takes, and the faults, hanging up among them.

#include "SimSession.h"
#include "core/DataTable.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTest>

namespace {

QByteArray linesOf(const QByteArrayList &rows)
{
    return rows.isEmpty() ? QByteArray() : rows.join("\r\n") + "\r\n";
}

using RefusedRows = DataTable<"line", QByteArray>; // a line --rows refuses
using CommandRows = DataTable<"preload commands line rows", QByteArrayList, QByteArrayList,
                              QByteArray, QByteArrayList>;

const QByteArray Second = "Map 2 5 1 3";
// The options, the least time the answer takes, what comes back, its dots, the table left.
using LineRows = DataTable<"arguments minimumMs received dots table", QStringList, double,
                           QByteArray, int, QByteArray>;

} // namespace

class TestSim : public QObject
{
    Q_OBJECT
private slots:
    // Commands sent in turn: the exact answer to the last, then the whole table as RawMap and
    // the state file give it (the rows the commands act on are those of output 2/5).
    void commands_data()
    {
        const CommandRows table; // preloaded rows, commands, the last one's reply line, rows
        const auto row = [&](const char *name, const QByteArrayList &commands,
                             const QByteArray &line, const QByteArrayList &rows = {}) {
            table(name, {}, commands, line, rows);
        };
        const QByteArray get = "GetMap 2  5";
        const QByteArray a = "Map 2 5 1 3", b = "Map 1 4 2 2", c = "Map 3 12 100 999";
        const QByteArray rowA = "[2][5][1][3][1][0][0][0]", rowB = "[1][4][2][2][1][0][0][0]",
                         rowC = "[3][12][100][999][1][0][0][0]", hole = "[0][0][0][0][0][0][0][0]",
                         andRow = "[2][5][1][3][1][4][7][1]";
        row("empty line", {""}, "READY");
        row("runs of blanks", {"  Map  2  5  1  3  "}, "OK", {rowA});
        row("RawMap 0", {a, "RawMap 0"}, "", {rowA});
        row("AND without a row", {"AND 2 5 4 7"}, "ERR NO MAP");
        row("ClrMap without a row", {"ClrMap 2  16"}, "ERR NO MAP");
        row("BITS after Set and Res",
            {"Set 3  1", "Set 3  32", "Set 3  5", "Res 3  5", "Set 4  8", "BITS 3"},
            "1" + QByteArray(30, '0') + "1");
        row("BITS after Refresh", {"Set 3  7", "Refresh", "BITS 3"}, QByteArray(32, '0'));
        row("GSTAT", {"Uenable  10", "Set 10  1", "Set 10  32", "GSTAT 10"},
            "UNIT 10 ENABLED 2 LIT");
        // What the configurator never writes is refused, not read some lenient way.
        row("decimal point", {"Map 1 3 2 0.6"}, "ERR ARGS");
        row("minus zero", {"Map 1 3 2 -0"}, "ERR ARGS");
        row("tab for a blank", {"Res 2\t16"}, "ERR ARGS");
        row("missing argument", {"Map 1 3 2"}, "ERR ARGS");
        row("bytes a cooked line would change", {QByteArray("VER\x7f\x03\x1a\x04\xff", 8)},
            "ERR ARGS");
        row("negatives without blanks", {"Map-1-2-3-4"}, "ERR RANGE");
        row("beyond 16 bits", {"RawMap 32768"}, "ERR RANGE");
        row("far beyond 16 bits", {"RawMap 99999999999999999999"}, "ERR RANGE");
        row("channel 33", {"Set 1  33"}, "ERR RANGE");
        row("keyword is all the letters", {"Mapx 2 5 1 3"}, "ERR COMMAND");
        row("refused commands change nothing",
            {a, "Map 2 5 &H4 3", "Map 2 5 1 4.5", "Map 2 5 9", "Map 2 5 9 9 9", "AND 2 5 4 +7",
             "OR 2 5 4 7 2", "mapdisab 2 05", "ClrMap 2  5x", "Map 2 5 1000 3", "AND 9 9 1 1", get},
            rowA, {rowA});
        row("Map, rows in the order mapped", {a, b, c, get}, rowA, {rowA, rowB, rowC});
        row("AND", {a, b, "AND 2 5 4 7", get}, andRow, {andRow, rowB});
        row("Map after AND is plain again", {a, "AND 2 5 4 7", a, get}, rowA, {rowA});
        row("mapdisab", {a, "mapdisab 2  5", get}, "[2][5][1][3][0][0][0][0]",
            {"[2][5][1][3][0][0][0][0]"});
        row("MapEnab", {a, "mapdisab 2  5", "MapEnab 2  5", get}, rowA, {rowA});
        row("Map of a cleared output appends", {a, b, "ClrMap 2  5", a, get}, rowA,
            {hole, rowB, rowA});
        const QByteArray negative = "[3][12][-99][999][1][4][7][2]";
        table("preloaded rows, empty lines skipped", {hole, "", rowA, negative},
              {"AND 2 5 4 7", get}, andRow, {hole, andRow, negative});
    }
    void commands()
    {
        const auto [preload, commands, line, rows] = CommandRows::fetch();
        SimSession sim;
        QVERIFY2(sim.start({}, linesOf(preload)), sim.problem.constData());
        for (const QByteArray &c : commands.first(commands.size() - 1)) // answered at all
            QVERIFY(sim.exchange(c).endsWith("\r\n."));
        // A "." typed into a command would end the configurator's wait early; it comes back as ",".
        const QByteArray echo = QByteArray(commands.last()).replace('.', ',');
        QCOMPARE(sim.exchange(commands.last()), SimSession::reply(echo, line));
        for (qsizetype i = 0; i <= rows.size(); ++i) {
            const QByteArray command = "RawMap " + QByteArray::number(i + 1);
            QCOMPARE(sim.exchange(command), SimSession::reply(command, rows.value(i)));
        }
        QCOMPARE(sim.state(), linesOf(rows));
    }

    // --rows takes a tally file only in the exact form a map string is written in.
    void preloadRefuses_data()
    {
        const RefusedRows row;
        row("seven fields", "[2][5][1][3][1][0][0]");
        row("four characters", "[2][5][1000][3][1][0][0][0]");
        row("text after the fields", "[2][5][1][3][1][0][0][0]x");
    }
    void preloadRefuses()
    {
        const auto [line] = RefusedRows::fetch();
        SimSession sim;
        QVERIFY(!sim.start({}, linesOf({"[2][5][1][3][1][0][0][0]", line})));
        QVERIFY2(sim.problem.contains("line 2 is not a map string"), sim.problem.constData());
    }

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

QTEST_GUILESS_MAIN(TestSim)
#include "tst_sim.moc"
