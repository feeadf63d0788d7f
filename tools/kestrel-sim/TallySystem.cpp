// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "TallySystem.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

// Reply lines. Only the version may hold "."; anywhere else it would end the reply early, as
// the configurator takes the first "." it receives for the end.
constexpr QByteArrayView Ok = "OK";
constexpr QByteArrayView Ready = "READY";
constexpr QByteArrayView Version = "KESTREL MAIN V2.14";
constexpr QByteArrayView UnknownCommand = "ERR COMMAND";
constexpr QByteArrayView BadArguments = "ERR ARGS";
constexpr QByteArrayView OutOfRange = "ERR RANGE";
constexpr QByteArrayView NoMapping = "ERR NO MAP";
constexpr QByteArrayView TableFull = "ERR TABLE FULL";

constexpr int MaxNumber = 999; // the widest value a map string field keeps whole
constexpr qint16 PlainMode = 0, AndMode = 1, OrMode = 2;

bool inRange(qint16 value, int low, int high) { return value >= low && value <= high; }
bool isOutput(qint16 unit, qint16 channel)
{
    return inRange(unit, 1, MaxNumber) && inRange(channel, 1, MaxNumber);
}
bool isInput(qint16 unit, qint16 channel)
{
    return inRange(unit, 0, MaxNumber) && inRange(channel, 0, MaxNumber);
}
bool isUnit(qint16 unit) { return inRange(unit, 1, MaxNumber); }
bool isChannel(qint16 channel) { return inRange(channel, 1, TallySystem::ChannelsPerUnit); }

bool isHole(const MapRow &row) { return row == MapRow{}; }

TallySystem::Answer reply(QByteArrayView line, bool changed = false)
{
    return {line.toByteArray(), changed};
}

} // namespace

TallySystem::Answer TallySystem::execute(QByteArrayView line)
{
    QByteArray text = line.toByteArray();
    text.removeIf([](char c) { return c == '\r'; });
    const CommandText command = ReadCommandText(text);
    if (command.keyword.isEmpty() && command.numbers.isEmpty() && command.wellFormed)
        return reply(Ready);

    using Run = Answer (*)(TallySystem &, const Numbers &);
    struct Command
    {
        QByteArrayView name;
        qsizetype arguments;
        Run run;
    };
    static constexpr Command commands[] = {
        {"map", 4, [](TallySystem &t, const Numbers &a) { return t.map(a); }},
        {"and", 4, [](TallySystem &t, const Numbers &a) { return t.boolMap(a, AndMode); }},
        {"or", 4, [](TallySystem &t, const Numbers &a) { return t.boolMap(a, OrMode); }},
        {"clrmap", 2, [](TallySystem &t, const Numbers &a) { return t.clearMap(a); }},
        {"rawmap", 1, [](TallySystem &t, const Numbers &a) { return t.rawMap(a); }},
        {"getmap", 2, [](TallySystem &t, const Numbers &a) { return t.getMap(a); }},
        {"comp", 0, [](TallySystem &t, const Numbers &) { return t.compact(); }},
        {"init", 0, [](TallySystem &t, const Numbers &) { return t.init(); }},
        {"uenable", 1, [](TallySystem &t, const Numbers &a) { return t.enableUnit(a); }},
        {"mapdisab", 2, [](TallySystem &t, const Numbers &a) { return t.setMapEnable(a, 0); }},
        {"mapenab", 2, [](TallySystem &t, const Numbers &a) { return t.setMapEnable(a, 1); }},
        {"set", 2, [](TallySystem &t, const Numbers &a) { return t.light(a, true); }},
        {"res", 2, [](TallySystem &t, const Numbers &a) { return t.light(a, false); }},
        {"refresh", 0, [](TallySystem &t, const Numbers &) { return t.refresh(); }},
        {"bits", 1, [](TallySystem &t, const Numbers &a) { return t.bits(a); }},
        {"gstat", 1, [](TallySystem &t, const Numbers &a) { return t.status(a); }},
        {"ver", 0, [](TallySystem &, const Numbers &) { return reply(Version); }},
    };
    const auto known =
        std::find_if(std::begin(commands), std::end(commands),
                     [&command](const Command &c) { return c.name == command.keyword; });
    if (known == std::end(commands))
        return reply(UnknownCommand);
    if (!command.wellFormed || command.numbers.size() != known->arguments)
        return reply(BadArguments);
    Numbers n;
    for (const int number : command.numbers) {
        if (number < std::numeric_limits<qint16>::min() ||
            number > std::numeric_limits<qint16>::max())
            return reply(OutOfRange);
        n.append(static_cast<qint16>(number));
    }
    return known->run(*this, n);
}

qsizetype TallySystem::rowOf(qint16 unit, qint16 channel) const
{
    for (qsizetype i = m_rows.size() - 1; i >= 0; --i) {
        const MapRow &row = m_rows[i];
        if (!isHole(row) && row[OutUnit] == unit && row[OutChannel] == channel)
            return i;
    }
    return -1;
}

