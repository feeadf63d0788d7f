// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QWidget>

// The title bar of a secondary window where the program draws it itself (native Wayland): the
// toolkit's own there offers maximise, which a window of fixed size has no use for, and cuts a
// narrow window's title short. The strip shows the whole title and a close box, and a press on
// it moves the window.
class TitleStrip : public QWidget
{
    Q_OBJECT
public:
    // On Wayland: `window` becomes frameless and grows by the strip, its controls move down
    // below it. Elsewhere the desktop's frame stays.
    static void addTo(QWidget *window);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    explicit TitleStrip(QWidget *window);
};
