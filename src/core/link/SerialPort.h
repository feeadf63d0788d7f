// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>

// The serial port as the device link needs it: one line, opened with fixed settings, bytes in
// and out, a blocking wait for received bytes, and a notification that bytes have arrived.
// The application uses QtSerialPortAdapter; tests use a scripted in-memory port.
class SerialPort
{
public:
    using Duration = std::chrono::steady_clock::duration;

    virtual ~SerialPort() = default;

    // Port number n (1..255) as the operators know it; the device opened is derived from it
    // unless a device path is given.
    virtual void PortSetNumber(int number) = 0;
    // A device path (a USB adapter, the virtual tally system's link) used instead of the
    // numbered port; "" goes back to the numbered port. Takes effect at the next PortOpen.
    virtual void PortSetDevice(const QString &path) = 0;
    // False when the port is not available.
    virtual bool PortOpen() = 0;
    // Why the last PortOpen failed, naming the port and the system's reason; "" where the port
    // cannot tell.
    virtual QString openFailure() const { return {}; }
    virtual void PortClose() = 0;

    // Sends the bytes as given, no terminator of its own. A port that is not open swallows them.
    virtual void PortWrite(const QByteArray &bytes) = 0;
    // Received bytes waiting to be read; 0 when none.
    virtual qint64 PortInCount() = 0;
    // Removes and returns up to n waiting bytes; empty for n <= 0.
    virtual QByteArray PortRead(qint64 n) = 0;
    // Blocks until at least one byte waits or `limit` has passed; true when bytes wait. Never
    // returns early without bytes, so a caller looping on it does not spin.
    virtual bool PortWaitForData(Duration limit) = 0;

    // PortDataReceived: called on the thread that owns the port, between events, after bytes
    // have arrived; never from inside PortWaitForData or any other call above. An empty
    // function detaches the receiver.
    virtual void setPortDataReceived(std::function<void()> handler) = 0;
};
