// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The whole configurator against kestrel-sim on a pseudo-terminal: what the operator does with
// mouse and keyboard reaches the tally system's own table, what is saved loads back exactly,
// what is read back is what the tally system holds; and every fault kestrel-sim can play
// against each operation that talks to the tally system: no crash, no retrying without end,
// the operator told, and no mapping lost that the operation was not meant to change.
#include "Studio.h"
#include "core/DataTable.h"
#include "gui/Lamp.h"

namespace {

// The configurator, 6 outputs and 120 inputs, started on kestrel-sim holding `rows`, its clock
// `speed` times faster than the wall's.
struct SimStudio
{
    explicit SimStudio(const QByteArray &rows, const QStringList &args = {}, int speed = 1)
        : line(speed)
    {
        started =
            sim.start(args, rows) && s.load(6, 120, "CommDevice=" + sim.link().toUtf8() + "\r\n");
    }
    SimProcess sim;
    SimLine line;
    Studio s{line, line.clock(), NoPause};
    bool started = false;
};

// The tally system's table before each operation: outputs 1..3 of unit 1, the third an OR.
const QByteArray Table = "[1][1][2][1][1][0][0][0]\r\n[1][2][2][2][1][0][0][0]\r\n"
                         "[1][3][2][3][1][2][4][2]\r\n";

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

using OperateRows =
    DataTable<"clicks picked added text", QList<Control>, QList<int>, QStringList, QString>;
// The fault, the operation, what it leaves, whether the operator is told.
using FaultRows = DataTable<"fault operation left told", QString, Operation, int, bool>;

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT
private slots:
    void operate_data()
    {
        // The clicks (the Boolean box, then the map button); the output, input and second input
        // picked, or typed; what the tally system's table gains, in order; then the row of the
        // last output named.
        const OperateRows row;
        row("mouse", {Control::cmdMapIt}, {3, 5}, {u"[1][3][2][5][1][0][0][0]"_s},
            u"Out 3\t 5\t\t"_s);
        row("keyboard", {}, {3, 0, 120},
            {u"[1][1][2][3][1][0][0][0]"_s, u"[1][3][2][120][1][0][0][0]"_s}, u"Out 3\t 120\t\t"_s);
        row("AND", {Control::Check3, Control::cmdBoolAnd}, {2, 5, 7},
            {u"[1][2][2][5][1][2][7][1]"_s}, u"Out 2\t 5\t&\t 7"_s);
        row("OR", {Control::Check3, Control::cmdBoolOr}, {2, 5, 7}, {u"[1][2][2][5][1][2][7][2]"_s},
            u"Out 2\t 5\t||\t 7"_s);
    }
    void operate()
    {
        const auto [clicks, picked, added, text] = OperateRows::fetch();
        const QString kept = u"[1][4][2][1][1][0][0][0]"_s; // held from the start throughout
        SimStudio r(kept.toLatin1() + "\r\n");
        QVERIFY(r.started);
        if (clicks.size() > 1)
            r.s.click(clicks[0]);
        const Control lists[] = {Control::List1, Control::list2, Control::list3};
        for (qsizetype k = 0; k < picked.size(); ++k) {
            if (clicks.isEmpty()) { // typed into the entry box
                QTest::keyClicks(r.s.window.entry(), QString::number(picked[k]));
                QTest::keyClick(r.s.window.entry(), Qt::Key_Return);
            } else {
                r.s.pick(lists[k], k ? picked[k] : picked[k] - 1);
            }
        }
        if (!clicks.isEmpty())
            r.s.click(clicks.last());
        QCoreApplication::sendPostedEvents(); // the notice of bytes received, not the timers
        QCOMPARE(qobject_cast<Lamp *>(r.s.w(Control::Shape2))->colour(), QColor(Qt::red));
        QVERIFY(r.s.boxes.isEmpty());
        QCOMPARE(r.sim.table(), QStringList{kept} + added);
        QCOMPARE(r.s.mapped(), sorted(r.sim.table()));
        // What a read-back brings is what the tally system holds, and the list shows it.
        r.s.click(Control::cmdRefresh);
        QCOMPARE(r.s.mapped(), sorted(r.sim.table()));
        const int output = text.mid(4, 1).toInt(); // the one the text names
        QCOMPARE(r.s.window.list(Control::List1)->rows()->rowText(output - 1), text);
    }

    // The unit status poll's period, from the times kestrel-sim's log gives its commands: the
    // middle gap, as a poll the busy machine delays makes one gap longer and the next shorter.
    void statusPollPeriod()
    {
        QTemporaryDir logDir;
        const QString log = logDir.filePath(u"commands.log"_s);
        SimStudio r({}, {u"--log"_s, log});
        auto polls = [&log] {
            QList<QTime> at;
            for (const QByteArray &line : readFile(log).split('\n'))
                if (line.endsWith(" BITS 1"))
                    at << QTime::fromString(QString::fromLatin1(line.left(12)), u"HH:mm:ss.zzz"_s);
            return at;
        };
        r.s.click(Control::Check1);
        QTRY_VERIFY(polls().size() >= 5);
        const QList<QTime> at = polls();
        QList<int> gaps;
        for (qsizetype k = 1; k < at.size(); ++k)
            gaps << at[k - 1].msecsTo(at[k]);
        std::sort(gaps.begin(), gaps.end());
        QVERIFY2(gaps[gaps.size() / 2] >= 150 && gaps[gaps.size() / 2] < 300, // 200 ms
                 qPrintable(QString::number(gaps[gaps.size() / 2])));
    }

