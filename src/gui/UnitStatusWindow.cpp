// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/UnitStatusWindow.h"

#include "gui/Palette.h"
#include "gui/TitleStrip.h"
#include "gui/Twips.h"

#include <QCloseEvent>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>

namespace {

constexpr int LampsPerRow = 8;
constexpr int RowTops[] = {360, 1050, 1740, 2430};
constexpr int ColumnLefts[] = {450, 630, 810, 990, 1290, 1470, 1650, 1830};
constexpr int LowerRowsShift = 15; // rows 3 and 4
// The numbered columns: first and last lamp of each group of four.
constexpr int NumberedColumns[] = {1, 4, 5, 8};
// The numbers sit this far above their lamps' tops, centred over them.
constexpr int NumberRise = 210;

const QColor LitColour(255, 0, 0);
const QColor DarkColour(0, 0, 0);
const QColor CloseButtonColour(255, 192, 192);

QFont sansSerif12()
{
    QFont f(QStringLiteral("MS Sans Serif"));
    f.setPointSizeF(12);
    return f;
}

} // namespace

QPoint UnitStatusWindow::lampTwips(int k)
{
    const int row = (k - 1) / LampsPerRow;
    const int column = (k - 1) % LampsPerRow;
    return QPoint(ColumnLefts[column] + (row >= 2 ? LowerRowsShift : 0), RowTops[row]);
}

UnitStatusWindow::UnitStatusWindow(const QWidget *mainWindow, QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                          Qt::WindowCloseButtonHint),
      m_mainWindow(mainWindow)
{
    setObjectName(QStringLiteral("frmUnitBits"));
    setWindowTitle(QStringLiteral("Unit Status"));
    // Hidden, not destroyed: a window closed by its box is shown again by the next tick.
    setAttribute(Qt::WA_DeleteOnClose, false);
    // It only watches: the keyboard stays with the main window's output list.
    setAttribute(Qt::WA_ShowWithoutActivating);
    build();
}

UnitStatusWindow::~UnitStatusWindow() = default;

void UnitStatusWindow::build()
{
    const Twips t = Twips::forWidget(this);
    setFixedSize(t.px(InnerWidthTwips), t.px(InnerHeightTwips));

    for (int k = 1; k <= LampCount; ++k) {
        auto *lamp = new QFrame(this);
        lamp->setObjectName(QStringLiteral("Shape3"));
        lamp->setProperty("index", k);
        const QPoint at = lampTwips(k);
        lamp->setGeometry(t.rect(at.x(), at.y(), LampWidthTwips, LampHeightTwips));
        lamp->setFrameShape(QFrame::Box);
        lamp->setFrameShadow(QFrame::Plain);
        lamp->setAutoFillBackground(true);
        setPaletteColour(lamp, QPalette::WindowText, DarkColour); // the outline
        setPaletteColour(lamp, QPalette::Window, DarkColour);
        m_lamps << lamp;
    }

    QFont numberFont(QStringLiteral("Arial"));
    numberFont.setPointSizeF(8.25);
    int index = 0;
    for (int row = 0; row < 4; ++row) {
        for (int column : NumberedColumns) {
            const int k = row * LampsPerRow + column;
            const QPoint at = lampTwips(k);
            auto *number = new QLabel(QString::number(k), this);
            number->setObjectName(QStringLiteral("Label1"));
            number->setProperty("index", index++);
            number->setFont(numberFont);
            number->setAlignment(Qt::AlignCenter);
            number->setGeometry(t.rect(at.x() - (NumberSizeTwips - LampWidthTwips) / 2,
                                       at.y() - NumberRise, NumberSizeTwips, NumberSizeTwips));
        }
    }

    auto *unitCaption = new QLabel(QStringLiteral("Unit"), this);
    unitCaption->setObjectName(QStringLiteral("Label2"));
    unitCaption->setFont(sansSerif12());
    unitCaption->setGeometry(t.rect(450, 3120, 585, 315));

    m_lblWatchUnit = new QLabel(QStringLiteral("1"), this);
    m_lblWatchUnit->setObjectName(QStringLiteral("lblWatchUnit"));
    m_lblWatchUnit->setFont(sansSerif12());
    m_lblWatchUnit->setAlignment(Qt::AlignCenter);
    m_lblWatchUnit->setGeometry(t.rect(1260, 3120, 300, 315));

    // UpDown1: two arrows, up stepping up. They never take the focus, which belongs to the
    // main window's output list.
    auto *spin = new QWidget(this);
    spin->setObjectName(QStringLiteral("UpDown1"));
    const QRect spinRect = t.rect(1680, 3060, 255, 465);
    spin->setGeometry(spinRect);
    m_up = new QToolButton(spin);
    m_up->setArrowType(Qt::UpArrow);
    m_up->setGeometry(0, 0, spinRect.width(), spinRect.height() / 2);
    m_down = new QToolButton(spin);
    m_down->setArrowType(Qt::DownArrow);
    m_down->setGeometry(0, spinRect.height() / 2, spinRect.width(),
                        spinRect.height() - spinRect.height() / 2);
    for (QToolButton *b : {m_up, m_down}) {
        b->setAutoRepeat(true); // held down, it keeps stepping
        b->setFocusPolicy(Qt::NoFocus);
    }
    connect(m_up, &QToolButton::clicked, this, [this] { step(+1); });
    connect(m_down, &QToolButton::clicked, this, [this] { step(-1); });

    m_lblStatus = new QLabel(QStringLiteral("0"), this);
    m_lblStatus->setObjectName(QStringLiteral("lblStatus"));
    m_lblStatus->setFont(sansSerif12());
    m_lblStatus->setAlignment(Qt::AlignCenter);
    m_lblStatus->setFrameShape(QFrame::Panel);
    m_lblStatus->setFrameShadow(QFrame::Sunken);
    m_lblStatus->setGeometry(t.rect(450, 3690, 1485, 345));

    auto *close = new QPushButton(QStringLiteral("Close Window"), this);
    close->setObjectName(QStringLiteral("cmdClose"));
    close->setGeometry(t.rect(390, 4320, 1635, 405));
    close->setAutoFillBackground(true);
    setPaletteColour(close, QPalette::Button, CloseButtonColour);
    m_cmdClose = close;
    TitleStrip::addTo(this);
}

