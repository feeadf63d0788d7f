// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// kestrelctl run as a program against kestrel-sim: what goes on the wire, what it prints, and its
// exit status.

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <tuple>

using namespace Qt::StringLiterals;

// clang-format off
// A column of the current data row, where an expression wants it.
#define FETCH(type, name) ([] { QFETCH(type, name); return name; }())
// clang-format on

namespace {

QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Map strings given blank-separated, as the lines of a tally file.
QByteArray lines(const char *rows) { return QByteArray(rows).replace(' ', "\r\n") + "\r\n"; }

const QByteArray Device = lines("[1][1][2][1][1][0][0][0] [1][2][2][2][1][0][0][0] "
                                "[1][3][2][3][1][0][0][0] [1][4][2][1][1][2][2][1]");
// What the tally system holds at start: the same with the hole a cleared row leaves, at which a
// read-back that does not compact the table first would stop.
const QByteArray Held = QByteArray(Device).insert(26, "[0][0][0][0][0][0][0][0]\r\n");

// A studio of 6 outputs on unit 1 and 6 inputs on unit 2, its Kestrel.ini naming the link, the
// tally system holding `Held`, and a tally file show.qvr.
struct Studio
{
    QTemporaryDir dir;
    QProcess sim;
    QString path(const QString &name) const { return dir.filePath(name); }
    ~Studio() { sim.kill(), sim.waitForFinished(3000); }

