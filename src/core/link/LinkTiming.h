// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QThread>

#include <algorithm>
#include <chrono>
#include <functional>

// Time as the device link sees it, passed in so that tests can run it on a fake clock.

// Monotonic: the reply deadline must not care about midnight or a clock being set.
using MonotonicClock = std::function<std::chrono::steady_clock::time_point()>;
// Blocks the calling thread for the given time; no events are served meanwhile.
using Pause = std::function<void(std::chrono::milliseconds)>;

inline MonotonicClock SteadyClock()
{
    return [] { return std::chrono::steady_clock::now(); };
}

inline Pause ThreadPause()
{
    return [](std::chrono::milliseconds time) {
        QThread::msleep(static_cast<unsigned long>(std::max<long long>(0, time.count())));
    };
}