QAbstractButton *UnitStatusWindow::closeButton() const { return m_cmdClose; }
QAbstractButton *UnitStatusWindow::upButton() const { return m_up; }
QAbstractButton *UnitStatusWindow::downButton() const { return m_down; }

bool UnitStatusWindow::isLampLit(int k) const
{
    const QFrame *l = lamp(k);
    return l && l->palette().color(QPalette::Window) == LitColour;
}

void UnitStatusWindow::setLampLit(int k, bool lit)
{
    if (QFrame *l = lamp(k)) {
        if (isLampLit(k) != lit)
            setPaletteColour(l, QPalette::Window, lit ? LitColour : DarkColour);
    }
}

void UnitStatusWindow::setWatchUnitText(const QString &text) { m_lblWatchUnit->setText(text); }

QString UnitStatusWindow::watchUnitText() const { return m_lblWatchUnit->text(); }

void UnitStatusWindow::setStatusText(const QString &text) { m_lblStatus->setText(text); }

void UnitStatusWindow::setSpinRange(int minimum, int maximum)
{
    m_spinMinimum = minimum;
    m_spinMaximum = std::max(minimum, maximum);
    m_spinValue = std::clamp(m_spinValue, m_spinMinimum, m_spinMaximum);
}

void UnitStatusWindow::setSpinValue(int value)
{
    m_spinValue = std::clamp(value, m_spinMinimum, m_spinMaximum);
}

void UnitStatusWindow::step(int delta)
{
    // No wrapping: at either end a further step changes nothing and reports nothing.
    const int value = std::clamp(m_spinValue + delta, m_spinMinimum, m_spinMaximum);
    if (value == m_spinValue)
        return;
    m_spinValue = value;
    emit UpDown1Changed(value);
}

void UnitStatusWindow::placeBesideMainWindow(int leftTwips, int topTwips)
{
    const Twips t = Twips::forWidget(this);
    const QPoint origin = m_mainWindow ? m_mainWindow->frameGeometry().topLeft() : QPoint();
    move(origin + QPoint(t.px(leftTwips), t.px(topTwips)));
}

void UnitStatusWindow::closeEvent(QCloseEvent *event)
{
    emit unloading();
    event->accept();
}
