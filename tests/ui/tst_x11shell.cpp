#include "gui/Configurator.h"
#include "gui/StartUp.h"
#include "gui/TopLevelWindows.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "ui/ProgramDir.h"
#include "support/ScriptedPort.h"
#include "gui/WindowOutline.h"
#include "gui/AdvancedWindow.h"
#include "gui/UnitStatusWindow.h"

#include <QAbstractButton>
#include <QPlainTextEdit>
#include <QTextEdit>

#include <QFile>
#include <QProcess>
#include <QScreen>
#include <QTest>

using namespace Qt::StringLiterals;

class TestX11Shell : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY2(TopLevelWindows::onX11(), "needs an X display"); }

    void titleDecides_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("blocks");
        QTest::newRow("exactly Kestrel") << u"Kestrel"_s << true;
        QTest::newRow("longer title") << u"Kestrel 2"_s << false;
        QTest::newRow("other case") << u"kestrel"_s << false;
        QTest::newRow("unrelated") << u"Terminal"_s << false;
    }
    void titleDecides()
    {
        QFETCH(QString, title);
        QFETCH(bool, blocks);
        QWidget unrelated;
        unrelated.setWindowTitle(title);
        unrelated.resize(120, 60);
        unrelated.show();
        QVERIFY(QTest::qWaitForWindowExposed(&unrelated));

        Dialogs dialogs;
        QList<Dialogs::Request> boxes;
        dialogs.setResponder([&](const Dialogs::Request &r) {
            boxes << r;
            return MessageResult::Ok;
        });
        StartUp startUp(dialogs);
        QCOMPARE(startUp.Form1_Load(), !blocks);
        QCOMPARE(boxes.size(), blocks ? 1 : 0);
        if (blocks) {
            QCOMPARE(boxes[0].text, u"An instance of Kestrel is already running"_s);
            QCOMPARE(boxes[0].title, u"Application Error"_s);
            QCOMPARE(boxes[0].buttons, MessageButtons::Ok);
        }
        unrelated.hide();
    }

    void secondStartWhileOneRuns()
    {
        ProgramDir dir(studioIni(4, 4));
        const QString binary = dir.dir.filePath(u"kestrel"_s);
        QVERIFY(QFile::copy(QStringLiteral(KESTREL_BINARY), binary));
        QProcess first;
        first.start(binary, {});
        QVERIFY(first.waitForStarted());

        Dialogs dialogs;
        dialogs.setResponder([](const Dialogs::Request &) { return MessageResult::Ok; });
        StartUp second(dialogs);
        QTRY_VERIFY_WITH_TIMEOUT(second.anotherInstanceRunning(), 15000);
        first.kill();
        first.waitForFinished();
        QTRY_VERIFY_WITH_TIMEOUT(!second.anotherInstanceRunning(), 5000);
    }

    void outlineShapesTheWindow()
    {
        ProgramDir dir(studioIni(4, 4));
        Dialogs dialogs;
        SystemModel model;
        ScriptedPort port;
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            return ScriptedPort::answer(c, c.startsWith("RawMap") ? "" : "OK");
        };
        MainWindow window(dialogs);
        Configurator logic(model, window, port);
        window.move(0, 0);
        QVERIFY(logic.Form_Load(dir.path()));
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.mask(), WindowOutline::BuildWindowRegion(1, 1, 0, 0));
        QTest::qWait(300);

        const QImage screen = window.screen()->grabWindow(0).toImage();
        const QPoint origin = window.geometry().topLeft();
        auto at = [&](int x, int y) { return QColor(screen.pixel(origin + QPoint(x, y))); };
        // Outside the outline the desktop shows through: Xvfb's root is black.
        for (QPoint outside : {QPoint(10, 10), QPoint(43, 29), QPoint(600, 300), QPoint(300, 580)})
            QCOMPARE(at(outside.x(), outside.y()), QColor(Qt::black));
        // Inside it the panel is drawn.
        for (QPoint inside : {QPoint(60, 300), QPoint(300, 90), QPoint(550, 300)})
            QVERIFY2(at(inside.x(), inside.y()) != QColor(Qt::black),
                     qPrintable(u"%1,%2"_s.arg(inside.x()).arg(inside.y())));
    }

    void secondaryWindowsOnTheDesktop()
    {
        ProgramDir dir(studioIni(6, 6));
        Dialogs dialogs;
        SystemModel model;
        ScriptedPort port;
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            if (c.startsWith("BITS"))
                return ScriptedPort::answer(c, "10100000000000000000000000000001");
            if (c == "VER")
                return ScriptedPort::answer(c, "KESTREL MAIN V2.14");
            return ScriptedPort::answer(c, c.startsWith("RawMap") ? "" : "OK");
        };
        MainWindow window(dialogs);
        Configurator logic(model, window, port);
        window.move(20, 20);
        QVERIFY(logic.Form_Load(dir.path()));
        QVERIFY(QTest::qWaitForWindowExposed(&window));

        QTest::mouseClick(window.button(Control::Check1), Qt::LeftButton);
        QTest::mouseClick(window.button(Control::Check2), Qt::LeftButton);
        UnitStatusWindow &status = logic.unitStatusWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&status));
        QVERIFY(QTest::qWaitForWindowExposed(&logic.advancedWindow()));
        // Beside the panel's right edge, level with its top, on a real X server.
        QTRY_COMPARE(status.geometry().topLeft(), window.geometry().topLeft() + QPoint(567, 30));
        QTRY_VERIFY(status.isLampLit(1) && status.isLampLit(3) && status.isLampLit(32));
        QVERIFY(!status.isLampLit(2));
        QTRY_VERIFY(logic.advancedWindow().monitor()->toPlainText().contains(u"GSTAT"_s) ||
                    logic.advancedWindow().monitor()->toPlainText().contains(u"BITS"_s));

        // For a person to look at: KESTREL_SCREENSHOT_DIR=... keeps a picture of the desktop.
        const QByteArray shots = qgetenv("KESTREL_SCREENSHOT_DIR");
        if (!shots.isEmpty()) {
            logic.advancedWindow().move(20, 620 - logic.advancedWindow().height());
            QTest::qWait(500);
            window.screen()->grabWindow(0).save(QString::fromLocal8Bit(shots) + u"/windows.png"_s);
        }
        QTest::mouseClick(window.button(Control::Check1), Qt::LeftButton);
        QVERIFY(status.isHidden());
    }

    void scaledOutline()
    {
        // At twice the density every vertex doubles; offsets move the polygon.
        const QPolygon p = WindowOutline::polygon(1, 1, 5, -3, 2.0);
        QCOMPARE(p.size(), 48);
        QCOMPARE(p[0], QPoint(58 * 2 + 5, 29 * 2 - 3));
        QCOMPARE(p.boundingRect(), QRect(QPoint(91, 55), QPoint(1131, 1133)));
        // Ties go to even: 0.5 scaled vertices round like the description file's numbers.
        QCOMPARE(WindowOutline::polygon(0.5f, 0.5f, 0, 0)[0], QPoint(29, 14));
    }
};

QTEST_MAIN(TestX11Shell)
#include "tst_x11shell.moc"
