// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>

// Exit status of every command: verify tells equal from different, anything else that goes
// wrong is a failure.
enum ExitStatus : int { ExitSuccess = 0, ExitDifferent = 1, ExitFailure = 2 };

// Standard output and standard error of kestrelctl. Results go to standard output; failures,
// notes and progress to standard error. Progress is one line redrawn in place, and only when
// standard error is a terminal and --quiet was not given, so that scripts and cron see none.
class Console
{
public:
    // The line the tally system talks at, for the time a command takes on it: out and echoed
    // back, the reply line and the terminator, 10 bits a character.
    static constexpr int LineBitsPerSecond = 9600;
    static constexpr int BitsPerCharacter = 10;
    static constexpr int BytesPerExchange = 37; // a "Map" command of two-digit numbers and "OK"
    // A "RawMap" of a two-digit row and its map string.
    static constexpr int BytesPerRow = 49;

    Console(bool quiet, bool progress);

    bool quiet() const { return m_quiet; }

    // Text from a file or the line, safe for a terminal: control characters and anything
    // outside ASCII become "?", and at most `max` characters are kept.
    static QString printable(const QString &text, qsizetype max = 60);

    // Bytes as they are to standard output; false when they could not all be written.
    bool write(const QByteArray &bytes);
    // One line to standard output.
    bool line(const QString &text);
    // One line "kestrelctl: text" to standard error, always.
    void error(const QString &text);
    // One line "kestrelctl: text" to standard error unless --quiet.
    void note(const QString &text);

    // Progress: a phase begins, with the number of commands it will send (0: not known) and
    // the bytes each takes on the line, there and back.
    void begin(const QString &phase, int plannedCommands = 0,
               int bytesPerExchange = BytesPerExchange);
    void commandSent();
    // The logic's own progress text ("Downloading  5", "Mapping  12").
    void status(const QString &text);
    // The progress line goes away.
    void end();

private:
    void draw();
    void clearLine();

    bool m_quiet = false;
    bool m_progress = false;
    bool m_drawn = false;
    QString m_phase;
    QString m_status;
    int m_planned = 0;
    int m_bytesPerExchange = BytesPerExchange;
    int m_sent = 0;
    std::chrono::steady_clock::time_point m_lastDraw{};
};
