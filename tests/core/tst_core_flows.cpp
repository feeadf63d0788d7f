// The operator's work on the scripted tally system: reading the matrix back, mapping with the
// mouse, the keys and the entry box, the output test, tally files and "Clear All".

#include "Rows.h"
#include "support/LinkRig.h"

#include <QDir>
#include <QTemporaryDir>

#include <csignal>

#include <sys/resource.h>

using namespace Qt::StringLiterals;
using Flow = std::function<QString(LinkRig &)>; // does its part, then says what it sees
Q_DECLARE_METATYPE(Flow)

namespace {
// Every output index that holds a mapping, with its source as filed: "2= 3 5=7".
QString filed(const LinkRig &r)
{
    QStringList out;
    for (int i = 0; i <= std::min(r.model.NumberOfOutputs + 1, MaxDeclared); ++i) {
        if (!r.model.OutputMap[i].isEmpty())
            out << QString::number(i) + u'=' + r.model.OutputSource[i];
    }
    return out.join(u' ');
}

// Output i's map string and row, the rows selected, the entry box, the output shown, the error.
QString look(const LinkRig &r, int i)
{
    const FakeView &v = r.view;
    return u"%1 %2 @%3 in%4 %5 o%6 %7"_s.arg(r.model.OutputMap[i], v.rowText(Control::List1, i - 1))
        .arg(v.currentRow(Control::List1))
        .arg(v.currentRow(Control::list2))
        .arg(v.text(Control::txtInput), v.text(Control::lblOutChannel), v.text(Control::lblError));
}

QByteArray contents(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<none>");
}
} // namespace

class TestFlows : public QObject
{
    Q_OBJECT
private slots:
    void readBack_data()
    {
        // rows of the tally system's table | outputs | silence after them | "Cancel" while this
        // row is read | rows asked for | result | outputs filed with their sources | progress
        addRows({
            "empty |  | 4 | 0 | 0 | 1 | 0 |  | ",
            "3 rows | [1][3][2][5] [1][4][0][0] [1][1][2][6] | 4 | 0 | 0 | 4 | 0 | 1=6 3=5 4=0 | "
            "Downloading  3",
            "silence | [1][3][2][5] [1][4][0][0] [1][1][2][6] | 4 | 1 | 0 | 4 | 0 | 1=6 3=5 4=0 | "
            "Downloading  3",
            "unit 0 ends | [1][1][2][1] [1][2][2][2] [0][3][2][3] [1][4][2][4] | 4 | 0 | 0 | 3 | 0 "
            "| 1=1 2=2 | Downloading  2",
            "later wins, undeclared | [1][2][2][1] [9][9][2][3] [1][2][7][7] | 4 | 0 | 0 | 4 | 0 | "
            "2=7 5=3 | Downloading  3",
            "Cancel, 10 rows | 10 | 4 | 0 | 3 | 4 | 1 | 1=5 2=2 3=3 5=1 | Downloading  4",
            "Cancel, 3 rows | 3 | 4 | 0 | 3 | 4 | 0 | 2=2 3=3 5=1 | Downloading  3",
            "endless | 1200 | 4 | 0 | 0 | 999 | 0 | 1=3 2=2 3=3 4=6 5=1 | Downloading  999",
            "endless, 999 outputs | 1200 | 999 | 0 | 0 | 999 | 0 | 1=3 2=2 3=3 4=6 | Downloading  "
            "999",
        });
    }
    void readBack()
    {
        QFETCH(QStringList, f);
        LinkRig r(f[2].toInt());
        r.table = f[1].toLatin1().split(' ');
        if (const int n = f[1].toInt()) { // n rows; every third for an undeclared output
            r.table.clear();
            for (int k = 1; k <= n; ++k)
                r.table << (k % 3 ? "[1][" + QByteArray::number(k % 4 + 1) + "][2][" +
                                        QByteArray::number(k % 6 + 1) + "]"
                                  : "[50][50][2][1]");
        }
        r.silentEnd = f[3] == u"1"_s;
        r.model.OutputMap[2] = u"[1][2][2][2]"_s; // from before: forgotten
        bool cancel = false;
        QString during;
        r.port.onCommand = [&](const QByteArray &c) {
            cancel = cancel || c == "RawMap " + f[4].toLatin1();
            if (c == "RawMap 1")
                during = u"%1 %2 %3"_s.arg(r.port.pauses.value(0).count())
                             .arg(r.view.isVisible(Control::cmdCancelDownload))
                             .arg(r.view.isEnabled(Control::cmdMapIt));
        };
        r.view.onProcessEvents = [&] { cancel ? r.channel.cmdCancelDownload_Click() : void(); };
        const bool result = r.readBack.GetAllRawMappings();
        const int requests = f[5].toInt();
        QCOMPARE(u"%1 %2 %3"_s.arg(r.port.commands.size()).arg(r.model.MapStrings).arg(result),
                 u"%1 %2 %3"_s.arg(requests)
                     .arg(requests - (f[6] == u"0"_s && requests < 999))
                     .arg(f[6]));
        QCOMPARE(filed(r) + u" | "_s + r.view.text(Control::lblDownloading),
                 f[7] + u" | "_s + f[8]);
        QCOMPARE(r.view.text(Control::lblError),
                 r.silentEnd ? u"Comm Error!"_s
                 : requests < 999
                     ? u""_s
                     : u"Read back stopped at row 999; any rows after it were not read"_s);
        QCOMPARE(during, u"400 1 0"_s); // the download bracket, after a pause for the tally system
        QVERIFY(!r.view.isVisible(Control::cmdCancelDownload) &&
                r.view.isEnabled(Control::cmdMapIt));
    }

