// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/ReceiveNotice.h"
#include "link/SerialPort.h"
#include "link/TelnetCodec.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QTcpSocket>

// The serial line behind a serial device server or ser2net, reached over TCP:
// "socket://HOST:PORT" carries the line's bytes as they are, "rfc2217://HOST:PORT" speaks
// Telnet with COM port control and sets 9600 8N1 without flow control when it connects. It
// behaves as a local port does: blocking waits on the calling thread, writes to a lost
// connection dropped as if sent, waits then sleeping out their limit. A lost connection is
// made again by the next write (the probe when the operator goes online again).
//
// A peer that sends without end cannot fill memory: an exchange (from one write to the next)
// lets in at most ExchangeLimit bytes, more than two seconds of a 9600 bit/s line carry, and
// drops the rest; what the socket and the Telnet decoder keep is bounded too.
class NetworkPort : public QObject, public SerialPort
{
    Q_OBJECT
public:
    static constexpr qint64 ExchangeLimit = 4096;
    // Waiting to go out while the peer takes nothing; beyond it writes are dropped.
    static constexpr qint64 WriteLimit = 64 * 1024;
    // The longest the connection (and the Telnet negotiation) may take when the port opens.
    static constexpr std::chrono::milliseconds ConnectLimit{2000};

    // True when `device` names a port on the network rather than a device path.
    static bool names(const QString &device);

    explicit NetworkPort(QObject *parent = nullptr);
    ~NetworkPort() override;

    void PortSetNumber(int) override {}
    void PortSetDevice(const QString &device) override { m_device = device; }
    bool PortOpen() override;
    void PortClose() override;
    void PortWrite(const QByteArray &bytes) override;
    qint64 PortInCount() override;
    QByteArray PortRead(qint64 n) override;
    bool PortWaitForData(Duration limit) override;
    void setPortDataReceived(std::function<void()> handler) override;

    // Why the last PortOpen failed, with the system's reason; "" after one that succeeded.
    QString openErrorString() const { return m_openErrorString; }
    bool isConnected() const { return m_socket.state() == QAbstractSocket::ConnectedState; }

private:
    bool parse();
    void connectTo(const QHostAddress &address);
    // Moves what the socket holds into the line's bytes, within the exchange's limit.
    void pull();

    QTcpSocket m_socket;
    QString m_device;
    bool m_telnet = false;
    QString m_host;
    quint16 m_portNumber = 0;
    QList<QHostAddress> m_addresses;
    // Opened and not closed since: a lost connection is to be made again.
    bool m_wanted = false;
    TelnetCodec m_codec;
    QByteArray m_in;
    QByteArray m_unsent; // written while the connection was being made
    qint64 m_taken = 0;  // let in since the last write
    QString m_openErrorString;
    ReceiveNotice m_received;
};
