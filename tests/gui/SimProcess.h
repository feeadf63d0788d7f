#pragma once

#include "link/LinkTiming.h"
#include "link/QtSerialPortAdapter.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QTime>

using namespace Qt::StringLiterals;

// kestrel-sim running for one test, with its link, command log and table file in a temporary
// folder.
class SimProcess
{
public:
    ~SimProcess()
    {
        m_process.kill();
        m_process.waitForFinished(3000);
    }

    bool start(const QStringList &extra, const QByteArray &rows = {})
    {
        const QStringList args{
            u"--link"_s,       link(),      u"--log"_s,       path("commands.log"), u"--state"_s,
            path("table.qvr"), u"--rows"_s, path("rows.qvr"), u"--baud"_s,          u"0"_s};
        QFile f(path("rows.qvr"));
        if (!f.open(QIODevice::WriteOnly) || f.write(rows) != rows.size())
            return false;
        f.close();
        m_process.start(QStringLiteral(KESTREL_SIM_PATH), args + extra);
        const QDeadlineTimer deadline(5000);
        while (!QFile::exists(link()) && !deadline.hasExpired())
            QThread::msleep(10);
        return QFile::exists(link());
    }

    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }
    QString link() const { return path("tty"); }

    // The command lines received, in order, each with the time of day it came.
    QList<std::pair<QTime, QString>> log() const
    {
        QList<std::pair<QTime, QString>> out;
        for (const QString &line : lines("commands.log", u"\n"_s))
            out.append({QTime::fromString(line.left(12), u"HH:mm:ss.zzz"_s), line.mid(13)});
        return out;
    }
    QStringList commands() const
    {
        QStringList out;
        for (const auto &entry : log())
            out << entry.second;
        return out;
    }
    // The tally system's table as it stands, holes included: one map string per row.
    QStringList table() const { return lines("table.qvr", u"\r\n"_s); }

private:
    QStringList lines(const char *name, const QString &end) const
    {
        QFile f(path(name));
        const QString text =
            f.open(QIODevice::ReadOnly) ? QString::fromLatin1(f.readAll()) : QString();
        return text.split(end, Qt::SkipEmptyParts);
    }

    QTemporaryDir m_dir;
    QProcess m_process;
};

// The configurator's end of a line to kestrel-sim: the real port, on a clock that runs `speed`
// times faster than the wall's. The waits for bytes shrink alike, so that a time-out costs
// 1/speed of its time and the order of events on the line is kept.
class SimLine : public SerialPort
{
public:
    explicit SimLine(int speed) : m_speed(speed) {}

    MonotonicClock clock() const
    {
        return [start = m_start, speed = m_speed] {
            return start + (std::chrono::steady_clock::now() - start) * speed;
        };
    }
    // kestrel-sim needs no time to settle.
    static Pause pause()
    {
        return [](std::chrono::milliseconds) {};
    }
    // The line moved to another tally system, as when a cable is swapped.
    bool reopen(const QString &device)
    {
        m_port.PortClose();
        m_port.PortSetDevice(device);
        return m_port.PortOpen();
    }

    void PortSetNumber(int number) override { m_port.PortSetNumber(number); }
    void PortSetDevice(const QString &path) override { m_port.PortSetDevice(path); }
    bool PortOpen() override { return m_port.PortOpen(); }
    void PortClose() override { m_port.PortClose(); }
    void PortWrite(const QByteArray &bytes) override
    {
        written += bytes;
        m_port.PortWrite(bytes);
    }
    qint64 PortInCount() override { return m_port.PortInCount(); }
    QByteArray PortRead(qint64 n) override { return m_port.PortRead(n); }
    bool PortWaitForData(Duration limit) override
    {
        return m_port.PortWaitForData(limit / m_speed);
    }
    void setPortDataReceived(std::function<void()> handler) override
    {
        m_port.setPortDataReceived(std::move(handler));
    }

    QByteArray written; // everything the configurator sent

private:
    int m_speed;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    QtSerialPortAdapter m_port;
};
