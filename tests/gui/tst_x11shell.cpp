// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// What only a real X display shows: the single-instance search among the desktop's windows,
// and the shaped main window.
#include "Studio.h"

#include "gui/StartUp.h"
#include "gui/TopLevelWindows.h"

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
        QTemporaryDir dir; // for a copy of the program, in a directory of its own
        QProcess running;
        if (title.isEmpty()) {
            writeFile(dir.filePath(u"Kestrel.ini"_s), "[Kestrel]\r\nSystem=A\r\n");
            QVERIFY(QFile::copy(QStringLiteral(KESTREL_BINARY), dir.filePath(u"kestrel"_s)));
            running.start(dir.filePath(u"kestrel"_s));
        } else {
            other.setWindowTitle(title);
            other.show();
            QVERIFY(QTest::qWaitForWindowExposed(&other));
        }
        Dialogs dialogs;
        QStringList told;
        dialogs.setResponder([&told](const Dialogs::Request &r) {
            told << r.text;
            return MessageResult::Ok;
        });
        StartUp second(dialogs);
        QTRY_VERIFY_WITH_TIMEOUT(second.anotherInstanceRunning() == blocks, 15000);
        QCOMPARE(second.Form1_Load(), !blocks);
        QCOMPARE(told, blocks ? QStringList{u"An instance of Kestrel is already running"_s}
                              : QStringList());
        running.kill();
    }

    // Outside the outline the desktop shows through (Xvfb's root is black), inside it the panel.
    void shape()
    {
        ScriptedStudio r;
        QVERIFY(QTest::qWaitForWindowExposed(&r.s.window));
        QTest::qWait(200);
        const QRegion outline = r.s.window.mask();
        const QImage screen = r.s.window.screen()->grabWindow(0).toImage();
        int counts[2][2] = {}; // [inside the outline][showing black]
        for (int y = 0; y < r.s.window.height(); y += 16) {
            for (int x = 0; x < r.s.window.width(); x += 16) {
                const QColor shown = screen.pixel(r.s.window.mapToGlobal(QPoint(x, y)));
                ++counts[outline.contains(QPoint(x, y))][shown == Qt::black];
            }
        }
        QCOMPARE(counts[0][0], 0);
        QVERIFY(counts[0][1] > 100 && counts[1][0] > 500 && counts[1][1] < counts[1][0] / 10);
    }
};

QTEST_MAIN(TestX11Shell)
#include "tst_x11shell.moc"
