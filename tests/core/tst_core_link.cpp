// The device link on the scripted port: framing and deadline, every command's bytes, going
// online, and the two windows that talk to the tally system on their own (unit status, advanced).

#include "Rows.h"
#include "support/LinkRig.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Act = std::function<void(LinkRig &)>;
Q_DECLARE_METATYPE(Act)

class TestLink : public QObject
{
    Q_OBJECT
private slots:
    void exchange_data()
    {
        // bytes at once | more bytes | µs after the command | IBuffer | reply line | time-out
        addRows({
            "R\r\nMAINV2\r\n. |  | 0 | R\r\nMAINV2\r\n. | MAINV2 | 0",
            "R\r\nMAINV1.23\r\n. |  | 0 | R\r\nMAINV1. |  | 0",
            "OK\r. |  | 0 | OK\r. | OK | 0",
            "R\r\nMAIN. |  | 0 | R\r\nMAIN. |  | 0",
            "R\r\n\r\n. |  | 0 | R\r\n\r\n. |  | 0",
            "x\ry\nb\r\nc\r. |  | 0 | x\ry\nb\r\nc\r. | b | 0",
            "silence |  | 0 |  |  | 1",
            "R\r\nMAIN\r\n |  | 0 | R\r\nMAIN\r\n | MAIN | 1",
            "all at 1.999 s | R\r\nOK\r\n. | 1999000 | R\r\nOK\r\n. | OK | 0",
            "R\r\nOK\r\n | . | 2000000 | R\r\nOK\r\n. | OK | 0",
            "R\r\nOK\r\n | . | 2000500 | R\r\nOK\r\n. | OK | 1",
            "R\r\nOK\r\n | . | 2100000 | R\r\nOK\r\n | OK | 1",
            "all at 2.5 s | R\r\nOK\r\n. | 2500000 |  |  | 1",
        });
    }
    void exchange()
    {
        QFETCH(QStringList, f);
        const bool late = f[5] == u"1"_s, named = f[0].startsWith(u"all"_s) || f[0] == u"silence"_s;
        const auto at = std::chrono::microseconds(f[2].toInt());
        LinkRig r;
        r.port.script("R", {{0s, named ? "" : f[0].toLatin1()}, {at, f[1].toLatin1()}});
        const auto start = r.port.now;
        QCOMPARE(r.channel.SendCommand(u"R"_s), !f[3].isEmpty());
        const auto took = r.port.now - start;
        QCOMPARE(r.model.IBuffer + u'|' + r.model.Response + u'|' + r.view.text(Control::lblError),
                 f[3] + u'|' + f[4] + u'|' + (late ? u"Comm Error!"_s : u""_s));
        QCOMPARE(r.view.beeps, int(late));
        QVERIFY(late ? took > 2s && took <= 2002ms : took == at);
        // What came after the "." or after the wait gave up is flushed by the next command.
        r.port.now += 1s;
        QVERIFY(r.channel.SendCommand(u"B"_s));
        QCOMPARE(r.model.IBuffer + r.view.text(Control::lblError), u"B\r\nOK\r\n."_s);
    }

    // The deadline runs from the start of the wait, not from the last byte.
    void trickle()
    {
        LinkRig r;
        r.port.script("R", {{1500ms, "R\r\nOK\r\n"}, {2100ms, "."}});
        QVERIFY(r.channel.SendCommand(u"R"_s));
        QCOMPARE(r.view.text(Control::lblError), u"Comm Error!"_s);
    }

