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

struct Row
{
    const char *fault;
    const char *operation;
    const char *seen; // what the operation left, as described by the test below
    bool told;        // a beep or a message box
};
// The rows of cut and slow are those where they take another way than silence: a cut reply
// still counts as an answer, and a slow one arrives during the next exchange. The map of drop:2
// and hangup:1 is left out: their single command is answered, as without a fault.
const Row Rows[] = {
    {"none", "start-up", "online, 3 rows", false},
    {"none", "map", "mapped", false},
    {"none", "unmap", "unmapped", false},
    {"none", "read-back", "3 rows", false},
    {"none", "file load", "applied", false},
    {"none", "status poll", "lamps updated", false},
    {"silent", "start-up", "offline", true},
    {"silent", "map", "mapped", true},
    {"silent", "unmap", "kept", true},
    {"silent", "read-back", "0 rows", true},
    {"silent", "file load", "applied", true},
    {"silent", "status poll", "lamps kept", true},
    {"garbage", "start-up", "online, 0 rows", false},
    {"garbage", "map", "mapped", false},
    {"garbage", "unmap", "unmapped", false},
    {"garbage", "read-back", "0 rows", false},
    {"garbage", "file load", "applied", false},
    {"garbage", "status poll", "lamps kept", false},
    {"drop:2", "start-up", "offline", true},
    {"drop:2", "unmap", "kept", true},
    {"drop:2", "read-back", "0 rows", true},
    {"drop:2", "file load", "applied", true},
    {"drop:2", "status poll", "lamps kept", true},
    {"hangup:1", "start-up", "offline", true},
    {"hangup:1", "unmap", "kept", true},
    {"hangup:1", "read-back", "0 rows", true},
    {"hangup:1", "file load", "applied", true},
    {"hangup:1", "status poll", "lamps kept", true},
    {"cut", "start-up", "online, 3 rows", true},
    {"cut", "unmap", "unmapped", true},
    {"cut", "status poll", "lamps updated", true},
    {"slow:625", "start-up", "online, 0 rows", true},
    {"slow:625", "unmap", "unmapped", true},
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
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("seen");
        QTest::addColumn<bool>("told");
        const QByteArray only = qgetenv("KESTREL_FAULT");
        for (const Row &r : Rows) {
            if (only.isEmpty() || QByteArray(r.fault).startsWith(only))
                QTest::addRow("%s / %s", r.fault, r.operation)
                    << QString::fromLatin1(r.fault) << QString::fromLatin1(r.operation)
                    << QString::fromLatin1(r.seen) << r.told;
        }
    }
    void matrix()
    {
        QFETCH(QString, fault);
        QFETCH(QString, operation);
        QFETCH(QString, seen);
        QFETCH(bool, told);
        SimProcess good;
        SimProcess bad;
        QVERIFY(bad.start(fault == u"none"_s
                              ? QStringList()
                              : QStringList{u"--fault"_s, fault, u"--seed"_s, u"7"_s},
                          Table));
        SimLine line(Speed);
        Studio s(line, line.clock(), SimLine::pause());
        // Commands each operation sends when all goes well; a fault must never bring more.
        const QHash<QString, int> most{{u"start-up"_s, 11}, {u"map"_s, 1},
                                       {u"unmap"_s, 2},     {u"read-back"_s, 5},
                                       {u"file load"_s, 3}, {u"status poll"_s, 1000}};
        QList<int> changes{1, 2, 3, 4, 5, 6}; // outputs the operation may change in the model
        QList<int> sent;                      // and on the tally system
        if (operation == u"start-up"_s) {
            QVERIFY(s.load(6, 6, "CommDevice=" + bad.link().toUtf8() + "\r\n"));
        } else { // the tally system was good at start, then the line went bad
            QVERIFY(good.start({}, Table));
            QVERIFY(s.load(6, 6, "CommDevice=" + good.link().toUtf8() + "\r\n"));
            QCOMPARE(s.mapped().size(), 3);
            QVERIFY(line.reopen(bad.link()));
            line.written.clear();
        }
        const auto before = s.model.OutputMap;
        const int boxesBefore = s.boxes.size();

        QString result;
        if (operation == u"start-up"_s) {
            result = s.model.Online ? u"online, %1 rows"_s.arg(s.model.MapStrings) : u"offline"_s;
            QCOMPARE(s.window.text(Control::cmdOnline),
                     s.model.Online ? u"Online"_s : u"OFFLINE"_s);
        } else if (operation == u"map"_s || operation == u"unmap"_s) {
            const int output = operation == u"map"_s ? 4 : 1;
            s.pick(Control::List1, output - 1);
            s.pick(Control::list2, operation == u"map"_s ? 4 : 0);
            s.click(Control::cmdMapIt);
            changes = sent = {output};
            if (operation == u"map"_s)
                result = s.model.OutputMap[4] == u"[1][4][2][4][1][0][0][0]"_s ? u"mapped"_s
                                                                               : u"not mapped"_s;
            else
                result = s.model.OutputMap[1].isEmpty() ? u"unmapped"_s : u"kept"_s;
        } else if (operation == u"read-back"_s) {
            s.click(Control::cmdRefresh);
            result = u"%1 rows"_s.arg(s.model.MapStrings);
            QVERIFY(s.window.isEnabled(Control::cmdMapIt)); // the download's bracket closed
        } else if (operation == u"file load"_s) {
            const QString file = s.dir.filePath(u"part.qvr"_s);
            QFile f(file);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("[1][4][2][5][1][0][0][0]\r\n[1][6][2][6][1][2][1][1]\r\n");
            f.close();
            s.files = {file};
            s.click(Control::cmdPartLoadMatrix);
            changes = sent = {4, 6};
            const bool applied = s.model.OutputMap[4] == u"[1][4][2][5][1][0][0][0]"_s &&
                                 s.model.OutputMap[6] == u"[1][6][2][6][1][2][1][1]"_s;
            result = applied ? u"applied"_s : u"not applied"_s;
        } else {
            s.click(Control::Check1);
            UnitStatusWindow &unit = s.logic.unitStatusWindow();
            for (int k = 1; k <= 32; ++k)
                unit.setLampLit(k, true);
            QTRY_VERIFY(line.written.contains("BITS 1")); // one poll has run
            s.click(Control::Check1);
            int lit = 0;
            for (int k = 1; k <= 32; ++k)
                lit += unit.isLampLit(k);
            // Nothing is lit on unit 1: the lamps change only on a whole answer of 32 bits.
            result = lit == 0 ? u"lamps updated"_s : lit == 32 ? u"lamps kept"_s : u"lamps mixed"_s;
        }
        QCOMPARE(result, seen);
        QCOMPARE(s.window.beeps > 0 || s.boxes.size() > boxesBefore, told);
        QVERIFY2(line.written.count("\r\n") <= most[operation], line.written.constData());

        // Nothing else changed: the model's other outputs (start-up and read-back file only
        // the tally system's own rows), and the tally system's other rows.
        for (int i = 1; i <= 6; ++i) {
            if (!changes.contains(i))
                QCOMPARE(s.model.OutputMap[i], before[i]);
            else if (sent.isEmpty() && !s.model.OutputMap[i].isEmpty())
                QVERIFY2(Table.contains(s.model.OutputMap[i].toLatin1()),
                         qPrintable(s.model.OutputMap[i]));
        }
        const QStringList tally =
            bad.table().isEmpty() ? QString::fromLatin1(Table).split(u"\r\n"_s) : bad.table();
        for (const QByteArray &row : Table.split('\n')) {
            if (!row.isEmpty() && !sent.contains(row.at(4) - '0'))
                QVERIFY2(tally.contains(QString::fromLatin1(row.trimmed())), row.constData());
        }
    }
};

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"
