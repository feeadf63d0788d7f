// The operator's input paths, by real mouse and key events on the real window and logic.
#include "gui/Configurator.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "gui/TallyList.h"
#include "matrix/MapString.h"
#include "support/ScriptedPort.h"

#include <QtTest>
#include <QtWidgets>

using namespace Qt::StringLiterals;

namespace {

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &text)
{
    QFile f(dir.filePath(name));
    f.open(QIODevice::WriteOnly);
    f.write(text);
    return f.fileName();
}

// A started configurator with outputs 1..5 on unit 1 and inputs 1..9 on unit 2; online, the
// tally system holds `rows` mappings for the read-back. The open dialog offers a tally file.
struct Rig
{
    Dialogs dialogs;
    QList<Dialogs::Request> boxes;
    SystemModel model;
    ScriptedPort port;
    QTemporaryDir dir;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<Configurator> logic;

    explicit Rig(bool online = true, int rows = 0)
    {
        dialogs.setResponder([this](const Dialogs::Request &r) {
            boxes << r;
            return r.buttons == MessageButtons::YesNo ? MessageResult::No : r.defaultButton;
        });
        const QString tally = writeFile(dir, u"t.qvr"_s, ComposeMapString(1, 2, 2, 3).toLatin1());
        dialogs.setFileResponder([tally](const auto &) { return tally; });
        port.responder = [=](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            const int n = c.startsWith("RawMap") ? c.mid(6).trimmed().toInt() : 0;
            const QString map = n <= rows ? ComposeMapString(1, n % 5 + 1, 2, 1) : QString();
            if (!online)
                return std::nullopt;
            return ScriptedPort::answer(
                c, n ? map.toLatin1() : QByteArray(c == "VER" ? "KESTREL MAIN V2.14" : "OK"));
        };
        QByteArray ini = "[Kestrel]\nSystem=S\n";
        for (int i = 1; i <= 9; ++i) {
            const QByteArray n = QByteArray::number(i);
            ini +=
                "Input " + n + "=I,2," + n + (i <= 5 ? "\nOutput " + n + "=O,1," + n : "") + "\n";
        }
        writeFile(dir, u"Kestrel.ini"_s, ini);
        window = std::make_unique<MainWindow>(dialogs);
        logic = std::make_unique<Configurator>(model, *window, port, port.clock(), port.pause());
        logic->Form_Load(dir.path());
        window->activateWindow();
        (void)QTest::qWaitForWindowActive(window.get());
    }
    QWidget *w(Control c) const { return window->control(c); }
};

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

enum When { DuringReadBack, DuringOnlineLoad, Offline };

// What the tally system hears and the latch shows, with or without an act at `when`: Test
// pressed, latch pressed, Enter on the latch or Enter in the entry box (`a` 0 to 3).
QPair<QList<QByteArray>, bool> greyedRun(int a, int when, bool acting)
{
    Rig r(when != Offline, 3);
    r.window->entry()->setText(u"4"_s);
    auto act = [&] {
        if (a < 2)
            QTest::mouseClick(r.w(a == 0 ? Control::cmdTest : Control::chkTest), Qt::LeftButton);
        else
            QTest::keyClick(r.w(a == 2 ? Control::chkTest : Control::txtInput), Qt::Key_Return);
    };
    r.port.onCommand = [&](const QByteArray &c) {
        if (acting && (c == "RawMap 2" || c.startsWith("Map "))) {
            acting = false; // in the middle of an exchange, as the read-back serves events
            act();
        }
    };
    const qsizetype before = r.port.commands.size();
    if (when != Offline)
        QTest::mouseClick(r.w(when ? Control::cmdLoadMatrix : Control::cmdRefresh), Qt::LeftButton);
    else if (acting)
        act();
    return {r.port.commands.mid(before), r.window->isChecked(Control::chkTest)};
}

} // namespace

class TestInputPaths : public QObject
{
    Q_OBJECT
private slots:
    void greyedControlNeverActs_data()
    {
        QTest::addColumn<int>("act");
        QTest::addColumn<int>("when");
        const QByteArray name[] = {"Test", "latch press", "latch Enter", "entry Enter"};
        for (int a = 0; a < 4; ++a) {
            QTest::newRow("read-back: " + name[a]) << a << int(DuringReadBack);
            QTest::newRow("online load: " + name[a]) << a << int(DuringOnlineLoad);
            if (a % 2 == 0)
                QTest::newRow("offline: " + name[a]) << a << int(Offline);
        }
    }
    void greyedControlNeverActs()
    {
        QFETCH(int, act);
        QFETCH(int, when);
        QCOMPARE(greyedRun(act, when, true), greyedRun(act, when, false));
    }

