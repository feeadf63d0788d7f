// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

// What the benchmarks over the serial line share: a window that draws nothing, a port that
// keeps every byte crossing the line, and the process's processor time.

#include "link/SerialPort.h"
#include "matrix/MapString.h"
#include "model/SystemModel.h"
#include "view/MainView.h"

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>

#include <sys/resource.h>

// The line the benchmarks run at, and what a character costs on it.
constexpr int Baud = 9600;
constexpr double BitsPerCharacter = 10; // start, 8 data, stop

// A window that draws nothing; it keeps only what the figures need and lets events run.
class QuietView : public MainView
{
public:
    void setText(Control c, const QString &t) override { m_text[c] = t; }
    QString text(Control c) const override { return m_text.value(c); }
    void setToolTip(Control, const QString &) override {}
    void setEnabled(Control, bool) override {}
    void setVisible(Control, bool) override {}
    void setBackColour(Control, Colour) override {}
    void setForeColour(Control, Colour) override {}
    void setChecked(Control, bool) override {}
    bool isChecked(Control) const override { return false; }
    void setHeightTwips(Control, int) override {}
    void setFocus(Control) override {}
    void selectAllText(Control) override {}
    void repaintNow(Control) override {}
    void setColumnWidths(Control, const QList<int> &) override {}
    void clearRows(Control) override {}
    void addRow(Control, const QString &) override {}
    int rowCount(Control) const override { return 0; }
    void setRowText(Control, int, const QString &) override {}
    void setRowColour(Control, int, Colour) override {}
    int currentRow(Control) const override { return -1; }
    void setCurrentRow(Control, int) override {}
    void showWindow(Window, bool) override {}
    MessageResult messageBox(const QString &text, const QString &title, MessageButtons, MessageIcon,
                             MessageResult defaultButton) override
    {
        boxes << title + QStringLiteral(": ") + text;
        return defaultButton;
    }
    QString chooseFile(FileDialog, const QString &, const QString &) override { return {}; }
    void processEvents() override { QCoreApplication::processEvents(); }
    void beginBlocking() override {}
    void endBlocking() override {}
    void beep() override {}

    QStringList boxes; // "title: text" of every message box, which a clean run has none of

private:
    QHash<Control, QString> m_text;
};

// Counts, and keeps, every byte that crosses the line through the adapter, and times the
// configurator's own turn between a reply's last character read and the next command written:
// the part of each exchange that is neither the line nor waiting to be woken.
class CountingPort : public SerialPort
{
public:
    using Clock = std::chrono::steady_clock;

    explicit CountingPort(SerialPort &port) : m_port(port) {}
    QByteArray out;
    QByteArray in;
    Clock::duration turnaround{};
    Clock::duration longestTurn{};
    int turns = 0;

    void reset()
    {
        out.clear();
        in.clear();
        turnaround = longestTurn = {};
        turns = 0;
        m_replyEnded.reset();
    }

    void PortSetNumber(int n) override { m_port.PortSetNumber(n); }
    void PortSetDevice(const QString &p) override { m_port.PortSetDevice(p); }
    bool PortOpen() override { return m_port.PortOpen(); }
    void PortClose() override { m_port.PortClose(); }
    void PortWrite(const QByteArray &b) override
    {
        if (m_replyEnded) {
            const Clock::duration turn = Clock::now() - *m_replyEnded;
            turnaround += turn;
            longestTurn = std::max(longestTurn, turn);
            ++turns;
            m_replyEnded.reset();
        }
        out += b;
        m_port.PortWrite(b);
    }
    qint64 PortInCount() override { return m_port.PortInCount(); }
    QByteArray PortRead(qint64 n) override
    {
        QByteArray b = m_port.PortRead(n);
        in += b;
        if (b.endsWith('.'))
            m_replyEnded = Clock::now();
        return b;
    }
    bool PortWaitForData(Duration limit) override { return m_port.PortWaitForData(limit); }
    void setPortDataReceived(std::function<void()> h) override
    {
        m_port.setPortDataReceived(std::move(h));
    }

    // One line of figures on the turns, beside the line time `wire` in seconds.
    void printTurns(double wire) const
    {
        const double total = std::chrono::duration<double>(turnaround).count();
        std::printf("own turnaround   %.1f us a command on average, longest %.1f us, %.3f s in "
                    "all (%.2f %% of the wire limit)\n",
                    turns ? 1e6 * total / turns : 0.0,
                    1e6 * std::chrono::duration<double>(longestTurn).count(), total,
                    100.0 * total / wire);
    }

private:
    SerialPort &m_port;
    std::optional<Clock::time_point> m_replyEnded;
};

// User and system time of this process so far, in seconds.
inline double cpuSeconds()
{
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

// kestrel-sim at the benchmarks' line speed, preloaded from `tablePath` with `rows` rows: output
// r (as the model addresses it) mapped to input 20/(1 + r % 32). The path of its port, or "" when
// it could not be started (said on standard error).
inline QString startSimOnTable(QProcess &sim, const QString &simPath, const SystemModel &model,
                               int rows, const QString &tablePath)
{
    QFile table(tablePath);
    if (!table.open(QIODevice::WriteOnly)) {
        std::fprintf(stderr, "cannot write the table file %s\n", qPrintable(tablePath));
        return {};
    }
    for (int r = 1; r <= rows; ++r)
        table.write(ComposeMapString(model.OutputUnit[r], model.OutputChannel[r], 20,
                                     static_cast<qint16>(1 + r % 32))
                        .toLatin1() +
                    "\r\n");
    table.close();
    sim.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    sim.start(simPath, {QStringLiteral("--rows"), tablePath, QStringLiteral("--baud"),
                        QString::number(Baud)});
    if (!sim.waitForStarted(5000) || !sim.waitForReadyRead(5000)) {
        std::fprintf(stderr, "kestrel-sim did not start: %s\n", qPrintable(simPath));
        return {};
    }
    return QString::fromLocal8Bit(sim.readLine()).trimmed();
}
