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
        QFile f(path("rows.qvr"));
        if (!f.open(QIODevice::WriteOnly) || f.write(rows) != rows.size())
            return false;
        f.close();
        m_process.start(QStringLiteral(KESTREL_SIM_PATH),
                        QStringList{u"--link"_s, link(), u"--log"_s, path("commands.log"),
                                    u"--state"_s, path("table.qvr"), u"--rows"_s, f.fileName(),
                                    u"--baud"_s, u"0"_s} +
                            extra);
        const QDeadlineTimer deadline(5000);
        while (!QFile::exists(link()) && !deadline.hasExpired())
            QThread::msleep(10);
        return QFile::exists(link());
    }

    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }
    QString link() const { return path("tty"); }
    // When each of the command lines equal to `command` came, in order.
    QList<QTime> times(const QString &command) const
    {
        QList<QTime> out;
        for (const QString &line : lines("commands.log", u"\n"_s)) {
            if (line.mid(13) == command)
                out << QTime::fromString(line.left(12), u"HH:mm:ss.zzz"_s);
        }
        return out;
    }
    // The tally system's table as it stands, holes included: one map string per row.
    QStringList table() const { return lines("table.qvr", u"\r\n"_s); }

private:
    QStringList lines(const char *name, const QString &end) const
    {
        QFile f(path(name));
        return f.open(QIODevice::ReadOnly)
                   ? QString::fromLatin1(f.readAll()).split(end, Qt::SkipEmptyParts)
                   : QStringList();
    }

    QTemporaryDir m_dir;
    QProcess m_process;
};

// kestrel-sim needs no time to settle.
inline const Pause NoPause = [](std::chrono::milliseconds) {};

// The configurator's end of a line to kestrel-sim: the real port, on a clock that runs `speed`
// times faster than the wall's. The waits for bytes shrink alike, so that a time-out costs
// 1/speed of its time and the order of events on the line is kept.
class SimLine : public QtSerialPortAdapter
{
public:
    explicit SimLine(int speed) : m_speed(speed) {}

    MonotonicClock clock() const
    {
        return [start = m_start, speed = m_speed] {
            return start + (std::chrono::steady_clock::now() - start) * speed;
        };
    }
    void PortWrite(const QByteArray &bytes) override
    {
        written += bytes;
        QtSerialPortAdapter::PortWrite(bytes);
    }
    bool PortWaitForData(Duration limit) override
    {
        return QtSerialPortAdapter::PortWaitForData(limit / m_speed);
    }

    QByteArray written; // everything the configurator sent

private:
    int m_speed;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};
