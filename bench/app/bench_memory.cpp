// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// Peak memory of the running configurator with 999 outputs, 999 inputs and a full matrix: the
// real program, online against kestrel-sim preloaded with a mapping for every output (a third
// of them boolean), which the start reads back into the lists. Measured from outside as the
// process's VmHWM once the window is up, the read-back is done and the figure has settled.
// Without a display it runs itself under xvfb-run.
//
//   bench_memory [RUNS] [KESTREL] [SIM]     RUNS default 3

#include "X11Windows.h"

#include "matrix/MapString.h"
#include "model/SystemModel.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double TargetMb = 60;

double msSince(Clock::time_point t0)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}

qint16 outUnit(int i) { return qint16(1 + (i - 1) / 100); }
qint16 outChannel(int i) { return qint16(1 + (i - 1) % 100); }
qint16 inUnit(int j) { return qint16(20 + (j - 1) / 100); }
qint16 inChannel(int j) { return qint16(1 + (j - 1) % 100); }

QByteArray studioIni(const QString &device)
{
    QByteArray ini =
        "[Kestrel]\r\nSystem=Bench studio\r\nCommPort=1\r\nCommDevice=" + device.toUtf8() +
        "\r\nEnabledUnits=1,2,3,4,5,6,7,8,9,10\r\n";
    for (int i = 1; i <= MaxDeclared; ++i)
        ini += "Output " + QByteArray::number(i) + "=Wall tile " + QByteArray::number(i) + "," +
               QByteArray::number(outUnit(i)) + "," + QByteArray::number(outChannel(i)) + "\r\n";
    for (int j = 1; j <= MaxDeclared; ++j)
        ini += "Input " + QByteArray::number(j) + "=Mixer bus " + QByteArray::number(j) + "," +
               QByteArray::number(inUnit(j)) + "," + QByteArray::number(inChannel(j)) + "\r\n";
    return ini;
}

// Every output mapped; every third to the AND of two inputs.
QByteArray fullTable()
{
    QByteArray rows;
    for (int i = 1; i <= MaxDeclared; ++i) {
        const int j = 1 + (i * 37) % MaxDeclared;
        const int k = 1 + (i * 91) % MaxDeclared;
        const QString row =
            i % 3 ? ComposeMapString(outUnit(i), outChannel(i), inUnit(j), inChannel(j))
                  : ComposeBoolMapString(outUnit(i), outChannel(i), inUnit(j), inChannel(j),
                                         inUnit(k), inChannel(k), AndMapping);
        rows += row.toLatin1() + "\r\n";
    }
    return rows;
}

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

int rowsAsked(const QString &log)
{
    QFile f(log);
    if (!f.open(QIODevice::ReadOnly))
        return 0;
    int n = 0;
    for (const QByteArray &line : f.readAll().split('\n'))
        n += line.contains(" RawMap ") ? 1 : 0;
    return n;
}

struct Run
{
    long hwmKb = -1;
    long rssKb = -1;
    int rows = 0;
    double loadedMs = 0;
};

bool runOnce(X11Windows &x, const QString &program, const QString &simPath, const QString &table,
             const QString &dir, Run *run)
{
    const QString link = dir + u"/tty"_s;
    const QString log = dir + u"/commands.log"_s;
    QFile::remove(log);
    QProcess sim;
    sim.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    sim.start(simPath,
              {u"--link"_s, link, u"--rows"_s, table, u"--log"_s, log, u"--baud"_s, u"0"_s});
    if (!sim.waitForStarted(5000))
        return false;
    for (int i = 0; i < 100 && !QFile::exists(link); ++i)
        QThread::msleep(20);

    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedChannels);
    const Clock::time_point t0 = Clock::now();
    p.start(program, {});
    bool ok = false;
    // The window up, and every row of the table asked for.
    while (msSince(t0) < 60000 && p.state() != QProcess::NotRunning) {
        const xcb_window_t w = x.withTitle("Kestrel", true);
        if (w && x.painted(w) && rowsAsked(log) >= MaxDeclared) {
            ok = true;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    run->loadedMs = msSince(t0);
    run->rows = rowsAsked(log);
    if (ok) {
        // The lists are redrawn after the last row: wait for the figure to stand still.
        long last = -1;
        Clock::time_point still = Clock::now();
        while (msSince(still) < 1500 && msSince(t0) < 90000) {
            const long hwm = statusKb(p.processId(), "VmHWM:");
            if (hwm != last) {
                last = hwm;
                still = Clock::now();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        run->hwmKb = statusKb(p.processId(), "VmHWM:");
        run->rssKb = statusKb(p.processId(), "VmRSS:");
        // Online and quiet: no box about the port or the line.
        ok = !x.withTitle("Port Conflict", true) && !x.withTitle("Communication Error", true) &&
             run->hwmKb > 0;
    }
    p.kill();
    p.waitForFinished(5000);
    sim.terminate();
    sim.waitForFinished(5000);
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
    const int runs = args.size() > 1 ? std::max(1, args[1].toInt()) : 3;
    const QString built = args.size() > 2 ? args[2] : QStringLiteral(KESTREL_PATH);
    const QString simPath = args.size() > 3 ? args[3] : QStringLiteral(KESTREL_SIM_PATH);

    QTemporaryDir dir;
    const QString program = dir.filePath(u"kestrel"_s);
    QFile ini(dir.filePath(u"Kestrel.ini"_s));
    QFile table(dir.filePath(u"table.qvr"_s));
    if (!dir.isValid() || !QFile::copy(built, program) || !ini.open(QIODevice::WriteOnly) ||
        ini.write(studioIni(dir.filePath(u"tty"_s))) < 0 || !table.open(QIODevice::WriteOnly) ||
        table.write(fullTable()) < 0) {
        std::fprintf(stderr, "cannot stage the program directory from %s\n", qPrintable(built));
        return 1;
    }
    ini.close();
    table.close();
    X11Windows x;
    if (!x.connected() || x.withTitle("Kestrel", false)) {
        std::fprintf(stderr, "no X display, or a window titled Kestrel is already on it\n");
        return 1;
    }

    std::vector<Run> done;
    for (int r = 0; r < runs; ++r) {
        Run run;
        if (!runOnce(x, program, simPath, table.fileName(), dir.path(), &run)) {
            std::fprintf(stderr,
                         "run %d: the configurator did not come up online with the "
                         "full matrix (%d rows asked)\n",
                         r + 1, run.rows);
            return 1;
        }
        done.push_back(run);
    }
    std::vector<long> hwm, rss;
    for (const Run &r : done) {
        hwm.push_back(r.hwmKb);
        rss.push_back(r.rssKb);
    }
    std::sort(hwm.begin(), hwm.end());
    std::sort(rss.begin(), rss.end());
    const double worst = double(hwm.back()) / 1024.0;
    std::printf("outputs / inputs / rows  999 / 999 / %d read back online (a third boolean)\n",
                done.front().rows);
    std::printf("runs                     %d (window up and matrix read after %.1f s at 0 bit/s)\n",
                runs, done.front().loadedMs / 1000.0);
    std::printf("peak memory (VmHWM)      median %.1f MB, worst %.1f MB   (target < %.0f MB: %s)\n",
                double(hwm[hwm.size() / 2]) / 1024.0, worst, TargetMb,
                worst < TargetMb ? "met" : "MISSED");
    std::printf("resident then (VmRSS)    median %.1f MB\n", double(rss[rss.size() / 2]) / 1024.0);
    return 0;
}
