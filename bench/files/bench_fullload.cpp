// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// A full load of a 999-line tally file, online, against kestrel-sim at 9600 bit/s, through the
// real serial port adapter, command channel, device commands, mapping and tally files. Prints
// how close the load comes to the time the line itself needs (every byte that crossed it, both
// ways, at 10 bits a character; the load makes no pauses of its own), and how much processor
// time it used meanwhile. Afterwards checks that every command was answered "OK", that the
// simulator logged exactly what was sent, and that sample rows of its table match the file.
//
//   bench_fullload [RUNS] [SIM]     RUNS default 3; SIM the kestrel-sim program

#include "events/Logic.h"
#include "link/QtSerialPortAdapter.h"
#include "matrix/MapString.h"
#include "model/NumberText.h"
#include "model/SystemModel.h"
#include "support/LineBench.h"
#include "view/MainView.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr double TargetRatio = 1.01;

qint16 outUnit(int i) { return qint16(1 + (i - 1) / 100); }
qint16 outChannel(int i) { return qint16(1 + (i - 1) % 100); }
qint16 inUnit(int j) { return qint16(20 + (j - 1) / 100); }
qint16 inChannel(int j) { return qint16(1 + (j - 1) % 100); }

void describeStudio(SystemModel &model)
{
    model.NumberOfOutputs = MaxDeclared;
    model.NumberOfInputs = MaxDeclared;
    for (int i = 1; i <= MaxDeclared; ++i) {
        model.OutputName[i] = u"Wall tile %1"_s.arg(i);
        model.OutputUnit[i] = outUnit(i);
        model.OutputChannel[i] = outChannel(i);
        model.InputName[i] = u"Mixer bus %1"_s.arg(i);
        model.InputUnit[i] = inUnit(i);
        model.InputChannel[i] = inChannel(i);
    }
    model.InputName[0] = u"Unassigned"_s;
    // Every unit the file uses, as a site would list them.
    model.EnabledUnitCount = 0;
    for (int u : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29})
        model.EnabledUnitList[++model.EnabledUnitCount] = qint16(u);
}

// A mapping for every output, in a shuffled order; every third an AND or OR of two inputs.
QStringList tallyLines()
{
    QStringList lines;
    for (int n = 0; n < MaxDeclared; ++n) {
        const int i = 1 + (n * 577) % MaxDeclared; // 577 is prime to 999: each output once
        const int j = 1 + (i * 37) % MaxDeclared;
        const int k = 1 + (i * 91) % MaxDeclared;
        lines << (i % 3 ? ComposeMapString(outUnit(i), outChannel(i), inUnit(j), inChannel(j))
                        : ComposeBoolMapString(outUnit(i), outChannel(i), inUnit(j), inChannel(j),
                                               inUnit(k), inChannel(k),
                                               i % 2 ? AndMapping : OrMapping));
    }
    return lines;
}

struct Run
{
    double wall = 0;
    double wire = 0;
    double cpu = 0;
    qint64 out = 0;
    qint64 in = 0;
    int commands = 0;
    double turns = 0;       // the configurator's own time between a reply and the next command
    double longestTurn = 0; // the longest of those, in seconds
    int turnCount = 0;
};

