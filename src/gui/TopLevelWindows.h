// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

// Whether a top-level window with exactly this title exists on the X11 display this
// application is connected to (any window class, any owner). False when not on X11.
class TopLevelWindows
{
public:
    static bool onX11();
    static bool existsWithTitle(const QString &title);
};
