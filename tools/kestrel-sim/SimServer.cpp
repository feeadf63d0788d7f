// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "SimServer.h"

#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// A line longer than this is garbage; only its tail is kept, so memory stays bounded.
constexpr qsizetype MaxLineBytes = 4096;
// Before a hang-up the client gets time to read the last answer: at most HangupGrace, but
// never less than HangupLinger, since the kernel hands written bytes to the slave's input
// queue a moment later and until then the queue looks read.
constexpr auto HangupGrace = std::chrono::seconds(1);
constexpr auto HangupLinger = std::chrono::milliseconds(100);
constexpr auto DrainCheck = std::chrono::milliseconds(5);

timespec toTimespec(std::chrono::nanoseconds wait)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(wait);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((wait - seconds).count())};
}

} // namespace

SimServer::SimServer(SimOptions options)
    : m_options(std::move(options)), m_writer(m_options.bitsPerSecond)
{
}

bool SimServer::start(QString *error)
{
    if (!m_line.open(error))
        return false;
    if (!m_options.linkPath.isEmpty() && !m_line.placeLink(m_options.linkPath, error))
        return false;
    if (!m_options.rowsPath.isEmpty()) {
        QFile rows(m_options.rowsPath);
        QString why;
        if (!rows.open(QIODevice::ReadOnly))
            why = rows.errorString();
        else
            m_tally.loadRows(rows.readAll(), &why);
        if (!why.isEmpty()) {
            *error = m_options.rowsPath + u": "_s + why;
            return false;
        }
    }
    if (!m_options.logPath.isEmpty() && !m_log.open(m_options.logPath, error))
        return false;
    saveState();
    if (m_stateWarned) {
        *error = m_options.statePath + u": cannot be written"_s;
        return false;
    }
    return true;
}

int SimServer::run(const volatile std::sig_atomic_t &stop, const sigset_t &waitMask)
{
    while (!stop) {
        const Clock::time_point now = Clock::now();
        answerDue(now);
        if (!m_writer.writeDue(m_line.master(), now)) {
            std::fprintf(stderr, "kestrel-sim: the line failed: %s\n", std::strerror(errno));
            return 1;
        }
        if (m_hangingUp && m_writer.idle()) {
            if (!m_hangupAt)
                m_hangupAt = now;
            const bool read = now >= *m_hangupAt + HangupLinger && m_line.unreadByClient() == 0;
            if (read || now >= *m_hangupAt + HangupGrace) {
                m_line.close();
                std::fprintf(stderr, "kestrel-sim: hung up after %d commands\n", m_received);
                return 0;
            }
        }

        pollfd fds[] = {
            {m_line.master(), static_cast<short>(POLLIN | (m_writer.blocked() ? POLLOUT : 0)), 0},
            {m_line.clientWatch(), POLLIN, 0},
        };
        timespec timeout{};
        const std::optional<Clock::time_point> wake = wakeUp(now);
        if (wake)
            timeout = toTimespec(std::max(*wake - now, Clock::duration::zero()));
        if (::ppoll(fds, 2, wake ? &timeout : nullptr, &waitMask) < 0) {
            if (errno == EINTR)
                continue;
            std::fprintf(stderr, "kestrel-sim: poll: %s\n", std::strerror(errno));
            return 1;
        }
        if (fds[1].revents & POLLIN)
            m_line.portEvents();
        // We hold a slave descriptor ourselves, so the line can only end if the system takes
        // the pseudo-terminal away; carrying on then would spin.
        const short line = fds[0].revents;
        const bool gone = (line & (POLLERR | POLLNVAL | POLLHUP)) && !(line & POLLIN);
        if (gone || ((line & POLLIN) && !receive(Clock::now()))) {
            std::fprintf(stderr, "kestrel-sim: the line was closed\n");
            return 1;
        }
    }
    return 0;
}

