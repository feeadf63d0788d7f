// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "view/MainView.h"

#include <QHash>
#include <QPixmap>
#include <QWidget>

#include <functional>

class Dialogs;
class QAbstractButton;
class QLineEdit;
class TallyList;

// frmKestrelMain: the borderless, shaped front panel with the three lists and every control at
// its place. It implements the view the logic writes through; the application wires the
// controls' notifications to the logic.
class MainWindow : public QWidget, public MainView
{
    Q_OBJECT
public:
    static constexpr int InnerWidthTwips = 9825;
    static constexpr int InnerHeightTwips = 8925;

    explicit MainWindow(Dialogs &dialogs, QWidget *parent = nullptr);
    ~MainWindow() override;

    // The controls, for wiring their notifications and for tests.
    QWidget *control(Control c) const { return m_controls.value(c); }
    TallyList *list(Control c) const;
    QAbstractButton *button(Control c) const;
    QLineEdit *entry() const;
    QAbstractButton *minimiseButton() const { return m_cmdMin; }
    QAbstractButton *closeButton() const { return m_cmdClose; }

    // A secondary window that showWindow shows and hides.
    void registerWindow(Window w, QWidget *widget) { m_windows.insert(w, widget); }
    // How "X" ends the process: at once, nothing unloaded. Tests replace it.
    void setEndProcess(std::function<void()> end) { m_endProcess = std::move(end); }
    // The shape, as built by the outline.
    void applyOutline(const QRegion &region);

    // The widget's own overloads stay reachable beside the view's.
    using QWidget::setEnabled;
    using QWidget::setFocus;
    using QWidget::setToolTip;
    using QWidget::setVisible;

    // MainView
    void setText(Control c, const QString &text) override;
    QString text(Control c) const override;
    void setToolTip(Control c, const QString &text) override;
    void setEnabled(Control c, bool enabled) override;
    void setVisible(Control c, bool visible) override;
    void setBackColour(Control c, Colour colour) override;
    void setForeColour(Control c, Colour colour) override;
    void setChecked(Control c, bool checked) override;
    bool isChecked(Control c) const override;
    void setHeightTwips(Control c, int twips) override;
    void setFocus(Control c) override;
    void selectAllText(Control c) override;
    void repaintNow(Control c) override;
    void setColumnWidths(Control list, const QList<int> &widths) override;
    void clearRows(Control list) override;
    void addRow(Control list, const QString &text) override;
    int rowCount(Control list) const override;
    void setRowText(Control list, int row, const QString &text) override;
    void setRowColour(Control list, int row, Colour colour) override;
    int currentRow(Control list) const override;
    void setCurrentRow(Control list, int row) override;
    void showWindow(Window w, bool shown) override;
    MessageResult messageBox(const QString &text, const QString &title, MessageButtons buttons,
                             MessageIcon icon, MessageResult defaultButton) override;
    QString chooseFile(FileDialog kind, const QString &title, const QString &filter) override;
    void processEvents() override;
    void beginBlocking() override;
    void endBlocking() override;
    void beep() override;

    static QColor toQColor(Colour c);

signals:
    // The desktop closes the window (not the "X" button, which ends the process at once).
    void unloading();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void build();
    void paintIfBlocked(QWidget *w);

    Dialogs &m_dialogs;
    QHash<Control, QWidget *> m_controls;
    QHash<Window, QWidget *> m_windows;
    QAbstractButton *m_cmdMin = nullptr;
    QAbstractButton *m_cmdClose = nullptr;
    QPixmap m_artwork;
    std::function<void()> m_endProcess;
    bool m_downloading = false; // between beginBlocking and endBlocking
};
