// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/PanelArtwork.h"

#include "gui/Palette.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace {

void screw(QPainter &p, QPointF c)
{
    QRadialGradient head(c - QPointF(1.5, 1.5), 6);
    head.setColorAt(0, QColor(225, 225, 235));
    head.setColorAt(1, QColor(120, 120, 140));
    p.setPen(QPen(QColor(40, 40, 70), 1));
    p.setBrush(head);
    p.drawEllipse(c, 5, 5);
    p.setPen(QPen(QColor(60, 60, 80), 1.4));
    p.drawLine(c + QPointF(-3, 2), c + QPointF(3, -2));
}

// A recessed area: dark inside, shadow on the top and left edge, light on the bottom and right.
void recess(QPainter &p, const QRectF &r, int radius)
{
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(52, 52, 118));
    p.drawRoundedRect(r, radius, radius);
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QColor(30, 30, 80), 2));
    p.drawLine(r.topLeft() + QPointF(radius, 0), r.topRight() - QPointF(radius, 0));
    p.drawLine(r.topLeft() + QPointF(0, radius), r.bottomLeft() - QPointF(0, radius));
    p.setPen(QPen(QColor(140, 140, 215), 1));
    p.drawLine(r.bottomLeft() + QPointF(radius, 0), r.bottomRight() - QPointF(radius, 0));
    p.drawLine(r.topRight() + QPointF(0, radius), r.bottomRight() - QPointF(0, radius));
}

void engraved(QPainter &p, const QRectF &r, const QString &text, const QFont &font,
              Qt::Alignment align)
{
    p.setFont(font);
    p.setPen(QColor(35, 35, 90));
    p.drawText(r.translated(1, 1), align, text);
    p.setPen(QColor(200, 200, 245));
    p.drawText(r, align, text);
}

} // namespace

QPixmap PanelArtwork::draw(const QPolygon &outline, qreal ratio)
{
    QPixmap pixmap(QSize(Width, Height) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(groundColour());

    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF body = QRectF(outline.boundingRect());

    // Brushed face: a cool vertical gradient with fine horizontal grain.
    QPainterPath face;
    face.addPolygon(QPolygonF(outline));
    face.closeSubpath();
    QLinearGradient metal(body.topLeft(), body.bottomLeft());
    metal.setColorAt(0.0, QColor(112, 112, 196));
    metal.setColorAt(0.12, QColor(92, 92, 180));
    metal.setColorAt(1.0, QColor(66, 66, 148));
    p.fillPath(face, metal);
    p.save();
    p.setClipPath(face);
    p.setPen(QPen(QColor(255, 255, 255, 10), 1));
    for (int y = int(body.top()); y < body.bottom(); y += 3)
        p.drawLine(QPointF(body.left(), y), QPointF(body.right(), y));
    p.restore();

    // Bevel of the casing.
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QColor(28, 28, 70), 2));
    p.drawPath(face);
    p.setPen(QPen(QColor(170, 170, 235, 160), 1));
    p.drawPath(face.translated(1, 1));

    // Header band with the maker's name.
    const QRectF header(body.left() + 8, body.top() + 8, body.width() - 16, 40);
    QLinearGradient band(header.topLeft(), header.bottomLeft());
    band.setColorAt(0, QColor(58, 58, 132));
    band.setColorAt(1, QColor(44, 44, 108));
    p.setPen(QPen(QColor(30, 30, 80), 1));
    p.setBrush(band);
    p.drawRoundedRect(header, 6, 6);
    QFont title(QStringLiteral("Arial"), 17, QFont::Black);
    title.setLetterSpacing(QFont::AbsoluteSpacing, 4);
    engraved(p, QRectF(92, header.top() + 1, 180, 26), QStringLiteral("KESTREL"), title,
             Qt::AlignLeft | Qt::AlignVCenter);
    QFont sub(QStringLiteral("Arial"), 6, QFont::Bold);
    sub.setLetterSpacing(QFont::AbsoluteSpacing, 2);
    engraved(p, QRectF(94, header.top() + 25, 200, 12), QStringLiteral("TALLY MATRIX CONFIGURATOR"),
             sub, Qt::AlignLeft | Qt::AlignVCenter);

    // Bezels for the lamps and the window buttons.
    recess(p, QRectF(56, 49, 28, 21), 5);
    recess(p, QRectF(518, 50, 28, 21), 5);
    recess(p, QRectF(468, 46, 52, 28), 5);

    // The working area: lists and their headings.
    recess(p, QRectF(62, 104, 480, 306), 8);
    // The selection read-out and the control rows.
    recess(p, QRectF(62, 410, 480, 26), 6);
    p.setPen(QPen(QColor(40, 40, 96), 1));
    p.drawLine(QPointF(70, 442), QPointF(534, 442));
    p.setPen(QPen(QColor(150, 150, 220), 1));
    p.drawLine(QPointF(70, 443), QPointF(534, 443));

    // Ventilation grille and rating plate.
    p.setPen(Qt::NoPen);
    for (int k = 0; k < 6; ++k) {
        const QRectF slot(420 + k * 20, 526, 12, 26);
        p.setBrush(QColor(34, 34, 86));
        p.drawRoundedRect(slot, 5, 5);
        p.setBrush(QColor(150, 150, 220, 90));
        p.drawRoundedRect(slot.adjusted(1, 20, -1, 0), 2, 2);
    }
    QFont plate(QStringLiteral("Arial"), 6, QFont::Bold);
    plate.setLetterSpacing(QFont::AbsoluteSpacing, 1.5);
    engraved(p, QRectF(70, 540, 330, 14), QStringLiteral("SERIAL 9600 8N1  \u00b7  STUDIO TALLY"),
             plate, Qt::AlignLeft | Qt::AlignVCenter);

    for (QPointF c :
         {QPointF(body.left() + 12, body.top() + 60), QPointF(body.right() - 12, body.top() + 60),
          QPointF(body.left() + 12, body.bottom() - 14),
          QPointF(body.right() - 12, body.bottom() - 14)})
        screw(p, c);
    return pixmap;
}
