// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QLocalServer>

class Dialogs;

// The invisible start-up step: only one copy of the configurator may run.
class StartUp
{
public:
    explicit StartUp(Dialogs &dialogs);

    // True when this copy may go on. Otherwise the operator has been told, and the process ends
    // without reading anything.
    bool Form1_Load();

    // On X11 a top-level window titled "Kestrel" of any program; on every platform the
    // per-user local socket "Kestrel" that a running copy holds. A copy that finds neither
    // holds the socket from then on.
    bool anotherInstanceRunning();

    static QString socketPath();

private:
    Dialogs &m_dialogs;
    QLocalServer m_server; // held for the life of the process
};
