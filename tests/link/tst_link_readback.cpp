#include "matrix/MapString.h"
#include "support/LinkRig.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// A tally system whose map table holds the given rows (row 1 first); a request past the end
// gets an empty reply line.
void serveTable(ScriptedPort &port, const QList<QByteArray> &rows)
{
    port.responder = [rows](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
        if (!c.startsWith("RawMap "))
            return ScriptedPort::answer(c, "OK");
        const int row = c.mid(7).toInt();
        return ScriptedPort::answer(c, row >= 1 && row <= rows.size() ? rows[row - 1] : "");
    };
}

QByteArray row(int ou, int oc, int iu, int ic)
{
    return ComposeMapString(ou, oc, iu, ic).toLatin1();
}

QList<QByteArray> rawMapRequests(int from, int to)
{
    QList<QByteArray> r;
    for (int k = from; k <= to; ++k)
        r << "RawMap " + QByteArray::number(k);
    return r;
}

} // namespace

class TestLinkReadBack : public QObject
{
    Q_OBJECT
private slots:
    void emptyTable()
    {
        LinkRig rig;
        serveTable(rig.port, {});
        rig.model.OutputMap[2] = QString::fromLatin1(row(1, 2, 2, 1)); // from before
        rig.model.MapStrings = 7;
        QVERIFY(!rig.readBack.GetAllRawMappings());
        QCOMPARE(rig.port.commands, QList<QByteArray>{"RawMap 1"});
        QCOMPARE(rig.model.MapStrings, qint16(0));
        for (int i = 0; i <= 4; ++i)
            QCOMPARE(rig.model.OutputMap[i], u""_s);
        QVERIFY(!rig.model.DownloadActive);
        QCOMPARE(rig.view.text(Control::lblDownloading), u""_s);
        QCOMPARE(rig.view.text(Control::lblError), u""_s);
    }

    void startPauseAndDownloadBracket()
    {
        LinkRig rig;
        rig.model.Online = true;
        serveTable(rig.port, {row(1, 1, 2, 1)});
        QList<std::chrono::milliseconds> pausesAtFirst;
        bool bracketShown = false;
        int eventRunsAtRequest = -1;
        rig.port.onCommand = [&](const QByteArray &c) {
            if (c != "RawMap 1")
                return;
            pausesAtFirst = rig.port.pauses;
            eventRunsAtRequest = rig.view.eventRuns;
            bracketShown = rig.view.isVisible(Control::cmdCancelDownload) &&
                           !rig.view.isVisible(Control::lblTallyOutputs) &&
                           rig.view.isVisible(Control::lblDownloading) &&
                           !rig.view.isEnabled(Control::cmdMapIt) &&
                           !rig.view.isEnabled(Control::cmdRefresh) && rig.model.DownloadActive;
        };
        rig.readBack.GetAllRawMappings();
        QCOMPARE(pausesAtFirst, (QList<std::chrono::milliseconds>{400ms}));
        QVERIFY(bracketShown);
        QCOMPARE(eventRunsAtRequest, 1); // events run once before each request
        QCOMPARE(rig.view.eventRuns, 2);
        QVERIFY(!rig.view.isVisible(Control::cmdCancelDownload));
        QVERIFY(rig.view.isVisible(Control::lblTallyOutputs));
        QVERIFY(!rig.view.isVisible(Control::lblDownloading));
        QVERIFY(rig.view.isEnabled(Control::cmdMapIt));
        QVERIFY(rig.view.isEnabled(Control::cmdRefresh));
    }

    void threeRowsThenEmpty()
    {
        LinkRig rig;
        const QList<QByteArray> rows{row(1, 3, 2, 5), row(1, 4, 0, 0), row(1, 1, 2, 6)};
        serveTable(rig.port, rows);
        QVERIFY(!rig.readBack.GetAllRawMappings());
        QCOMPARE(rig.port.commands, rawMapRequests(1, 4));
        QCOMPARE(rig.view.text(Control::lblDownloading), u"Downloading  3"_s);
        QCOMPARE(rig.model.MapStrings, qint16(3));
        for (int k = 1; k <= 3; ++k)
            QCOMPARE(rig.model.RawMap[k], QString::fromLatin1(rows[k - 1]));
        QCOMPARE(rig.model.OutputMap[3], QString::fromLatin1(rows[0]));
        QCOMPARE(rig.model.OutputSource[3], u"5"_s);
        QCOMPARE(rig.model.OutputMap[4], QString::fromLatin1(rows[1]));
        QCOMPARE(rig.model.OutputSource[4], u"0"_s); // "Unassigned"
        QCOMPARE(rig.model.OutputMap[1], QString::fromLatin1(rows[2]));
        QCOMPARE(rig.model.OutputSource[1], u"6"_s);
        QCOMPARE(rig.model.OutputMap[2], u""_s);
        QCOMPARE(rig.model.OutputSource[2], u""_s);
    }

