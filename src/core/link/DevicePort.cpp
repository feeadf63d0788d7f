// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "link/DevicePort.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

#include <unistd.h>

using namespace Qt::StringLiterals;

void DevicePort::PortSetDevice(const QString &device)
{
    chosen().PortClose();
    m_device = device;
    m_onNetwork = NetworkPort::names(device);
    m_serial.PortSetDevice(m_onNetwork ? QString() : device);
    m_network.PortSetDevice(device);
}

SerialPort &DevicePort::chosen()
{
    if (m_onNetwork)
        return m_network;
    return m_serial;
}

bool DevicePort::PortOpen() { return chosen().PortOpen(); }

QString DevicePort::serialFailure(const QString &path, QSerialPort::SerialPortError error,
                                  const QString &errorText, bool exists, bool accessible,
                                  const QString &holder)
{
    if (!exists || error == QSerialPort::DeviceNotFoundError)
        return u"the serial port %1 does not exist (CommDevice or CommPort in Kestrel.ini)"_s.arg(
            path);
    if (error == QSerialPort::PermissionError && !holder.isEmpty())
        return u"the serial port %1 is held by another program, %2: close it (the Kestrel "
               u"window holds its port while it runs) and try again"_s.arg(path, holder);
    if (!accessible)
        return u"no permission to use the serial port %1: add the account to the group "
               u"dialout (then log in again)"_s.arg(path);
    if (error == QSerialPort::PermissionError)
        return u"the serial port %1 is held by another program (%2): close it and try "
               u"again"_s.arg(path, errorText);
    return u"the serial port %1 cannot be opened: %2"_s.arg(path, errorText);
}

QString DevicePort::holderOf(const QString &path)
{
    // Qt Serial Port, which both front ends use, locks a port with a lock file named after it
    // in the first of these folders it can write to; the file names the holder.
    QString name = path.startsWith(u"/dev/"_s) ? path.mid(5) : path;
    name = u"LCK.."_s + name.replace(u'/', u'_');
    for (const char *dir : {"/var/lock", "/etc/locks", "/var/spool/locks", "/var/spool/uucp",
                            "/tmp", "/var/tmp", "/var/lock/lockdev", "/run/lock"}) {
        const QString lockPath = QDir(QString::fromLatin1(dir)).filePath(name);
        qint64 pid = 0;
        QString host;
        QString program;
        if (QFileInfo::exists(lockPath) && QLockFile(lockPath).getLockInfo(&pid, &host, &program))
            return u"%1 (process %2)"_s.arg(program.isEmpty() ? u"a program"_s : program).arg(pid);
    }
    return {};
}

QString DevicePort::openFailure() const
{
    if (m_onNetwork)
        return m_network.openErrorString();
    const QString path = m_serial.devicePath();
    return serialFailure(
        path, m_serial.openError(), m_serial.openErrorString(), QFileInfo::exists(path),
        ::access(QFile::encodeName(path).constData(), R_OK | W_OK) == 0, holderOf(path));
}

void DevicePort::setPortDataReceived(std::function<void()> handler)
{
    m_serial.setPortDataReceived(handler);
    m_network.setPortDataReceived(std::move(handler));
}
