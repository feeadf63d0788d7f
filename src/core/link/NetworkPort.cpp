// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "link/NetworkPort.h"

#include <QHostInfo>
#include <QThread>
#include <QUrl>

#include <algorithm>

using namespace std::chrono;
using namespace Qt::StringLiterals;

namespace {

int millisecondsUntil(steady_clock::time_point deadline)
{
    const auto left = ceil<milliseconds>(deadline - steady_clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 24 * 3600 * 1000));
}

} // namespace

bool NetworkPort::names(const QString &device)
{
    return device.startsWith(u"socket://"_s, Qt::CaseInsensitive) ||
           device.startsWith(u"rfc2217://"_s, Qt::CaseInsensitive);
}

NetworkPort::NetworkPort(QObject *parent) : QObject(parent)
{
    // The socket's own buffer stays small; the exchange's limit bounds the rest.
    m_socket.setReadBufferSize(16 * 1024);
    // Direct: readyRead is also emitted inside the blocking waits, where only a flag is set.
    connect(&m_socket, &QTcpSocket::readyRead, &m_received, &ReceiveNotice::arrived);
    // A command goes out at once rather than waiting to be joined by more.
    connect(&m_socket, &QTcpSocket::connected, this, [this] {
        m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        // What was written while connecting goes out now, after the Telnet offers.
        m_socket.write((m_telnet ? m_codec.start() : QByteArray()) + m_unsent);
        m_unsent.clear();
        m_socket.flush();
    });
}

NetworkPort::~NetworkPort()
{
    m_received.setHandler({});
    PortClose();
}

bool NetworkPort::parse()
{
    const QUrl url(m_device.trimmed(), QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    m_telnet = scheme == u"rfc2217"_s;
    m_host = url.host();
    const int port = url.port();
    if (!url.isValid() || (scheme != u"socket"_s && !m_telnet) || m_host.isEmpty() || port < 1 ||
        (!url.path().isEmpty() && url.path() != u"/"_s))
        return false;
    m_portNumber = static_cast<quint16>(port);
    return true;
}

bool NetworkPort::PortOpen()
{
    PortClose();
    m_openErrorString.clear();
    m_addresses.clear();
    if (!parse()) {
        m_openErrorString = u"%1 is no network port: write socket://HOST:PORT or "
                            u"rfc2217://HOST:PORT"_s.arg(m_device);
        return false;
    }
    // Looked up once: a connection made again later must not wait on the name service.
    const QHostInfo info = QHostInfo::fromName(m_host);
    if (info.error() != QHostInfo::NoError || info.addresses().isEmpty()) {
        m_openErrorString = u"cannot connect to %1: %2"_s.arg(m_device, info.errorString());
        return false;
    }
    m_addresses = info.addresses();
    m_wanted = true;
    for (const QHostAddress &address : std::as_const(m_addresses)) {
        connectTo(address);
        if (m_socket.waitForConnected(static_cast<int>(ConnectLimit.count()))) {
            m_addresses = {address};
            break;
        }
        m_openErrorString = u"cannot connect to %1: %2"_s.arg(m_device, m_socket.errorString());
        m_socket.abort();
    }
    if (!isConnected())
        return false;
    // The line is set before the first command goes out, when the server takes part.
    const auto deadline = steady_clock::now() + ConnectLimit;
    while (m_telnet && !m_codec.comPortAnswered() && isConnected()) {
        const int ms = millisecondsUntil(deadline);
        if (ms == 0 || (!m_socket.waitForReadyRead(ms) &&
                        m_socket.error() == QAbstractSocket::SocketTimeoutError))
            break;
        pull();
    }
    return true;
}

void NetworkPort::connectTo(const QHostAddress &address)
{
    m_socket.abort();
    m_in.clear();
    m_unsent.clear();
    m_socket.connectToHost(address, m_portNumber);
}

void NetworkPort::PortClose()
{
    m_wanted = false;
    m_socket.abort();
    m_in.clear();
    m_unsent.clear();
    m_taken = 0;
}

void NetworkPort::PortWrite(const QByteArray &bytes)
{
    m_taken = 0; // a new exchange
    if (m_socket.state() == QAbstractSocket::UnconnectedState) {
        if (!m_wanted || m_addresses.isEmpty())
            return; // treated as sent; the reply wait then ends with its time-out
        connectTo(m_addresses.front()); // not waited for: the reply's wait covers it
    }
    if (bytes.isEmpty() || m_socket.bytesToWrite() > WriteLimit)
        return;
    const QByteArray wire = m_telnet ? TelnetCodec::escape(bytes) : bytes;
    if (!isConnected()) {
        // Goes out once the reply's wait has made the connection. A command whose exchange
        // ended before that is dropped, as on an unplugged adapter, never sent late.
        m_unsent = wire;
        return;
    }
    m_socket.write(wire);
    m_socket.flush();
}

void NetworkPort::pull()
{
    while (m_socket.bytesAvailable() > 0) {
        const QByteArray raw = m_socket.read(4096);
        QByteArray data = raw;
        if (m_telnet) {
            QByteArray answers;
            data = m_codec.decode(raw, answers);
            if (!answers.isEmpty() && m_socket.bytesToWrite() < WriteLimit) {
                m_socket.write(answers);
                m_socket.flush();
            }
        }
        // Past the exchange's limit the bytes are read and dropped, so that the peer's flood
        // neither fills memory nor stops the socket.
        const qint64 room = std::min(ExchangeLimit - m_taken, ExchangeLimit - m_in.size());
        if (room > 0) {
            m_in += data.left(room);
            m_taken += std::min<qint64>(room, data.size());
        }
    }
}

qint64 NetworkPort::PortInCount()
{
    // Also takes in, without blocking, what arrived while no event loop ran: the flush before
    // a command must see it.
    if (m_in.isEmpty() && m_socket.state() == QAbstractSocket::ConnectedState) {
        pull();
        if (m_in.isEmpty() && m_socket.waitForReadyRead(0))
            pull();
    }
    return m_in.size();
}

QByteArray NetworkPort::PortRead(qint64 n)
{
    if (n <= 0)
        return {};
    const QByteArray out = m_in.left(n);
    m_in.remove(0, out.size());
    return out;
}

bool NetworkPort::PortWaitForData(Duration limit)
{
    const auto deadline = steady_clock::now() + limit;
    for (;;) {
        pull();
        if (!m_in.isEmpty())
            return true;
        const int ms = millisecondsUntil(deadline);
        if (m_socket.state() == QAbstractSocket::UnconnectedState) {
            // Nothing can come: the wait runs out as on a line without a tally system.
            QThread::msleep(static_cast<unsigned long>(ms));
            return false;
        }
        if (ms == 0)
            return false;
        if (!m_socket.waitForReadyRead(ms) &&
            m_socket.error() != QAbstractSocket::SocketTimeoutError &&
            m_socket.state() != QAbstractSocket::UnconnectedState) {
            pull();
            m_socket.abort(); // broken: treated as lost, and made again by the next write
        }
    }
}

void NetworkPort::setPortDataReceived(std::function<void()> handler)
{
    m_received.setHandler(std::move(handler));
}
