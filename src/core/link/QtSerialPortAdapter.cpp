// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "link/QtSerialPortAdapter.h"

#include <QThread>

#include <algorithm>
#include <cerrno>

#include <poll.h>

using namespace std::chrono;

QtSerialPortAdapter::QtSerialPortAdapter(QObject *parent) : QObject(parent)
{
    // Direct: readyRead is also emitted from inside the blocking waits, where only a flag may
    // be set; the receiver itself runs later, from the event loop.
    connect(&m_port, &QSerialPort::readyRead, &m_received, &ReceiveNotice::arrived);
    connect(&m_port, &QSerialPort::errorOccurred, this, &QtSerialPortAdapter::onError);
}

QtSerialPortAdapter::~QtSerialPortAdapter()
{
    m_received.setHandler({});
    PortClose();
}

void QtSerialPortAdapter::PortSetNumber(int number)
{
    m_number = number >= 1 && number <= 255 ? number : 1;
}

void QtSerialPortAdapter::PortSetDevice(const QString &path) { m_device = path; }

QString QtSerialPortAdapter::devicePath() const
{
    if (!m_device.isEmpty())
        return m_device;
    return QStringLiteral("/dev/ttyS") + QString::number(m_number - 1);
}

bool QtSerialPortAdapter::PortOpen()
{
    PortClose();
    m_vanished = false;
    m_port.setPortName(devicePath());
    m_port.setBaudRate(QSerialPort::Baud9600);
    m_port.setDataBits(QSerialPort::Data8);
    m_port.setParity(QSerialPort::NoParity);
    m_port.setStopBits(QSerialPort::OneStop);
    m_port.setFlowControl(QSerialPort::NoFlowControl);
    m_openError = QSerialPort::NoError;
    m_openErrorString.clear();
    if (!m_port.open(QIODevice::ReadWrite)) {
        m_openError = m_port.error();
        m_openErrorString = m_port.errorString();
        m_port.clearError();
        return false;
    }
    return true;
}

void QtSerialPortAdapter::PortClose()
{
    if (m_port.isOpen())
        m_port.close();
    m_port.clearError();
}

bool QtSerialPortAdapter::usable()
{
    if (m_vanished && m_port.isOpen())
        m_port.close(); // closed here, outside the port's own calls that reported the loss
    return m_port.isOpen();
}

void QtSerialPortAdapter::PortWrite(const QByteArray &bytes)
{
    if (!usable() || bytes.isEmpty())
        return; // treated as sent; the reply wait then ends with its time-out
    // A port that does not take the whole command is treated as gone: the reply wait then
    // sleeps out its time-out rather than hearing an answer to half a command.
    if (m_port.write(bytes) != bytes.size()) {
        m_vanished = true;
        return;
    }
    // Hand the bytes to the driver now: no event loop runs until the exchange is over.
    m_port.flush();
}

qint64 QtSerialPortAdapter::PortInCount()
{
    if (!usable())
        return 0;
    // Take in what the driver already holds, without blocking: the flush before a command
    // must also see characters that arrived while no event loop ran.
    if (m_port.bytesAvailable() == 0)
        pullIn(0);
    return usable() ? m_port.bytesAvailable() : 0;
}

QByteArray QtSerialPortAdapter::PortRead(qint64 n)
{
    if (n <= 0 || !usable())
        return {};
    return m_port.read(n);
}

QtSerialPortAdapter::PullResult QtSerialPortAdapter::pullIn(int timeoutMs)
{
    // Waits on the descriptor itself rather than in QSerialPort::waitForReadyRead, which
    // keeps polling a hung-up line (POLLHUP without POLLIN) until its time is up: a vanished
    // port must not turn the wait into a busy loop.
    const short events = POLLIN | (m_port.bytesToWrite() > 0 ? POLLOUT : 0);
    pollfd p{m_port.handle(), events, 0};
    const int ready = ::poll(&p, 1, timeoutMs);
    if (ready < 0)
        return errno == EINTR ? PullResult::Nothing : vanish();
    if (ready == 0)
        return PullResult::Nothing;
    if (p.revents & POLLOUT)
        m_port.flush();
    if (p.revents & POLLIN) {
        // Moves the driver's bytes into the port's buffer (and emits readyRead).
        m_port.waitForReadyRead(0);
        if (m_port.error() == QSerialPort::TimeoutError)
            m_port.clearError();
    }
    if (m_port.bytesAvailable() > 0)
        return PullResult::Bytes;
    if (m_vanished || (p.revents & (POLLHUP | POLLERR | POLLNVAL)))
        return vanish();
    return (p.revents & POLLOUT) ? PullResult::Nothing : PullResult::Spurious;
}

QtSerialPortAdapter::PullResult QtSerialPortAdapter::vanish()
{
    m_vanished = true;
    return PullResult::Gone;
}

bool QtSerialPortAdapter::PortWaitForData(Duration limit)
{
    const auto deadline = steady_clock::now() + limit;
    while (usable()) {
        if (m_port.bytesAvailable() > 0)
            return true;
        const auto left = ceil<milliseconds>(deadline - steady_clock::now()).count();
        const int ms = static_cast<int>(std::clamp<long long>(left, 0, 24 * 3600 * 1000));
        const PullResult r = pullIn(ms);
        if (r == PullResult::Bytes)
            return true;
        if (ms == 0)
            return false;
        if (r == PullResult::Spurious)
            QThread::msleep(1); // readable but empty: do not turn that into a busy loop
    }
    // A port that is not open: no bytes can come, so the wait simply runs out.
    const auto left = ceil<milliseconds>(deadline - steady_clock::now());
    if (left.count() > 0)
        QThread::msleep(static_cast<unsigned long>(left.count()));
    return false;
}

void QtSerialPortAdapter::setPortDataReceived(std::function<void()> handler)
{
    m_received.setHandler(std::move(handler));
}

void QtSerialPortAdapter::onError(QSerialPort::SerialPortError error)
{
    // The device is gone: from now on writes are dropped and waits sleep out their limit
    // instead of failing at once in a loop.
    if (error == QSerialPort::ResourceError)
        m_vanished = true;
}
