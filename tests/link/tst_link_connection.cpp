#include "support/LinkRig.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString RetryText = u"No Communications to Tally system\r\nDo you want to retry?"_s;
const QString OfflineText = u"Going To Offline Mode"_s;
const QString OnlineText =
    u"You have chosen to go Online\r\nMappings displayed may not agree with current Tally System Mappings"_s;
const QList<Control> OnlineControls{Control::cmdTest, Control::chkTest, Control::cmdRefresh,
                                    Control::Check1, Control::Check2};

// A tally system that answers every line as the real one does, "VER" with the given text.
void answerEverything(ScriptedPort &port, const QByteArray &version = "MAINV3")
{
    port.responder = [version](const QByteArray &command) -> std::optional<ScriptedPort::Reply> {
        if (command == "VER")
            return ScriptedPort::answer(command, version);
        return ScriptedPort::answer(command, "OK");
    };
}

QList<QByteArray> probe() { return {"", "\rVER"}; }
QList<QByteArray> versionQuery(bool found)
{
    if (found)
        return {"", "", "VER", "", ""};
    return {"", "", "VER"};
}

} // namespace

class TestLinkConnection : public QObject
{
    Q_OBJECT
private slots:
    void goOnlineAnswered()
    {
        LinkRig rig;
        answerEverything(rig.port);
        for (Control c : OnlineControls)
            rig.view.setEnabled(c, false);
        rig.view.answers = {MessageResult::No}; // should a retry box come, it ends the probe
        QVERIFY(rig.connection.GoOnline());
        QVERIFY(rig.model.Online);
        QCOMPARE(rig.port.written.left(8), QByteArray("\r\n\rVER\r\n"));
        QCOMPARE(rig.port.commands, probe() + versionQuery(true));
        QCOMPARE(rig.port.pauses, (QList<std::chrono::milliseconds>{100ms}));
        for (Control c : OnlineControls)
            QVERIFY(rig.view.isEnabled(c));
        QCOMPARE(rig.view.text(Control::cmdOnline), u"Online"_s);
        QCOMPARE(rig.view.at(Control::cmdOnline).back, Colours::Green);
        QCOMPARE(rig.model.MainCPUVersion, u"MAINV3\r\n"_s);
        QCOMPARE(rig.model.InfoString, u"MAINV3\r\n   V 7. 4   Studio A   Com 1"_s);
        QVERIFY(rig.view.boxes.isEmpty());
    }

    void probeAcceptsAnyReply()
    {
        LinkRig rig;
        rig.port.script("\rVER", ScriptedPort::bytes("?")); // not even a complete reply
        rig.view.answers = {MessageResult::No};
        QVERIFY(rig.connection.GoOnline());
        QVERIFY(rig.model.Online);
        QCOMPARE(rig.model.MainCPUVersion, u"MAINV0"_s); // the version query met silence
        QVERIFY(rig.view.boxes.isEmpty());
    }

    void pauseComesBeforeVersionQuery()
    {
        LinkRig rig;
        answerEverything(rig.port);
        QList<int> pausesAtCommand;
        rig.port.onCommand = [&](const QByteArray &) {
            pausesAtCommand << int(rig.port.pauses.size());
        };
        rig.view.answers = {MessageResult::No};
        QVERIFY(rig.connection.GoOnline());
        QCOMPARE(pausesAtCommand, (QList<int>{0, 0, 1, 1, 1, 1, 1}));
    }

    void retryYesThenAnswered()
    {
        LinkRig rig;
        // First attempt: silence to both lines; then the tally system is back.
        rig.port.script("", ScriptedPort::silence());
        rig.port.script("\rVER", ScriptedPort::silence());
        answerEverything(rig.port);
        rig.view.answers = {MessageResult::Yes, MessageResult::No}; // the No must stay unused
        const auto start = rig.port.now;
        QVERIFY(rig.connection.GoOnline());
        QCOMPARE(rig.view.boxes.size(), 1);
        const FakeView::Box &box = rig.view.boxes[0];
        QCOMPARE(box.text, RetryText);
        QCOMPARE(box.title, u"Communication Error"_s);
        QCOMPARE(box.buttons, MessageButtons::YesNo);
        QCOMPARE(box.icon, MessageIcon::None);
        QCOMPARE(rig.view.answers.size(), std::size_t(1));
        QCOMPARE(rig.port.commands, probe() + probe() + versionQuery(true));
        QVERIFY(rig.model.Online);
        QCOMPARE(rig.view.text(Control::lblError), u""_s);
        QCOMPARE(rig.view.text(Control::cmdOnline), u"Online"_s);
        // The failed attempt cost two time-outs, about 4 s.
        QVERIFY(rig.secondsSince(start) > 4.0 && rig.secondsSince(start) < 4.2);
    }

