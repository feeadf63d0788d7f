// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class Console;
class ConsoleSession;

// kestrelctl watch UNIT [--for SECONDS]: the unit status window's poll, five times a second,
// with a time-stamped line for every bit that changes and every new status reply, until
// Ctrl+C (or the time given) ends it.
class WatchCommand
{
public:
    WatchCommand(ConsoleSession &session, Console &console);
    // `seconds` <= 0: until interrupted.
    int run(const QString &unit, double seconds, const QString &device);

private:
    ConsoleSession &m_session;
    Console &m_console;
};
