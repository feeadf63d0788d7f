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
    if (!ConsoleSession::readTallyFile(file, &maps, &error)) {
        m_console.error(error);
        return ExitFailure;
    }
    if (maps.isEmpty() && !partial) {
        m_console.error(u"tally file %1 holds no map strings: applying it would unmap every "
                        u"output (kestrelctl load does that on purpose)"_s.arg(file));
        return ExitFailure;
    }
    QStringList table;
    if (!m_session.connect(device, &error) || !m_session.readTable(&table, &error)) {
        m_console.error(error);
        return ExitFailure;
    }
    const MatrixComparison comparison(m_session.model());
    const qsizetype outputs = comparison.outputs(maps, false).size();
    QList<MatrixComparison::Output> changes;
    QList<MatrixComparison::Output> unmaps;
    for (const MatrixComparison::Output &o : comparison.differences(maps, partial))
        (MatrixComparison::isMapped(o.wanted) ? changes : unmaps) << o;

    int planned = 3 * int(unmaps.size()) + (unmaps.isEmpty() ? 0 : 1);
    for (const MatrixComparison::Output &o : changes)
        planned += (*o.wanted)[7] == PlainMapping ? 2 : 3;

    // The same calls as the loader makes for one line: "Map", then "AND" or "OR" when boolean;
    // an unmap as the window's mapping does it ("Res", then "ClrMap").
    Mapping &mapping = m_session.mapping();
    m_console.begin(u"applying"_s, planned);
    const auto stopped = [&](const MatrixComparison::Output &o) {
        m_console.end();
        m_console.error((o.line > 0 ? u"line %1 of %2: "_s.arg(o.line).arg(file)
                                    : comparison.describe(o) + u": "_s) +
                        m_session.failure() + u"; the tally system may be part way"_s);
        return ExitFailure;
    };
    for (const MatrixComparison::Output &o : changes) {
        const MapFields &m = *o.wanted;
        mapping.SetMapping(m[0], m[1], m[2], m[3]);
        if (m[7] != PlainMapping && !m_session.failed())
            mapping.SetBoolMapping(m[0], m[1], m[2], m[3], m[5], m[6], BoolMode(m[7]));
        if (m_session.failed())
            return stopped(o);
    }
    for (const MatrixComparison::Output &o : unmaps) {
        mapping.SetMapping(o.unit, o.channel, 0, 0);
        if (m_session.failed())
            return stopped(o);
    }
    // An unmapped row stays in the table as a hole, at which the window's read-back would stop.
    if (!unmaps.isEmpty())
        m_session.readBack().MapTableCompress();

    // The check: each output touched, asked for on its own ("GetMap").
    QList<MatrixComparison::Output> left;
    for (MatrixComparison::Output o : changes + unmaps) {
        m_session.readBack().GetMapping(o.unit, o.channel);
        const QString &reply = m_session.model().Response;
        o.held = ReadStrictMapFields(reply);
        if (!m_session.failed() && !reply.isEmpty() && !o.held) {
            m_console.end();
            m_console.error(u"applied, but the check of %1 got \"%2\", not a map string"_s.arg(
                comparison.describe(o), Console::printable(reply)));
            return ExitFailure;
        }
        if (m_session.failed()) {
            m_console.end();
            m_console.error(u"applied, but the check failed: "_s + m_session.failure());
            return ExitFailure;
        }
        if (!MatrixComparison::same(o.wanted, o.held))
            left << o;
    }
    m_console.end();
    bool written = true;
    for (const MatrixComparison::Output &o : left)
        written = m_console.line(u"still different: "_s + comparison.describe(o)) && written;
    if (!m_console.quiet())
        written = m_console.line(u"%1 changed, %2 unmapped, %3 left alone"_s.arg(changes.size())
                                     .arg(unmaps.size())
                                     .arg(outputs - changes.size() - unmaps.size())) &&
                  written;
    if (!written) {
        m_console.error(u"the report could not be written to standard output"_s);
        return ExitFailure;
    }
    return left.isEmpty() ? ExitSuccess : ExitDifferent;
}
