#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>

// kestrel-sim running for one test, with its link, command log and table file in a temporary
// folder; the configurator under test opens the link as its CommDevice.
class SimProcess
{
public:
    ~SimProcess()
    {
        m_process.kill();
        m_process.waitForFinished(3000);
    }

    bool start(const QStringList &extra = {}, const QByteArray &rows = {})
    {
        QStringList args{QStringLiteral("--link"), link(), QStringLiteral("--log"), logPath(),
                         QStringLiteral("--state"), statePath()};
        if (!rows.isEmpty()) {
            QFile f(m_dir.filePath(QStringLiteral("rows.qvr")));
            if (!f.open(QIODevice::WriteOnly) || f.write(rows) != rows.size())
                return false;
            f.close();
            args << QStringLiteral("--rows") << f.fileName();
        }
        m_process.start(QStringLiteral(KESTREL_SIM_PATH), args + extra);
        if (!m_process.waitForStarted(5000))
            return false;
        const QDeadlineTimer deadline(5000);
        while (!QFile::exists(link()) && !deadline.hasExpired())
            QThread::msleep(20);
        return QFile::exists(link());
    }

    QString link() const { return m_dir.filePath(QStringLiteral("tty")); }
    QString logPath() const { return m_dir.filePath(QStringLiteral("commands.log")); }
    QString statePath() const { return m_dir.filePath(QStringLiteral("table.qvr")); }
    QString dir() const { return m_dir.path(); }

    // The command lines received, in order, without their time stamps.
    QStringList commands() const
    {
        QFile f(logPath());
        QStringList out;
        if (!f.open(QIODevice::ReadOnly))
            return out;
        for (const QByteArray &line : f.readAll().split('\n')) {
            if (line.isEmpty())
                continue;
            const qsizetype blank = line.indexOf(' ');
            out << QString::fromLatin1(blank < 0 ? QByteArray() : line.mid(blank + 1));
        }
        return out;
    }
    // The tally system's table as it stands: one map string per row.
    QStringList table() const
    {
        QFile f(statePath());
        if (!f.open(QIODevice::ReadOnly))
            return {};
        QStringList rows = QString::fromLatin1(f.readAll()).split(QStringLiteral("\r\n"));
        if (!rows.isEmpty() && rows.last().isEmpty())
            rows.removeLast();
        return rows;
    }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
};
