// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <bitset>

// The client's side of Telnet as a serial device server speaks it with the COM port control
// option of RFC 2217: the line's bytes go through in binary mode with 0xFF doubled, the server's
// option requests are answered, and once the server agrees to COM port control the line is set
// to 9600 bit/s, 8 data bits, no parity, 1 stop bit, no flow control. Commands and
// subnegotiations it does not know are skipped. Pure bytes in and out: no socket, no clock.
class TelnetCodec
{
public:
    static constexpr unsigned char IAC = 255, DONT = 254, DO = 253, WONT = 252, WILL = 251,
                                   SB = 250, SE = 240;
    static constexpr unsigned char Binary = 0, SuppressGoAhead = 3, ComPort = 44;
    // RFC 2217's client commands used here.
    static constexpr unsigned char SetBaudRate = 1, SetDataSize = 2, SetParity = 3, SetStopSize = 4,
                                   SetControl = 5;
    // A subnegotiation's bytes kept at most: the server's answers to the settings are a few
    // bytes; a longer one is skipped to its end without being kept.
    static constexpr qsizetype SubnegotiationLimit = 64;

    // Back to the state of a new connection; returns what the client offers first.
    QByteArray start();
    // The line's bytes among `received` (a piece of the stream, cut anywhere), in order. What
    // the server's requests call for is appended to `answers`.
    QByteArray decode(const QByteArray &received, QByteArray &answers);
    // The line's bytes as they go on the wire: every 0xFF doubled.
    static QByteArray escape(const QByteArray &bytes);
    // The subnegotiations that set the line: 9600 8N1, no flow control.
    static QByteArray lineSettings();

    // True once the server has answered the offer of COM port control, either way.
    bool comPortAnswered() const { return m_comPortAnswered; }
    bool comPortAgreed() const { return m_us.test(ComPort); }

private:
    void option(unsigned char verb, unsigned char code, QByteArray &answers);

    enum class State { Data, Command, Option, Subnegotiation, SubnegotiationCommand };
    State m_state = State::Data;
    unsigned char m_verb = 0;
    QByteArray m_subnegotiation;
    // Options in force (or offered and not refused): on our side, on the server's side.
    std::bitset<256> m_us;
    std::bitset<256> m_him;
    // Offered by us (WILL, DO) and not yet answered.
    std::bitset<256> m_usPending;
    std::bitset<256> m_himPending;
    bool m_comPortAnswered = false;
};
