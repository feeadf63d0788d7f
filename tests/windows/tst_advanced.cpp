// The advanced window's logic on the scripted port: the "Advanced" box, raw commands typed by
// the operator and the receive monitor.

#include "events/AdvancedConsole.h"
#include "support/FakeSecondaryViews.h"
#include "support/LinkRig.h"

#include <QRegularExpression>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// The link rig with the advanced window on a fake. Every command is answered "OK" unless a test
// scripts otherwise.
struct AdvancedRig : LinkRig
{
    AdvancedRig()
    {
        model.Online = true;
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            return ScriptedPort::answer(c, "OK");
        };
    }
    void clickCheck2(bool ticked)
    {
        view.setChecked(Control::Check2, ticked);
        console.Check2_Click();
    }

    FakeAdvancedView advancedView;
    AdvancedConsole console{view, advancedView, channel};
};

// The monitor's text: the time of day, CR LF, then the raw reply.
const QRegularExpression MonitorTime(u"^\\d\\d:\\d\\d:\\d\\d\\r\\n"_s);

} // namespace

class TestAdvanced : public QObject
{
    Q_OBJECT
private slots:
    void check2Click_data()
    {
        QTest::addColumn<bool>("ticked");
        QTest::newRow("ticked") << true;
        QTest::newRow("unticked") << false;
    }
    void check2Click()
    {
        QFETCH(bool, ticked);
        AdvancedRig r;
        if (!ticked)
            r.clickCheck2(true);
        const int focusBefore = r.advancedView.commandLineFocus;
        r.view.setFocus(Control::txtInput);
        r.clickCheck2(ticked);
        QCOMPARE(r.view.windows.value(Window::frmVerbose), ticked);
        QCOMPARE(r.view.at(Control::Check2).fore, ticked ? Colours::Red : Colours::Black);
        QCOMPARE(r.advancedView.commandLineFocus, focusBefore + (ticked ? 1 : 0));
        if (!ticked)
            QCOMPARE(r.view.focus, Control::List1);
        QVERIFY(r.port.commands.isEmpty()); // opening and closing send nothing
    }

    void monitorShowsEveryExchange()
    {
        AdvancedRig r;
        r.clickCheck2(true);
        r.port.script("GSTAT 3", ScriptedPort::answer("GSTAT 3", "UNIT 3 ENABLED 2 LIT"));
        QCOMPARE(r.commands.GetStat(3), u"UNIT 3 ENABLED 2 LIT"_s);
        QCOMPARE(r.advancedView.monitorTexts.size(), 2);
        QCOMPARE(r.advancedView.monitorTexts[0], u""_s); // emptied first
        const QString first = r.advancedView.monitor();
        QVERIFY2(MonitorTime.match(first).hasMatch(), qPrintable(first));
        QCOMPARE(first.mid(10), u"GSTAT 3\r\nUNIT 3 ENABLED 2 LIT\r\n."_s);

        // The next exchange, from elsewhere again, replaces it.
        r.port.script("VER", ScriptedPort::bytes("VER\r\nKESTREL MAIN V2.14"));
        r.channel.SendCommand(u"VER"_s);
        QCOMPARE(r.advancedView.monitorTexts.size(), 4);
        QCOMPARE(r.advancedView.monitorTexts[2], u""_s);
        const QString second = r.advancedView.monitor();
        QVERIFY2(MonitorTime.match(second).hasMatch(), qPrintable(second));
        QCOMPARE(second.mid(10), u"VER\r\nKESTREL MAIN V2."_s); // up to the first "."
    }

    void monitorShowsTimeAloneOnSilence()
    {
        AdvancedRig r;
        r.clickCheck2(true);
        r.port.script("X", ScriptedPort::silence());
        r.channel.SendCommand(u"X"_s);
        QVERIFY(MonitorTime.match(r.advancedView.monitor()).hasMatch());
        QCOMPARE(r.advancedView.monitor().size(), 10);
    }

    void untickedNothingReachesMonitor_data()
    {
        QTest::addColumn<bool>("wasTicked");
        QTest::newRow("never ticked") << false;
        QTest::newRow("ticked, then unticked") << true;
    }
    void untickedNothingReachesMonitor()
    {
        QFETCH(bool, wasTicked);
        AdvancedRig r;
        if (wasTicked) {
            r.clickCheck2(true);
            r.channel.SendCommand(u"A"_s);
            QCOMPARE(r.advancedView.monitorTexts.size(), 2);
            r.clickCheck2(false);
        }
        const QStringList before = r.advancedView.monitorTexts;
        r.commands.GetStat(3);
        r.channel.SendCommand(u"B"_s);
        QCOMPARE(r.port.commands.size(), wasTicked ? 3 : 2);
        QCOMPARE(r.advancedView.monitorTexts, before);
    }