    // Mapping output 2 (row 1), which was mapped to input 6, and what comes with it.
    void mapping_data()
    {
        QTest::addColumn<bool>("online");
        QTest::addColumn<QString>("sent");
        QTest::addColumn<QString>("seen");
        QTest::addColumn<Flow>("flow");
        const auto flow = [](const char *name, bool online, const QString &sent,
                             const QString &seen,
                             Flow f) { QTest::newRow(name) << online << sent << seen << f; };
        const auto enter = [](const QString &text) {
            return Flow([text](LinkRig &r) {
                r.select(1, 3), r.view.setText(Control::txtInput, text), r.entry.txtInput_Change();
                r.entry.txtInput_KeyDown(Qt::Key_Enter, {});
                return look(r, 2) + (r.view.boxes.isEmpty() ? QString() : r.view.boxes[0].str());
            });
        };
        flow("Map Tally", true, u"Map 1 2 2 3"_s,
             u"[1][2][2][3][1][0][0][0] Out 2\t 3\t\t @2 in3 3 o3 "_s,
             [](LinkRig &r) { return r.select(1, 3), r.selection.cmdMapIt_Click(), look(r, 2); });
        flow("AND", true, u"Map 1 2 2 3|AND 1 2 2 4"_s,
             u"[1][2][2][3][1][2][4][1] Out 2\t 3\t&\t 4 @2 in3 3 o3 "_s, [](LinkRig &r) {
                 return r.select(1, 3, 4), r.selection.cmdBool_Click(0), look(r, 2);
             });
        flow("OR", true, u"Map 1 2 2 5|OR 1 2 2 1"_s,
             u"[1][2][2][5][1][2][1][2] Out 2\t 5\t||\t 1 @2 in5 5 o3 "_s, [](LinkRig &r) {
                 return r.select(1, 5, 1), r.selection.cmdBool_Click(1), look(r, 2);
             });
        flow("AND, 2nd Unassigned", true, u""_s,
             u"[1][2][2][6][1][0][0][0] Out 2\t 6\t\t @1 in3  o2 "_s, [](LinkRig &r) {
                 return r.select(1, 3, 0), r.selection.cmdBool_Click(0), look(r, 2);
             });
        flow("Unassigned", true, u"Res 1  2|ClrMap 1  2"_s, u" Out 2\t\t\t @2 in0 0 o3 "_s,
             [](LinkRig &r) { return r.select(1, 0), r.selection.list2_DblClick(), look(r, 2); });
        flow("clear unanswered", true, u"Res 1  2|ClrMap 1  2"_s,
             u"[1][2][2][6][1][0][0][0] Out 2\t 6\t\t @2 in0  o3 Comm Error!"_s, [](LinkRig &r) {
                 r.port.script("ClrMap 1  2", {});
                 return r.select(1, 0), r.selection.cmdMapIt_Click(), look(r, 2);
             });
        flow(
            "beyond 999", true, u""_s,
            u"[1][2][2][6][1][0][0][0] Out 2\t 6\t\t @2 in3  o3 Not mapped: 1000 is outside 0-999"_s,
            [](LinkRig &r) {
                return r.model.OutputUnit[2] = 1000, r.select(1, 3), r.selection.cmdMapIt_Click(),
                       look(r, 2);
            });
        flow("Enter on the last", true, u"Map 1 4 2 1"_s,
             u"[1][4][2][1][1][0][0][0] Out 4\t 1\t\t @3 in1 1 o4 "_s, [](LinkRig &r) {
                 return r.select(3, 1), r.selection.List1_KeyDown(Qt::Key_Return, {}), look(r, 4);
             });
        flow(
            "entry 7 of 6", true, u"Map 1 2 2 6"_s,
            u"[1][2][2][6][1][0][0][0] Out 2\t 6\t\t @2 in6 6 o3 Entry Error|Highest Input allowable\ron this system is 6|Ok info Ok"_s,
            enter(u"7"_s));
        flow("entry 2.5", true, u"Map 1 2 2 2"_s,
             u"[1][2][2][2][1][0][0][0] Out 2\t 2\t\t @2 in2 2 o3 "_s, enter(u"2.5"_s));
        flow("entry ab", true, u"Res 1  2|ClrMap 1  2"_s, u" Out 2\t\t\t @2 in0 0 o3 "_s,
             enter(u"ab"_s));
        flow("entry -5", true, u""_s, u"[1][2][2][6][1][0][0][0] Out 2\t 6\t\t @1 in3 -5 o2 "_s,
             enter(u"-5"_s));
        flow("offline AND", false, u""_s,
             u"[1][2][2][3][1][2][4][1] Out 2\t 3\t&\t 4 @2 in3 3 o3 "_s, [](LinkRig &r) {
                 return r.select(1, 3, 4), r.selection.cmdBool_Click(0), look(r, 2);
             });
        flow("Space held", true, u"GetMap 1  3|mapdisab 1  3|Set 1  3|Res 1  3|MapEnab 1  3"_s,
             u"1 1"_s, [](LinkRig &r) {
                 const auto shows = [&](Colour row, Colour button) {
                     return r.view.list(Control::List1).colours[2] == row &&
                            r.view.at(Control::cmdTest).back == button;
                 };
                 r.select(2), r.selection.List1_KeyDown(Qt::Key_Space, {});
                 for (int k = 0; k < 3; ++k) // the desktop's key repeat
                     r.selection.List1_KeyUp(Qt::Key_Space, true),
                         r.selection.List1_KeyDown(Qt::Key_Space, {});
                 const bool lit = shows(Colours::Red, Colours::Red);
                 r.selection.List1_KeyUp(Qt::Key_Space, false);
                 return u"%1 %2"_s.arg(lit).arg(shows(Colours::ListBlue, Colours::ButtonFace));
             });
        // Latch output 1, select output 2 and then 1 again, latch again: what the box shows.
        const Flow latch = [](LinkRig &r) {
            const auto box = [&] {
                return u"%1%2"_s.arg(r.view.isChecked(Control::chkTest))
                    .arg(r.view.at(Control::chkTest).fore == Colours::Red);
            };
            QString seen;
            for (int row : {0, 1, 0}) {
                r.select(row);
                seen += box();
                if (row == 0)
                    r.test.TestLatchChange(), seen += box();
                seen += u' ';
            }
            return seen;
        };
        flow("latch twice", true, u"GetMap 1  1|mapdisab 1  1|Set 1  1|Res 1  1|MapEnab 1  1"_s,
             u"0011 00 1100 "_s, latch);
        flow("offline latch", false, u""_s, u"0011 00 0011 "_s, latch);
    }
    void mapping()
    {
        QFETCH(bool, online);
        QFETCH(QString, sent);
        QFETCH(QString, seen);
        QFETCH(Flow, flow);
        LinkRig r;
        r.model.Online = online;
        r.model.OutputMap[2] = u"[1][2][2][6][1][0][0][0]"_s;
        r.lists.ShowMappingInList(2);
        QCOMPARE(flow(r), seen);
        QCOMPARE(r.sent(), sent);
    }

