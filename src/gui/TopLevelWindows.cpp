// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/TopLevelWindows.h"
#include "gui/XcbReplies.h"

#include <QGuiApplication>

#include <cstring>
#include <vector>

namespace {

using Xcb::atom;
using Xcb::children;
using Xcb::property;

std::vector<xcb_window_t> windowList(xcb_connection_t *c, xcb_window_t root, xcb_atom_t list)
{
    const QByteArray bytes = property(c, root, list, XCB_ATOM_WINDOW);
    std::vector<xcb_window_t> windows(size_t(bytes.size()) / sizeof(xcb_window_t));
    if (!windows.empty()) // no window manager, no list: nothing to copy from
        memcpy(windows.data(), bytes.constData(), windows.size() * sizeof(xcb_window_t));
    return windows;
}

// The offscreen platform can present the X11 interface without a connection behind it.
xcb_connection_t *connection()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

} // namespace

bool TopLevelWindows::onX11() { return connection() != nullptr; }

bool TopLevelWindows::existsWithTitle(const QString &title)
{
    xcb_connection_t *c = connection();
    if (!c)
        return false;
    const xcb_setup_t *setup = xcb_get_setup(c);
    const xcb_window_t root = xcb_setup_roots_iterator(setup).data->root;
    const xcb_atom_t netWmName = atom(c, "_NET_WM_NAME");
    const xcb_atom_t utf8 = atom(c, "UTF8_STRING");
    const QByteArray wanted = title.toUtf8();
    const QByteArray wantedLatin1 = title.toLatin1();

    auto titled = [&](xcb_window_t w) {
        return property(c, w, netWmName, utf8) == wanted ||
               property(c, w, XCB_ATOM_WM_NAME, XCB_ATOM_STRING) == wantedLatin1;
    };

    // The window manager's list of client windows, where there is a window manager.
    for (xcb_window_t w : windowList(c, root, atom(c, "_NET_CLIENT_LIST"))) {
        if (titled(w))
            return true;
    }
    // Otherwise the root's children, and their children for managers that reparent.
    for (xcb_window_t w : children(c, root)) {
        if (titled(w))
            return true;
        for (xcb_window_t inner : children(c, w)) {
            if (titled(inner))
                return true;
        }
    }
    return false;
}
