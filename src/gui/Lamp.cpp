// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/Lamp.h"

#include <QPainter>
#include <QRadialGradient>

Lamp::Lamp(QWidget *parent) : QWidget(parent), m_colour(palette().color(QPalette::Button)) {}

void Lamp::setColour(const QColor &colour)
{
    if (colour == m_colour)
        return;
    m_colour = colour;
    update();
}

void Lamp::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QRadialGradient glow(r.center() - QPointF(r.width() / 5, r.height() / 5), r.width() / 1.5);
    glow.setColorAt(0, m_colour.lighter(160));
    glow.setColorAt(1, m_colour);
    p.setPen(QPen(QColor(20, 20, 40), 1));
    p.setBrush(glow);
    p.drawEllipse(r);
}
