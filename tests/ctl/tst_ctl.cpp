// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// kestrelctl run as a program against kestrel-sim: what goes on the wire, what it prints, and its
// exit status.

#include "core/DataTable.h"
#include "support/SimProcess.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSerialPort>
#include <QTest>

#include <csignal>
#include <memory>
#include <tuple>
#include <vector>

namespace {

// The arguments, the tally file, then the exit status, standard output, standard error's
// pattern, the commands received, the table left, and the setup.
using RunRows = DataTable<"arguments file wantStatus wantOut errPattern wire table setup", QString,
                          QByteArray, int, QByteArray, QString, QString, QByteArray, QString>;

// Map strings given blank-separated, as the lines of a tally file.
QByteArray lines(const char *rows) { return QByteArray(rows).replace(' ', "\r\n") + "\r\n"; }

const QByteArray Device = lines("[1][1][2][1][1][0][0][0] [1][2][2][2][1][0][0][0] "
                                "[1][3][2][3][1][0][0][0] [1][4][2][1][1][2][2][1]");
// What the tally system holds at start: the same with the hole a cleared row leaves, at which a
// read-back that does not compact the table first would stop.
const QByteArray Held = QByteArray(Device).insert(26, "[0][0][0][0][0][0][0][0]\r\n");
// A full table: outputs 2/1 to 2/999, each from input 2/1.
const QByteArray Full = [] {
    QByteArray out;
    for (int c = 1; c <= 999; ++c)
        out += "[2][" + QByteArray::number(c) + "][2][1][1][0][0][0]\r\n";
    return out;
}();

// A studio of 6 outputs on unit 1 and 6 inputs on unit 2, its Kestrel.ini naming the link, the
// tally system holding `Held`, and a tally file show.qvr.
struct Studio : SimProcess
{
    bool start(const QByteArray &show, const QStringList &simArguments = {},
               const QByteArray &held = Held)
    {
        QString ini =
            u"[Kestrel]\r\nSystem=Test\r\nEnabledUnits=1,2\r\nCommDevice=%1\r\n"_s.arg(link());
        for (int i = 1; i <= 6; ++i)
            ini += u"Output %1=Out %1,1,%1\r\nInput %1=In %1,2,%1\r\n"_s.arg(i);
        return !writeFile(path("Kestrel.ini"), ini.toLocal8Bit()).isEmpty() &&
               !writeFile(path("show.qvr"), show).isEmpty() &&
               SimProcess::start(QStringList{u"--log"_s, path("log")} + simArguments, held);
    }
    // The commands received, without the probe, the version query and the read-back's rows.
    QStringList wire() const
    {
        static const QRegularExpression other(u"^\\S+ (?!<CR>VER$|VER$|RawMap |$)(.+)$"_s,
                                              QRegularExpression::MultilineOption);
        QStringList out;
        for (auto it = other.globalMatch(QString::fromLatin1(readFile(path("log")))); it.hasNext();)
            out << it.next().captured(1);
        return out;
    }
    // kestrelctl with the arguments, "%1" in them the studio's folder. Exit status (-1 for a
    // crash), standard output, standard error.
    QProcess p;
    void startCtl(const QString &arguments)
    {
        p.start(QStringLiteral(KESTRELCTL_PATH),
                (u"--ini %1/Kestrel.ini "_s + arguments).arg(dir.path()).split(u' '));
    }
    // Exit status -1 too for one still running after 30 s.
    std::tuple<int, QByteArray, QByteArray> finishCtl()
    {
        const bool ended = p.waitForFinished(30000) || p.state() == QProcess::NotRunning;
        return {ended && p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
                p.readAllStandardOutput(), p.readAllStandardError()};
    }
    std::tuple<int, QByteArray, QByteArray> ctl(const QString &arguments)
    {
        startCtl(arguments);
        return finishCtl();
    }
};

} // namespace

