// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The configurator's logic on the scripted tally system: framing and deadline, the commands'
// bytes, the Online button; reading the matrix back, mapping with the mouse, the keys and the
// entry box, the output test, tally files and "Clear All".

#include "DataTable.h"
#include "support/Files.h"
#include "support/LinkRig.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Act = std::function<void(LinkRig &)>;

namespace {
// Every output index that holds a mapping, with its source as filed: "2= 3 5=7".
QString filed(const LinkRig &r)
{
    QStringList out;
    for (int i = 0; i <= std::min(r.model.NumberOfOutputs + 1, MaxDeclared); ++i)
        if (!r.model.OutputMap[i].isEmpty())
            out << QString::number(i) + u'=' + r.model.OutputSource[i];
    return out.join(u' ');
}

// Of 30 outputs and 25 inputs, output 2 (row 1) mapped to input 6, selected with input row 3.
void mapped(LinkRig &r)
{
    r.model.Online = true;
    r.model.OutputMap[2] = u"[1][2][2][6][1][0][0][0]"_s;
    r.lists.ShowMappingInList(2);
    r.select(1, 3);
}

} // namespace

// "Cancel" is clicked while row cancelAt is read: the tally system's rows (a number: that
// many), the outputs declared, cancelAt, the rows asked for, how the read-back ended, the outputs
// filed with sources.
using ReadBackRows = DataTable<"table outputs cancelAt asked end filed", QByteArray, int, int, int,
                               ReadBackEnd, QString>;
// On the mapped rig, online: what the act sends, output 2's map string and row text, the output
// and input rows selected, the entry box, the output shown, the error and the boxes shown.
using MappingRows =
    DataTable<"act sent map row outRow inRow entry output error boxes", Act, QString, QString,
              QString, int, int, QString, QString, QString, QStringList>;
// On the mapped rig: a key pressed `times` (Down in the entry box, the others in the output
// list), the output and input rows selected, the input and output shown.
using KeyRows = DataTable<"key modifiers times outRow inRow input output", int,
                          Qt::KeyboardModifiers, int, int, int, QString, QString>;
// Before the load output 4 is mapped to input 4, units 2 and 1 are enabled. Online, outputs,
// the file ("<dir>": a folder; a number: that many lines), the mode, the lines sent, the
// outputs filed, the messages shown.
using LoadRows = DataTable<"online outputs file mode sent filed boxes", bool, int, QByteArray,
                           LoadMode, QString, QString, QStringList>;
// Outputs 1..4 mapped and under test, units 7 and 2 enabled, "Clear All" confirmed: online, the
// lines sent.
using ClearRows = DataTable<"online sent", bool, QString>;

// The reply to "R" comes as `first` at once, or after `firstMs`, then `then` after `thenUs`;
// IBuffer, the reply line, and whether it was late ("Comm Error!").
using ExchangeRows = DataTable<"first firstMs then thenUs buffer reply late", QByteArray, int,
                               QByteArray, int, QByteArray, QString, bool>;
// The reply to "R" as `first` at once and `then` 5 ms later, with a quiet wait: the outcome
// (ExchangeOutcome), whether it is whole, the tail the quiet wait took, the bytes the next
// command's flush threw away.
using OutcomeRows = DataTable<"first then outcome whole tail discarded", QByteArray, QByteArray,
                              ExchangeOutcome, bool, QByteArray, int>;
// The Online button clicked: the answers to the retry question after each attempt nobody
// answers (Y: Yes, N: No; "-": it was online), the reply to "VER" ("": as usual), the lines
// sent, the version shown.
using WireRows = DataTable<"act", Act>;
using OnlineRows = DataTable<"answers ver sent version", QString, QByteArray, QString, QString>;

class TestFlows : public QObject
{
    Q_OBJECT
private slots:
    void exchange_data()
    {
        const ExchangeRows row;
        row("lone CR, LF", "x\ry\nb\r\nc\r.", 0, "", 0, "x\ry\nb\r\nc\r.", u"b"_s, false);
        row("point at 2 s", "R\r\nOK\r\n", 0, ".", 2000000, "R\r\nOK\r\n.", u"OK"_s, false);
        row("point at 2.0005 s", "R\r\nOK\r\n", 0, ".", 2000500, "R\r\nOK\r\n.", u"OK"_s, true);
        // The deadline runs from the start of the wait, not from the last byte.
        row("trickle", "R\r\nOK\r\n", 1500, ".", 2100000, "R\r\nOK\r\n", u"OK"_s, true);
    }
    void exchange()
    {
        const auto [first, firstMs, then, thenUs, buffer, reply, late] = ExchangeRows::fetch();
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
        // The next command's exchange clears the error shown.
        r.port.now += 1s;
        QVERIFY(r.channel.SendCommand(u"B"_s));
        QCOMPARE(r.view.text(Control::lblError), u""_s);
    }

