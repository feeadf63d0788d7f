// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/ReadCommand.h"

#include "cli/Console.h"
#include "cli/ConsoleSession.h"
#include "files/TallyFile.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

ReadCommand::ReadCommand(ConsoleSession &session, Console &console)
    : m_session(session), m_console(console)
{
}

int ReadCommand::run(const QString &file, bool overwrite, const QString &device)
{
    const bool toStdout = file.isEmpty() || file == u"-"_s;
    // The window asks "Do you want to Ovewrwrite existing file"; here the option answers.
    if (!toStdout && QFileInfo::exists(file) && !overwrite) {
        m_console.error(u"%1 exists already: --overwrite replaces it"_s.arg(file));
        return ExitFailure;
    }
    // Before the read-back, not a minute later.
    if (const QFileInfo folder(QFileInfo(file).absolutePath());
        !toStdout && (!folder.isDir() || !folder.isWritable())) {
        m_console.error(u"%1 cannot be written: the folder %2 %3"_s.arg(
            file, folder.filePath(), folder.isDir() ? u"is not writable"_s : u"does not exist"_s));
        return ExitFailure;
    }
    QString error;
    QStringList lines;
    if (!m_session.connect(device, &error) || !m_session.readTable(&lines, &error)) {
        m_console.error(error);
        return ExitFailure;
    }
    if (toStdout) {
        if (!m_console.write(TallyFile::bytes(lines))) {
            m_console.error(u"standard output could not take the tally file"_s);
            return ExitFailure;
        }
    } else if (!TallyFile::write(file, lines, &error)) {
        m_console.error(
            u"%1 could not be written (any earlier file is unchanged): %2"_s.arg(file, error));
        return ExitFailure;
    }
    return ExitSuccess;
}