class TestCtl : public QObject
{
    Q_OBJECT
private slots:
    // kestrelctl with the arguments ("%1" the studio's folder) and show.qvr holding `file`: its
    // exit status, standard output, standard error (a pattern for the one line after the program's
    // name, or none), the commands the tally system received ("|" between) and what its table
    // holds afterwards. With `setup` "held", another program holds its port; "full", the tally
    // system's table is full.
    void run_data()
    {
        const RunRows rows;
        const auto row = [&rows](const char *name, int status, const QString &arguments,
                                 const QByteArray &file, const QByteArray &out, const QString &err,
                                 const QString &wire, const QByteArray &table = Held,
                                 const QString &setup = {}) {
            const QString line = u"\\Akestrelctl: "_s + err + u"[^\n]*\n\\z"_s;
            rows(name, arguments, file, status, out, err.isEmpty() ? u"\\A\\z"_s : line, wire,
                 table, setup);
        };
        const QString apply = u"apply %1/show.qvr"_s, verify = u"verify %1/show.qvr"_s;
        const QByteArray file = lines("[1][1][2][1][1][0][0][0] [1][2][2][3][1][0][0][0] "
                                      "[1][4][2][1][1][2][4][2] [1][5][2][4][1][0][0][0]");
        // Later lines for the same output win, as in a load: in the end all match, and nothing but
        // the read-back goes out.
        const QByteArray twice = lines("[1][2][2][5][1][0][0][0] [1][6][2][6][1][0][0][0]") +
                                 Device + lines("[1][6][0][0][1][0][0][0]");
        row("apply, two lines for an output", 0, apply, twice,
            "0 changed, 0 unmapped, 6 left alone\n", {}, u"Comp"_s, Device);
        row("apply: changed, added, boolean, one unmapped", 0, apply, file,
            "3 changed, 1 unmapped, 2 left alone\n", {},
            u"Comp|Map 1 2 2 3|Map 1 4 2 1|OR 1 4 2 4|Map 1 5 2 4|Res 1  3|ClrMap 1  3|Comp|"
            u"GetMap 1  2|GetMap 1  4|GetMap 1  5|GetMap 1  3"_s,
            file);
        row("apply --partial leaves what the file does not name", 0, apply + u" --partial"_s,
            lines("[1][2][2][3][1][0][0][0]"), "1 changed, 0 unmapped, 5 left alone\n", {},
            u"Comp|Map 1 2 2 3|GetMap 1  2"_s,
            QByteArray(Device).replace("[1][2][2][2]", "[1][2][2][3]"));
        row("apply, an empty file", 2, apply, {}, {}, u"tally file .*show.qvr holds no map"_s, {});
        const QByteArray load =
            lines("[1][2][2][4][1][0][0][0] [1][4][2][1][1][2][3][1] [1][3][0][0][1][0][0][0]");
        const QString loaded = u"Map 1 2 2 4|Map 1 4 2 1|AND 1 4 2 3|Res 1  3|ClrMap 1  3"_s;
        row("load", 0, u"load %1/show.qvr"_s, load, {}, {},
            u"Init|Uenable  1|Uenable  2|"_s + loaded,
            lines("[1][2][2][4][1][0][0][0] [1][4][2][1][1][2][3][1]"));
        row("load --partial", 0, u"load --partial %1/show.qvr"_s, load, {}, {}, loaded,
            lines("[1][1][2][1][1][0][0][0] [0][0][0][0][0][0][0][0] [1][2][2][4][1][0][0][0] "
                  "[0][0][0][0][0][0][0][0] [1][4][2][1][1][2][3][1]"));
        row("verify, equal", 0, verify, Device, {}, {}, u"Comp"_s, Device);
        row("verify, different", 1, verify,
            lines("[1][1][2][1][1][0][0][0] [1][2][2][3][1][0][0][0] [1][3][2][3][1][0][0][0] "
                  "[1][4][2][1][1][0][0][1] [1][6][2][1][1][0][0][0] [7][7][2][1][1][0][0][0]"),
            "output 2 \"Out 2\": file wants input 3 \"In 3\", device holds input 2 \"In 2\"\n"
            "output 4 \"Out 4\": file wants input 1 \"In 1\" AND \"Unassigned\", device holds "
            "input 1 \"In 1\" AND input 2 \"In 2\"\n"
            "output 6 \"Out 6\": file wants input 1 \"In 1\", device holds no mapping\n"
            "output 7/7 (not in Kestrel.ini): file wants input 1 \"In 1\", device holds no "
            "mapping\n",
            {}, u"Comp"_s, Device);
        row("verify, no such port", 2, u"--device /nonexistent "_s + verify, Device, {},
            u"the serial port /nonexistent does not exist"_s, {});
        row("verify, port held", 2, verify, Device, {},
            u"the serial port .*/tty is held by another program, tst_ctl "_s, {}, Held, u"held"_s);
        // Each stops before anything is sent, naming the line.
        const QString bad = u"tally file .*show.qvr: line 2, \"%1\", is not a map string"_s;
        const QByteArray good = lines("[1][1][2][1][1][0][0][0]");
        row("load, seven fields", 2, u"load %1/show.qvr"_s, good + lines("[1][2][2][1][1][0][0]"),
            {}, bad.arg(u"[^\"]*"_s), {});
        row("apply, a field not a number; an escape sequence shown as ?", 2, apply,
            good + lines("[x]\x1b[2J"), {}, bad.arg(u"\\[x\\]\\?\\[2J"_s), {});
        row("verify, a file cut short", 2, verify, good + "[1][2][2][1", {},
            u"tally file .*show.qvr: line 2 has no line end"_s, {});
        row("verify, no Kestrel.ini", 2, u"--ini %1/none.ini "_s + verify, Device, {},
            u"no Kestrel.ini at .*none.ini"_s, {});
        // What the window's online Save writes: the compacted table, row by row, CR LF each.
        row("read", 0, u"read"_s, "old", Device, {}, u"Comp"_s, Device);
        row("read, not over a file", 2, u"read %1/show.qvr"_s, "old", {},
            u".*show.qvr exists already: --overwrite replaces it"_s, {});
        row("read --overwrite", 0, u"read --overwrite %1/show.qvr"_s, "old", {}, {}, u"Comp"_s,
            Device);
        row("read, not into a missing folder", 2, u"read %1/none/show.qvr"_s, "old", {},
            u".*none/show.qvr cannot be written: the folder .*none does not exist"_s, {});
        // 999 rows: the row after the last is asked for and proves the end.
        row("read, a full table", 0, u"read"_s, "old", Full, {}, u"Comp"_s, Full, u"full"_s);
        const QByteArray changed = QByteArray(Full).replace("[2][500][2][1]", "[2][500][2][2]");
        row("apply to a full table", 0, apply, changed, "1 changed, 0 unmapped, 1004 left alone\n",
            {}, u"Comp|Map 2 500 2 2|GetMap 2  500"_s, changed, u"full"_s);
        row("load --partial into a full table: the error reply", 2, u"load --partial %1/show.qvr"_s,
            good, {},
            u"line 1 of .*show.qvr: the tally system answered \"ERR TABLE FULL\" to \"Map 1 1 2 1\""_s,
            u"Map 1 1 2 1"_s, Full, u"full"_s);
    }
    void run()
    {
        const auto [arguments, file, wantStatus, wantOut, errPattern, wire, table, setup] =
            RunRows::fetch();
        Studio s;
        QVERIFY(s.start(file, {}, setup == u"full"_s ? Full : Held));
        QSerialPort holder(s.link());
        QVERIFY(setup != u"held"_s || holder.open(QIODevice::ReadWrite));
        const auto [status, out, err] = s.ctl(arguments);
        QCOMPARE(status, wantStatus);
        QCOMPARE(out, wantOut);
        const QRegularExpression errLine(errPattern);
        QVERIFY2(errLine.match(QString::fromLocal8Bit(err)).hasMatch(), err);
        QCOMPARE(s.wire().join(u'|'), wire);
        // Not even the probe went out before the failure.
        if (status == 2 && wire.isEmpty())
            QCOMPARE(readFile(s.path("log")), QByteArray());
        QCOMPARE(readFile(s.path("table.qvr")), table);
        QCOMPARE(readFile(s.path("show.qvr")),
                 arguments.startsWith(u"read --overwrite"_s) ? Device : file);
    }

