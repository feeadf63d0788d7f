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
    Studio s{line, line.clock(), NoPause};
    bool started = false;
};

// A mapping each start holds, to be kept throughout.
const QString Kept = u"[1][4][2][1][1][0][0][0]"_s;

QStringList sorted(QStringList rows)
{
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
        QTest::addColumn<QString>("steps"); // out N, in N, in2 N, type N N..., click X
        QTest::addColumn<QString>("table"); // the tally system's table after them (at start: Kept)
        QTest::addColumn<int>("output");    // an output whose row is then checked
        QTest::addColumn<QString>("text");
        QTest::newRow("mouse") << u"out 3, in 5, click map"_s
                               << Kept + u" [1][3][2][5][1][0][0][0]"_s << 3 << u"Out 3\t 5\t\t"_s;
        QTest::newRow("keyboard") << u"type 3 0 120"_s
                                  << Kept +
                                         u" [1][1][2][3][1][0][0][0] [1][3][2][120][1][0][0][0]"_s
                                  << 3 << u"Out 3\t 120\t\t"_s;
        QTest::newRow("AND") << u"click boolean, out 2, in 5, in2 7, click and"_s
                             << Kept + u" [1][2][2][5][1][2][7][1]"_s << 2 << u"Out 2\t 5\t&\t 7"_s;
        QTest::newRow("OR") << u"click boolean, out 2, in 5, in2 7, click or"_s
                            << Kept + u" [1][2][2][5][1][2][7][2]"_s << 2 << u"Out 2\t 5\t||\t 7"_s;
    }
    void operate()
    {
        QFETCH(QString, steps);
        QFETCH(QString, table);
        QFETCH(int, output);
        QFETCH(QString, text);
        SimStudio r(Kept.toLatin1() + "\r\n");
        QVERIFY(r.started);
        const QHash<QString, Control> buttons{{u"map"_s, Control::cmdMapIt},
                                              {u"and"_s, Control::cmdBoolAnd},
                                              {u"or"_s, Control::cmdBoolOr},
                                              {u"boolean"_s, Control::Check3}};
        for (const QString &step : steps.split(u", "_s)) {
            const QStringList words = step.split(u' ');
            const int n = words[1].toInt();
            if (words[0] == u"out"_s)
                r.s.pick(Control::List1, n - 1);
            else if (words[0] == u"in"_s || words[0] == u"in2"_s)
                r.s.pick(words[0] == u"in"_s ? Control::list2 : Control::list3, n);
            else if (words[0] == u"click"_s)
                r.s.click(buttons.value(words[1]));
            for (const QString &number : words[0] == u"type"_s ? words.mid(1) : QStringList()) {
                QTest::keyClicks(r.s.window.entry(), number);
                QTest::keyClick(r.s.window.entry(), Qt::Key_Return);
            }
        }
        QVERIFY(r.s.boxes.isEmpty());
        const QStringList expected = table.split(u' ');
        QCOMPARE(r.sim.table(), expected);
        QCOMPARE(sorted(r.s.mapped()), sorted(expected));
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

        r.s.click(Control::cmdInit); // Clear All, answered with the box's default: Cancel
        QCOMPARE(r.s.mapped().size(), 3);
        r.s.answers = {MessageResult::Ok};
        r.s.click(Control::cmdInit);
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
        QTRY_VERIFY(r.sim.times(u"BITS 1"_s).size() >= 6); // the unit's bits asked for
        r.s.click(Control::Check1);
        QTest::mouseRelease(test, Qt::LeftButton);
        const UnitStatusWindow &unit = r.s.logic.unitStatusWindow();
        for (int k = 1; k <= 32; ++k)
            QCOMPARE(unit.isLampLit(k), k == 3);

        // Five times a second, measured generously from the tally system's log.
        const QList<QTime> times = r.sim.times(u"BITS 1"_s);
        const double period = times.first().msecsTo(times.last()) / double(times.size() - 1);
        QVERIFY2(period >= 100 && period <= 700, qPrintable(QString::number(period)));
    }
};

QTEST_MAIN(TestEndToEnd)
#include "tst_endtoend.moc"
