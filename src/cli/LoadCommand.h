// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class Console;
class ConsoleSession;

// kestrelctl load [--partial] FILE: the window's Load or Partial Load, with the same commands
// in the same order ("Init" and the units enabled first for a full load).
class LoadCommand
{
public:
    LoadCommand(ConsoleSession &session, Console &console);
    int run(const QString &file, bool partial, const QString &device);

private:
    ConsoleSession &m_session;
    Console &m_console;
};
