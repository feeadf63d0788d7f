// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The matrix read-back against kestrel-sim at 9600 bit/s, through the real serial port
// adapter, command channel and read-back. Prints how close the read-back comes to the time
// the line itself needs (the 400 ms start pause plus every byte that crossed it, both ways,
// at 10 bits a character), and how much processor time it used meanwhile.
//
//   bench_link_readback [ROWS] [SIM]     ROWS 1..999 (default 999); SIM the kestrel-sim program

#include "events/Logic.h"
#include "link/QtSerialPortAdapter.h"
#include "matrix/MapString.h"
#include "matrix/ReadBack.h"
#include "model/SystemModel.h"
#include "support/LineBench.h"
#include "view/MainView.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr double TargetRatio = 1.01;
constexpr double TargetCpuShare = 1.0; // per cent of the wall time

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int rows = args.size() > 1 ? std::clamp(args[1].toInt(), 1, MaxDeclared) : MaxDeclared;
    const QString simPath = args.size() > 2 ? args[2] : QStringLiteral(KESTREL_SIM_PATH);

    // 999 outputs at unit 1..10, channels 1..100; the table maps each to one of 32 inputs.
    SystemModel model;
    model.NumberOfOutputs = MaxDeclared;
    for (int i = 1; i <= MaxDeclared; ++i) {
        model.OutputUnit[i] = static_cast<qint16>(1 + (i - 1) / 100);
        model.OutputChannel[i] = static_cast<qint16>(1 + (i - 1) % 100);
    }
    model.NumberOfInputs = 32;
    for (int j = 1; j <= 32; ++j) {
        model.InputUnit[j] = 20;
        model.InputChannel[j] = static_cast<qint16>(j);
    }
    QTemporaryDir dir;
    QProcess sim;
    const QString line =
        startSimOnTable(sim, simPath, model, rows, dir.filePath(QStringLiteral("table.qvr")));
    if (line.isEmpty())
        return 1;

    QtSerialPortAdapter adapter;
    adapter.PortSetDevice(line);
    if (!adapter.PortOpen()) {
        std::fprintf(stderr, "cannot open %s\n", qPrintable(line));
        return 1;
    }
    CountingPort port(adapter);
    QuietView view;
    Logic logic(model, view, port);

    const double cpu0 = cpuSeconds();
    const auto t0 = std::chrono::steady_clock::now();
    logic.readBack.GetAllRawMappings();
    const double wall =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    const double cpu = cpuSeconds() - cpu0;

    const qint64 bytes = port.out.size() + port.in.size();
    const double wire = std::chrono::duration<double>(ReadBack::StartPause).count() +
                        double(bytes) * BitsPerCharacter / Baud;
    int filed = 0;
    for (int i = 1; i <= model.NumberOfOutputs; ++i)
        filed += model.OutputMap[i].isEmpty() ? 0 : 1;

    std::printf("rows read        %d (filed under %d outputs; table of %d)\n", model.MapStrings,
                filed, rows);
    std::printf("bytes            %lld out, %lld in\n", static_cast<long long>(port.out.size()),
                static_cast<long long>(port.in.size()));
    std::printf("wall             %.3f s\n", wall);
    std::printf("wire limit       %.3f s (0.4 s + bytes x %g bits / %d bit/s)\n", wire,
                BitsPerCharacter, Baud);
    const double ratio = wall / wire;
    const double cpuShare = 100.0 * cpu / wall;
    std::printf("ratio            %.4f   (target <= %.2f: %s)\n", ratio, TargetRatio,
                ratio <= TargetRatio ? "met" : "MISSED");
    std::printf("CPU              %.3f s (%.2f %% of wall)   (target <= %.0f %%: %s)\n", cpu,
                cpuShare, TargetCpuShare, cpuShare <= TargetCpuShare ? "met" : "MISSED");
    port.printTurns(wire);
    std::printf("lblError         \"%s\"\n", qPrintable(view.text(Control::lblError)));

    adapter.PortClose();
    sim.terminate();
    sim.waitForFinished(3000);
    return model.MapStrings == rows ? 0 : 1;
}
