// The two secondary windows as widgets, offscreen at 96 DPI (15 twips to a pixel): names,
// places, colours, the spin control, and their events reaching the logic when wired as the
// application wires them.

#include "events/AdvancedConsole.h"
#include "events/UnitStatus.h"
#include "support/LinkRig.h"
#include "gui/AdvancedWindow.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "gui/UnitStatusWindow.h"

#include <QAbstractButton>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The fake main view, but showing and hiding the real secondary windows as the main window
// does for the windows registered with it.
struct ShowingView : FakeView
{
    QHash<Window, QWidget *> widgets;
    void showWindow(Window w, bool shown) override
    {
        FakeView::showWindow(w, shown);
        if (QWidget *widget = widgets.value(w))
            widget->setVisible(shown);
    }
};

QByteArray bitsWith(std::initializer_list<int> lit, int length = 32)
{
    QByteArray bits(length, '0');
    for (int k : lit)
        bits[k - 1] = '1';
    return bits;
}

// Both windows on the scripted port, wired to their logic the way the application does.
struct WindowRig
{
    WindowRig()
    {
        model.Online = true;
        for (qint16 u : {2, 5, 7, 9})
            model.EnabledUnitList[++model.EnabledUnitCount] = u;
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            if (c.startsWith("BITS"))
                return ScriptedPort::answer(c, bitsWith({}));
            return ScriptedPort::answer(c, "OK");
        };
        view.widgets.insert(Window::frmUnitBits, &unitWindow);
        view.widgets.insert(Window::frmVerbose, &advancedWindow);
        mainWindow.setFixedSize(655, 595);
        mainWindow.move(200, 100);

        QObject::connect(unitWindow.closeButton(), &QAbstractButton::clicked,
                         [this] { status.cmdClose_Click(); });
        QObject::connect(&unitWindow, &UnitStatusWindow::UpDown1Changed,
                         [this] { status.UpDown1_Change(); });
        QObject::connect(&unitWindow, &UnitStatusWindow::unloading,
                         [this] { status.Form_Unload(); });
        QObject::connect(advancedWindow.sendButton(), &QAbstractButton::clicked,
                         [this] { console.cmdDirectCommand_Click(); });
        QObject::connect(&advancedWindow, &AdvancedWindow::commandEntered,
                         [this] { console.txtDirectCommand_KeyPress(AdvancedConsole::EnterKey); });
        QObject::connect(&advancedWindow, &AdvancedWindow::unloading,
                         [this] { console.Form_Unload(); });
    }
    ~WindowRig()
    {
        view.setChecked(Control::Check1, false);
        status.Check1_Click();
    }
    void clickCheck1(bool ticked)
    {
        view.setChecked(Control::Check1, ticked);
        status.Check1_Click();
    }
    void clickCheck2(bool ticked)
    {
        view.setChecked(Control::Check2, ticked);
        console.Check2_Click();
    }
    QStringList sent() const
    {
        QStringList out;
        for (const QByteArray &c : port.commands)
            out << QString::fromLatin1(c);
        return out;
    }

    SystemModel model;
    ShowingView view;
    ScriptedPort port;
    CommandChannel channel{model, view, port, port.clock()};
    MatrixLists lists{model, view};
    Clearing clearing{model, view};
    DeviceCommands commands{model, channel};
    QWidget mainWindow;
    UnitStatusWindow unitWindow{&mainWindow};
    AdvancedWindow advancedWindow;
    UnitStatus status{model, view, unitWindow, channel, commands};
    AdvancedConsole console{view, advancedWindow, channel};
};

template <typename T> T *child(const QWidget &w, const QString &name)
{
    T *found = w.findChild<T *>(name);
    if (!found)
        qWarning("no child %s", qPrintable(name));
    return found;
}

template <typename T> T *indexed(const QWidget &w, const QString &name, int index)
{
    for (T *c : w.findChildren<T *>(name)) {
        if (c->property("index").toInt() == index)
            return c;
    }
    qWarning("no child %s(%d)", qPrintable(name), index);
    return nullptr;
}

