// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/NetworkPort.h"
#include "link/QtSerialPortAdapter.h"

#include <functional>

// The port CommDevice names: a device path opens the local serial port as before;
// "socket://HOST:PORT" and "rfc2217://HOST:PORT" reach a serial device server or ser2net on the
// network. The choice is made from the device text each time it is set.
class DevicePort : public SerialPort
{
public:
    // Told why the port could not be opened, with the system's reason.
    using Report = std::function<void(const QString &why)>;
    // Writes the reason to standard error, as "PROGRAM: why".
    static void ReportOnStandardError(const QString &why);

    explicit DevicePort(Report report = {});

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
    QString openErrorString() const;

private:
    SerialPort &chosen();

    Report m_report;
    QString m_device;
    bool m_onNetwork = false;
    QtSerialPortAdapter m_serial;
    NetworkPort m_network;
};