    // Every command the configurator sends, exactly as it goes on the wire (online).
    void wire_data()
    {
        QTest::addColumn<Act>("act");
        const auto wire = [](const char *bytes, Act act) { QTest::newRow(bytes) << act; };
        wire("\r\n\rVER\r\n\r\n\r\nVER\r\n\r\n\r\n", [](LinkRig &r) { r.connection.GoOnline(); });
        wire("Init\r\n", [](LinkRig &r) { r.commands.SystemInit(); });
        wire("Refresh\r\n", [](LinkRig &r) { r.commands.SystemRefresh(); });
        wire("Uenable  0\r\n", [](LinkRig &r) { r.commands.EnableUnit(0); });
        wire("Uenable  120\r\n", [](LinkRig &r) { r.commands.EnableUnit(120); });
        wire("Uenable -1\r\n", [](LinkRig &r) { r.commands.EnableUnit(-1); });
        wire("Res 2  16\r\n", [](LinkRig &r) { r.commands.ResetOutput(2, 16); });
        wire("ClrMap-3  32767\r\n", [](LinkRig &r) { r.commands.ClearMapping(-3, 32767); });
        wire("GSTAT 10\r\n", [](LinkRig &r) { r.commands.GetStat(10); });
        wire("BITS 4\r\n", [](LinkRig &r) { r.status.GetBits(4); });
        wire("GetMap 3  12\r\n", [](LinkRig &r) { r.readBack.GetMapping(3, 12); });
        wire("RawMap 5\r\n", [](LinkRig &r) { r.readBack.GetRawMapping(5); });
        wire("Comp\r\n", [](LinkRig &r) { r.readBack.MapTableCompress(); });
        wire("Map 2 5 1 13\r\n", [](LinkRig &r) { r.mapping.SetMapping(2, 5, 1, 13); });
        wire("AND 2 5 4 7\r\n", [](LinkRig &r) { r.mapping.SetBoolMapping(2, 5, 1, 3, 4, 7, 1); });
        wire("OR 2 5 0 0\r\n", [](LinkRig &r) { r.mapping.SetBoolMapping(2, 5, 1, 3, 0, 0, 2); });
        wire("Res 2  5\r\nClrMap 2  5\r\n", [](LinkRig &r) { r.mapping.SetMapping(2, 5, 0, 9); });
        wire("GetMap 1  3\r\nmapdisab 1  3\r\nSet 1  3\r\nRes 1  3\r\nMapEnab 1  3\r\n",
             [](LinkRig &r) { r.select(2), r.test.TestOn(3), r.test.TestOff(3); });
        wire(" bits 1  2\r\n", [](LinkRig &r) {
            r.advancedView.command = u" bits 1  2"_s, r.console.cmdDirectCommand_Click();
        });
        wire("\r\n", [](LinkRig &r) { r.console.txtDirectCommand_KeyPress(13); });
        wire("BITS 10\r\nGSTAT 10\r\n",
             [](LinkRig &r) { r.unitView.watchUnit = u" 10 "_s, r.status.tmrInputStatus_Timer(); });
        wire("Refresh\r\nRawMap 1\r\n", [](LinkRig &r) { r.readBack.cmdRefresh_Click(); });
        wire("Init\r\nUenable  3\r\nUenable  1\r\nUenable  2\r\n", [](LinkRig &r) {
            r.model.EnabledUnitCount = 3, r.model.EnabledUnitList = {99, 3, 1, 2, 77};
            r.view.answers = {MessageResult::Ok}, r.clearAll.ResetAndClearAll();
        });
    }
    void wire()
    {
        QFETCH(Act, act);
        LinkRig r;
        r.model.Online = true;
        act(r);
        QCOMPARE(r.port.written, QByteArray(QTest::currentDataTag()));
    }