    void outcome_data()
    {
        const OutcomeRows row;
        using enum ExchangeOutcome;
        row("whole", "R\r\nOK\r\n.", "", Complete, true, "", 0);
        row("a point in the line, its tail", "R\r\nV2.", "14\r\n.", Complete, false, "14\r\n.", 0);
        row("bytes after a whole reply", "R\r\nOK\r\n.", "X", Complete, true, "", 1);
        row("line feed lost after the echo", "R\r[1]\r\n.", "", OutOfStep, false, "", 0);
        row("line feed lost at the end", "R\r\nOK\r.", "", Complete, false, "", 0);
        row("a letter for the last line feed", "R\r\nOK\rX.", "", Complete, false, "", 0);
        row("a line feed in the line", "R\r\nO\nK\r\n.", "", Complete, false, "", 0);
        row("text before the point", "R\r\nOK\r\nX.", "", Complete, false, "", 0);
        row("another command's echo", "B\r\nOK\r\n.", "", OutOfStep, false, "", 0);
        row("no point", "R\r\nOK\r\n", "", TimedOut, false, "", 0);
    }
    void outcome()
    {
        const auto [first, then, outcome, whole, tail, discarded] = OutcomeRows::fetch();
        LinkRig r;
        r.port.script("R", {{0ms, first}, {5ms, then}});
        r.channel.setQuietWait(100ms);
        r.channel.SendCommand(u"R"_s);
        QCOMPARE(r.channel.lastExchange().outcome, outcome);
        QCOMPARE(r.channel.lastExchange().whole, whole);
        QCOMPARE(r.channel.lastExchange().tail, tail);
        r.port.now += 1s;
        r.channel.SendCommand(u"B"_s);
        QCOMPARE(int(r.channel.lastExchange().discarded), discarded);
    }

    // Commands exactly as they go on the wire (online), where the other tests' rows do not show
    // them: a negative and a five-digit number, a second input of 0, the read-back's start.
    void wire_data()
    {
        const WireRows wire; // each row named by the bytes it sends
        wire("ClrMap-3  32767\r\n", [](LinkRig &r) { r.commands.ClearMapping(-3, 32767); });
        wire("OR 2 5 0 0\r\n",
             [](LinkRig &r) { r.mapping.SetBoolMapping(2, 5, 1, 3, 0, 0, OrMapping); });
        wire("Refresh\r\nRawMap 1\r\n", [](LinkRig &r) { r.readBack.cmdRefresh_Click(); });
    }
    void wire()
    {
        const auto [act] = WireRows::fetch();
        LinkRig r;
        r.model.Online = true;
        act(r);
        QCOMPARE(r.port.written, QByteArray(QTest::currentDataTag()));
    }

