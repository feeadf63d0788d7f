// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "view/MainView.h"

#include <QHash>
#include <QStringList>

class Console;

// The main window as kestrelctl has it: no window at all. Texts, states and list rows are only
// kept; the transmit lamp counts commands and the progress label feeds the progress line.
// Nobody is there to answer a question: every question is answered No (or Cancel). The
// commands learn how things went from the logic's results, not from what it shows.
class ConsoleView : public MainView
{
public:
    explicit ConsoleView(Console &console);

    void setText(Control control, const QString &text) override;
    QString text(Control control) const override;
    void setToolTip(Control, const QString &) override {}
    void setEnabled(Control control, bool enabled) override;
    void setVisible(Control control, bool visible) override;
    void setBackColour(Control control, Colour colour) override;
    void setForeColour(Control, Colour) override {}
    void setChecked(Control control, bool checked) override;
    bool isChecked(Control control) const override;
    void setHeightTwips(Control, int) override {}
    void setFocus(Control) override {}
    void selectAllText(Control) override {}
    void repaintNow(Control) override {}

    void setColumnWidths(Control, const QList<int> &) override {}
    void clearRows(Control list) override;
    void addRow(Control list, const QString &text) override;
    int rowCount(Control list) const override;
    void setRowText(Control list, int row, const QString &text) override;
    void setRowColour(Control, int, Colour) override {}
    int currentRow(Control list) const override;
    void setCurrentRow(Control list, int row) override;

    void showWindow(Window, bool) override {}
    MessageResult messageBox(const QString &text, const QString &title, MessageButtons buttons,
                             MessageIcon icon, MessageResult defaultButton) override;
    QString chooseFile(FileDialog, const QString &, const QString &) override { return {}; }
    void processEvents() override;
    // Nothing to paint, and no input to hold back.
    void beginBlocking() override {}
    void endBlocking() override {}
    void beep() override {}

private:
    Console &m_console;
    QHash<Control, QString> m_texts;
    QHash<Control, bool> m_checked;
    QHash<Control, QStringList> m_rows;
    QHash<Control, int> m_current;
};
