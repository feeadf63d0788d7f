// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QRect>
#include <QWidget>

#include <cmath>

// Control geometry is given in twips (1/1440 inch): 15 twips to a pixel at 96 logical DPI,
// scaled with the screen's logical DPI elsewhere.
class Twips
{
public:
    explicit Twips(double logicalDpi = 96.0) : m_dpi(logicalDpi) {}
    static Twips forWidget(const QWidget *w) { return Twips(w ? w->logicalDpiX() : 96.0); }

    int px(int twips) const { return static_cast<int>(std::nearbyint(twips * m_dpi / 1440.0)); }
    QRect rect(int left, int top, int width, int height) const
    {
        return QRect(px(left), px(top), px(width), px(height));
    }
    double pixelsPerDesignUnit() const { return m_dpi / 96.0; }

private:
    double m_dpi = 96.0;
};
