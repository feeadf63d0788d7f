#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QSerialPort>
#include <QString>
#include <QStringList>

// One kestrel-sim process and a serial port opened on it, the way the configurator opens its
// port (QSerialPort, 9600 8N1). Functions report failure through their result, so that tests
// can wrap them in QVERIFY2 with `problemText()` as the message.
class SimSession
{
public:
    ~SimSession()
    {
        m_process.kill();
        m_process.waitForFinished(5000);
    }

    // Starts kestrel-sim with the arguments, reads the port path from its first line of output
    // and opens the port. When the program ends instead, its error output is the problem text.
    bool start(const QStringList &arguments)
    {
        m_process.start(QStringLiteral(KESTREL_SIM_PATH), arguments);
        const QDeadlineTimer deadline(5000);
        while (!m_process.canReadLine()) {
            if (deadline.hasExpired() || !m_process.waitForReadyRead(deadline.remainingTime()))
                return fail(QStringLiteral("no port path; stderr: ") +
                            QString::fromLocal8Bit(m_process.readAllStandardError()));
        }
        m_portPath = QString::fromLocal8Bit(m_process.readLine()).trimmed();
        return open(m_portPath);
    }

    // Opens the given path (the port itself or a link to it) at 9600 8N1.
    bool open(const QString &path)
    {
        m_port.close();
        m_port.setPortName(path);
        m_port.setBaudRate(QSerialPort::Baud9600);
        if (!m_port.open(QIODevice::ReadWrite))
            return fail(QStringLiteral("cannot open ") + path + QStringLiteral(": ") +
                        m_port.errorString());
        return true;
    }

    void closePort() { m_port.close(); }

    // Sends the command with CR LF and collects what comes back until a complete reply
    // ("\r\n." at the end, then nothing more for a moment) or the time-out.
    QByteArray exchange(const QByteArray &command, int timeoutMs = 2000)
    {
        send(command);
        return readFor(timeoutMs, true);
    }

    void send(const QByteArray &command)
    {
        m_port.write(command + "\r\n");
        m_port.waitForBytesWritten(1000);
    }

    // Everything that arrives within the time; with `untilReply`, only until a complete reply
    // has come and then a moment more, in which nothing may follow it.
    QByteArray readFor(int ms, bool untilReply = false)
    {
        QByteArray received = m_port.readAll();
        const QDeadlineTimer deadline(ms);
        while (!deadline.hasExpired() && !(untilReply && received.endsWith("\r\n."))) {
            if (m_port.waitForReadyRead(int(deadline.remainingTime())))
                received += m_port.readAll();
        }
        return untilReply && received.endsWith("\r\n.") ? received + readFor(SettleMs) : received;
    }

    const QString &portPath() const { return m_portPath; }
    QSerialPort &port() { return m_port; }
    QProcess &process() { return m_process; }
    const char *problemText() const { return m_problemText.constData(); }

    // The bytes a complete answer must be: the echo, CR LF, the reply line, CR LF, ".".
    static QByteArray reply(const QByteArray &echo, const QByteArray &line)
    {
        return echo + "\r\n" + line + "\r\n.";
    }

    static QByteArray readFile(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }

private:
    bool fail(const QString &problem)
    {
        m_problemText = problem.toLocal8Bit();
        return false;
    }

    QProcess m_process;
    QSerialPort m_port;
    QString m_portPath;
    QByteArray m_problemText;
    // After a complete reply, how long to listen for bytes that should not come.
    static constexpr int SettleMs = 40;
};
