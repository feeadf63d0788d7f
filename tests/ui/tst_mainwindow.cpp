#include "gui/Configurator.h"
#include "gui/StartUp.h"
#include "matrix/MapString.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "gui/TallyList.h"
#include "ui/ProgramDir.h"
#include "support/ScriptedPort.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// The window, the logic and the recorded message boxes of one start.
struct Started
{
    Dialogs dialogs;
    QList<Dialogs::Request> boxes;
    QList<MessageResult> answers;
    SystemModel model;
    ScriptedPort port;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<Configurator> logic;
    bool loaded = false;

    explicit Started(const QByteArray &ini, QList<MessageResult> replies = {})
        : answers(std::move(replies))
    {
        dialogs.setResponder([this](const Dialogs::Request &r) {
            boxes << r;
            if (!answers.isEmpty())
                return answers.takeFirst();
            return r.buttons == MessageButtons::YesNo ? MessageResult::No : r.defaultButton;
        });
        // A tally system that answers everything and holds no mappings.
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            if (c == "VER")
                return ScriptedPort::answer(c, "KESTREL MAIN V2.14");
            return ScriptedPort::answer(c, c.startsWith("RawMap") ? "" : "OK");
        };
        ProgramDir dir(ini);
        window = std::make_unique<MainWindow>(dialogs);
        logic = std::make_unique<Configurator>(model, *window, port);
        loaded = logic->Form_Load(dir.path());
    }
    // The text a list shows in one column of one row.
    QString cell(Control list, int row, int column) const
    {
        TallyListModel *m = window->list(list)->rows();
        return m->data(m->index(row, column), Qt::DisplayRole).toString();
    }
};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT
private slots:
    void controlsAtTheirPlaces_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QRect>("pixels");
        QTest::newRow("List1") << u"List1"_s << QRect(70, 132, 246, 273);
        QTest::newRow("list2") << u"list2"_s << QRect(322, 132, 214, 274);
        QTest::newRow("list3") << u"list3"_s << QRect(322, 292, 214, 114);
        QTest::newRow("txtInput") << u"txtInput"_s << QRect(432, 106, 39, 22);
        QTest::newRow("cmdMapIt") << u"cmdMapIt"_s << QRect(476, 106, 63, 21);
        QTest::newRow("cmdOnline") << u"cmdOnline"_s << QRect(272, 82, 73, 21);
        QTest::newRow("lblError") << u"lblError"_s << QRect(384, 441, 157, 19);
        QTest::newRow("cmdPartLoadMatrix") << u"cmdPartLoadMatrix"_s << QRect(400, 500, 126, 16);
        QTest::newRow("Check2") << u"Check2"_s << QRect(70, 494, 83, 19);
        QTest::newRow("cmdClose") << u"cmdClose"_s << QRect(496, 50, 20, 20);
        QTest::newRow("Shape2") << u"Shape2"_s << QRect(527, 54, 14, 10);
        QTest::newRow("lblVersionInfo") << u"lblVersionInfo"_s << QRect(105, 528, 305, 25);
    }
    void controlsAtTheirPlaces()
    {
        QFETCH(QString, name);
        QFETCH(QRect, pixels);
        Dialogs dialogs;
        MainWindow window(dialogs);
        QCOMPARE(window.objectName(), u"frmKestrelMain"_s);
        QCOMPARE(window.windowTitle(), u"Kestrel"_s);
        QCOMPARE(window.size(), QSize(655, 595));
        auto *w = window.findChild<QWidget *>(name);
        QVERIFY2(w, qPrintable(name));
        QCOMPARE(w->geometry(), pixels);
    }

    void everyViewControlIsNamed()
    {
        Dialogs dialogs;
        MainWindow window(dialogs);
        for (int c = int(Control::List1); c <= int(Control::Shape2); ++c) {
            QWidget *w = window.control(Control(c));
            QVERIFY2(w && !w->objectName().isEmpty(), qPrintable(QString::number(c)));
        }
        const auto boolButtons = window.findChildren<QAbstractButton *>(u"cmdBool"_s);
        QCOMPARE(boolButtons.size(), 2);
        QCOMPARE(window.button(Control::cmdBoolAnd)->property("index").toInt(), 0);
        QCOMPARE(window.button(Control::cmdBoolOr)->text(), u"OR"_s);
    }

    void loadFillsAndSelects()
    {
        Started s(studioIni(5, 4));
        QVERIFY(s.loaded);
        QVERIFY(s.boxes.isEmpty());
        MainWindow &w = *s.window;
        QCOMPARE(w.rowCount(Control::List1), 5);
        QCOMPARE(w.rowCount(Control::list2), 5);
        QCOMPARE(w.rowCount(Control::list3), 5);
        for (Control l : {Control::List1, Control::list2, Control::list3})
            QCOMPARE(w.currentRow(l), 0);
        QCOMPARE(w.list(Control::list2)->height(), 274);
        QCOMPARE(w.text(Control::lblError), u"MAIN V2"_s); // online: the tally system's version
        QCOMPARE(w.text(Control::lblFileName), u""_s);
        QCOMPARE(w.text(Control::cmdOnline), u"Online"_s);
        QCOMPARE(w.text(Control::lblOutUnit), u"1"_s); // the read-out names output 1 at once
        QCOMPARE(w.text(Control::lblOutChannel), u"1"_s);
        QVERIFY(w.isVisible());
        QVERIFY(!w.mask().isEmpty());
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        QTRY_COMPARE(QApplication::focusWidget(), w.control(Control::List1));
    }

    void rowTexts_data()
    {
        QTest::addColumn<QString>("map");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("cells");
        QTest::newRow("and 5 & 12") << ComposeBoolMapString(1, 2, 2, 5, 2, 12, AndMapping)
                                    << u"Out 2\t 5\t&\t 12"_s
                                    << QStringList{u"Out 2"_s, u" 5"_s, u"&"_s, u" 12"_s};
        QTest::newRow("or 3 || 0") << ComposeBoolMapString(1, 2, 2, 3, 0, 0, OrMapping)
                                   << u"Out 2\t 3\t||\t 0"_s
                                   << QStringList{u"Out 2"_s, u" 3"_s, u"||"_s, u" 0"_s};
        QTest::newRow("plain 7") << ComposeMapString(1, 2, 2, 7) << u"Out 2\t 7\t\t"_s
                                 << QStringList{u"Out 2"_s, u" 7"_s, u""_s, u""_s};
        QTest::newRow("unmapped") << u""_s << u"Out 2\t\t\t"_s
                                  << QStringList{u"Out 2"_s, u""_s, u""_s, u""_s};
    }
    void rowTexts()
    {
        QFETCH(QString, map);
        QFETCH(QString, text);
        QFETCH(QStringList, cells);
        Started s(studioIni(3, 12));
        s.model.OutputMap[2] = map;
        s.logic->lists().UpdateListBox1();
        QCOMPARE(s.window->rowText(Control::List1, 1), text);
        for (int c = 0; c < 4; ++c)
            QCOMPARE(s.cell(Control::List1, 1, c), cells[c]);
        QCOMPARE(s.window->rowText(Control::list2, 0), u"0\tUnassigned"_s);
        QCOMPARE(s.cell(Control::list2, 12, 0), u"12"_s);
        QCOMPARE(s.cell(Control::list2, 12, 1), u"In 12"_s);
    }

    void threeDigitInputsAreNotCut()
    {
        Started s(studioIni(3, 999));
        TallyList *outputs = s.window->list(Control::List1);
        QVERIFY(QTest::qWaitForWindowExposed(s.window.get()));
        const QFontMetrics metrics(outputs->font());
        for (int c : {1, 3})
            QVERIFY2(outputs->columnWidth(c) > metrics.horizontalAdvance(u" 999"_s),
                     qPrintable(QString::number(outputs->columnWidth(c))));
        QVERIFY(outputs->columnWidth(0) > outputs->columnWidth(1) * 2); // names keep the most
        TallyList *inputs = s.window->list(Control::list2);
        QVERIFY(inputs->columnWidth(0) > metrics.horizontalAdvance(u"999"_s));
    }

    void booleanLayoutByClick()
    {
        Started s(studioIni(3, 12));
        MainWindow &w = *s.window;
        auto *boolean = qobject_cast<QCheckBox *>(w.control(Control::Check3));
        QTest::mouseClick(boolean, Qt::LeftButton);
        QVERIFY(boolean->isChecked());
        QCOMPARE(w.list(Control::list2)->height(), 130);
        QVERIFY(!w.list(Control::list3)->isHidden());
        QVERIFY(!w.button(Control::cmdBoolAnd)->isHidden());
        QVERIFY(!w.button(Control::cmdBoolOr)->isHidden());
        QCOMPARE(w.currentRow(Control::list2), 1);
        QCOMPARE(w.currentRow(Control::list3), 1);
        QCOMPARE(boolean->palette().color(QPalette::WindowText), QColor(255, 0, 0));

        QTest::mouseClick(boolean, Qt::LeftButton);
        QVERIFY(!boolean->isChecked());
        QCOMPARE(w.list(Control::list2)->height(), 274);
        QVERIFY(w.list(Control::list3)->isHidden());
        QVERIFY(w.button(Control::cmdBoolAnd)->isHidden());
        QCOMPARE(boolean->palette().color(QPalette::WindowText), QColor(0, 0, 0));
    }

    void enableControlsOnWidgets()
    {
        Started s(studioIni(3, 3));
        MainWindow &w = *s.window;
        s.logic->lists().EnableControls(false);
        QVERIFY(w.control(Control::lblTallyOutputs)->isHidden());
        QVERIFY(!w.control(Control::lblDownloading)->isHidden());
        for (Control c : {Control::list2, Control::cmdMapIt, Control::txtInput, Control::cmdInit})
            QVERIFY(!w.control(c)->isEnabled());
        QVERIFY(w.control(Control::List1)->isEnabled());
        QVERIFY(w.control(Control::cmdLoadMatrix)->isEnabled());
        s.logic->lists().EnableControls(true);
        for (Control c : {Control::list2, Control::cmdMapIt, Control::txtInput, Control::cmdInit})
            QVERIFY(w.control(c)->isEnabled());
        // Online the test controls come back too.
        for (Control c : {Control::cmdTest, Control::chkTest, Control::cmdRefresh})
            QVERIFY(w.control(c)->isEnabled());
    }

    void fileMissing_data()
    {
        QTest::addColumn<QByteArray>("ini");
        QTest::addColumn<int>("answer");
        QTest::newRow("no file, OK") << QByteArray() << int(MessageResult::Ok);
        QTest::newRow("no file, Cancel") << QByteArray() << int(MessageResult::Cancel);
        QTest::newRow("no System, Cancel") << QByteArray("[Kestrel]\nOutput 1=A,1,1\n")
                                           << int(MessageResult::Cancel);
    }
    void fileMissing()
    {
        QFETCH(QByteArray, ini);
        QFETCH(int, answer);
        Started s(ini, {MessageResult(answer)});
        QVERIFY(!s.loaded);
        QCOMPARE(s.boxes.size(), 1);
        QCOMPARE(s.boxes[0].title, u"File Missing"_s);
        QCOMPARE(s.boxes[0].text,
                 u"Cannot locate Kestrel.ini file in program directory\r\nPlease aquire a "
                 "Kestrel.ini file for this tally system and copy it into the program directory"_s);
        QCOMPARE(s.boxes[0].buttons, MessageButtons::OkCancel);
        QVERIFY(!s.window->isVisible());
        QCOMPARE(s.window->rowCount(Control::List1), 0);
    }

    void tooManyOutputsToldOnce()
    {
        Started s(studioIni(1003, 2));
        QVERIFY(s.loaded);
        QCOMPARE(s.boxes.size(), 1);
        QCOMPARE(s.boxes[0].title, u"Kestrel.ini"_s);
        QVERIFY(s.boxes[0].text.contains(u"999"_s));
        QVERIFY(s.boxes[0].text.contains(u"4 output entries"_s));
        QCOMPARE(s.window->rowCount(Control::List1), 999);
    }

    void errorLabelClickClears()
    {
        Started s(studioIni(1, 1));
        s.window->setText(Control::lblError, u"Comm Error!"_s);
        QTest::mouseClick(s.window->control(Control::lblError), Qt::LeftButton);
        QCOMPARE(s.window->text(Control::lblError), u""_s);
    }

    void closeButtonEndsAtOnce()
    {
        Started s(studioIni(1, 1));
        int ended = 0;
        int unloaded = 0;
        s.window->setEndProcess([&] { ++ended; });
        connect(s.window.get(), &MainWindow::unloading, this, [&] { ++unloaded; });
        QTest::mouseClick(s.window->closeButton(), Qt::LeftButton);
        QCOMPARE(ended, 1);
        QCOMPARE(unloaded, 0); // nothing unloads on "X"
    }

    void desktopCloseUnloadsSecondaryWindows()
    {
        Started s(studioIni(1, 1));
        QWidget advanced;
        QWidget status;
        s.window->registerWindow(Window::frmVerbose, &advanced);
        s.window->registerWindow(Window::frmUnitBits, &status);
        advanced.show();
        status.show();
        s.window->close();
        QVERIFY(advanced.isHidden());
        QVERIFY(status.isHidden());
    }

    void localSocketWhereNotX11()
    {
        // Off X11 a running copy holds a per-user socket; a second start finds it.
        QTemporaryDir runtime;
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        QFile::setPermissions(runtime.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                  QFileDevice::ExeOwner);
        Dialogs dialogs;
        QList<Dialogs::Request> boxes;
        dialogs.setResponder([&](const Dialogs::Request &r) {
            boxes << r;
            return MessageResult::Ok;
        });
        {
            StartUp first(dialogs);
            QVERIFY(first.Form1_Load());
            StartUp second(dialogs);
            QVERIFY(!second.Form1_Load());
            QCOMPARE(boxes.size(), 1);
            QCOMPARE(boxes[0].title, u"Application Error"_s);
        }
        // The first copy has ended: the next start may run.
        StartUp third(dialogs);
        QVERIFY(third.Form1_Load());
        QCOMPARE(boxes.size(), 1);
    }

    void listKeys_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<int>("inputRow"); // list2 after the key, from row 14
        QTest::newRow("right") << int(Qt::Key_Right) << 0 << 15;
        QTest::newRow("shift right") << int(Qt::Key_Right) << int(Qt::ShiftModifier) << 24;
        QTest::newRow("ctrl right near the end") << int(Qt::Key_Right) << int(Qt::ControlModifier) << 25;
        QTest::newRow("alt left") << int(Qt::Key_Left) << int(Qt::AltModifier) << 4;
        QTest::newRow("delete") << int(Qt::Key_Delete) << 0 << 0;
    }
    void listKeys()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(int, inputRow);
        Started s(studioIni(5, 25));
        MainWindow &w = *s.window;
        w.setCurrentRow(Control::list2, 14);
        if (key == Qt::Key_Right && modifiers == Qt::ControlModifier)
            w.setCurrentRow(Control::list2, 20);
        TallyList *outputs = w.list(Control::List1);
        QTest::keyClick(outputs, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(w.currentRow(Control::list2), inputRow);
        QCOMPARE(w.currentRow(Control::List1), 0); // the keys were swallowed
        QCOMPARE(w.text(Control::lblInChannel), QString::number(inputRow));
    }

    void outputListKeepsItsOwnKeys()
    {
        Started s(studioIni(30, 3));
        TallyList *outputs = s.window->list(Control::List1);
        QTest::keyClick(outputs, Qt::Key_Down);
        QCOMPARE(s.window->currentRow(Control::List1), 1);
        QTest::keyClick(outputs, Qt::Key_End);
        QCOMPARE(s.window->currentRow(Control::List1), 29);
        QCOMPARE(s.window->text(Control::lblOutChannel), u"30"_s); // read-out follows on key up
        QTest::keyClick(outputs, Qt::Key_Home);
        QCOMPARE(s.window->currentRow(Control::List1), 0);
    }

    void entryArrowKeys_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<int>("to");
        QTest::newRow("shift down") << 3 << int(Qt::Key_Down) << int(Qt::ShiftModifier) << 13;
        QTest::newRow("shift down near the end") << 25 << int(Qt::Key_Down) << int(Qt::ShiftModifier) << 29;
        QTest::newRow("ctrl up") << 7 << int(Qt::Key_Up) << int(Qt::ControlModifier) << 0;
        QTest::newRow("up") << 7 << int(Qt::Key_Up) << 0 << 6;
    }
    void entryArrowKeys()
    {
        QFETCH(int, from);
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(int, to);
        Started s(studioIni(30, 3));
        s.window->setCurrentRow(Control::List1, from);
        QLineEdit *entry = s.window->entry();
        entry->setFocus();
        QTest::keyClick(entry, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(s.window->currentRow(Control::List1), to);
        QCOMPARE(s.window->text(Control::lblOutChannel), QString::number(to + 1));
        QCOMPARE(entry->text(), u"0"_s);
    }

    void entryIgnoresSpaceAndDeleteAndKeepsThreeCharacters()
    {
        Started s(studioIni(3, 999));
        QLineEdit *entry = s.window->entry();
        entry->setFocus();
        entry->selectAll();
        QTest::keyClicks(entry, u"12 3"_s);
        QTest::keyClick(entry, Qt::Key_Home);
        QTest::keyClick(entry, Qt::Key_Delete);
        QCOMPARE(entry->text(), u"123"_s);
        QTest::keyClicks(entry, u"4"_s);
        QCOMPARE(entry->text(), u"123"_s);
        QTest::keyClick(entry, Qt::Key_End);
        QTest::keyClick(entry, Qt::Key_Backspace);
        QCOMPARE(entry->text(), u"12"_s);
    }

    void doubleClickOnAnInputMaps()
    {
        Started s(studioIni(3, 6));
        TallyList *inputs = s.window->list(Control::list2);
        const QRect row = inputs->visualRect(inputs->model()->index(4, 1));
        QTest::mouseDClick(inputs->viewport(), Qt::LeftButton, {}, row.center());
        QCOMPARE(s.port.commands.last(), QByteArray("Map 1 1 2 4"));
        QCOMPARE(s.model.OutputMap[1], u"[1][1][2][4][1][0][0][0]"_s);
        QCOMPARE(s.window->currentRow(Control::List1), 1);
        QCOMPARE(QApplication::focusWidget(), s.window->control(Control::List1));
    }

    void testButtonHeldWithAnyMouseButton_data()
    {
        QTest::addColumn<int>("button");
        QTest::newRow("left") << int(Qt::LeftButton);
        QTest::newRow("right") << int(Qt::RightButton);
    }
    void testButtonHeldWithAnyMouseButton()
    {
        QFETCH(int, button);
        Started s(studioIni(3, 3));
        s.window->setCurrentRow(Control::List1, 2);
        QWidget *test = s.window->control(Control::cmdTest);
        const qsizetype before = s.port.commands.size();
        QTest::mousePress(test, Qt::MouseButton(button));
        QCOMPARE(s.port.commands.mid(before),
                 (QList<QByteArray>{"GetMap 1  3", "mapdisab 1  3", "Set 1  3"}));
        QVERIFY(s.model.OutputTestOn[3]);
        QTest::mouseRelease(test, Qt::MouseButton(button));
        QCOMPARE(s.port.commands.mid(before + 3), (QList<QByteArray>{"Res 1  3", "MapEnab 1  3"}));
        QVERIFY(!s.model.OutputTestOn[3]);
    }

    void latchBoxTogglesOnlyThroughTheTest()
    {
        Started s(studioIni(3, 3));
        auto *latch = s.window->button(Control::chkTest);
        latch->setFocus();
        QTest::keyClick(latch, Qt::Key_Space); // a check box's own key does nothing here
        QVERIFY(!latch->isChecked());
        QVERIFY(!s.model.OutputTestOn[1]);
        QTest::keyClick(latch, Qt::Key_Return);
        QVERIFY(latch->isChecked());
        QVERIFY(s.model.OutputTestOn[1]);
    }

    void minimiseGivesFocusToOutputs()
    {
        Started s(studioIni(2, 2));
        QVERIFY(QTest::qWaitForWindowExposed(s.window.get()));
        s.window->setFocus(Control::txtInput);
        QTest::mouseClick(s.window->minimiseButton(), Qt::LeftButton);
        QTRY_VERIFY(s.window->isMinimized());
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
