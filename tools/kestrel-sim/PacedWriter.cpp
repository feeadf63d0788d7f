// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "PacedWriter.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace {

constexpr long long BitsPerCharacter = 10;

} // namespace

PacedWriter::Clock::duration PacedWriter::wireTime(qsizetype bytes) const
{
    if (m_bitsPerSecond <= 0)
        return Clock::duration::zero();
    const auto nanoseconds =
        std::chrono::nanoseconds(1'000'000'000LL * BitsPerCharacter * bytes / m_bitsPerSecond);
    return std::chrono::duration_cast<Clock::duration>(nanoseconds);
}

PacedWriter::Clock::time_point PacedWriter::dueOf(qsizetype byteInBurst) const
{
    // A character is there for the receiver once its stop bit is through, not when it starts.
    return m_burstStart + wireTime(byteInBurst + 1);
}

void PacedWriter::send(const QByteArray &bytes, Clock::time_point earliest)
{
    if (bytes.isEmpty())
        return;
    if (m_queue.isEmpty()) {
        // A new burst starts once the last byte of the previous one has left the line.
        m_burstStart = std::max(earliest, m_burstStart + wireTime(m_sentInBurst));
        m_sentInBurst = 0;
    }
    m_queue += bytes;
}

bool PacedWriter::writeDue(int fd, Clock::time_point now)
{
    qsizetype due = m_queue.size();
    if (m_bitsPerSecond > 0) {
        due = 0;
        while (due < m_queue.size() && dueOf(m_sentInBurst + due) <= now)
            ++due;
    }
    if (due == 0)
        return true;
    const ssize_t written = ::write(fd, m_queue.constData(), due);
    if (written < 0) {
        m_blocked = errno == EAGAIN || errno == EWOULDBLOCK;
        if (m_blocked) {
            // The client has stopped reading; once it reads again the rest goes out paced from
            // then on, not in one catch-up burst.
            m_burstStart = now - wireTime(m_sentInBurst + 1);
        }
        return m_blocked || errno == EINTR;
    }
    m_blocked = false;
    m_queue.remove(0, written);
    m_sentInBurst += written;
    return true;
}

std::optional<PacedWriter::Clock::time_point> PacedWriter::nextDue() const
{
    if (m_queue.isEmpty())
        return std::nullopt;
    return dueOf(m_sentInBurst);
}