    void secondPressOfADoubleClickIsAPress_data()
    {
        QTest::addColumn<bool>("latched");
        QTest::addColumn<int>("control");
        QTest::addColumn<QList<QByteArray>>("sent");
        const QList<QByteArray> on{"GetMap 1  2", "mapdisab 1  2", "Set 1  2"};
        const QList<QByteArray> off{"Res 1  2", "MapEnab 1  2"};
        QTest::newRow("latch") << false << int(Control::chkTest) << on + off;
        QTest::newRow("Test") << false << int(Control::cmdTest) << on + off + on + off;
        QTest::newRow("Test, latched output") << true << int(Control::cmdTest) << off + on + off;
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
        QTest::mouseClick(r.w(Control(control)), Qt::LeftButton);
        QTest::mouseDClick(r.w(Control(control)), Qt::LeftButton); // the second press
        QTest::mouseRelease(r.w(Control(control)), Qt::LeftButton);
        QCOMPARE(r.port.commands.mid(before), sent);
        QVERIFY(!r.model.OutputTestOn[2]);
        QVERIFY(latched || !r.window->isChecked(Control::chkTest));
    }

    void entryBoxFollowsTheInputList_data()
    {
        QTest::addColumn<int>("how");
        QTest::addColumn<int>("row");
        QTest::newRow("drag from row 2") << 0 << 5;
        QTest::newRow("right press") << 1 << 4;
        QTest::newRow("Down after Tab") << 2 << 3;
        QTest::newRow("ctrl+click on the current row") << 3 << 2;
    }
    void entryBoxFollowsTheInputList()
    {
        QFETCH(int, how);
        QFETCH(int, row);
        Rig r;
        TallyList *inputs = r.window->list(Control::list2);
        auto at = [&](int n) { return inputs->visualRect(inputs->model()->index(n, 0)).center(); };
        r.window->setCurrentRow(Control::list2, 2);
        r.window->setFocus(Control::txtInput);
        if (how == 0) {
            QTest::mousePress(inputs->viewport(), Qt::LeftButton, {}, at(2));
            QTest::mouseMove(inputs->viewport(), at(row));
            QTest::mouseRelease(inputs->viewport(), Qt::LeftButton, {}, at(row));
        } else if (how == 2) {
            for (int i = 0; i < 9 && QApplication::focusWidget() != inputs; ++i)
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QTest::keyClick(inputs, Qt::Key_Down);
        } else {
            QTest::mouseClick(inputs->viewport(), how == 1 ? Qt::RightButton : Qt::LeftButton,
                              how == 3 ? Qt::ControlModifier : Qt::NoModifier, at(row));
        }
        QCOMPARE(inputs->selectionModel()->selectedRows().value(0).row(), row);
        QCOMPARE(r.window->entry()->text(), QString::number(row));
        QCOMPARE(r.window->text(Control::lblInChannel), QString::number(row));
        QTest::keyClick(r.w(Control::txtInput), Qt::Key_Return);
        QCOMPARE(r.port.commands.last(), "Map 1 1 2 " + QByteArray::number(row));
    }