// One load into a freshly started simulator; false (with the reason printed) when the load
// did not do what it should.
bool loadOnce(const QString &simPath, const QString &file, const QStringList &lines,
              const QString &dir, Run *run)
{
    const QString log = dir + u"/commands.log"_s;
    QFile::remove(log);
    QProcess sim;
    sim.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // Preloaded with a full table, so that the load's "Init" has something to replace.
    sim.start(simPath, {u"--rows"_s, file, u"--baud"_s, QString::number(Baud), u"--log"_s, log});
    if (!sim.waitForStarted(5000) || !sim.waitForReadyRead(5000)) {
        std::fprintf(stderr, "kestrel-sim did not start: %s\n", qPrintable(simPath));
        return false;
    }
    const QString line = QString::fromLocal8Bit(sim.readLine()).trimmed();

    SystemModel model;
    describeStudio(model);
    QtSerialPortAdapter adapter;
    adapter.PortSetDevice(line);
    if (!adapter.PortOpen()) {
        std::fprintf(stderr, "cannot open %s\n", qPrintable(line));
        return false;
    }
    CountingPort port(adapter);
    QuietView view;
    Logic logic(model, view, port);
    if (!logic.connection.GoOnline()) {
        std::fprintf(stderr, "kestrel-sim did not answer the probe\n");
        return false;
    }
    port.reset();
    QThread::msleep(200); // the probe's last bytes are long gone from the line
    const int loggedBefore = [&] {
        QFile f(log);
        return f.open(QIODevice::ReadOnly) ? int(f.readAll().count('\n')) : -1;
    }();

    const double cpu0 = cpuSeconds();
    const auto t0 = std::chrono::steady_clock::now();
    const bool loaded = logic.files.LoadMatrixMappings(file, LoadMode::Full);
    run->wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    run->cpu = cpuSeconds() - cpu0;
    run->out = port.out.size();
    run->in = port.in.size();
    run->wire = double(run->out + run->in) * BitsPerCharacter / Baud;
    run->commands = int(port.out.count("\r\n"));
    run->turns = std::chrono::duration<double>(port.turnaround).count();
    run->longestTurn = std::chrono::duration<double>(port.longestTurn).count();
    run->turnCount = port.turns;

    bool ok = loaded && view.boxes.isEmpty();
    if (!ok)
        std::fprintf(stderr, "the load failed: %s\n", qPrintable(view.boxes.join(u"; "_s)));
    // Init, one Uenable per enabled unit, a Map per line and an AND/OR per boolean line.
    int booleans = 0;
    for (const QString &l : lines)
        booleans += ReadMapFields(l)[7] != PlainMapping ? 1 : 0;
    const int expected = 1 + model.EnabledUnitCount + int(lines.size()) + booleans;
    const int answeredOk = int(port.in.count("\r\nOK\r\n."));
    if (run->commands != expected || answeredOk != expected) {
        std::fprintf(stderr, "%d commands sent, %d answered OK, %d expected\n", run->commands,
                     answeredOk, expected);
        ok = false;
    }
    QFile f(log);
    const int logged =
        f.open(QIODevice::ReadOnly) ? int(f.readAll().count('\n')) - loggedBefore : -1;
    if (logged != expected) {
        std::fprintf(stderr, "kestrel-sim logged %d commands of the load, %d expected\n", logged,
                     expected);
        ok = false;
    }
    int filed = 0;
    for (int i = 1; i <= model.NumberOfOutputs; ++i)
        filed += model.OutputMap[i].isEmpty() ? 0 : 1;
    if (filed != MaxDeclared) {
        std::fprintf(stderr, "%d outputs filed, %d expected\n", filed, MaxDeclared);
        ok = false;
    }
    // The tally system's own table, for the first, a boolean and the last line.
    for (int n : {0, 2, 3, 997, 998}) {
        const MapFields m = ReadMapFields(lines[n]);
        logic.channel.SendCommand(u"GetMap"_s + NumberField(m[0]) + u" "_s + NumberField(m[1]));
        if (model.Response != lines[n]) {
            std::fprintf(stderr, "row of line %d on the tally system: \"%s\", file: \"%s\"\n",
                         n + 1, qPrintable(model.Response), qPrintable(lines[n]));
            ok = false;
        }
    }
    adapter.PortClose();
    sim.terminate();
    sim.waitForFinished(3000);
    return ok;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int runs = args.size() > 1 ? std::max(1, args[1].toInt()) : 3;
    const QString simPath = args.size() > 2 ? args[2] : QStringLiteral(KESTREL_SIM_PATH);

    QTemporaryDir dir;
    const QStringList lines = tallyLines();
    QFile file(dir.filePath(u"studio.qvr"_s));
    if (!dir.isValid() || !file.open(QIODevice::WriteOnly) ||
        file.write((lines.join(u"\r\n"_s) + u"\r\n"_s).toLatin1()) < 0) {
        std::fprintf(stderr, "cannot write the tally file\n");
        return 1;
    }
    file.close();

    std::vector<Run> done;
    for (int r = 0; r < runs; ++r) {
        Run run;
        if (!loadOnce(simPath, file.fileName(), lines, dir.path(), &run))
            return 1;
        done.push_back(run);
        std::printf("run %d            wall %.3f s, wire limit %.3f s, ratio %.4f; own turnaround "
                    "%.1f us a command (longest %.0f us), %.2f %% of the wire limit\n",
                    r + 1, run.wall, run.wire, run.wall / run.wire,
                    1e6 * run.turns / std::max(1, run.turnCount), 1e6 * run.longestTurn,
                    100.0 * run.turns / run.wire);
        std::fflush(stdout);
    }
    std::vector<double> ratios;
    for (const Run &r : done)
        ratios.push_back(r.wall / r.wire);
    std::sort(ratios.begin(), ratios.end());
    const Run &first = done.front();
    int booleans = 0;
    for (const QString &l : lines)
        booleans += ReadMapFields(l)[7] != PlainMapping ? 1 : 0;
    std::printf("tally file       %lld lines (%d boolean), 999 outputs and 999 inputs declared\n",
                static_cast<long long>(lines.size()), booleans);
    std::printf("commands         %d, every one answered OK\n", first.commands);
    std::printf("bytes            %lld out, %lld in\n", static_cast<long long>(first.out),
                static_cast<long long>(first.in));
    std::printf("wire limit       %.3f s (bytes x %g bits / %d bit/s; no pauses in a load)\n",
                first.wire, BitsPerCharacter, Baud);
    std::printf("ratio            median %.4f, worst %.4f   (target <= %.2f: %s)\n",
                ratios[ratios.size() / 2], ratios.back(), TargetRatio,
                ratios.back() <= TargetRatio ? "met" : "MISSED");
    std::printf("CPU              %.3f s (%.2f %% of wall)\n", first.cpu,
                100.0 * first.cpu / first.wall);
    return 0;
}
