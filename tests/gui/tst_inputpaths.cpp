// The operator's input paths on the real window and logic: greyed controls, double clicks, the
// entry box following the input list, tests that end, file dialogs, painting before a blocking
// load, readable texts.
#include "gui/Configurator.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "gui/TallyList.h"
#include "matrix/MapString.h"
#include "support/ScriptedPort.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QStyleOptionButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

// A started configurator: outputs on unit 1, inputs on unit 2; online, the tally system holds
// `rows` mappings (output k to input 1) for the read-back.
struct Rig
{
    Dialogs dialogs;
    QList<Dialogs::Request> boxes;
    SystemModel model;
    ScriptedPort port;
    QTemporaryDir dir;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<Configurator> logic;

    explicit Rig(bool online = true, int rows = 0, int outputs = 5, int inputs = 9)
    {
        dialogs.setResponder([this](const Dialogs::Request &r) {
            boxes << r;
            return r.buttons == MessageButtons::YesNo ? MessageResult::No : r.defaultButton;
        });
        port.responder = [=](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            if (!online)
                return std::nullopt;
            const int n = c.startsWith("RawMap") ? c.mid(6).trimmed().toInt() : 0;
            if (n > 0)
                return ScriptedPort::answer(
                    c, n <= rows ? ComposeMapString(1, n % outputs + 1, 2, 1).toLatin1() : "");
            return ScriptedPort::answer(c, c == "VER" ? "KESTREL MAIN V2.14" : "OK");
        };
        QByteArray ini = "[Kestrel]\nSystem=S\nEnabledUnits=1,2\n";
        for (int i = 1; i <= outputs; ++i)
            ini += "Output " + QByteArray::number(i) + "=O,1," + QByteArray::number(i) + "\n";
        for (int j = 1; j <= inputs; ++j)
            ini += "Input " + QByteArray::number(j) + "=I,2," + QByteArray::number(j) + "\n";
        file(u"Kestrel.ini"_s, ini);
        window = std::make_unique<MainWindow>(dialogs);
        logic = std::make_unique<Configurator>(model, *window, port, port.clock(), port.pause());
        logic->Form_Load(dir.path());
        window->activateWindow();
        (void)QTest::qWaitForWindowActive(window.get());
    }
    QString file(const QString &name, const QByteArray &text)
    {
        QFile f(dir.filePath(name));
        f.open(QIODevice::WriteOnly);
        f.write(text);
        return f.fileName();
    }
    QWidget *w(Control c) const { return window->control(c); }
    QPoint rowAt(Control list, int row) const
    {
        TallyList *l = window->list(list);
        return l->visualRect(l->model()->index(row, 0)).center();
    }
    QList<QByteArray> sentSince(qsizetype n) const { return port.commands.mid(n); }
};

// As the desktop delivers a double click: the second press comes as a double-click event.
void doubleClick(QWidget *w, Qt::MouseButton b = Qt::LeftButton, QPoint at = {})
{
    QTest::mousePress(w, b, {}, at);
    QTest::mouseRelease(w, b, {}, at);
    QTest::mouseDClick(w, b, {}, at);
    QTest::mouseRelease(w, b, {}, at);
}

// Counts the mouse presses that reach one object and the widgets painted anywhere.
struct Watch : QObject
{
    QObject *target = nullptr;
    int presses = 0;
    QSet<QObject *> painted;
    bool eventFilter(QObject *o, QEvent *e) override
    {
        presses += o == target && e->type() == QEvent::MouseButtonPress;
        if (e->type() == QEvent::Paint)
            painted << o;
        return false;
    }
};

enum Act { TestPress, LatchPress, LatchEnter, EntryEnter };
enum When { DuringReadBack, DuringOnlineLoad, Offline };

} // namespace

