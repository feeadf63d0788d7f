#include "TallySystem.h"

#include "model/NumberText.h"

#include <bit>

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

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Splits the argument text on blanks. A sign right after a number also starts a new argument:
// the configurator writes a negative number without a blank before it ("Res-1 -2").
QList<QByteArrayView> splitArguments(QByteArrayView text)
{
    QList<QByteArrayView> tokens;
    qsizetype start = -1;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        const char c = i < text.size() ? text[i] : ' ';
        const bool signAfterNumber =
            start >= 0 && (c == '-' || c == '+') && (isDigit(text[i - 1]) || text[i - 1] == '.');
        if (isBlank(c) || signAfterNumber) {
            if (start >= 0)
                tokens.append(text.sliced(start, i - start));
            start = isBlank(c) ? -1 : i;
        } else if (start < 0) {
            start = i;
        }
    }
    return tokens;
}

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

bool isHole(const MapFields &row) { return row == MapFields{}; }

TallySystem::Answer reply(QByteArrayView line, bool changed = false)
{
    return {line.toByteArray(), changed};
}

} // namespace

QByteArray MapRowText(const MapFields &fields)
{
    return ComposeMapFields(fields).toLatin1();
}

TallySystem::Answer TallySystem::execute(QByteArrayView line)
{
    QByteArray text = line.toByteArray();
    text.removeIf([](char c) { return c == '\r'; });
    qsizetype pos = 0;
    while (pos < text.size() && isBlank(text[pos]))
        ++pos;
    if (pos == text.size())
        return reply(Ready);
    const qsizetype keywordStart = pos;
    while (pos < text.size() && isLetter(text[pos]))
        ++pos;
    const QByteArray keyword = text.sliced(keywordStart, pos - keywordStart).toLower();

    Numbers n;
    for (QByteArrayView token : splitArguments(QByteArrayView(text).sliced(pos))) {
        const auto value = ToInt16(ReadNumber(QString::fromLatin1(token)));
        if (!value)
            return reply(OutOfRange);
        n.append(*value);
    }

    using Run = Answer (*)(TallySystem &, const Numbers &);
    struct Command
    {
        QByteArrayView name;
        qsizetype arguments;
        Run run;
    };
    static constexpr Command commands[] = {
        {"map", 4, [](TallySystem &t, const Numbers &a) { return t.map(a); }},
        {"and", 4, [](TallySystem &t, const Numbers &a) { return t.boolMap(a, AndMapping); }},
        {"or", 4, [](TallySystem &t, const Numbers &a) { return t.boolMap(a, OrMapping); }},
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
    for (const Command &command : commands) {
        if (command.name == keyword)
            return n.size() == command.arguments ? command.run(*this, n) : reply(BadArguments);
    }
    return reply(UnknownCommand);
}

qsizetype TallySystem::rowOf(qint16 unit, qint16 channel) const
{
    for (qsizetype i = m_rows.size() - 1; i >= 0; --i) {
        const MapFields &row = m_rows[i];
        if (!isHole(row) && row[0] == unit && row[1] == channel)
            return i;
    }
    return -1;
}

TallySystem::Answer TallySystem::map(const Numbers &n)
{
    if (!isOutput(n[0], n[1]) || !isInput(n[2], n[3]))
        return reply(OutOfRange);
    const MapFields row{n[0], n[1], n[2], n[3], 1, 0, 0, PlainMapping};
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
    m_rows[i][5] = n[2];
    m_rows[i][6] = n[3];
    m_rows[i][7] = mode;
    return reply(Ok, true);
}

TallySystem::Answer TallySystem::clearMap(const Numbers &n)
{
    const qsizetype i = rowOf(n[0], n[1]);
    if (i < 0)
        return reply(NoMapping);
    m_rows[i] = MapFields{};
    return reply(Ok, true);
}

TallySystem::Answer TallySystem::rawMap(const Numbers &n) const
{
    const qsizetype row = n[0];
    if (row < 1 || row > m_rows.size())
        return reply("");
    return reply(MapRowText(m_rows[row - 1]));
}

TallySystem::Answer TallySystem::getMap(const Numbers &n) const
{
    const qsizetype i = rowOf(n[0], n[1]);
    return reply(i < 0 ? QByteArray() : MapRowText(m_rows[i]));
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
    m_rows[i][4] = flag;
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
    QList<MapFields> rows;
    int lineNumber = 0;
    for (QByteArray line : text.toByteArray().split('\n')) {
        ++lineNumber;
        line = line.trimmed(); // also drops the CR of the line end
        if (line.isEmpty())
            continue;
        if (!line.contains('[')) {
            *error = u"line %1 is not a map string"_s.arg(lineNumber);
            return false;
        }
        if (rows.size() >= MaxRows) {
            *error = u"more than %1 rows"_s.arg(MaxRows);
            return false;
        }
        rows.append(ReadMapFields(QString::fromLatin1(line)));
    }
    m_rows = rows;
    return true;
}

QByteArray TallySystem::tallyText() const
{
    QByteArray text;
    for (const MapFields &row : m_rows)
        text += MapRowText(row) + "\r\n";
    return text;
}
