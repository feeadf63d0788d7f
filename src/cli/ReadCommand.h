// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class Console;
class ConsoleSession;

// kestrelctl read [FILE]: the whole table read back and written as a tally file, byte for
// byte what the window's online Save writes; to standard output for no FILE or "-".
class ReadCommand
{
public:
    ReadCommand(ConsoleSession &session, Console &console);
    int run(const QString &file, bool overwrite, const QString &device);

private:
    ConsoleSession &m_session;
    Console &m_console;
};
