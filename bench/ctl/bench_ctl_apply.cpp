// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// A show file put onto a studio whose tally system differs from it in 5 outputs: 3 routed from
// other inputs, 1 boolean with another second input, 1 mapped that the file leaves unmapped.
// Two studios: the demo's (48 outputs) and a full one (999 outputs). `kestrelctl load` (the
// window's full load: "Init", then every line) against `kestrelctl apply` (only what differs), each
// run as a program against kestrel-sim at 9600 bit/s. Prints the wall time of each and its dark
// output-seconds: summed over the outputs that the file maps, the time each spends with no mapping
// at all on the tally system between the first and the last command, replayed from the simulator's
// time-stamped log. A run counts only when the simulator's table ends equal to the file. Also
// `kestrelctl read`, one read-back alone: apply's target is that plus the wire time of the commands
// it adds, within 5 %.
//
//   bench_ctl_apply [RUNS]     RUNS of each on the demo studio, default 3; one on the full one

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>
#include <QTime>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

using Key = std::pair<int, int>; // output unit, channel

QString row(Key out, Key in, Key second = {}, int mode = 0)
{
    return u"[%1][%2][%3][%4][1][%5][%6][%7]"_s.arg(out.first)
        .arg(out.second)
        .arg(in.first)
        .arg(in.second)
        .arg(second.first)
        .arg(second.second)
        .arg(mode);
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QByteArray lines(const QStringList &rows)
{
    QByteArray out;
    for (const QString &r : rows)
        out += r.toLatin1() + "\r\n";
    return out;
}

QList<Key> entries(const QByteArray &ini, const char *kind)
{
    QList<Key> out;
    const QRegularExpression re(u"^%1 \\d+=[^,]*,(\\d+),(\\d+)"_s.arg(QLatin1String(kind)),
                                QRegularExpression::MultilineOption);
    for (auto it = re.globalMatch(QString::fromLatin1(ini)); it.hasNext();) {
        const auto m = it.next();
        out << Key{m.captured(1).toInt(), m.captured(2).toInt()};
    }
    return out;
}

// Output-seconds without any mapping, for the outputs `wanted` maps, from the first command of
// the log to its last: "Init" empties the table, "Map" gives an output a row, "ClrMap" takes it.
double darkSeconds(const QByteArray &log, QSet<Key> mapped, const QSet<Key> &wanted)
{
    double dark = 0;
    int previous = -1;
    for (const QByteArray &line : log.split('\n')) {
        if (line.size() < 13)
            continue;
        const int t = QTime::fromString(QString::fromLatin1(line.left(12)), u"HH:mm:ss.zzz"_s)
                          .msecsSinceStartOfDay();
        if (previous >= 0) {
            int unlit = 0;
            for (const Key &k : wanted)
                unlit += mapped.contains(k) ? 0 : 1;
            dark += (t - previous) / 1000.0 * unlit;
        }
        previous = t;
        const QList<QByteArray> w = line.mid(13).simplified().split(' ');
        const QByteArray word = w.value(0).toLower();
        const Key k{w.value(1).toInt(), w.value(2).toInt()};
        if (word == "init")
            mapped.clear();
        else if (word == "map")
            mapped.insert(k);
        else if (word == "clrmap")
            mapped.remove(k);
    }
    return dark;
}

struct Run
{
    double wall = 0;
    double dark = 0;
    int commands = 0;
    double addedWire = 0; // seconds
    bool ok = false;
};

Run runOnce(const QString &mode, const QTemporaryDir &dir, const QSet<Key> &device,
            const QSet<Key> &wanted, const QByteArray &file)
{
    const QString link = dir.filePath(u"tty"_s), log = dir.filePath(u"log"_s),
                  state = dir.filePath(u"state"_s);
    QFile::remove(log);
    QProcess sim;
    sim.start(QStringLiteral(KESTREL_SIM_PATH),
              {u"--link"_s, link, u"--rows"_s, dir.filePath(u"device.qvr"_s), u"--log"_s, log,
               u"--state"_s, state, u"--baud"_s, u"9600"_s});
    for (int i = 0; i < 250 && !QFile::exists(link); ++i)
        QThread::msleep(20);
    QProcess ctl;
    QElapsedTimer clock;
    clock.start();
    QStringList arguments{u"--quiet"_s, u"--ini"_s, dir.filePath(u"Kestrel.ini"_s), mode};
    if (mode != u"read"_s) // the table to standard output
        arguments << dir.filePath(u"show.qvr"_s);
    ctl.start(QStringLiteral(KESTRELCTL_PATH), arguments);
    ctl.waitForFinished(120000);
    Run r;
    r.wall = clock.elapsed() / 1000.0;
    sim.terminate();
    sim.waitForFinished(5000);
    const QByteArray logText = readFile(log);
    r.commands = int(logText.count('\n'));
    r.dark = darkSeconds(logText, device, wanted);
    auto sorted = [](QByteArray b) {
        QList<QByteArray> rows = b.split('\n');
        std::sort(rows.begin(), rows.end());
        return rows;
    };
    r.ok = ctl.exitStatus() == QProcess::NormalExit && ctl.exitCode() == 0 &&
           (mode == u"read"_s || sorted(readFile(state)) == sorted(file));
    // Line time of what apply sends beyond a read-back: each command out and echoed, its reply
    // ("OK", or a map string for "GetMap") and the ".", 10 bits a character at 9600 bit/s.
    static const QRegularExpression added(u"^\\S+ ((Map|AND|OR|Res|ClrMap|GetMap) .*|Comp)$"_s,
                                          QRegularExpression::MultilineOption);
    qsizetype bytes = -1; // the read-back's own "Comp" is not added
    for (auto it = added.globalMatch(QString::fromLatin1(logText)); it.hasNext();) {
        const QString command = it.next().captured(1);
        bytes += 2 * (command.size() + 2) + (command.startsWith(u"GetMap"_s) ? 26 : 4) + 1;
    }
    r.addedWire = std::max<qsizetype>(0, bytes) * 10 / 9600.0;
    if (!r.ok)
        std::fprintf(stderr, "%s: %s", qPrintable(mode), ctl.readAllStandardError().constData());
    return r;
}

// Every output mapped, every sixth the AND of two inputs; the file differs in 5 outputs.
bool runStudio(const char *title, const QTemporaryDir &dir, const QByteArray &ini, int runs)
{
    const QList<Key> outputs = entries(ini, "Output"), inputs = entries(ini, "Input");
    if (!writeFile(dir.filePath(u"Kestrel.ini"_s), ini))
        return false;
    QStringList device, show;
    QSet<Key> onDevice, inFile;
    for (int i = 0; i < outputs.size(); ++i) {
        const Key in = inputs[i % inputs.size()], second = inputs[(i + 5) % inputs.size()];
        device << (i % 6 == 5 ? row(outputs[i], in, second, 1) : row(outputs[i], in));
        onDevice << outputs[i];
        QString wantedRow = device.last();
        if (i == 2 || i == 10 || i == 19)
            wantedRow = row(outputs[i], inputs[(i + 1) % inputs.size()]);
        else if (i == 29)
            wantedRow = row(outputs[i], in, inputs[(i + 7) % inputs.size()], 1);
        if (i != 46) {
            show << wantedRow;
            inFile << outputs[i];
        }
    }
    const QByteArray file = lines(show);
    if (!writeFile(dir.filePath(u"device.qvr"_s), lines(device)) ||
        !writeFile(dir.filePath(u"show.qvr"_s), file))
        return false;

    std::printf("\n%s, show file differing in 5 outputs, 9600 bit/s, %d run(s) each (mean)\n",
                title, runs);
    QList<Run> load, apply, read;
    for (int n = 0; n < runs; ++n) {
        load << runOnce(u"load"_s, dir, onDevice, inFile, file);
        apply << runOnce(u"apply"_s, dir, onDevice, inFile, file);
        read << runOnce(u"read"_s, dir, onDevice, inFile, file);
    }
    auto mean = [](const QList<Run> &rs, auto field) {
        double s = 0;
        for (const Run &r : rs)
            s += r.*field;
        return s / rs.size();
    };
    auto allOk = [](const QList<Run> &rs) {
        return std::all_of(rs.begin(), rs.end(), [](const Run &r) { return r.ok; });
    };
    std::printf("%-28s %12s %12s %12s\n", "", "full load", "apply", "read");
    std::printf("%-28s %12.2f %12.2f %12.2f\n", "wall time (s)", mean(load, &Run::wall),
                mean(apply, &Run::wall), mean(read, &Run::wall));
    std::printf("%-28s %12.2f %12.2f\n", "dark output-seconds", mean(load, &Run::dark),
                mean(apply, &Run::dark));
    std::printf("%-28s %12d %12d %12d\n", "commands on the wire", load.first().commands,
                apply.first().commands, read.first().commands);
    std::printf("%-28s %12s %12s\n", "table equal to the file", allOk(load) ? "yes" : "NO",
                allOk(apply) ? "yes" : "NO");
    const double target = mean(read, &Run::wall) + mean(apply, &Run::addedWire);
    std::printf("apply %.2f s against one read-back plus its %.2f s of added commands, %.2f s: "
                "%+.1f %% (target: within 5 %%)\n",
                mean(apply, &Run::wall), mean(apply, &Run::addedWire), target,
                (mean(apply, &Run::wall) / target - 1) * 100);
    return allOk(load) && allOk(apply) && allOk(read);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 3;
    QTemporaryDir dir;
    const QByteArray device = dir.filePath(u"tty"_s).toLocal8Bit();
    QByteArray demo = readFile(QStringLiteral(KESTREL_DEMO_INI));
    demo.replace("@KESTREL_DEMO_DEVICE@", device);
    if (entries(demo, "Output").size() != 48 || entries(demo, "Input").size() < 8)
        return std::fprintf(stderr, "the demo studio is not the one expected\n"), 1;
    // 999 outputs on units 1 to 32, 32 inputs on unit 40.
    QByteArray full = "[Kestrel]\r\nSystem=Full\r\nCommDevice=" + device + "\r\nEnabledUnits=";
    for (int u = 1; u <= 32; ++u)
        full += QByteArray::number(u) + ',';
    full += "40\r\n";
    for (int n = 1; n <= 999; ++n)
        full += QStringLiteral("Output %1=Out %1,%2,%3\r\n")
                    .arg(n)
                    .arg((n - 1) / 32 + 1)
                    .arg((n - 1) % 32 + 1)
                    .toLatin1();
    for (int n = 1; n <= 32; ++n)
        full += QStringLiteral("Input %1=In %1,40,%1\r\n").arg(n).toLatin1();
    const bool ok = runStudio("48-output demo studio", dir, demo, runs) &&
                    runStudio("999-output studio", dir, full, 1);
    return ok ? 0 : 1;
}
