#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QSerialPort>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// One kestrel-sim process and a serial port opened on it, the way the configurator opens its
// port (QSerialPort, 9600 8N1). Functions report failure through their result, so that tests
// can wrap them in QVERIFY2 with `problemText()` as the message.
class SimSession
{
public:
    SimSession() = default;
    SimSession(const SimSession &) = delete;
    SimSession &operator=(const SimSession &) = delete;
    ~SimSession() { stop(); }

    // Starts kestrel-sim with the arguments, reads the port path from its first line of output
    // and opens the port.
    bool start(const QStringList &arguments)
    {
        m_process.setProgram(QStringLiteral(KESTREL_SIM_PATH));
        m_process.setArguments(arguments);
        m_process.start();
        if (!m_process.waitForStarted(5000))
            return fail(QStringLiteral("kestrel-sim did not start: ") + m_process.errorString());
        const QDeadlineTimer deadline(5000);
        while (!m_process.canReadLine()) {
            if (deadline.hasExpired() || !m_process.waitForReadyRead(deadline.remainingTime()))
                return fail(QStringLiteral("no port path; stderr: ") + errors());
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
        m_port.setDataBits(QSerialPort::Data8);
        m_port.setParity(QSerialPort::NoParity);
        m_port.setStopBits(QSerialPort::OneStop);
        m_port.setFlowControl(QSerialPort::NoFlowControl);
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
        return collectReply(timeoutMs);
    }

    void send(const QByteArray &command)
    {
        m_port.write(command + "\r\n");
        m_port.waitForBytesWritten(1000);
    }

    QByteArray collectReply(int timeoutMs = 2000)
    {
        QByteArray received = m_port.readAll();
        const QDeadlineTimer deadline(timeoutMs);
        while (!deadline.hasExpired()) {
            if (received.endsWith("\r\n.")) {
                received += readFor(SettleMs); // anything after the terminator is a fault
                break;
            }
            if (m_port.waitForReadyRead(int(deadline.remainingTime())))
                received += m_port.readAll();
        }
        return received;
    }

    // Everything that arrives within the time.
    QByteArray readFor(int ms)
    {
        QByteArray received = m_port.readAll();
        const QDeadlineTimer deadline(ms);
        while (!deadline.hasExpired()) {
            if (m_port.waitForReadyRead(int(deadline.remainingTime())))
                received += m_port.readAll();
        }
        return received;
    }

    // Ends the process as an operator would (SIGTERM) and gives its exit code, or -1.
    int terminate()
    {
        m_port.close();
        if (m_process.state() == QProcess::NotRunning)
            return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
        m_process.terminate();
        if (!m_process.waitForFinished(5000))
            return -1;
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    void stop()
    {
        m_port.close();
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    QString errors() { return QString::fromLocal8Bit(m_process.readAllStandardError()); }
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

    static constexpr int SettleMs = 40;

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
};
