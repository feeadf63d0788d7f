// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

// The serial line of the virtual tally system: the master side of a pseudo-terminal pair,
// whose slave plays the serial port that the configurator opens. A slave descriptor of our own
// stays open all the time, so that a client closing the port does not hang the line up and
// the next client finds it as it was; and a lock that a vanished client left on the line is
// lifted once no client has it open.
class PseudoTerminal
{
public:
    PseudoTerminal() = default;
    PseudoTerminal(const PseudoTerminal &) = delete;
    PseudoTerminal &operator=(const PseudoTerminal &) = delete;
    ~PseudoTerminal() { close(); }

    // Opens the pair, makes the line raw (8 bits, no echo, no translation) and non-blocking.
    bool open(QString *error);
    // Points a symbolic link at the slave, replacing whatever link or file was left there.
    bool placeLink(const QString &path, QString *error);
    // Hangs the line up: the client's port sees the end of the line. Removes the link.
    void close();

    int master() const { return m_master; }
    // Readable when a client has closed the port; then call portEvents().
    int clientWatch() const { return m_watch; }
    void portEvents();
    const QString &slavePath() const { return m_slavePath; }
    // Bytes sent that the client has not read yet.
    int unreadByClient() const;

private:
    bool openElsewhere() const;

    int m_master = -1;
    int m_slave = -1;
    int m_watch = -1;
    QString m_slavePath;
    QString m_linkPath;
};