QColor fill(const QWidget *w) { return w->palette().color(QPalette::Window); }

} // namespace

class TestWindowsWidgets : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QCOMPARE(QWidget().logicalDpiX(), 96); }

    void unitWindowControls()
    {
        QWidget main;
        UnitStatusWindow w(&main);
        QCOMPARE(w.objectName(), u"frmUnitBits"_s);
        QCOMPARE(w.windowTitle(), u"Unit Status"_s);
        QVERIFY(w.isWindow());
        QVERIFY(!w.isModal());
        QCOMPARE(w.size(), QSize(164, 329));

        const QList<QFrame *> lamps = w.findChildren<QFrame *>(u"Shape3"_s);
        QCOMPARE(lamps.size(), 32);
        QSet<int> indices;
        for (QFrame *lamp : lamps) {
            indices.insert(lamp->property("index").toInt());
            QCOMPARE(fill(lamp), QColor(0, 0, 0));
            QVERIFY(lamp->autoFillBackground());
        }
        QCOMPARE(indices.size(), 32);
        QCOMPARE(*std::min_element(indices.begin(), indices.end()), 1);
        QCOMPARE(*std::max_element(indices.begin(), indices.end()), 32);

        QCOMPARE(w.findChildren<QLabel *>(u"Label1"_s).size(), 16);
        QCOMPARE(child<QLabel>(w, u"Label2"_s)->text(), u"Unit"_s);
        QCOMPARE(child<QLabel>(w, u"Label2"_s)->geometry(), QRect(30, 208, 39, 21));
        QLabel *watch = child<QLabel>(w, u"lblWatchUnit"_s);
        QCOMPARE(watch->text(), u"1"_s);
        QCOMPARE(watch->geometry(), QRect(84, 208, 20, 21));
        QVERIFY(watch->alignment() & Qt::AlignHCenter);
        QCOMPARE(child<QWidget>(w, u"UpDown1"_s)->geometry(), QRect(112, 204, 17, 31));
        QLabel *status = child<QLabel>(w, u"lblStatus"_s);
        QCOMPARE(status->text(), u"0"_s);
        QCOMPARE(status->geometry(), QRect(30, 246, 99, 23));
        QVERIFY(status->frameShape() != QFrame::NoFrame);
        QAbstractButton *close = child<QAbstractButton>(w, u"cmdClose"_s);
        QCOMPARE(close, w.closeButton());
        QCOMPARE(close->text(), u"Close Window"_s);
        QCOMPARE(close->geometry(), QRect(26, 288, 109, 27));
        QCOMPARE(close->palette().color(QPalette::Button), QColor(255, 192, 192));
    }

    void lampGeometry_data()
    {
        QTest::addColumn<int>("k");
        QTest::addColumn<QRect>("geometry");
        QTest::newRow("1") << 1 << QRect(30, 24, 10, 26);
        QTest::newRow("4") << 4 << QRect(66, 24, 10, 26);
        QTest::newRow("5, second group") << 5 << QRect(86, 24, 10, 26);
        QTest::newRow("8") << 8 << QRect(122, 24, 10, 26);
        QTest::newRow("9, row 2") << 9 << QRect(30, 70, 10, 26);
        QTest::newRow("12") << 12 << QRect(66, 70, 10, 26);
        QTest::newRow("17, row 3 shifted") << 17 << QRect(31, 116, 10, 26);
        QTest::newRow("21") << 21 << QRect(87, 116, 10, 26);
        QTest::newRow("25, row 4") << 25 << QRect(31, 162, 10, 26);
        QTest::newRow("32") << 32 << QRect(123, 162, 10, 26);
    }
    void lampGeometry()
    {
        QFETCH(int, k);
        QFETCH(QRect, geometry);
        QWidget main;
        UnitStatusWindow w(&main);
        QFrame *lamp = indexed<QFrame>(w, u"Shape3"_s, k);
        QVERIFY(lamp);
        QCOMPARE(lamp, w.lamp(k));
        QCOMPARE(lamp->geometry(), geometry);
    }

    void lampNumbers_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("lamp");
        const int numbered[] = {1, 4, 5, 8, 9, 12, 13, 16, 17, 20, 21, 24, 25, 28, 29, 32};
        for (int i = 0; i < 16; ++i)
            QTest::addRow("Label1(%d)", i) << i << numbered[i];
    }
    void lampNumbers()
    {
        QFETCH(int, index);
        QFETCH(int, lamp);
        QWidget main;
        UnitStatusWindow w(&main);
        QLabel *number = indexed<QLabel>(w, u"Label1"_s, index);
        QVERIFY(number);
        QCOMPARE(number->text(), QString::number(lamp));
        QCOMPARE(number->size(), QSize(13, 13));
        QVERIFY(number->alignment() & Qt::AlignHCenter);
        QCOMPARE(number->font().family(), u"Arial"_s);
        QCOMPARE(number->font().pointSizeF(), 8.25);
        // Just above its lamp, centred over it within a pixel.
        const QRect l = w.lamp(lamp)->geometry();
        QVERIFY(number->geometry().bottom() < l.top());
        QVERIFY(l.top() - number->geometry().bottom() <= 3);
        QVERIFY(qAbs(number->geometry().center().x() - l.center().x()) <= 1);
    }

    void advancedWindowControls()
    {
        AdvancedWindow w;
        QCOMPARE(w.objectName(), u"frmVerbose"_s);
        QCOMPARE(w.windowTitle(), u"Kestrel Advanced Config"_s);
        QVERIFY(w.isWindow());
        QVERIFY(!w.isModal());
        QLineEdit *line = child<QLineEdit>(w, u"txtDirectCommand"_s);
        QCOMPARE(line, w.commandLine());
        QCOMPARE(line->geometry(), QRect(9, 8, 261, 21));
        QCOMPARE(line->text(), u""_s);
        QAbstractButton *send = child<QAbstractButton>(w, u"cmdDirectCommand"_s);
        QCOMPARE(send, w.sendButton());
        QCOMPARE(send->text(), u"send"_s);
        QCOMPARE(send->geometry(), QRect(280, 8, 40, 22));
        QPlainTextEdit *monitor = child<QPlainTextEdit>(w, u"txtIBuffer"_s);
        QCOMPARE(monitor, w.monitor());
        QCOMPARE(monitor->geometry(), QRect(6, 36, 315, 327));
        QVERIFY(monitor->isReadOnly());
        QVERIFY(w.rect().contains(monitor->geometry()));
    }

    void monitorShowsLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("reply") << u"12:00:01\r\nGSTAT 3\r\nUNIT 3 OK\r\n."_s
                               << QStringList{u"12:00:01"_s, u"GSTAT 3"_s, u"UNIT 3 OK"_s, u"."_s};
        QTest::newRow("time alone") << u"12:00:01\r\n"_s << QStringList{u"12:00:01"_s, u""_s};
        QTest::newRow("emptied") << u""_s << QStringList{u""_s};
    }
    void monitorShowsLines()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, lines);
        AdvancedWindow w;
        w.setMonitorText(u"something before"_s);
        w.setMonitorText(text);
        QCOMPARE(w.monitor()->document()->blockCount(), lines.size());
        QCOMPARE(w.monitor()->toPlainText().split(u'\n'), lines);
    }

    void spinChangesOnlyForTheOperator()
    {
        QWidget main;
        UnitStatusWindow w(&main);
        QSignalSpy changes(&w, &UnitStatusWindow::UpDown1Changed);
        w.setSpinRange(1, 4);
        w.setSpinValue(3);
        QCOMPARE(w.spinValue(), 3);
        w.setSpinValue(9); // held within the range, still silent
        QCOMPARE(w.spinValue(), 4);
        w.setSpinValue(3);
        QCOMPARE(changes.size(), 0);

        QTest::mouseClick(w.upButton(), Qt::LeftButton);
        QCOMPARE(w.spinValue(), 4);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.takeFirst().at(0).toInt(), 4);
        QTest::mouseClick(w.upButton(), Qt::LeftButton); // at the top: no wrap, no change
        QCOMPARE(w.spinValue(), 4);
        QCOMPARE(changes.size(), 0);
        for (int i = 0; i < 5; ++i)
            QTest::mouseClick(w.downButton(), Qt::LeftButton);
        QCOMPARE(w.spinValue(), 1);
        QCOMPARE(changes.size(), 3);
        QCOMPARE(changes.last().at(0).toInt(), 1);
    }

    void lampColourAfterPoll()
    {
        WindowRig r;
        r.clickCheck1(true);
        QVERIFY(r.unitWindow.isVisible());
        r.unitWindow.setWatchUnitText(u"3"_s);
        r.port.script("BITS 3", ScriptedPort::answer("BITS 3", bitsWith({1, 32})));
        r.status.UpdateBitStatus();
        for (int k = 1; k <= 32; ++k) {
            const QColor expected = (k == 1 || k == 32) ? QColor(255, 0, 0) : QColor(0, 0, 0);
            QCOMPARE(fill(r.unitWindow.lamp(k)), expected);
        }
        // A reply of 31 bits leaves them as they are.
        r.port.script("BITS 3", ScriptedPort::answer("BITS 3", bitsWith({2}, 31)));
        r.status.UpdateBitStatus();
        QCOMPARE(fill(r.unitWindow.lamp(1)), QColor(255, 0, 0));
        QCOMPARE(fill(r.unitWindow.lamp(2)), QColor(0, 0, 0));
        QCOMPARE(fill(r.unitWindow.lamp(32)), QColor(255, 0, 0));
    }

    void arrowsStepThroughEnabledUnits()
    {
        WindowRig r;
        r.clickCheck1(true);
        r.port.commands.clear();
        r.view.setFocus(Control::txtInput);
        QTest::mouseClick(r.unitWindow.upButton(), Qt::LeftButton);
        QCOMPARE(r.unitWindow.watchUnitText(), u"5"_s);
        QTest::mouseClick(r.unitWindow.upButton(), Qt::LeftButton);
        QCOMPARE(r.unitWindow.watchUnitText(), u"7"_s);
        QCOMPARE(child<QLabel>(r.unitWindow, u"lblStatus"_s)->text(), u"OK"_s);
        QCOMPARE(r.sent(), (QStringList{u"GSTAT 5"_s, u"GSTAT 7"_s}));
        QCOMPARE(r.view.focus, Control::List1);
    }

    void placedBesideMainWindow()
    {
        WindowRig r;
        r.clickCheck1(true);
        QCOMPARE(r.unitWindow.pos(), QPoint(200 + 567, 100 + 30));

        // Moved by the operator, closed with "Close Window", shown again: where it was.
        r.unitWindow.move(400, 420);
        QTest::mouseClick(r.unitWindow.closeButton(), Qt::LeftButton);
        QVERIFY(r.unitWindow.isHidden());
        QVERIFY(!r.view.isChecked(Control::Check1));
        QVERIFY(!r.status.tmrInputStatus().isActive());
        r.clickCheck1(true);
        QVERIFY(r.unitWindow.isVisible());
        QCOMPARE(r.unitWindow.pos(), QPoint(400, 420));

        // Closed by its close box, shown again: placed anew beside the main window.
        r.mainWindow.move(50, 60);
        r.unitWindow.move(400, 420);
        QVERIFY(r.unitWindow.close());
        r.clickCheck1(true);
        QCOMPARE(r.unitWindow.pos(), QPoint(50 + 567, 60 + 30));
    }

    void unitCloseBoxReachesLogic()
    {
        WindowRig r;
        r.clickCheck1(true);
        QTest::mouseClick(r.unitWindow.upButton(), Qt::LeftButton);
        QCOMPARE(r.unitWindow.watchUnitText(), u"5"_s);
        QVERIFY(r.unitWindow.close());
        QVERIFY(r.unitWindow.isHidden());
        QVERIFY(!r.view.isChecked(Control::Check1));
        QCOMPARE(r.view.at(Control::Check1).fore, Colours::Black);
        QVERIFY(!r.status.tmrInputStatus().isActive());
        QVERIFY(!r.status.isLoaded());
        r.port.commands.clear();
        r.clickCheck1(true);
        QCOMPARE(r.unitWindow.watchUnitText(), u"1"_s);
        QCOMPARE(r.unitWindow.spinValue(), 1);
        QCOMPARE(r.sent(), QStringList{u"GSTAT 1"_s});
    }

    void enterSendsAndKeepsLine_data()
    {
        QTest::addColumn<int>("key");
        QTest::newRow("Return") << int(Qt::Key_Return);
        QTest::newRow("keypad Enter") << int(Qt::Key_Enter);
    }
    void enterSendsAndKeepsLine()
    {
        QFETCH(int, key);
        WindowRig r;
        r.clickCheck2(true);
        QVERIFY(r.advancedWindow.isVisible());
        QTest::keyClicks(r.advancedWindow.commandLine(), u"GSTAT 3"_s);
        QVERIFY(r.port.commands.isEmpty()); // typing alone sends nothing
        QTest::keyClick(r.advancedWindow.commandLine(), Qt::Key(key));
        QCOMPARE(r.sent(), QStringList{u"GSTAT 3"_s});
        QCOMPARE(r.advancedWindow.commandLine()->text(), u"GSTAT 3"_s);
        const QStringList lines = r.advancedWindow.monitor()->toPlainText().split(u'\n');
        QCOMPARE(lines.size(), 4);
        QVERIFY2(QRegularExpression(u"^\\d\\d:\\d\\d:\\d\\d$"_s).match(lines[0]).hasMatch(),
                 qPrintable(lines[0]));
        QCOMPARE(lines.mid(1), (QStringList{u"GSTAT 3"_s, u"OK"_s, u"."_s}));
        // And again, unchanged.
        QTest::keyClick(r.advancedWindow.commandLine(), Qt::Key(key));
        QCOMPARE(r.port.commands.size(), 2);
    }

    void sendButtonSends()
    {
        WindowRig r;
        r.clickCheck2(true);
        r.advancedWindow.commandLine()->setText(u"VER"_s);
        QTest::mouseClick(r.advancedWindow.sendButton(), Qt::LeftButton);
        QCOMPARE(r.sent(), QStringList{u"VER"_s});
        QCOMPARE(r.advancedWindow.commandLine()->text(), u"VER"_s);
        r.advancedWindow.commandLine()->clear();
        QTest::mouseClick(r.advancedWindow.sendButton(), Qt::LeftButton);
        QCOMPARE(r.port.writes.last(), QByteArray("\r\n"));
    }

    void advancedCloseBoxReachesLogic()
    {
        WindowRig r;
        r.clickCheck2(true);
        r.view.setFocus(Control::txtInput);
        QVERIFY(r.advancedWindow.close());
        QVERIFY(r.advancedWindow.isHidden());
        QVERIFY(!r.view.isChecked(Control::Check2));
        QCOMPARE(r.view.focus, Control::List1);
        QCOMPARE(r.view.at(Control::Check2).fore, Colours::Black);
        // Shown again with the line it had.
        r.advancedWindow.commandLine()->setText(u"VER"_s);
        r.clickCheck2(true);
        QVERIFY(r.advancedWindow.isVisible());
        QCOMPARE(r.advancedWindow.commandLine()->text(), u"VER"_s);
    }

    void wiredToMainWindow()
    {
        // The application's wiring on the real main window: its check boxes' clicks run the
        // handlers, and it shows and hides the windows registered with it.
        Dialogs dialogs;
        MainWindow main(dialogs);
        SystemModel model;
        model.Online = true;
        model.EnabledUnitList[1] = 4;
        model.EnabledUnitCount = 1;
        ScriptedPort port;
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            return ScriptedPort::answer(c, "OK");
        };
        CommandChannel channel(model, main, port, port.clock());
        MatrixLists lists(model, main);
        Clearing clearing(model, main);
        DeviceCommands commands(model, channel);
        UnitStatusWindow unitWindow(&main);
        AdvancedWindow advancedWindow;
        UnitStatus status(model, main, unitWindow, channel, commands);
        AdvancedConsole console(main, advancedWindow, channel);
        main.registerWindow(Window::frmUnitBits, &unitWindow);
        main.registerWindow(Window::frmVerbose, &advancedWindow);
        connect(main.button(Control::Check1), &QAbstractButton::clicked, this,
                [&] { status.Check1_Click(); });
        connect(main.button(Control::Check2), &QAbstractButton::clicked, this,
                [&] { console.Check2_Click(); });
        connect(unitWindow.closeButton(), &QAbstractButton::clicked, this,
                [&] { status.cmdClose_Click(); });
        connect(&unitWindow, &UnitStatusWindow::UpDown1Changed, this,
                [&] { status.UpDown1_Change(); });
        connect(&unitWindow, &UnitStatusWindow::unloading, this, [&] { status.Form_Unload(); });
        connect(&advancedWindow, &AdvancedWindow::commandEntered, this,
                [&] { console.txtDirectCommand_KeyPress(AdvancedConsole::EnterKey); });
        connect(&advancedWindow, &AdvancedWindow::unloading, this, [&] { console.Form_Unload(); });
        main.move(100, 80);
        main.show();
        main.setEnabled(Control::Check1, true);
        main.setEnabled(Control::Check2, true);
        QAbstractButton *check1 = main.button(Control::Check1);
        QAbstractButton *check2 = main.button(Control::Check2);
        auto caption = [](QAbstractButton *b) { return b->palette().color(QPalette::WindowText); };

        check1->click();
        QVERIFY(check1->isChecked());
        QVERIFY(unitWindow.isVisible());
        QCOMPARE(unitWindow.pos(), QPoint(100 + 567, 80 + 30));
        QVERIFY(status.tmrInputStatus().isActive());
        QCOMPARE(caption(check1), QColor(255, 0, 0));
        QTest::mouseClick(unitWindow.upButton(), Qt::LeftButton); // one unit only: no step
        QCOMPARE(unitWindow.watchUnitText(), u"1"_s);

        QTest::mouseClick(unitWindow.closeButton(), Qt::LeftButton);
        QVERIFY(!check1->isChecked());
        QVERIFY(unitWindow.isHidden());
        QVERIFY(!status.tmrInputStatus().isActive());
        QCOMPARE(caption(check1), QColor(0, 0, 0));

        check1->click();
        QVERIFY(unitWindow.isVisible());
        QVERIFY(unitWindow.close());
        QVERIFY(!check1->isChecked());
        QVERIFY(!status.tmrInputStatus().isActive());
        QVERIFY(!status.isLoaded());

        check2->click();
        QVERIFY(check2->isChecked());
        QVERIFY(advancedWindow.isVisible());
        QCOMPARE(caption(check2), QColor(255, 0, 0));
        advancedWindow.commandLine()->setText(u"VER"_s);
        QTest::keyClick(advancedWindow.commandLine(), Qt::Key_Return);
        QCOMPARE(port.commands, QList<QByteArray>{"GSTAT 1"} + QList<QByteArray>{"VER"});
        QVERIFY(advancedWindow.monitor()->toPlainText().endsWith(u"VER\nOK\n."_s));
        QVERIFY(advancedWindow.close());
        QVERIFY(!check2->isChecked());
        QVERIFY(advancedWindow.isHidden());
        QCOMPARE(caption(check2), QColor(0, 0, 0));
    }
};

QTEST_MAIN(TestWindowsWidgets)
#include "tst_windows_widgets.moc"