    void outputUnitZeroEnds()
    {
        LinkRig rig;
        const QList<QByteArray> rows{row(1, 1, 2, 1), row(1, 2, 2, 2), row(0, 3, 2, 3),
                                     row(1, 4, 2, 4)};
        serveTable(rig.port, rows);
        QVERIFY(!rig.readBack.GetAllRawMappings());
        QCOMPARE(rig.port.commands, rawMapRequests(1, 3));
        QCOMPARE(rig.model.MapStrings, qint16(2));
        QCOMPARE(rig.model.RawMap[3], QString::fromLatin1(rows[2])); // kept, not counted
        QCOMPARE(rig.model.OutputMap[3], u""_s);
        QCOMPARE(rig.model.OutputMap[4], u""_s);
        QCOMPARE(rig.view.text(Control::lblDownloading), u"Downloading  2"_s);
    }

    void laterRowWins()
    {
        LinkRig rig;
        const QList<QByteArray> rows{row(1, 2, 2, 1), row(1, 3, 2, 2), row(1, 2, 2, 4)};
        serveTable(rig.port, rows);
        rig.readBack.SyncWithKestrel();
        QCOMPARE(rig.model.OutputMap[2], QString::fromLatin1(rows[2]));
        QCOMPARE(rig.model.RawMap[1], QString::fromLatin1(rows[0]));
        QCOMPARE(rig.model.RawMap[3], QString::fromLatin1(rows[2]));
        QCOMPARE(rig.model.MapStrings, qint16(3));
        QCOMPARE(rig.view.rowText(Control::List1, 1), u"Out 2\t 4\t\t"_s);
    }

    void undeclaredOutputAndInput()
    {
        LinkRig rig; // 4 outputs, 6 inputs
        const QList<QByteArray> rows{row(9, 9, 2, 1), row(1, 2, 7, 7)};
        serveTable(rig.port, rows);
        const QStringList rowsBefore = rig.view.list(Control::List1).rows;
        rig.readBack.GetAllRawMappings();
        QCOMPARE(rig.model.MapStrings, qint16(2));
        QCOMPARE(rig.model.OutputMap[5], QString::fromLatin1(rows[0])); // NumberOfOutputs + 1
        QCOMPARE(rig.model.OutputSource[5], u"1"_s);
        QCOMPARE(rig.model.OutputMap[2], QString::fromLatin1(rows[1]));
        QCOMPARE(rig.model.OutputSource[2], u"7"_s); // NumberOfInputs + 1
        QCOMPARE(rig.model.Z, 7);
        rig.lists.UpdateListBox1();                     // as SyncWithKestrel does next
        QCOMPARE(rig.view.rowCount(Control::List1), 4); // no row shows output 5
        QCOMPARE(rig.view.rowText(Control::List1, 1), u"Out 2\t 7\t\t"_s);
        QCOMPARE(rig.view.rowText(Control::List1, 0), rowsBefore[0] + u"\t\t"_s);
    }

    void noOutputsDeclared()
    {
        LinkRig rig(0, 2);
        serveTable(rig.port, {row(1, 1, 2, 1)});
        rig.readBack.SyncWithKestrel();
        QCOMPARE(rig.model.OutputMap[1], QString::fromLatin1(row(1, 1, 2, 1)));
        QCOMPARE(rig.view.rowCount(Control::List1), 0);
    }

    void cancelBetweenRows_data()
    {
        QTest::addColumn<int>("tableRows");
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("mapStrings");
        QTest::newRow("ten rows: row 4 still read") << 10 << true << 4;
        QTest::newRow("three rows: the last request meets the end") << 3 << false << 3;
    }
    void cancelBetweenRows()
    {
        QFETCH(int, tableRows);
        QFETCH(bool, result);
        QFETCH(int, mapStrings);
        LinkRig rig(12, 6);
        QList<QByteArray> rows;
        for (int k = 1; k <= tableRows; ++k)
            rows << row(1, k, 2, 1 + k % 6);
        serveTable(rig.port, rows);
        // The operator clicks "Cancel" while row 3 is being requested; the click is served
        // when the read-back next lets events run.
        bool clicked = false;
        rig.port.onCommand = [&](const QByteArray &c) { clicked = clicked || c == "RawMap 3"; };
        rig.view.onProcessEvents = [&] {
            if (clicked) {
                rig.channel.cmdCancelDownload_Click();
                clicked = false;
            }
        };
        QCOMPARE(rig.readBack.GetAllRawMappings(), result);
        QCOMPARE(rig.port.commands, rawMapRequests(1, 4));
        QCOMPARE(rig.model.MapStrings, qint16(mapStrings));
        for (int k = 1; k <= mapStrings; ++k)
            QCOMPARE(rig.model.OutputMap[k], QString::fromLatin1(rows[k - 1]));
        QCOMPARE(rig.model.OutputMap[5], u""_s);
        QVERIFY(!rig.view.isVisible(Control::cmdCancelDownload));
    }