    bool start(const QByteArray &show, const QStringList &simArguments = {})
    {
        const auto writeFile = [this](const QString &name, const QByteArray &bytes) {
            QFile f(path(name));
            return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
        };
        QString ini = u"[Kestrel]\r\nSystem=Test\r\nEnabledUnits=1,2\r\nCommDevice=%1/tty\r\n"_s;
        for (int i = 1; i <= 6; ++i)
            ini += u"Output %1=Out %1,1,%1\r\nInput %1=In %1,2,%1\r\n"_s.arg(i);
        if (!writeFile(u"Kestrel.ini"_s, ini.arg(dir.path()).toLocal8Bit()) ||
            !writeFile(u"rows.qvr"_s, Held) || !writeFile(u"show.qvr"_s, show))
            return false;
        const QString options = u"--link %1/tty --log %1/log --state %1/state --rows %1/rows.qvr"_s;
        sim.start(QStringLiteral(KESTREL_SIM_PATH),
                  (options.arg(dir.path()) + u" --baud 0"_s).split(u' ') + simArguments);
        // It writes the port's path once the link is in place.
        return sim.waitForReadyRead(5000) && QFile::exists(path(u"tty"_s));
    }
    // The commands received, without the probe, the version query and the read-back's rows.
    QStringList wire() const
    {
        static const QRegularExpression other(u"^\\S+ (?!<CR>VER$|VER$|RawMap |$)(.+)$"_s,
                                              QRegularExpression::MultilineOption);
        QStringList out;
        for (auto it = other.globalMatch(QString::fromLatin1(readFile(path(u"log"_s))));
             it.hasNext();)
            out << it.next().captured(1);
        return out;
    }
    // kestrelctl with the arguments, "%1" in them the studio's folder. Exit status (-1 for a
    // crash), standard output, standard error.
    std::tuple<int, QByteArray, QByteArray> ctl(const QString &arguments)
    {
        QProcess p;
        p.start(QStringLiteral(KESTRELCTL_PATH),
                (u"--ini %1/Kestrel.ini "_s + arguments).arg(dir.path()).split(u' '));
        p.waitForFinished(30000);
        return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
                p.readAllStandardOutput(), p.readAllStandardError()};
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
    // holds afterwards. With `setup` "silent" the tally system never answers; "held", another
    // program holds its port.
    void run_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<QString>("err");
        QTest::addColumn<QString>("wire");
        QTest::addColumn<QByteArray>("table");
        QTest::addColumn<QString>("setup");
        const auto row = [](const char *name, int status, const QString &arguments,
                            const QByteArray &file, const QByteArray &out, const QString &err,
                            const QString &wire, const QByteArray &table = Held,
                            const QString &setup = {}) {
            const QString line = u"\\Akestrelctl: "_s + err + u"[^\n]*\n\\z"_s;
            QTest::newRow(name) << arguments << file << status << out
                                << (err.isEmpty() ? u"\\A\\z"_s : line) << wire << table << setup;
        };
        const QString apply = u"apply %1/show.qvr"_s, verify = u"verify %1/show.qvr"_s;
        const QByteArray file = lines("[1][1][2][1][1][0][0][0] [1][2][2][3][1][0][0][0] "
                                      "[1][4][2][1][1][2][4][2] [1][5][2][4][1][0][0][0]");
        row("apply, all match: nothing but the read-backs", 0, apply, Device,
            "0 changed, 0 unmapped, 6 left alone\n", {}, u"Comp|Comp"_s, Device);
        row("apply: changed, added, boolean, one unmapped", 0, apply, file,
            "3 changed, 1 unmapped, 2 left alone\n", {},
            u"Comp|Map 1 2 2 3|Map 1 4 2 1|OR 1 4 2 4|Map 1 5 2 4|Res 1  3|ClrMap 1  3|Comp"_s,
            file);
        row("apply --partial leaves what the file does not name", 0, apply + u" --partial"_s,
            lines("[1][2][2][3][1][0][0][0]"), "1 changed, 0 unmapped, 5 left alone\n", {},
            u"Comp|Map 1 2 2 3|Comp"_s, QByteArray(Device).replace("[1][2][2][2]", "[1][2][2][3]"));
        const QByteArray load =
            lines("[1][2][2][4][1][0][0][0] [1][4][2][1][1][2][3][1] [1][3][0][0]");
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
                  "[1][4][2][1][1][2][3][1] [1][6][2][1][1][0][0][0] [7][7][2][1][1][0][0][0]"),
            "output 2 \"Out 2\": file wants input 3 \"In 3\", device holds input 2 \"In 2\"\n"
            "output 4 \"Out 4\": file wants input 1 \"In 1\" AND input 3 \"In 3\", device holds "
            "input 1 \"In 1\" AND input 2 \"In 2\"\n"
            "output 6 \"Out 6\": file wants input 1 \"In 1\", device holds no mapping\n"
            "output 7/7 (not in Kestrel.ini): file wants input 1 \"In 1\", device holds no "
            "mapping\n",
            {}, u"Comp"_s, Device);
        row("verify, unreachable", 2, verify, Device, {},
            u"no reply from the tally system on .*/tty within 2 s"_s, {}, Held, u"silent"_s);
        row("verify, no such port", 2, u"--device /nonexistent "_s + verify, Device, {},
            u"the serial port /nonexistent does not exist"_s, {});
        row("verify, port held", 2, verify, Device, {},
            u"the serial port .*/tty is held by another program, tst_ctl "_s, {}, Held, u"held"_s);
        row("verify, malformed file", 2, verify, lines("[1][1][2][1] [1][2"), {},
            u"tally file .*show.qvr: entry 2, \"\\[1\\]\\[2\", is not a map"_s, {});
        row("verify, no Kestrel.ini", 2, u"--ini %1/none.ini "_s + verify, Device, {},
            u"no Kestrel.ini at .*none.ini"_s, {});
        // What the window's online Save writes: the compacted table, row by row, CR LF each.
        row("read", 0, u"read"_s, "old", Device, {}, u"Comp"_s, Device);
        row("read, not over a file", 2, u"read %1/show.qvr"_s, "old", {},
            u".*show.qvr exists already: --overwrite replaces it"_s, {});
        row("read --overwrite", 0, u"read --overwrite %1/show.qvr"_s, "old", {}, {}, u"Comp"_s,
            Device);
    }
    void run()
    {
        QFETCH(QString, arguments);
        QFETCH(QByteArray, file);
        QFETCH(QString, setup);
        Studio s;
        QVERIFY(s.start(file, setup == u"silent"_s ? QStringList{u"--fault"_s, u"silent"_s}
                                                   : QStringList()));
        QSerialPort holder(s.path(u"tty"_s));
        QVERIFY(setup != u"held"_s || holder.open(QIODevice::ReadWrite));
        const auto [status, out, err] = s.ctl(arguments);
        QCOMPARE(status, FETCH(int, status));
        QCOMPARE(out, FETCH(QByteArray, out));
        const QRegularExpression errLine(FETCH(QString, err));
        QVERIFY2(errLine.match(QString::fromLocal8Bit(err)).hasMatch(), err);
        QCOMPARE(s.wire().join(u'|'), FETCH(QString, wire));
        if (status == 2 && setup != u"silent"_s) // not even the probe went out before the failure
            QCOMPARE(readFile(s.path(u"log"_s)), QByteArray());
        QCOMPARE(readFile(s.path(u"state"_s)), FETCH(QByteArray, table));
        QCOMPARE(readFile(s.path(u"show.qvr"_s)),
                 arguments.startsWith(u"read --overwrite"_s) ? Device : file);
    }

    void sendAndWatch()
    {
        Studio s;
        QVERIFY(s.start({}));
        QCOMPARE(std::get<1>(s.ctl(u"send Set 2 5"_s)), QByteArray("Set 2 5\r\nOK\r\n.\n"));
        QCOMPARE(s.wire(), QStringList{u"Set 2 5"_s});
        QProcess watch;
        watch.start(QStringLiteral(KESTRELCTL_PATH),
                    {u"--ini"_s, s.path(u"Kestrel.ini"_s), u"watch"_s, u"2"_s});
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT(
            (out += watch.readAllStandardOutput()).contains(" unit 2 bit 5 on\n"), 10000);
        ::kill(pid_t(watch.processId()), SIGINT);
        QVERIFY(watch.waitForFinished(5000) && watch.exitStatus() == QProcess::NormalExit &&
                watch.exitCode() == 0);
    }
};

QTEST_GUILESS_MAIN(TestCtl)
#include "tst_ctl.moc"