    void typedLineIsSentAsIs_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("command") << u"GSTAT 3"_s << QByteArray("GSTAT 3\r\n");
        QTest::newRow("blanks kept") << u"  Map 1 2 2 3  "_s << QByteArray("  Map 1 2 2 3  \r\n");
        QTest::newRow("any case") << u"bits 4"_s << QByteArray("bits 4\r\n");
        QTest::newRow("empty line") << u""_s << QByteArray("\r\n");
    }
    void typedLineIsSentAsIs()
    {
        QFETCH(QString, line);
        QFETCH(QByteArray, bytes);
        for (bool byEnter : {false, true}) {
            AdvancedRig r;
            r.clickCheck2(true);
            r.advancedView.command = line;
            if (byEnter)
                QVERIFY(r.console.txtDirectCommand_KeyPress(AdvancedConsole::EnterKey));
            else
                r.console.cmdDirectCommand_Click();
            QCOMPARE(r.port.writes, QList<QByteArray>{bytes});
            QCOMPARE(r.advancedView.monitor().mid(10), QString::fromLatin1(bytes) + u"OK\r\n."_s);
        }
    }

    void otherKeysSendNothing_data()
    {
        QTest::addColumn<int>("key");
        QTest::newRow("letter") << int('A');
        QTest::newRow("line feed") << 10;
        QTest::newRow("backspace") << 8;
    }
    void otherKeysSendNothing()
    {
        QFETCH(int, key);
        AdvancedRig r;
        r.advancedView.command = u"GSTAT 3"_s;
        QVERIFY(!r.console.txtDirectCommand_KeyPress(key));
        QVERIFY(r.port.written.isEmpty());
    }

    void sameLineAgain()
    {
        AdvancedRig r;
        r.clickCheck2(true);
        r.advancedView.command = u"BITS 2"_s;
        r.console.txtDirectCommand_KeyPress(AdvancedConsole::EnterKey);
        r.console.txtDirectCommand_KeyPress(AdvancedConsole::EnterKey);
        r.console.cmdDirectCommand_Click();
        QCOMPARE(r.port.commands, (QList<QByteArray>{"BITS 2", "BITS 2", "BITS 2"}));
    }

    void sendsWhileOffline()
    {
        // Going offline leaves the window open, and "send" keeps sending.
        AdvancedRig r;
        r.clickCheck2(true);
        r.model.Online = false;
        r.advancedView.command = u"VER"_s;
        r.console.cmdDirectCommand_Click();
        QCOMPARE(r.port.commands, QList<QByteArray>{"VER"});
    }

    void closeBoxUnticksAdvanced()
    {
        AdvancedRig r;
        r.clickCheck2(true);
        r.view.setFocus(Control::txtInput);
        r.console.Form_Unload();
        QVERIFY(!r.view.isChecked(Control::Check2));
        QCOMPARE(r.view.focus, Control::List1);
        QCOMPARE(r.view.at(Control::Check2).fore, Colours::Black);
        QCOMPARE(r.view.windows.value(Window::frmVerbose, true), false);
        const QStringList before = r.advancedView.monitorTexts;
        r.channel.SendCommand(u"A"_s);
        QCOMPARE(r.advancedView.monitorTexts, before);
    }

    void closeBoxWithBoxAlreadyClear()
    {
        // Nothing to untick, but the focus still goes back to the output list.
        AdvancedRig r;
        r.view.setFocus(Control::txtInput);
        r.view.at(Control::Check2).fore = Colours::Red;
        r.console.Form_Unload();
        QCOMPARE(r.view.focus, Control::List1);
        QCOMPARE(r.view.at(Control::Check2).fore, Colours::Red); // its handler did not run
    }

    void goneConsoleDetachesMonitor()
    {
        LinkRig rig;
        FakeAdvancedView advancedView;
        auto console = std::make_unique<AdvancedConsole>(rig.view, advancedView, rig.channel);
        rig.view.setChecked(Control::Check2, true);
        console->Check2_Click();
        rig.channel.SendCommand(u"A"_s);
        QCOMPARE(advancedView.monitorTexts.size(), 2);
        console.reset();
        rig.channel.SendCommand(u"A"_s);
        QCOMPARE(advancedView.monitorTexts.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestAdvanced)
#include "tst_advanced.moc"