    void goOnline_data()
    {
        // answers to the retry question | unanswered attempts | sent | message boxes | InfoString
        addRows({
            "answered |  | 0 | |\rVER|||VER|| |  | MAINV3\r\n   V 7. 4   Studio A   Com 1",
            "Yes, answered | Y | 1 | |\rVER||\rVER|||VER|| | R | MAINV3\r\n   V 7. 4   Studio A   "
            "Com 1",
            "Yes, Yes, No | YYN | 9 | |\rVER||\rVER||\rVER | RRRCommunication Error|Going To "
            "Offline "
            "Mode|Ok - Ok | before   V 7. 4   Studio A   Com 1",
        });
    }
    void goOnline()
    {
        QFETCH(QStringList, f);
        LinkRig r;
        r.model.MainCPUVersion = u"before"_s;
        for (int k = 0; k < f[2].toInt(); ++k)
            r.port.script("", {}), r.port.script("\rVER", {});
        for (QChar a : f[1])
            r.view.answers.push_back(a == u'Y' ? MessageResult::Yes : MessageResult::No);
        const auto start = r.port.now;
        const bool online = r.connection.GoOnline();
        QString boxes;
        for (const FakeView::Box &b : r.view.boxes)
            boxes += b.str();
        const QString retry = u"Communication Error|No Communications to Tally system\r\nDo you "
                              u"want to retry?|YesNo - Yes"_s;
        QCOMPARE(r.sent() + u" | "_s + boxes.replace(retry, u"R"_s) + u" | "_s + r.model.InfoString,
                 f.mid(3).join(u" | "_s));
        QCOMPARE(r.view.at(Control::lblMainVersionInfo).toolTip, r.model.InfoString);
        QCOMPARE(online, !f[1].endsWith(u'N'));
        QCOMPARE(r.model.Online, online);
        QCOMPARE(r.view.text(Control::cmdOnline), online ? u"Online"_s : u"OFFLINE"_s);
        QCOMPARE(r.view.at(Control::cmdOnline).back, online ? Colours::Green : Colours::LightRed);
        for (Control c : {Control::cmdTest, Control::chkTest, Control::cmdRefresh, Control::Check1,
                          Control::Check2})
            QCOMPARE(r.view.isEnabled(c), online);
        QCOMPARE(r.view.text(Control::lblError), u""_s);
        // Each unanswered attempt costs two time-outs; a pause of 0.1 s before the version query.
        QCOMPARE((r.port.now - start) / 100ms, 40 * f[1].size() + online);
    }

    void onlineButton()
    {
        LinkRig r;
        r.connection.cmdOnline_Click();
        QCOMPARE(r.view.boxes.value(0).str(),
                 u"Information!|You have chosen to go Online\r\nMappings displayed may not agree "
                 u"with current Tally System Mappings|Ok - Ok"_s);
        QCOMPARE(r.sent(), u"|\rVER|||VER||"_s); // no read-back
        r.connection.cmdOnline_Click();
        QVERIFY(!r.model.Online);
        QCOMPARE(r.view.boxes.size() * 100 + r.port.commands.size(), 107);
    }

    void getVersion_data()
    {
        // reply to "VER" | MainCPUVersion
        addRows({
            "VER\r\nMAINV2.14\r\n. | MAINV2",
            "MAIN. | MAIN",
            "MAIN | MAINV0",
            "xMAINV31 | MAINV3",
            "VER\r\nmainV3\r\n. | MAINV0",
            " | MAINV0",
        });
    }
    void getVersion()
    {
        QFETCH(QStringList, f);
        LinkRig r;
        r.port.script("VER", ScriptedPort::bytes(f[0].toLatin1()));
        r.connection.GetVersion();
        QCOMPARE(r.model.MainCPUVersion, f[1]);
        QCOMPARE(r.sent(), f[1] == u"MAINV0"_s ? u"||VER"_s : u"||VER||"_s);
    }

    void lamps_data()
    {
        // reply line to "BITS 3" (0: 31 zeros) | lamps lit after the poll; lamps 2, 31 were lit
        addRows({
            "10000000000000000000000000000001 | 1 32",
            "BITS: 00000010000000000000000000000000 ok | 7",
            "0000000000000000000000000000001 | 2 31",
            "100000000000000000000000000000011 | 2 31",
            "U10 10000000000000000000000000000001 | 2 31",
            " | 2 31",
        });
    }
    void lamps()
    {
        QFETCH(QStringList, f);
        LinkRig r;
        r.unitView.lamps[2] = r.unitView.lamps[31] = true;
        r.unitView.watchUnit = u"3"_s;
        r.port.script("BITS 3", f[0].isEmpty() ? ScriptedPort::silence()
                                               : ScriptedPort::answer("BITS 3", f[0].toLatin1()));
        r.port.script("GSTAT 3", ScriptedPort::silence());
        r.status.tmrInputStatus_Timer();
        QString lit;
        for (int k : r.unitView.litLamps())
            lit += QString::number(k) + u' ';
        QCOMPARE(lit + r.unitView.status, f[1] + u' ');
    }

