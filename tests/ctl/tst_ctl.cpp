// kestrelctl run as a program against kestrel-sim: what goes on the wire, what it prints, and
// its exit status.

#include <QFile>
#include <QProcess>
#include <QSerialPort>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <csignal>

using namespace Qt::StringLiterals;

// A column of the current data row, where an expression wants it.
#define FETCH(type, name)                                                                          \
    ([] {                                                                                          \
        QFETCH(type, name);                                                                        \
        return name;                                                                               \
    }())

namespace {

// A studio of 6 outputs on unit 1 and 4 inputs on unit 2, its Kestrel.ini naming the link.
struct Studio
{
    QTemporaryDir dir;
    QProcess sim;
    QString path(const QString &name) const { return dir.filePath(name); }

    ~Studio()
    {
        sim.kill();
        sim.waitForFinished(3000);
    }
    bool start(const QByteArray &rows, const QStringList &extra = {})
    {
        QByteArray ini = "[Kestrel]\r\nSystem=Test\r\nEnabledUnits=1,2\r\nCommDevice=" +
                         path(u"tty"_s).toLocal8Bit() + "\r\n";
        for (int i = 1; i <= 6; ++i)
            ini += "Output " + QByteArray::number(i) + "=Out " + QByteArray::number(i) + ",1," +
                   QByteArray::number(i) + "\r\n";
        for (int j = 1; j <= 4; ++j)
            ini += "Input " + QByteArray::number(j) + "=In " + QByteArray::number(j) + ",2," +
                   QByteArray::number(j) + "\r\n";
        if (!write(u"Kestrel.ini"_s, ini) || !write(u"rows.qvr"_s, rows))
            return false;
        sim.start(QStringLiteral(KESTREL_SIM_PATH),
                  QStringList{u"--link"_s, path(u"tty"_s), u"--log"_s, path(u"log"_s), u"--state"_s,
                              path(u"state"_s), u"--rows"_s, path(u"rows.qvr"_s), u"--baud"_s,
                              u"0"_s} +
                      extra);
        for (int i = 0; i < 250 && !QFile::exists(path(u"tty"_s)); ++i)
            QThread::msleep(20);
        return QFile::exists(path(u"tty"_s));
    }
    bool write(const QString &name, const QByteArray &bytes) const
    {
        QFile f(path(name));
        return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
    }
    QByteArray read(const QString &name) const
    {
        QFile f(path(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    // The commands received, without the probe, the version query and the read-back's rows.
    QStringList wire() const
    {
        QStringList out;
        for (const QByteArray &line : read(u"log"_s).split('\n')) {
            const QString c = QString::fromLatin1(line.mid(line.indexOf(' ') + 1));
            if (!line.isEmpty() && !c.isEmpty() && c != u"<CR>VER"_s && c != u"VER"_s &&
                !c.startsWith(u"RawMap"_s))
                out << c;
        }
        return out;
    }
    struct Result
    {
        int status = -1;
        QByteArray out, err;
    };
    Result ctl(const QStringList &args, const QString &ini = {})
    {
        QProcess p;
        p.start(QStringLiteral(KESTRELCTL_PATH),
                QStringList{u"--ini"_s, ini.isEmpty() ? path(u"Kestrel.ini"_s) : ini} + args);
        p.waitForFinished(30000);
        return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
                p.readAllStandardOutput(), p.readAllStandardError()};
    }
};

QByteArray lines(std::initializer_list<const char *> rows)
{
    QByteArray out;
    for (const char *r : rows)
        out += QByteArray(r) + "\r\n";
    return out;
}

const QByteArray Device = lines({"[1][1][2][1][1][0][0][0]", "[1][2][2][2][1][0][0][0]",
                                 "[1][3][2][3][1][0][0][0]", "[1][4][2][1][1][2][2][1]"});

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
            << Device << false << QStringList{u"Comp"_s, u"Comp"_s} << Device
            << QByteArray("0 changed, 0 unmapped, 6 left alone\n");
        const QByteArray file = lines({"[1][1][2][1][1][0][0][0]", "[1][2][2][3][1][0][0][0]",
                                       "[1][4][2][1][1][2][4][2]", "[1][5][2][4][1][0][0][0]"});
        QTest::newRow("changed, added, boolean, one unmapped")
            << file << false
            << QStringList{u"Comp"_s,        u"Map 1 2 2 3"_s, u"Map 1 4 2 1"_s, u"OR 1 4 2 4"_s,
                           u"Map 1 5 2 4"_s, u"Res 1  3"_s,    u"ClrMap 1  3"_s, u"Comp"_s}
            << file << QByteArray("3 changed, 1 unmapped, 2 left alone\n");
        QTest::newRow("partial leaves what the file does not name")
            << lines({"[1][2][2][3][1][0][0][0]"}) << true
            << QStringList{u"Comp"_s, u"Map 1 2 2 3"_s, u"Comp"_s}
            << lines({"[1][1][2][1][1][0][0][0]", "[1][2][2][3][1][0][0][0]",
                      "[1][3][2][3][1][0][0][0]", "[1][4][2][1][1][2][2][1]"})
            << QByteArray("1 changed, 0 unmapped, 5 left alone\n");
    }
    void apply()
    {
        QFETCH(QByteArray, file);
        QFETCH(bool, partial);
        Studio s;
        QVERIFY(s.start(Device) && s.write(u"show.qvr"_s, file));
        const auto r =
            s.ctl(partial ? QStringList{u"apply"_s, u"--partial"_s, s.path(u"show.qvr"_s)}
                          : QStringList{u"apply"_s, s.path(u"show.qvr"_s)});
        QCOMPARE(r.err, QByteArray());
        QCOMPARE(r.status, 0);
        QCOMPARE(s.wire(), FETCH(QStringList, wire));
        QCOMPARE(r.out, FETCH(QByteArray, summary));
        auto sorted = [](const QByteArray &b) {
            QList<QByteArray> rows = b.split('\n');
            std::sort(rows.begin(), rows.end());
            return rows;
        };
        QCOMPARE(sorted(s.read(u"state"_s)), sorted(FETCH(QByteArray, table)));
    }

