// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/Console.h"

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {
// A line at most this often: a terminal over a slow link must not hold the exchanges up.
constexpr std::chrono::milliseconds RedrawInterval{100};
} // namespace

Console::Console(bool quiet, bool progress) : m_quiet(quiet), m_progress(progress && !quiet) {}

QString Console::printable(const QString &text, qsizetype max)
{
    QString out = text.left(max);
    for (QChar &c : out) {
        if (c.unicode() < 0x20 || c.unicode() >= 0x7F)
            c = u'?';
    }
    return out;
}

bool Console::write(const QByteArray &bytes)
{
    clearLine();
    const std::size_t n = std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stdout);
    return std::fflush(stdout) == 0 && n == std::size_t(bytes.size());
}

bool Console::line(const QString &text) { return write(text.toLocal8Bit() + '\n'); }

void Console::error(const QString &text)
{
    clearLine();
    std::fprintf(stderr, "kestrelctl: %s\n", text.toLocal8Bit().constData());
    std::fflush(stderr);
}

void Console::note(const QString &text)
{
    if (!m_quiet)
        error(text);
}

void Console::begin(const QString &phase, int plannedCommands, int bytesPerExchange)
{
    m_bytesPerExchange = bytesPerExchange;
    m_phase = phase;
    m_status.clear();
    m_planned = plannedCommands;
    m_sent = 0;
    m_lastDraw = {};
    draw();
}

void Console::commandSent()
{
    ++m_sent;
    draw();
}

void Console::status(const QString &text)
{
    m_status = text.simplified();
    draw();
}

void Console::draw()
{
    if (!m_progress || m_phase.isEmpty())
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now - m_lastDraw < RedrawInterval)
        return;
    m_lastDraw = now;
    QString text = m_phase + u": "_s;
    if (!m_status.isEmpty())
        text += m_status + u", "_s;
    text += u"%1 commands sent"_s.arg(m_sent);
    if (m_planned > m_sent) {
        const double seconds =
            double(m_planned - m_sent) * m_bytesPerExchange * BitsPerCharacter / LineBitsPerSecond;
        text += u" of %1, about %2 s left"_s.arg(m_planned).arg(seconds, 0, 'f', 1);
    }
    // \r and clear to the end of the line: the line is rewritten in place.
    std::fprintf(stderr, "\r%s\033[K", text.toLocal8Bit().constData());
    std::fflush(stderr);
    m_drawn = true;
}

void Console::clearLine()
{
    if (m_drawn) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        m_drawn = false;
    }
}

void Console::end()
{
    clearLine();
    m_phase.clear();
}