    void noReplyMidwayKeepsRowsRead()
    {
        LinkRig rig;
        const QList<QByteArray> rows{row(1, 1, 2, 1), row(1, 2, 2, 2)};
        rig.port.script("RawMap 1", ScriptedPort::answer("RawMap 1", rows[0]));
        rig.port.script("RawMap 2", ScriptedPort::answer("RawMap 2", rows[1]));
        // Row 3 silent: ends the read-back like the end of the table.
        QVERIFY(!rig.readBack.GetAllRawMappings());
        QCOMPARE(rig.port.commands, rawMapRequests(1, 3));
        QCOMPARE(rig.model.MapStrings, qint16(2));
        QCOMPARE(rig.model.OutputMap[1], QString::fromLatin1(rows[0]));
        QCOMPARE(rig.model.OutputMap[2], QString::fromLatin1(rows[1]));
        QCOMPARE(rig.view.text(Control::lblError), u"Comm Error!"_s);
        QCOMPARE(rig.view.beeps, 1);
    }

    void replyCutShortMidway()
    {
        // Half a map string and then silence: a reply line with an output unit is filed as
        // read; the next row's silence ends it.
        LinkRig rig;
        rig.port.script("RawMap 1", ScriptedPort::bytes("RawMap 1\r\n[1][3][2][4]\r\n"));
        QVERIFY(!rig.readBack.GetAllRawMappings());
        QCOMPARE(rig.model.MapStrings, qint16(1));
        QCOMPARE(rig.model.OutputMap[3], u"[1][3][2][4]"_s);
        QCOMPARE(rig.model.OutputSource[3], u"4"_s);
    }

