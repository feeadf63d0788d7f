// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "gui/XcbReplies.h"

#include <xcb/xcb.h>

#include <QByteArray>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <vector>

#include <unistd.h>

// Another program's top-level windows on the X display, seen from outside as the operator sees
// them: found by title, mapped or not, drawn into or not. Its own connection, so the caller
// needs no GUI of its own.
//
// A window with the title is not enough to call a window shown: Qt creates the main window's
// native window (title and all) before it is mapped, e.g. as the parent of a message box.
class X11Windows
{
public:
    X11Windows() : m_c(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(m_c)) {
            xcb_disconnect(m_c);
            m_c = nullptr;
            return;
        }
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(m_c)).data;
        m_root = screen->root;
        m_width = screen->width_in_pixels;
        m_height = screen->height_in_pixels;
        m_netWmName = Xcb::atom(m_c, "_NET_WM_NAME");
        m_utf8 = Xcb::atom(m_c, "UTF8_STRING");
    }
    ~X11Windows()
    {
        if (m_c)
            xcb_disconnect(m_c);
    }
    X11Windows(const X11Windows &) = delete;
    X11Windows &operator=(const X11Windows &) = delete;

    bool connected() const { return m_c != nullptr; }

    // A top-level window with exactly this title; 0 when there is none. With `viewable`, only
    // one that is mapped and so on the screen.
    xcb_window_t withTitle(const QByteArray &title, bool viewable)
    {
        if (!m_c)
            return 0;
        for (xcb_window_t w : Xcb::children(m_c, m_root)) {
            // Without a window manager clients are the root's children; with one that
            // reparents, one level further down.
            std::vector<xcb_window_t> candidates{w};
            for (xcb_window_t inner : Xcb::children(m_c, w))
                candidates.push_back(inner);
            for (xcb_window_t c : candidates) {
                if (titleOf(c) == title && (!viewable || isViewable(c)))
                    return c;
            }
        }
        return 0;
    }

    // Whether the window shows at least three colours along rows across it, where no other
    // window covers it: the program has drawn into it. A window not yet drawn shows one
    // colour (its background, or the black root behind it); a box on top of it is not its own
    // drawing, so what lies under windows stacked above it is left out.
    bool painted(xcb_window_t w)
    {
        const Rect r = rectOf(w);
        if (r.width < 2 || r.height < 2)
            return false;
        std::vector<Rect> above;
        bool seen = false;
        for (xcb_window_t sibling : Xcb::children(m_c, m_root)) { // bottom to top
            if (seen && isViewable(sibling))
                above.push_back(rectOf(sibling));
            seen = seen || sibling == w || contains(sibling, w);
        }
        std::set<quint32> colours;
        for (int k = 1; k <= 11; ++k) {
            const int y = r.y + r.height * k / 12;
            // Read from the root, clipped to the screen: reading a window partly off the
            // screen is an error.
            const int x0 = std::max(0, r.x);
            const int x1 = std::min(m_width, r.x + r.width);
            if (y < 0 || y >= m_height || x1 - x0 < 2)
                continue;
            Xcb::Reply<xcb_get_image_reply_t> img(xcb_get_image_reply(
                m_c,
                xcb_get_image(m_c, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, int16_t(x0), int16_t(y),
                              uint16_t(x1 - x0), 1, ~0u),
                nullptr));
            if (!img || img->depth < 24)
                continue;
            const uint8_t *data = xcb_get_image_data(img.get());
            const int pixels = xcb_get_image_data_length(img.get()) / 4;
            for (int i = 0; i < pixels; ++i) {
                const int x = x0 + i;
                const bool covered = std::any_of(above.begin(), above.end(), [&](const Rect &a) {
                    return x >= a.x && x < a.x + a.width && y >= a.y && y < a.y + a.height;
                });
                if (covered)
                    continue;
                quint32 pixel;
                std::memcpy(&pixel, data + 4 * i, 4);
                colours.insert(pixel & 0xFFFFFFu);
                if (colours.size() >= 3)
                    return true;
            }
        }
        return false;
    }

private:
    // A window's place on the screen, border included.
    struct Rect
    {
        int x = 0, y = 0, width = 0, height = 0;
    };
    Rect rectOf(xcb_window_t w)
    {
        Xcb::Reply<xcb_get_geometry_reply_t> g(
            xcb_get_geometry_reply(m_c, xcb_get_geometry(m_c, w), nullptr));
        Xcb::Reply<xcb_translate_coordinates_reply_t> at(xcb_translate_coordinates_reply(
            m_c, xcb_translate_coordinates(m_c, w, m_root, 0, 0), nullptr));
        if (!g || !at)
            return {};
        const int b = g->border_width;
        return {at->dst_x - b, at->dst_y - b, g->width + 2 * b, g->height + 2 * b};
    }
    bool contains(xcb_window_t parent, xcb_window_t w)
    {
        const std::vector<xcb_window_t> kids = Xcb::children(m_c, parent);
        return std::find(kids.begin(), kids.end(), w) != kids.end();
    }

    QByteArray titleOf(xcb_window_t w)
    {
        QByteArray t = Xcb::property(m_c, w, m_netWmName, m_utf8);
        return t.isEmpty() ? Xcb::property(m_c, w, XCB_ATOM_WM_NAME, XCB_ATOM_STRING) : t;
    }

    bool isViewable(xcb_window_t w)
    {
        Xcb::Reply<xcb_get_window_attributes_reply_t> r(
            xcb_get_window_attributes_reply(m_c, xcb_get_window_attributes(m_c, w), nullptr));
        return r && r->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    xcb_connection_t *m_c = nullptr;
    xcb_window_t m_root = 0;
    int m_width = 0;
    int m_height = 0;
    xcb_atom_t m_netWmName = XCB_ATOM_NONE;
    xcb_atom_t m_utf8 = XCB_ATOM_NONE;
};

// Without an X display, runs this program again under xvfb-run on a fresh one (a screen large
// enough for the main window); returns only when there is a display.
inline void EnsureDisplay(int argc, char *argv[])
{
    const char *display = std::getenv("DISPLAY");
    if (display && *display)
        return;
    std::vector<char *> args{const_cast<char *>(KESTREL_XVFB_RUN), const_cast<char *>("-a"),
                             const_cast<char *>("-s"),
                             const_cast<char *>("-screen 0 1280x1024x24")};
    for (int i = 0; i < argc; ++i)
        args.push_back(argv[i]);
    args.push_back(nullptr);
    execv(args[0], args.data());
    std::perror("xvfb-run");
    std::exit(1);
}
