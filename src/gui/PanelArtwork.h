// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPixmap>
#include <QPolygon>

// The main window's background: a rack-mount style front panel drawn to fit the window outline.
class PanelArtwork
{
public:
    static constexpr int Width = 592;
    static constexpr int Height = 587;

    // `outline` is the window outline in pixels; `ratio` the device pixel ratio to draw for.
    static QPixmap draw(const QPolygon &outline, qreal ratio = 1.0);
};