    void verify_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<QByteArray>("err"); // what standard error's one line begins with
        QTest::newRow("equal") << Device << QStringList() << 0 << QByteArray() << QByteArray();
        QTest::newRow("different")
            << lines({"[1][1][2][1][1][0][0][0]", "[1][2][2][3][1][0][0][0]",
                      "[1][3][2][3][1][0][0][0]", "[1][4][2][1][1][2][3][1]",
                      "[1][6][2][1][1][0][0][0]", "[7][7][2][1][1][0][0][0]"})
            << QStringList() << 1
            << QByteArray("output 2 \"Out 2\": file wants input 3 \"In 3\", device holds input 2 "
                          "\"In 2\"\n"
                          "output 4 \"Out 4\": file wants input 1 \"In 1\" AND input 3 \"In 3\", "
                          "device holds input 1 \"In 1\" AND input 2 \"In 2\"\n"
                          "output 6 \"Out 6\": file wants input 1 \"In 1\", device holds no "
                          "mapping\n"
                          "output 7/7 (not in Kestrel.ini): file wants input 1 \"In 1\", device "
                          "holds no mapping\n")
            << QByteArray();
        QTest::newRow("unreachable")
            << Device << QStringList{u"--fault"_s, u"silent"_s} << 2 << QByteArray()
            << QByteArray("kestrelctl: no reply from the tally system on ");
        QTest::newRow("no such port")
            << Device << QStringList{u"--device"_s, u"/nonexistent"_s} << 2 << QByteArray()
            << QByteArray("kestrelctl: the serial port /nonexistent does "
                          "not exist");
        QTest::newRow("port held") << Device << QStringList{u"hold"_s} << 2 << QByteArray()
                                   << QByteArray("kestrelctl: the serial port ");
        QTest::newRow("malformed file") << lines({"[1][1][2][1]", "[1][2"}) << QStringList() << 2
                                        << QByteArray() << QByteArray("kestrelctl: tally file ");
        QTest::newRow("no Kestrel.ini") << Device << QStringList{u"noini"_s} << 2 << QByteArray()
                                        << QByteArray("kestrelctl: no Kestrel.ini at ");
    }
    void verify()
    {
        QFETCH(QStringList, args);
        Studio s;
        const bool simArgs = args.value(0) == u"--fault"_s;
        QVERIFY(s.start(Device, simArgs ? args : QStringList()));
        QVERIFY(s.write(u"show.qvr"_s, FETCH(QByteArray, file)));
        QSerialPort holder(s.path(u"tty"_s));
        if (args.value(0) == u"hold"_s)
            QVERIFY(holder.open(QIODevice::ReadWrite));
        QStringList ctlArgs{u"verify"_s, s.path(u"show.qvr"_s)};
        if (args.value(0) == u"--device"_s)
            ctlArgs = args + ctlArgs;
        const auto r =
            s.ctl(ctlArgs, args.value(0) == u"noini"_s ? s.path(u"none.ini"_s) : QString());
        QCOMPARE(r.status, FETCH(int, status));
        QCOMPARE(r.out, FETCH(QByteArray, out));
        QVERIFY2(r.err.startsWith(FETCH(QByteArray, err)) && r.err.count('\n') == (r.status == 2),
                 r.err);
        if (args.value(0) == u"hold"_s)
            QVERIFY2(r.err.contains("held by another program, tst_ctl"), r.err);
        if (r.status == 2 && !simArgs) // nothing went out before the failure
            QCOMPARE(s.read(u"log"_s), QByteArray());
    }

