// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

// Small synchronous X queries: an atom, a window's property, its children. Header-only, so the
// test tool that watches the configurator's windows from outside asks the same way.
namespace Xcb {

struct FreeDeleter
{
    void operator()(void *p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// XCB_ATOM_NONE when the server knows no such name: asking does not create it.
inline xcb_atom_t atom(xcb_connection_t *c, const char *name)
{
    Reply<xcb_intern_atom_reply_t> r(xcb_intern_atom_reply(
        c, xcb_intern_atom(c, 1, uint16_t(std::strlen(name)), name), nullptr));
    return r ? r->atom : xcb_atom_t(XCB_ATOM_NONE);
}

inline QByteArray property(xcb_connection_t *c, xcb_window_t w, xcb_atom_t prop, xcb_atom_t type)
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

// Bottom to top in the stacking order.
inline std::vector<xcb_window_t> children(xcb_connection_t *c, xcb_window_t w)
{
    Reply<xcb_query_tree_reply_t> r(xcb_query_tree_reply(c, xcb_query_tree(c, w), nullptr));
    if (!r)
        return {};
    const xcb_window_t *kids = xcb_query_tree_children(r.get());
    return std::vector<xcb_window_t>(kids, kids + xcb_query_tree_children_length(r.get()));
}

} // namespace Xcb
