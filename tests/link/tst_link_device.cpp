#include "matrix/MapString.h"
#include "support/LinkRig.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

enum class Op
{
    SystemInit,
    SystemRefresh,
    EnableUnit,
    ResetOutput,
    ClearMapping,
    GetStat,
    GetMapping,
    GetRawMapping,
    MapTableCompress
};

void run(LinkRig &rig, Op op, int a, int b)
{
    const auto x = static_cast<qint16>(a);
    const auto y = static_cast<qint16>(b);
    switch (op) {
    case Op::SystemInit:
        rig.commands.SystemInit();
        break;
    case Op::SystemRefresh:
        rig.commands.SystemRefresh();
        break;
    case Op::EnableUnit:
        rig.commands.EnableUnit(x);
        break;
    case Op::ResetOutput:
        rig.commands.ResetOutput(x, y);
        break;
    case Op::ClearMapping:
        rig.commands.ClearMapping(x, y);
        break;
    case Op::GetStat:
        rig.commands.GetStat(x);
        break;
    case Op::GetMapping:
        rig.readBack.GetMapping(x, y);
        break;
    case Op::GetRawMapping:
        rig.readBack.GetRawMapping(x);
        break;
    case Op::MapTableCompress:
        rig.readBack.MapTableCompress();
        break;
    }
}

// Three outputs mapped and under test, shown red in the list.
void mapAndTestEverything(LinkRig &rig)
{
    for (int i = 1; i <= rig.model.NumberOfOutputs; ++i) {
        rig.model.OutputMap[i] = ComposeMapString(1, qint16(i), 2, qint16(i));
        rig.model.OutputSource[i] = QString::number(i);
        rig.model.OutputTestOn[i] = true;
        rig.view.setRowColour(Control::List1, i - 1, Colours::Red);
    }
    rig.lists.UpdateListBox1();
}

bool anyTestOn(const SystemModel &m)
{
    return std::any_of(m.OutputTestOn.begin(), m.OutputTestOn.end(), [](bool b) { return b; });
}

} // namespace

Q_DECLARE_METATYPE(Op)

class TestLinkDevice : public QObject
{
    Q_OBJECT
private slots:
    void commandBytes_data()
    {
        QTest::addColumn<Op>("op");
        QTest::addColumn<int>("a");
        QTest::addColumn<int>("b");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("Init") << Op::SystemInit << 0 << 0 << QByteArray("Init\r\n");
        QTest::newRow("Refresh") << Op::SystemRefresh << 0 << 0 << QByteArray("Refresh\r\n");
        QTest::newRow("Uenable 5: two blanks")
            << Op::EnableUnit << 5 << 0 << QByteArray("Uenable  5\r\n");
        QTest::newRow("Uenable 0") << Op::EnableUnit << 0 << 0 << QByteArray("Uenable  0\r\n");
        QTest::newRow("Uenable -1") << Op::EnableUnit << -1 << 0 << QByteArray("Uenable -1\r\n");
        QTest::newRow("Uenable 120")
            << Op::EnableUnit << 120 << 0 << QByteArray("Uenable  120\r\n");
        QTest::newRow("Res 2 16: two blanks")
            << Op::ResetOutput << 2 << 16 << QByteArray("Res 2  16\r\n");
        QTest::newRow("Res negatives")
            << Op::ResetOutput << -3 << -16 << QByteArray("Res-3 -16\r\n");
        QTest::newRow("ClrMap 2 16")
            << Op::ClearMapping << 2 << 16 << QByteArray("ClrMap 2  16\r\n");
        QTest::newRow("ClrMap 0 0") << Op::ClearMapping << 0 << 0 << QByteArray("ClrMap 0  0\r\n");
        QTest::newRow("ClrMap extremes")
            << Op::ClearMapping << 32767 << -32768 << QByteArray("ClrMap 32767 -32768\r\n");
        QTest::newRow("GSTAT 10") << Op::GetStat << 10 << 0 << QByteArray("GSTAT 10\r\n");
        QTest::newRow("GSTAT -1") << Op::GetStat << -1 << 0 << QByteArray("GSTAT-1\r\n");
        QTest::newRow("GetMap 2 16") << Op::GetMapping << 2 << 16 << QByteArray("GetMap 2  16\r\n");
        QTest::newRow("GetMap 3 12") << Op::GetMapping << 3 << 12 << QByteArray("GetMap 3  12\r\n");
        QTest::newRow("RawMap 5") << Op::GetRawMapping << 5 << 0 << QByteArray("RawMap 5\r\n");
        QTest::newRow("RawMap 999")
            << Op::GetRawMapping << 999 << 0 << QByteArray("RawMap 999\r\n");
        QTest::newRow("Comp") << Op::MapTableCompress << 0 << 0 << QByteArray("Comp\r\n");
    }
    void commandBytes()
    {
        QFETCH(Op, op);
        QFETCH(int, a);
        QFETCH(int, b);
        QFETCH(QByteArray, bytes);
        LinkRig rig;
        run(rig, op, a, b);
        QCOMPARE(rig.port.written, bytes);
    }