std::optional<SimServer::Clock::time_point> SimServer::wakeUp(Clock::time_point now) const
{
    std::optional<Clock::time_point> wake;
    auto earliest = [&wake](Clock::time_point t) { wake = wake ? std::min(*wake, t) : t; };
    if (!m_pending.isEmpty())
        earliest(m_pending.front().due);
    for (const auto &late : m_late)
        earliest(late.second);
    if (!m_writer.blocked()) {
        if (const auto due = m_writer.nextDue())
            earliest(*due);
    }
    if (m_hangingUp && m_writer.idle())
        earliest(now + DrainCheck);
    return wake;
}

bool SimServer::receive(Clock::time_point now)
{
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(m_line.master(), buffer, sizeof buffer);
        if (count < 0)
            return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
        if (count == 0)
            return false;
        if (m_hangingUp)
            continue; // the line is about to go; nothing more is taken
        for (const char c : QByteArrayView(buffer, count)) {
            if (m_partial.isEmpty())
                m_partialArrived = now;
            if (c != '\n') {
                m_partial += c;
                if (m_partial.size() > MaxLineBytes)
                    m_partial.remove(0, m_partial.size() - MaxLineBytes);
                continue;
            }
            // CR LF ends a line; a bare LF too, which is what terminal programs tend to send.
            const qsizetype wireBytes = m_partial.size() + 1;
            if (m_partial.endsWith('\r'))
                m_partial.chop(1);
            lineComplete(m_partial, wireBytes);
            m_partial.clear();
        }
    }
}

void SimServer::lineComplete(const QByteArray &line, qsizetype wireBytes)
{
    ++m_received;
    if (m_options.faults.deaf() && !m_writer.idle()) {
        m_log.record(line + " (ignored: came while answering)");
        return;
    }
    m_log.record(line);
    // The command has reached the system once the line has carried all of it; a line sent
    // right behind another one could not start before the first had passed.
    const Clock::time_point wireStart = std::max(m_partialArrived, m_inputFreeAt);
    m_inputFreeAt = wireStart + m_writer.wireTime(wireBytes);
    m_pending.append(
        {line, m_inputFreeAt + m_options.latency + m_options.faults.extraDelay(), m_received});
}

void SimServer::answerDue(Clock::time_point now)
{
    for (qsizetype i = 0; i < m_late.size();) {
        if (m_late[i].second <= now)
            m_writer.send(m_late.takeAt(i).first, now);
        else
            ++i;
    }
    while (!m_hangingUp && !m_pending.isEmpty() && m_pending.front().due <= now) {
        const Command command = m_pending.takeFirst();
        FaultPlan &faults = m_options.faults;
        if (!faults.drops(command.number)) {
            const TallySystem::Answer answer = m_tally.execute(command.line);
            if (answer.tableChanged)
                saveState();
            if (faults.answers()) {
                // The configurator takes the first "." as the end of the reply, so one typed
                // into a command must not come back in the echo.
                QByteArray echo = command.line;
                echo.replace('.', ',');
                QByteArray bytes =
                    faults.disturb(echo + "\r\n" + answer.line + "\r\n.", command.number);
                if (faults.splitsTail(command.number) && bytes.endsWith("\r\n.")) {
                    m_late.append({bytes.right(3), command.due + FaultPlan::TailDelay});
                    bytes.chop(3);
                }
                m_writer.send(bytes, command.due);
            }
        }
        if (faults.hangsUpAfter(command.number)) {
            m_hangingUp = true;
            m_pending.clear();
        }
    }
}

void SimServer::saveState()
{
    if (m_options.statePath.isEmpty())
        return;
    // Written aside and renamed over the old file, so a reader never sees half a table.
    QSaveFile file(m_options.statePath);
    const QByteArray text = m_tally.tallyText();
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
        return;
    if (!m_stateWarned) {
        std::fprintf(stderr, "kestrel-sim: %s: %s\n", qPrintable(m_options.statePath),
                     qPrintable(file.errorString()));
        m_stateWarned = true;
    }
}
