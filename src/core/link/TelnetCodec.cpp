// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "link/TelnetCodec.h"

#include <initializer_list>

namespace {

QByteArray bytes(std::initializer_list<unsigned char> list)
{
    QByteArray out;
    for (unsigned char b : list)
        out += static_cast<char>(b);
    return out;
}

QByteArray command(unsigned char verb, unsigned char code)
{
    return bytes({TelnetCodec::IAC, verb, code});
}

// Options the client takes on its own side and asks of the server: binary, so that CR and
// 0xFF are the line's bytes and nothing is inserted after CR; no go-ahead; COM port control is
// the client's alone.
bool wantedByUs(unsigned char code)
{
    return code == TelnetCodec::Binary || code == TelnetCodec::SuppressGoAhead ||
           code == TelnetCodec::ComPort;
}
bool wantedOfHim(unsigned char code)
{
    return code == TelnetCodec::Binary || code == TelnetCodec::SuppressGoAhead;
}

} // namespace

QByteArray TelnetCodec::start()
{
    *this = TelnetCodec();
    QByteArray offer;
    for (unsigned char code : {Binary, SuppressGoAhead, ComPort}) {
        m_us.set(code);
        m_usPending.set(code);
        offer += command(WILL, code);
    }
    for (unsigned char code : {Binary, SuppressGoAhead}) {
        m_him.set(code);
        m_himPending.set(code);
        offer += command(DO, code);
    }
    return offer;
}

QByteArray TelnetCodec::escape(const QByteArray &bytes)
{
    QByteArray out;
    out.reserve(bytes.size() + bytes.count('\xff'));
    for (char c : bytes) {
        out += c;
        if (static_cast<unsigned char>(c) == IAC)
            out += c;
    }
    return out;
}

QByteArray TelnetCodec::lineSettings()
{
    const auto set = [](unsigned char what, const QByteArray &value) {
        return bytes({IAC, SB, ComPort, what}) + escape(value) + bytes({IAC, SE});
    };
    constexpr quint32 rate = 9600;
    const QByteArray rateBytes =
        bytes({rate >> 24, rate >> 16 & 0xff, rate >> 8 & 0xff, rate & 0xff});
    return set(SetBaudRate, rateBytes) + set(SetDataSize, QByteArray(1, 8)) +
           set(SetParity, QByteArray(1, 1))     // NONE
           + set(SetStopSize, QByteArray(1, 1)) // 1 stop bit
           + set(SetControl, QByteArray(1, 1)); // no flow control
}

QByteArray TelnetCodec::decode(const QByteArray &received, QByteArray &answers)
{
    QByteArray data;
    data.reserve(received.size());
    for (char c : received) {
        const auto b = static_cast<unsigned char>(c);
        switch (m_state) {
        case State::Data:
            if (b == IAC)
                m_state = State::Command;
            else
                data += c;
            break;
        case State::SubnegotiationCommand:
            if (b == SE) {
                m_state = State::Data; // the server's answers to the settings need no action
                break;
            }
            if (b == IAC) {
                if (m_subnegotiation.size() < SubnegotiationLimit)
                    m_subnegotiation += c;
                m_state = State::Subnegotiation;
                break;
            }
            // Any other command ends a malformed subnegotiation and counts on its own.
            [[fallthrough]];
        case State::Command:
            m_state = State::Data;
            if (b == IAC) {
                data += c;
            } else if (b >= WILL) {
                m_verb = b;
                m_state = State::Option;
            } else if (b == SB) {
                m_subnegotiation.clear();
                m_state = State::Subnegotiation;
            } // others (NOP, go-ahead, break, ...) carry nothing for the line
            break;
        case State::Option:
            option(m_verb, b, answers);
            m_state = State::Data;
            break;
        case State::Subnegotiation:
            if (b == IAC)
                m_state = State::SubnegotiationCommand;
            else if (m_subnegotiation.size() < SubnegotiationLimit)
                m_subnegotiation += c;
            break;
        }
    }
    return data;
}

void TelnetCodec::option(unsigned char verb, unsigned char code, QByteArray &answers)
{
    // A request for the state an option is already in is never answered, so that the two ends
    // cannot loop (RFC 854); an answer to an offer of ours is not answered either.
    const bool pending =
        (verb == DO || verb == DONT) ? m_usPending.test(code) : m_himPending.test(code);
    if (verb == DO || verb == DONT) {
        m_usPending.reset(code);
        if (code == ComPort && !m_comPortAnswered) {
            m_comPortAnswered = true;
            if (verb == DO)
                answers += lineSettings();
        }
    } else {
        m_himPending.reset(code);
    }
    switch (verb) {
    case DO:
        if (!wantedByUs(code))
            answers += command(WONT, code);
        else if (!m_us.test(code)) {
            m_us.set(code);
            answers += command(WILL, code);
        }
        break;
    case DONT:
        if (m_us.test(code)) {
            m_us.reset(code);
            if (!pending)
                answers += command(WONT, code);
        }
        break;
    case WILL:
        if (!wantedOfHim(code))
            answers += command(DONT, code);
        else if (!m_him.test(code)) {
            m_him.set(code);
            answers += command(DO, code);
        }
        break;
    case WONT:
        if (m_him.test(code)) {
            m_him.reset(code);
            if (!pending)
                answers += command(DONT, code);
        }
        break;
    default:
        break;
    }
}
