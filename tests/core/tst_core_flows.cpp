// The operator's work on the scripted tally system: reading the matrix back, mapping with the
// mouse, the keys and the entry box, the output test, tally files and "Clear All".

#include "support/LinkRig.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

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

// Output 2's map string and row, the rows selected, the entry box, the output shown, the error.
QString look(const LinkRig &r)
{
    const FakeView &v = r.view;
    return u"%1 %2 @%3 in%4 %5 o%6 %7"_s.arg(r.model.OutputMap[2], v.rowText(Control::List1, 1))
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
        QTest::addColumn<QByteArray>("table"); // the tally system's rows; a number: that many
        QTest::addColumn<int>("outputs");
        QTest::addColumn<int>("cancelAt"); // "Cancel" is clicked while this row is read
        QTest::addColumn<int>("asked");    // rows asked for
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("filed"); // the outputs filed, with their sources
        const auto row = [](const char *name, const char *table, int outputs, int cancelAt,
                            int asked, bool result, const QString &filed) {
            QTest::newRow(name) << QByteArray(table) << outputs << cancelAt << asked << result
                                << filed;
        };
        row("3 rows", "[1][3][2][5] [1][4][0][0] [1][1][2][6]", 4, 0, 4, false, u"1=6 3=5 4=0"_s);
        row("unit 0 ends", "[1][1][2][1] [0][3][2][3] [1][4][2][4]", 4, 0, 2, false, u"1=1"_s);
        row("later wins, undeclared", "[1][2][2][1] [9][9][2][3] [1][2][7][7]", 4, 0, 4, false,
            u"2=7 5=3"_s);
        row("Cancel, 10 rows", "10", 4, 3, 4, true, u"1=5 2=2 3=3 5=1"_s);
        row("endless", "1200", 4, 0, 999, false, u"1=3 2=2 3=3 4=6 5=1"_s);
        row("endless, 999 outputs", "1200", 999, 0, 999, false, u"1=3 2=2 3=3 4=6"_s);
    }
    void readBack()
    {
        QFETCH(QByteArray, table);
        QFETCH(int, outputs);
        QFETCH(int, cancelAt);
        QFETCH(int, asked);
        QFETCH(bool, result);
        QFETCH(QString, filed);
        LinkRig r(outputs);
        r.table = table.split(' ');
        if (const int n = table.toInt()) { // n rows; every third for an undeclared output
            r.table.clear();
            for (int k = 1; k <= n; ++k)
                r.table << (k % 3 ? "[1][" + QByteArray::number(k % 4 + 1) + "][2][" +
                                        QByteArray::number(k % 6 + 1) + "]"
                                  : "[50][50][2][1]");
        }
        r.model.OutputMap[2] = u"[1][2][2][2]"_s; // from before: forgotten
        bool cancel = false, during = false;
        const auto start = r.port.now;
        r.port.onCommand = [&](const QByteArray &c) {
            cancel = cancel || c == "RawMap " + QByteArray::number(cancelAt);
            // The download bracket, after a pause for the tally system.
            if (c == "RawMap 1")
                during = r.port.now - start == std::chrono::milliseconds(400) &&
                         r.view.isVisible(Control::cmdCancelDownload) &&
                         !r.view.isEnabled(Control::cmdMapIt);
        };
        r.view.onProcessEvents = [&] { cancel ? r.channel.cmdCancelDownload_Click() : void(); };
        QCOMPARE(r.readBack.GetAllRawMappings(), result);
        QVERIFY(during);
        QCOMPARE(r.port.commands.size(), asked);
        QCOMPARE(r.model.MapStrings, asked - (!result && asked < 999));
        QCOMPARE(::filed(r), filed);
        QCOMPARE(r.view.text(Control::lblError),
                 asked < 999 ? u""_s
                             : u"Read back stopped at row 999; any rows after it were not read"_s);
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
        const Flow andFour = [](LinkRig &r) {
            return r.select(1, 3, 4), r.selection.cmdBool_Click(0), look(r);
        };
        flow("Map Tally", true, u"Map 1 2 2 3"_s,
             u"[1][2][2][3][1][0][0][0] Out 2\t 3\t\t @2 in3 3 o3 "_s,
             [](LinkRig &r) { return r.select(1, 3), r.selection.cmdMapIt_Click(), look(r); });
        flow("AND", true, u"Map 1 2 2 3|AND 1 2 2 4"_s,
             u"[1][2][2][3][1][2][4][1] Out 2\t 3\t&\t 4 @2 in3 3 o3 "_s, andFour);
        flow("Unassigned", true, u"Res 1  2|ClrMap 1  2"_s, u" Out 2\t\t\t @2 in0 0 o3 "_s,
             [](LinkRig &r) { return r.select(1, 0), r.selection.list2_DblClick(), look(r); });
        flow("clear unanswered", true, u"Res 1  2|ClrMap 1  2"_s,
             u"[1][2][2][6][1][0][0][0] Out 2\t 6\t\t @2 in0  o3 Comm Error!"_s, [](LinkRig &r) {
                 r.port.script("ClrMap 1  2", {});
                 return r.select(1, 0), r.selection.cmdMapIt_Click(), look(r);
             });
        flow(
            "beyond 999", true, u""_s,
            u"[1][2][2][6][1][0][0][0] Out 2\t 6\t\t @2 in3  o3 Not mapped: 1000 is outside 0-999"_s,
            [](LinkRig &r) {
                return r.model.OutputUnit[2] = 1000, r.select(1, 3), r.selection.cmdMapIt_Click(),
                       look(r);
            });
        flow("Enter", true, u"Map 1 2 2 1"_s,
             u"[1][2][2][1][1][0][0][0] Out 2\t 1\t\t @2 in1 1 o3 "_s, [](LinkRig &r) {
                 return r.select(1, 1), r.selection.List1_KeyDown(Qt::Key_Enter, {}), look(r);
             });
        flow(
            "entry 7 of 6", true, u"Map 1 2 2 6"_s,
            u"[1][2][2][6][1][0][0][0] Out 2\t 6\t\t @2 in6 6 o3 Entry Error|Highest Input allowable\ron this system is 6|Ok info Ok"_s,
            [](LinkRig &r) {
                r.select(1, 3), r.view.setText(Control::txtInput, u"7"_s),
                    r.entry.txtInput_Change();
                r.entry.txtInput_KeyDown(Qt::Key_Enter, {});
                return look(r) + r.view.boxes.join(u' ');
            });
        // Latch output 1, select output 2 and then 1 again, latch again: the box's tick, red.
        flow("latch twice", true, u"GetMap 1  1|mapdisab 1  1|Set 1  1|Res 1  1|MapEnab 1  1"_s,
             u"11 00 11 00 "_s, [](LinkRig &r) {
                 const auto box = [&] {
                     return u"%1%2 "_s.arg(r.view.isChecked(Control::chkTest))
                         .arg(r.view.at(Control::chkTest).fore == Colours::Red);
                 };
                 r.select(0), r.test.TestLatchChange();
                 QString seen = box();
                 r.select(1), seen += box(), r.select(0), seen += box();
                 return r.test.TestLatchChange(), seen + box();
             });
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

    // Left and Right in the output list move the input (25 inputs), Up and Down in the entry
    // box the output (30 outputs); rows from 0.
    void moves_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        const auto row = [](const char *name, int key, Qt::KeyboardModifiers m, int from, int to) {
            QTest::newRow(name) << key << m << from << to;
        };
        row("Right", Qt::Key_Right, {}, 3, 4), row("Right at the end", Qt::Key_Right, {}, 25, 25);
        row("Shift Right", Qt::Key_Right, Qt::ShiftModifier, 14, 24);
        row("Alt Right to the end", Qt::Key_Right, Qt::AltModifier, 15, 25);
        row("Ctrl Left", Qt::Key_Left, Qt::ControlModifier, 17, 7);
        row("Ctrl Left to the top", Qt::Key_Left, Qt::ControlModifier, 10, 0);
        row("Shift Down to the end", Qt::Key_Down, Qt::ShiftModifier, 25, 29);
    }
    void moves()
    {
        QFETCH(int, key);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(int, from);
        QFETCH(int, to);
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

    // Before the load output 4 is mapped to input 4, units 2 and 1 are enabled.
    void load_data()
    {
        QTest::addColumn<bool>("online");
        QTest::addColumn<int>("outputs");
        QTest::addColumn<QByteArray>("file"); // "<dir>": a folder; a number: that many lines
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("sent");
        QTest::addColumn<QString>("seen"); // the outputs filed, then the messages shown
        const auto row = [](const char *name, bool online, int outputs, const char *file,
                            const char *mode, const QString &sent, const QString &seen) {
            QTest::newRow(name) << online << outputs << QByteArray(file)
                                << QString::fromLatin1(mode) << sent << seen;
        };
        row("offline full", false, 4, "[1][1][2][1][1][0][0][0]\r\n", "Full", u""_s, u"1= 1"_s);
        row("online full", true, 4, "[1][1][2][1][1][0][0][0]\r\n[1][2][2][3][1][2][4][2]\r\n",
            "Full", u"Init|Uenable  2|Uenable  1|Map 1 1 2 1|Map 1 2 2 3|OR 1 2 2 4"_s,
            u"1= 1 2= 3"_s);
        row("unmap unanswered", true, 4, "[1][1][2][1]\r\n[1][2][0][0]\r\n[1][3][2][3]\r\n", "Part",
            u"Map 1 1 2 1|Res 1  2|ClrMap 1  2"_s, u"1= 1 4= 4"_s);
        row("undeclared of 999", false, 999, "[7][7][2][1]\r\n[1][5][2][2]\r\n", "Full", u""_s,
            u"5= 2"_s);
        row("1005 lines", false, 4, "1005", "Full", u""_s,
            u"1= 1 2= 1 3= 1 4= 1 File Error|The tally file holds more than 1000 mappings.\r\nThe "
            u"first 1000 were loaded; 5 were not.|Ok warn Ok"_s);
        row("a folder", true, 4, "<dir>", "Full", u""_s,
            u"4=4 File Error|The tally file could not be read:\r\nDIR\r\nit is a folder|Ok warn Ok"_s);
    }
    void load()
    {
        QFETCH(bool, online);
        QFETCH(int, outputs);
        QFETCH(QByteArray, file);
        QFETCH(QString, mode);
        QFETCH(QString, sent);
        QFETCH(QString, seen);
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
        QFile f(dir.filePath(u"f.qvr"_s));
        const bool folder = file == "<dir>";
        QVERIFY(folder ? QDir(dir.path()).mkdir(u"f.qvr"_s)
                       : f.open(QIODevice::WriteOnly) && f.write(file.mid(file.indexOf('['))) >= 0);
        f.close();
        QCOMPARE(r.files.LoadMatrixMappings(f.fileName(), mode), !folder);
        QCOMPARE(r.sent(), sent);
        QCOMPARE((QStringList{filed(r)} + r.view.boxes).join(u' ').replace(f.fileName(), u"DIR"_s),
                 seen);
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
        r.model.OutputMap[6] = u"[1][6][0][0][1][2][2][2]"_s;
        const auto saved = r.model.OutputMap;
        r.view.files = {a, a, a};
        r.files.cmdSaveMatrix_Click();
        QCOMPARE(contents(a), QByteArray("[1][1][2][3][1][0][0][0]\r\n[1][3][2][1][1][2][6][1]\r\n["
                                         "1][6][0][0][1][2][2][2]\r\n"));
        r.model.OutputMap[1].clear();
        r.files.cmdLoadMatrix_Click();
        QVERIFY(r.model.OutputMap == saved);
        QCOMPARE(r.view.rowText(Control::List1, 2), u"Out 3\t 1\t&\t 6"_s);
        r.view.setText(Control::lblFileName, u"b.qvr"_s);
        r.view.answers = {MessageResult::No};
        r.model.OutputMap[1].clear();
        r.files.cmdSaveMatrix_Click(); // overwrite? No: the file stays as it was
        QCOMPARE(r.view.boxes, QStringList{u"File Already Exists|Do you want to Ovewrwrite "
                                           u"existing file|YesNo - No"_s});
        QCOMPARE(r.view.text(Control::lblFileName) + QLatin1StringView(contents(a).left(6)),
                 u"b.qvr[1][1]"_s);
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
            QVERIFY(!written);
            QCOMPARE(contents(a).size(), 78);
        }
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{u"a.qvr"_s});
        QVERIFY(r.port.commands.isEmpty());
    }

    // Outputs 1..4 mapped and under test, units 7 and 2 enabled; the box answered or closed.
    void clearAll_data()
    {
        QTest::addColumn<bool>("online");
        QTest::addColumn<QVariant>("button"); // null: the box closed
        QTest::addColumn<QString>("sent");
        const QVariant ok = int(MessageResult::Ok), cancel = int(MessageResult::Cancel);
        QTest::newRow("online OK") << true << ok << u"Init|Uenable  7|Uenable  2"_s;
        QTest::newRow("offline OK") << false << ok << u""_s;
        QTest::newRow("Cancel") << true << cancel << u""_s;
        QTest::newRow("closed") << true << QVariant() << u""_s;
    }
    void clearAll()
    {
        QFETCH(bool, online);
        QFETCH(QVariant, button);
        QFETCH(QString, sent);
        LinkRig r;
        r.model.Online = online;
        r.model.EnabledUnitCount = 2;
        r.model.EnabledUnitList = {0, 7, 2};
        for (int i = 1; i <= 4; ++i) {
            r.model.OutputMap[i] = u"[1][%1][2][1][1][0][0][0]"_s.arg(i);
            r.model.OutputTestOn[i] = true;
            r.view.setRowColour(Control::List1, i - 1, Colours::Red);
        }
        r.lists.UpdateListBox1();
        r.view.setText(Control::lblFileName, u"show.qvr"_s);
        r.view.setFocus(Control::txtInput);
        if (!button.isNull())
            r.view.answers = {MessageResult(button.toInt())};
        r.clearAll.cmdInit_Click();
        QCOMPARE(r.view.boxes, QStringList{u"Clear All|Are you absolutely sure you want to Clear "
                                           u"ALL ??|OkCancel - Cancel"_s});
        QCOMPARE(r.sent(), sent);
        const bool cleared = button == int(MessageResult::Ok);
        QCOMPARE(filed(r) + r.view.rowText(Control::List1, 3) + r.view.text(Control::lblFileName),
                 cleared ? u"Out 4\t\t\t"_s : u"1= 1 2= 1 3= 1 4= 1Out 4\t 1\t\tshow.qvr"_s);
        QCOMPARE(r.model.OutputTestOn[4] || r.view.list(Control::List1).colours[3] == Colours::Red,
                 !cleared);
        QCOMPARE(r.view.focus, Control::List1);
    }
};

QTEST_GUILESS_MAIN(TestFlows)
#include "tst_core_flows.moc"
