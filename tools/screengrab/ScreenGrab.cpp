// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// kestrel-screengrab OUT.png [TITLE] [SETTLE_MS]: waits (up to 20 s) until a top-level window
// with the title exists on the X display, lets it settle, and saves the whole screen.
#include "gui/TopLevelWindows.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QThread>

#include <cstdio>

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 2) {
        std::fprintf(stderr, "usage: kestrel-screengrab OUT.png [TITLE] [SETTLE_MS]\n");
        return 2;
    }
    const QString title = args.value(2, QStringLiteral("Kestrel"));
    const int settle = args.value(3, QStringLiteral("1500")).toInt();
    QElapsedTimer waited;
    waited.start();
    while (!TopLevelWindows::existsWithTitle(title)) {
        if (waited.elapsed() > 20000) {
            std::fprintf(stderr, "no window titled %s appeared\n", qPrintable(title));
            return 1;
        }
        QThread::msleep(100);
    }
    QThread::msleep(static_cast<unsigned long>(settle));
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0);
    if (!shot.save(args[1])) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(args[1]));
        return 1;
    }
    std::printf("saved %s (%dx%d)\n", qPrintable(args[1]), shot.width(), shot.height());
    return 0;
}
