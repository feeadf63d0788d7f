// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The windows as the application builds them (Configurator joins them to the logic), on a
// scripted tally system: the operator's input paths by real mouse and key events, the layout
// holding together, and the secondary windows' controls and close boxes reaching the logic.
#include "Studio.h"
#include "core/DataTable.h"
#include "link/DevicePort.h"

namespace {

// Counts the mouse presses that reach one object, and the objects painted.
struct Watch : QObject
{
    int presses = 0;
    QSet<QObject *> painted;
    bool eventFilter(QObject *o, QEvent *e) override
    {
        presses += e->type() == QEvent::MouseButtonPress;
        if (e->type() == QEvent::Paint)
            painted << o;
        return false;
    }
};

enum class Act { Test, LatchPress, LatchEnter, EntryEnter };
// A read-back serves events: a press comes in the middle of it. A load serves none: a press
// during it waits until the load ends.
enum class When { ReadBack, Load };
enum class Move { Drag, RightPress, DownAfterTab, CtrlClick }; // to another input row
enum class Meanwhile { Nothing, FocusMovesOn, Down };
enum class Shown { Main, UnitStatus, Advanced, MainBoolean }; // the window laid out
// What is done to a secondary window (the second argument) once its box has opened it.
using Done = std::function<void(Studio &, QWidget &)>;

using GreyedRows = DataTable<"act when", Act, When>;
using DoubleClickRows = DataTable<"latched control sent", bool, Control, QList<QByteArray>>;
using MoveRows = DataTable<"how row", Move, int>; // the input row the move ends on
using HoldRows = DataTable<"control button meanwhile", Control, Qt::MouseButton, Meanwhile>;
using TypedRows = DataTable<"typed", QString>;
using LayoutRows = DataTable<"window", Shown>;
// The window's box (Check1: unit status, Check2: advanced), the last command sent, the act.
using SecondaryRows = DataTable<"box sent done", Control, QByteArray, Done>;

} // namespace

class TestGuiWindows : public QObject
{
    Q_OBJECT
private slots:
    void greyedControlNeverActs_data()
    {
        const GreyedRows row;
        using enum Act;
        using enum When;
        row("read-back: Test", Test, ReadBack);
        row("read-back: latch press", LatchPress, ReadBack);
        row("read-back: latch Enter", LatchEnter, ReadBack);
        row("read-back: entry Enter", EntryEnter, ReadBack);
        row("load: latch press", LatchPress, Load);
        row("load: entry Enter", EntryEnter, Load);
    }
    // What the tally system hears and the latch shows is the same with or without the act.
    void greyedControlNeverActs()
    {
        const auto [act, when] = GreyedRows::fetch();
        const bool mouse = act == Act::Test || act == Act::LatchPress;
        const Control pressed = act == Act::Test         ? Control::cmdTest
                                : act == Act::EntryEnter ? Control::txtInput
                                                         : Control::chkTest;
        const Control operation =
            when == When::ReadBack ? Control::cmdRefresh : Control::cmdLoadMatrix;
        auto run = [&](bool acting) {
            ScriptedStudio r(3);
            r.s.window.entry()->setText(u"4"_s);
            QWidget *target = r.s.w(pressed);
            r.port.onCommand = [&](const QByteArray &c) {
                if (acting && (c == "RawMap 2" || c.startsWith("Map "))) {
                    acting = false; // in the middle of an exchange: pressed once events are served
                    QTimer::singleShot(0, target, [&] {
                        if (mouse)
                            QTest::mouseClick(target, Qt::LeftButton);
                        else
                            QTest::keyClick(target, Qt::Key_Return);
                    });
                }
            };
            const qsizetype before = r.port.commands.size();
            r.s.click(operation);
            QCoreApplication::processEvents();
            return std::pair{r.port.commands.mid(before), r.s.window.isChecked(Control::chkTest)};
        };
        QCOMPARE(run(true), run(false));
    }

