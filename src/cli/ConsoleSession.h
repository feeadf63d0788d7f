// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "cli/ConsoleView.h"
#include "events/Logic.h"
#include "link/DevicePort.h"
#include "matrix/MapString.h"
#include "model/SystemModel.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>

class Console;

// The configurator's logic on the console view and one serial port, as the window's
// Configurator has it on the window: the same parts, so that kestrelctl sends exactly what the
// window sends. The steps of a start each fail with one line saying why.
// Unlike the window it trusts no reply it cannot check: every exchange must be complete, its
// reply its own command's, whole, and no error reply; the first one that is not is kept as the
// session's failure, and the commands stop there.
class ConsoleSession
{
public:
    // After a reply that a "." inside it ended early (the version), its tail is awaited: the
    // next command goes out once the tail has ended, or the line has been quiet this long.
    static constexpr std::chrono::milliseconds QuietTime{500};

    ConsoleSession(Console &console, ConsoleView &view);
    ConsoleSession(const ConsoleSession &) = delete;
    ConsoleSession &operator=(const ConsoleSession &) = delete;

    // Reads the description file at `iniPath` and fills the lists, as the window's start does.
    bool describe(const QString &iniPath, QString *error);
    // Opens the description's port, or `device` when it is not empty.
    bool open(const QString &device, QString *error);
    // The window's probe, without its retry question and version query.
    bool goOnline(QString *error);
    // The whole table, as the window's online Save reads it: "Comp", then every row until the
    // end of the table. Fails when the tally system stopped answering before the end.
    bool readTable(QStringList *lines, QString *error);

    // open, then goOnline.
    bool connect(const QString &device, QString *error);
    // The first exchange that was not acceptable, in one line; "" while all were.
    const QString &failure() const { return m_failure; }
    bool failed() const { return !m_failure.isEmpty(); }
    // Called once, when the failure is first recorded.
    void setFailureHandler(std::function<void()> handler) { m_onFailure = std::move(handler); }

    // A tally file's map strings, read and checked before anything is sent.
    static bool readTallyFile(const QString &path, QList<MapFields> *maps, QString *error);
    // What verify and apply start with: the file checked, then the tally system's table read.
    bool readFileAndTable(const QString &path, const QString &device, QList<MapFields> *maps,
                          QString *error);

    // The path of the port opened.
    QString devicePath() const { return m_port.devicePath(); }

    SystemModel &model() { return *m_model; }
    ConsoleView &view() { return m_view; }
    CommandChannel &channel() { return m_logic.channel; }
    DeviceCommands &commands() { return m_logic.commands; }
    Mapping &mapping() { return m_logic.mapping; }
    ReadBack &readBack() { return m_logic.readBack; }
    TallyFiles &files() { return m_logic.files; }
    Logic &logic() { return m_logic; }

    // What no reply within the deadline says, for the failure lines.
    QString noReplyText() const;

private:
    void check(const QString &command, const Exchange &exchange);

    Console &m_console;
    ConsoleView &m_view;
    std::unique_ptr<SystemModel> m_model;
    DevicePort m_port;
    Logic m_logic;
    QString m_failure;
    int m_exchanges = 0;
    std::function<void()> m_onFailure;
};