class TestInputPaths : public QObject
{
    Q_OBJECT
private:
    // What the tally system hears and the latch shows when `act` comes at `when`.
    QPair<QList<QByteArray>, bool> greyedRun(int act, int when, bool acting)
    {
        Rig r(when != Offline, 3);
        r.window->entry()->setText(u"4"_s);
        const QString tally = r.file(u"t.qvr"_s, ComposeMapString(1, 2, 2, 3).toLatin1() + "\r\n");
        r.dialogs.setFileResponder([&](const auto &) { return tally; });
        auto perform = [&] {
            switch (act) {
            case TestPress:
                QTest::mouseClick(r.w(Control::cmdTest), Qt::LeftButton);
                break;
            case LatchPress:
                QTest::mouseClick(r.w(Control::chkTest), Qt::LeftButton);
                break;
            case LatchEnter:
                QTest::keyClick(r.w(Control::chkTest), Qt::Key_Return);
                break;
            case EntryEnter:
                QTest::keyClick(r.w(Control::txtInput), Qt::Key_Return);
                break;
            }
        };
        bool done = !acting;
        r.port.onCommand = [&](const QByteArray &c) {
            if (!done && (c == "RawMap 2" || c.startsWith("Map "))) {
                done = true;
                perform();
            }
        };
        const qsizetype before = r.port.commands.size();
        if (when == DuringReadBack)
            QTest::mouseClick(r.w(Control::cmdRefresh), Qt::LeftButton);
        else if (when == DuringOnlineLoad)
            QTest::mouseClick(r.w(Control::cmdLoadMatrix), Qt::LeftButton);
        else if (acting)
            perform();
        return {r.sentSince(before), r.window->isChecked(Control::chkTest)};
    }

private slots:
    void greyedControlNeverActs_data()
    {
        QTest::addColumn<int>("act");
        QTest::addColumn<int>("when");
        for (auto [when, name] :
             {std::pair{DuringReadBack, "read-back"}, std::pair{DuringOnlineLoad, "online load"}}) {
            QTest::newRow(name + ": Test"_ba) << int(TestPress) << int(when);
            QTest::newRow(name + ": latch press"_ba) << int(LatchPress) << int(when);
            QTest::newRow(name + ": latch Enter"_ba) << int(LatchEnter) << int(when);
            QTest::newRow(name + ": entry Enter"_ba) << int(EntryEnter) << int(when);
        }
        QTest::newRow("offline: Test") << int(TestPress) << int(Offline);
        QTest::newRow("offline: latch Enter") << int(LatchEnter) << int(Offline);
    }
    void greyedControlNeverActs()
    {
        QFETCH(int, act);
        QFETCH(int, when);
        const auto acting = greyedRun(act, when, true);
        const auto still = greyedRun(act, when, false);
        QCOMPARE(acting.first, still.first);
        QCOMPARE(acting.second, still.second);
    }

    void secondPressOfADoubleClickIsAPress_data()
    {
        QTest::addColumn<bool>("latched");
        QTest::addColumn<int>("control");
        QTest::addColumn<QList<QByteArray>>("sent");
        const QList<QByteArray> on{"GetMap 1  2", "mapdisab 1  2", "Set 1  2"};
        const QList<QByteArray> off{"Res 1  2", "MapEnab 1  2"};
        QTest::newRow("latch twice") << false << int(Control::chkTest) << on + off;
        QTest::newRow("Test, latched output") << true << int(Control::cmdTest) << off + on + off;
        QTest::newRow("Test") << false << int(Control::cmdTest) << on + off + on + off;
    }
    void secondPressOfADoubleClickIsAPress()
    {
        QFETCH(bool, latched);
        QFETCH(int, control);
        QFETCH(QList<QByteArray>, sent);
        Rig r;
        r.window->setCurrentRow(Control::List1, 1);
        if (latched)
            QTest::mouseClick(r.w(Control::chkTest), Qt::LeftButton);
        const qsizetype before = r.port.commands.size();
        doubleClick(r.w(Control(control)));
        QCOMPARE(r.sentSince(before), sent);
        QVERIFY(!r.model.OutputTestOn[2]);
        QVERIFY(latched || !r.window->isChecked(Control::chkTest));
    }

