// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPolygon>
#include <QRegion>

#include <array>

// The main window's outline: a rectangle with rounded corners, 48 vertices in design units
// (pixels at 96 DPI), traversed in order as one closed polygon.
class WindowOutline
{
public:
    static const std::array<QPoint, 48> &vertices();

    // The outline scaled by the factors and the display density (`pixelsPerDesignUnit`, 1.0 at
    // 96 DPI) and moved by the offsets; coordinates rounded to nearest, ties to even.
    static QPolygon polygon(float xScale, float yScale, qint16 xOffset, qint16 yOffset,
                            double pixelsPerDesignUnit = 1.0);
    static QRegion BuildWindowRegion(float xScale, float yScale, qint16 xOffset, qint16 yOffset,
                                     double pixelsPerDesignUnit = 1.0);
};
