// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "WireText.h"

#include <algorithm>

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Far beyond 16 bits, yet small enough that ten times it plus a digit fits an int.
constexpr int Saturated = 1 << 20;

// A decimal integer at `pos`: "0", or digits without a leading zero, "-" before a negative one.
// Moves `pos` past it. No "+", no "-0", no prefixes, points or exponents.
std::optional<int> readDecimal(QByteArrayView text, qsizetype &pos)
{
    qsizetype i = pos;
    const bool negative = i < text.size() && text[i] == '-';
    if (negative)
        ++i;
    const qsizetype first = i;
    int value = 0;
    for (; i < text.size() && isDigit(text[i]); ++i)
        value = std::min(value * 10 + (text[i] - '0'), Saturated);
    const qsizetype digits = i - first;
    if (digits == 0 || (text[first] == '0' && (digits > 1 || negative)))
        return std::nullopt;
    pos = i;
    return negative ? -value : value;
}

} // namespace

QByteArray WriteMapRow(const MapRow &row)
{
    QByteArray text;
    for (const qint16 field : row)
        text += '[' + QByteArray::number(field) + ']';
    return text;
}

std::optional<MapRow> ReadMapRow(QByteArrayView text)
{
    constexpr qsizetype FieldWidth = 3;
    MapRow row{};
    qsizetype pos = 0;
    for (qint16 &field : row) {
        if (pos == text.size() || text[pos] != '[')
            return std::nullopt;
        const qsizetype start = ++pos;
        const std::optional<int> value = readDecimal(text, pos);
        if (!value || pos - start > FieldWidth || pos == text.size() || text[pos] != ']')
            return std::nullopt;
        field = static_cast<qint16>(*value);
        ++pos;
    }
    if (pos != text.size())
        return std::nullopt;
    return row;
}

CommandText ReadCommandText(QByteArrayView line)
{
    CommandText command;
    qsizetype pos = 0;
    auto skipBlanks = [&line, &pos]() {
        const qsizetype from = pos;
        while (pos < line.size() && line[pos] == ' ')
            ++pos;
        return pos - from;
    };
    skipBlanks();
    const qsizetype start = pos;
    while (pos < line.size() && isLetter(line[pos]))
        ++pos;
    command.keyword = line.sliced(start, pos - start).toByteArray().toLower();
    for (;;) {
        const qsizetype blanks = skipBlanks();
        if (pos == line.size()) {
            command.wellFormed = true;
            return command;
        }
        if (blanks == 0 && line[pos] != '-')
            return command;
        const std::optional<int> number = readDecimal(line, pos);
        if (!number)
            return command;
        command.numbers.append(*number);
    }
}
