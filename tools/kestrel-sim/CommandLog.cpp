#include "CommandLog.h"

#include <QTime>

using namespace Qt::StringLiterals;

bool CommandLog::open(const QString &path, QString *error)
{
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        *error = path + u": "_s + m_file.errorString();
        return false;
    }
    return true;
}

void CommandLog::record(QByteArrayView line)
{
    if (!m_file.isOpen())
        return;
    const QByteArray time = QTime::currentTime().toString(u"HH:mm:ss.zzz"_s).toLatin1();
    m_file.write(time + ' ' + visible(line) + '\n');
    // Someone may be watching the log while the line is busy: never keep a line back.
    m_file.flush();
}

QByteArray CommandLog::visible(QByteArrayView line)
{
    QByteArray text;
    for (char c : line) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\r')
            text += "<CR>";
        else if (c == '\n')
            text += "<LF>";
        else if (byte < 0x20 || byte >= 0x7F)
            text += '<' + QByteArray::number(byte, 16).rightJustified(2, '0').toUpper() + '>';
        else
            text += c;
    }
    return text;
}
