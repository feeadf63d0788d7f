// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/Configurator.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "gui/StartUp.h"
#include "link/DevicePort.h"

#include <QApplication>
#include <QDirIterator>
#include <QFileInfo>
#include <QIcon>

#include <xcb/xcb.h>

#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

// Without any display Qt aborts with a message about reinstalling the application; say what
// is wrong instead. A platform named in QT_QPA_PLATFORM is Qt's to judge (offscreen, vnc, ...).
bool DisplayReachable()
{
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        return true;
    const QString wayland = qEnvironmentVariable("WAYLAND_DISPLAY");
    if (!wayland.isEmpty()) {
        const QString socket = QFileInfo(wayland).isAbsolute()
                                   ? wayland
                                   : qEnvironmentVariable("XDG_RUNTIME_DIR") + u'/' + wayland;
        if (QFileInfo::exists(socket))
            return true;
    }
    xcb_connection_t *x11 = xcb_connect(nullptr, nullptr); // DISPLAY; never null
    const bool reached = xcb_connection_has_error(x11) == 0;
    xcb_disconnect(x11);
    return reached;
}

// Every size of the icon made at build time, for the window's title bar, task bar and
// switcher.
QIcon ApplicationIcon()
{
    QIcon icon;
    QDirIterator sizes(u":/icons"_s, {u"kestrel.png"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (sizes.hasNext())
        icon.addFile(sizes.next());
    return icon;
}

} // namespace

int main(int argc, char *argv[])
{
    if (!DisplayReachable()) {
        std::fputs("kestrel: no display to show the window on (neither X11 nor Wayland can be "
                   "reached: DISPLAY, WAYLAND_DISPLAY)\n",
                   stderr);
        return 1;
    }
    QApplication app(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion")); // honours the panel's button colours
    // Wayland desktops find the menu entry, and with it the icon, by this name.
    QGuiApplication::setDesktopFileName(QStringLiteral(KESTREL_APP_ID));
    QApplication::setWindowIcon(ApplicationIcon());

    Dialogs dialogs;
    StartUp startUp(dialogs);
    if (!startUp.Form1_Load())
        return 0;

    auto model = std::make_unique<SystemModel>();
    DevicePort port;
    MainWindow window(dialogs);
    Configurator configurator(*model, window, port);
    if (!configurator.Form_Load(QCoreApplication::applicationDirPath()))
        return 0;
    const int result = app.exec();
    configurator.Form_Terminate();
    return result;
}