    void entryBoxFollowsTheInputList_data()
    {
        QTest::addColumn<int>("how");
        QTest::addColumn<int>("row");
        QTest::newRow("click") << 0 << 6;
        QTest::newRow("drag from row 2") << 1 << 5;
        QTest::newRow("right press") << 2 << 4;
        QTest::newRow("Down after Tab") << 3 << 3;
        QTest::newRow("ctrl+click on the current row") << 4 << 2;
    }
    void entryBoxFollowsTheInputList()
    {
        QFETCH(int, how);
        QFETCH(int, row);
        Rig r;
        TallyList *inputs = r.window->list(Control::list2);
        QWidget *port = inputs->viewport();
        r.window->setCurrentRow(Control::list2, 2);
        r.window->setCurrentRow(Control::List1, how == 4 ? 2 : 0);
        r.window->setFocus(Control::txtInput);
        if (how == 0)
            QTest::mouseClick(port, Qt::LeftButton, {}, r.rowAt(Control::list2, row));
        if (how == 1) {
            QTest::mousePress(port, Qt::LeftButton, {}, r.rowAt(Control::list2, 2));
            QTest::mouseMove(port, r.rowAt(Control::list2, row));
            QTest::mouseRelease(port, Qt::LeftButton, {}, r.rowAt(Control::list2, row));
        }
        if (how == 2)
            QTest::mouseClick(port, Qt::RightButton, {}, r.rowAt(Control::list2, row));
        if (how == 3) {
            for (int i = 0; i < 9 && QApplication::focusWidget() != inputs; ++i)
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QTest::keyClick(inputs, Qt::Key_Down);
        }
        if (how == 4) {
            for (Control l : {Control::List1, Control::list2})
                QTest::mouseClick(r.window->list(l)->viewport(), Qt::LeftButton,
                                  Qt::ControlModifier, r.rowAt(l, row));
            QCOMPARE(r.window->list(Control::List1)->selectionModel()->selectedRows().size(), 1);
        }
        QCOMPARE(inputs->selectionModel()->selectedRows().value(0).row(), row);
        QCOMPARE(r.window->entry()->text(), QString::number(row));
        QCOMPARE(r.window->text(Control::lblInChannel), QString::number(row));
        QTest::keyClick(r.w(Control::txtInput), Qt::Key_Return);
        QCOMPARE(r.port.commands.last(),
                 "Map 1 " + QByteArray::number(how == 4 ? 3 : 1) + " 2 " + QByteArray::number(row));
    }

