// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

class Console;
class ConsoleSession;

// kestrelctl send COMMAND...: one command as typed (the words joined by blanks), as the
// advanced window sends it; the raw reply, echo and terminator included, on standard output.
class RawCommand
{
public:
    RawCommand(ConsoleSession &session, Console &console);
    int run(const QStringList &words, const QString &device);

private:
    ConsoleSession &m_session;
    Console &m_console;
};
