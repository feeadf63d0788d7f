// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "link/DevicePort.h"

#include <QCoreApplication>

#include <cstdio>

using namespace Qt::StringLiterals;

void DevicePort::ReportOnStandardError(const QString &why)
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(QCoreApplication::applicationName()),
                 qPrintable(why));
}

DevicePort::DevicePort(Report report) : m_report(std::move(report)) {}

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

bool DevicePort::PortOpen()
{
    if (chosen().PortOpen())
        return true;
    if (m_report)
        m_report(openErrorString());
    return false;
}

QString DevicePort::openErrorString() const
{
    if (m_onNetwork)
        return m_network.openErrorString();
    return u"cannot open the serial port %1: %2"_s.arg(m_serial.devicePath(),
                                                       m_serial.openErrorString());
}

void DevicePort::setPortDataReceived(std::function<void()> handler)
{
    m_serial.setPortDataReceived(handler);
    m_network.setPortDataReceived(std::move(handler));
}
