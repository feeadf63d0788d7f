// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// Start-up of the real configurator with 999 outputs and 999 inputs, offline: the time from
// starting the process until its main window is on the screen, mapped and drawn into, seen
// from outside on the X display. Also the memory it holds once the window is up.
//
// The program directory is a temporary one with a copy of the configurator (it reads
// Kestrel.ini beside its real file) and a CommDevice that does not exist: after the window
// is shown the start says "Port Conflict", which also shows that Kestrel.ini was read.
// Without a display it runs itself under xvfb-run.
//
//   bench_startup [RUNS] [KESTREL]    RUNS after one unmeasured cold start (default 7)

#include "X11Windows.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double TargetMs = 300;

double msSince(Clock::time_point t0)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}

QByteArray studioIni(const QString &device)
{
    QByteArray ini =
        "[Kestrel]\r\nSystem=Bench studio\r\nCommPort=1\r\nCommDevice=" + device.toUtf8() +
        "\r\nEnabledUnits=1,2,3,4,5,6,7,8,9,10\r\n";
    for (int i = 1; i <= 999; ++i)
        ini += "Output " + QByteArray::number(i) + "=Wall tile " + QByteArray::number(i) + "," +
               QByteArray::number(1 + (i - 1) / 100) + "," + QByteArray::number(1 + (i - 1) % 100) +
               "\r\n";
    for (int j = 1; j <= 999; ++j)
        ini += "Input " + QByteArray::number(j) + "=Mixer bus " + QByteArray::number(j) + "," +
               QByteArray::number(20 + (j - 1) / 100) + "," +
               QByteArray::number(1 + (j - 1) % 100) + "\r\n";
    return ini;
}

// The kB figure of one line of /proc/PID/status ("VmHWM:", "VmRSS:"); -1 when absent.
long statusKb(qint64 pid, const char *key)
{
    QFile f(u"/proc/%1/status"_s.arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : f.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(qstrlen(key)).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

struct Run
{
    double mappedMs = -1;   // the window mapped
    double shownMs = -1;    // ... and drawn into
    double conflictMs = -1; // the "Port Conflict" box shown
    long hwmKb = -1;
};

// One start, measured; the process is ended again and its windows are gone on return.
bool startOnce(X11Windows &x, const QString &program, Run *run)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedChannels);
    const Clock::time_point t0 = Clock::now();
    p.start(program, {});
    bool ok = false;
    while (msSince(t0) < 20000) {
        const xcb_window_t w = x.withTitle("Kestrel", true);
        if (w && run->mappedMs < 0)
            run->mappedMs = msSince(t0);
        if (w && x.painted(w)) {
            run->shownMs = msSince(t0);
            ok = true;
            break;
        }
        if (p.state() == QProcess::NotRunning)
            break;
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    if (ok) {
        // Kestrel.ini was read and the start went on past the window.
        ok = false;
        while (msSince(t0) < 20000 && p.state() != QProcess::NotRunning) {
            const xcb_window_t box = x.withTitle("Port Conflict", true);
            if (box && x.painted(box)) {
                run->conflictMs = msSince(t0);
                ok = true;
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        run->hwmKb = statusKb(p.processId(), "VmHWM:");
    }
    p.kill();
    p.waitForFinished(5000);
    // The next copy must not find this one's window and think it is already running.
    const Clock::time_point t1 = Clock::now();
    while (x.withTitle("Kestrel", false) && msSince(t1) < 5000)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return ok;
}

} // namespace

int main(int argc, char *argv[])
{
    EnsureDisplay(argc, argv);
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int runs = args.size() > 1 ? std::max(1, args[1].toInt()) : 7;
    const QString built = args.size() > 2 ? args[2] : QStringLiteral(KESTREL_PATH);

    QTemporaryDir dir;
    const QString program = dir.filePath(u"kestrel"_s);
    QFile ini(dir.filePath(u"Kestrel.ini"_s));
    if (!dir.isValid() || !QFile::copy(built, program) || !ini.open(QIODevice::WriteOnly) ||
        ini.write(studioIni(dir.filePath(u"no-such-port"_s))) < 0) {
        std::fprintf(stderr, "cannot stage the program directory from %s\n", qPrintable(built));
        return 1;
    }
    ini.close();
    X11Windows x;
    if (!x.connected()) {
        std::fprintf(stderr, "no X display\n");
        return 1;
    }
    if (x.withTitle("Kestrel", false)) {
        std::fprintf(stderr, "a window titled Kestrel is already on this display\n");
        return 1;
    }

    Run cold;
    if (!startOnce(x, program, &cold)) {
        std::fprintf(stderr, "the configurator did not show its window and Port Conflict\n");
        return 1;
    }
    std::vector<Run> measured;
    for (int r = 0; r < runs; ++r) {
        Run run;
        if (!startOnce(x, program, &run)) {
            std::fprintf(stderr, "run %d: the configurator did not come up\n", r + 1);
            return 1;
        }
        measured.push_back(run);
    }
    auto sorted = [&](double Run::*field) {
        std::vector<double> v;
        for (const Run &r : measured)
            v.push_back(r.*field);
        std::sort(v.begin(), v.end());
        return v;
    };
    const std::vector<double> shown = sorted(&Run::shownMs);
    const std::vector<double> mapped = sorted(&Run::mappedMs);
    const std::vector<double> conflict = sorted(&Run::conflictMs);
    long hwm = 0;
    for (const Run &r : measured)
        hwm = std::max(hwm, r.hwmKb);

    std::printf("outputs / inputs         999 / 999, offline (CommDevice does not exist)\n");
    std::printf("runs                     %d after one cold start (cold: shown %.0f ms)\n", runs,
                cold.shownMs);
    std::printf("window mapped            median %.0f ms, worst %.0f ms\n",
                mapped[mapped.size() / 2], mapped.back());
    const double median = shown[shown.size() / 2];
    std::printf("window shown (drawn)     median %.0f ms, worst %.0f ms   (target < %.0f ms: %s)\n",
                median, shown.back(), TargetMs, median < TargetMs ? "met" : "MISSED");
    std::printf("Port Conflict shown      median %.0f ms\n", conflict[conflict.size() / 2]);
    std::printf("peak memory then         %.1f MB VmHWM\n", double(hwm) / 1024.0);
    return 0;
}
