// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/WatchCommand.h"

#include "cli/Console.h"
#include "cli/ConsoleSession.h"
#include "cli/ConsoleUnitStatusView.h"
#include "events/Logic.h"

#include <QCoreApplication>
#include <QScopeGuard>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Ctrl+C and a polite kill end the watch between two polls: the handler only writes a byte
// that the event loop reads once the exchange in progress is over.
int g_signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t n = ::write(g_signalPipe[1], &byte, 1);
}

bool catchSignals()
{
    if (::pipe2(g_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    return ::sigaction(SIGINT, &action, nullptr) == 0 &&
           ::sigaction(SIGTERM, &action, nullptr) == 0;
}

} // namespace

WatchCommand::WatchCommand(ConsoleSession &session, Console &console)
    : m_session(session), m_console(console)
{
}

int WatchCommand::run(const QString &unitText, double seconds, const QString &device)
{
    bool number = false;
    const int unit = unitText.toInt(&number);
    if (!number || unit < 1 || unit > 999) {
        m_console.error(u"UNIT must be a unit number from 1 to 999, not \"%1\""_s.arg(unitText));
        return ExitFailure;
    }
    QString error;
    if (!catchSignals()) {
        m_console.error(u"cannot catch Ctrl+C"_s);
        return ExitFailure;
    }
    if (!m_session.connect(device, &error)) {
        m_console.error(error);
        return ExitFailure;
    }

    ConsoleView &view = m_session.view();
    ConsoleUnitStatusView unitView(m_console, qint16(unit));
    // The first reply that is not right ends the watch: a unit that stopped answering must not
    // look like one whose lamps merely stay as they are.
    m_session.setFailureHandler([&unitView] {
        unitView.stopPrinting();
        QCoreApplication::exit(ExitFailure);
    });
    Logic &logic = m_session.logic();
    UnitStatus &status = logic.addUnitStatus(unitView);
    const auto forget = qScopeGuard([&logic] { logic.unitStatus.reset(); }); // before unitView
    // As ticking "Unit Status": the window loads (the first status reply) and the poll starts.
    view.setChecked(Control::Check1, true);
    status.Check1_Click();
    if (!m_session.failed())
        m_console.line(unitView.stamp() + u"status "_s + unitView.statusText());
    unitView.startPrinting();

    QSocketNotifier interrupted(g_signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&interrupted, &QSocketNotifier::activated, &interrupted,
                     [] { QCoreApplication::quit(); });
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &limit, [] { QCoreApplication::quit(); });
    if (seconds > 0) {
        limit.start(std::chrono::milliseconds(qint64(seconds * 1000)));
    }
    if (!m_session.failed())
        QCoreApplication::exec();

    m_session.setFailureHandler({});
    view.setChecked(Control::Check1, false);
    status.Check1_Click(); // the poll stops
    if (m_session.failed()) {
        m_console.error(m_session.failure());
        return ExitFailure;
    }
    return ExitSuccess;
}