    void goOnline_data()
    {
        const OnlineRows row;
        row("going offline", u"-"_s, "", u""_s, u""_s);
        row("answered", u""_s, "", u"|\rVER|||VER||"_s, u"MAINV3\r\n"_s);
        row("answered on the retry", u"Y"_s, "", u"|\rVER||\rVER|||VER||"_s, u"MAINV3\r\n"_s);
        row("Yes, Yes, No", u"YYN"_s, "", u"|\rVER||\rVER||\rVER"_s, u"before"_s);
        row("V2.14", u""_s, "VER\r\nMAINV2.14\r\n.", u"|\rVER|||VER||"_s, u"MAINV2"_s);
    }
    void goOnline()
    {
        const auto [answers, ver, sent, version] = OnlineRows::fetch();
        LinkRig r;
        const bool was = answers == u"-"_s, online = !was && !answers.endsWith(u'N');
        r.model.MainCPUVersion = u"before"_s;
        r.model.Online = was;
        r.view.setText(Control::lblError, u"Comm Error!"_s);
        r.view.answers = {MessageResult::Ok};
        const QString picks = QString(answers).remove(u'-'); // remove() returns a reference
        for (QChar a : picks) {
            r.port.script("", {});
            r.port.script("\rVER", {});
            r.view.answers.push_back(a == u'Y' ? MessageResult::Yes : MessageResult::No);
        }
        if (!ver.isEmpty())
            r.port.script("VER", ScriptedPort::bytes(ver));
        const auto start = r.port.now;
        r.connection.cmdOnline_Click();
        QCOMPARE(r.sent(), sent);
        const QString retry = u"Communication Error|No Communications to Tally system\r\nDo you "
                              u"want to retry?|YesNo - Yes"_s;
        const QString info = u"Information!|You have chosen to go Online\r\nMappings displayed may "
                             u"not agree with current Tally System Mappings|Ok - Ok"_s;
        QStringList boxes;
        if (!was)
            boxes << info << QStringList(answers.size(), retry);
        if (!was && !online)
            boxes << u"Communication Error|Going To Offline Mode|Ok - Ok"_s;
        QCOMPARE(r.view.boxes, boxes);
        QCOMPARE(r.model.InfoString, was ? u""_s : version + u"   V 7. 4   Studio A   Com 1"_s);
        QCOMPARE(r.model.Online, online);
        QCOMPARE(r.view.text(Control::cmdOnline), online ? u"Online"_s : u"OFFLINE"_s);
        for (Control c : {Control::cmdTest, Control::chkTest, Control::cmdRefresh, Control::Check1,
                          Control::Check2})
            QCOMPARE(r.view.isEnabled(c), online);
        QCOMPARE(r.view.text(Control::lblError), u""_s);
        // Each unanswered attempt costs two time-outs; a pause of 0.1 s before the version query.
        QCOMPARE((r.port.now - start) / 100ms, 40 * (answers.size() - was) + online);
    }

    void readBack_data()
    {
        const ReadBackRows row;
        const ReadBackEnd end = ReadBackEnd::TableEnd;
        row("3 rows", "[1][3][2][5] [1][4][0][0] [1][1][2][6]", 4, 0, 4, end, u"1=6 3=5 4=0"_s);
        row("unit 0 ends", "[1][1][2][1] [0][3][2][3] [1][4][2][4]", 4, 0, 2, end, u"1=1"_s);
        row("later wins, undeclared", "[1][2][2][1] [9][9][2][3] [1][2][7][7]", 4, 0, 4, end,
            u"2=7 5=3"_s);
        row("Cancel, 10 rows", "10", 4, 3, 4, ReadBackEnd::Cancelled, u"1=5 2=2 3=3 5=1"_s);
        row("endless, 999 outputs", "1200", 999, 0, 999, ReadBackEnd::RowLimit,
            u"1=3 2=2 3=3 4=6"_s);
    }
    void readBack()
    {
        const auto [table, outputs, cancelAt, asked, end, filed] = ReadBackRows::fetch();
        LinkRig r(outputs);
        r.table = table.split(' ');
        if (const int n = table.toInt()) { // every third row for an undeclared output
            r.table.clear();
            for (int k = 1; k <= n; ++k)
                r.table << (k % 3 ? "[1][" + QByteArray::number(k % 4 + 1) + "][2][" +
                                        QByteArray::number(k % 6 + 1) + "]"
                                  : "[50][50][2][1]");
        }
        r.model.OutputMap[2] = u"[1][2][2][2]"_s; // from before: forgotten
        bool cancel = false;
        const QByteArray cancelLine = "RawMap " + QByteArray::number(cancelAt);
        r.port.onCommand = [&](const QByteArray &c) { cancel = cancel || c == cancelLine; };
        r.view.onProcessEvents = [&] { cancel ? r.channel.cmdCancelDownload_Click() : void(); };
        QCOMPARE(r.readBack.GetAllRawMappings(), cancelAt > 0);
        QCOMPARE(r.port.commands.size(), asked);
        // The row that ends the table is asked for, not stored.
        QCOMPARE(r.model.MapStrings, asked - (end == ReadBackEnd::TableEnd));
        QCOMPARE(r.readBack.lastEnd(), end);
        QCOMPARE(::filed(r), filed);
        QCOMPARE(r.view.text(Control::lblError),
                 end != ReadBackEnd::RowLimit
                     ? u""_s
                     : u"Read back stopped at row 999; any rows after it were not read"_s);
        QVERIFY(!r.view.isVisible(Control::cmdCancelDownload));
    }

