// The whole configurator against kestrel-sim on a pseudo-terminal: what the operator does with
// mouse and keyboard reaches the tally system's own table, what is saved loads back exactly,
// and what is read back is what the tally system holds.
#include "SimProcess.h"
#include "Studio.h"

#include "gui/UnitStatusWindow.h"

#include <QLineEdit>

using namespace Qt::StringLiterals;

namespace {

// The configurator started on kestrel-sim holding `rows`: 4 outputs, 120 inputs.
struct SimStudio
{
    explicit SimStudio(const QByteArray &rows)
    {
        started = sim.start({}, rows) &&
                  s.load(4, 120, "CommDevice=" + sim.link().toUtf8() + "\r\n") && s.model.Online;
    }
    SimProcess sim;
    SimLine line{1};
    Studio s{line, line.clock(), SimLine::pause()};
    bool started = false;
};

QStringList sorted(QStringList rows)
{
    rows.removeAll(u"[0][0][0][0][0][0][0][0]"_s); // a hole the tally system keeps until "Comp"
    rows.sort();
    return rows;
}

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT
private slots:
    void operate_data()
    {
        QTest::addColumn<QByteArray>("rows");   // the tally system's table at start
        QTest::addColumn<QStringList>("steps"); // out N, in N, in2 N, twice N, type N,.., click X
        QTest::addColumn<QStringList>("table"); // the tally system's table after them
        QTest::addColumn<int>("output");        // an output whose row is then checked
        QTest::addColumn<QString>("text");
        const QByteArray four = "[1][4][2][1][1][0][0][0]\r\n";
        const QString kept = u"[1][4][2][1][1][0][0][0]"_s;
        QTest::newRow("mouse") << four << QStringList{u"out 3"_s, u"in 5"_s, u"click map"_s}
                               << QStringList{kept, u"[1][3][2][5][1][0][0][0]"_s} << 3
                               << u"Out 3\t 5\t\t"_s;
        QTest::newRow("double click")
            << four << QStringList{u"out 2"_s, u"twice 7"_s}
            << QStringList{kept, u"[1][2][2][7][1][0][0][0]"_s} << 2 << u"Out 2\t 7\t\t"_s;
        QTest::newRow("keyboard") << four << QStringList{u"type 3,0,120"_s}
                                  << QStringList{kept, u"[1][1][2][3][1][0][0][0]"_s,
                                                 u"[1][3][2][120][1][0][0][0]"_s}
                                  << 3 << u"Out 3\t 120\t\t"_s;
        QTest::newRow("AND") << four
                             << QStringList{u"click boolean"_s, u"out 2"_s, u"in 5"_s, u"in2 7"_s,
                                            u"click and"_s}
                             << QStringList{kept, u"[1][2][2][5][1][2][7][1]"_s} << 2
                             << u"Out 2\t 5\t&\t 7"_s;
        QTest::newRow("OR") << four
                            << QStringList{u"click boolean"_s, u"out 2"_s, u"in 5"_s, u"in2 7"_s,
                                           u"click or"_s}
                            << QStringList{kept, u"[1][2][2][5][1][2][7][2]"_s} << 2
                            << u"Out 2\t 5\t||\t 7"_s;
        // The hole ends a read-back: here it is the last row.
        QTest::newRow("unmap") << four + "[1][2][2][2][1][0][0][0]\r\n"
                               << QStringList{u"out 2"_s, u"in 0"_s, u"click map"_s}
                               << QStringList{kept, u"[0][0][0][0][0][0][0][0]"_s} << 2
                               << u"Out 2\t\t\t"_s;
    }
    void operate()
    {
        QFETCH(QByteArray, rows);
        QFETCH(QStringList, steps);
        QFETCH(QStringList, table);
        QFETCH(int, output);
        QFETCH(QString, text);
        SimStudio r(rows);
        QVERIFY(r.started);
        const QHash<QString, Control> buttons{{u"map"_s, Control::cmdMapIt},
                                              {u"and"_s, Control::cmdBoolAnd},
                                              {u"or"_s, Control::cmdBoolOr},
                                              {u"boolean"_s, Control::Check3}};
        for (const QString &step : steps) {
            const QString verb = step.section(u' ', 0, 0);
            const QString what = step.section(u' ', 1);
            if (verb == u"out"_s)
                r.s.pick(Control::List1, what.toInt() - 1);
            else if (verb == u"in"_s || verb == u"twice"_s)
                r.s.pick(Control::list2, what.toInt(), verb == u"twice"_s);
            else if (verb == u"in2"_s)
                r.s.pick(Control::list3, what.toInt());
            else if (verb == u"click"_s)
                r.s.click(buttons.value(what));
            for (const QString &number : verb == u"type"_s ? what.split(u',') : QStringList()) {
                QTest::keyClicks(r.s.window.entry(), number);
                QTest::keyClick(r.s.window.entry(), Qt::Key_Return);
            }
        }
        QVERIFY(r.s.boxes.isEmpty());
        QCOMPARE(r.sim.table(), table);
        QCOMPARE(sorted(r.s.mapped()), sorted(table));
        // What a read-back brings is what the tally system holds, and the list shows it.
        r.s.click(Control::cmdRefresh);
        QCOMPARE(sorted(r.s.mapped()), sorted(r.sim.table()));
        QCOMPARE(r.s.window.rowText(Control::List1, output - 1), text);
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
        QFile saved(path);
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), rows);

        r.s.answers = {MessageResult::Ok};
        r.s.click(Control::cmdInit); // Clear All
        QVERIFY(r.sim.table().isEmpty());
        QVERIFY(r.s.mapped().isEmpty());

        r.s.files = {path};
        r.s.click(Control::cmdLoadMatrix);
        QCOMPARE(r.sim.table(), QString::fromLatin1(rows).split(u"\r\n"_s, Qt::SkipEmptyParts));
        QCOMPARE(sorted(r.s.mapped()), sorted(r.sim.table()));
        QCOMPARE(r.s.window.text(Control::lblFileName), u"saved.qvr"_s);
    }

    void statusPollFollowsTheTallySystem()
    {
        SimStudio r({});
        QVERIFY(r.started);
        QWidget *test = r.s.window.control(Control::cmdTest);
        r.s.pick(Control::List1, 2);
        QTest::mousePress(test, Qt::LeftButton); // output 3 lit: unit 1 channel 3
        r.s.click(Control::Check1);
        QTRY_VERIFY(r.sim.commands().count(u"BITS 1"_s) >= 6);
        r.s.click(Control::Check1);
        QTest::mouseRelease(test, Qt::LeftButton);
        const UnitStatusWindow &unit = r.s.logic.unitStatusWindow();
        for (int k = 1; k <= 32; ++k)
            QCOMPARE(unit.isLampLit(k), k == 3);

        // Five times a second, measured generously from the tally system's log.
        QList<QTime> polls;
        for (const auto &[time, command] : r.sim.log()) {
            if (command == u"BITS 1"_s)
                polls << time;
        }
        const double period = polls.first().msecsTo(polls.last()) / double(polls.size() - 1);
        QVERIFY2(period >= 100 && period <= 700, qPrintable(QString::number(period)));
    }
};

QTEST_MAIN(TestEndToEnd)
#include "tst_endtoend.moc"
