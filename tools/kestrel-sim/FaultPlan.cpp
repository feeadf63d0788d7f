// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "FaultPlan.h"

using namespace Qt::StringLiterals;

bool FaultPlan::add(QStringView fault, QString *error)
{
    const qsizetype colon = fault.indexOf(u':');
    const QStringView name = colon < 0 ? fault : fault.first(colon);
    const QStringView value = colon < 0 ? QStringView() : fault.sliced(colon + 1);
    const bool wantsNumber =
        name == u"slow" || name == u"drop" || name == u"hangup" || name == u"lf" || name == u"tail";
    if (wantsNumber != (colon >= 0)) {
        *error = u"fault \"%1\": expected silent, slow:MS, cut, garbage, drop:N, hangup:N, lf:N, "
                 u"tail:N or deaf"_s.arg(fault);
        return false;
    }
    int number = 0;
    if (wantsNumber) {
        bool ok = false;
        number = value.toInt(&ok);
        if (!ok || number < (name == u"slow" ? 0 : 1)) {
            *error = u"fault \"%1\": bad number"_s.arg(fault);
            return false;
        }
    }
    if (name == u"silent")
        m_silent = true;
    else if (name == u"cut")
        m_cut = true;
    else if (name == u"garbage")
        m_garbage = true;
    else if (name == u"slow")
        m_slow = std::chrono::milliseconds(number);
    else if (name == u"drop")
        m_dropEvery = number;
    else if (name == u"hangup")
        m_hangupAfter = number;
    else if (name == u"lf")
        m_lfLostAt = number;
    else if (name == u"tail")
        m_tailAt = number;
    else if (name == u"deaf")
        m_deaf = true;
    else {
        *error = u"unknown fault \"%1\""_s.arg(fault);
        return false;
    }
    return true;
}

QByteArray FaultPlan::disturb(QByteArray reply, int command)
{
    // One line feed lost: the one after the echo.
    if (const qsizetype lf = reply.indexOf('\n'); command == m_lfLostAt && lf >= 0)
        reply.remove(lf, 1);
    if (m_garbage) {
        // Line noise of the reply's length, with the terminator at a random place. The raw
        // generator output is used directly so that a seed gives the same bytes everywhere.
        const qsizetype dot = m_random() % reply.size();
        for (qsizetype i = 0; i < reply.size(); ++i) {
            char c = static_cast<char>(m_random() & 0xFF);
            while (c == '.')
                c = static_cast<char>(m_random() & 0xFF);
            reply[i] = i == dot ? '.' : c;
        }
    }
    if (m_cut) {
        // The client never sees a terminator: the reply's own, or the one garbage placed.
        if (m_garbage)
            reply.replace('.', '?');
        else
            reply.chop(1);
    }
    return reply;
}