    void mapping_data()
    {
        const MappingRows row;
        const QString mapped = u"[1][2][2][6][1][0][0][0]"_s, mappedRow = u"Out 2\t 6\t\t"_s;
        row("Map Tally", [](LinkRig &r) { r.selection.cmdMapIt_Click(); }, u"Map 1 2 2 3"_s,
            u"[1][2][2][3][1][0][0][0]"_s, u"Out 2\t 3\t\t"_s, 2, 3, u"3"_s, u"3"_s, u""_s, {});
        row("AND",
            [](LinkRig &r) {
                r.select(1, 3, 4);
                r.selection.cmdBool_Click(AndMapping);
            },
            u"Map 1 2 2 3|AND 1 2 2 4"_s, u"[1][2][2][3][1][2][4][1]"_s, u"Out 2\t 3\t&\t 4"_s, 2,
            3, u"3"_s, u"3"_s, u""_s, {});
        row("Unassigned",
            [](LinkRig &r) {
                r.select(1, 0);
                r.selection.list2_DblClick();
            },
            u"Res 1  2|ClrMap 1  2"_s, u""_s, u"Out 2\t\t\t"_s, 2, 0, u"0"_s, u"3"_s, u""_s, {});
        row("clear unanswered",
            [](LinkRig &r) {
                r.port.script("ClrMap 1  2", {});
                r.select(1, 0);
                r.selection.cmdMapIt_Click();
            },
            u"Res 1  2|ClrMap 1  2"_s, mapped, mappedRow, 2, 0, u""_s, u"3"_s, u"Comm Error!"_s,
            {});
        row("beyond 999",
            [](LinkRig &r) {
                r.model.OutputUnit[2] = 1000;
                r.selection.cmdMapIt_Click();
            },
            u""_s, mapped, mappedRow, 2, 3, u""_s, u"3"_s, u"Not mapped: 1000 is outside 0-999"_s,
            {});
        // Delete selects "Unassigned" and sends nothing; Enter then unmaps.
        const Act del = [](LinkRig &r) {
            r.selection.List1_KeyDown(Qt::Key_Delete, {});
            r.selection.List1_KeyUp(Qt::Key_Delete);
        };
        row("Delete", del, u""_s, mapped, mappedRow, 1, 0, u""_s, u"2"_s, u""_s, {});
        row("Delete, Enter",
            [del](LinkRig &r) {
                del(r);
                r.selection.List1_KeyDown(Qt::Key_Enter, {});
            },
            u"Res 1  2|ClrMap 1  2"_s, u""_s, u"Out 2\t\t\t"_s, 2, 0, u"0"_s, u"3"_s, u""_s, {});
        row("entry 26 of 25",
            [](LinkRig &r) {
                r.view.setText(Control::txtInput, u"26"_s);
                r.entry.txtInput_Change();
                r.entry.txtInput_KeyDown(Qt::Key_Enter, {});
            },
            u"Map 1 2 2 25"_s, u"[1][2][2][25][1][0][0][0]"_s, u"Out 2\t 25\t\t"_s, 2, 25, u"25"_s,
            u"3"_s, u""_s,
            {u"Entry Error|Highest Input allowable\ron this system is 25|Ok info Ok"_s});
    }
    void mapping()
    {
        const auto [act, sent, map, rowText, outRow, inRow, entry, output, error, boxes] =
            MappingRows::fetch();
        LinkRig r(30, 25);
        mapped(r);
        act(r);
        QCOMPARE(r.sent(), sent);
        QCOMPARE(r.model.OutputMap[2], map);
        QCOMPARE(r.view.rowText(Control::List1, 1), rowText);
        QCOMPARE(r.view.currentRow(Control::List1), outRow);
        QCOMPARE(r.view.currentRow(Control::list2), inRow);
        QCOMPARE(r.view.text(Control::txtInput), entry);
        QCOMPARE(r.view.text(Control::lblOutChannel), output);
        QCOMPARE(r.view.text(Control::lblError), error);
        QCOMPARE(r.view.boxes, boxes);
    }

