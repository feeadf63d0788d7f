// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/LoadCommand.h"

#include "cli/Console.h"
#include "cli/ConsoleSession.h"
#include "cli/MatrixComparison.h"

using namespace Qt::StringLiterals;

LoadCommand::LoadCommand(ConsoleSession &session, Console &console)
    : m_session(session), m_console(console)
{
}

int LoadCommand::run(const QString &file, bool partial, const QString &device)
{
    QList<MapFields> maps;
    QString error;
    if (!ConsoleSession::readTallyFile(file, &maps, &error) || !m_session.connect(device, &error)) {
        m_console.error(error);
        return ExitFailure;
    }
    const SystemModel &model = m_session.model();
    int planned = partial ? 0 : 1 + model.EnabledUnitCount;
    for (const MapFields &m : maps)
        planned += MatrixComparison::isMapped(m) && m[7] == PlainMapping ? 1 : 2;

    ConsoleView &view = m_session.view();
    view.resetCommErrors();
    m_console.begin(partial ? u"partial load"_s : u"load"_s, planned);
    const bool loaded = m_session.files().LoadMatrixMappings(file, partial ? u"Part"_s : u"Full"_s);
    m_console.end();
    const QStringList messages = view.takeMessages();
    if (!loaded) {
        m_console.error(messages.value(0, u"tally file %1 could not be loaded"_s.arg(file)));
        return ExitFailure;
    }
    if (view.commErrors() > 0) {
        m_console.error(
            m_session.noReplyText() +
            u" to %1 of the commands: the tally system may not hold the whole file"_s.arg(
                view.commErrors()));
        return ExitFailure;
    }
    if (!view.lastError().isEmpty()) {
        m_console.error(view.lastError());
        return ExitFailure;
    }
    return ExitSuccess;
}
