// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/WindowOutline.h"

#include <cmath>

const std::array<QPoint, 48> &WindowOutline::vertices()
{
    static const std::array<QPoint, 48> table{{
        {58, 29},   {548, 29},  {549, 30},  {551, 30},  {552, 31},  {553, 31},  {555, 33},
        {556, 33},  {559, 36},  {559, 37},  {561, 39},  {562, 42},  {563, 45},  {563, 552},
        {562, 553}, {562, 555}, {561, 556}, {561, 557}, {559, 559}, {559, 560}, {555, 564},
        {554, 564}, {552, 566}, {549, 567}, {546, 568}, {59, 568},  {58, 567},  {56, 567},
        {55, 566},  {54, 566},  {52, 564},  {51, 564},  {47, 560},  {47, 559},  {45, 557},
        {44, 554},  {43, 551},  {43, 44},   {44, 43},   {44, 41},   {45, 40},   {45, 39},
        {47, 37},   {47, 36},   {50, 33},   {51, 33},   {53, 31},   {56, 30},
    }};
    return table;
}

QPolygon WindowOutline::polygon(float xScale, float yScale, qint16 xOffset, qint16 yOffset,
                                double pixelsPerDesignUnit)
{
    QPolygon poly;
    poly.reserve(48);
    for (const QPoint &v : vertices()) {
        const double x = v.x() * double(xScale) * pixelsPerDesignUnit + xOffset;
        const double y = v.y() * double(yScale) * pixelsPerDesignUnit + yOffset;
        poly << QPoint(int(std::nearbyint(x)), int(std::nearbyint(y)));
    }
    return poly;
}

QRegion WindowOutline::BuildWindowRegion(float xScale, float yScale, qint16 xOffset, qint16 yOffset,
                                         double pixelsPerDesignUnit)
{
    return QRegion(polygon(xScale, yScale, xOffset, yOffset, pixelsPerDesignUnit), Qt::OddEvenFill);
}
