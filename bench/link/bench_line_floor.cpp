// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// What it costs, on this machine, merely to be woken for every character of a 9600 bit/s line:
// a pseudo-terminal fed one character per character time by a writer process (as the virtual
// tally system is one), read by the plainest loop there is: poll, then read what is there.
// The read-back benchmark's processor figure cannot go below this one as long as characters
// arrive one at a time, as the virtual tally system sends them.
//
//   bench_line_floor [CHARACTERS] [RUNS]     defaults 5000 characters (about 5 s), 3 runs

#include "support/LineBench.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

struct Run
{
    double wall = 0;
    double cpu = 0;
    long wakes = 0;
};

// One run: the writer sends `count` characters on an absolute schedule, the reader takes them.
bool runOnce(int count, Run &run)
{
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
        return false;
    const int reader = ::open(ptsname(master), O_RDWR | O_NOCTTY);
    if (reader < 0) {
        ::close(master);
        return false;
    }
    termios raw{};
    tcgetattr(reader, &raw);
    cfmakeraw(&raw);
    tcsetattr(reader, TCSANOW, &raw);

    const auto characterTime =
        std::chrono::nanoseconds(static_cast<long long>(1e9 * BitsPerCharacter / Baud));
    const pid_t writer = fork();
    if (writer < 0)
        return false;
    if (writer == 0) {
        timespec due{};
        clock_gettime(CLOCK_MONOTONIC, &due);
        for (int i = 0; i < count; ++i) {
            due.tv_nsec += static_cast<long>(characterTime.count());
            while (due.tv_nsec >= 1000000000L) {
                due.tv_nsec -= 1000000000L;
                ++due.tv_sec;
            }
            clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &due, nullptr);
            if (::write(master, "x", 1) != 1)
                _exit(1);
        }
        _exit(0);
    }

    const double cpu0 = cpuSeconds();
    const auto t0 = std::chrono::steady_clock::now();
    int received = 0;
    char buffer[256];
    while (received < count) {
        pollfd p{reader, POLLIN, 0};
        if (::poll(&p, 1, 2000) <= 0)
            break; // the writer stopped: the figures of this run would mean nothing
        ++run.wakes;
        const ssize_t n = ::read(reader, buffer, sizeof buffer);
        if (n > 0)
            received += static_cast<int>(n);
    }
    run.wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    run.cpu = cpuSeconds() - cpu0;
    waitpid(writer, nullptr, 0);
    ::close(reader);
    ::close(master);
    return received == count;
}

} // namespace

int main(int argc, char *argv[])
{
    const int count = argc > 1 ? std::clamp(std::atoi(argv[1]), 100, 1000000) : 5000;
    const int runs = argc > 2 ? std::clamp(std::atoi(argv[2]), 1, 50) : 3;

    std::vector<double> shares;
    for (int r = 0; r < runs; ++r) {
        Run run;
        if (!runOnce(count, run)) {
            std::fprintf(stderr, "run %d: the pseudo-terminal did not carry every character\n",
                         r + 1);
            return 1;
        }
        const double share = 100.0 * run.cpu / run.wall;
        shares.push_back(share);
        std::printf("run %d            %d characters, %ld wake-ups, %.3f s wall, CPU %.3f s "
                    "(%.2f %% of wall, %.1f us a wake-up)\n",
                    r + 1, count, run.wakes, run.wall, run.cpu, share,
                    1e6 * run.cpu / double(std::max(1L, run.wakes)));
    }
    std::sort(shares.begin(), shares.end());
    std::printf("floor            median %.2f %% of wall, least %.2f %% (a reader woken for "
                "every character at %d bit/s)\n",
                shares[shares.size() / 2], shares.front(), Baud);
    return 0;
}
