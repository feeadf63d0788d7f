// The device link on the scripted port: framing and deadline, every command's bytes, going
// online, and the unit status poll.

#include "support/LinkRig.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Act = std::function<void(LinkRig &)>;
Q_DECLARE_METATYPE(Act)

class TestLink : public QObject
{
    Q_OBJECT
private slots:
    // The reply to "R" comes as `first` at once, or after `firstMs`, then `then` after `thenUs`.
    void exchange_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<int>("firstMs");
        QTest::addColumn<QByteArray>("then");
        QTest::addColumn<int>("thenUs");
        QTest::addColumn<QByteArray>("buffer"); // IBuffer
        QTest::addColumn<QString>("reply");     // the reply line
        QTest::addColumn<bool>("late");         // "Comm Error!"
        const auto row = [](const char *name, const char *first, int firstMs, const char *then,
                            int thenUs, const char *buffer, const QString &reply, bool late) {
            QTest::newRow(name) << QByteArray(first) << firstMs << QByteArray(then) << thenUs
                                << QByteArray(buffer) << reply << late;
        };
        row("reply", "R\r\nMAINV2\r\n.", 0, "", 0, "R\r\nMAINV2\r\n.", u"MAINV2"_s, false);
        row("a point ends it", "R\r\nMAINV1.23\r\n.", 0, "", 0, "R\r\nMAINV1.", u""_s, false);
        row("lone CR, LF", "x\ry\nb\r\nc\r.", 0, "", 0, "x\ry\nb\r\nc\r.", u"b"_s, false);
        row("silence", "", 0, "", 0, "", u""_s, true);
        row("point at 2 s", "R\r\nOK\r\n", 0, ".", 2000000, "R\r\nOK\r\n.", u"OK"_s, false);
        row("point at 2.0005 s", "R\r\nOK\r\n", 0, ".", 2000500, "R\r\nOK\r\n.", u"OK"_s, true);
        row("point at 2.1 s", "R\r\nOK\r\n", 0, ".", 2100000, "R\r\nOK\r\n", u"OK"_s, true);
        // The deadline runs from the start of the wait, not from the last byte.
        row("trickle", "R\r\nOK\r\n", 1500, ".", 2100000, "R\r\nOK\r\n", u"OK"_s, true);
    }
    void exchange()
    {
        QFETCH(QByteArray, first);
        QFETCH(int, firstMs);
        QFETCH(QByteArray, then);
        QFETCH(int, thenUs);
        QFETCH(QByteArray, buffer);
        QFETCH(QString, reply);
        QFETCH(bool, late);
        LinkRig r;
        r.port.script("R", {{std::chrono::milliseconds(firstMs), first},
                            {std::chrono::microseconds(thenUs), then}});
        const auto start = r.port.now;
        QCOMPARE(r.channel.SendCommand(u"R"_s), !buffer.isEmpty());
        const auto took = r.port.now - start;
        QCOMPARE(r.model.IBuffer, QString::fromLatin1(buffer));
        QCOMPARE(r.model.Response, reply);
        QCOMPARE(r.view.text(Control::lblError), late ? u"Comm Error!"_s : u""_s);
        QCOMPARE(r.view.beeps, int(late));
        QVERIFY(late ? took > 2s && took <= 2002ms : took == std::chrono::microseconds(thenUs));
        // What came after the "." or after the wait gave up is flushed by the next command.
        r.port.now += 1s;
        QVERIFY(r.channel.SendCommand(u"B"_s));
        QCOMPARE(r.model.IBuffer + r.view.text(Control::lblError), u"B\r\nOK\r\n."_s);
    }

    // Every command the configurator sends, exactly as it goes on the wire (online).
    void wire_data()
    {
        QTest::addColumn<Act>("act");
        const auto wire = [](const char *bytes, Act act) { QTest::newRow(bytes) << act; };
        wire("\r\n\rVER\r\n\r\n\r\nVER\r\n\r\n\r\n", [](LinkRig &r) { r.connection.GoOnline(); });
        wire("Uenable  120\r\n", [](LinkRig &r) { r.commands.EnableUnit(120); });
        wire("Uenable -1\r\n", [](LinkRig &r) { r.commands.EnableUnit(-1); });
        wire("Res 2  16\r\n", [](LinkRig &r) { r.commands.ResetOutput(2, 16); });
        wire("ClrMap-3  32767\r\n", [](LinkRig &r) { r.commands.ClearMapping(-3, 32767); });
        wire("AND 2 5 4 7\r\n", [](LinkRig &r) { r.mapping.SetBoolMapping(2, 5, 1, 3, 4, 7, 1); });
        wire("OR 2 5 0 0\r\n", [](LinkRig &r) { r.mapping.SetBoolMapping(2, 5, 1, 3, 0, 0, 2); });
        wire("GetMap 1  3\r\nmapdisab 1  3\r\nSet 1  3\r\nRes 1  3\r\nMapEnab 1  3\r\n",
             [](LinkRig &r) { r.select(2), r.test.TestOn(3), r.test.TestOff(3); });
        wire(" bits 1  2\r\n", [](LinkRig &r) {
            r.advancedView.command = u" bits 1  2"_s, r.console.cmdDirectCommand_Click();
        });
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

    // Going online: the answers to the retry question after each attempt nobody answers, and
    // the reply to "VER" ("": as usual).
    void goOnline_data()
    {
        QTest::addColumn<QString>("answers"); // Y: Yes, N: No
        QTest::addColumn<QByteArray>("ver");
        QTest::addColumn<QString>("sent");
        QTest::addColumn<QString>("version");
        const auto row = [](const char *name, const char *answers, const char *ver,
                            const char *sent, const char *version) {
            QTest::newRow(name) << QString::fromLatin1(answers) << QByteArray(ver)
                                << QString::fromLatin1(sent) << QString::fromLatin1(version);
        };
        row("answered", "", "", "|\rVER|||VER||", "MAINV3\r\n");
        row("answered on the retry", "Y", "", "|\rVER||\rVER|||VER||", "MAINV3\r\n");
        row("Yes, Yes, No", "YYN", "", "|\rVER||\rVER||\rVER", "before");
        row("V2.14", "", "VER\r\nMAINV2.14\r\n.", "|\rVER|||VER||", "MAINV2");
    }
    void goOnline()
    {
        QFETCH(QString, answers);
        QFETCH(QByteArray, ver);
        QFETCH(QString, sent);
        QFETCH(QString, version);
        LinkRig r;
        r.model.MainCPUVersion = u"before"_s;
        for (QChar a : answers) {
            r.port.script("", {}), r.port.script("\rVER", {});
            r.view.answers.push_back(a == u'Y' ? MessageResult::Yes : MessageResult::No);
        }
        if (!ver.isEmpty())
            r.port.script("VER", ScriptedPort::bytes(ver));
        const auto start = r.port.now;
        const bool online = r.connection.GoOnline();
        QCOMPARE(r.sent(), sent);
        const QString retry = u"Communication Error|No Communications to Tally system\r\nDo you "
                              u"want to retry?|YesNo - Yes"_s;
        QCOMPARE(r.view.boxes.join(u'+'),
                 QStringList(answers.size(), retry).join(u'+') +
                     (online ? u""_s : u"+Communication Error|Going To Offline Mode|Ok - Ok"_s));
        QCOMPARE(r.model.InfoString, version + u"   V 7. 4   Studio A   Com 1"_s);
        QCOMPARE(online, !answers.endsWith(u'N'));
        QCOMPARE(r.model.Online, online);
        QCOMPARE(r.view.text(Control::cmdOnline), online ? u"Online"_s : u"OFFLINE"_s);
        QCOMPARE(r.view.at(Control::cmdOnline).back, online ? Colours::Green : Colours::LightRed);
        for (Control c : {Control::cmdTest, Control::chkTest, Control::cmdRefresh, Control::Check1,
                          Control::Check2})
            QCOMPARE(r.view.isEnabled(c), online);
        QCOMPARE(r.view.text(Control::lblError), u""_s);
        // Each unanswered attempt costs two time-outs; a pause of 0.1 s before the version query.
        QCOMPARE((r.port.now - start) / 100ms, 40 * answers.size() + online);
    }

    void lamps_data()
    {
        QTest::addColumn<QByteArray>("reply"); // the reply line to "BITS 3"
        QTest::addColumn<QList<int>>("lit");   // lamps 2 and 31 were lit before
        QTest::newRow("1, 32") << QByteArray("10000000000000000000000000000001") << QList{1, 32};
        QTest::newRow("words around")
            << QByteArray("BITS: 00000010000000000000000000000000 ok") << QList{7};
        QTest::newRow("digits before")
            << QByteArray("U10 10000000000000000000000000000001") << QList{2, 31};
    }
    void lamps()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QList<int>, lit);
        LinkRig r;
        r.unitView.lamps[2] = r.unitView.lamps[31] = true;
        r.unitView.watchUnit = u"3"_s;
        r.port.script("BITS 3", ScriptedPort::answer("BITS 3", reply));
        r.port.script("GSTAT 3", {});
        r.status.tmrInputStatus_Timer();
        QList<int> shown;
        for (int k = 1; k <= UnitStatusView::LampCount; ++k)
            r.unitView.lamps[k] ? shown << k : shown;
        QCOMPARE(shown, lit);
    }

    // A tick of the unit status poll due while a poll waits for its reply starts no other.
    void unitStatusPoll()
    {
        LinkRig r;
        r.view.setChecked(Control::Check1, true), r.status.Check1_Click();
        bool again = true;
        r.port.onCommand = [&](const QByteArray &c) {
            c == "BITS 1" && std::exchange(again, false) ? r.status.tmrInputStatus_Timer() : void();
        };
        QTRY_VERIFY(r.sent().startsWith(u"GSTAT 1|BITS 1|GSTAT 1|BITS 1|GSTAT 1"_s));
        r.status.Form_Unload();
        QVERIFY(!r.view.isChecked(Control::Check1) && !r.status.tmrInputStatus().isActive());
    }
};

QTEST_GUILESS_MAIN(TestLink)
#include "tst_core_link.moc"
