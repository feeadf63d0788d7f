#include "support/LinkRig.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Duration = SerialPort::Duration;

Q_DECLARE_METATYPE(Duration)

namespace {
const QString CommError = u"Comm Error!"_s;
}

class TestLinkChannel : public QObject
{
    Q_OBJECT
private slots:
    void commandOnTheWire_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty line") << u""_s << QByteArray("\r\n");
        QTest::newRow("VER") << u"VER"_s << QByteArray("VER\r\n");
        QTest::newRow("probe with leading CR") << u"\rVER"_s << QByteArray("\rVER\r\n");
        QTest::newRow("blanks kept") << u" Map 1  2 "_s << QByteArray(" Map 1  2 \r\n");
        QTest::newRow("long line, no limit") << QString(300, u'x') << QByteArray(300, 'x') + "\r\n";
    }
    void commandOnTheWire()
    {
        QFETCH(QString, command);
        QFETCH(QByteArray, bytes);
        LinkRig rig;
        rig.channel.SendCommand(command);
        QCOMPARE(rig.port.written, bytes);
        QCOMPARE(rig.port.writes.size(), 1); // one write: the line and its CR LF together
    }

    void getResponse_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<QString>("line");
        QTest::newRow("two lines") << u"VER\r\nMAINV2\r\n."_s << u"MAINV2"_s;
        QTest::newRow("point inside second line") << u"VER\r\nMAINV2."_s << u""_s;
        QTest::newRow("no LF") << u"OK\r."_s << u"OK"_s;
        QTest::newRow("no CR after LF") << u"VER\r\nMAIN."_s << u""_s;
        QTest::newRow("empty second line") << u"VER\r\n\r\n."_s << u""_s;
        QTest::newRow("empty") << u""_s << u""_s;
        QTest::newRow("CR first, no LF") << u"\rabc"_s << u""_s;
        QTest::newRow("LF only at end") << u"abc\n"_s << u""_s;
        QTest::newRow("first LF counts") << u"a\nb\r\nc\r"_s << u"b"_s;
        QTest::newRow("CR before LF ignored") << u"x\ry\nzz\r."_s << u"zz"_s;
    }
    void getResponse()
    {
        QFETCH(QString, reply);
        QFETCH(QString, line);
        QCOMPARE(CommandChannel::GetResponse(reply), line);
    }

    void completeReply()
    {
        LinkRig rig;
        rig.port.script("VER", ScriptedPort::answer("VER", "MAINV2"));
        rig.view.setText(Control::lblError, u"old"_s);
        QVERIFY(rig.channel.SendCommand(u"VER"_s));
        QCOMPARE(rig.model.IBuffer, u"VER\r\nMAINV2\r\n."_s);
        QCOMPARE(rig.model.Response, u"MAINV2"_s);
        QCOMPARE(rig.view.text(Control::lblError), u""_s);
        QCOMPARE(rig.view.beeps, 0);
    }

    // A reply made of one chunk that arrives at the given time after the command.
    void deadline_data()
    {
        QTest::addColumn<QByteArray>("early"); // arrives at once
        QTest::addColumn<QByteArray>("late");  // arrives at `at`
        QTest::addColumn<Duration>("at");
        QTest::addColumn<bool>("timedOut");
        QTest::addColumn<QString>("ibuffer");
        QTest::newRow("whole reply at 1.999 s") << QByteArray() << QByteArray("R\r\nOK\r\n.")
                                                << Duration(1999ms) << false << u"R\r\nOK\r\n."_s;
        QTest::newRow("reply completing at exactly 2.0 s")
            << QByteArray("R\r\nOK\r\n") << QByteArray(".") << Duration(2s) << false
            << u"R\r\nOK\r\n."_s;
        QTest::newRow("whole reply at exactly 2.0 s") << QByteArray() << QByteArray("R\r\nOK\r\n.")
                                                      << Duration(2s) << false << u"R\r\nOK\r\n."_s;
        QTest::newRow("late point, just after 2 s")
            << QByteArray("R\r\nOK\r\n") << QByteArray(".") << Duration(2s + 500us) << true
            << u"R\r\nOK\r\n."_s;
        QTest::newRow("point after the wait gave up")
            << QByteArray("R\r\nOK\r\n") << QByteArray(".") << Duration(2100ms) << true
            << u"R\r\nOK\r\n"_s;
        QTest::newRow("everything at 2.5 s")
            << QByteArray() << QByteArray("R\r\nOK\r\n.") << Duration(2500ms) << true << u""_s;
    }
    void deadline()
    {
        QFETCH(QByteArray, early);
        QFETCH(QByteArray, late);
        QFETCH(Duration, at);
        QFETCH(bool, timedOut);
        QFETCH(QString, ibuffer);
        LinkRig rig;
        ScriptedPort::Reply reply;
        if (!early.isEmpty())
            reply << ScriptedPort::Chunk{Duration::zero(), early};
        reply << ScriptedPort::Chunk{at, late};
        rig.port.script("R", reply);
        const auto start = rig.port.now;
        const bool result = rig.channel.SendCommand(u"R"_s);
        QCOMPARE(rig.model.IBuffer, ibuffer);
        QCOMPARE(result, !ibuffer.isEmpty());
        QCOMPARE(rig.view.text(Control::lblError), timedOut ? CommError : u""_s);
        QCOMPARE(rig.view.beeps, timedOut ? 1 : 0);
        if (timedOut) {
            // Given up just past the limit, not later.
            QVERIFY(rig.secondsSince(start) > 2.0);
            QVERIFY(rig.secondsSince(start) <= 2.002);
        } else {
            QCOMPARE(rig.port.now - start, at); // done the moment the "." came in
        }
    }

    void deadlineRunsFromStartOfWait()
    {
        // Characters trickling in do not extend the limit.
        LinkRig rig;
        ScriptedPort::Reply reply;
        for (int k = 1; k <= 8; ++k)
            reply << ScriptedPort::Chunk{Duration(k * 400ms), QByteArray(1, char('a' + k - 1))};
        rig.port.script("T", reply);
        const auto start = rig.port.now;
        QVERIFY(rig.channel.SendCommand(u"T"_s));
        QCOMPARE(rig.model.IBuffer, u"abcde"_s); // 0.4 s .. 2.0 s
        QCOMPARE(rig.view.text(Control::lblError), CommError);
        QVERIFY(rig.secondsSince(start) > 2.0 && rig.secondsSince(start) <= 2.002);
    }

    void silence()
    {
        LinkRig rig;
        rig.model.IBuffer = u"stale"_s;
        rig.model.Response = u"stale"_s;
        const auto start = rig.port.now;
        QVERIFY(!rig.channel.SendCommand(u"Init"_s));
        QCOMPARE(rig.model.IBuffer, u""_s);
        QCOMPARE(rig.model.Response, u""_s);
        QCOMPARE(rig.view.text(Control::lblError), CommError);
        QVERIFY(rig.view.at(Control::lblError).repaints >= 1);
        QCOMPARE(rig.view.beeps, 1);
        QVERIFY(rig.secondsSince(start) > 2.0 && rig.secondsSince(start) <= 2.002);
        // The wait blocks on the port: a handful of waits, not a spin over the 2 seconds.
        QVERIFY2(rig.port.waits <= 3, qPrintable(QString::number(rig.port.waits)));
    }

    void someCharactersThenSilence_data()
    {
        QTest::addColumn<QByteArray>("partial");
        QTest::addColumn<QString>("response");
        QTest::newRow("echo and line, no point") << QByteArray("VER\r\nMAIN\r\n") << u"MAIN"_s;
        QTest::newRow("cut inside the line") << QByteArray("VER\r\nMA") << u""_s;
        QTest::newRow("one character") << QByteArray("V") << u""_s;
    }
    void someCharactersThenSilence()
    {
        QFETCH(QByteArray, partial);
        QFETCH(QString, response);
        LinkRig rig;
        rig.port.script("VER", ScriptedPort::bytes(partial));
        QVERIFY(rig.channel.SendCommand(u"VER"_s));
        QCOMPARE(rig.model.IBuffer, QString::fromLatin1(partial));
        QCOMPARE(rig.model.Response, response);
        QCOMPARE(rig.view.text(Control::lblError), CommError);
        QCOMPARE(rig.view.beeps, 1);
    }

    void leftoversAreFlushed()
    {
        LinkRig rig;
        // The first "." ends the reply; the rest of the version line stays in the port.
        rig.port.script("VER", ScriptedPort::bytes("VER\r\nMAINV1.23\r\n."));
        rig.port.script("B", ScriptedPort::answer("B", "OK"));
        QVERIFY(rig.channel.SendCommand(u"VER"_s));
        QCOMPARE(rig.model.IBuffer, u"VER\r\nMAINV1."_s);
        QCOMPARE(rig.model.Response, u""_s);
        QCOMPARE(rig.port.queued(), QByteArray("23\r\n."));
        QVERIFY(rig.channel.SendCommand(u"B"_s));
        QCOMPARE(rig.model.IBuffer, u"B\r\nOK\r\n."_s);
        QCOMPARE(rig.model.Response, u"OK"_s);
        QCOMPARE(rig.port.queued(), QByteArray());
    }

    void unaskedBytesAreFlushed()
    {
        LinkRig rig;
        rig.port.arrive("noise.\r\n");
        rig.port.script("B", ScriptedPort::answer("B", "OK"));
        QVERIFY(rig.channel.SendCommand(u"B"_s));
        QCOMPARE(rig.model.IBuffer, u"B\r\nOK\r\n."_s);
    }

    void flushQueueEmptiesBufferAndPort()
    {
        LinkRig rig;
        rig.model.IBuffer = u"abc"_s;
        rig.port.arrive("xyz");
        rig.channel.FlushQueue();
        QCOMPARE(rig.model.IBuffer, u""_s);
        QCOMPARE(rig.port.queued(), QByteArray());
        QVERIFY(rig.port.written.isEmpty());
    }

    void errorClearedByNextCommand()
    {
        LinkRig rig;
        rig.port.script("B", ScriptedPort::answer("B", "OK"));
        QVERIFY(!rig.channel.SendCommand(u"A"_s));
        QCOMPARE(rig.view.text(Control::lblError), CommError);
        QVERIFY(rig.channel.SendCommand(u"B"_s));
        QCOMPARE(rig.view.text(Control::lblError), u""_s);
        QCOMPARE(rig.view.beeps, 1);
    }

    void transmitLamp()
    {
        LinkRig rig;
        QVERIFY(!rig.view.at(Control::Shape1).backSet);
        Colour duringExchange{};
        int repaintsBeforeWrite = -1;
        rig.port.onCommand = [&](const QByteArray &) {
            duringExchange = rig.view.at(Control::Shape1).back;
            repaintsBeforeWrite = rig.view.at(Control::Shape1).repaints;
        };
        rig.port.script("A", ScriptedPort::answer("A", "OK"));
        rig.channel.SendCommand(u"A"_s);
        QElapsedTimer sinceExchange;
        sinceExchange.start();
        QCOMPARE(duringExchange, Colours::Red);
        QCOMPARE(repaintsBeforeWrite, 1); // painted before the wait, not after
        QCOMPARE(rig.view.at(Control::Shape1).back, Colours::Red); // Timer2 not run yet
        QTRY_COMPARE_WITH_TIMEOUT(rig.view.at(Control::Shape1).back, Colours::Green, 2000);
        QVERIFY(sinceExchange.elapsed() >= 45); // 50 ms, less a coarse timer's slack
        // Red again for the next command, also when that one times out.
        rig.channel.SendCommand(u"silent"_s);
        QCOMPARE(rig.view.at(Control::Shape1).back, Colours::Red);
        QTest::qWait(150);
        QCOMPARE(rig.view.at(Control::Shape1).back, Colours::Green);
    }

    void receiveLamp()
    {
        LinkRig rig;
        QVERIFY(rig.port.hasReceiver());
        rig.port.script("A", ScriptedPort::answer("A", "OK"));
        rig.channel.SendCommand(u"A"_s);
        QVERIFY(rig.port.notificationsPosted > 0);
        // The notification waits for the event loop: never handled inside the exchange.
        QVERIFY(!rig.view.at(Control::Shape2).backSet);
        QCoreApplication::processEvents();
        QCOMPARE(rig.view.at(Control::Shape2).back, Colours::Red);
        QElapsedTimer sinceRed;
        sinceRed.start();
        QTRY_COMPARE_WITH_TIMEOUT(rig.view.at(Control::Shape2).back, Colours::Green, 2000);
        QVERIFY(sinceRed.elapsed() >= 95); // Timer4: 100 ms
    }

    void silenceLeavesReceiveLampAlone()
    {
        LinkRig rig;
        rig.channel.SendCommand(u"A"_s);
        QTest::qWait(20);
        QVERIFY(!rig.view.at(Control::Shape2).backSet);
    }

    void showIncomingDirectly()
    {
        LinkRig rig;
        rig.channel.ShowIncoming();
        QCOMPARE(rig.view.at(Control::Shape2).back, Colours::Red);
        QTRY_COMPARE_WITH_TIMEOUT(rig.view.at(Control::Shape2).back, Colours::Green, 2000);
    }

    void channelDetachesFromPort()
    {
        ScriptedPort port;
        SystemModel model;
        FakeView view;
        {
            CommandChannel channel(model, view, port, port.clock());
            QVERIFY(port.hasReceiver());
        }
        QVERIFY(!port.hasReceiver());
    }

    void monitor_data()
    {
        QTest::addColumn<bool>("ticked");
        QTest::newRow("Advanced ticked") << true;
        QTest::newRow("Advanced unticked") << false;
    }
    void monitor()
    {
        QFETCH(bool, ticked);
        LinkRig rig;
        QStringList shown;
        rig.channel.setMonitor([&](const QString &t) { shown << t; });
        rig.view.setChecked(Control::Check2, ticked);
        rig.port.script("VER", ScriptedPort::answer("VER", "MAINV2"));
        rig.channel.SendCommand(u"VER"_s);
        rig.channel.SendCommand(u"none"_s); // silent: the time alone
        if (!ticked) {
            QVERIFY(shown.isEmpty());
            return;
        }
        // Each exchange empties the monitor, then shows time of day, CR LF and the raw reply.
        QCOMPARE(shown.size(), 4);
        QCOMPARE(shown[0], u""_s);
        QCOMPARE(shown[2], u""_s);
        static const QRegularExpression time(u"^\\d\\d:\\d\\d:\\d\\d\\r\\n"_s);
        QVERIFY2(time.match(shown[1]).hasMatch(), qPrintable(shown[1]));
        QCOMPARE(shown[1].mid(10), u"VER\r\nMAINV2\r\n."_s);
        QVERIFY(time.match(shown[3]).hasMatch());
        QCOMPARE(shown[3].size(), 10);
    }

    void monitorDetached()
    {
        LinkRig rig;
        int calls = 0;
        rig.channel.setMonitor([&](const QString &) { ++calls; });
        rig.view.setChecked(Control::Check2, true);
        rig.channel.SendCommand(u"A"_s);
        QCOMPARE(calls, 2);
        rig.channel.setMonitor({});
        rig.channel.SendCommand(u"A"_s); // nobody to show it to: dropped
        QCOMPARE(calls, 2);
    }

    void cancelDownloadOnlyClearsFlag()
    {
        LinkRig rig;
        rig.model.DownloadActive = true;
        rig.channel.cmdCancelDownload_Click();
        QVERIFY(!rig.model.DownloadActive);
        rig.channel.cmdCancelDownload_Click();
        QVERIFY(!rig.model.DownloadActive);
        QVERIFY(rig.port.written.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestLinkChannel)
#include "tst_link_channel.moc"
