// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Files.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QSerialPort>

// One kestrel-sim process and a serial port opened on it as the configurator opens its port
// (QSerialPort's defaults are 9600 8N1). start() and open() say why they failed in `problem`.
struct SimSession
{
    QProcess process;
    QSerialPort port;
    QByteArray problem;

    ~SimSession() { process.kill(), process.waitForFinished(5000); }

    // Starts kestrel-sim, reads the port path from its first line of output and opens the port.
    bool start(const QStringList &arguments)
    {
        process.start(QStringLiteral(KESTREL_SIM_PATH), arguments);
        // The path comes in one write, flushed after the line.
        if (!process.waitForReadyRead(5000) || !process.canReadLine()) {
            problem = "no port path; stderr: " + process.readAllStandardError();
            return false;
        }
        return open(QString::fromLocal8Bit(process.readLine()).trimmed());
    }

    // Opens the port itself or a link to it.
    bool open(const QString &path)
    {
        port.close();
        port.setPortName(path);
        const bool opened = port.open(QIODevice::ReadWrite);
        problem = (path + QStringLiteral(": ") + port.errorString()).toLocal8Bit();
        return opened;
    }

    void send(const QByteArray &command)
    {
        port.write(command + "\r\n"), port.waitForBytesWritten(1000);
    }

    // Everything that arrives within the time; with `untilReply`, only until a complete reply
    // ("\r\n." at the end) has come and then a moment more, in which nothing may follow it.
    QByteArray readFor(int ms, bool untilReply = false)
    {
        QByteArray received = port.readAll();
        const QDeadlineTimer deadline(ms);
        while (!deadline.hasExpired() && !(untilReply && received.endsWith("\r\n."))) {
            if (port.waitForReadyRead(int(deadline.remainingTime())))
                received += port.readAll();
        }
        return untilReply && received.endsWith("\r\n.") ? received + readFor(40) : received;
    }

    QByteArray exchange(const QByteArray &command)
    {
        send(command);
        return readFor(2000, true);
    }

    // The bytes a complete answer must be: the echo, CR LF, the reply line, CR LF, ".".
    static QByteArray reply(const QByteArray &echo, const QByteArray &line)
    {
        return echo + "\r\n" + line + "\r\n.";
    }

    static QByteArray readFile(const QString &path) { return ::readFile(path, "<missing>"); }
};
