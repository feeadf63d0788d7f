// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

// kestrelctl: the configurator's command-line front end. Reads the options, the description
// file and the command, and runs the command on the same logic the window uses.
class Kestrelctl
{
public:
    // The whole program: the arguments (program name first) in, the exit status out.
    static int run(const QStringList &arguments);

    // Kestrel.ini in the program's directory, where the window reads it.
    static QString defaultIniPath();
};