TallySystem::Answer TallySystem::map(const Numbers &n)
{
    if (!isOutput(n[0], n[1]) || !isInput(n[2], n[3]))
        return reply(OutOfRange);
    const MapRow row{n[0], n[1], n[2], n[3], 1, 0, 0, PlainMode};
    const qsizetype i = rowOf(n[0], n[1]);
    if (i >= 0) {
        m_rows[i] = row;
    } else {
        if (m_rows.size() >= MaxRows)
            return reply(TableFull);
        m_rows.append(row);
    }
    return reply(Ok, true);
}

TallySystem::Answer TallySystem::boolMap(const Numbers &n, qint16 mode)
{
    if (!isOutput(n[0], n[1]) || !isInput(n[2], n[3]))
        return reply(OutOfRange);
    const qsizetype i = rowOf(n[0], n[1]);
    if (i < 0)
        return reply(NoMapping);
    m_rows[i][BoolUnit] = n[2];
    m_rows[i][BoolChannel] = n[3];
    m_rows[i][Mode] = mode;
    return reply(Ok, true);
}

TallySystem::Answer TallySystem::clearMap(const Numbers &n)
{
    const qsizetype i = rowOf(n[0], n[1]);
    if (i < 0)
        return reply(NoMapping);
    m_rows[i] = MapRow{};
    return reply(Ok, true);
}

TallySystem::Answer TallySystem::rawMap(const Numbers &n) const
{
    const qsizetype row = n[0];
    if (row < 1 || row > m_rows.size())
        return reply("");
    return reply(WriteMapRow(m_rows[row - 1]));
}

TallySystem::Answer TallySystem::getMap(const Numbers &n) const
{
    const qsizetype i = rowOf(n[0], n[1]);
    return reply(i < 0 ? QByteArray() : WriteMapRow(m_rows[i]));
}

TallySystem::Answer TallySystem::compact()
{
    const qsizetype holes = m_rows.removeIf(isHole);
    return reply(Ok, holes > 0);
}

TallySystem::Answer TallySystem::init()
{
    const bool hadRows = !m_rows.isEmpty();
    m_rows.clear();
    m_units.clear();
    return reply(Ok, hadRows);
}

TallySystem::Answer TallySystem::enableUnit(const Numbers &n)
{
    if (!isUnit(n[0]))
        return reply(OutOfRange);
    m_units[n[0]].enabled = true;
    return reply(Ok);
}

TallySystem::Answer TallySystem::setMapEnable(const Numbers &n, qint16 flag)
{
    const qsizetype i = rowOf(n[0], n[1]);
    if (i < 0)
        return reply(NoMapping);
    m_rows[i][Enable] = flag;
    return reply(Ok, true);
}

TallySystem::Answer TallySystem::light(const Numbers &n, bool on)
{
    if (!isUnit(n[0]) || !isChannel(n[1]))
        return reply(OutOfRange);
    const quint32 bit = 1u << (n[1] - 1);
    Unit &unit = m_units[n[0]];
    unit.lit = on ? unit.lit | bit : unit.lit & ~bit;
    return reply(Ok);
}

TallySystem::Answer TallySystem::refresh()
{
    for (auto &[number, unit] : m_units)
        unit.lit = 0;
    return reply(Ok);
}

TallySystem::Answer TallySystem::bits(const Numbers &n) const
{
    if (!isUnit(n[0]))
        return reply(OutOfRange);
    const auto found = m_units.find(n[0]);
    const quint32 lit = found == m_units.end() ? 0 : found->second.lit;
    QByteArray line(ChannelsPerUnit, '0');
    for (int k = 0; k < ChannelsPerUnit; ++k) {
        if (lit & (1u << k))
            line[k] = '1';
    }
    return reply(line);
}

TallySystem::Answer TallySystem::status(const Numbers &n) const
{
    if (!isUnit(n[0]))
        return reply(OutOfRange);
    const auto found = m_units.find(n[0]);
    const Unit unit = found == m_units.end() ? Unit{} : found->second;
    return reply("UNIT " + QByteArray::number(n[0]) + (unit.enabled ? " ENABLED " : " DISABLED ") +
                 QByteArray::number(std::popcount(unit.lit)) + " LIT");
}

bool TallySystem::loadRows(QByteArrayView text, QString *error)
{
    QList<MapRow> rows;
    int lineNumber = 0;
    for (QByteArray line : text.toByteArray().split('\n')) {
        ++lineNumber;
        line = line.trimmed(); // also drops the CR of the line end
        if (line.isEmpty())
            continue;
        const std::optional<MapRow> row = ReadMapRow(line);
        if (!row) {
            *error = u"line %1 is not a map string"_s.arg(lineNumber);
            return false;
        }
        if (rows.size() >= MaxRows) {
            *error = u"more than %1 rows"_s.arg(MaxRows);
            return false;
        }
        rows.append(*row);
    }
    m_rows = rows;
    return true;
}

QByteArray TallySystem::tallyText() const
{
    QByteArray text;
    for (const MapRow &row : m_rows)
        text += WriteMapRow(row) + "\r\n";
    return text;
}
