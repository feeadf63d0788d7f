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
    ConsoleView &view = m_session.view();
    view.resetCommErrors();
    m_session.channel().SendCommand(words.join(u' '));
    const QString &reply = m_session.model().IBuffer;
    if (!reply.isEmpty() && !m_console.write(reply.toLatin1() + '\n')) {
        m_console.error(u"the reply could not be written to standard output"_s);
        return ExitFailure;
    }
    if (view.commErrors() > 0) {
        m_console.error(reply.isEmpty() ? m_session.noReplyText()
                                        : m_session.noReplyText() + u": the reply is cut short"_s);
        return ExitFailure;
    }
    return ExitSuccess;
}
