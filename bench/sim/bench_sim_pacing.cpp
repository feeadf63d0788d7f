// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// How closely kestrel-sim keeps to 9600 bit/s. Starts the simulator, talks to it through
// QSerialPort as the configurator does, and prints the bit rate that arrives.
//
// Two figures:
//  - stream: a dozen commands written at once; the answers (longer than the commands) then
//    follow one another without a gap, so the arrival rate of their bytes is the line's pace;
//  - exchanges: a read-back done command by command, each waiting for its answer; this is
//    the rate the configurator sees, commands and answers both counted.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSerialPort>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int Baud = 9600;
constexpr int Rows = 12;
constexpr int Rounds = 3;

struct Run
{
    qint64 bytes = 0;
    double seconds = 0;
    double bitsPerSecond() const { return seconds > 0 ? bytes * 10.0 / seconds : 0; }
};

void print(const char *what, const Run &run)
{
    const double deviation = (run.bitsPerSecond() - Baud) * 100.0 / Baud;
    std::printf("%-22s %5lld bytes in %7.1f ms: %7.0f bit/s, %+6.2f %% from %d\n", what,
                static_cast<long long>(run.bytes), run.seconds * 1000, run.bitsPerSecond(),
                deviation, Baud);
}

// Reads until `count` replies ("\r\n." each) are in, noting when each chunk arrived.
Run receiveStream(QSerialPort &port, int count)
{
    QByteArray received;
    QElapsedTimer clock;
    qint64 firstChunkAt = -1;
    qint64 lastChunkAt = 0;
    qint64 afterFirstChunk = 0;
    const QDeadlineTimer deadline(10000);
    while (received.count("\r\n.") < count &&
           port.waitForReadyRead(int(deadline.remainingTime()))) {
        const QByteArray chunk = port.readAll();
        if (firstChunkAt < 0) {
            clock.start();
            firstChunkAt = 0;
        } else {
            lastChunkAt = clock.nsecsElapsed();
            afterFirstChunk += chunk.size();
        }
        received += chunk;
    }
    // The bytes of the first chunk were due before the clock started; the rest arrived over
    // the measured time.
    return {afterFirstChunk, lastChunkAt / 1e9};
}

Run exchanges(QSerialPort &port)
{
    Run run;
    QElapsedTimer clock;
    clock.start();
    for (int row = 1; row <= Rows + 1; ++row) {
        const QByteArray command = "RawMap " + QByteArray::number(row) + "\r\n";
        port.write(command);
        port.waitForBytesWritten(1000);
        QByteArray reply;
        while (!reply.endsWith("\r\n.") && port.waitForReadyRead(2000))
            reply += port.readAll();
        run.bytes += command.size() + reply.size();
    }
    run.seconds = clock.nsecsElapsed() / 1e9;
    return run;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString rows = dir.filePath(u"rows.qvr"_s);
    QFile file(rows);
    if (!file.open(QIODevice::WriteOnly))
        return 1;
    for (int i = 1; i <= Rows; ++i)
        file.write("[101][" + QByteArray::number(100 + i) + "][202][" +
                   QByteArray::number(200 + i) + "][1][0][0][0]\r\n");
    file.close();

    QProcess sim;
    sim.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    sim.start(QStringLiteral(KESTREL_SIM_PATH),
              {u"--baud"_s, QString::number(Baud), u"--rows"_s, rows});
    if (!sim.waitForStarted(5000) || !sim.waitForReadyRead(5000)) {
        std::fprintf(stderr, "kestrel-sim did not start\n");
        return 1;
    }
    QSerialPort port(QString::fromLocal8Bit(sim.readLine()).trimmed());
    port.setBaudRate(QSerialPort::Baud9600);
    if (!port.open(QIODevice::ReadWrite)) {
        std::fprintf(stderr, "cannot open the port: %s\n", qPrintable(port.errorString()));
        return 1;
    }

    std::printf("kestrel-sim pacing at %d bit/s (10 bits a character)\n", Baud);
    double worst = 0;
    for (int round = 1; round <= Rounds; ++round) {
        QByteArray burst;
        for (int row = 1; row <= Rows; ++row)
            burst += "RawMap " + QByteArray::number(row) + "\r\n";
        port.write(burst);
        port.waitForBytesWritten(1000);
        const Run stream = receiveStream(port, Rows);
        print(qPrintable(u"stream, round %1"_s.arg(round)), stream);
        worst = std::max(worst, std::abs(stream.bitsPerSecond() - Baud) * 100.0 / Baud);
    }
    print("exchanges (both ways)", exchanges(port));
    std::printf("worst stream deviation %.2f %% (target: within 5 %%)\n", worst);

    port.close();
    sim.terminate();
    sim.waitForFinished(5000);
    return worst <= 5.0 ? 0 : 3;
}