    void secondPressOfADoubleClickIsAPress_data()
    {
        const DoubleClickRows row;
        const QList<QByteArray> on{"GetMap 1  2", "mapdisab 1  2", "Set 1  2"};
        const QList<QByteArray> off{"Res 1  2", "MapEnab 1  2"};
        row("latch", false, Control::chkTest, on + off);
        row("Test", false, Control::cmdTest, on + off + on + off);
        row("Test, latched output", true, Control::cmdTest, off + on + off);
    }
    void secondPressOfADoubleClickIsAPress()
    {
        const auto [latched, control, sent] = DoubleClickRows::fetch();
        ScriptedStudio r;
        r.s.window.setCurrentRow(Control::List1, 1);
        if (latched)
            r.s.click(Control::chkTest);
        const qsizetype before = r.port.commands.size();
        r.s.click(control);
        QTest::mouseDClick(r.s.w(control), Qt::LeftButton); // the second press
        QTest::mouseRelease(r.s.w(control), Qt::LeftButton);
        QCOMPARE(r.port.commands.mid(before), sent);
        QVERIFY(!r.s.model.OutputTestOn[2]);
        if (!latched) // the box the presses ticked is unticked again
            QVERIFY(!r.s.window.isChecked(Control::chkTest));
    }

    void entryBoxFollowsTheInputList_data()
    {
        const MoveRows to;
        to("drag from row 2", Move::Drag, 5);
        to("right press", Move::RightPress, 4);
        to("Down after Tab", Move::DownAfterTab, 3);
        to("ctrl+click on the current row", Move::CtrlClick, 2);
    }
    void entryBoxFollowsTheInputList()
    {
        const auto [how, row] = MoveRows::fetch();
        ScriptedStudio r;
        TallyList *inputs = r.s.window.list(Control::list2);
        auto at = [&](int n) { return inputs->visualRect(inputs->model()->index(n, 0)).center(); };
        r.s.window.setCurrentRow(Control::list2, 2);
        r.s.window.setFocus(Control::txtInput);
        if (how == Move::Drag) {
            QTest::mousePress(inputs->viewport(), Qt::LeftButton, {}, at(2));
            QTest::mouseMove(inputs->viewport(), at(row));
            QTest::mouseRelease(inputs->viewport(), Qt::LeftButton, {}, at(row));
        } else if (how == Move::DownAfterTab) {
            for (int i = 0; i < 9 && QApplication::focusWidget() != inputs; ++i)
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QTest::keyClick(inputs, Qt::Key_Down);
        } else {
            QTest::mouseClick(
                inputs->viewport(), how == Move::RightPress ? Qt::RightButton : Qt::LeftButton,
                how == Move::CtrlClick ? Qt::ControlModifier : Qt::NoModifier, at(row));
        }
        QCOMPARE(inputs->selectionModel()->selectedRows().value(0).row(), row);
        QCOMPARE(r.s.window.entry()->text(), QString::number(row));
        QCOMPARE(r.s.window.text(Control::lblInChannel), QString::number(row));
    }

    // A click or a double click below the last row: the current row stays, and stays
    // highlighted, and nothing is sent.
    void emptyPartOfAListChangesNothing()
    {
        ScriptedStudio r;
        const qsizetype sent = r.port.commands.size();
        for (Control list : {Control::List1, Control::list2}) {
            TallyList *l = r.s.window.list(list);
            l->setCurrentRow(3);
            const QPoint below(l->viewport()->width() / 2, l->viewport()->height() - 3);
            QTest::mouseClick(l->viewport(), Qt::LeftButton, {}, below);
            QTest::mouseDClick(l->viewport(), Qt::LeftButton, {}, below);
            QCOMPARE(l->selectionModel()->selectedRows().value(0).row(), 3);
        }
        QCOMPARE(r.port.commands.size(), sent);
    }

    // Output 1 latched on row 0, then the list redrawn, which ends every test and selects row 0.
    void readOutAfterARedraw()
    {
        ScriptedStudio r;
        for (Control redraw : {Control::cmdRefresh, Control::cmdInit}) {
            r.s.click(Control::chkTest);
            r.s.answers = {MessageResult::Ok}; // "Clear All" asks first
            r.s.click(redraw);
            QCOMPARE(r.s.window.isChecked(Control::chkTest), r.s.model.OutputTestOn[1]);
        }
    }

