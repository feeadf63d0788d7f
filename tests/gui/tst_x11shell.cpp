// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// What only a real display shows: the single-instance search among the desktop's windows, the
// shaped main window on Wayland, and a key held down as the X server repeats it.
#include "Studio.h"

#include "core/DataTable.h"
#include "gui/StartUp.h"
#include "gui/TopLevelWindows.h"
#include "gui/WindowOutline.h"

#include <thread>

namespace {
// Of a picture of the desktop, black where no window is, the pixels in the window's ground
// colour that lie outside the main window's outline; -1 while what is not black does not have
// the outline's bounds.
int groundOutsideOutline(const QImage &shot)
{
    const QRegion outline = WindowOutline::BuildWindowRegion(1, 1, 0, 0);
    QRect shown;
    for (int y = 0; y < shot.height(); ++y)
        for (int x = 0; x < shot.width(); ++x)
            shown |= shot.pixel(x, y) == qRgb(0, 0, 0) ? QRect() : QRect(x, y, 1, 1);
    if (shown.size() != outline.boundingRect().size())
        return -1;
    int outside = 0;
    for (int y = 0; y < shot.height(); ++y)
        for (int x = 0; x < shot.width(); ++x)
            outside += shot.pixel(x, y) == qRgb(82, 82, 169) &&
                       !outline.contains(QPoint(x, y) - shown.topLeft() +
                                         outline.boundingRect().topLeft());
    return outside;
}
// Another window's title on the desktop, and whether it blocks a second start.
using InstanceRows = DataTable<"title blocks", QString, bool>;
} // namespace

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
        const InstanceRows row;
        row("exactly Kestrel", u"Kestrel"_s, true);
        row("longer title", u"Kestrel 2"_s, false);
        row("other case", u"kestrel"_s, false);
        row("the configurator running", QString(), true);
    }
    void singleInstance()
    {
        const auto [title, blocks] = InstanceRows::fetch();
        QWidget other;
        QProcess running;
        if (title.isEmpty()) {
            running.start(copyProgram("CommDevice=/nowhere/tty"));
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
            QTRY_VERIFY_WITH_TIMEOUT(
                (stderrText += running.readAllStandardError()).contains("/nowhere/tty"), 15000);
            QTRY_VERIFY(TopLevelWindows::existsWithTitle(u"Kestrel"_s));
        }
        QCOMPARE(second.Form1_Load(), !blocks);
        QCOMPARE(told, blocks ? QStringList{u"An instance of Kestrel is already running"_s}
                              : QStringList());
        running.kill();
    }

    // Space held in the output list while the machine is busy: whatever release and press pairs
    // the key's repeat brings, however late they are handled, one test a hold.
    void heldSpace()
    {
        ScriptedStudio r;
        std::vector<std::jthread> load; // stopped and joined as the test ends
        for (int k = 0; k < 3; ++k)
            load.emplace_back([](const std::stop_token &stop) {
                while (!stop.stop_requested())
                    std::this_thread::yield();
            });
        // A hold of 0.8 s; one of 4 s with release and press pairs of its own, 20 ms apart, as a
        // busy server's repeats arrive.
        for (int pairs : {0, 10}) {
            QStringList hold{u"keydown"_s, u"space"_s};
            for (int k = 0; k < pairs; ++k)
                hold << u"sleep"_s << u"0.3"_s << u"keyup"_s << u"space"_s << u"sleep"_s
                     << u"0.02"_s << u"keydown"_s << u"space"_s;
            r.port.commands.clear();
            QProcess keys; // xdotool's keydown repeats as a held key does
            keys.start(u"xdotool"_s, hold << u"sleep"_s << u"0.8"_s << u"keyup"_s << u"space"_s);
            QTRY_VERIFY_WITH_TIMEOUT(keys.state() == QProcess::NotRunning, 40000);
            QTRY_VERIFY(!r.s.model.OutputTestOn[1]);
            QCOMPARE(r.port.commands, (QList<QByteArray>{"GetMap 1  1", "mapdisab 1  1", "Set 1  1",
                                                         "Res 1  1", "MapEnab 1  1"}));
        }
    }

    // Natively on Wayland (weston's headless compositor, a black desktop) the window shows its
    // outline only; a copy started on this X display finds it and is refused.
    void wayland()
    {
        const QString config =
            writeFile(runtime.filePath(u"weston.ini"_s),
                      "[shell]\nbackground-color=0xff000000\npanel-position=none");
        qputenv("WAYLAND_DISPLAY", "kestrel-test");
        QProcess weston, first, second, shooter;
        weston.start(u"weston"_s, {u"--backend=headless-backend.so"_s, u"--use-pixman"_s,
                                   u"--debug"_s, u"--socket=kestrel-test"_s, u"--width=800"_s,
                                   u"--height=700"_s, u"--config="_s + config});
        QTRY_VERIFY(QFile::exists(runtime.filePath(u"kestrel-test"_s)));
        SimProcess sim;
        QVERIFY(sim.start({}));
        const QString program = copyProgram("CommDevice=" + sim.link().toUtf8());
        qputenv("QT_QPA_PLATFORM", "wayland"); // for the copy started next
        first.start(program);
        qputenv("QT_QPA_PLATFORM", "xcb");
        shooter.setWorkingDirectory(sim.dir.path());
        auto shot = [&] { // weston-screenshooter's picture of the desktop
            QImage taken;
            shooter.start(u"weston-screenshooter"_s);
            shooter.waitForFinished();
            for (const QFileInfo &f : QDir(sim.dir.path()).entryInfoList({u"*.png"_s})) {
                taken = QImage(f.filePath());
                QFile::remove(f.filePath());
            }
            return taken;
        };
        QTRY_COMPARE_WITH_TIMEOUT(groundOutsideOutline(shot()), 0, 20000);

        second.start(program);
        QTRY_VERIFY_WITH_TIMEOUT(TopLevelWindows::existsWithTitle(u"Application Error"_s), 15000);
        QVERIFY(!TopLevelWindows::existsWithTitle(u"Kestrel"_s));
    }

private:
    // A copy of the program in a directory of its own, with its Kestrel.ini.
    QString copyProgram(const QByteArray &more)
    {
        const QString dir = copies.emplace_back(std::make_unique<QTemporaryDir>())->path() + u'/';
        writeFile(dir + u"Kestrel.ini"_s, "[Kestrel]\r\nSystem=A\r\n" + more + "\r\n");
        return QFile::copy(QStringLiteral(KESTREL_BINARY), dir + u"kestrel"_s) ? dir + u"kestrel"_s
                                                                               : QString();
    }

    QTemporaryDir runtime;
    std::vector<std::unique_ptr<QTemporaryDir>> copies;
};

QTEST_MAIN(TestX11Shell)
#include "tst_x11shell.moc"
