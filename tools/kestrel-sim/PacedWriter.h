// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <chrono>
#include <optional>

// Sends bytes no faster than a serial line of the given bit rate would (10 bits a character:
// start, 8 data, stop). Byte k of a burst (from 0) is due k + 1 character times after the
// burst's start, computed from the start each time, so rounding and late wake-ups never add up
// to drift.
// A bit rate of 0 sends at once.
class PacedWriter
{
public:
    using Clock = std::chrono::steady_clock;

    explicit PacedWriter(int bitsPerSecond) : m_bitsPerSecond(bitsPerSecond) {}

    // How long `bytes` characters occupy the line.
    Clock::duration wireTime(qsizetype bytes) const;

    // Queues bytes; the first of them goes on the line at `earliest`, or when the line is
    // free again, whichever is later.
    void send(const QByteArray &bytes, Clock::time_point earliest);

    // Writes what is due by `now`. False when the line is gone.
    bool writeDue(int fd, Clock::time_point now);

    bool idle() const { return m_queue.isEmpty(); }
    // Waiting for the client to read before more fits into the line.
    bool blocked() const { return m_blocked; }
    // When the next queued byte is due; empty when nothing is queued.
    std::optional<Clock::time_point> nextDue() const;

private:
    Clock::time_point dueOf(qsizetype byteInBurst) const;

    int m_bitsPerSecond = 0;
    QByteArray m_queue;               // not yet written
    Clock::time_point m_burstStart{}; // when the current burst began to occupy the line
    qsizetype m_sentInBurst = 0;      // bytes of the current burst already written
    bool m_blocked = false;
};
