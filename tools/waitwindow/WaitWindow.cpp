// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// kestrel-waitwindow TITLE [TIMEOUT_MS]: waits until a top-level window with exactly this title
// is on the X display, mapped and drawn into; prints how long that took. Exit status 1 when
// it has not happened within the time (default 20000 ms), 2 without a display.
#include "X11Windows.h"

#include <chrono>
#include <cstdio>
#include <thread>

int main(int argc, char *argv[])
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: kestrel-waitwindow TITLE [TIMEOUT_MS]\n");
        return 2;
    }
    const QByteArray title(argv[1]);
    const auto limit = std::chrono::milliseconds(argc > 2 ? std::atoi(argv[2]) : 20000);
    X11Windows x;
    if (!x.connected()) {
        std::fprintf(stderr, "kestrel-waitwindow: no X display\n");
        return 2;
    }
    const auto t0 = std::chrono::steady_clock::now();
    for (;;) {
        const xcb_window_t w = x.withTitle(title, true);
        const auto waited = std::chrono::steady_clock::now() - t0;
        if (w && x.painted(w)) {
            std::printf("window \"%s\" shown after %lld ms\n", argv[1],
                        static_cast<long long>(
                            std::chrono::duration_cast<std::chrono::milliseconds>(waited).count()));
            return 0;
        }
        if (waited > limit) {
            std::fprintf(stderr, "no window \"%s\" shown within %lld ms\n", argv[1],
                         static_cast<long long>(limit.count()));
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}
