// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/ApplyCommand.h"

#include "cli/Console.h"
#include "cli/ConsoleSession.h"
#include "cli/MatrixComparison.h"

using namespace Qt::StringLiterals;

ApplyCommand::ApplyCommand(ConsoleSession &session, Console &console)
    : m_session(session), m_console(console)
{
}

int ApplyCommand::run(const QString &file, bool partial, const QString &device)
{
    QList<MapFields> maps;
    QString error;
    if (!m_session.readFileAndTable(file, device, &maps, &error)) {
        m_console.error(error);
        return ExitFailure;
    }
    const MatrixComparison comparison(m_session.model());
    const qsizetype outputs = comparison.outputs(maps, false).size();
    QList<MatrixComparison::Output> changes;
    QList<MatrixComparison::Output> unmaps;
    for (const MatrixComparison::Output &o : comparison.differences(maps, partial))
        (MatrixComparison::isMapped(o.wanted) ? changes : unmaps) << o;

    int planned = 2 * int(unmaps.size());
    for (const MatrixComparison::Output &o : changes)
        planned += (*o.wanted)[7] == PlainMapping ? 1 : 2;

    // The same calls as the loader makes for one line: "Map", then "AND" or "OR" when boolean;
    // an unmap as the window's mapping does it ("Res", then "ClrMap").
    ConsoleView &view = m_session.view();
    Mapping &mapping = m_session.mapping();
    view.resetCommErrors();
    m_console.begin(u"applying"_s, planned);
    bool ok = true;
    for (const MatrixComparison::Output &o : changes) {
        const MapFields &m = *o.wanted;
        ok = mapping.SetMapping(m[0], m[1], m[2], m[3]) && ok;
        if (m[7] != PlainMapping)
            ok = mapping.SetBoolMapping(m[0], m[1], m[2], m[3], m[5], m[6], m[7]) && ok;
    }
    for (const MatrixComparison::Output &o : unmaps)
        ok = mapping.SetMapping(o.unit, o.channel, 0, 0) && ok;
    m_console.end();
    if (!ok || view.commErrors() > 0) {
        m_console.error(
            view.commErrors() > 0
                ? m_session.noReplyText() +
                      u" to %1 of the commands; the device may be part way"_s.arg(view.commErrors())
                : view.lastError());
        return ExitFailure;
    }

    // Unmapped rows stay in the table as holes, at which a read-back would stop: the check
    // compacts the table first ("Comp"), as every read-back here does.
    if (QStringList table; !m_session.readTable(&table, &error)) {
        m_console.error(u"applied, but the check failed: "_s + error);
        return ExitFailure;
    }
    const QList<MatrixComparison::Output> left = comparison.differences(maps, partial);
    for (const MatrixComparison::Output &o : left)
        m_console.line(u"still different: "_s + comparison.describe(o));
    if (!m_console.quiet())
        m_console.line(u"%1 changed, %2 unmapped, %3 left alone"_s.arg(changes.size())
                           .arg(unmaps.size())
                           .arg(outputs - changes.size() - unmaps.size()));
    return left.isEmpty() ? ExitSuccess : ExitDifferent;
}
