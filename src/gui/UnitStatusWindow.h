// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "view/SecondaryViews.h"

#include <QList>
#include <QPointer>
#include <QWidget>

class QAbstractButton;
class QFrame;
class QLabel;
class QToolButton;

// frmUnitBits, "Unit Status": a small, separate, non-modal window beside the main window with
// the 32 lamps of the watched unit, its number and status reply, and the spin control UpDown1
// (two arrow buttons) that steps through the enabled units. Hiding it keeps it as it is; a
// close by its close box is reported through unloading().
class UnitStatusWindow : public QWidget, public UnitStatusView
{
    Q_OBJECT
public:
    static constexpr int InnerWidthTwips = 2460;
    static constexpr int InnerHeightTwips = 4935;
    static constexpr int LampWidthTwips = 150;
    static constexpr int LampHeightTwips = 390;
    static constexpr int NumberSizeTwips = 195; // the Label1 numbers above the lamps

    // Lamp k's place in twips; rows 3 and 4 sit 15 twips further right than rows 1 and 2.
    static QPoint lampTwips(int k);

    // `mainWindow` is the window it is placed beside; it must outlive this one.
    explicit UnitStatusWindow(const QWidget *mainWindow, QWidget *parent = nullptr);
    ~UnitStatusWindow() override;

    // The controls, for wiring and for tests.
    QFrame *lamp(int k) const { return m_lamps.value(k - 1); }
    QAbstractButton *closeButton() const; // cmdClose
    QAbstractButton *upButton() const;    // UpDown1's arrows
    QAbstractButton *downButton() const;
    bool isLampLit(int k) const;

    // UnitStatusView
    void setLampLit(int k, bool lit) override;
    void setWatchUnitText(const QString &text) override;
    QString watchUnitText() const override;
    void setStatusText(const QString &text) override;
    void setSpinRange(int minimum, int maximum) override;
    void setSpinValue(int value) override;
    int spinValue() const override { return m_spinValue; }
    void placeBesideMainWindow(int leftTwips, int topTwips) override;

signals:
    // The operator stepped UpDown1 to a new value (setSpinValue never raises it).
    void UpDown1Changed(int value);
    // The window is being closed by its close box.
    void unloading();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void build();
    void step(int delta);

    QPointer<const QWidget> m_mainWindow;
    QList<QFrame *> m_lamps;
    QLabel *m_lblWatchUnit = nullptr;
    QLabel *m_lblStatus = nullptr;
    QToolButton *m_up = nullptr;
    QToolButton *m_down = nullptr;
    QAbstractButton *m_cmdClose = nullptr;
    int m_spinMinimum = 1;
    int m_spinMaximum = 1;
    int m_spinValue = 1;
};
