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

    // The advanced window attaches its text area here; an empty function detaches it. While
    // "Advanced" (Check2) is ticked it gets, after every exchange, the time of day, CR LF and
    // the raw reply.
    void setMonitor(Monitor monitor);

private:
    SystemModel &m_model;
    MainView &m_view;
    SerialPort &m_port;
    MonotonicClock m_clock;
    Monitor m_monitor;
    QTimer m_timer2; // transmit lamp back to green
    QTimer m_timer4; // receive lamp back to green
};