    void tableThatNeverEnds_data()
    {
        QTest::addColumn<int>("outputs");
        QTest::newRow("four outputs") << 4;
        QTest::newRow("999 outputs, rows for an undeclared one") << 999;
    }
    void tableThatNeverEnds()
    {
        QFETCH(int, outputs);
        LinkRig rig(outputs, 6);
        // Every request gets a row; odd rows name output 1, even rows an undeclared output.
        rig.port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            const int k = c.mid(7).toInt();
            return ScriptedPort::answer(c, k % 2 ? row(1, 1, 2, 1 + k % 6) : row(50, 50, 2, 2));
        };
        rig.model.OutputSource[0] = u"canary"_s;
        const auto start = rig.port.now;
        QVERIFY(!rig.readBack.GetAllRawMappings());
        QCOMPARE(rig.port.commands, rawMapRequests(1, 999));
        QCOMPARE(rig.model.MapStrings, qint16(999));
        QCOMPARE(rig.model.RawMap[999], QString::fromLatin1(row(1, 1, 2, 1 + 999 % 6)));
        QCOMPARE(rig.model.OutputMap[1], QString::fromLatin1(row(1, 1, 2, 1 + 999 % 6)));
        QCOMPARE(rig.view.text(Control::lblError), ReadBack::LimitText());
        QVERIFY(rig.view.text(Control::lblError).contains(u"999"_s));
        QCOMPARE(rig.view.text(Control::lblDownloading), u"Downloading  999"_s);
        QVERIFY(!rig.model.DownloadActive);
        if (outputs < MaxDeclared) {
            QCOMPARE(rig.model.OutputMap[outputs + 1], QString::fromLatin1(row(50, 50, 2, 2)));
        } else {
            // Index 1000 does not exist: the undeclared output's rows stay in RawMap only,
            // and the last real output is not overwritten.
            QCOMPARE(rig.model.OutputMap[999], u""_s);
            QCOMPARE(rig.model.RawMap[998], QString::fromLatin1(row(50, 50, 2, 2)));
        }
        // The entry that follows OutputMap's last one in memory is still as it was after
        // the read-back cleared it.
        QCOMPARE(rig.model.OutputSource[0], u""_s);
        QVERIFY(rig.secondsSince(start) < 1.0); // no time-out anywhere
    }

    void syncWithKestrelOffline()
    {
        LinkRig rig;
        rig.model.OutputMap[1] = QString::fromLatin1(row(1, 1, 2, 3));
        rig.lists.UpdateListBox1();
        QCOMPARE(rig.view.rowText(Control::List1, 0), u"Out 1\t 3\t\t"_s);
        const auto start = rig.port.now;
        rig.readBack.SyncWithKestrel();                                          // nobody answers
        QVERIFY(rig.secondsSince(start) > 2.4 && rig.secondsSince(start) < 2.5); // 0.4 + 2
        QCOMPARE(rig.view.text(Control::lblError), u"Comm Error!"_s);
        QCOMPARE(rig.model.MapStrings, qint16(0));
        QCOMPARE(rig.view.rowText(Control::List1, 0), u"Out 1\t\t\t"_s);
    }

    void refreshButton()
    {
        LinkRig rig;
        rig.model.Online = true;
        rig.model.OutputTestOn[2] = true;
        rig.view.setRowColour(Control::List1, 1, Colours::Red);
        serveTable(rig.port, {row(1, 2, 2, 2)});
        rig.view.setFocus(Control::txtInput);
        bool testOffAtRefresh = false;
        rig.port.onCommand = [&](const QByteArray &c) {
            if (c == "Refresh")
                testOffAtRefresh = !rig.model.OutputTestOn[2];
        };
        rig.readBack.cmdRefresh_Click();
        QCOMPARE(rig.port.commands, (QList<QByteArray>{"Refresh", "RawMap 1", "RawMap 2"}));
        QVERIFY(testOffAtRefresh);
        QCOMPARE(rig.view.list(Control::List1).colours[1], Colours::ListBlue);
        QCOMPARE(rig.view.rowText(Control::List1, 1), u"Out 2\t 2\t\t"_s);
        QCOMPARE(rig.view.focus, Control::List1);
    }

    void getMapping_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QList<int>>("fields");
        QTest::newRow("boolean mapping")
            << QByteArray("GetMap 2  16\r\n[2][16][3][4][1][3][5][1]\r\n.")
            << QList<int>{2, 16, 3, 4, 1, 3, 5, 1};
        QTest::newRow("no reply: zeros") << QByteArray() << QList<int>{0, 0, 0, 0, 0, 0, 0, 0};
    }
    void getMapping()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QList<int>, fields);
        LinkRig rig;
        ParseGetMap(rig.model, u"[9][9][9][9][9][9][9][9]"_s);
        if (!reply.isEmpty())
            rig.port.script("GetMap 2  16", ScriptedPort::bytes(reply));
        rig.readBack.GetMapping(2, 16);
        const SystemModel &m = rig.model;
        QCOMPARE((QList<int>{m.CurrentOutUnit, m.CurrentOutChannel, m.CurrentInUnit,
                             m.CurrentInChannel, m.CurrentMapEnable, m.CurrentBooleanInUnit,
                             m.CurrentBooleanInChannel, m.CurrentBooleanMode}),
                 fields);
    }

    void getRawMappingWithoutLineKeepsOld()
    {
        LinkRig rig;
        rig.model.RawMap[5] = u"[1][1][2][2]"_s;
        ParseGetMap(rig.model, u"[1][1][2][2]"_s);
        rig.port.script("RawMap 5", ScriptedPort::answer("RawMap 5", ""));
        QCOMPARE(rig.readBack.GetRawMapping(5), u""_s);
        QCOMPARE(rig.model.RawMap[5], u"[1][1][2][2]"_s);
        QCOMPARE(rig.model.CurrentInChannel, qint16(2));
        rig.port.script("RawMap 5", ScriptedPort::answer("RawMap 5", "[1][3][2][4]"));
        QCOMPARE(rig.readBack.GetRawMapping(5), u"[1][3][2][4]"_s);
        QCOMPARE(rig.model.RawMap[5], u"[1][3][2][4]"_s);
        QCOMPARE(rig.model.CurrentInChannel, qint16(4));
    }

    void mapTableCompress()
    {
        LinkRig rig;
        rig.port.script("Comp", ScriptedPort::answer("Comp", "Compacted"));
        rig.readBack.MapTableCompress();
        QCOMPARE(rig.port.written, QByteArray("Comp\r\n"));
        QCOMPARE(rig.model.Response, u"Compacted"_s);
    }
};

QTEST_GUILESS_MAIN(TestLinkReadBack)
#include "tst_link_readback.moc"