    void testThatStartsAlwaysEnds_data()
    {
        // The control pressed, the button (none: Space held in the output list), then what
        // happens meanwhile (Down: in the output list).
        const HoldRows row;
        using enum Meanwhile;
        row("Test, right", Control::cmdTest, Qt::RightButton, Nothing);
        row("Test, Down", Control::cmdTest, Qt::LeftButton, Down);
        row("Space, focus moves on", Control::List1, Qt::NoButton, FocusMovesOn);
        row("Space, Down", Control::List1, Qt::NoButton, Down);
    }
    void testThatStartsAlwaysEnds()
    {
        const auto [control, button, meanwhile] = HoldRows::fetch();
        ScriptedStudio r;
        Watch watch; // on the background, whose presses move the window
        r.s.window.installEventFilter(&watch);
        QWidget *w = r.s.w(control);
        if (button == Qt::NoButton)
            QTest::keyPress(w, Qt::Key_Space);
        else
            QTest::mousePress(w, button);
        QVERIFY(r.s.model.OutputTestOn[1]);
        if (meanwhile == Meanwhile::FocusMovesOn)
            r.s.window.setFocus(Control::txtInput);
        if (meanwhile == Meanwhile::Down)
            QTest::keyClick(r.s.window.list(Control::List1), Qt::Key_Down);
        if (button == Qt::NoButton)
            QTest::keyRelease(QApplication::focusWidget(), Qt::Key_Space);
        else
            QTest::mouseRelease(w, button);
        QCOMPARE(watch.presses, 0);
        QTRY_VERIFY(!r.s.model.OutputTestOn[1]); // once the release is known not to be a repeat
        QCOMPARE(r.port.commands.last(), "MapEnab 1  1");
        QCOMPARE(r.s.window.text(Control::lblOutChannel),
                 meanwhile == Meanwhile::Down ? u"2"_s : u"1"_s);
    }

