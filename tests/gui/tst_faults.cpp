// Every fault kestrel-sim can play against each operation of the configurator that talks to the
// tally system, through the whole configurator: no crash, no retrying without end, the operator
// told, and no mapping lost that the operation was not meant to change.
#include "SimProcess.h"
#include "Studio.h"

#include "gui/UnitStatusWindow.h"

using namespace Qt::StringLiterals;

namespace {

// The tally system's table before each operation: outputs 1..3 of unit 1, the third an OR.
const QByteArray Table = "[1][1][2][1][1][0][0][0]\r\n[1][2][2][2][1][0][0][0]\r\n"
                         "[1][3][2][3][1][2][4][2]\r\n";
// The configurator's time runs this many times faster: a time-out costs half a second. The slow
// fault is scaled alike (625 ms is 2.5 s of the configurator's time).
constexpr int Speed = 4;

enum Operation { StartUp, Map, Unmap, Refresh, FileLoad, Poll };
const char *const Operations[] = {"start-up",  "map",       "unmap",
                                  "read-back", "file load", "status poll"};
// Commands each operation sends when all goes well: a fault must never bring more.
const int Most[] = {11, 1, 2, 5, 3, 1000};
constexpr int Same = -2; // a row that takes the way of another row, left out

// What each operation leaves: the model's mappings (for the start-up -1 when offline), for the
// poll the lamps still lit of 32 (nothing is lit on the unit: a whole answer darkens them all).
// Of cut and slow only the rows that go another way than silence run: a cut reply still counts
// as an answer, and a slow one arrives during the next exchange. Under drop:2 and hangup:1 the
// map's single command is answered, as without a fault.
struct Fault
{
    const char *name;
    bool told; // a beep or a message box
    int left[6];
};
const Fault Faults[] = {
    {"none", false, {3, 4, 2, 3, 5, 0}},
    {"silent", true, {-1, 4, 3, 0, 5, 32}},
    {"garbage", false, {0, 4, 2, 0, 5, 32}},
    {"drop:2", true, {-1, Same, 3, 0, 5, 32}},
    {"hangup:1", true, {-1, Same, 3, 0, 5, 32}},
    {"cut", true, {3, Same, 2, Same, Same, 0}},
    {"slow:625", true, {0, Same, 2, Same, Same, Same}},
};

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT
private slots:
    // CTest runs the rows of one fault at a time (KESTREL_FAULT), so that their waits overlap.
    void matrix_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<int>("operation");
        QTest::addColumn<int>("left");
        QTest::addColumn<bool>("told");
        for (const Fault &f : Faults) {
            for (int op = StartUp; op <= Poll; ++op) {
                if (f.left[op] != Same && QByteArray(f.name).startsWith(qgetenv("KESTREL_FAULT")))
                    QTest::addRow("%s / %s", f.name, Operations[op])
                        << QString::fromLatin1(f.name) << op << f.left[op] << f.told;
            }
        }
    }
    void matrix()
    {
        QFETCH(QString, fault);
        QFETCH(int, operation);
        QFETCH(int, left);
        QFETCH(bool, told);
        SimProcess good;
        SimProcess bad;
        const QStringList args{u"--fault"_s, fault, u"--seed"_s, u"7"_s};
        QVERIFY(bad.start(fault == u"none"_s ? QStringList() : args, Table));
        SimLine line(Speed);
        Studio s(line, line.clock(), NoPause);
        // Other than at start-up, the tally system was good at start, then the line went bad.
        QVERIFY(operation == StartUp || good.start({}, Table));
        const QString device = (operation == StartUp ? bad : good).link();
        QVERIFY(s.load(6, 6, "CommDevice=" + device.toUtf8() + "\r\n"));
        if (operation != StartUp) {
            QCOMPARE(s.mapped().size(), 3);
            line.PortClose(); // the cable moved to a bad tally system
            line.PortSetDevice(bad.link());
            QVERIFY(line.PortOpen());
            line.written.clear();
        }
        const qsizetype boxes = s.boxes.size();

        QList<int> changes; // the outputs the operation is meant to change
        int result = s.model.Online ? int(s.mapped().size()) : -1;
        if (operation == Map || operation == Unmap) {
            changes = {operation == Map ? 4 : 1};
            s.pick(Control::List1, changes[0] - 1);
            s.pick(Control::list2, operation == Map ? 4 : 0);
            s.click(Control::cmdMapIt);
        } else if (operation == Refresh) {
            s.click(Control::cmdRefresh);
            QVERIFY(s.window.isEnabled(Control::cmdMapIt)); // the download's bracket closed
        } else if (operation == FileLoad) {
            QFile f(s.dir.filePath(u"part.qvr"_s));
            QVERIFY(f.open(QIODevice::WriteOnly) && f.write("[1][4][2][5][1][0][0][0]\r\n"
                                                            "[1][6][2][6][1][2][1][1]\r\n") > 0);
            f.close();
            s.files = {f.fileName()};
            s.click(Control::cmdPartLoadMatrix);
            changes = {4, 6};
        } else if (operation == Poll) {
            s.click(Control::Check1);
            UnitStatusWindow &unit = s.logic.unitStatusWindow();
            for (int k = 1; k <= 32; ++k)
                unit.setLampLit(k, true);
            QTRY_VERIFY(line.written.contains("BITS 1")); // one poll has run
            s.click(Control::Check1);
            result = 0;
            for (int k = 1; k <= 32; ++k)
                result += unit.isLampLit(k);
        }
        if (operation != StartUp && operation != Poll)
            result = int(s.mapped().size());
        QCOMPARE(result, left);
        QCOMPARE(s.window.beeps > 0 || s.boxes.size() > boxes, told);
        QVERIFY2(line.written.count("\r\n") <= Most[operation], line.written.constData());
        if (operation == Map) // whatever the line does, the command goes out as it should
            QCOMPARE(line.written, QByteArray("Map 1 4 2 4\r\n"));

        // Nothing else changed, in the model (where a read-back may only drop rows) and on the
        // tally system.
        const QStringList rows = QString::fromLatin1(Table).split(u"\r\n"_s);
        const QStringList tally = bad.table().isEmpty() ? rows : bad.table();
        const bool readBack = operation == StartUp || operation == Refresh;
        for (int i = 1; i <= 6; ++i) {
            const QString was = i <= 3 ? rows[i - 1] : QString();
            const QString now = s.model.OutputMap[i];
            if (!changes.contains(i))
                QVERIFY2(now == was || (readBack && now.isEmpty()), qPrintable(now));
            if (i <= 3 && !changes.contains(i))
                QVERIFY2(tally.contains(was), qPrintable(was));
        }
    }
};

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"
