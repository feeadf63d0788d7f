// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/LinkTiming.h"
#include "link/SerialPort.h"

#include <QHash>
#include <QList>
#include <QObject>

#include <map>
#include <optional>

// An in-memory serial port for tests. It records every byte written, answers each command
// line (the bytes before CR LF) from a script, and keeps a fake monotonic clock that only its
// waits (and the pause it hands out) move on, so that time-outs are instant and exact.
class ScriptedPort : public SerialPort
{
public:
    // Bytes that arrive `after` the command line was written; a reply is chunks in time order,
    // none at all is silence.
    struct Chunk
    {
        Duration after{};
        QByteArray bytes;
    };
    using Reply = QList<Chunk>;

    static Reply bytes(const QByteArray &b) { return {Chunk{Duration::zero(), b}}; }
    // As the tally system answers: the command echoed, CR LF, the reply line, CR LF, ".".
    static Reply answer(const QByteArray &command, const QByteArray &line)
    {
        return bytes(command + "\r\n" + line + "\r\n.");
    }
    // Replies used in order for each line equal to `command`, before the responder.
    void script(const QByteArray &command, const Reply &reply) { m_scripts[command] << reply; }
    // Answers the other lines; nullopt is silence.
    std::function<std::optional<Reply>(const QByteArray &command)> responder;
    // Runs as soon as a whole command line has been written, in the middle of its exchange.
    std::function<void(const QByteArray &command)> onCommand;

    QByteArray written;         // every byte, in order
    QList<QByteArray> commands; // complete lines, CR LF taken off
    std::chrono::steady_clock::time_point now{std::chrono::hours(24) - std::chrono::minutes(1)};
    MonotonicClock clock()
    {
        return [this] { return now; };
    }
    Pause pause()
    {
        return [this](std::chrono::milliseconds t) { now += t; };
    }

    void PortSetNumber(int) override {}
    void PortSetDevice(const QString &) override {}
    bool PortOpen() override { return true; }
    void PortClose() override {}
    void PortWrite(const QByteArray &b) override
    {
        written += b;
        m_line += b;
        for (qsizetype end; (end = m_line.indexOf("\r\n")) >= 0;) {
            const QByteArray command = m_line.left(end);
            m_line.remove(0, end + 2);
            commands << command;
            onCommand ? onCommand(command) : void();
            QList<Reply> &scripted = m_scripts[command];
            const Reply reply = !scripted.isEmpty() ? scripted.takeFirst()
                                : responder         ? responder(command).value_or(Reply())
                                                    : Reply();
            for (const Chunk &c : reply)
                m_incoming.emplace(now + c.after, c.bytes); // after earlier ones of that time
        }
    }
    qint64 PortInCount() override { return release().size(); }
    QByteArray PortRead(qint64 n) override
    {
        const QByteArray out = release().left(std::max<qint64>(n, 0));
        m_queue.remove(0, out.size());
        return out;
    }
    bool PortWaitForData(Duration limit) override
    {
        if (release().isEmpty()) {
            const bool due = !m_incoming.empty() && m_incoming.begin()->first <= now + limit;
            now = due ? std::max(now, m_incoming.begin()->first) : now + limit;
        }
        return !release().isEmpty();
    }
    void setPortDataReceived(std::function<void()> handler) override { m_received = handler; }

private:
    // Moves what is due into the input queue. Like a real port, the notification is posted to
    // the event loop and so runs after the exchange.
    QByteArray &release()
    {
        if (m_incoming.empty() || m_incoming.begin()->first > now)
            return m_queue;
        for (; !m_incoming.empty() && m_incoming.begin()->first <= now;)
            m_queue += m_incoming.extract(m_incoming.begin()).mapped();
        QMetaObject::invokeMethod(
            &m_context, [this] { m_received ? m_received() : void(); }, Qt::QueuedConnection);
        return m_queue;
    }

    QHash<QByteArray, QList<Reply>> m_scripts;
    std::multimap<std::chrono::steady_clock::time_point, QByteArray> m_incoming;
    QByteArray m_queue, m_line;
    std::function<void()> m_received;
    QObject m_context; // queued notifications die with the port
};