    void unitStatusWindow()
    {
        LinkRig r;
        r.model.EnabledUnitCount = 4;
        r.model.EnabledUnitList = {0, 2, 5, 7, 9, 42};
        r.unitView.spin = 3;
        const auto tick = [&](bool on) {
            r.view.setChecked(Control::Check1, on), r.status.Check1_Click();
        };
        tick(true);
        QCOMPARE(r.unitView.placements, QList<QPoint>{QPoint(8500, 450)});
        QCOMPARE(QList<int>({r.unitView.spinMinimum, r.unitView.spinMaximum, r.unitView.spin}),
                 QList<int>({1, 4, 1}));
        QCOMPARE(r.unitView.status + r.view.text(Control::lblError), u"OK"_s);
        QCOMPARE(r.view.at(Control::Check1).fore, Colours::Red);
        for (int spin : {3, 5}) // 5 is past the enabled units: the unit stays
            r.unitView.spin = spin, r.status.UpDown1_Change();
        QCOMPARE(r.unitView.watchUnit, u"7"_s);
        // A tick due while a poll waits for its reply does not start another one.
        bool again = true;
        r.port.onCommand = [&](const QByteArray &c) {
            c == "BITS 7" && std::exchange(again, false) ? r.status.tmrInputStatus_Timer() : void();
        };
        QTRY_VERIFY(r.sent().startsWith(u"GSTAT 1|GSTAT 7|GSTAT 7|BITS 7|GSTAT 7"_s));
        r.status.cmdClose_Click();
        QVERIFY(!r.view.isChecked(Control::Check1) && !r.status.tmrInputStatus().isActive());
        QCOMPARE(r.view.windows.value(Window::frmUnitBits, true), false);
        tick(true); // shown again as it was
        QCOMPARE(r.unitView.watchUnit + QString::number(r.unitView.placements.size()), u"71"_s);
        r.status.Form_Unload(); // the close box: the next showing loads afresh
        QVERIFY(!r.view.isChecked(Control::Check1) && !r.status.tmrInputStatus().isActive());
        tick(true);
        QCOMPARE(r.unitView.watchUnit + QString::number(r.unitView.placements.size()), u"12"_s);
        tick(false);
        QCOMPARE(r.view.at(Control::Check1).fore, Colours::Black);
    }

    void advancedConsole()
    {
        LinkRig r;
        r.view.setChecked(Control::Check2, true);
        r.console.Check2_Click();
        QCOMPARE(r.view.windows.value(Window::frmVerbose), true);
        QCOMPARE(r.advancedView.commandLineFocus, 1);
        r.commands.GetStat(3); // any exchange shows, not only typed ones
        r.advancedView.command = u"VER"_s;
        QVERIFY(!r.console.txtDirectCommand_KeyPress('A'));
        QVERIFY(r.console.txtDirectCommand_KeyPress(13));
        r.port.script("X", ScriptedPort::silence());
        r.channel.SendCommand(u"X"_s);
        QCOMPARE(r.sent(), u"GSTAT 3|VER|X"_s);
        static const QRegularExpression time(u"^\\d\\d:\\d\\d:\\d\\d\r\n"_s);
        QString shown;
        for (const QString &t : r.advancedView.monitorTexts)
            shown += (time.match(t).hasMatch() ? u"T "_s : u"#"_s) + QString(t).remove(time);
        QCOMPARE(shown, u"#T GSTAT 3\r\nOK\r\n.#T VER\r\nMAINV3\r\n.#T "_s);
        r.view.setFocus(Control::txtInput);
        r.console.Form_Unload(); // the close box unticks "Advanced"
        QVERIFY(!r.view.isChecked(Control::Check2));
        QCOMPARE(r.view.focus, Control::List1);
        QCOMPARE(r.view.at(Control::Check2).fore, Colours::Black);
        r.channel.SendCommand(u"Y"_s);
        QCOMPARE(r.advancedView.monitorTexts.size(), 6);
    }
};

QTEST_GUILESS_MAIN(TestLink)
#include "tst_core_link.moc"
