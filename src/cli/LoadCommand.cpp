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

    // The window's load, line by line with the same calls, but stopped at the first reply
    // that is not right: "Init" and the units first, then "Map" (and "AND" or "OR") a line,
    // "Res" and "ClrMap" for a line without input.
    m_console.begin(partial ? u"partial load"_s : u"load"_s, planned);
    if (!partial) {
        m_session.commands().SystemInit();
        m_session.commands().EnableUnits();
    }
    Mapping &mapping = m_session.mapping();
    int sent = 0;
    for (; sent < maps.size() && !m_session.failed(); ++sent) {
        const MapFields &m = maps[sent];
        if (mapping.SetMapping(m[0], m[1], m[2], m[3]) && m[7] != PlainMapping &&
            !m_session.failed())
            mapping.SetBoolMapping(m[0], m[1], m[2], m[3], m[5], m[6], BoolMode(m[7]));
    }
    m_console.end();
    if (m_session.failed()) {
        m_console.error((sent == 0
                             ? m_session.failure() + u" before the first line of %1"_s.arg(file)
                             : u"line %1 of %2: "_s.arg(sent).arg(file) + m_session.failure()) +
                        u"; the tally system may hold part of the file"_s);
        return ExitFailure;
    }
    return ExitSuccess;
}