    // The line's faults, all at once since each run mostly waits: the status, one line on
    // standard error naming what happened (a pattern), what standard output holds (a pattern),
    // and never a tally file replaced by a half-read table. With "deaf" (at line speed), the
    // tally system ignores a command that comes while it still answers: none may.
    void faults()
    {
        struct Case
        {
            const char *fault;
            const char *arguments;
            int status;
            const char *err;
            const char *out = "\\A\\z";
        };
        const Case cases[] = {
            {"garbage", "read --overwrite %1/show.qvr", 2, "the reply to \"\" is not its own"},
            {"slow:2500", "verify %1/show.qvr", 2,
             "no reply from the tally system on .*/tty within 2 s to \"\""},
            {"cut", "apply %1/show.qvr", 2, "the reply to \"\" was cut short"},
            {"drop:6", "load %1/show.qvr", 2, "line 1 of .*: no reply .* to \"Map 1 1 2 1\""},
            {"lf:6", "read --overwrite %1/show.qvr", 2,
             "the reply to \"RawMap 3\" is not its own.*after 2 rows"},
            {"tail:5", "verify %1/show.qvr", 2, "the reply to \"RawMap 2\" was cut short"},
            {"hangup:6", "watch 2", 2, "no reply .* to \"(BITS|GSTAT) 2\"",
             "\\A\\S+ unit 2 status UNIT 2 DISABLED 0 LIT\n\\z"},
            {"deaf --baud 9600", "load %1/show.qvr", 0, nullptr},
        };
        const QByteArray show = lines("[1][1][2][1][1][0][0][0]");
        std::vector<std::unique_ptr<Studio>> studios;
        for (const Case &c : cases) {
            studios.push_back(std::make_unique<Studio>());
            QVERIFY(
                studios.back()->start(show, (u"--fault "_s + QLatin1String(c.fault)).split(u' ')));
            studios.back()->startCtl(QString::fromLatin1(c.arguments));
        }
        for (std::size_t i = 0; i < studios.size(); ++i) {
            const Case &c = cases[i];
            Studio &s = *studios[i];
            const auto [status, out, err] = s.finishCtl();
            QVERIFY2(status == c.status, c.fault);
            const QString errLine =
                c.err ? u"\\Akestrelctl: .*%1[^\n]*\n\\z"_s.arg(QLatin1String(c.err)) : u"\\A\\z"_s;
            QVERIFY2(QRegularExpression(errLine).match(QString::fromLocal8Bit(err)).hasMatch(),
                     err);
            QVERIFY2(QRegularExpression(QString::fromLatin1(c.out))
                         .match(QString::fromLocal8Bit(out))
                         .hasMatch(),
                     out);
            QVERIFY2(!readFile(s.path("log")).contains("ignored"), c.fault);
            QCOMPARE(readFile(s.path("show.qvr")), show);
        }
        QCOMPARE(readFile(studios.back()->path("table.qvr")), show);
    }

    void sendAndWatch()
    {
        Studio s;
        QVERIFY(s.start({}));
        QCOMPARE(std::get<1>(s.ctl(u"send Set 2 5"_s)), QByteArray("Set 2 5\r\nOK\r\n.\n"));
        // The version whole, though its "." ends the reply early; a negative number as it is.
        QCOMPARE(std::get<1>(s.ctl(u"send VER"_s)), QByteArray("VER\r\nKESTREL MAIN V2.14\r\n.\n"));
        QCOMPARE(std::get<1>(s.ctl(u"send Set -2 5"_s)),
                 QByteArray("Set -2 5\r\nERR RANGE\r\n.\n"));
        QCOMPARE(s.wire(), (QStringList{u"Set 2 5"_s, u"Set -2 5"_s}));
        s.startCtl(u"watch 2"_s);
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT(
            (out += s.p.readAllStandardOutput()).contains(" unit 2 bit 5 on\n"), 10000);
        ::kill(pid_t(s.p.processId()), SIGINT);
        QCOMPARE(std::get<0>(s.finishCtl()), 0);
    }
};

QTEST_GUILESS_MAIN(TestCtl)
#include "tst_ctl.moc"
