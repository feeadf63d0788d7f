// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QColor>
#include <QWidget>

// A round indicator lamp (transmit / receive), drawn with a bezel so it reads as a LED.
class Lamp : public QWidget
{
    Q_OBJECT
public:
    explicit Lamp(QWidget *parent = nullptr);
    void setColour(const QColor &colour);
    QColor colour() const { return m_colour; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QColor m_colour;
};
