// kestrelctl run as a program against kestrel-sim: what goes on the wire, what it prints, and
// its exit status.

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

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

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

// A studio of 6 outputs on unit 1 and 4 inputs on unit 2, its Kestrel.ini naming the link.
struct Studio
{
    QTemporaryDir dir;
    QProcess sim;
    QString path(const QString &name) const { return dir.filePath(name); }
    ~Studio() { sim.kill(), sim.waitForFinished(3000); }

    bool start(const QByteArray &rows, const QStringList &extra = {})
    {
        QString ini = u"[Kestrel]\r\nSystem=Test\r\nEnabledUnits=1,2\r\nCommDevice=%1/tty\r\n"_s;
        for (int i = 1; i <= 6; ++i)
            ini += u"Output %1=Out %1,1,%1\r\n"_s.arg(i) +
                   (i > 4 ? QString() : u"Input %1=In %1,2,%1\r\n"_s.arg(i));
        if (!writeFile(path(u"Kestrel.ini"_s), ini.arg(dir.path()).toLocal8Bit()) ||
            !writeFile(path(u"rows.qvr"_s), rows))
            return false;
        sim.start(QStringLiteral(KESTREL_SIM_PATH),
                  u"--link %1/tty --log %1/log --state %1/state --rows %1/rows.qvr --baud 0"_s
                          .arg(dir.path())
                          .split(u' ') +
                      extra);
        for (int i = 0; i < 250 && !QFile::exists(path(u"tty"_s)); ++i)
            QThread::msleep(20);
        return QFile::exists(path(u"tty"_s));
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
    // Exit status (-1 for a crash), standard output, standard error.
    std::tuple<int, QByteArray, QByteArray> ctl(const QStringList &args, const QString &ini = {})
    {
        QProcess p;
        p.start(QStringLiteral(KESTRELCTL_PATH),
                QStringList{u"--ini"_s, ini.isEmpty() ? path(u"Kestrel.ini"_s) : ini} + args);
        p.waitForFinished(30000);
        return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
                p.readAllStandardOutput(), p.readAllStandardError()};
    }
};

QByteArray lines(const char *rows) { return QByteArray(rows).replace(' ', "\r\n") + "\r\n"; }

QSet<QByteArray> rowSet(const QByteArray &b)
{
    const QList<QByteArray> rows = b.split('\n');
    return {rows.begin(), rows.end()};
}

const QByteArray Device = lines("[1][1][2][1][1][0][0][0] [1][2][2][2][1][0][0][0] "
                                "[1][3][2][3][1][0][0][0] [1][4][2][1][1][2][2][1]");

} // namespace

