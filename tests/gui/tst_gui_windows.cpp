// The windows as the application builds them (Configurator joins them to the logic), on a
// scripted tally system: the layout holds together, the secondary windows' controls reach the
// logic, and each way of closing a window does what it should.
#include "Studio.h"

#include "gui/AdvancedWindow.h"
#include "gui/StartUp.h"
#include "gui/UnitStatusWindow.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace {

QString nameOf(const QWidget *w)
{
    const QVariant index = w->property("index");
    return w->objectName() + (index.isValid() ? u"(%1)"_s.arg(index.toInt()) : QString());
}

// What a control covers. A label without a background of its own covers only its text.
QRect extent(const QWidget *w)
{
    const auto *label = qobject_cast<const QLabel *>(w);
    if (!label || label->autoFillBackground())
        return w->geometry();
    const QRect text = label->fontMetrics().boundingRect(
        QRect(QPoint(), w->size()), int(label->alignment()) | Qt::TextWordWrap, label->text());
    return QStyle::alignedRect(w->layoutDirection(), label->alignment(), text.size(),
                               w->geometry());
}

} // namespace

class TestGuiWindows : public QObject
{
    Q_OBJECT
private slots:
    void layout_data()
    {
        QTest::addColumn<QString>("window");
        QTest::addColumn<bool>("boolean");
        QTest::newRow("main") << u"frmKestrelMain"_s << false;
        QTest::newRow("main, Boolean layout") << u"frmKestrelMain"_s << true;
        QTest::newRow("unit status") << u"frmUnitBits"_s << false;
        QTest::newRow("advanced") << u"frmVerbose"_s << false;
    }
    // Every control lies inside the window's outline, and none covers another.
    void layout()
    {
        QFETCH(QString, window);
        QFETCH(bool, boolean);
        ScriptedStudio r;
        QVERIFY(r.loaded);
        if (boolean)
            r.s.click(Control::Check3);
        r.s.click(Control::Check1);
        r.s.click(Control::Check2);
        QWidget *w = &r.s.window;
        for (QWidget *other : {static_cast<QWidget *>(&r.s.logic.unitStatusWindow()),
                               static_cast<QWidget *>(&r.s.logic.advancedWindow())}) {
            if (other->objectName() == window)
                w = other;
        }
        QCOMPARE(w->objectName(), window);
        QVERIFY(w->isVisible());
        const QRegion outline = w->mask().isEmpty() ? QRegion(w->rect()) : w->mask();
        QList<QWidget *> controls;
        for (QWidget *c : w->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
            if (c->isVisibleTo(w))
                controls << c;
        }
        QVERIFY(controls.size() >= 3);
        for (int a = 0; a < controls.size(); ++a) {
            QVERIFY2((QRegion(controls[a]->geometry()) - outline).isEmpty(),
                     qPrintable(nameOf(controls[a])));
            for (int b = a + 1; b < controls.size(); ++b) {
                if (extent(controls[a]).intersects(extent(controls[b])))
                    QFAIL(qPrintable(nameOf(controls[a]) + u" covers "_s + nameOf(controls[b])));
            }
        }
    }

