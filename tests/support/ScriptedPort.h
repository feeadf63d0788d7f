#pragma once

#include "link/LinkTiming.h"
#include "link/SerialPort.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
#include <optional>

// An in-memory serial port for tests. It records every byte written, answers each command
// line (the bytes before CR LF) from a script, and keeps a fake monotonic clock that only its
// waits (and the pause it hands out) move on, so that time-outs are instant and exact.
class ScriptedPort : public SerialPort
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // Bytes that arrive `after` the command line was written.
    struct Chunk
    {
        Duration after{};
        QByteArray bytes;
    };
    // The answer to one command: chunks in time order; none at all is silence.
    using Reply = QList<Chunk>;

    static Reply bytes(const QByteArray &b, Duration after = Duration::zero())
    {
        return {Chunk{after, b}};
    }
    static Reply silence() { return {}; }
    // As the tally system answers: the command echoed, CR LF, the reply line, CR LF, ".".
    static Reply answer(const QByteArray &command, const QByteArray &line)
    {
        return bytes(command + "\r\n" + line + "\r\n.");
    }

    // Replies used in order for each line equal to `command`.
    void script(const QByteArray &command, const Reply &reply)
    {
        m_scripts[command].push_back(reply);
    }
    // Answers lines without a script of their own; none (or nullopt) is silence.
    std::function<std::optional<Reply>(const QByteArray &command)> responder;
    // Runs as soon as a whole command line has been written, i.e. in the middle of an exchange.
    std::function<void(const QByteArray &command)> onCommand;

    // What was written.
    QByteArray written;
    QList<QByteArray> writes;   // one entry per PortWrite
    QList<QByteArray> commands; // complete lines, CR LF taken off

    // The fake clock.
    TimePoint now = TimePoint{} + std::chrono::hours(23) + std::chrono::minutes(59);
    int waits = 0;
    Duration waited{};
    QList<std::chrono::milliseconds> pauses;
    MonotonicClock clock()
    {
        return [this] { return now; };
    }
    Pause pause()
    {
        return [this](std::chrono::milliseconds t) {
            pauses << t;
            now += t;
        };
    }

    // Port state.
    int number = 0;
    QString device;
    bool available = true;
    bool open = false;
    int notificationsPosted = 0;

    // Bytes that arrive unasked, `after` from now.
    void arrive(const QByteArray &b, Duration after = Duration::zero())
    {
        schedule(now + after, b);
    }
    // Bytes still to arrive (scheduled, not yet due).
    bool pending() const { return !m_incoming.empty(); }
    // Bytes due but not yet read.
    QByteArray queued()
    {
        release();
        return m_queue;
    }

    void PortSetNumber(int n) override { number = n; }
    void PortSetDevice(const QString &path) override { device = path; }
    bool PortOpen() override
    {
        open = available;
        return open;
    }
    void PortClose() override { open = false; }

    void PortWrite(const QByteArray &b) override
    {
        written += b;
        writes << b;
        m_line += b;
        for (qsizetype end = m_line.indexOf("\r\n"); end >= 0; end = m_line.indexOf("\r\n")) {
            const QByteArray command = m_line.left(end);
            m_line.remove(0, end + 2);
            commands << command;
            if (onCommand)
                onCommand(command);
            for (const Chunk &c : replyTo(command))
                schedule(now + c.after, c.bytes);
        }
    }
    qint64 PortInCount() override
    {
        release();
        return m_queue.size();
    }
    QByteArray PortRead(qint64 n) override
    {
        release();
        if (n <= 0)
            return {};
        const QByteArray out = m_queue.left(n);
        m_queue.remove(0, out.size());
        return out;
    }
    bool PortWaitForData(Duration limit) override
    {
        ++waits;
        const TimePoint start = now;
        release();
        if (m_queue.isEmpty()) {
            if (!m_incoming.empty() && m_incoming.front().first <= now + limit)
                now = std::max(now, m_incoming.front().first);
            else
                now += limit;
            release();
        }
        waited += now - start;
        return !m_queue.isEmpty();
    }
    void setPortDataReceived(std::function<void()> handler) override
    {
        m_dataReceived = std::move(handler);
    }
    bool hasReceiver() const { return bool(m_dataReceived); }

private:
    Reply replyTo(const QByteArray &command)
    {
        auto it = m_scripts.find(command);
        if (it != m_scripts.end() && !it->empty()) {
            Reply r = it->front();
            it->pop_front();
            return r;
        }
        if (responder) {
            if (std::optional<Reply> r = responder(command))
                return *r;
        }
        return silence();
    }
    void schedule(TimePoint at, const QByteArray &b)
    {
        auto pos = std::upper_bound(m_incoming.begin(), m_incoming.end(), at,
                                    [](TimePoint t, const auto &e) { return t < e.first; });
        m_incoming.insert(pos, {at, b});
    }
    // Moves what is due into the input queue. Like a real port, the notification is posted to
    // the event loop and so runs after the exchange.
    void release()
    {
        bool arrived = false;
        while (!m_incoming.empty() && m_incoming.front().first <= now) {
            m_queue += m_incoming.front().second;
            m_incoming.pop_front();
            arrived = true;
        }
        if (arrived) {
            ++notificationsPosted;
            QMetaObject::invokeMethod(
                &m_context,
                [this] {
                    if (m_dataReceived)
                        m_dataReceived();
                },
                Qt::QueuedConnection);
        }
    }

    QHash<QByteArray, std::deque<Reply>> m_scripts;
    std::deque<std::pair<TimePoint, QByteArray>> m_incoming;
    QByteArray m_queue;
    QByteArray m_line;
    std::function<void()> m_dataReceived;
    QObject m_context; // queued notifications die with the port
};
