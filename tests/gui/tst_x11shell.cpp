// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// What only a real X display shows: the single-instance search among the desktop's windows,
// the shaped main window, and a key held down as the X server repeats it.
#include "Studio.h"

#include "gui/StartUp.h"
#include "gui/TopLevelWindows.h"

#include <atomic>
#include <thread>

class TestX11Shell : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY2(TopLevelWindows::onX11(), "needs an X display");
        // The copies' single-instance socket, away from any other run.
        QVERIFY(runtime.isValid());
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    }

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
            writeFile(dir.filePath(u"Kestrel.ini"_s),
                      "[Kestrel]\r\nSystem=A\r\nCommDevice=" + dir.filePath(u"no-tty"_s).toUtf8());
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
        if (title.isEmpty()) { // asked once the copy shows its window
            // Its "Port Conflict" box is the operator's; the device and the reason go to stderr.
            QByteArray stderrText;
            QTRY_VERIFY_WITH_TIMEOUT((stderrText += running.readAllStandardError())
                                         .contains(dir.filePath(u"no-tty"_s).toUtf8()),
                                     15000);
            QTRY_VERIFY(TopLevelWindows::existsWithTitle(u"Kestrel"_s));
        }
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

    void heldSpace_data()
    {
        QTest::addColumn<int>("holdMs");
        QTest::newRow("0.8 s") << 800;
        QTest::newRow("4 s") << 4000;
    }
    // Space held in the output list while the machine is busy: whatever release and press pairs
    // the server's key repeat sends, and however late they are handled, one test from press to
    // release.
    void heldSpace()
    {
        QFETCH(int, holdMs);
        ScriptedStudio r;
        QVERIFY(QTest::qWaitForWindowActive(&r.s.window));
        r.s.window.setCurrentRow(Control::List1, 2);
        r.s.window.setFocus(Control::List1);
        r.port.commands.clear();
        std::atomic<bool> busy = true;
        std::vector<std::thread> load;
        for (int k = 0; k < 3; ++k)
            load.emplace_back([&busy] {
                while (busy)
                    std::this_thread::yield();
            });
        QProcess keys; // xdotool's keydown repeats like a held key
        keys.start(u"xdotool"_s, {u"keydown"_s, u"space"_s, u"sleep"_s,
                                  QString::number(holdMs / 1000.0), u"keyup"_s, u"space"_s});
        QTRY_VERIFY_WITH_TIMEOUT(keys.state() == QProcess::NotRunning, holdMs + 30000);
        busy = false;
        for (std::thread &t : load)
            t.join();
        QCOMPARE(keys.exitCode(), 0);
        QTRY_VERIFY(!r.s.model.OutputTestOn[3]);
        QCOMPARE(r.port.commands, (QList<QByteArray>{"GetMap 1  3", "mapdisab 1  3", "Set 1  3",
                                                     "Res 1  3", "MapEnab 1  3"}));
    }

private:
    QTemporaryDir runtime;
};

QTEST_MAIN(TestX11Shell)
#include "tst_x11shell.moc"