    void secondaryWindows_data()
    {
        QTest::addColumn<bool>("unitWindow"); // or the advanced window
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QByteArray>("sent"); // the last command sent
        QTest::addColumn<bool>("open");       // the window shown and its box ticked
        QTest::addColumn<QString>("shows");   // the watched unit, or what the monitor shows
        QTest::newRow("unit: up") << true << QStringList{u"up"_s} << QByteArray("GSTAT 2") << true
                                  << u"2"_s;
        QTest::newRow("unit: up, down")
            << true << QStringList{u"up"_s, u"down"_s} << QByteArray("GSTAT 1") << true << u"1"_s;
        QTest::newRow("unit: Close Window")
            << true << QStringList{u"Close Window"_s} << QByteArray() << false << u"1"_s;
        QTest::newRow("unit: close box")
            << true << QStringList{u"close box"_s} << QByteArray() << false << u"1"_s;
        QTest::newRow("advanced: send") << false << QStringList{u"send"_s} << QByteArray("GSTAT 9")
                                        << true << u"GSTAT 9\nOK\n."_s;
        QTest::newRow("advanced: Enter") << false << QStringList{u"Enter"_s}
                                         << QByteArray("GSTAT 9") << true << u"GSTAT 9\nOK\n."_s;
        QTest::newRow("advanced: close box")
            << false << QStringList{u"close box"_s} << QByteArray() << false << QString();
    }
    void secondaryWindows()
    {
        QFETCH(bool, unitWindow);
        QFETCH(QStringList, steps);
        QFETCH(QByteArray, sent);
        QFETCH(bool, open);
        QFETCH(QString, shows);
        ScriptedStudio r;
        QVERIFY(r.loaded);
        UnitStatusWindow &unit = r.s.logic.unitStatusWindow();
        AdvancedWindow &advanced = r.s.logic.advancedWindow();
        const Control box = unitWindow ? Control::Check1 : Control::Check2;
        QWidget *window = unitWindow ? static_cast<QWidget *>(&unit) : &advanced;
        r.s.click(box);
        QVERIFY(window->isVisible());
        r.port.commands.clear();
        advanced.commandLine()->setText(u"GSTAT 9"_s);
        for (const QString &step : steps) {
            if (step == u"up"_s || step == u"down"_s)
                QTest::mouseClick(step == u"up"_s ? unit.upButton() : unit.downButton(),
                                  Qt::LeftButton);
            else if (step == u"Close Window"_s)
                QTest::mouseClick(unit.closeButton(), Qt::LeftButton);
            else if (step == u"close box"_s)
                QVERIFY(window->close());
            else if (step == u"send"_s)
                QTest::mouseClick(advanced.sendButton(), Qt::LeftButton);
            else
                QTest::keyClick(advanced.commandLine(), Qt::Key_Return);
        }
        QCOMPARE(r.port.commands.isEmpty() ? QByteArray() : r.port.commands.last(), sent);
        QCOMPARE(window->isVisible(), open);
        QCOMPARE(r.s.window.isChecked(box), open);
        if (unitWindow)
            QCOMPARE(unit.watchUnitText(), shows);
        else if (open) // the time of day, then the exchange
            QCOMPARE(advanced.monitor()->toPlainText().section(u'\n', 1), shows);
    }

    void closingTheMainWindow_data()
    {
        QTest::addColumn<bool>("closeButton");
        QTest::newRow("its X button: the process ends at once") << true;
        QTest::newRow("the desktop: the secondary windows go with it") << false;
    }
    void closingTheMainWindow()
    {
        QFETCH(bool, closeButton);
        ScriptedStudio r;
        r.s.click(Control::Check1);
        r.s.click(Control::Check2);
        int ended = 0;
        r.s.window.setEndProcess([&ended] { ++ended; });
        if (closeButton)
            QTest::mouseClick(r.s.window.closeButton(), Qt::LeftButton);
        else
            r.s.window.close();
        QCOMPARE(ended, closeButton ? 1 : 0);
        for (Control box : {Control::Check1, Control::Check2})
            QCOMPARE(r.s.window.isChecked(box), closeButton);
        QCOMPARE(r.s.logic.unitStatusWindow().isVisible(), closeButton);
        QCOMPARE(r.s.logic.advancedWindow().isVisible(), closeButton);
    }

    void fileMissing()
    {
        ScriptedStudio r(-1);
        QVERIFY(!r.loaded);
        QCOMPARE(r.s.boxes.size(), 1);
        QCOMPARE(r.s.boxes[0].title, u"File Missing"_s);
        QCOMPARE(r.s.boxes[0].buttons, MessageButtons::OkCancel);
        QVERIFY(!r.s.window.isVisible());
        QVERIFY(r.port.commands.isEmpty());
    }

    void singleInstanceOffX11()
    {
        // Off X11 a running copy holds a per-user socket; a second start finds it.
        QTemporaryDir runtime;
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        QFile::setPermissions(runtime.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                  QFileDevice::ExeOwner);
        Dialogs dialogs;
        dialogs.setResponder([](const Dialogs::Request &) { return MessageResult::Ok; });
        {
            StartUp first(dialogs);
            QVERIFY(first.Form1_Load());
            QVERIFY(!StartUp(dialogs).Form1_Load());
        }
        QVERIFY(StartUp(dialogs).Form1_Load()); // the first copy has ended
    }
};

QTEST_MAIN(TestGuiWindows)
#include "tst_gui_windows.moc"
