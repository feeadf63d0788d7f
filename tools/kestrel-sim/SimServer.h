// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLog.h"
#include "PacedWriter.h"
#include "PseudoTerminal.h"
#include "SimOptions.h"
#include "TallySystem.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <csignal>
#include <optional>

// The virtual tally system at work: takes command lines off the line, answers each when a
// real system would (after the line has carried the command, plus any latency or fault
// delay), paces the answer, and keeps the log and the state file. One thread, one ppoll().
class SimServer
{
public:
    using Clock = PacedWriter::Clock;

    explicit SimServer(SimOptions options);

    // Opens the line, places the link, loads the rows, opens the log, writes the first state.
    bool start(QString *error);
    const QString &portPath() const { return m_line.slavePath(); }

    // Serves until `stop` is set by a signal (delivered only while waiting, with `waitMask`)
    // or a hang-up fault ends the line. Returns the exit status.
    int run(const volatile std::sig_atomic_t &stop, const sigset_t &waitMask);

private:
    struct Command
    {
        QByteArray line; // without its line end
        Clock::time_point due;
        int number = 0;
    };

    bool receive(Clock::time_point now);
    void lineComplete(const QByteArray &line, qsizetype wireBytes);
    void answerDue(Clock::time_point now);
    void saveState();
    std::optional<Clock::time_point> wakeUp(Clock::time_point now) const;

    SimOptions m_options;
    PseudoTerminal m_line;
    TallySystem m_tally;
    CommandLog m_log;
    PacedWriter m_writer;
    QByteArray m_partial;                 // the line being received
    Clock::time_point m_partialArrived{}; // when its first byte came
    Clock::time_point m_inputFreeAt{};    // when the line has carried the last command
    QList<Command> m_pending;             // received, not answered yet
    QList<std::pair<QByteArray, Clock::time_point>> m_late; // tails of answers, and when due
    int m_received = 0;
    bool m_hangingUp = false;
    std::optional<Clock::time_point> m_hangupAt; // when the last answer had been written
    bool m_stateWarned = false;
};
