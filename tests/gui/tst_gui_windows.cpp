// The windows as the application builds them (Configurator joins them to the logic), on a
// scripted tally system: the layout holds together, and the secondary windows' controls and
// close boxes reach the logic.
#include "Studio.h"

#include "gui/AdvancedWindow.h"
#include "gui/UnitStatusWindow.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace {

// What a control covers, named. A label without a background of its own covers only its text.
std::pair<QRect, QString> extent(const QWidget *w)
{
    const QVariant index = w->property("index");
    const QString name = w->objectName() + (index.isValid() ? u"(%1)"_s.arg(index.toInt()) : u""_s);
    const auto *label = qobject_cast<const QLabel *>(w);
    if (!label || label->autoFillBackground())
        return {w->geometry(), name};
    const QRect text = label->fontMetrics().boundingRect(
        QRect(QPoint(), w->size()), int(label->alignment()) | Qt::TextWordWrap, label->text());
    return {
        QStyle::alignedRect(w->layoutDirection(), label->alignment(), text.size(), w->geometry()),
        name};
}

} // namespace

class TestGuiWindows : public QObject
{
    Q_OBJECT
private slots:
    void layout_data()
    {
        QTest::addColumn<int>("window");
        QTest::addColumn<bool>("boolean");
        QTest::newRow("main") << 0 << false;
        QTest::newRow("main, Boolean layout") << 0 << true;
        QTest::newRow("unit status") << 1 << false;
        QTest::newRow("advanced") << 2 << false;
    }
    // Every control lies inside the window's outline, and none covers another.
    void layout()
    {
        QFETCH(int, window);
        QFETCH(bool, boolean);
        ScriptedStudio r;
        for (Control box : {Control::Check1, Control::Check2})
            r.s.click(box);
        if (boolean)
            r.s.click(Control::Check3);
        QWidget *w = QList<QWidget *>{&r.s.window, &r.s.logic.unitStatusWindow(),
                                      &r.s.logic.advancedWindow()}[window];
        QVERIFY(w->isVisible());
        const QRegion outline = w->mask().isEmpty() ? QRegion(w->rect()) : w->mask();
        QList<std::pair<QRect, QString>> controls;
        for (QWidget *c : w->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
            if (c->isVisibleTo(w))
                controls << extent(c);
        }
        QVERIFY(controls.size() >= 3);
        for (qsizetype a = 0; a < controls.size(); ++a) {
            QVERIFY2((QRegion(controls[a].first) - outline).isEmpty(),
                     qPrintable(controls[a].second));
            for (qsizetype b = a + 1; b < controls.size(); ++b) {
                if (controls[a].first.intersects(controls[b].first))
                    QFAIL(qPrintable(controls[a].second + u" covers "_s + controls[b].second));
            }
        }
    }

    void secondaryWindows_data()
    {
        QTest::addColumn<bool>("unitWindow"); // or the advanced window
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<QByteArray>("sent"); // the last command sent
        QTest::addColumn<QString>("shows");   // the watched unit, or what the monitor shows
        const QString reply = u"GSTAT 9\nOK\n."_s;
        QTest::newRow("unit: up, down")
            << true << QStringList{u"up"_s, u"down"_s} << QByteArray("GSTAT 1") << u"1"_s;
        QTest::newRow("unit: Close Window")
            << true << QStringList{u"close: Close Window"_s} << QByteArray() << u"1"_s;
        QTest::newRow("unit: close box")
            << true << QStringList{u"close: its box"_s} << QByteArray() << u"1"_s;
        QTest::newRow("unit: main window closed")
            << true << QStringList{u"close: main window"_s} << QByteArray() << u"1"_s;
        QTest::newRow("advanced: send")
            << false << QStringList{u"send"_s} << QByteArray("GSTAT 9") << reply;
        QTest::newRow("advanced: Enter")
            << false << QStringList{u"Enter"_s} << QByteArray("GSTAT 9") << reply;
        QTest::newRow("advanced: close box")
            << false << QStringList{u"close: its box"_s} << QByteArray() << reply;
        QTest::newRow("advanced: main window closed")
            << false << QStringList{u"close: main window"_s} << QByteArray() << reply;
    }
    void secondaryWindows()
    {
        QFETCH(bool, unitWindow);
        QFETCH(QStringList, steps);
        QFETCH(QByteArray, sent);
        const bool open = !steps.last().startsWith(u"close"_s); // shown, its box ticked
        QFETCH(QString, shows);
        ScriptedStudio r;
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
            else if (step == u"close: Close Window"_s)
                QTest::mouseClick(unit.closeButton(), Qt::LeftButton);
            else if (step == u"send"_s)
                QTest::mouseClick(advanced.sendButton(), Qt::LeftButton);
            else if (step == u"Enter"_s)
                QTest::keyClick(advanced.commandLine(), Qt::Key_Return);
            else
                QVERIFY((step == u"close: its box"_s ? window : &r.s.window)->close());
        }
        QCOMPARE(r.port.commands.isEmpty() ? QByteArray() : r.port.commands.last(), sent);
        QCOMPARE(window->isVisible(), open);
        QCOMPARE(r.s.window.isChecked(box), open);
        if (unitWindow)
            QCOMPARE(unit.watchUnitText(), shows);
        else if (open) // the time of day, then the exchange
            QCOMPARE(advanced.monitor()->toPlainText().section(u'\n', 1), shows);
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
};

QTEST_MAIN(TestGuiWindows)
#include "tst_gui_windows.moc"