    // Left and Right in the output list move the input, Down in the entry box the output.
    void keys_data()
    {
        const KeyRows row;
        row("Shift Right twice", Qt::Key_Right, Qt::ShiftModifier, 2, 1, 23, u"23"_s, u"2"_s);
        row("Alt Right to the end", Qt::Key_Right, Qt::AltModifier, 3, 1, 25, u"25"_s, u"2"_s);
        row("Ctrl Left to the top", Qt::Key_Left, Qt::ControlModifier, 1, 1, 0, u"0"_s, u"2"_s);
        row("Shift Down to the end", Qt::Key_Down, Qt::ShiftModifier, 3, 29, 3, u"6"_s, u"30"_s);
    }
    void keys()
    {
        const auto [key, modifiers, times, outRow, inRow, input, output] = KeyRows::fetch();
        LinkRig r(30, 25);
        mapped(r);
        for (int k = 0; k < times; ++k) {
            if (key == Qt::Key_Down)
                r.entry.txtInput_KeyDown(key, modifiers);
            else
                r.selection.List1_KeyDown(key, modifiers);
        }
        QCOMPARE(r.view.currentRow(Control::List1), outRow);
        QCOMPARE(r.view.currentRow(Control::list2), inRow);
        QCOMPARE(r.view.text(Control::lblInChannel), input);
        QCOMPARE(r.view.text(Control::lblOutChannel), output);
    }

    // Latch output 1, select output 2 and then 1 again, latch again: the box is ticked and red
    // while output 1 is latched and selected.
    void latchTwice()
    {
        LinkRig r(30, 25);
        mapped(r);
        const auto shows = [&r](bool latched) {
            QCOMPARE(r.view.isChecked(Control::chkTest), latched);
            QCOMPARE(r.view.at(Control::chkTest).fore == Colours::Red, latched);
        };
        r.select(0);
        r.test.TestLatchChange();
        shows(true);
        r.select(1);
        shows(false);
        r.select(0);
        shows(true);
        r.test.TestLatchChange();
        shows(false);
        QCOMPARE(r.sent(), u"GetMap 1  1|mapdisab 1  1|Set 1  1|Res 1  1|MapEnab 1  1"_s);
    }

    void load_data()
    {
        const LoadRows row;
        const QString fileError = u"File Error|The tally file "_s;
        row("online full", true, 4, "[1][1][2][1][1][0][0][0]\r\n[1][2][2][3][1][2][4][2]\r\n",
            LoadMode::Full, u"Init|Uenable  2|Uenable  1|Map 1 1 2 1|Map 1 2 2 3|OR 1 2 2 4"_s,
            u"1= 1 2= 3"_s, {});
        row("unmap unanswered", true, 4, "[1][1][2][1]\r\n[1][2][0][0]\r\n[1][3][2][3]\r\n",
            LoadMode::Part, u"Map 1 1 2 1|Res 1  2|ClrMap 1  2"_s, u"1= 1 4= 4"_s, {});
        row("1005 lines", false, 4, "1005", LoadMode::Full, u""_s, u"1= 1 2= 1 3= 1 4= 1"_s,
            {fileError + u"holds more than 1000 mappings.\r\nThe first 1000 were loaded; 5 were "
                         u"not.|Ok warn Ok"_s});
        row("a folder", true, 4, "<dir>", LoadMode::Full, u""_s, u"4=4"_s,
            {fileError + u"could not be read:\r\nDIR\r\nit is a folder|Ok warn Ok"_s});
    }
    void load()
    {
        auto [online, outputs, file, mode, sent, filed, boxes] = LoadRows::fetch();
        LinkRig r(outputs);
        r.model.Online = online;
        r.model.EnabledUnitCount = 2;
        r.model.EnabledUnitList = {0, 2, 1};
        r.port.script("ClrMap 1  2", {});
        r.model.OutputMap[4] = u"[1][4][2][4][1][0][0][0]"_s;
        r.model.OutputSource[4] = u"4"_s;
        for (int k = 0, n = file.toInt(); k < n; ++k)
            file += "[1][" + QByteArray::number(k % 4 + 1) + "][2][1][1][0][0][0]\r\n";
        QTemporaryDir dir;
        const QString path = dir.filePath(u"f.qvr"_s);
        const bool folder = file == "<dir>";
        QVERIFY(folder ? QDir(dir.path()).mkdir(u"f.qvr"_s)
                       : !writeFile(path, file.mid(file.indexOf('['))).isEmpty());
        QCOMPARE(r.files.LoadMatrixMappings(path, mode), !folder);
        QCOMPARE(r.sent(), sent);
        QCOMPARE(::filed(r), filed);
        QCOMPARE(r.view.boxes.replaceInStrings(path, u"DIR"_s), boxes);
        QVERIFY(r.view.isEnabled(Control::cmdMapIt));
        QCOMPARE(r.view.isVisible(Control::lblDownloading), folder); // hidden when done
    }

