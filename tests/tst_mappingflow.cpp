#include "events/KeyboardEntry.h"
#include "matrix/Mapping.h"
#include "matrix/OutputTest.h"
#include "events/SelectionEvents.h"
#include "support/LinkRig.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The link rig with the operator's side on top: mapping, output test, list and entry events.
// Outputs are at unit 1 channels 1.., inputs at unit 2 channels 1.. (see LinkRig).
struct FlowRig : LinkRig
{
    explicit FlowRig(int outputs = 4, int inputs = 6, bool online = true) : LinkRig(outputs, inputs)
    {
        model.Online = online;
        // Every command is answered as the tally system does, unless a test scripts otherwise.
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            return ScriptedPort::answer(c, "OK");
        };
        for (Control l : {Control::List1, Control::list2, Control::list3})
            view.setCurrentRow(l, 0);
    }
    void select(int outputRow, int inputRow, int secondRow = 0)
    {
        view.setCurrentRow(Control::List1, outputRow);
        view.setCurrentRow(Control::list2, inputRow);
        view.setCurrentRow(Control::list3, secondRow);
        selection.List1_Click();
    }
    QStringList sent() const
    {
        QStringList out;
        for (const QByteArray &c : port.commands)
            out << QString::fromLatin1(c);
        return out;
    }
    void type(const QString &text)
    {
        view.setText(Control::txtInput, text);
        entry.txtInput_Change();
    }

    Mapping mapping{model, view, channel, commands, lists};
    OutputTest test{model, view, channel, readBack};
    SelectionEvents selection{model, view, lists, mapping, test};
    KeyboardEntry entry{model, view, lists, mapping, selection};
};

} // namespace

class TestMappingFlow : public QObject
{
    Q_OBJECT
private slots:
    void mapping_data()
    {
        QTest::addColumn<bool>("online");
        QTest::addColumn<int>("button"); // -1 "Map Tally", 0 "AND", 1 "OR"
        QTest::addColumn<int>("input");
        QTest::addColumn<int>("second");
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<QString>("map");
        QTest::addColumn<QString>("row");
        QTest::newRow("online plain") << true << -1 << 3 << 0 << QStringList{u"Map 1 2 2 3"_s}
                                      << u"[1][2][2][3][1][0][0][0]"_s << u"Out 2\t 3\t\t"_s;
        QTest::newRow("online and")
            << true << 0 << 3 << 4 << QStringList{u"Map 1 2 2 3"_s, u"AND 1 2 2 4"_s}
            << u"[1][2][2][3][1][2][4][1]"_s << u"Out 2\t 3\t&\t 4"_s;
        QTest::newRow("online or")
            << true << 1 << 5 << 1 << QStringList{u"Map 1 2 2 5"_s, u"OR 1 2 2 1"_s}
            << u"[1][2][2][5][1][2][1][2]"_s << u"Out 2\t 5\t||\t 1"_s;
        QTest::newRow("online unassigned") << true << -1 << 0 << 0
                                           << QStringList{u"Res 1  2"_s, u"ClrMap 1  2"_s} << u""_s
                                           << u"Out 2\t\t\t"_s;
        QTest::newRow("offline plain") << false << -1 << 3 << 0 << QStringList()
                                       << u"[1][2][2][3][1][0][0][0]"_s << u"Out 2\t 3\t\t"_s;
        QTest::newRow("offline and") << false << 0 << 3 << 4 << QStringList()
                                     << u"[1][2][2][3][1][2][4][1]"_s << u"Out 2\t 3\t&\t 4"_s;
        QTest::newRow("offline unassigned") << false << -1 << 0 << 0 << QStringList() << u""_s
                                            << u"Out 2\t\t\t"_s;
    }
    void mapping()
    {
        QFETCH(bool, online);
        QFETCH(int, button);
        QFETCH(int, input);
        QFETCH(int, second);
        QFETCH(QStringList, commands);
        QFETCH(QString, map);
        QFETCH(QString, row);
        FlowRig r(4, 6, online);
        r.model.OutputMap[2] = u"[1][2][2][6][1][0][0][0]"_s; // something to replace
        r.select(1, input, second);
        if (button < 0)
            r.selection.cmdMapIt_Click();
        else
            r.selection.cmdBool_Click(button);
        QCOMPARE(r.sent(), commands);
        QCOMPARE(r.model.OutputMap[2], map);
        QCOMPARE(r.view.rowText(Control::List1, 1), row);
        QCOMPARE(r.view.currentRow(Control::List1), 2); // ready for the next output
        QCOMPARE(r.view.text(Control::lblOutChannel), u"3"_s); // the read-out follows it
        QCOMPARE(r.view.text(Control::txtInput), QString::number(input));
        QCOMPARE(r.view.at(Control::cmdMapIt).back, Colours::Red);
        QTRY_COMPARE(r.view.at(Control::cmdMapIt).back, Colours::ButtonFace);
    }