    void retryNoGoesOffline()
    {
        LinkRig rig;
        rig.model.MainCPUVersion = u"MAINV9"_s; // from an earlier session
        rig.model.Online = true;
        rig.view.setChecked(Control::Check2, true);
        for (Control c : OnlineControls)
            rig.view.setEnabled(c, true);
        rig.view.answers = {MessageResult::No};
        QVERIFY(!rig.connection.GoOnline());
        QVERIFY(!rig.model.Online);
        QCOMPARE(rig.view.boxes.size(), 2);
        QCOMPARE(rig.view.boxes[0].text, RetryText);
        QCOMPARE(rig.view.boxes[0].buttons, MessageButtons::YesNo);
        QCOMPARE(rig.view.boxes[1].text, OfflineText);
        QCOMPARE(rig.view.boxes[1].title, u"Communication Error"_s);
        QCOMPARE(rig.view.boxes[1].buttons, MessageButtons::Ok);
        QCOMPARE(rig.view.boxes[1].icon, MessageIcon::None);
        QCOMPARE(rig.port.commands, probe());
        for (Control c : OnlineControls)
            QVERIFY(!rig.view.isEnabled(c));
        QVERIFY(rig.view.isChecked(Control::Check2)); // left ticked
        QCOMPARE(rig.view.text(Control::cmdOnline), u"OFFLINE"_s);
        QCOMPARE(rig.view.at(Control::cmdOnline).back, Colours::LightRed);
        QCOMPARE(rig.view.text(Control::lblError), u""_s); // "Comm Error!" wiped
        // The information line is still made, with the version known before.
        QCOMPARE(rig.model.InfoString, u"MAINV9   V 7. 4   Studio A   Com 1"_s);
        QCOMPARE(rig.view.at(Control::lblMainVersionInfo).toolTip, rig.model.InfoString);
    }

    void retryTwiceThenNo()
    {
        LinkRig rig;
        rig.view.answers = {MessageResult::Yes, MessageResult::Yes, MessageResult::No};
        QVERIFY(!rig.connection.GoOnline());
        QCOMPARE(rig.port.commands, probe() + probe() + probe());
        QCOMPARE(rig.view.boxes.size(), 4);
        QCOMPARE(rig.port.pauses.size(), 0);
    }

    void goOffline()
    {
        LinkRig rig;
        rig.model.Online = true;
        for (Control c : OnlineControls) {
            rig.view.setEnabled(c, true);
            rig.view.setChecked(c, true);
        }
        rig.connection.GoOffline();
        QVERIFY(!rig.model.Online);
        for (Control c : OnlineControls) {
            QVERIFY(!rig.view.isEnabled(c));
            QVERIFY(rig.view.isChecked(c));
        }
        QCOMPARE(rig.view.text(Control::cmdOnline), u"OFFLINE"_s);
        QCOMPARE(rig.view.at(Control::cmdOnline).back, Colours::LightRed);
        QVERIFY(rig.port.written.isEmpty());
        QVERIFY(rig.view.boxes.isEmpty());
    }

    void onlineButtonWhileOnline()
    {
        LinkRig rig;
        rig.model.Online = true;
        rig.view.setText(Control::lblError, u"Comm Error!"_s);
        rig.connection.cmdOnline_Click();
        QVERIFY(!rig.model.Online);
        QVERIFY(rig.view.boxes.isEmpty());
        QVERIFY(rig.port.written.isEmpty());
        QCOMPARE(rig.view.text(Control::lblError), u""_s);
        QCOMPARE(rig.view.text(Control::cmdOnline), u"OFFLINE"_s);
    }