    void moves_data()
    {
        // key | modifiers | from row | to row: Left and Right in the output list move the input
        // (25 inputs), Up and Down in the entry box the output (30 outputs)
        addRows({
            "Right | 0 | 3 | 4",
            "Right | 0 | 25 | 25",
            "Right | Shift | 14 | 24",
            "Right | Alt | 15 | 25",
            "Left | 0 | 0 | 0",
            "Left | Ctrl | 10 | 0",
            "Left | Ctrl | 17 | 7",
            "Delete | 0 | 5 | 0",
            "Down | Shift | 3 | 13",
            "Down | Shift | 25 | 29",
            "Down | 0 | 29 | 29",
            "Up | Ctrl | 7 | 0",
            "Up | 0 | 4 | 3",
        });
    }
    void moves()
    {
        QFETCH(QStringList, f);
        const QHash<QString, int> keys{{u"Right"_s, Qt::Key_Right},
                                       {u"Left"_s, Qt::Key_Left},
                                       {u"Delete"_s, Qt::Key_Delete},
                                       {u"Down"_s, Qt::Key_Down},
                                       {u"Up"_s, Qt::Key_Up},
                                       {u"Shift"_s, Qt::ShiftModifier},
                                       {u"Ctrl"_s, Qt::ControlModifier},
                                       {u"Alt"_s, Qt::AltModifier}};
        const int key = keys[f[0]], from = f[2].toInt(), to = f[3].toInt();
        const auto modifiers = Qt::KeyboardModifiers(keys.value(f[1]));
        LinkRig r(30, 25);
        const bool entry = key == Qt::Key_Up || key == Qt::Key_Down;
        entry ? r.select(from) : r.select(0, from);
        QVERIFY(entry ? r.entry.txtInput_KeyDown(key, modifiers)
                      : r.selection.List1_KeyDown(key, modifiers));
        QCOMPARE(r.view.currentRow(entry ? Control::List1 : Control::list2), to);
        QCOMPARE(r.view.text(entry ? Control::lblOutChannel : Control::lblInChannel),
                 QString::number(entry ? to + 1 : to));
        QVERIFY(r.port.commands.isEmpty());
    }

