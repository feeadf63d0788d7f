// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/VerifyCommand.h"

#include "cli/Console.h"
#include "cli/ConsoleSession.h"
#include "cli/MatrixComparison.h"

using namespace Qt::StringLiterals;

VerifyCommand::VerifyCommand(ConsoleSession &session, Console &console)
    : m_session(session), m_console(console)
{
}

int VerifyCommand::run(const QString &file, const QString &device)
{
    QList<MapFields> maps;
    QString error;
    if (!m_session.readFileAndTable(file, device, &maps, &error)) {
        m_console.error(error);
        return ExitFailure;
    }
    const MatrixComparison comparison(m_session.model());
    const QList<MatrixComparison::Output> differences = comparison.differences(maps, false);
    bool written = true;
    for (const MatrixComparison::Output &o : differences)
        written = m_console.line(comparison.describe(o)) && written;
    if (!written) {
        m_console.error(u"the report could not be written to standard output"_s);
        return ExitFailure;
    }
    return differences.isEmpty() ? ExitSuccess : ExitDifferent;
}