    void testThatStartsAlwaysEnds_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("button");    // none: Space held in the output list
        QTest::addColumn<int>("meanwhile"); // 1: the focus moves on, 2: Down in the list
        QTest::newRow("Test, right") << u"cmdTest"_s << int(Qt::RightButton) << 0;
        QTest::newRow("Test, middle") << u"cmdTest"_s << int(Qt::MiddleButton) << 0;
        QTest::newRow("Map Tally, right") << u"cmdMapIt"_s << int(Qt::RightButton) << 0;
        QTest::newRow("Test, Down") << u"cmdTest"_s << int(Qt::LeftButton) << 2;
        QTest::newRow("Space, focus moves on") << u"List1"_s << int(Qt::NoButton) << 1;
        QTest::newRow("Space, Down") << u"List1"_s << int(Qt::NoButton) << 2;
    }
    void testThatStartsAlwaysEnds()
    {
        QFETCH(QString, name);
        QFETCH(int, button);
        QFETCH(int, meanwhile);
        Rig r;
        Watch watch; // on the background, whose presses move the window
        r.window->installEventFilter(&watch);
        auto *w = r.window->findChild<QWidget *>(name);
        if (button == Qt::NoButton)
            QTest::keyPress(w, Qt::Key_Space);
        else
            QTest::mousePress(w, Qt::MouseButton(button));
        QCOMPARE(r.model.OutputTestOn[1], name != u"cmdMapIt"_s);
        if (meanwhile == 1)
            r.window->setFocus(Control::txtInput);
        if (meanwhile == 2)
            QTest::keyClick(r.window->list(Control::List1), Qt::Key_Down);
        if (button == Qt::NoButton)
            QTest::keyRelease(QApplication::focusWidget(), Qt::Key_Space);
        else
            QTest::mouseRelease(w, Qt::MouseButton(button));
        QCOMPARE(watch.presses, 0);
        QVERIFY(!r.model.OutputTestOn[1]);
        QVERIFY(name == u"cmdMapIt"_s || r.port.commands.endsWith("MapEnab 1  1"));
        QCOMPARE(r.window->text(Control::lblOutChannel), meanwhile == 2 ? u"2"_s : u"1"_s);
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
        r.dialogs.setFileResponder({}); // the real dialog
        writeFile(r.dir, u".hidden.qvr"_s, ComposeMapString(1, 2, 2, 3).toLatin1());
        QTimer::singleShot(0, this, [&] {
            auto *d = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            QCOMPARE(d->nameFilters(), QStringList{u"Kestrel Tally(*.qvr)"_s});
            QTimer::singleShot(0, this, [] { // whatever the dialog still shows is refused
                while (auto *m = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
                    m->reject();
            });
            d->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(r.dir.filePath(typed));
            QTest::keyClick(d->findChild<QLineEdit *>(u"fileNameEdit"_s), Qt::Key_Return);
        });
        QTest::mouseClick(r.w(Control::cmdLoadMatrix), Qt::LeftButton);
        QCOMPARE(r.boxes.last().text, u"File does not exist"_s);
        QCOMPARE(r.boxes.last().title, u"File Error"_s);
    }

    void windowPaintedBeforeALoadBlocks()
    {
        Rig r;
        QVERIFY(QTest::qWaitForWindowExposed(r.window.get()));
        Watch watch;
        qApp->installEventFilter(&watch);
        QSet<QObject *> paintedFirst; // by the load's first exchange
        r.port.onCommand = [&](const QByteArray &) {
            if (paintedFirst.isEmpty() && !r.w(Control::cmdMapIt)->isEnabled())
                paintedFirst = watch.painted << nullptr;
        };
        QTest::mouseClick(r.w(Control::cmdLoadMatrix), Qt::LeftButton);
        QStringList unpainted; // the whole window, not only what changed
        for (QWidget *w : r.window->findChildren<QWidget *>())
            if (w->isVisible() && !paintedFirst.contains(w))
                unpainted << w->objectName();
        QCOMPARE(unpainted, QStringList());
    }

    void textsStayReadable()
    {
        QCOMPARE(Rig(true, 1000).boxes.value(0).text, ReadBack::LimitText()); // stopped at 999
        Rig r(false);
        QStringList cut;
        for (QAbstractButton *b : r.window->findChildren<QAbstractButton *>()) {
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
        r.logic->lists().EnableControls(false);
        r.window->setForeColour(Control::chkTest, Colours::Red);
        for (auto [c, colour] : {std::pair{Control::chkTest, QColor(Qt::red)},
                                 {Control::Check1, QColor(Qt::black)},
                                 {Control::list2, QColor(Qt::cyan)},
                                 {Control::txtInput, QColor(Qt::white)}}) {
            const QImage face = r.w(c)->grab().toImage().convertToFormat(QImage::Format_RGB32);
            const auto *px = reinterpret_cast<const QRgb *>(face.constBits());
            auto near = [c = colour](QRgb p) { // the caption colour, softened at glyph edges
                return qAbs(qRed(p) - c.red()) + qAbs(qGreen(p) - c.green()) +
                           qAbs(qBlue(p) - c.blue()) <
                       40;
            };
            QVERIFY2(std::none_of(px, px + face.sizeInBytes() / 4, near),
                     qPrintable(r.w(c)->objectName()));
        }
    }
};

QTEST_MAIN(TestInputPaths)
#include "tst_inputpaths.moc"