class TestCtl : public QObject
{
    Q_OBJECT
private slots:
    void apply_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("partial");
        QTest::addColumn<QStringList>("wire");
        QTest::addColumn<QByteArray>("table");
        QTest::addColumn<QByteArray>("summary");
        QTest::newRow("all match: nothing but the read-backs")
            << Device << false << u"Comp|Comp"_s.split(u'|') << Device
            << QByteArray("0 changed, 0 unmapped, 6 left alone\n");
        const QByteArray file = lines("[1][1][2][1][1][0][0][0] [1][2][2][3][1][0][0][0] "
                                      "[1][4][2][1][1][2][4][2] [1][5][2][4][1][0][0][0]");
        QTest::newRow("changed, added, boolean, one unmapped")
            << file << false
            << u"Comp|Map 1 2 2 3|Map 1 4 2 1|OR 1 4 2 4|Map 1 5 2 4|Res 1  3|ClrMap 1  3|Comp"_s
                   .split(u'|')
            << file << QByteArray("3 changed, 1 unmapped, 2 left alone\n");
        QTest::newRow("partial leaves what the file does not name")
            << lines("[1][2][2][3][1][0][0][0]") << true << u"Comp|Map 1 2 2 3|Comp"_s.split(u'|')
            << QByteArray(Device).replace("[1][2][2][2]", "[1][2][2][3]")
            << QByteArray("1 changed, 0 unmapped, 5 left alone\n");
    }
    void apply()
    {
        QFETCH(bool, partial);
        Studio s;
        QVERIFY(s.start(Device) && writeFile(s.path(u"show.qvr"_s), FETCH(QByteArray, file)));
        const auto [status, out, err] =
            s.ctl(QStringList{u"apply"_s, s.path(u"show.qvr"_s)} +
                  (partial ? QStringList{u"--partial"_s} : QStringList()));
        QCOMPARE(err, QByteArray());
        QCOMPARE(status, 0);
        QCOMPARE(s.wire(), FETCH(QStringList, wire));
        QCOMPARE(out, FETCH(QByteArray, summary));
        QCOMPARE(rowSet(readFile(s.path(u"state"_s))), rowSet(FETCH(QByteArray, table)));
    }

    void verify_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<QString>("err"); // a pattern for standard error: one line, or none
        QTest::newRow("equal") << Device << QStringList() << 0 << QByteArray() << u"^$"_s;
        QTest::newRow("different")
            << lines("[1][1][2][1][1][0][0][0] [1][2][2][3][1][0][0][0] [1][3][2][3][1][0][0][0] "
                     "[1][4][2][1][1][2][3][1] [1][6][2][1][1][0][0][0] [7][7][2][1][1][0][0][0]")
            << QStringList() << 1
            << QByteArray("output 2 \"Out 2\": file wants input 3 \"In 3\", device holds input 2 "
                          "\"In 2\"\n"
                          "output 4 \"Out 4\": file wants input 1 \"In 1\" AND input 3 \"In 3\", "
                          "device holds input 1 \"In 1\" AND input 2 \"In 2\"\n"
                          "output 6 \"Out 6\": file wants input 1 \"In 1\", device holds no "
                          "mapping\n"
                          "output 7/7 (not in Kestrel.ini): file wants input 1 \"In 1\", device "
                          "holds no mapping\n")
            << u"^$"_s;
        QTest::newRow("unreachable")
            << Device << QStringList{u"--fault"_s, u"silent"_s} << 2 << QByteArray()
            << u"^kestrelctl: no reply from the tally system on .*/tty within 2 s"_s;
        QTest::newRow("no such port")
            << Device << QStringList{u"--device"_s, u"/nonexistent"_s} << 2 << QByteArray()
            << u"^kestrelctl: the serial port /nonexistent does not exist"_s;
        QTest::newRow("port held")
            << Device << QStringList{u"hold"_s} << 2 << QByteArray()
            << u"^kestrelctl: the serial port .*/tty is held by another program, tst_ctl "_s;
        QTest::newRow("malformed file")
            << lines("[1][1][2][1] [1][2") << QStringList() << 2 << QByteArray()
            << u"^kestrelctl: tally file .*show.qvr: entry 2, \"\\[1\\]\\[2\", is not a map"_s;
        QTest::newRow("no Kestrel.ini") << Device << QStringList{u"noini"_s} << 2 << QByteArray()
                                        << u"^kestrelctl: no Kestrel.ini at .*none.ini"_s;
    }
    void verify()
    {
        QFETCH(QStringList, args);
        Studio s;
        const bool simArgs = args.value(0) == u"--fault"_s;
        QVERIFY(s.start(Device, simArgs ? args : QStringList()));
        QVERIFY(writeFile(s.path(u"show.qvr"_s), FETCH(QByteArray, file)));
        QSerialPort holder(s.path(u"tty"_s));
        QVERIFY(args.value(0) != u"hold"_s || holder.open(QIODevice::ReadWrite));
        const QStringList verify{u"verify"_s, s.path(u"show.qvr"_s)};
        const auto [status, out, err] =
            s.ctl(args.value(0) == u"--device"_s ? args + verify : verify,
                  args.value(0) == u"noini"_s ? s.path(u"none.ini"_s) : QString());
        QCOMPARE(status, FETCH(int, status));
        QCOMPARE(out, FETCH(QByteArray, out));
        QVERIFY2(
            QRegularExpression(FETCH(QString, err)).match(QString::fromLocal8Bit(err)).hasMatch() &&
                err.count('\n') == (status == 2),
            err);
        if (status == 2 && !simArgs) // nothing went out before the failure
            QCOMPARE(readFile(s.path(u"log"_s)), QByteArray());
    }

    // What the window's online Save writes: the compacted table, row by row, CR LF each.
    void read()
    {
        Studio s;
        QVERIFY(s.start(
            lines("[1][1][2][1][1][0][0][0] [0][0][0][0][0][0][0][0] [1][3][2][3][1][0][0][0]")));
        const QByteArray saved = lines("[1][1][2][1][1][0][0][0] [1][3][2][3][1][0][0][0]");
        QCOMPARE(std::get<1>(s.ctl({u"read"_s})), saved);
        const QString backup = s.path(u"backup.qvr"_s);
        QVERIFY(writeFile(backup, "old"));
        QCOMPARE(std::get<0>(s.ctl({u"read"_s, backup})), 2);
        QCOMPARE(readFile(backup), QByteArray("old"));
        QCOMPARE(std::get<0>(s.ctl({u"read"_s, u"--overwrite"_s, backup})), 0);
        QCOMPARE(readFile(backup), saved);
    }

    void load_data()
    {
        QTest::addColumn<bool>("partial");
        QTest::addColumn<QStringList>("wire");
        const QString lines = u"Map 1 2 2 4|Map 1 4 2 1|AND 1 4 2 3|Res 1  3|ClrMap 1  3"_s;
        QTest::newRow("full") << false << (u"Init|Uenable  1|Uenable  2|"_s + lines).split(u'|');
        QTest::newRow("partial") << true << lines.split(u'|');
    }
    void load()
    {
        QFETCH(bool, partial);
        Studio s;
        QVERIFY(s.start(Device));
        QVERIFY(writeFile(s.path(u"show.qvr"_s), lines("[1][2][2][4][1][0][0][0] "
                                                       "[1][4][2][1][1][2][3][1] [1][3][0][0]")));
        QCOMPARE(std::get<0>(s.ctl(QStringList{u"load"_s, s.path(u"show.qvr"_s)} +
                                   (partial ? QStringList{u"--partial"_s} : QStringList()))),
                 0);
        const QStringList wire = s.wire();
        QCOMPARE(wire.mid(wire.indexOf(partial ? u"Map 1 2 2 4"_s : u"Init"_s)),
                 FETCH(QStringList, wire));
    }

    void sendAndWatch()
    {
        Studio s;
        QVERIFY(s.start(Device));
        QCOMPARE(std::get<1>(s.ctl({u"send"_s, u"Set"_s, u"2"_s, u"5"_s})),
                 QByteArray("Set 2 5\r\nOK\r\n.\n"));
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
