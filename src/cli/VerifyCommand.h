// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class Console;
class ConsoleSession;

// kestrelctl verify FILE: the table read back and compared with FILE output by output; a line
// for each difference. Exit status 0 when equal, 1 when different, 2 on any failure.
class VerifyCommand
{
public:
    VerifyCommand(ConsoleSession &session, Console &console);
    int run(const QString &file, const QString &device);

private:
    ConsoleSession &m_session;
    Console &m_console;
};
