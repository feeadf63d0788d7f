// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// kestrel-sim: the virtual tally system. Run with --help for what it does.

#include "SimOptions.h"
#include "SimServer.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void requestStop(int) { stopRequested = 1; }

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    std::optional<SimOptions> options = ParseSimOptions(QCoreApplication::arguments());
    if (!options)
        return 2;

    // The signals that end the program are held back except while it waits for the line, so a
    // stop cannot slip in between the check and the wait; ending by them removes the link.
    const int endSignals[] = {SIGINT, SIGTERM, SIGHUP};
    sigset_t blocked;
    sigset_t waitMask;
    sigemptyset(&blocked);
    for (int s : endSignals)
        sigaddset(&blocked, s);
    sigprocmask(SIG_BLOCK, &blocked, &waitMask);
    struct sigaction action = {};
    action.sa_handler = requestStop;
    sigemptyset(&action.sa_mask);
    for (int s : endSignals) {
        sigdelset(&waitMask, s);
        sigaction(s, &action, nullptr);
    }

    SimServer server(std::move(*options));
    QString error;
    if (!server.start(&error)) {
        std::fprintf(stderr, "kestrel-sim: %s\n", qPrintable(error));
        return 1;
    }
    std::printf("%s\n", qPrintable(server.portPath()));
    std::fflush(stdout);
    return server.run(stopRequested, waitMask);
}
