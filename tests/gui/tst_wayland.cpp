// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The configurator as a native Wayland client, on weston's headless compositor: its outline is
// what the desktop shows, and a copy started on the X display beside it is refused.
#include "Studio.h"

#include "gui/TopLevelWindows.h"
#include "gui/WindowOutline.h"

class TestWayland : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY2(TopLevelWindows::onX11(), "needs an X display for the second copy");
        // weston's socket and the copies' single-instance socket, away from any other run.
        QVERIFY(runtime.isValid());
        QVERIFY(QFile::setPermissions(runtime.path(),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        writeFile(runtime.filePath(u"weston.ini"_s),
                  "[shell]\nbackground-color=0xff000000\npanel-position=none\n");
        weston.setProcessEnvironment(environment());
        weston.start(u"weston"_s,
                     {u"--backend=headless-backend.so"_s, u"--use-pixman"_s, u"--debug"_s,
                      u"--socket=kestrel-test"_s, u"--width=800"_s, u"--height=700"_s,
                      u"--idle-time=0"_s, u"--config="_s + runtime.filePath(u"weston.ini"_s)});
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(runtime.filePath(u"kestrel-test"_s)), 15000);
    }
    void cleanupTestCase()
    {
        for (QProcess *p : {&second, &first, &weston})
            p->kill(), p->waitForFinished();
    }

    // Outside the outline the desktop's black shows, not the window's ground colour.
    void outlineShownNatively()
    {
        QVERIFY(sim.start({}));
        QVERIFY(QFile::copy(QStringLiteral(KESTREL_BINARY), program.filePath(u"kestrel"_s)));
        writeFile(program.filePath(u"Kestrel.ini"_s),
                  "[Kestrel]\r\nSystem=A\r\nCommDevice=" + sim.link().toUtf8() +
                      "\r\nOutput 1=Cam,1,1\r\nInput 1=Mix,2,1\r\n");
        QProcessEnvironment env = environment();
        env.insert(u"QT_QPA_PLATFORM"_s, u"wayland"_s);
        first.setProcessEnvironment(env);
        first.start(program.filePath(u"kestrel"_s));
        const QRgb ground = qRgb(82, 82, 169);
        QImage shot;
        auto groundShown = [&] {
            shot = screenshot();
            return std::count(reinterpret_cast<const QRgb *>(shot.constBits()),
                              reinterpret_cast<const QRgb *>(shot.constBits()) +
                                  shot.sizeInBytes() / 4,
                              ground) > 10000;
        };
        QTRY_VERIFY_WITH_TIMEOUT(groundShown(), 20000);
        QTest::qWait(300); // the controls painted too
        shot = screenshot();
        QRect shown; // all that is not the desktop's black
        for (int y = 0; y < shot.height(); ++y)
            for (int x = 0; x < shot.width(); ++x)
                if (shot.pixel(x, y) != qRgb(0, 0, 0))
                    shown |= QRect(x, y, 1, 1);
        const QRegion outline = WindowOutline::BuildWindowRegion(1, 1, 0, 0);
        QCOMPARE(shown.size(), outline.boundingRect().size());
        const QRegion placed =
            outline.translated(shown.topLeft() - outline.boundingRect().topLeft());
        int outside = 0;
        for (int y = 0; y < shot.height(); ++y)
            for (int x = 0; x < shot.width(); ++x)
                outside += shot.pixel(x, y) == ground && !placed.contains(QPoint(x, y));
        QCOMPARE(outside, 0);
    }

    // The copy on Wayland holds no X window: the copy on X finds it all the same.
    void secondCopyOnX11Refused()
    {
        QVERIFY(first.state() == QProcess::Running);
        QProcessEnvironment env = environment();
        env.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        second.setProcessEnvironment(env);
        second.start(program.filePath(u"kestrel"_s));
        QTRY_VERIFY_WITH_TIMEOUT(TopLevelWindows::existsWithTitle(u"Application Error"_s), 15000);
        QVERIFY(!TopLevelWindows::existsWithTitle(u"Kestrel"_s));
    }

private:
    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"XDG_RUNTIME_DIR"_s, runtime.path());
        env.insert(u"WAYLAND_DISPLAY"_s, u"kestrel-test"_s);
        return env;
    }
    // What weston shows, as weston-screenshooter saves it.
    QImage screenshot()
    {
        QTemporaryDir into;
        QProcess shooter;
        shooter.setProcessEnvironment(environment());
        shooter.setWorkingDirectory(into.path());
        shooter.start(u"weston-screenshooter"_s);
        if (!shooter.waitForFinished(10000))
            return {};
        const QStringList saved = QDir(into.path()).entryList({u"*.png"_s});
        return saved.isEmpty()
                   ? QImage()
                   : QImage(into.filePath(saved.first())).convertToFormat(QImage::Format_RGB32);
    }

    QTemporaryDir runtime;
    QTemporaryDir program; // the copies' program directory
    SimProcess sim;
    QProcess weston, first, second;
};

QTEST_MAIN(TestWayland)
#include "tst_wayland.moc"
