// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The matrix read-back against kestrel-sim at 9600 bit/s, in one run: straight on its
// pseudo-terminal, then through ser2net with a raw TCP accepter and with telnet(rfc2217), both
// on 127.0.0.1 with chardelay off. Prints each wall time beside the direct one.
//
//   bench_net_readback [ROWS]     ROWS 1..999 (default 999)

#include "events/Logic.h"
#include "link/DevicePort.h"
#include "matrix/MapString.h"
#include "matrix/ReadBack.h"
#include "model/SystemModel.h"
#include "support/LineBench.h"

#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

constexpr double TargetRatio = 1.02; // of the direct line's time

// One read-back of the whole table on `device`: the wall time in seconds, or -1.
double readBack(SystemModel &model, const QString &device, int rows)
{
    DevicePort adapter;
    adapter.PortSetDevice(device);
    if (!adapter.PortOpen()) {
        std::fprintf(stderr, "%s\n", qPrintable(adapter.openFailure()));
        return -1;
    }
    CountingPort port(adapter);
    QuietView view;
    Logic logic(model, view, port);
    const auto t0 = std::chrono::steady_clock::now();
    logic.readBack.GetAllRawMappings();
    const double wall =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    std::printf("%-16s %.3f s, %lld bytes out, %lld in\n", qPrintable(device.section(u':', 0, 0)),
                wall, static_cast<long long>(port.out.size()),
                static_cast<long long>(port.in.size()));
    port.printTurns(wall);
    return model.MapStrings == rows ? wall : -1;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int rows =
        argc > 1 ? std::clamp(QByteArray(argv[1]).toInt(), 1, MaxDeclared) : MaxDeclared;

    SystemModel model;
    model.NumberOfOutputs = MaxDeclared;
    for (int i = 1; i <= MaxDeclared; ++i) {
        model.OutputUnit[i] = static_cast<qint16>(1 + (i - 1) / 100);
        model.OutputChannel[i] = static_cast<qint16>(1 + (i - 1) % 100);
    }
    QTemporaryDir dir;
    QProcess sim;
    const QString tty = startSimOnTable(sim, QStringLiteral(KESTREL_SIM_PATH), model, rows,
                                        dir.filePath(QStringLiteral("table.qvr")));
    if (tty.isEmpty())
        return 1;

    QTcpServer a, b; // two free ports on 127.0.0.1
    if (!a.listen(QHostAddress::LocalHost) || !b.listen(QHostAddress::LocalHost))
        return 1;
    const quint16 raw = a.serverPort(), telnet = b.serverPort();
    a.close(), b.close();
    const QString connection = u"connection: &%1\n  accepter: %2tcp,127.0.0.1,%3\n"
                               u"  connector: serialdev,%4,9600n81,local\n"
                               u"  options:\n    chardelay: false\n"_s;
    QFile yaml(dir.filePath(u"ser2net.yaml"_s));
    if (!yaml.open(QIODevice::WriteOnly))
        return 1;
    yaml.write((u"%YAML 1.1\n---\n"_s + connection.arg(u"raw"_s, QString()).arg(raw).arg(tty) +
                connection.arg(u"tel"_s, u"telnet(rfc2217),"_s).arg(telnet).arg(tty))
                   .toUtf8());
    yaml.close();
    QProcess ser2net;
    ser2net.start(QStringLiteral(SER2NET_PATH), {u"-n"_s, u"-c"_s, yaml.fileName()});
    for (int k = 0; k < 500; ++k) { // up once its accepter takes a connection
        QTcpSocket probe;
        probe.connectToHost(QHostAddress::LocalHost, raw);
        if (probe.waitForConnected(1000))
            break;
        QThread::msleep(10);
    }

    std::printf("rows             %d at %d bit/s\n", rows, Baud);
    const double direct = readBack(model, tty, rows);
    std::printf("direct           %.3f s\n", direct);
    int status = direct > 0 ? 0 : 1;
    for (const auto &[name, url] :
         {std::pair{"socket://", u"socket://127.0.0.1:%1"_s.arg(raw)},
          std::pair{"rfc2217://", u"rfc2217://127.0.0.1:%1"_s.arg(telnet)}}) {
        const double wall = readBack(model, url, rows);
        const double ratio = wall / direct;
        std::printf("%-16s %.3f s   ratio %.4f   (target <= %.2f: %s)\n", name, wall, ratio,
                    TargetRatio, wall > 0 && ratio <= TargetRatio ? "met" : "MISSED");
        status |= wall > 0 ? 0 : 1;
    }
    ser2net.kill(), ser2net.waitForFinished();
    sim.terminate(), sim.waitForFinished(3000);
    return status;
}
