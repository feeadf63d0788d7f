// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/LinkTiming.h"
#include "link/SerialPort.h"
#include "model/SystemModel.h"
#include "view/MainView.h"

#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

// How one exchange went. The window acts on SendCommand's Boolean and "Comm Error!" only;
// callers that must not take a wrong reply for a right one read this.
enum class ExchangeOutcome {
    Complete,  // the "." in time, after this command's echo and CR LF
    TimedOut,  // no "." within the limit; some bytes may have come
    OutOfStep, // a "." in time, but the reply does not start with this command's echo: the
               // tail of an earlier reply, line noise, or a lost line end
};

struct Exchange
{
    ExchangeOutcome outcome = ExchangeOutcome::TimedOut;
    // Echo, CR LF, one reply line, CR LF, "." and nothing else. False when a "." inside a
    // value (the version) ended the reply early, or a line end is missing.
    bool whole = false;
    // Bytes the flush threw away before the command went out: what came after an earlier
    // reply's ".".
    qsizetype discarded = 0;
    // With a quiet wait: what followed an early "." until the line went quiet.
    QByteArray tail;
};

// The one way to talk to the tally system: a command line out, a reply ending in "." back,
// one exchange at a time on the calling thread, with the transmit and receive lamps and
// "Comm Error!" when the reply does not come in time.
class CommandChannel
{
public:
    // A reply must be complete within this time from the start of the wait.
    static constexpr std::chrono::milliseconds ReplyLimit{2000};
    // The wait for bytes ends this much after the limit, so that a time-out is only declared
    // once the limit has really passed (a reply completing at exactly the limit is in time).
    static constexpr std::chrono::milliseconds PastLimit{1};
    static constexpr std::chrono::milliseconds TransmitLampTime{50}; // Timer2
    static constexpr std::chrono::milliseconds ReceiveLampTime{100}; // Timer4
    static constexpr QChar ReplyTerminator = QLatin1Char('.');

    // The receive monitor: given the whole new text to show each time.
    using Monitor = std::function<void(const QString &text)>;

    // Takes over the port's PortDataReceived notification (ShowIncoming) until destroyed.
    CommandChannel(SystemModel &model, MainView &view, SerialPort &port,
                   MonotonicClock clock = SteadyClock());
    ~CommandChannel();
    CommandChannel(const CommandChannel &) = delete;
    CommandChannel &operator=(const CommandChannel &) = delete;

    // One full exchange. True when any character came back; leaves the raw reply in IBuffer
    // and its reply line in Response.
    bool SendCommand(const QString &CommandString);
    // Collects reply characters into IBuffer until "." or the time-out.
    void WaitForResponse();
    // The reply line: after the first LF (or from the start when there is none) up to the
    // next CR; "" when there is no such CR.
    static QString GetResponse(const QString &StringInput);
    // Empties IBuffer and throws away whatever waits in the port.
    void FlushQueue();
    void ClearTxtIbuffer();
    // Receive lamp red for a while; runs on every PortDataReceived.
    void ShowIncoming();
    // The download's "Cancel" button: the read-back stops before its next row.
    void cmdCancelDownload_Click();

    // The last exchange's outcome, for callers that check every reply.
    const Exchange &lastExchange() const { return m_last; }
    // Called at the end of every exchange with the command and its outcome.
    using Observer = std::function<void(const QString &command, const Exchange &exchange)>;
    void setObserver(Observer observer) { m_observer = std::move(observer); }
    // After a reply that a "." inside a value ended early, wait for its tail before returning,
    // so that the tail is not taken for the next reply: until the tail ends in CR LF ".", or
    // the line has been quiet this long, at most ReplyLimit. Zero, the default, waits for
    // nothing, as the window does.
    void setQuietWait(std::chrono::milliseconds quiet) { m_quiet = quiet; }
    // True when `reply` starts with the echo of `command` and CR LF. A "." in a command cannot
    // come back as itself (it would end the reply), so any character stands for it.
    static bool StartsWithEcho(const QString &reply, const QString &command);
    // The advanced window attaches its text area here; an empty function detaches it. While
    // "Advanced" (Check2) is ticked it gets, after every exchange, the time of day, CR LF and
    // the raw reply.
    void setMonitor(Monitor monitor);

private:
    void judge(const QString &command);
    void waitForQuiet();

    SystemModel &m_model;
    MainView &m_view;
    SerialPort &m_port;
    MonotonicClock m_clock;
    Monitor m_monitor;
    Exchange m_last;
    Observer m_observer;
    bool m_timedOut = false;
    std::chrono::milliseconds m_quiet{0};
    QTimer m_timer2; // transmit lamp back to green
    QTimer m_timer4; // receive lamp back to green
};