    void unansweredClearKeepsMapping()
    {
        FlowRig r;
        r.port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            if (c.startsWith("ClrMap"))
                return ScriptedPort::silence();
            return ScriptedPort::answer(c, "OK");
        };
        r.model.OutputMap[2] = u"[1][2][2][6][1][0][0][0]"_s;
        r.lists.ShowMappingInList(2);
        r.select(1, 0);
        r.view.setText(Control::txtInput, u"6"_s);
        r.selection.cmdMapIt_Click();
        QCOMPARE(r.sent(), (QStringList{u"Res 1  2"_s, u"ClrMap 1  2"_s}));
        QCOMPARE(r.model.OutputMap[2], u"[1][2][2][6][1][0][0][0]"_s);
        QCOMPARE(r.view.rowText(Control::List1, 1), u"Out 2\t 6\t\t"_s);
        QCOMPARE(r.view.text(Control::txtInput), u"6"_s);
        QCOMPARE(r.view.text(Control::lblError), u"Comm Error!"_s);
    }

    void boolNeedsTwoRealInputs_data()
    {
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("second");
        QTest::newRow("second unassigned") << 2 << 0;
        QTest::newRow("first unassigned") << 0 << 2;
    }
    void boolNeedsTwoRealInputs()
    {
        QFETCH(int, first);
        QFETCH(int, second);
        FlowRig r;
        r.select(0, first, second);
        r.selection.cmdBool_Click(0);
        QVERIFY(r.port.commands.isEmpty());
        QVERIFY(r.view.boxes.isEmpty());
        QCOMPARE(r.model.OutputMap[1], u""_s);
        QCOMPARE(r.view.currentRow(Control::List1), 0);
    }

    void numbersBeyondMapStringsAreRefused()
    {
        FlowRig r;
        r.model.OutputUnit[1] = 1000;
        r.select(0, 2);
        r.selection.cmdMapIt_Click();
        QVERIFY(r.port.commands.isEmpty());
        QCOMPARE(r.model.OutputMap[1], u""_s);
        QVERIFY(r.view.text(Control::lblError).contains(u"1000"_s));
    }

    void mappingTheLastOutputStays()
    {
        FlowRig r;
        r.select(3, 1);
        QVERIFY(r.selection.List1_KeyDown(Qt::Key_Return, Qt::NoModifier));
        QCOMPARE(r.sent(), QStringList{u"Map 1 4 2 1"_s});
        QCOMPARE(r.view.currentRow(Control::List1), 3);
    }

    void holdSpaceLightsUntilRelease()
    {
        FlowRig r(4, 6);
        r.select(2, 0); // output 3 at unit 1 channel 3
        QVERIFY(r.selection.List1_KeyDown(Qt::Key_Space, Qt::NoModifier));
        QCOMPARE(r.sent(), (QStringList{u"GetMap 1  3"_s, u"mapdisab 1  3"_s, u"Set 1  3"_s}));
        QCOMPARE(r.view.list(Control::List1).colours[2], Colours::Red);
        QCOMPARE(r.view.at(Control::cmdTest).back, Colours::Red);
        // Key repeat: release and press pairs marked as repeats send nothing more.
        for (int k = 0; k < 5; ++k) {
            r.selection.List1_KeyUp(Qt::Key_Space, true);
            QVERIFY(r.selection.List1_KeyDown(Qt::Key_Space, Qt::NoModifier));
        }
        QCOMPARE(r.port.commands.size(), 3);
        r.selection.List1_KeyUp(Qt::Key_Space, false);
        QCOMPARE(r.sent().mid(3), (QStringList{u"Res 1  3"_s, u"MapEnab 1  3"_s}));
        QCOMPARE(r.view.list(Control::List1).colours[2], Colours::ListBlue);
        QCOMPARE(r.view.at(Control::cmdTest).back, Colours::ButtonFace);
        QVERIFY(!r.model.OutputTestOn[3]);
    }

    void latch_data()
    {
        QTest::addColumn<bool>("online");
        QTest::addColumn<int>("toggles");
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<bool>("checked");
        QTest::newRow("online once")
            << true << 1 << QStringList{u"GetMap 1  1"_s, u"mapdisab 1  1"_s, u"Set 1  1"_s} << true;
        QTest::newRow("online twice")
            << true << 2
            << QStringList{u"GetMap 1  1"_s, u"mapdisab 1  1"_s, u"Set 1  1"_s, u"Res 1  1"_s,
                           u"MapEnab 1  1"_s}
            << false;
        QTest::newRow("offline once shows the request") << false << 1 << QStringList() << true;
    }
    void latch()
    {
        QFETCH(bool, online);
        QFETCH(int, toggles);
        QFETCH(QStringList, commands);
        QFETCH(bool, checked);
        FlowRig r(4, 6, online);
        r.select(0, 0);
        for (int k = 0; k < toggles; ++k)
            r.test.TestLatchChange();
        QCOMPARE(r.sent(), commands);
        QCOMPARE(r.view.isChecked(Control::chkTest), checked);
        QCOMPARE(r.view.at(Control::chkTest).fore, checked ? Colours::Red : Colours::Black);
    }

    void selectingShowsTestState()
    {
        FlowRig r;
        r.select(0, 0);
        r.test.TestLatchChange(); // output 1 under test
        r.select(1, 0);
        QVERIFY(!r.view.isChecked(Control::chkTest));
        QCOMPARE(r.view.at(Control::cmdTest).back, Colours::ButtonFace);
        r.select(0, 0);
        QVERIFY(r.view.isChecked(Control::chkTest));
        QCOMPARE(r.view.at(Control::chkTest).fore, Colours::Red);
        QCOMPARE(r.view.at(Control::cmdTest).back, Colours::Red);
    }

    void leftRight_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<int>("to");
        QTest::newRow("right") << 3 << int(Qt::Key_Right) << 0 << 4;
        QTest::newRow("right at end") << 25 << int(Qt::Key_Right) << 0 << 25;
        QTest::newRow("shift right from 20") << 20 << int(Qt::Key_Right) << int(Qt::ShiftModifier) << 25;
        QTest::newRow("shift right from 14") << 14 << int(Qt::Key_Right) << int(Qt::ShiftModifier) << 24;
        QTest::newRow("alt right from 15") << 15 << int(Qt::Key_Right) << int(Qt::AltModifier) << 25;
        QTest::newRow("left") << 3 << int(Qt::Key_Left) << 0 << 2;
        QTest::newRow("left at 0") << 0 << int(Qt::Key_Left) << 0 << 0;
        QTest::newRow("ctrl left from 10") << 10 << int(Qt::Key_Left) << int(Qt::ControlModifier) << 0;
        QTest::newRow("ctrl left from 17") << 17 << int(Qt::Key_Left) << int(Qt::ControlModifier) << 7;
    }
    void leftRight()
    {
        QFETCH(int, from);
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(int, to);
        FlowRig r(4, 25);
        r.select(0, from);
        QVERIFY(r.selection.List1_KeyDown(key, Qt::KeyboardModifiers(modifiers)));
        QCOMPARE(r.view.currentRow(Control::list2), to);
        QCOMPARE(r.view.text(Control::lblInChannel), QString::number(to)); // input j is channel j
        QVERIFY(r.port.commands.isEmpty());
    }

    void deleteChoosesUnassigned()
    {
        FlowRig r;
        r.select(0, 5);
        QVERIFY(r.selection.List1_KeyDown(Qt::Key_Delete, Qt::NoModifier));
        QCOMPARE(r.view.currentRow(Control::list2), 0);
        QCOMPARE(r.view.text(Control::lblInUnit), u"0"_s);
        QVERIFY(!r.selection.List1_KeyDown(Qt::Key_Down, Qt::NoModifier)); // the list's own
    }

    void entryRangeCheck()
    {
        FlowRig r(4, 48);
        r.type(u"4"_s);
        r.type(u"49"_s);
        QCOMPARE(r.view.text(Control::txtInput), u"48"_s);
        QCOMPARE(r.view.boxes.size(), 1);
        QCOMPARE(r.view.boxes[0].title, u"Entry Error"_s);
        QCOMPARE(r.view.boxes[0].text, u"Highest Input allowable\ron this system is 48"_s);
        QCOMPARE(r.view.boxes[0].icon, MessageIcon::Information);
        r.entry.txtInput_Change(); // the program's own write passes
        QCOMPARE(r.view.boxes.size(), 1);
        QVERIFY(r.entry.txtInput_KeyDown(Qt::Key_Return, Qt::NoModifier));
        QCOMPARE(r.sent(), QStringList{u"Map 1 1 2 48"_s});
        QCOMPARE(r.view.currentRow(Control::List1), 1);
        QCOMPARE(r.view.focus, Control::txtInput);
    }

    void entryEnter_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<int>("row");
        QTest::newRow("007") << u"007"_s << QStringList{u"Map 1 1 2 7"_s} << 7;
        QTest::newRow("2.5 to even") << u"2.5"_s << QStringList{u"Map 1 1 2 2"_s} << 2;
        QTest::newRow("letters map unassigned") << u"ab"_s << QStringList{u"Res 1  1"_s, u"ClrMap 1  1"_s} << 0;
        QTest::newRow("negative maps nothing") << u"-5"_s << QStringList() << 3;
    }
    void entryEnter()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, commands);
        QFETCH(int, row);
        FlowRig r(4, 10);
        r.select(0, 3);
        r.type(text);
        QVERIFY(r.entry.txtInput_KeyDown(Qt::Key_Enter, Qt::NoModifier));
        QCOMPARE(r.sent(), commands);
        QCOMPARE(r.view.currentRow(Control::list2), row);
        QCOMPARE(r.view.currentRow(Control::List1), commands.isEmpty() ? 0 : 1);
        if (!commands.isEmpty())
            QCOMPARE(r.view.text(Control::txtInput), QString::number(row));
    }

    void entryUpDown_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<int>("to");
        QTest::newRow("shift down from 3") << 3 << int(Qt::Key_Down) << int(Qt::ShiftModifier) << 13;
        QTest::newRow("shift down from 25") << 25 << int(Qt::Key_Down) << int(Qt::ShiftModifier) << 29;
        QTest::newRow("down at last") << 29 << int(Qt::Key_Down) << 0 << 29;
        QTest::newRow("down") << 4 << int(Qt::Key_Down) << 0 << 5;
        QTest::newRow("ctrl up from 7") << 7 << int(Qt::Key_Up) << int(Qt::ControlModifier) << 0;
        QTest::newRow("up at 0") << 0 << int(Qt::Key_Up) << 0 << 0;
    }
    void entryUpDown()
    {
        QFETCH(int, from);
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(int, to);
        FlowRig r(30, 4);
        r.select(from, 0);
        QVERIFY(r.entry.txtInput_KeyDown(key, Qt::KeyboardModifiers(modifiers)));
        QCOMPARE(r.view.currentRow(Control::List1), to);
        QCOMPARE(r.view.text(Control::lblOutChannel), QString::number(to + 1));
        QVERIFY(r.port.commands.isEmpty());
    }

    void entrySwallowsSpaceAndDelete()
    {
        FlowRig r;
        QVERIFY(r.entry.txtInput_KeyDown(Qt::Key_Space, Qt::NoModifier));
        QVERIFY(r.entry.txtInput_KeyDown(Qt::Key_Delete, Qt::NoModifier));
        QVERIFY(!r.entry.txtInput_KeyDown(Qt::Key_Backspace, Qt::NoModifier));
        QVERIFY(!r.entry.txtInput_KeyDown(Qt::Key_5, Qt::NoModifier));
    }
};

QTEST_GUILESS_MAIN(TestMappingFlow)
#include "tst_mappingflow.moc"
