// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/ConsoleUnitStatusView.h"

#include "cli/Console.h"

#include <QTime>

using namespace Qt::StringLiterals;

ConsoleUnitStatusView::ConsoleUnitStatusView(Console &console, qint16 unit)
    : m_console(console), m_unit(unit)
{
}

QString ConsoleUnitStatusView::stamp() const
{
    return QTime::currentTime().toString(u"HH:mm:ss.zzz"_s) + u" unit "_s +
           QString::number(m_unit) + u' ';
}

void ConsoleUnitStatusView::setLampLit(int k, bool lit)
{
    if (k < 1 || k > LampCount || m_lit[k] == lit)
        return;
    m_lit[k] = lit;
    if (m_printing)
        m_console.line(stamp() + u"bit %1 %2"_s.arg(k).arg(lit ? u"on"_s : u"off"_s));
}

QString ConsoleUnitStatusView::watchUnitText() const { return QString::number(m_unit); }

void ConsoleUnitStatusView::setStatusText(const QString &text)
{
    if (text == m_status)
        return;
    m_status = text;
    if (m_printing)
        m_console.line(stamp() + u"status "_s + text);
}

void ConsoleUnitStatusView::startPrinting() { m_printing = true; }
