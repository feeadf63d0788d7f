// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/MatrixComparison.h"

#include "cli/Console.h"
#include "matrix/Lookup.h"
#include "matrix/Mapping.h"

#include <QMap>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

using Key = std::pair<qint16, qint16>; // unit, channel

qint16 normalMode(const MapFields &m) { return m[7] == PlainMapping ? 0 : m[7]; }

bool inRange(qint16 n) { return n >= Mapping::LowestNumber && n <= Mapping::HighestNumber; }

} // namespace

bool MatrixComparison::parse(const QStringList &lines, QList<MapFields> *maps, QString *error)
{
    if (lines.size() > TableSize) {
        *error = u"it holds %1 lines, more than the %2 map strings a tally system table holds"_s
                     .arg(lines.size())
                     .arg(TableSize);
        return false;
    }
    maps->clear();
    for (qsizetype n = 0; n < lines.size(); ++n) {
        const std::optional<MapFields> m = ReadStrictMapFields(lines[n]);
        const bool ok = m && (*m)[0] >= 1 && std::all_of(m->begin(), m->begin() + 4, inRange) &&
                        inRange((*m)[5]) && inRange((*m)[6]) && (*m)[7] >= PlainMapping &&
                        (*m)[7] <= OrMapping;
        if (!ok) {
            *error = u"line %1, \"%2\", is not a map string (eight bracketed numbers, "
                     u"output unit 1 to 999, numbers 0 to 999, mode 0 to 2)"_s.arg(n + 1)
                         .arg(Console::printable(lines[n]));
            return false;
        }
        *maps << *m;
    }
    return true;
}

MatrixComparison::MatrixComparison(SystemModel &model) : m_model(model) {}

bool MatrixComparison::isMapped(const std::optional<MapFields> &map)
{
    return map && (*map)[2] >= 1;
}

bool MatrixComparison::same(const std::optional<MapFields> &a, const std::optional<MapFields> &b)
{
    if (!isMapped(a) || !isMapped(b))
        return isMapped(a) == isMapped(b);
    const MapFields &x = *a, &y = *b;
    if (x[2] != y[2] || x[3] != y[3] || normalMode(x) != normalMode(y))
        return false;
    return normalMode(x) == 0 || (x[5] == y[5] && x[6] == y[6]);
}

QList<MatrixComparison::Output> MatrixComparison::outputs(const QList<MapFields> &file,
                                                          bool fileOnly) const
{
    QMap<Key, Output> byKey;
    for (const MapFields &m : file) {
        Output &o = byKey[{m[0], m[1]}];
        o.unit = m[0];
        o.channel = m[1];
        o.wanted = m; // a later line for the same output wins, as in a load
        o.line = int(&m - file.data()) + 1;
    }
    if (!fileOnly) {
        for (int row = 1; row <= m_model.MapStrings && InTable(row); ++row) {
            const MapFields m = ReadMapFields(m_model.RawMap[row]);
            Output &o = byKey[{m[0], m[1]}];
            o.unit = m[0];
            o.channel = m[1];
        }
        for (int i = 1; i <= m_model.NumberOfOutputs; ++i) {
            Output &o = byKey[{m_model.OutputUnit[i], m_model.OutputChannel[i]}];
            o.unit = m_model.OutputUnit[i];
            o.channel = m_model.OutputChannel[i];
        }
    }
    // What the table holds: its later row wins, as in the window's read-back.
    for (int row = 1; row <= m_model.MapStrings && InTable(row); ++row) {
        const MapFields m = ReadMapFields(m_model.RawMap[row]);
        if (const auto it = byKey.find({m[0], m[1]}); it != byKey.end())
            it->held = m;
    }

    QList<Output> ordered;
    for (int i = 1; i <= m_model.NumberOfOutputs; ++i) {
        if (const auto it = byKey.find({m_model.OutputUnit[i], m_model.OutputChannel[i]});
            it != byKey.end()) {
            ordered << *it;
            byKey.erase(it);
        }
    }
    for (const Output &o : std::as_const(byKey))
        ordered << o;
    return ordered;
}

QList<MatrixComparison::Output> MatrixComparison::differences(const QList<MapFields> &file,
                                                              bool fileOnly) const
{
    QList<Output> out;
    for (const Output &o : outputs(file, fileOnly)) {
        if (!same(o.wanted, o.held))
            out << o;
    }
    return out;
}

QString MatrixComparison::outputName(qint16 unit, qint16 channel) const
{
    for (int i = 1; i <= m_model.NumberOfOutputs; ++i) {
        if (m_model.OutputUnit[i] == unit && m_model.OutputChannel[i] == channel)
            return u"output %1 \"%2\""_s.arg(i).arg(m_model.OutputName[i]);
    }
    return u"output %1/%2 (not in Kestrel.ini)"_s.arg(unit).arg(channel);
}

QString MatrixComparison::inputName(qint16 unit, qint16 channel) const
{
    if (unit == 0 && channel == 0)
        return u"\"%1\""_s.arg(m_model.InputName[0]);
    const int j = SearchInputList(m_model, unit, channel);
    if (j >= 1 && j <= m_model.NumberOfInputs)
        return u"input %1 \"%2\""_s.arg(j).arg(m_model.InputName[j]);
    return u"input %1/%2 (not in Kestrel.ini)"_s.arg(unit).arg(channel);
}

QString MatrixComparison::mappingText(const std::optional<MapFields> &map) const
{
    if (!isMapped(map))
        return u"no mapping"_s;
    const MapFields &m = *map;
    QString text = inputName(m[2], m[3]);
    if (normalMode(m) != 0)
        text += (m[7] == AndMapping ? u" AND "_s : u" OR "_s) + inputName(m[5], m[6]);
    return text;
}

QString MatrixComparison::describe(const Output &output) const
{
    return outputName(output.unit, output.channel) + u": file wants "_s +
           mappingText(output.wanted) + u", device holds "_s + mappingText(output.held);
}
