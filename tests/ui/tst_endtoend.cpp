#include "gui/Configurator.h"
#include "link/QtSerialPortAdapter.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "ui/ProgramDir.h"
#include "ui/SimProcess.h"
#include "gui/TallyList.h"

#include <QAbstractButton>
#include <QLineEdit>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// The whole configurator on a real pseudo-terminal, the virtual tally system at its other end.
struct Studio
{
    SimProcess sim;
    Dialogs dialogs;
    QList<Dialogs::Request> boxes;
    QList<MessageResult> answers;
    QStringList files; // answers to the file dialogs
    std::unique_ptr<ProgramDir> dir;
    SystemModel model;
    QtSerialPortAdapter port;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<Configurator> logic;

    // Outputs at unit 1 channels 1..outputs, inputs at unit 2 channels 1..inputs.
    bool start(int outputs, int inputs, const QStringList &simArgs = {"--baud"_L1, "0"_L1},
               const QByteArray &rows = {})
    {
        if (!sim.start(simArgs, rows))
            return false;
        dir = std::make_unique<ProgramDir>(studioIni(outputs, inputs) + "CommDevice=" +
                                           sim.link().toUtf8() + "\r\n");
        dialogs.setResponder([this](const Dialogs::Request &r) {
            boxes << r;
            if (!answers.isEmpty())
                return answers.takeFirst();
            return r.buttons == MessageButtons::YesNo ? MessageResult::No : r.defaultButton;
        });
        dialogs.setFileResponder([this](const Dialogs::FileRequest &) {
            return files.isEmpty() ? QString() : files.takeFirst();
        });
        window = std::make_unique<MainWindow>(dialogs);
        logic = std::make_unique<Configurator>(model, *window, port);
        return logic->Form_Load(dir->path());
    }
    QStringList rows() const
    {
        QStringList out;
        for (int r = 0; r < window->rowCount(Control::List1); ++r)
            out << window->rowText(Control::List1, r);
        return out;
    }
    QStringList mapped() const
    {
        QStringList out;
        for (int i = 1; i <= model.NumberOfOutputs; ++i) {
            if (!model.OutputMap[i].isEmpty())
                out << model.OutputMap[i];
        }
        return out;
    }
    void click(Control c) { QTest::mouseClick(window->button(c), Qt::LeftButton); }
};

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT
private slots:
    void startUpOnlineShowsTheMatrix()
    {
        Studio s;
        // At the real line speed, as the operator's start-up would run.
        QVERIFY(s.start(4, 6, {}, "[1][2][2][5][1][0][0][0]\r\n[1][4][2][1][1][2][6][2]\r\n"));
        QVERIFY(s.model.Online);
        QVERIFY(s.boxes.isEmpty());
        QCOMPARE(s.window->text(Control::lblError), u"MAIN V2"_s);
        QCOMPARE(s.rows(), (QStringList{u"Out 1\t\t\t"_s, u"Out 2\t 5\t\t"_s, u"Out 3\t\t\t"_s,
                                        u"Out 4\t 1\t||\t 6"_s}));
        QCOMPARE(s.model.MapStrings, 2);
        QCOMPARE(s.sim.commands(), (QStringList{u""_s, u"<CR>VER"_s, u""_s, u""_s, u"VER"_s, u""_s,
                                                u""_s, u"RawMap 1"_s, u"RawMap 2"_s, u"RawMap 3"_s}));
        QVERIFY(s.window->text(Control::lblMainVersionInfo).isEmpty());
        QVERIFY(s.window->control(Control::lblMainVersionInfo)->toolTip().startsWith(u"MAIN V2"_s));
    }

    void keyboardMapsAWholeColumn()
    {
        Studio s;
        QVERIFY(s.start(8, 10));
        QLineEdit *entry = s.window->entry();
        const QList<int> inputs{3, 0, 10, 7, 1, 1, 9, 4};
        QTest::mouseClick(entry, Qt::LeftButton);
        for (int k : inputs) {
            QTest::keyClicks(entry, QString::number(k));
            QTest::keyClick(entry, Qt::Key_Return);
        }
        // Output 2 was unmapped (input 0): no row for it on the tally system.
        QCOMPARE(s.sim.table(), s.mapped());
        QCOMPARE(s.mapped().size(), 7);
        QCOMPARE(s.model.OutputMap[1], u"[1][1][2][3][1][0][0][0]"_s);
        QCOMPARE(s.model.OutputMap[8], u"[1][8][2][4][1][0][0][0]"_s);
        QCOMPARE(s.rows()[2], u"Out 3\t 10\t\t"_s);
        QCOMPARE(s.rows()[1], u"Out 2\t\t\t"_s);
        QCOMPARE(s.window->currentRow(Control::List1), 7); // stayed on the last output
        QCOMPARE(entry->text(), u"4"_s);
        QCOMPARE(entry->selectedText(), u"4"_s); // ready for the next number
        // And what the list shows survives a read-back from the tally system.
        s.click(Control::cmdRefresh);
        QCOMPARE(s.sim.table(), s.mapped());
        QCOMPARE(s.rows()[2], u"Out 3\t 10\t\t"_s);
    }

    void typingBeyondTheLastInput()
    {
        Studio s;
        QVERIFY(s.start(3, 48));
        QLineEdit *entry = s.window->entry();
        QTest::mouseClick(entry, Qt::LeftButton);
        QTest::keyClicks(entry, u"49"_s);
        QCOMPARE(entry->text(), u"48"_s);
        QCOMPARE(s.boxes.size(), 1);
        QCOMPARE(s.boxes[0].title, u"Entry Error"_s);
        QTest::keyClick(entry, Qt::Key_Enter);
        QCOMPARE(s.sim.table(), QStringList{u"[1][1][2][48][1][0][0][0]"_s});
        QCOMPARE(s.window->currentRow(Control::List1), 1);
    }

    void holdingSpaceLightsTheOutput()
    {
        Studio s;
        QVERIFY(s.start(4, 4));
        TallyList *outputs = s.window->list(Control::List1);
        outputs->setFocus();
        QTest::keyClick(outputs, Qt::Key_Down);
        QCOMPARE(s.window->text(Control::lblOutChannel), u"2"_s);
        const int before = s.sim.commands().size();
        QTest::simulateEvent(outputs, true, Qt::Key_Space, Qt::NoModifier, u" "_s, false);
        QCOMPARE(s.sim.commands().mid(before),
                 (QStringList{u"GetMap 1  2"_s, u"mapdisab 1  2"_s, u"Set 1  2"_s}));
        QCOMPARE(outputs->rows()->rowColour(1), QColor(255, 0, 0));
        for (int k = 0; k < 4; ++k) { // the desktop's key repeat
            QTest::simulateEvent(outputs, false, Qt::Key_Space, Qt::NoModifier, u" "_s, true);
            QTest::simulateEvent(outputs, true, Qt::Key_Space, Qt::NoModifier, u" "_s, true);
        }
        QCOMPARE(s.sim.commands().size(), before + 3);
        QTest::simulateEvent(outputs, false, Qt::Key_Space, Qt::NoModifier, u" "_s, false);
        QCOMPARE(s.sim.commands().mid(before + 3), (QStringList{u"Res 1  2"_s, u"MapEnab 1  2"_s}));
        QCOMPARE(outputs->rows()->rowColour(1), QColor(82, 82, 169));
    }

    void latchBoxKeepsToWhatTheTestSet()
    {
        Studio s;
        QVERIFY(s.start(2, 2));
        auto *latch = s.window->button(Control::chkTest);
        QTest::mouseClick(latch, Qt::LeftButton);
        QVERIFY(latch->isChecked());
        QVERIFY(s.model.OutputTestOn[1]);
        QTest::mouseClick(latch, Qt::LeftButton);
        QVERIFY(!latch->isChecked());
        QVERIFY(!s.model.OutputTestOn[1]);
        QCOMPARE(s.sim.commands().mid(s.sim.commands().size() - 5),
                 (QStringList{u"GetMap 1  1"_s, u"mapdisab 1  1"_s, u"Set 1  1"_s, u"Res 1  1"_s,
                              u"MapEnab 1  1"_s}));
    }

    void clearAllOnline()
    {
        Studio s;
        QVERIFY(s.start(3, 3, {"--baud"_L1, "0"_L1}, "[1][1][2][2][1][0][0][0]\r\n"));
        QCOMPARE(s.rows()[0], u"Out 1\t 2\t\t"_s);
        s.answers = {MessageResult::Ok};
        s.click(Control::cmdInit);
        QCOMPARE(s.boxes.last().text, u"Are you absolutely sure you want to Clear ALL ??"_s);
        const QStringList sent = s.sim.commands();
        QCOMPARE(sent.mid(sent.size() - 3), (QStringList{u"Init"_s, u"Uenable  1"_s, u"Uenable  2"_s}));
        QVERIFY(s.sim.table().isEmpty());
        QVERIFY(s.mapped().isEmpty());
        QCOMPARE(s.rows()[0], u"Out 1\t\t\t"_s);
    }

    void clearAllCancelledChangesNothing()
    {
        Studio s;
        QVERIFY(s.start(3, 3, {"--baud"_L1, "0"_L1}, "[1][1][2][2][1][0][0][0]\r\n"));
        const int before = s.sim.commands().size();
        s.click(Control::cmdInit); // Cancel is the default
        QCOMPARE(s.sim.commands().size(), before);
        QCOMPARE(s.sim.table().size(), 1);
        QCOMPARE(s.rows()[0], u"Out 1\t 2\t\t"_s);
    }

    void retryAnsweredNoLeavesTheToolOffline()
    {
        Studio s;
        QVERIFY(s.start(2, 2, {"--fault"_L1, "silent"_L1}));
        QVERIFY(!s.model.Online);
        QCOMPARE(s.boxes.size(), 2);
        QCOMPARE(s.boxes[0].text, u"No Communications to Tally system\r\nDo you want to retry?"_s);
        QCOMPARE(s.boxes[0].title, u"Communication Error"_s);
        QCOMPARE(s.boxes[1].text, u"Going To Offline Mode"_s);
        QCOMPARE(s.window->text(Control::cmdOnline), u"OFFLINE"_s);
        QVERIFY(!s.window->isEnabled(Control::cmdTest));
        QVERIFY(!s.window->isEnabled(Control::cmdRefresh));
        // Offline the operator still maps, on the model alone.
        s.window->setCurrentRow(Control::list2, 2);
        s.click(Control::cmdMapIt);
        QCOMPARE(s.model.OutputMap[1], u"[1][1][2][2][1][0][0][0]"_s);
        // Clear All offline empties the model without a word to the tally system.
        const int before = s.sim.commands().size();
        s.answers = {MessageResult::Ok};
        s.click(Control::cmdInit);
        QCOMPARE(s.sim.commands().size(), before);
        QVERIFY(s.mapped().isEmpty());
    }

    void portThatDoesNotExist()
    {
        Studio s;
        QVERIFY(s.sim.start({"--baud"_L1, "0"_L1}));
        s.dir = std::make_unique<ProgramDir>(studioIni(2, 2) + "CommPort=7\r\nCommDevice=" +
                                             s.sim.dir().toUtf8() + "/nothing-here\r\n");
        s.dialogs.setResponder([&](const Dialogs::Request &r) {
            s.boxes << r;
            return r.buttons == MessageButtons::YesNo ? MessageResult::No : r.defaultButton;
        });
        s.window = std::make_unique<MainWindow>(s.dialogs);
        s.logic = std::make_unique<Configurator>(s.model, *s.window, s.port);
        QVERIFY(s.logic->Form_Load(s.dir->path()));
        QCOMPARE(s.boxes.size(), 3);
        QCOMPARE(s.boxes[0].title, u"Port Conflict"_s);
        QCOMPARE(s.boxes[0].text, u"The Serial Com port 7\rIs not available\rPlease correct and try again"_s);
        QCOMPARE(s.boxes[1].title, u"Communication Error"_s);
        QVERIFY(!s.model.Online);
    }

    void saveOnlineWritesTheTallySystemsRows()
    {
        Studio s;
        QVERIFY(s.start(4, 4, {"--baud"_L1, "0"_L1},
                        "[1][3][2][1][1][0][0][0]\r\n[1][1][2][2][1][2][3][1]\r\n"));
        // A hole in the tally system's table: Comp before the save closes it.
        s.window->setCurrentRow(Control::List1, 2);
        s.window->setCurrentRow(Control::list2, 0);
        s.click(Control::cmdMapIt);
        QCOMPARE(s.sim.table().first(), u"[0][0][0][0][0][0][0][0]"_s);
        const QString path = s.sim.dir() + u"/saved.qvr"_s;
        s.files = {path};
        s.click(Control::cmdSaveMatrix);
        QFile saved(path);
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), QByteArray("[1][1][2][2][1][2][3][1]\r\n"));
        QCOMPARE(s.window->text(Control::lblFileName), u"saved.qvr"_s);
        const QStringList sent = s.sim.commands();
        QVERIFY(sent.indexOf(u"Comp"_s) < sent.lastIndexOf(u"RawMap 1"_s));
    }

    void loadOnlineMakesTheTallySystemEqualTheFile()
    {
        Studio s;
        QVERIFY(s.start(4, 6, {"--baud"_L1, "0"_L1}, "[1][4][2][6][1][0][0][0]\r\n"));
        const QByteArray file = "[1][1][2][1][1][0][0][0]\r\n[1][2][2][3][1][2][5][1]\r\n"
                                "[1][3][2][4][1][2][2][2]\r\n";
        const QString path = s.sim.dir() + u"/load.qvr"_s;
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(file);
        f.close();

        s.files = {path};
        s.click(Control::cmdLoadMatrix);
        QCOMPARE(s.sim.table(), (QStringList{u"[1][1][2][1][1][0][0][0]"_s, u"[1][2][2][3][1][2][5][1]"_s,
                                             u"[1][3][2][4][1][2][2][2]"_s}));
        QCOMPARE(s.mapped(), s.sim.table());
        QVERIFY(s.sim.commands().contains(u"AND 1 2 2 5"_s));
        QCOMPARE(s.window->text(Control::lblFileName), u"load.qvr"_s);
        QCOMPARE(s.rows()[1], u"Out 2\t 3\t&\t 5"_s);

        // A partial load keeps what the file does not mention.
        const QString part = s.sim.dir() + u"/part.qvr"_s;
        QFile p(part);
        QVERIFY(p.open(QIODevice::WriteOnly));
        p.write("[1][4][2][6][1][0][0][0]\r\n");
        p.close();
        s.files = {part};
        s.click(Control::cmdPartLoadMatrix);
        QCOMPARE(s.sim.table().size(), 4);
        QCOMPARE(s.mapped().size(), 4);
        QCOMPARE(s.model.OutputMap[1], u"[1][1][2][1][1][0][0][0]"_s);
    }
};

QTEST_MAIN(TestEndToEnd)
#include "tst_endtoend.moc"