    // What the window's online Save writes: the compacted table, row by row, CR LF each.
    void read()
    {
        Studio s;
        QVERIFY(s.start(lines(
            {"[1][1][2][1][1][0][0][0]", "[0][0][0][0][0][0][0][0]", "[1][3][2][3][1][0][0][0]"})));
        const QByteArray saved = lines({"[1][1][2][1][1][0][0][0]", "[1][3][2][3][1][0][0][0]"});
        QCOMPARE(s.ctl({u"read"_s}).out, saved);
        QVERIFY(s.write(u"backup.qvr"_s, "old"));
        QCOMPARE(s.ctl({u"read"_s, s.path(u"backup.qvr"_s)}).status, 2);
        QCOMPARE(s.read(u"backup.qvr"_s), QByteArray("old"));
        QCOMPARE(s.ctl({u"read"_s, u"--overwrite"_s, s.path(u"backup.qvr"_s)}).status, 0);
        QCOMPARE(s.read(u"backup.qvr"_s), saved);
    }

    void load_data()
    {
        QTest::addColumn<bool>("partial");
        QTest::addColumn<QStringList>("wire");
        QTest::newRow("full") << false
                              << QStringList{u"Init"_s,        u"Uenable  1"_s,  u"Uenable  2"_s,
                                             u"Map 1 2 2 4"_s, u"Map 1 4 2 1"_s, u"AND 1 4 2 3"_s,
                                             u"Res 1  3"_s,    u"ClrMap 1  3"_s};
        QTest::newRow("partial") << true
                                 << QStringList{u"Map 1 2 2 4"_s, u"Map 1 4 2 1"_s,
                                                u"AND 1 4 2 3"_s, u"Res 1  3"_s, u"ClrMap 1  3"_s};
    }
    void load()
    {
        QFETCH(bool, partial);
        Studio s;
        QVERIFY(s.start(Device));
        QVERIFY(
            s.write(u"show.qvr"_s, lines({"[1][2][2][4][1][0][0][0]", "[1][4][2][1][1][2][3][1]",
                                          "[1][3][0][0][1][0][0][0]"})));
        QStringList args{u"load"_s, s.path(u"show.qvr"_s)};
        if (partial)
            args.insert(1, u"--partial"_s);
        QCOMPARE(s.ctl(args).status, 0);
        QStringList wire = s.wire();
        QCOMPARE(wire.mid(wire.indexOf(partial ? u"Map 1 2 2 4"_s : u"Init"_s)),
                 FETCH(QStringList, wire));
    }

    void sendAndWatch()
    {
        Studio s;
        QVERIFY(s.start(Device));
        const auto r = s.ctl({u"send"_s, u"Set"_s, u"2"_s, u"5"_s});
        QCOMPARE(r.out, QByteArray("Set 2 5\r\nOK\r\n.\n"));
        QCOMPARE(s.wire(), QStringList{u"Set 2 5"_s});
        QProcess watch;
        watch.start(QStringLiteral(KESTRELCTL_PATH),
                    {u"--ini"_s, s.path(u"Kestrel.ini"_s), u"watch"_s, u"2"_s});
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT(
            (out += watch.readAllStandardOutput()).contains(" unit 2 bit 5 on\n"), 10000);
        ::kill(pid_t(watch.processId()), SIGINT);
        QVERIFY(watch.waitForFinished(5000));
        QCOMPARE(watch.exitStatus(), QProcess::NormalExit);
        QCOMPARE(watch.exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(TestCtl)
#include "tst_ctl.moc"
