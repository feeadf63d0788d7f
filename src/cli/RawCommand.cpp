// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/RawCommand.h"

#include "cli/Console.h"
#include "cli/ConsoleSession.h"

using namespace Qt::StringLiterals;

RawCommand::RawCommand(ConsoleSession &session, Console &console)
    : m_session(session), m_console(console)
{
}

int RawCommand::run(const QStringList &words, const QString &device)
{
    QString error;
    // No probe first: the one command typed is all that goes on the line.
    if (!m_session.open(device, &error)) {
        m_console.error(error);
        return ExitFailure;
    }
    const QString command = words.join(u' ');
    m_session.channel().SendCommand(command);
    const Exchange &exchange = m_session.channel().lastExchange();
    // The whole reply, a version's tail after its early "." included.
    const QByteArray reply = m_session.model().IBuffer.toLatin1() + exchange.tail;
    if (!reply.isEmpty() && !m_console.write(reply + '\n')) {
        m_console.error(u"the reply could not be written to standard output"_s);
        return ExitFailure;
    }
    // An error reply is the device's answer and goes out as such; a reply that is not this
    // command's own is a failure. Bytes waiting from before are flushed, as by the window.
    if (exchange.outcome != ExchangeOutcome::Complete) {
        QString failure = m_session.failure();
        m_console.error(failure.isEmpty() ? m_session.noReplyText() : failure);
        return ExitFailure;
    }
    return ExitSuccess;
}