    void testThatStartsAlwaysEnds_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("button"); // none: Space held in the output list
        QTest::newRow("Test, right") << u"cmdTest"_s << int(Qt::RightButton);
        QTest::newRow("Test, middle") << u"cmdTest"_s << int(Qt::MiddleButton);
        QTest::newRow("Map Tally, right") << u"cmdMapIt"_s << int(Qt::RightButton);
        QTest::newRow("Boolean, right") << u"Check3"_s << int(Qt::RightButton);
        QTest::newRow("Space, focus moves on") << u"List1"_s << int(Qt::NoButton);
    }
    void testThatStartsAlwaysEnds()
    {
        QFETCH(QString, name);
        QFETCH(int, button);
        Rig r;
        Watch watch;
        watch.target = r.window.get();
        r.window->installEventFilter(&watch);
        auto *w = r.window->findChild<QWidget *>(name);
        if (button == Qt::NoButton) {
            QTest::keyPress(w, Qt::Key_Space);
            QVERIFY(r.model.OutputTestOn[1]);
            r.window->setFocus(Control::txtInput);
            QTest::keyRelease(QApplication::focusWidget(), Qt::Key_Space);
        } else {
            QTest::mousePress(w, Qt::MouseButton(button));
            QCOMPARE(r.model.OutputTestOn[1], name == u"cmdTest"_s);
            QTest::mouseRelease(w, Qt::MouseButton(button));
        }
        QCOMPARE(watch.presses, 0); // none reached the background, which moves the window
        QVERIFY(!r.model.OutputTestOn[1]);
    }

    void fileDialogHandsTypedNamesOn_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::newRow("no such file") << u"nothere.qvr"_s;
        QTest::newRow("hidden file") << u".hidden.qvr"_s;
    }
    void fileDialogHandsTypedNamesOn()
    {
        QFETCH(QString, typed);
        Rig r(false);
        r.file(u".hidden.qvr"_s, ComposeMapString(1, 2, 2, 3).toLatin1() + "\r\n");
        QStringList filters;
        QTimer::singleShot(0, this, [&] {
            auto *d = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            QVERIFY(d);
            filters = d->nameFilters();
            d->setDirectory(r.dir.path());
            QTimer::singleShot(0, this, [] { // whatever the dialog still shows is refused
                while (auto *m = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
                    m->reject();
            });
            auto *name = d->findChild<QLineEdit *>(u"fileNameEdit"_s);
            name->setText(typed);
            QTest::keyClick(name, Qt::Key_Return);
        });
        QTest::mouseClick(r.w(Control::cmdLoadMatrix), Qt::LeftButton);
        QCOMPARE(r.boxes.last().title, u"File Error"_s);
        QCOMPARE(r.boxes.last().text, u"File does not exist"_s);
        QCOMPARE(r.model.OutputMap[2], u""_s);
        QCOMPARE(filters, QStringList{u"Kestrel Tally(*.qvr)"_s});
    }

    void windowPaintedBeforeALoadBlocks()
    {
        Rig r;
        QVERIFY(QTest::qWaitForWindowExposed(r.window.get()));
        QTest::qWait(50);
        const QString tally = r.file(u"t.qvr"_s, ComposeMapString(1, 2, 2, 3).toLatin1());
        r.dialogs.setFileResponder([&](const auto &) { return tally; });
        Watch watch;
        qApp->installEventFilter(&watch);
        QSet<QObject *> paintedFirst;
        bool mapItGreyed = false;
        r.port.onCommand = [&](const QByteArray &) {
            if (paintedFirst.isEmpty()) {
                paintedFirst = watch.painted << nullptr;
                mapItGreyed = !r.w(Control::cmdMapIt)->isEnabled();
            }
        };
        QTest::mouseClick(r.w(Control::cmdLoadMatrix), Qt::LeftButton);
        QVERIFY(mapItGreyed);
        QStringList unpainted; // the whole window, not only what changed
        for (QWidget *w : r.window->findChildren<QWidget *>())
            if (w->isVisible() && !paintedFirst.contains(w))
                unpainted << w->objectName();
        QCOMPARE(unpainted.join(u' '), QString());
    }

    void textsStayReadable()
    {
        Rig r(false);
        QStringList cut;
        for (QAbstractButton *b : r.window->findChildren<QAbstractButton *>()) {
            if (b->text().isEmpty())
                continue;
            QStyleOptionButton o;
            o.initFrom(b);
            const QRect room = b->style()->subElementRect(qobject_cast<QCheckBox *>(b)
                                                              ? QStyle::SE_CheckBoxContents
                                                              : QStyle::SE_PushButtonContents,
                                                          &o, b);
            if (b->fontMetrics().horizontalAdvance(b->text()) > room.width())
                cut << b->objectName();
        }
        QCOMPARE(cut.join(u' '), QString());
        // A disabled control's caption is greyed, whatever its colour when enabled.
        r.logic->lists().EnableControls(false);
        r.window->setForeColour(Control::chkTest, Colours::Red);
        const QList<std::pair<Control, QColor>> captions{{Control::chkTest, Qt::red},
                                                         {Control::Check1, Qt::black},
                                                         {Control::list2, Qt::cyan},
                                                         {Control::txtInput, Qt::white}};
        for (auto [c, colour] : captions) {
            const QImage face = r.w(c)->grab().toImage();
            int pixels = 0;
            for (int y = 0; y < face.height(); ++y)
                for (int x = 0; x < face.width(); ++x)
                    pixels += face.pixelColor(x, y) == colour;
            QVERIFY2(pixels == 0, qPrintable(r.w(c)->objectName()));
        }
    }

    void readBackLimitNoticeStaysVisible()
    {
        Rig r(true, 1000);
        QCOMPARE(r.boxes.size(), 1);
        QCOMPARE(r.boxes[0].text, ReadBack::LimitText());
    }
};

QTEST_MAIN(TestInputPaths)
#include "tst_inputpaths.moc"
