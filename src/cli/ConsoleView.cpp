// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/ConsoleView.h"

#include "cli/Console.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

ConsoleView::ConsoleView(Console &console) : m_console(console) {}

void ConsoleView::setText(Control control, const QString &text)
{
    m_texts[control] = text;
    if (control == Control::lblDownloading)
        m_console.status(text);
}

QString ConsoleView::text(Control control) const { return m_texts.value(control); }

void ConsoleView::setEnabled(Control, bool) {}

void ConsoleView::setVisible(Control, bool) {}

void ConsoleView::setBackColour(Control control, Colour colour)
{
    // The transmit lamp turns red once for every command sent.
    if (control == Control::Shape1 && colour == Colours::Red)
        m_console.commandSent();
}

void ConsoleView::setChecked(Control control, bool checked) { m_checked[control] = checked; }

bool ConsoleView::isChecked(Control control) const { return m_checked.value(control); }

void ConsoleView::clearRows(Control list)
{
    m_rows.remove(list);
    m_current.remove(list);
}

void ConsoleView::addRow(Control list, const QString &text) { m_rows[list] << text; }

int ConsoleView::rowCount(Control list) const { return int(m_rows.value(list).size()); }

void ConsoleView::setRowText(Control list, int row, const QString &text)
{
    QStringList &rows = m_rows[list];
    if (row >= 0 && row < rows.size())
        rows[row] = text;
}

int ConsoleView::currentRow(Control list) const { return m_current.value(list, -1); }

void ConsoleView::setCurrentRow(Control list, int row)
{
    if (row >= 0 && row < rowCount(list))
        m_current[list] = row;
}

MessageResult ConsoleView::messageBox(const QString &, const QString &, MessageButtons buttons,
                                      MessageIcon, MessageResult)
{
    switch (buttons) {
    case MessageButtons::YesNo:
        return MessageResult::No;
    case MessageButtons::OkCancel:
        return MessageResult::Cancel;
    case MessageButtons::Ok:
        break;
    }
    return MessageResult::Ok;
}

void ConsoleView::processEvents() { QCoreApplication::processEvents(); }
