// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "view/MainView.h"

#include <QColor>
#include <QPalette>
#include <QWidget>

// The main window's ground behind the artwork, the lists and the entry box.
inline QColor groundColour()
{
    return QColor(Colours::ListBlue.red, Colours::ListBlue.green, Colours::ListBlue.blue);
}

inline void setPaletteColour(QWidget *w, QPalette::ColorRole role, const QColor &c)
{
    QPalette p = w->palette();
    p.setColor(role, c);
    w->setPalette(p);
}
