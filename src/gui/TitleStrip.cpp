// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/TitleStrip.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QToolButton>
#include <QWindow>

TitleStrip::TitleStrip(QWidget *window) : QWidget(window)
{
    setObjectName(QStringLiteral("titleStrip"));
    QFont bold = font();
    bold.setBold(true);
    setFont(bold);
    const int height = fontMetrics().height() + 8;
    setGeometry(0, 0, window->width(), height);

    auto *close = new QToolButton(this);
    close->setObjectName(QStringLiteral("titleClose"));
    close->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton, nullptr, this));
    close->setAutoRaise(true);
    close->setFocusPolicy(Qt::NoFocus);
    close->setGeometry(width() - height + 2, 2, height - 4, height - 4);
    connect(close, &QToolButton::clicked, window, &QWidget::close);
}

void TitleStrip::addTo(QWidget *window)
{
    if (!QGuiApplication::platformName().startsWith(QStringLiteral("wayland")))
        return;
    // Alone: beside the title hints Qt drops it.
    window->setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    const QList<QWidget *> controls =
        window->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    auto *strip = new TitleStrip(window);
    for (QWidget *c : controls)
        c->move(c->pos() + QPoint(0, strip->height()));
    window->setFixedSize(window->width(), window->height() + strip->height());
}

void TitleStrip::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.fillRect(rect(), QColor(44, 44, 108)); // the panel's dark blue
    p.setPen(Qt::white);
    p.drawText(rect().adjusted(6, 0, -height(), 0), Qt::AlignVCenter | Qt::AlignLeft,
               window()->windowTitle());
}

void TitleStrip::mousePressEvent(QMouseEvent *event)
{
    if (QWindow *handle = window()->windowHandle())
        handle->startSystemMove();
    event->accept();
}
