// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "CommandLog.h"

#include <QTime>

#include <cstdio>

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
    const QByteArray text = time + ' ' + visible(line) + '\n';
    // Someone may be watching the log while the line is busy: never keep a line back. A log
    // that cannot take a whole line (a full disk) is said once and closed, so that no reader
    // takes a log with holes for the whole story.
    if (m_file.write(text) != text.size() || !m_file.flush()) {
        std::fprintf(stderr, "kestrel-sim: the command log stops here: %s\n",
                     qPrintable(m_file.errorString()));
        m_file.close();
    }
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
