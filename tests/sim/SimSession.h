// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/SimProcess.h"

#include <QDeadlineTimer>
#include <QSerialPort>

// kestrel-sim and a serial port opened on the path it prints, as the configurator opens its
// port (QSerialPort's defaults are 9600 8N1). start() and open() say why they failed in
// `problem`.
struct SimSession : SimProcess
{
    QSerialPort port;
    QByteArray problem;

    bool start(const QStringList &arguments, const QByteArray &rows = {})
    {
        if (!SimProcess::start(arguments, rows) || !process.canReadLine()) {
            problem = "no port path; stderr: " + process.readAllStandardError();
            return false;
        }
        return open(QString::fromLocal8Bit(process.readLine()).trimmed());
    }

    // Opens the port itself or its link.
    bool open(const QString &path)
    {
        port.close();
        port.setPortName(path);
        const bool opened = port.open(QIODevice::ReadWrite);
        problem = (path + u": "_s + port.errorString()).toLocal8Bit();
        return opened;
    }

    void send(const QByteArray &command)
    {
        port.write(command + "\r\n");
        port.waitForBytesWritten(1000);
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

    // The table file as it stands; "<missing>" tells a file never written from an empty one.
    QByteArray state() const { return readFile(path("table.qvr"), "<missing>"); }
};
