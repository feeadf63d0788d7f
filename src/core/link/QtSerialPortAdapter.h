// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/ReceiveNotice.h"
#include "link/SerialPort.h"

#include <QObject>
#include <QSerialPort>

// The serial port on Qt Serial Port: 9600 bit/s, 8 data bits, no parity, 1 stop bit, no flow
// control. Port n is /dev/ttyS(n-1) unless a device path is given. A port that could not be
// opened, or that vanished (a USB adapter pulled out), never stops the program: writes are
// dropped as if sent and waits sleep until their limit.
class QtSerialPortAdapter : public QObject, public SerialPort
{
    Q_OBJECT
public:
    explicit QtSerialPortAdapter(QObject *parent = nullptr);
    ~QtSerialPortAdapter() override;

    void PortSetNumber(int number) override;
    void PortSetDevice(const QString &path) override;
    bool PortOpen() override;
    void PortClose() override;
    void PortWrite(const QByteArray &bytes) override;
    qint64 PortInCount() override;
    QByteArray PortRead(qint64 n) override;
    bool PortWaitForData(Duration limit) override;
    void setPortDataReceived(std::function<void()> handler) override;

    // The device that PortOpen opens: the device path, or the numbered port's device.
    QString devicePath() const;
    bool isOpen() const { return m_port.isOpen(); }
    // Why the last PortOpen failed (NoError after one that succeeded), for a front end that
    // has to tell a missing device from one another program holds.
    QSerialPort::SerialPortError openError() const { return m_openError; }
    QString openErrorString() const { return m_openErrorString; }

private:
    void onError(QSerialPort::SerialPortError error);
    bool usable();
    // What one look at the line found: nothing within the time, bytes, a wake-up without
    // bytes, or a line that is gone.
    enum class PullResult { Nothing, Bytes, Spurious, Gone };
    PullResult pullIn(int timeoutMs);
    PullResult vanish();

    QSerialPort m_port;
    int m_number = 1;
    QString m_device;
    ReceiveNotice m_received;
    bool m_vanished = false;
    QSerialPort::SerialPortError m_openError = QSerialPort::NoError;
    QString m_openErrorString;
};
