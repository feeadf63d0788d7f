// What only a real X display shows: the single-instance search among the desktop's windows,
// the shaped main window, and where the unit status window opens.
#include "Studio.h"

#include "gui/StartUp.h"
#include "gui/TopLevelWindows.h"
#include "gui/UnitStatusWindow.h"

#include <QProcess>
#include <QScreen>

using namespace Qt::StringLiterals;

class TestX11Shell : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY2(TopLevelWindows::onX11(), "needs an X display"); }

    void singleInstance_data()
    {
        QTest::addColumn<QString>("title"); // of another window on the desktop
        QTest::addColumn<bool>("blocks");
        QTest::newRow("exactly Kestrel") << u"Kestrel"_s << true;
        QTest::newRow("longer title") << u"Kestrel 2"_s << false;
        QTest::newRow("other case") << u"kestrel"_s << false;
        QTest::newRow("the configurator running") << QString() << true;
    }
    void singleInstance()
    {
        QFETCH(QString, title);
        QFETCH(bool, blocks);
        QWidget other;
        QProcess running;
        QTemporaryDir dir;
        if (title.isEmpty()) { // a copy of the program in a directory of its own
            const QString binary = dir.filePath(u"kestrel"_s);
            QFile ini(dir.filePath(u"Kestrel.ini"_s));
            QVERIFY(ini.open(QIODevice::WriteOnly) &&
                    ini.write("[Kestrel]\r\nSystem=Studio\r\n") > 0);
            ini.close();
            QVERIFY(QFile::copy(QStringLiteral(KESTREL_BINARY), binary));
            running.start(binary, {});
            QVERIFY(running.waitForStarted());
        } else {
            other.setWindowTitle(title);
            other.show();
            QVERIFY(QTest::qWaitForWindowExposed(&other));
        }
        Dialogs dialogs;
        QList<Dialogs::Request> boxes;
        dialogs.setResponder([&boxes](const Dialogs::Request &r) {
            boxes << r;
            return MessageResult::Ok;
        });
        StartUp second(dialogs);
        if (blocks)
            QTRY_VERIFY_WITH_TIMEOUT(second.anotherInstanceRunning(), 15000);
        QCOMPARE(second.Form1_Load(), !blocks);
        QCOMPARE(boxes.size(), blocks ? 1 : 0);
        if (blocks)
            QCOMPARE(boxes[0].text, u"An instance of Kestrel is already running"_s);
        running.kill();
        running.waitForFinished();
    }

    // Outside the outline the desktop shows through (Xvfb's root is black); inside, the panel.
    // The unit status window opens beside the outline's right edge, level with its top.
    void shapeAndPlacement()
    {
        ScriptedStudio r;
        r.s.window.move(0, 0);
        QVERIFY(r.loaded);
        QVERIFY(QTest::qWaitForWindowExposed(&r.s.window));
        r.s.click(Control::Check1);
        UnitStatusWindow &unit = r.s.logic.unitStatusWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&unit));
        QTest::qWait(200);

        const QRegion outline = r.s.window.mask();
        const QImage screen = r.s.window.screen()->grabWindow(0).toImage();
        int inside = 0;
        int panel = 0;
        for (int y = 0; y < r.s.window.height(); y += 16) {
            for (int x = 0; x < r.s.window.width(); x += 16) {
                const QPoint p = r.s.window.mapToGlobal(QPoint(x, y));
                const bool black = QColor(screen.pixel(p)) == QColor(Qt::black);
                if (!outline.contains(QPoint(x, y)))
                    QVERIFY2(black || unit.frameGeometry().contains(p),
                             qPrintable(u"%1,%2"_s.arg(x).arg(y)));
                inside += outline.contains(QPoint(x, y));
                panel += outline.contains(QPoint(x, y)) && !black;
            }
        }
        QVERIFY(inside > 500);
        QVERIFY2(panel > inside * 9 / 10, qPrintable(u"%1 of %2"_s.arg(panel).arg(inside)));

        const QRect shape = outline.boundingRect().translated(r.s.window.pos());
        QTRY_VERIFY2(qAbs(unit.geometry().left() - shape.right()) < 30 &&
                         qAbs(unit.geometry().top() - shape.top()) < 30,
                     qPrintable(u"%1 %2"_s.arg(unit.geometry().left()).arg(shape.right())));
    }
};

QTEST_MAIN(TestX11Shell)
#include "tst_x11shell.moc"