    void onlineButtonWhileOffline()
    {
        LinkRig rig;
        answerEverything(rig.port);
        rig.view.answers = {MessageResult::Ok, MessageResult::No};
        rig.connection.cmdOnline_Click();
        QCOMPARE(rig.view.boxes.size(), 1);
        QCOMPARE(rig.view.boxes[0].text, OnlineText);
        QCOMPARE(rig.view.boxes[0].title, u"Information!"_s);
        QCOMPARE(rig.view.boxes[0].buttons, MessageButtons::Ok);
        QVERIFY(rig.model.Online);
        QCOMPARE(rig.port.commands, probe() + versionQuery(true)); // no read-back
    }

    void getVersion_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("version");
        QTest::addColumn<bool>("found");
        QTest::newRow("complete reply keeps the line end")
            << QByteArray("VER\r\nMAINV3\r\n.") << u"MAINV3\r\n"_s << true;
        QTest::newRow("decimal point ends the reply")
            << QByteArray("VER\r\nMAINV2.14\r\n.") << u"MAINV2"_s << true;
        QTest::newRow("five characters") << QByteArray("MAIN.") << u"MAIN"_s << true;
        QTest::newRow("four characters, no point") << QByteArray("MAIN") << u"MAINV0"_s << false;
        QTest::newRow("cut short: last character lost")
            << QByteArray("xMAINV31") << u"MAINV3"_s << true;
        QTest::newRow("lower case is not MAIN")
            << QByteArray("VER\r\nmainV3\r\n.") << u"MAINV0"_s << false;
        QTest::newRow("no MAIN") << QByteArray("VER\r\nV3\r\n.") << u"MAINV0"_s << false;
        QTest::newRow("first MAIN counts")
            << QByteArray("MAINA MAINB.") << u"MAINA MAINB"_s << true;
        QTest::newRow("silence") << QByteArray() << u"MAINV0"_s << false;
    }
    void getVersion()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, version);
        QFETCH(bool, found);
        LinkRig rig;
        rig.model.MainCPUVersion = u"before"_s;
        if (!reply.isEmpty())
            rig.port.script("VER", ScriptedPort::bytes(reply));
        rig.port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            if (c.isEmpty())
                return ScriptedPort::bytes("\r\n.");
            return std::nullopt;
        };
        rig.connection.GetVersion();
        QCOMPARE(rig.model.MainCPUVersion, version);
        QCOMPARE(rig.port.commands, versionQuery(found));
    }

    void infoString_data()
    {
        QTest::addColumn<QString>("cpu");
        QTest::addColumn<QString>("system");
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("info");
        QTest::newRow("studio") << u"MAINV2"_s << u"Studio A"_s << 1
                                << u"MAINV2   V 7. 4   Studio A   Com 1"_s;
        QTest::newRow("no version yet")
            << u""_s << u"OB Van"_s << 12 << u"   V 7. 4   OB Van   Com 12"_s;
        QTest::newRow("unknown version")
            << u"MAINV0"_s << u""_s << 255 << u"MAINV0   V 7. 4      Com 255"_s;
    }
    void infoString()
    {
        QFETCH(QString, cpu);
        QFETCH(QString, system);
        QFETCH(int, port);
        QFETCH(QString, info);
        LinkRig rig;
        rig.model.MainCPUVersion = cpu;
        rig.model.SystemName = system;
        rig.model.KestrelCommport = static_cast<quint8>(port);
        rig.connection.MakeInfoString();
        QCOMPARE(rig.model.InfoString, info);
        QCOMPARE(rig.view.at(Control::lblMainVersionInfo).toolTip, info);
        const QString version = rig.view.at(Control::lblVersionInfo).toolTip;
        QVERIFY2(version.startsWith(u"Version  7. 4. 2\n"_s), qPrintable(version));
        QVERIFY(version.size() > 20); // and a credit line
        QVERIFY(rig.port.written.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestLinkConnection)
#include "tst_link_connection.moc"