    void saveAndLoadBack()
    {
        const QByteArray rows = "[1][3][2][1][1][0][0][0]\r\n[1][1][2][2][1][2][3][1]\r\n"
                                "[1][2][2][104][1][2][5][2]\r\n";
        SimStudio r(rows);
        QVERIFY(r.started);
        const QString path = r.s.dir.filePath(u"saved.qvr"_s);
        r.s.files = {path};
        r.s.click(Control::cmdSaveMatrix);
        QCOMPARE(readFile(path, "<none>"), rows);

        r.s.answers = {MessageResult::Ok}; // to "Clear All"
        r.s.click(Control::cmdInit);
        QVERIFY(r.sim.table().isEmpty());
        QVERIFY(r.s.mapped().isEmpty());

        r.s.files = {path};
        r.s.click(Control::cmdLoadMatrix);
        QCOMPARE(r.sim.table(), QString::fromLatin1(rows).split(u"\r\n"_s, Qt::SkipEmptyParts));
        QCOMPARE(r.s.mapped(), sorted(r.sim.table()));
        QCOMPARE(r.s.window.text(Control::lblFileName), u"saved.qvr"_s);
    }

    // CTest runs the rows of one fault at a time (KESTREL_FAULT), so that their waits overlap.
    void faults_data()
    {
        const FaultRows row;
        for (const Fault &f : Faults) {
            for (Operation op : {StartUp, Map, Unmap, Refresh, FileLoad, Poll}) {
                if (f.left[op] != Same && QByteArray(f.name).startsWith(qgetenv("KESTREL_FAULT")))
                    row(QByteArray(f.name + " / "_ba + Operations[op]).constData(),
                        QString::fromLatin1(f.name), op, f.left[op], f.told);
            }
        }
    }
    void faults()
    {
        const auto [fault, operation, left, told] = FaultRows::fetch();
        // The configurator's time runs 4 times faster: a time-out costs half a second. The slow
        // fault is scaled alike (625 ms is 2.5 s of the configurator's time).
        const QStringList args{u"--fault"_s, fault == u"none"_s ? QString() : fault, u"--seed"_s,
                               u"7"_s};
        // Other than at start-up, the tally system was good at start, then the line went bad.
        SimStudio r(Table, operation == StartUp ? args : QStringList(), 4);
        QVERIFY(r.started);
        SimProcess other;
        SimProcess &bad = operation == StartUp ? r.sim : other;
        Studio &s = r.s;
        if (operation != StartUp) {
            QCOMPARE(s.mapped().size(), 3);
            QVERIFY(other.start(args, Table));
            r.line.PortClose(); // the cable moved to a bad tally system
            r.line.PortSetDevice(other.link());
            QVERIFY(r.line.PortOpen());
            r.line.written.clear();
        }
        const qsizetype boxes = s.boxes.size();
        // The outputs the operation is meant to change.
        const QList<int> changes = QList<QList<int>>{{}, {4}, {1}, {}, {4, 6}, {}}[operation];
        if (operation == Map || operation == Unmap) {
            s.pick(Control::List1, changes[0] - 1);
            s.pick(Control::list2, operation == Map ? 4 : 0);
            s.click(Control::cmdMapIt);
        } else if (operation == Refresh) {
            s.click(Control::cmdRefresh);
            QVERIFY(s.w(Control::cmdMapIt)->isEnabled()); // the download's bracket closed
        } else if (operation == FileLoad) {
            s.files = {writeFile(s.dir.filePath(u"part.qvr"_s),
                                 "[1][4][2][5][1][0][0][0]\r\n[1][6][2][6][1][2][1][1]\r\n")};
            s.click(Control::cmdPartLoadMatrix);
        }
        int result = s.model.Online || operation != StartUp ? int(s.mapped().size()) : -1;
        if (operation == Poll) {
            s.click(Control::Check1);
            UnitStatusWindow &unit = s.logic.unitStatusWindow();
            for (int k = 1; k <= 32; ++k)
                unit.setLampLit(k, true);
            QTRY_VERIFY(r.line.written.contains("BITS 1")); // one poll has run
            s.click(Control::Check1);
            result = 0;
            for (int k = 1; k <= 32; ++k)
                result += unit.isLampLit(k);
        }
        QCOMPARE(result, left);
        QCOMPARE(s.window.beeps > 0 || s.boxes.size() > boxes, told);
        QVERIFY2(r.line.written.count("\r\n") <= Most[operation], r.line.written.constData());
        if (operation == Map) // whatever the line does, the command goes out as it should
            QCOMPARE(r.line.written, QByteArray("Map 1 4 2 4\r\n"));

        // Nothing else changed, in the model (where a read-back may only drop rows) and on the
        // tally system.
        const QStringList rows = QString::fromLatin1(Table).split(u"\r\n"_s);
        const QStringList tally = bad.table().isEmpty() ? rows : bad.table();
        const bool readBack = operation == StartUp || operation == Refresh;
        for (int i = 1; i <= 6; ++i) {
            const QString was = i <= 3 ? rows[i - 1] : QString(), now = s.model.OutputMap[i];
            if (changes.contains(i))
                continue;
            QVERIFY2(now == was || (readBack && now.isEmpty()), qPrintable(now));
            QVERIFY2(was.isEmpty() || tally.contains(was), qPrintable(was));
        }
    }
};

QTEST_MAIN(TestEndToEnd)
#include "tst_endtoend.moc"
