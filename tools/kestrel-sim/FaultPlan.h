// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <chrono>
#include <random>

// The faults an operator or a reliability test asks for. Several can act together; the only
// source of randomness is the seeded generator, so a run can be repeated byte for byte.
class FaultPlan
{
public:
    // How late the tail of a reply comes with "tail:N": well past a client's 2-second limit.
    static constexpr std::chrono::milliseconds TailDelay{2500};

    // Adds one fault: "silent", "slow:MS", "cut", "garbage", "drop:N", "hangup:N", "lf:N",
    // "tail:N" or "deaf".
    bool add(QStringView fault, QString *error);
    void seed(quint32 seed) { m_random.seed(seed); }

    // Commands are counted from 1 as they arrive, empty lines included.
    bool drops(int command) const { return m_dropEvery > 0 && command % m_dropEvery == 0; }
    bool hangsUpAfter(int command) const { return m_hangupAfter > 0 && command >= m_hangupAfter; }
    bool answers() const { return !m_silent; }
    // The answer to this command goes out without its last line end and ".", which follow
    // TailDelay later.
    bool splitsTail(int command) const { return command == m_tailAt; }
    // Commands that come in while an answer is still going out are ignored, as by hardware
    // that does not listen while it talks.
    bool deaf() const { return m_deaf; }
    std::chrono::milliseconds extraDelay() const { return m_slow; }

    // The bytes that go on the wire instead of a complete reply (which ends with ".").
    QByteArray disturb(QByteArray reply, int command);

private:
    bool m_silent = false;
    bool m_cut = false;
    bool m_garbage = false;
    std::chrono::milliseconds m_slow{0};
    int m_dropEvery = 0;
    int m_hangupAfter = 0;
    int m_lfLostAt = 0;
    int m_tailAt = 0;
    bool m_deaf = false;
    std::mt19937 m_random{1};
};
