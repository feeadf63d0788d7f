// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/NetworkPort.h"
#include "link/QtSerialPortAdapter.h"

// The port CommDevice names: a device path opens the local serial port as before;
// "socket://HOST:PORT" and "rfc2217://HOST:PORT" reach a serial device server or ser2net on the
// network. The choice is made from the device text each time it is set.
class DevicePort : public SerialPort
{
public:
    // Why a local port could not be opened, from what the system said (`error`, `errorText`)
    // and what the file system shows: missing, held by `holder` (a program's name, or ""), or
    // closed to this account (with what to do about it).
    static QString serialFailure(const QString &path, QSerialPort::SerialPortError error,
                                 const QString &errorText, bool exists, bool accessible,
                                 const QString &holder);

    void PortSetNumber(int number) override { m_serial.PortSetNumber(number); }
    void PortSetDevice(const QString &device) override;
    bool PortOpen() override;
    void PortClose() override { chosen().PortClose(); }
    void PortWrite(const QByteArray &bytes) override { chosen().PortWrite(bytes); }
    qint64 PortInCount() override { return chosen().PortInCount(); }
    QByteArray PortRead(qint64 n) override { return chosen().PortRead(n); }
    bool PortWaitForData(Duration limit) override { return chosen().PortWaitForData(limit); }
    void setPortDataReceived(std::function<void()> handler) override;

    bool isNetwork() const { return m_onNetwork; }
    // What PortOpen opens: the device path, the numbered port's device, or the network port.
    QString devicePath() const { return m_onNetwork ? m_device : m_serial.devicePath(); }
    // The local port's reason for its last failure (NoError on the network).
    QSerialPort::SerialPortError openError() const
    {
        return m_onNetwork ? QSerialPort::NoError : m_serial.openError();
    }
    QString openFailure() const override;

private:
    SerialPort &chosen();
    // The program that holds the local port `path` by its lock file, or "".
    static QString holderOf(const QString &path);

    QString m_device;
    bool m_onNetwork = false;
    QtSerialPortAdapter m_serial;
    NetworkPort m_network;
};
