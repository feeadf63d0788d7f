// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class Console;
class ConsoleSession;

// kestrelctl apply [--partial] FILE: the tally system brought to FILE by touching only what
// differs. No "Init": an output whose mapping already matches gets no command at all and stays
// lit throughout; one that differs gets its mapping commands, one that FILE leaves unmapped is
// unmapped (not with --partial). The table is compacted afterwards and the result verified.
class ApplyCommand
{
public:
    ApplyCommand(ConsoleSession &session, Console &console);
    int run(const QString &file, bool partial, const QString &device);

private:
    ConsoleSession &m_session;
    Console &m_console;
};
