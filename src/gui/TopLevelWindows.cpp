// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/TopLevelWindows.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

#include <memory>
#include <vector>

namespace {

struct FreeDeleter
{
    void operator()(void *p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    Reply<xcb_intern_atom_reply_t> r(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 1, uint16_t(strlen(name)), name), nullptr));
    return r ? r->atom : xcb_atom_t(XCB_ATOM_NONE);
}

QByteArray property(xcb_connection_t *c, xcb_window_t w, xcb_atom_t prop, xcb_atom_t type)
{
    if (prop == XCB_ATOM_NONE)
        return {};
    Reply<xcb_get_property_reply_t> r(
        xcb_get_property_reply(c, xcb_get_property(c, 0, w, prop, type, 0, 1024), nullptr));
    if (!r || r->type == XCB_ATOM_NONE)
        return {};
    return QByteArray(static_cast<const char *>(xcb_get_property_value(r.get())),
                      xcb_get_property_value_length(r.get()));
}

std::vector<xcb_window_t> windowList(xcb_connection_t *c, xcb_window_t root, xcb_atom_t list)
{
    const QByteArray bytes = property(c, root, list, XCB_ATOM_WINDOW);
    std::vector<xcb_window_t> windows(size_t(bytes.size()) / sizeof(xcb_window_t));
    if (!windows.empty()) // no window manager, no list: nothing to copy from
        memcpy(windows.data(), bytes.constData(), windows.size() * sizeof(xcb_window_t));
    return windows;
}

std::vector<xcb_window_t> children(xcb_connection_t *c, xcb_window_t w)
{
    Reply<xcb_query_tree_reply_t> r(xcb_query_tree_reply(c, xcb_query_tree(c, w), nullptr));
    if (!r)
        return {};
    const xcb_window_t *kids = xcb_query_tree_children(r.get());
    return std::vector<xcb_window_t>(kids, kids + xcb_query_tree_children_length(r.get()));
}

} // namespace

namespace {

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