    // Every operation keeps the reply line where the caller finds it.
    void replyLineKept_data()
    {
        QTest::addColumn<Op>("op");
        QTest::newRow("Init") << Op::SystemInit;
        QTest::newRow("Refresh") << Op::SystemRefresh;
        QTest::newRow("Uenable") << Op::EnableUnit;
        QTest::newRow("ClrMap") << Op::ClearMapping;
        QTest::newRow("GSTAT") << Op::GetStat;
        QTest::newRow("Comp") << Op::MapTableCompress;
    }
    void replyLineKept()
    {
        QFETCH(Op, op);
        LinkRig rig;
        rig.port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            return ScriptedPort::answer(c, "line of " + c);
        };
        run(rig, op, 1, 2);
        QCOMPARE(rig.port.commands.size(), 1);
        QCOMPARE(rig.model.Response, u"line of "_s + QString::fromLatin1(rig.port.commands[0]));
    }

    void clearMappingResult_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("response");
        QTest::newRow("answered") << QByteArray("ClrMap 1  2\r\nDone\r\n.") << true << u"Done"_s;
        QTest::newRow("garbage is an answer too") << QByteArray("#") << true << u""_s;
        QTest::newRow("silence") << QByteArray() << false << u""_s;
    }
    void clearMappingResult()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, result);
        QFETCH(QString, response);
        LinkRig rig;
        rig.model.Response = u"stale"_s;
        if (!reply.isEmpty())
            rig.port.script("ClrMap 1  2", ScriptedPort::bytes(reply));
        QCOMPARE(rig.commands.ClearMapping(1, 2), result);
        QCOMPARE(rig.model.Response, response);
    }

    void getStat_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("line");
        QTest::newRow("bits") << QByteArray("GSTAT 3\r\n0001 0000\r\n.") << u"0001 0000"_s;
        QTest::newRow("no line") << QByteArray("GSTAT 3.") << u""_s;
        QTest::newRow("silence") << QByteArray() << u""_s;
    }
    void getStat()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, line);
        LinkRig rig;
        if (!reply.isEmpty())
            rig.port.script("GSTAT 3", ScriptedPort::bytes(reply));
        QCOMPARE(rig.commands.GetStat(3), line);
        QCOMPARE(rig.model.Response, line);
    }

    void systemRefreshClearsTestFirst()
    {
        LinkRig rig;
        mapAndTestEverything(rig);
        bool testOnAtSend = true;
        QList<Colour> coloursAtSend;
        rig.port.onCommand = [&](const QByteArray &) {
            testOnAtSend = anyTestOn(rig.model);
            coloursAtSend = rig.view.list(Control::List1).colours;
        };
        rig.readBack.cmdRefresh_Click(); // silent, and still cleared
        QVERIFY(!testOnAtSend);
        QCOMPARE(coloursAtSend, QList<Colour>(4, Colours::ListBlue));
        QCOMPARE(rig.port.commands.first(), QByteArray("Refresh"));
    }

    void enableUnits_data()
    {
        QTest::addColumn<QList<int>>("units");
        QTest::addColumn<QList<QByteArray>>("sent");
        QTest::newRow("list order")
            << QList<int>{3, 1, 2} << QList<QByteArray>{"Uenable  3", "Uenable  1", "Uenable  2"};
        QTest::newRow("none") << QList<int>{} << QList<QByteArray>{};
        QTest::newRow("one") << QList<int>{40} << QList<QByteArray>{"Uenable  40"};
    }
    void enableUnits()
    {
        QFETCH(QList<int>, units);
        QFETCH(QList<QByteArray>, sent);
        LinkRig rig;
        rig.model.EnabledUnitList[0] = 99; // entry 0 holds nothing
        rig.model.EnabledUnitCount = static_cast<qint16>(units.size());
        for (int k = 0; k < units.size(); ++k)
            rig.model.EnabledUnitList[k + 1] = static_cast<qint16>(units[k]);
        rig.model.EnabledUnitList[units.size() + 1] = 77; // past the count
        rig.commands.EnableUnits();
        QCOMPARE(rig.port.commands, sent);
    }

    void enableUnitsGoesOnAfterSilence()
    {
        LinkRig rig;
        rig.model.EnabledUnitCount = 3;
        rig.model.EnabledUnitList[1] = 1;
        rig.model.EnabledUnitList[2] = 2;
        rig.model.EnabledUnitList[3] = 3;
        rig.port.script("Uenable  1", ScriptedPort::answer("Uenable  1", "U1"));
        rig.port.script("Uenable  3", ScriptedPort::answer("Uenable  3", "U3"));
        rig.commands.EnableUnits();
        QCOMPARE(rig.port.commands.size(), 3);
        QCOMPARE(rig.view.beeps, 1);
        QCOMPARE(rig.model.Response, u"U3"_s);
    }

    void clearAllCancel_data()
    {
        QTest::addColumn<bool>("online");
        QTest::addColumn<MessageResult>("answer");
        QTest::newRow("online, Cancel") << true << MessageResult::Cancel;
        QTest::newRow("offline, Cancel") << false << MessageResult::Cancel;
        QTest::newRow("online, box closed (default)") << true << MessageResult(-1);
    }
    void clearAllCancel()
    {
        QFETCH(bool, online);
        QFETCH(MessageResult, answer);
        LinkRig rig;
        rig.model.Online = online;
        rig.model.EnabledUnitCount = 1;
        rig.model.EnabledUnitList[1] = 1;
        mapAndTestEverything(rig);
        rig.view.setText(Control::lblFileName, u"show.qvr"_s);
        if (answer != MessageResult(-1))
            rig.view.answers = {answer};
        const QStringList rows = rig.view.list(Control::List1).rows;
        const std::array<QString, TableSize> maps = rig.model.OutputMap;
        rig.clearAll.ResetAndClearAll();

        QCOMPARE(rig.view.boxes.size(), 1);
        const FakeView::Box &box = rig.view.boxes[0];
        QCOMPARE(box.text, u"Are you absolutely sure you want to Clear ALL ??"_s);
        QCOMPARE(box.title, u"Clear All"_s);
        QCOMPARE(box.buttons, MessageButtons::OkCancel);
        QCOMPARE(box.icon, MessageIcon::None);
        QCOMPARE(box.defaultButton, MessageResult::Cancel);

        QVERIFY(rig.port.written.isEmpty());
        QVERIFY(rig.model.OutputMap == maps);
        QVERIFY(anyTestOn(rig.model));
        QCOMPARE(rig.view.list(Control::List1).rows, rows);
        QCOMPARE(rig.view.list(Control::List1).colours[0], Colours::Red);
        QCOMPARE(rig.view.text(Control::lblFileName), u"show.qvr"_s);
    }

    void clearAllOk_data()
    {
        QTest::addColumn<bool>("online");
        QTest::addColumn<QList<QByteArray>>("sent");
        QTest::newRow("online: Init, then the units in list order")
            << true << QList<QByteArray>{"Init", "Uenable  7", "Uenable  2"};
        QTest::newRow("offline: nothing sent") << false << QList<QByteArray>{};
    }
    void clearAllOk()
    {
        QFETCH(bool, online);
        QFETCH(QList<QByteArray>, sent);
        LinkRig rig;
        rig.model.Online = online;
        rig.model.EnabledUnitCount = 2;
        rig.model.EnabledUnitList[1] = 7;
        rig.model.EnabledUnitList[2] = 2;
        rig.port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            return ScriptedPort::answer(c, "OK");
        };
        mapAndTestEverything(rig);
        rig.model.RawMap[1] = ComposeMapString(1, 1, 2, 1);
        rig.model.MapStrings = 1;
        rig.view.setText(Control::lblFileName, u"show.qvr"_s);
        rig.view.answers = {MessageResult::Ok};
        rig.view.list1Visibility.clear();
        rig.clearAll.cmdInit_Click();

        QCOMPARE(rig.port.commands, sent);
        for (int i = 0; i <= rig.model.NumberOfOutputs; ++i) {
            QCOMPARE(rig.model.OutputMap[i], u""_s);
            QCOMPARE(rig.model.OutputSource[i], u""_s);
        }
        QVERIFY(!anyTestOn(rig.model));
        QCOMPARE(
            rig.view.list(Control::List1).rows,
            (QStringList{u"Out 1\t\t\t"_s, u"Out 2\t\t\t"_s, u"Out 3\t\t\t"_s, u"Out 4\t\t\t"_s}));
        QCOMPARE(rig.view.list(Control::List1).colours, QList<Colour>(4, Colours::ListBlue));
        QCOMPARE(rig.view.list1Visibility, (QList<bool>{false, true})); // redrawn once
        QCOMPARE(rig.view.text(Control::lblFileName), u""_s);
        QCOMPARE(rig.view.focus, Control::List1);
        // The raw table is the file writer's, not cleared here.
        QCOMPARE(rig.model.MapStrings, qint16(1));
        QCOMPARE(rig.model.RawMap[1], ComposeMapString(1, 1, 2, 1));
    }

    void clearAllOnlineUnansweredStillClears()
    {
        LinkRig rig;
        rig.model.Online = true;
        rig.model.EnabledUnitCount = 1;
        rig.model.EnabledUnitList[1] = 1;
        mapAndTestEverything(rig);
        rig.view.answers = {MessageResult::Ok};
        rig.clearAll.ResetAndClearAll();
        QCOMPARE(rig.port.commands, (QList<QByteArray>{"Init", "Uenable  1"}));
        QCOMPARE(rig.view.beeps, 2);
        QCOMPARE(rig.model.OutputMap[2], u""_s);
        QCOMPARE(rig.view.rowText(Control::List1, 1), u"Out 2\t\t\t"_s);
    }

    void clearLocalMaps_data()
    {
        QTest::addColumn<int>("outputs");
        QTest::newRow("no outputs: index 0 only") << 0;
        QTest::newRow("four outputs") << 4;
        QTest::newRow("999 outputs") << 999;
    }
    void clearLocalMaps()
    {
        QFETCH(int, outputs);
        SystemModel m;
        m.NumberOfOutputs = static_cast<qint16>(outputs);
        for (int i = 0; i < TableSize; ++i) {
            m.OutputMap[i] = u"map"_s;
            m.OutputSource[i] = u"src"_s;
            m.OutputBoolSource[i] = u"bool"_s;
            m.RawMap[i] = u"raw"_s;
        }
        m.MapStrings = 5;
        FakeView v;
        Clearing(m, v).ClearLocalMaps();
        for (int i = 0; i < TableSize; ++i) {
            const bool cleared = i <= outputs;
            QCOMPARE(m.OutputMap[i], cleared ? u""_s : u"map"_s);
            QCOMPARE(m.OutputSource[i], cleared ? u""_s : u"src"_s);
            QCOMPARE(m.OutputBoolSource[i], u"bool"_s);
            QCOMPARE(m.RawMap[i], u"raw"_s);
        }
        QCOMPARE(m.MapStrings, qint16(5));
        QVERIFY(v.lists.isEmpty() && v.controls.isEmpty()); // nothing redrawn
    }

    void clearAllTest()
    {
        LinkRig rig;
        mapAndTestEverything(rig);
        const QStringList rows = rig.view.list(Control::List1).rows;
        rig.clearing.ClearAllTest();
        QVERIFY(!anyTestOn(rig.model));
        QCOMPARE(rig.view.list(Control::List1).colours, QList<Colour>(4, Colours::ListBlue));
        QCOMPARE(rig.view.list(Control::List1).rows, rows); // texts not redrawn
        QCOMPARE(rig.model.OutputMap[1], ComposeMapString(1, 1, 2, 1));
        QVERIFY(rig.port.written.isEmpty());
    }

    void clearAllTestWithoutOutputs()
    {
        LinkRig rig(0, 2);
        rig.model.OutputTestOn[0] = true; // never an output: left alone
        rig.clearing.ClearAllTest();
        QVERIFY(rig.model.OutputTestOn[0]);
        QVERIFY(rig.view.list(Control::List1).colours.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestLinkDevice)
#include "tst_link_device.moc"
