// The unit status window's logic on the scripted port: the poll, the lamps, the spin control
// and the window's life between "Unit Status", "Close Window" and its close box.

#include "events/UnitStatus.h"
#include "support/FakeSecondaryViews.h"
#include "support/LinkRig.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray bitsWith(std::initializer_list<int> lit, int length = 32)
{
    QByteArray bits(length, '0');
    for (int k : lit)
        bits[k - 1] = '1';
    return bits;
}

// The link rig with the unit status window on a fake, online, with the enabled units 2, 5,
// 7, 9. Every command is answered as the tally system would unless a test scripts otherwise:
// "BITS" with all bits clear, "GSTAT n" with "UNIT n OK".
struct StatusRig : LinkRig
{
    StatusRig()
    {
        model.Online = true;
        setEnabledUnits({2, 5, 7, 9});
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            if (c.startsWith("BITS"))
                return ScriptedPort::answer(c, bitsWith({}));
            if (c.startsWith("GSTAT"))
                return ScriptedPort::answer(c, "UNIT" + c.mid(5) + " OK");
            return ScriptedPort::answer(c, "OK");
        };
    }
    void setEnabledUnits(std::initializer_list<qint16> units)
    {
        model.EnabledUnitCount = 0;
        for (qint16 u : units)
            model.EnabledUnitList[++model.EnabledUnitCount] = u;
    }
    // The operator ticks or unticks "Unit Status".
    void clickCheck1(bool ticked)
    {
        view.setChecked(Control::Check1, ticked);
        status.Check1_Click();
    }
    QStringList sent() const
    {
        QStringList out;
        for (const QByteArray &c : port.commands)
            out << QString::fromLatin1(c);
        return out;
    }
    void forgetSent()
    {
        port.commands.clear();
        port.writes.clear();
        port.written.clear();
    }

    FakeUnitStatusView unitView;
    UnitStatus status{model, view, unitView, channel, commands};
};

} // namespace

class TestUnitStatus : public QObject
{
    Q_OBJECT
private slots:
    void parseGetBits_data()
    {
        QTest::addColumn<QString>("response");
        QTest::addColumn<QString>("bits");
        QTest::newRow("empty") << u""_s << u""_s;
        QTest::newRow("bits only") << u"0110"_s << u"0110"_s;
        QTest::newRow("blanks and tabs dropped") << u"1 0\t1"_s << u"101"_s;
        QTest::newRow("letters dropped") << u"a1b0c"_s << u"10"_s;
        QTest::newRow("other digits dropped") << u"2345"_s << u""_s;
        QTest::newRow("a 1 and 0 of a number are kept") << u"UNIT 10: 11"_s << u"1011"_s;
        QTest::newRow("32 bits") << QString::fromLatin1(bitsWith({1, 32}))
                                 << QString::fromLatin1(bitsWith({1, 32}));
    }
    void parseGetBits()
    {
        QFETCH(QString, response);
        QFETCH(QString, bits);
        QCOMPARE(UnitStatus::ParseGetBits(response), bits);
    }

    void getBitsKeepsReplyLineAndBits()
    {
        StatusRig r;
        r.port.script("BITS 4", ScriptedPort::answer("BITS 4", "B: " + bitsWith({3})));
        r.status.GetBits(4);
        QCOMPARE(r.sent(), QStringList{u"BITS 4"_s});
        QCOMPARE(r.model.Response, u"B: "_s + QString::fromLatin1(bitsWith({3})));
        QCOMPARE(r.model.UnitBits, QString::fromLatin1(bitsWith({3})));
    }

