// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "FaultPlan.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

// What the command line of kestrel-sim asks for.
struct SimOptions
{
    QString linkPath;
    QString rowsPath;
    QString logPath;
    QString statePath;
    int bitsPerSecond = 9600; // 0: unpaced
    std::chrono::milliseconds latency{0};
    quint32 seed = 1;
    FaultPlan faults;
};

// Reads the arguments (program name first). Prints the help and exits for --help; prints the
// problem and gives nothing for a bad command line.
std::optional<SimOptions> ParseSimOptions(const QStringList &arguments);