    void load_data()
    {
        // online | outputs | the file ("<dir>": a folder) | mode | sent | outputs filed and the
        // messages shown; before the load output 4 is mapped to input 4
        addRows({
            "offline full | 0 | 4 | [1][1][2][1][1][0][0][0]\r\n | Full |  | 1= 1",
            "offline part | 0 | 4 | [1][1][2][1][1][0][0][0]\r\n | Part |  | 1= 1 4= 4",
            "empty | 0 | 4 |  | Full |  | ",
            "online full | 1 | 4 | [1][1][2][1][1][0][0][0]\r\n[1][2][2][3][1][2][4][2]\r\n | Full "
            "| "
            "Init|Uenable  2|Uenable  1|Map 1 1 2 1|Map 1 2 2 3|OR 1 2 2 4 | 1= 1 2= 3",
            "unmap unanswered | 1 | 4 | [1][1][2][1]\r\n[1][2][0][0]\r\n[1][3][2][3]\r\n | Part | "
            "Map 1 1 2 1|Res 1  2|ClrMap 1  2 | 1= 1 4= 4",
            "undeclared | 0 | 3 | [9][9][2][1]\r\n[1][1][7][7]\r\n | Full |  | 1= 7 4=1",
            "undeclared of 999 | 0 | 999 | [7][7][2][1]\r\n[1][5][2][2]\r\n | Full |  | 5= 2",
            "1005 lines | 0 | 4 | 1005 | Full |  | 1= 1 2= 1 3= 1 4= 1 File Error|The tally file "
            "holds more than 1000 mappings.\r\nThe first 1000 were loaded; 5 were not.|Ok warn Ok",
            "a folder | 1 | 4 | <dir> | Full |  | 4=4 File Error|The tally file could not be "
            "read:\r\nDIR\r\nit is a folder|Ok warn Ok",
        });
    }
    void load()
    {
        QFETCH(QStringList, f);
        LinkRig r(f[2].toInt());
        r.model.Online = f[1] == u"1"_s;
        r.model.EnabledUnitCount = 2;
        r.model.EnabledUnitList = {0, 2, 1};
        r.port.script("ClrMap 1  2", {});
        r.model.OutputMap[4] = u"[1][4][2][4][1][0][0][0]"_s;
        r.model.OutputSource[4] = u"4"_s;
        QByteArray bytes = f[3].toInt() ? QByteArray() : f[3].toLatin1();
        for (int k = 0; k < f[3].toInt(); ++k)
            bytes += "[1][" + QByteArray::number(k % 4 + 1) + "][2][1][1][0][0][0]\r\n";
        QTemporaryDir dir;
        QFile file(dir.filePath(u"f.qvr"_s));
        QVERIFY(bytes == "<dir>"
                    ? QDir(dir.path()).mkdir(u"f.qvr"_s)
                    : file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();
        QCOMPARE(r.files.LoadMatrixMappings(file.fileName(), f[4]), bytes != "<dir>");
        QString seen = filed(r);
        for (const FakeView::Box &b : r.view.boxes)
            seen += u' ' + b.str().replace(file.fileName(), u"DIR"_s);
        QCOMPARE(r.sent() + u" | "_s + seen, f[5] + u" | "_s + f[6]);
        QVERIFY(r.view.isEnabled(Control::cmdMapIt));
        QCOMPARE(r.view.isVisible(Control::lblDownloading), bytes == "<dir>"); // hidden when done
    }

    void saveAndLoadBack()
    {
        LinkRig r(6, 6);
        QTemporaryDir dir;
        const QString a = dir.filePath(u"a.qvr"_s);
        r.model.OutputMap[1] = u"[1][1][2][3][1][0][0][0]"_s;
        r.model.OutputMap[3] = u"[1][3][2][1][1][2][6][1]"_s;
        r.model.OutputMap[6] = u"[1][6][0][0][1][2][2][2]"_s;
        const auto saved = r.model.OutputMap;
        r.view.files = {a, a, a, dir.filePath(u"none.qvr"_s)};
        r.files.cmdSaveMatrix_Click();
        QCOMPARE(contents(a), QByteArray("[1][1][2][3][1][0][0][0]\r\n[1][3][2][1][1][2][6][1]\r\n["
                                         "1][6][0][0][1][2][2][2]\r\n"));
        r.model.OutputMap[1].clear();
        r.files.cmdLoadMatrix_Click();
        QVERIFY(r.model.OutputMap == saved);
        QCOMPARE(r.view.rowText(Control::List1, 2) + r.view.text(Control::lblDownloading),
                 u"Out 3\t 1\t&\t 6Mapping  2"_s);
        r.view.setText(Control::lblFileName, u"b.qvr"_s);
        r.view.answers = {MessageResult::No};
        r.files.cmdSaveMatrix_Click(); // overwrite? No
        r.files.cmdPartLoadMatrix_Click();
        QCOMPARE(
            r.view.boxes.value(0).str() + r.view.boxes.value(1).str(),
            u"File Already Exists|Do you want to Ovewrwrite existing file|YesNo - NoFile Error|File does not exist|Ok info Ok"_s);
        QCOMPARE(r.view.text(Control::lblFileName), u"b.qvr"_s);
        QCOMPARE(
            r.view.dialogs.join(u'|'),
            u"Save Tally Matrix to File|Open Tally file and upload to matrix|Save Tally Matrix to File|Open Tally file and upload to matrix"_s);
        // The disk fills half way through a save: the previous file stays whole.
        for (int size : {20000, 1000}) {
            r.model.OutputMap.fill(QString(size, u'x'));
            rlimit old{}, small{};
            getrlimit(RLIMIT_FSIZE, &old);
            small = old, small.rlim_cur = 4096;
            const auto oldSignal = std::signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &small);
            const bool written = r.files.SaveAllMappings(a);
            setrlimit(RLIMIT_FSIZE, &old), std::signal(SIGXFSZ, oldSignal);
            QCOMPARE(u"%1 %2"_s.arg(written).arg(contents(a).size()), u"0 78"_s);
        }
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{u"a.qvr"_s});
        QVERIFY(r.port.commands.isEmpty());
    }

    void saveOnline()
    {
        LinkRig r;
        r.model.Online = true;
        r.table = {"[1][2][2][3]", "[9][9][2][1][1][0][0][0]"};
        r.files.cmdSaveMatrix_Click(); // cancelled, yet compacted
        QTemporaryDir dir;
        r.view.files = {dir.filePath(u"o.qvr"_s)};
        r.files.cmdSaveMatrix_Click();
        QCOMPARE(r.sent(), u"Comp|Comp|RawMap 1|RawMap 2|RawMap 3"_s);
        QCOMPARE(contents(dir.filePath(u"o.qvr"_s)),
                 QByteArray("[1][2][2][3]\r\n[9][9][2][1][1][0][0][0]\r\n"));
        QCOMPARE(r.view.rowText(Control::List1, 1), u"Out 2\t 3\t\t"_s);
    }

    void clearAll_data()
    {
        // online | tally system answers | button ("": the box closed) | sent; with outputs
        // mapped and under test, units 7 and 2 enabled
        addRows({
            "online OK | 1 | 1 | Ok | Init|Uenable  7|Uenable  2",
            "online OK, silence | 1 | 0 | Ok | Init|Uenable  7|Uenable  2",
            "offline OK | 0 | 1 | Ok | ",
            "online Cancel | 1 | 1 | Cancel | ",
            "online, closed | 1 | 1 |  | ",
        });
    }
    void clearAll()
    {
        QFETCH(QStringList, f);
        LinkRig r;
        r.model.Online = f[1] == u"1"_s;
        r.model.EnabledUnitCount = 2;
        r.model.EnabledUnitList = {0, 7, 2};
        if (f[2] == u"0"_s)
            r.port.responder = {};
        for (int i = 1; i <= 4; ++i) {
            r.model.OutputMap[i] = u"[1][%1][2][1][1][0][0][0]"_s.arg(i);
            r.model.OutputTestOn[i] = true;
            r.view.setRowColour(Control::List1, i - 1, Colours::Red);
        }
        r.lists.UpdateListBox1();
        r.view.setText(Control::lblFileName, u"show.qvr"_s);
        r.view.setFocus(Control::txtInput);
        if (!f[3].isEmpty())
            r.view.answers = {f[3] == u"Ok"_s ? MessageResult::Ok : MessageResult::Cancel};
        r.clearAll.cmdInit_Click();
        QCOMPARE(r.view.boxes.value(0).str(),
                 u"Clear All|Are you absolutely sure you want to Clear ALL ??|OkCancel - Cancel"_s);
        QCOMPARE(r.sent(), f[4]);
        const bool cleared = f[3] == u"Ok"_s;
        QCOMPARE(filed(r) + r.view.rowText(Control::List1, 3) + r.view.text(Control::lblFileName),
                 cleared ? u"Out 4\t\t\t"_s : u"1= 1 2= 1 3= 1 4= 1Out 4\t 1\t\tshow.qvr"_s);
        QCOMPARE(r.model.OutputTestOn[4] || r.view.list(Control::List1).colours[3] == Colours::Red,
                 !cleared);
        QCOMPARE(r.view.focus, Control::List1);
    }
};

QTEST_GUILESS_MAIN(TestFlows)
#include "tst_core_flows.moc"