    void pollSendsBitsThenStat_data()
    {
        QTest::addColumn<QString>("watched");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("status");
        QTest::newRow("unit 3") << u"3"_s << QByteArray("BITS 3\r\nGSTAT 3\r\n") << u"UNIT 3 OK"_s;
        QTest::newRow("unit 10") << u"10"_s << QByteArray("BITS 10\r\nGSTAT 10\r\n")
                                 << u"UNIT 10 OK"_s;
        QTest::newRow("read as a number")
            << u" 7 "_s << QByteArray("BITS 7\r\nGSTAT 7\r\n") << u"UNIT 7 OK"_s;
        QTest::newRow("no number reads 0")
            << u""_s << QByteArray("BITS 0\r\nGSTAT 0\r\n") << u"UNIT 0 OK"_s;
    }
    void pollSendsBitsThenStat()
    {
        QFETCH(QString, watched);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, status);
        StatusRig r;
        r.clickCheck1(true); // no event loop runs here, so only the call below polls
        r.unitView.watchUnit = watched;
        r.forgetSent();
        r.status.tmrInputStatus_Timer();
        QCOMPARE(r.port.written, bytes);
        QCOMPARE(r.port.writes.size(), 2);
        QCOMPARE(r.unitView.status, status);
        r.clickCheck1(false);
    }

    void timerPollsWhileTicked()
    {
        StatusRig r;
        r.clickCheck1(true);
        QCOMPARE(r.status.tmrInputStatus().interval(), 200);
        QVERIFY(r.status.tmrInputStatus().isActive());
        // The load asks for unit 1's status, then each tick asks for bits and status.
        QTRY_VERIFY(r.port.commands.size() >= 5);
        r.clickCheck1(false);
        QVERIFY(!r.status.tmrInputStatus().isActive());
        const QStringList sent = r.sent();
        QCOMPARE(sent.first(), u"GSTAT 1"_s);
        QCOMPARE(sent.size() % 2, 1); // whole polls only
        for (qsizetype i = 1; i < sent.size(); i += 2) {
            QCOMPARE(sent[i], u"BITS 1"_s);
            QCOMPARE(sent[i + 1], u"GSTAT 1"_s);
        }
        QTest::qWait(450);
        QCOMPARE(r.sent(), sent); // unticked: no more polls
    }

    void lamps_data()
    {
        QTest::addColumn<QByteArray>("reply"); // raw bytes after "BITS 3"; empty: silence
        QTest::addColumn<bool>("painted");
        QTest::addColumn<QList<int>>("lit");
        QTest::addColumn<QString>("unitBits");
        const QList<int> before{2, 3, 4, 5, 31};
        const QByteArray firstLast = bitsWith({1, 32});
        QTest::newRow("32 bits, first and last")
            << QByteArray("BITS 3\r\n" + firstLast + "\r\n.") << true << QList<int>{1, 32}
            << QString::fromLatin1(firstLast);
        QTest::newRow("32 bits, none") << QByteArray("BITS 3\r\n" + bitsWith({}) + "\r\n.") << true
                                       << QList<int>{} << QString::fromLatin1(bitsWith({}));
        QTest::newRow("32 bits among other text")
            << QByteArray("BITS 3\r\nBITS: " + bitsWith({7}) + " ok\r\n.") << true << QList<int>{7}
            << QString::fromLatin1(bitsWith({7}));
        QTest::newRow("32 bits, the reply cut off after the line")
            << QByteArray("BITS 3\r\n" + firstLast + "\r\n") << true << QList<int>{1, 32}
            << QString::fromLatin1(firstLast);
        QTest::newRow("31 bits") << QByteArray("BITS 3\r\n" + bitsWith({1}, 31) + "\r\n.") << false
                                 << before << QString::fromLatin1(bitsWith({1}, 31));
        QTest::newRow("32 bits and a trailing 1")
            << QByteArray("BITS 3\r\n" + firstLast + "1\r\n.") << false << before
            << QString::fromLatin1(firstLast + "1");
        QTest::newRow("32 bits and a unit number 10")
            << QByteArray("BITS 3\r\nU10 " + firstLast + "\r\n.") << false << before
            << QString::fromLatin1("10" + firstLast);
        QTest::newRow("empty line") << QByteArray("BITS 3\r\n\r\n.") << false << before << u""_s;
        QTest::newRow("no line at all") << QByteArray("BITS 3.") << false << before << u""_s;
        QTest::newRow("time-out") << QByteArray() << false << before << u""_s;
    }
    void lamps()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, painted);
        QFETCH(QList<int>, lit);
        QFETCH(QString, unitBits);
        StatusRig r;
        for (int k : {2, 3, 4, 5, 31})
            r.unitView.lamps[k] = true;
        r.unitView.watchUnit = u"3"_s;
        r.port.script("BITS 3",
                      reply.isEmpty() ? ScriptedPort::silence() : ScriptedPort::bytes(reply));
        r.status.UpdateBitStatus();
        QCOMPARE(r.sent(), QStringList{u"BITS 3"_s});
        QCOMPARE(r.model.UnitBits, unitBits);
        QCOMPARE(r.unitView.litLamps(), lit);
        QCOMPARE(r.unitView.lampWrites, painted ? 32 : 0);
    }

    void noStatusReplyEmptiesStatus()
    {
        StatusRig r;
        r.unitView.watchUnit = u"3"_s;
        r.unitView.status = u"UNIT 3 OK"_s;
        r.port.script("GSTAT 3", ScriptedPort::silence());
        r.status.tmrInputStatus_Timer();
        QCOMPARE(r.sent(), (QStringList{u"BITS 3"_s, u"GSTAT 3"_s}));
        QCOMPARE(r.unitView.status, u""_s);
        QCOMPARE(r.view.text(Control::lblError), u"Comm Error!"_s);
    }

    void pollNeverOverlaps()
    {
        StatusRig r;
        r.clickCheck1(true);
        r.unitView.watchUnit = u"3"_s;
        r.forgetSent();
        int ticks = 0;
        QObject::connect(&r.status.tmrInputStatus(), &QTimer::timeout, [&] { ++ticks; });
        // The first "BITS" lets events run in the middle of its exchange, long enough for the
        // poll timer to come due, as a message box or an event loop inside an exchange would.
        bool first = true;
        r.port.onCommand = [&](const QByteArray &c) {
            if (first && c.startsWith("BITS")) {
                first = false;
                QTest::qWait(450);
            }
        };
        r.status.tmrInputStatus_Timer();
        QVERIFY2(ticks >= 1, "the timer did not come due during the exchange");
        QCOMPARE(r.sent(), (QStringList{u"BITS 3"_s, u"GSTAT 3"_s}));
        QVERIFY(!r.status.isPolling());
        // Once the poll is over, the next tick polls again.
        QTRY_VERIFY(r.port.commands.size() >= 4);
        r.clickCheck1(false);
        QCOMPARE(r.sent().mid(2, 2), (QStringList{u"BITS 3"_s, u"GSTAT 3"_s}));
    }

    void check1Click_data()
    {
        QTest::addColumn<bool>("ticked");
        QTest::newRow("ticked") << true;
        QTest::newRow("unticked") << false;
    }
    void check1Click()
    {
        QFETCH(bool, ticked);
        StatusRig r;
        if (!ticked)
            r.clickCheck1(true);
        r.forgetSent();
        r.view.setFocus(Control::txtInput);
        r.clickCheck1(ticked);
        QCOMPARE(r.status.tmrInputStatus().isActive(), ticked);
        QCOMPARE(r.view.windows.value(Window::frmUnitBits), ticked);
        QCOMPARE(r.view.focus, Control::List1);
        QCOMPARE(r.view.at(Control::Check1).fore, ticked ? Colours::Red : Colours::Black);
        // Nothing is sent on unticking; ticking the first time loads the window.
        QCOMPARE(r.sent(), ticked ? QStringList{u"GSTAT 1"_s} : QStringList());
        r.clickCheck1(false);
    }

    void firstTickLoadsWindow()
    {
        StatusRig r;
        r.unitView.lightAll(true);
        r.unitView.spin = 4;
        r.clickCheck1(true);
        QVERIFY(r.status.isLoaded());
        QCOMPARE(r.unitView.placements, QList<QPoint>{QPoint(8500, 450)});
        QCOMPARE(r.unitView.spinMinimum, 1);
        QCOMPARE(r.unitView.spinMaximum, 4);
        QCOMPARE(r.unitView.spin, 1);
        QCOMPARE(r.unitView.watchUnit, u"1"_s); // unit 1, not the first enabled unit
        QCOMPARE(r.unitView.litLamps(), QList<int>{});
        QCOMPARE(r.sent(), QStringList{u"GSTAT 1"_s});
        QCOMPARE(r.unitView.status, u"UNIT 1 OK"_s);
        r.clickCheck1(false);
    }

    void spinStepsThroughEnabledUnits_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<QString>("unit");
        QTest::newRow("first") << 1 << u"2"_s;
        QTest::newRow("third") << 3 << u"7"_s;
        QTest::newRow("last") << 4 << u"9"_s;
    }
    void spinStepsThroughEnabledUnits()
    {
        QFETCH(int, value);
        QFETCH(QString, unit);
        StatusRig r;
        r.clickCheck1(true);
        r.forgetSent();
        r.view.setFocus(Control::txtInput);
        r.unitView.spin = value;
        r.status.UpDown1_Change();
        QCOMPARE(r.unitView.watchUnit, unit);
        QCOMPARE(r.status.watchedUnit(), unit.toShort());
        QCOMPARE(r.sent(), QStringList{u"GSTAT "_s + unit});
        QCOMPARE(r.unitView.status, u"UNIT "_s + unit + u" OK"_s);
        QCOMPARE(r.view.focus, Control::List1);
        r.forgetSent();
        r.status.tmrInputStatus_Timer();
        QCOMPARE(r.sent(), (QStringList{u"BITS "_s + unit, u"GSTAT "_s + unit}));
        r.clickCheck1(false);
    }

    void spinReadsOnlyListedUnits_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("maximum");
        QTest::addColumn<QString>("unit");
        // Entries past the count hold 42 here: reading one would show it.
        QTest::newRow("no units, value 1") << 0 << 1 << 1 << u"1"_s;
        QTest::newRow("no units, value 0") << 0 << 0 << 1 << u"1"_s;
        QTest::newRow("no units, value -1") << 0 << -1 << 1 << u"1"_s;
        QTest::newRow("two units, value 3") << 2 << 3 << 2 << u"1"_s;
        QTest::newRow("two units, value 2") << 2 << 2 << 2 << u"11"_s;
        QTest::newRow("count past the table, value 50") << 60 << 50 << 50 << u"42"_s;
        QTest::newRow("count past the table, value 51") << 60 << 51 << 50 << u"1"_s;
        QTest::newRow("negative count") << -3 << 1 << 1 << u"1"_s;
    }
    void spinReadsOnlyListedUnits()
    {
        QFETCH(int, count);
        QFETCH(int, value);
        QFETCH(int, maximum);
        QFETCH(QString, unit);
        StatusRig r;
        r.model.EnabledUnitList.fill(42);
        r.model.EnabledUnitList[1] = 10;
        r.model.EnabledUnitList[2] = 11;
        r.model.EnabledUnitCount = static_cast<qint16>(count);
        r.clickCheck1(true);
        QCOMPARE(r.unitView.spinMinimum, 1);
        QCOMPARE(r.unitView.spinMaximum, maximum);
        QCOMPARE(r.unitView.spin, 1);
        r.forgetSent();
        r.unitView.spin = value;
        r.status.UpDown1_Change();
        QCOMPARE(r.unitView.watchUnit, unit);
        QCOMPARE(r.sent(), QStringList{u"GSTAT "_s + unit});
        r.clickCheck1(false);
    }

    void closeWindowStopsPollAndUnticks()
    {
        StatusRig r;
        r.clickCheck1(true);
        r.view.setFocus(Control::txtInput);
        r.status.cmdClose_Click();
        QVERIFY(!r.status.tmrInputStatus().isActive());
        QVERIFY(!r.view.isChecked(Control::Check1));
        QCOMPARE(r.view.at(Control::Check1).fore, Colours::Black);
        QCOMPARE(r.view.windows.value(Window::frmUnitBits, true), false);
        QCOMPARE(r.view.focus, Control::List1);
        QVERIFY(r.status.isLoaded()); // hidden, not unloaded
        const QStringList sent = r.sent();
        QTest::qWait(450);
        QCOMPARE(r.sent(), sent);
    }

    void reshowAfterCloseWindowKeepsPlaceAndUnit()
    {
        StatusRig r;
        r.clickCheck1(true);
        r.unitView.spin = 3;
        r.status.UpDown1_Change();
        r.status.cmdClose_Click();
        r.forgetSent();
        r.clickCheck1(true);
        QCOMPARE(r.unitView.placements.size(), 1); // not placed again
        QCOMPARE(r.unitView.spin, 3);
        QCOMPARE(r.unitView.watchUnit, u"7"_s);
        QVERIFY(r.sent().isEmpty()); // no load, so no status query
        QVERIFY(r.status.tmrInputStatus().isActive());
        QTRY_VERIFY(r.port.commands.size() >= 2);
        r.clickCheck1(false);
        QCOMPARE(r.sent().mid(0, 2), (QStringList{u"BITS 7"_s, u"GSTAT 7"_s}));
    }

    void closeBoxThenTickLoadsAfresh()
    {
        StatusRig r;
        r.clickCheck1(true);
        r.unitView.spin = 3;
        r.status.UpDown1_Change();
        r.port.script("BITS 7", ScriptedPort::answer("BITS 7", bitsWith({4})));
        r.status.UpdateBitStatus();
        QCOMPARE(r.unitView.litLamps(), QList<int>{4});

        r.status.Form_Unload();
        QVERIFY(!r.view.isChecked(Control::Check1));
        QCOMPARE(r.view.at(Control::Check1).fore, Colours::Black);
        QCOMPARE(r.view.windows.value(Window::frmUnitBits, true), false);
        QVERIFY(!r.status.tmrInputStatus().isActive());
        QVERIFY(!r.status.isLoaded());

        r.forgetSent();
        r.clickCheck1(true);
        QCOMPARE(r.unitView.placements,
                 (QList<QPoint>{QPoint(8500, 450), QPoint(8500, 450)})); // placed anew
        QCOMPARE(r.unitView.spin, 1);
        QCOMPARE(r.unitView.watchUnit, u"1"_s);
        QCOMPARE(r.unitView.litLamps(), QList<int>{});
        QCOMPARE(r.sent(), QStringList{u"GSTAT 1"_s});
        r.clickCheck1(false);
    }

    void closeBoxWithBoxAlreadyClear()
    {
        // Should "Unit Status" already be clear, the close box still stops the poll, and the
        // box's handler does not run for a change that did not happen.
        StatusRig r;
        r.clickCheck1(true);
        r.view.setChecked(Control::Check1, false);
        r.view.at(Control::Check1).fore = Colours::Red;
        r.status.Form_Unload();
        QVERIFY(!r.status.tmrInputStatus().isActive());
        QVERIFY(!r.status.isLoaded());
        QCOMPARE(r.view.at(Control::Check1).fore, Colours::Red); // its handler did not run
    }
};

QTEST_GUILESS_MAIN(TestUnitStatus)
#include "tst_unitstatus.moc"
