// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "link/CommandChannel.h"

#include <QTime>

using namespace Qt::StringLiterals;

CommandChannel::CommandChannel(SystemModel &model, MainView &view, SerialPort &port,
                               MonotonicClock clock)
    : m_model(model), m_view(view), m_port(port), m_clock(std::move(clock))
{
    m_timer2.setSingleShot(true);
    m_timer2.setInterval(TransmitLampTime);
    QObject::connect(&m_timer2, &QTimer::timeout, &m_timer2,
                     [this] { m_view.setBackColour(Control::Shape1, Colours::Green); });
    m_timer4.setSingleShot(true);
    m_timer4.setInterval(ReceiveLampTime);
    QObject::connect(&m_timer4, &QTimer::timeout, &m_timer4,
                     [this] { m_view.setBackColour(Control::Shape2, Colours::Green); });
    m_port.setPortDataReceived([this] { ShowIncoming(); });
}

CommandChannel::~CommandChannel() { m_port.setPortDataReceived({}); }

bool CommandChannel::SendCommand(const QString &CommandString)
{
    // The window is not redrawn while the thread waits below, so paint the lamp now.
    m_view.setBackColour(Control::Shape1, Colours::Red);
    m_view.repaintNow(Control::Shape1);
    // Can only fire once the caller is back in the event loop: the lamp stays red at least
    // for the whole exchange.
    m_timer2.start();
    m_view.setText(Control::lblError, QString());

    m_last = Exchange{};
    FlushQueue();
    m_port.PortWrite(CommandString.toLatin1() + "\r\n");
    WaitForResponse();
    m_model.Response = GetResponse(m_model.IBuffer);
    judge(CommandString);
    if (m_observer)
        m_observer(CommandString, m_last);
    const bool result = !m_model.IBuffer.isEmpty();

    if (m_view.isChecked(Control::Check2)) {
        ClearTxtIbuffer();
        if (m_monitor)
            m_monitor(QTime::currentTime().toString(u"hh:mm:ss"_s) + u"\r\n"_s + m_model.IBuffer);
    }
    return result;
}

void CommandChannel::WaitForResponse()
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point t0 = m_clock();
    m_timedOut = false;
    m_view.setText(Control::lblError, QString());
    QChar last;
    for (;;) {
        if (last == ReplyTerminator)
            break;
        // Block on the port rather than poll it; the wait ends just past the limit at most,
        // and at once when a character is already waiting.
        const Clock::duration elapsed = m_clock() - t0;
        const Clock::duration left =
            elapsed < ReplyLimit ? Clock::duration(ReplyLimit) - elapsed : Clock::duration::zero();
        m_port.PortWaitForData(left + PastLimit);
        // One character per pass, so that the terminator test looks at the last one only.
        if (m_port.PortInCount() > 0) {
            const QByteArray c = m_port.PortRead(1);
            if (!c.isEmpty()) {
                last = QLatin1Char(c.front());
                m_model.IBuffer += last;
            }
        }
        // After the read: a "." that comes in as the limit passes is still a time-out.
        if (m_clock() - t0 > ReplyLimit) {
            m_timedOut = true;
            m_view.setText(Control::lblError, u"Comm Error!"_s);
            m_view.repaintNow(Control::lblError);
            m_view.beep();
            break;
        }
    }
}

bool CommandChannel::StartsWithEcho(const QString &reply, const QString &command)
{
    const qsizetype n = command.size();
    if (reply.size() < n + 2 || reply[n] != QLatin1Char('\r') || reply[n + 1] != QLatin1Char('\n'))
        return false;
    for (qsizetype i = 0; i < n; ++i) {
        if (command[i] != ReplyTerminator && reply[i] != command[i])
            return false;
    }
    return true;
}

void CommandChannel::judge(const QString &command)
{
    const QString &reply = m_model.IBuffer;
    if (m_timedOut) {
        m_last.outcome = ExchangeOutcome::TimedOut;
        return;
    }
    if (!StartsWithEcho(reply, command)) {
        m_last.outcome = ExchangeOutcome::OutOfStep;
        return;
    }
    m_last.outcome = ExchangeOutcome::Complete;
    // After the echo: the reply line, CR LF and the "." only.
    const qsizetype line = command.size() + 2;
    const qsizetype cr = reply.indexOf(QLatin1Char('\r'), line);
    m_last.whole = cr >= 0 && cr + 3 == reply.size() && reply[cr + 1] == QLatin1Char('\n') &&
                   !QStringView(reply).sliced(line, cr - line).contains(QLatin1Char('\n'));
    if (!m_last.whole && m_quiet.count() > 0)
        waitForQuiet();
}

void CommandChannel::waitForQuiet()
{
    const auto t0 = m_clock();
    // The tail's own CR LF "." is the reply's true end: nothing more is due after it.
    while (!m_last.tail.endsWith("\r\n.") && m_clock() - t0 < ReplyLimit &&
           m_port.PortWaitForData(m_quiet))
        m_last.tail += m_port.PortRead(m_port.PortInCount());
}

QString CommandChannel::GetResponse(const QString &StringInput)
{
    const qsizetype lf = StringInput.indexOf(QLatin1Char('\n'));
    const qsizetype start = lf < 0 ? 0 : lf + 1;
    const qsizetype end = StringInput.indexOf(QLatin1Char('\r'), start);
    if (end > start)
        return StringInput.mid(start, end - start);
    return QString();
}

void CommandChannel::FlushQueue()
{
    m_model.IBuffer.clear();
    // Leftovers of an earlier reply (what followed its ".") must not start this one.
    while (m_port.PortInCount() > 0) {
        const QByteArray thrown = m_port.PortRead(m_port.PortInCount());
        if (thrown.isEmpty())
            break;
        m_last.discarded += thrown.size();
    }
}

void CommandChannel::ClearTxtIbuffer()
{
    if (m_monitor)
        m_monitor(QString());
}

void CommandChannel::ShowIncoming()
{
    m_view.setBackColour(Control::Shape2, Colours::Red);
    m_timer4.start();
}

void CommandChannel::cmdCancelDownload_Click() { m_model.DownloadActive = false; }

void CommandChannel::setMonitor(Monitor monitor) { m_monitor = std::move(monitor); }