    void saveAndLoadBack()
    {
        LinkRig r(6, 6);
        QTemporaryDir dir;
        const QString a = dir.filePath(u"a.qvr"_s);
        r.model.OutputMap[1] = u"[1][1][2][3][1][0][0][0]"_s;
        r.model.OutputMap[3] = u"[1][3][2][1][1][2][6][1]"_s;
        const auto saved = r.model.OutputMap;
        r.view.files = {a, a, a};
        r.files.cmdSaveMatrix_Click();
        QCOMPARE(readFile(a), "[1][1][2][3][1][0][0][0]\r\n[1][3][2][1][1][2][6][1]\r\n");
        r.model.OutputMap[1].clear();
        r.files.cmdLoadMatrix_Click();
        QVERIFY(r.model.OutputMap == saved);
        QCOMPARE(r.view.rowText(Control::List1, 2), u"Out 3\t 1\t&\t 6"_s);
        r.view.setText(Control::lblFileName, u"b.qvr"_s);
        r.view.answers = {MessageResult::No};
        r.model.OutputMap[1].clear();
        r.files.cmdSaveMatrix_Click(); // overwrite? No: unchanged
        QCOMPARE(r.view.boxes, QStringList{u"File Already Exists|Do you want to Ovewrwrite "
                                           u"existing file|YesNo - No"_s});
        QCOMPARE(r.view.text(Control::lblFileName), u"b.qvr"_s);
        QCOMPARE(readFile(a).left(6), "[1][1]");
        // The disk fills half way through a save: the previous file stays whole.
        for (int size : {20000, 1000}) {
            r.model.OutputMap.fill(QString(size, u'x'));
            rlimit old{};
            getrlimit(RLIMIT_FSIZE, &old);
            const rlimit small{4096, old.rlim_max};
            const auto oldSignal = std::signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &small);
            const bool written = r.files.SaveAllMappings(a);
            setrlimit(RLIMIT_FSIZE, &old);
            std::signal(SIGXFSZ, oldSignal);
            QVERIFY(!written);
            QCOMPARE(readFile(a).size(), 52);
        }
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{u"a.qvr"_s});
        QVERIFY(r.port.commands.isEmpty());
    }

    void clearAll_data()
    {
        const ClearRows row;
        row("online OK", true, u"Init|Uenable  7|Uenable  2"_s);
        row("offline OK", false, u""_s);
    }
    void clearAll()
    {
        const auto [online, sent] = ClearRows::fetch();
        LinkRig r;
        r.model.Online = online;
        r.model.EnabledUnitCount = 2;
        r.model.EnabledUnitList = {99, 7, 2, 77};
        for (int i = 1; i <= 4; ++i) {
            r.model.OutputMap[i] = u"[1][%1][2][1][1][0][0][0]"_s.arg(i);
            r.model.OutputTestOn[i] = true;
            r.view.setRowColour(Control::List1, i - 1, Colours::Red);
        }
        r.lists.UpdateListBox1();
        r.view.setText(Control::lblFileName, u"show.qvr"_s);
        r.view.setFocus(Control::txtInput);
        r.view.answers = {MessageResult::Ok};
        r.clearAll.cmdInit_Click();
        QCOMPARE(r.view.boxes, QStringList{u"Clear All|Are you absolutely sure you want to Clear "
                                           u"ALL ??|OkCancel - Cancel"_s});
        QCOMPARE(r.sent(), sent);
        QCOMPARE(filed(r), u""_s);
        QCOMPARE(r.view.rowText(Control::List1, 3), u"Out 4\t\t\t"_s);
        QCOMPARE(r.view.text(Control::lblFileName), u""_s);
        QVERIFY(!r.model.OutputTestOn[4]);
        QVERIFY(r.view.at(Control::List1).colours[3] != Colours::Red);
        QCOMPARE(r.view.focus, Control::List1);
    }
};

QTEST_GUILESS_MAIN(TestFlows)
#include "tst_core_flows.moc"