    void fileDialogHandsTypedNamesOn_data()
    {
        const TypedRows row;
        row("no such file", u"nothere.qvr"_s);
        row("hidden file", u".hidden.qvr"_s);
    }
    void fileDialogHandsTypedNamesOn()
    {
        const QString typed = std::get<0>(TypedRows::fetch()); // captured below
        ScriptedStudio r(0, false);
        r.s.dialogs.setFileResponder({}); // the real dialog
        writeFile(r.s.dir.filePath(u".hidden.qvr"_s), "[1][2][2][3][1][0][0][0]\r\n");
        QTimer::singleShot(0, this, [&] {
            QTimer::singleShot(0, this, [] { // whatever the dialog still shows is refused
                while (auto *m = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
                    m->reject();
            });
            auto *d = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            QCOMPARE(d->nameFilters(), QStringList{u"Kestrel Tally(*.qvr)"_s});
            auto *name = d->findChild<QLineEdit *>(u"fileNameEdit"_s);
            name->setText(r.s.dir.filePath(typed));
            QTest::keyClick(name, Qt::Key_Return);
        });
        r.s.click(Control::cmdLoadMatrix);
        QVERIFY(!r.s.boxes.isEmpty());
        QCOMPARE(r.s.boxes.last().text, u"File does not exist"_s);
        QCOMPARE(r.s.boxes.last().title, u"File Error"_s);
    }

    void windowPaintedBeforeALoadBlocks()
    {
        ScriptedStudio r;
        QVERIFY(QTest::qWaitForWindowExposed(&r.s.window));
        Watch watch;
        qApp->installEventFilter(&watch);
        QSet<QObject *> paintedFirst; // by the load's first exchange
        r.port.onCommand = [&](const QByteArray &) {
            if (paintedFirst.isEmpty() && !r.s.w(Control::cmdMapIt)->isEnabled())
                paintedFirst = watch.painted << nullptr;
        };
        r.s.click(Control::cmdLoadMatrix);
        QStringList unpainted; // the whole window, not only what changed
        for (QWidget *w : r.s.window.findChildren<QWidget *>())
            if (w->isVisible() && !paintedFirst.contains(w))
                unpainted << w->objectName();
        QCOMPARE(unpainted, QStringList());
    }

    // Most of each face, all but its edge and caption, is exactly its colour.
    void facesInTheirExactColours()
    {
        ScriptedStudio online, offline(0, false);
        QTest::mousePress(online.s.w(Control::cmdTest), Qt::LeftButton);
        for (auto [face, colour] : {std::pair{online.s.w(Control::cmdTest), qRgb(255, 0, 0)},
                                    {online.s.w(Control::cmdOnline), qRgb(0, 255, 0)},
                                    {offline.s.w(Control::cmdOnline), qRgb(255, 128, 128)}}) {
            const QImage shown = face->grab().toImage().convertToFormat(QImage::Format_RGB32);
            const auto *px = reinterpret_cast<const QRgb *>(shown.constBits());
            QVERIFY(std::count(px, px + shown.sizeInBytes() / 4, colour) > shown.sizeInBytes() / 8);
        }
    }

    void textsStayReadable()
    {
        QCOMPARE(ScriptedStudio(1000).s.boxes.value(0).text, ReadBack::LimitText()); // at 999
        ScriptedStudio r(0, false);
        QStringList cut;
        for (QAbstractButton *b : r.s.window.findChildren<QAbstractButton *>()) {
            QStyleOptionButton o;
            o.initFrom(b);
            const auto e = qobject_cast<QCheckBox *>(b) ? QStyle::SE_CheckBoxContents
                                                        : QStyle::SE_PushButtonContents;
            if (!b->text().isEmpty() && b->fontMetrics().horizontalAdvance(b->text()) >
                                            b->style()->subElementRect(e, &o, b).width())
                cut << b->objectName();
        }
        QCOMPARE(cut, QStringList());
        // A disabled control's caption is greyed, whatever its colour when enabled.
        r.s.logic.lists().EnableControls(false);
        r.s.window.setForeColour(Control::chkTest, Colours::Red);
        for (auto [c, colour] : {std::pair{Control::chkTest, QColor(Qt::red)},
                                 {Control::Check1, QColor(Qt::black)},
                                 {Control::list2, QColor(Qt::cyan)},
                                 {Control::txtInput, QColor(Qt::white)}}) {
            const QImage face = r.s.w(c)->grab().toImage().convertToFormat(QImage::Format_RGB32);
            const auto *px = reinterpret_cast<const QRgb *>(face.constBits());
            auto near = [c = colour](QRgb p) { // the caption colour, softened at glyph edges
                return qAbs(qRed(p) - c.red()) + qAbs(qGreen(p) - c.green()) +
                           qAbs(qBlue(p) - c.blue()) <
                       40;
            };
            QVERIFY2(std::none_of(px, px + face.sizeInBytes() / 4, near),
                     qPrintable(r.s.w(c)->objectName()));
        }
    }

    void layout_data()
    {
        const LayoutRows row;
        row("main", Shown::Main);
        row("unit status", Shown::UnitStatus);
        row("advanced", Shown::Advanced);
        row("main, Boolean layout", Shown::MainBoolean);
    }
    // Every control lies inside the window's outline, and none covers another. A label without
    // a background of its own covers only its text.
    void layout()
    {
        const auto [window] = LayoutRows::fetch();
        ScriptedStudio r;
        for (Control box : {Control::Check1, Control::Check2, Control::Check3})
            if (box != Control::Check3 || window == Shown::MainBoolean)
                r.s.click(box);
        QWidget *w = window == Shown::UnitStatus ? &r.s.logic.unitStatusWindow()
                     : window == Shown::Advanced
                         ? static_cast<QWidget *>(&r.s.logic.advancedWindow())
                         : &r.s.window;
        QVERIFY(w->isVisible());
        const QRegion outline = w->mask().isEmpty() ? QRegion(w->rect()) : w->mask();
        QList<std::pair<QRect, QString>> controls;
        for (QWidget *c : w->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
            const auto *label = qobject_cast<const QLabel *>(c);
            const int align = label ? int(label->alignment()) : 0;
            QRect at = c->geometry();
            if (label && !label->autoFillBackground())
                at = QStyle::alignedRect(Qt::LeftToRight, Qt::Alignment(align),
                                         label->fontMetrics()
                                             .boundingRect(QRect(QPoint(), at.size()),
                                                           align | Qt::TextWordWrap, label->text())
                                             .size(),
                                         at);
            if (c->isVisibleTo(w))
                controls << std::pair{at, c->objectName() + c->property("index").toString()};
        }
        QVERIFY(controls.size() >= 3);
        for (qsizetype a = 0; a < controls.size(); ++a) {
            QVERIFY2((QRegion(controls[a].first) - outline).isEmpty(),
                     qPrintable(controls[a].second));
            for (qsizetype b = a + 1; b < controls.size(); ++b)
                QVERIFY2(!controls[a].first.intersects(controls[b].first),
                         qPrintable(controls[a].second + u" covers "_s + controls[b].second));
        }
    }

    void secondaryWindows_data()
    {
        const SecondaryRows row;
        const auto press = [](QAbstractButton *b) { QTest::mouseClick(b, Qt::LeftButton); };
        const Done closeBox = [](Studio &, QWidget &w) { QVERIFY(w.close()); };
        const Done mainClosed = [](Studio &s, QWidget &) { QVERIFY(s.window.close()); };
        row("unit: up, down", Control::Check1, "GSTAT 1", [press](Studio &s, QWidget &) {
            press(s.logic.unitStatusWindow().upButton());
            press(s.logic.unitStatusWindow().downButton());
        });
        row("unit: Close Window", Control::Check1, {},
            [press](Studio &s, QWidget &) { press(s.logic.unitStatusWindow().closeButton()); });
        row("unit: close box", Control::Check1, {}, closeBox);
        row("unit: main window closed", Control::Check1, {}, mainClosed);
        row("advanced: send", Control::Check2, "GSTAT 9",
            [press](Studio &s, QWidget &) { press(s.logic.advancedWindow().sendButton()); });
        row("advanced: Enter", Control::Check2, "GSTAT 9", [](Studio &s, QWidget &) {
            QTest::keyClick(s.logic.advancedWindow().commandLine(), Qt::Key_Return);
        });
        row("advanced: close box", Control::Check2, {}, closeBox);
        row("advanced: main window closed", Control::Check2, {}, mainClosed);
    }
    void secondaryWindows()
    {
        const auto [box, sent, done] = SecondaryRows::fetch();
        ScriptedStudio r;
        UnitStatusWindow &unit = r.s.logic.unitStatusWindow();
        AdvancedWindow &advanced = r.s.logic.advancedWindow();
        QWidget *window = box == Control::Check1 ? static_cast<QWidget *>(&unit) : &advanced;
        r.s.click(box);
        QVERIFY(window->isVisible());
        r.port.commands.clear();
        advanced.commandLine()->setText(u"GSTAT 9"_s);
        done(r.s, *window);
        const bool open = !sent.isEmpty();
        QCOMPARE(r.port.commands.isEmpty() ? QByteArray() : r.port.commands.last(), sent);
        QCOMPARE(window->isVisible(), open);
        QCOMPARE(r.s.window.isChecked(box), open);
        QCOMPARE(unit.watchUnitText(), u"1"_s);
        if (box == Control::Check2 && open) // the time of day, then the exchange
            QCOMPARE(advanced.monitor()->toPlainText().section(u'\n', 1), u"GSTAT 9\nOK\n."_s);
    }

    // The advice to join dialout goes with a device the account may not use, not a missing one.
    void portConflictSaysWhy()
    {
        const auto line = [](bool exists) {
            return DevicePort::serialFailure(u"/dev/ttyUSB7"_s, QSerialPort::PermissionError, {},
                                             exists, false, {});
        };
        QVERIFY(line(true).contains(
            u"no permission to use the serial port /dev/ttyUSB7: add the account to the group dialout"_s));
        QVERIFY(!line(false).contains(u"dialout"_s));
    }

    void fileMissing()
    {
        ScriptedStudio r(0, true, -1);
        QVERIFY(!r.loaded);
        QVERIFY(!r.s.window.isVisible());
        QVERIFY(r.port.commands.isEmpty());
        QCOMPARE(r.s.boxes.size(), 1);
        QCOMPARE(r.s.boxes[0].title, u"File Missing"_s);
        QCOMPARE(r.s.boxes[0].buttons, MessageButtons::OkCancel);
    }
};

QTEST_MAIN(TestGuiWindows)
#include "tst_gui_windows.moc"
