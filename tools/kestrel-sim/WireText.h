// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <array>
#include <optional>

// The text forms the tally system reads and writes: command lines, and map strings on the line
// and in tally files. Kept apart from the configurator's own readers and writers on purpose:
// the simulator is the other side of the line, and a fault shared by both sides would pass
// every end-to-end test unseen. So these readers are strict where the configurator's are
// lenient: what the configurator never writes is refused, not guessed at.

// One table row, the fields in map string order.
using MapRow = std::array<qint16, 8>;
enum MapField { OutUnit, OutChannel, InUnit, InChannel, Enable, BoolUnit, BoolChannel, Mode };

// "[f1][f2][f3][f4][f5][f6][f7][f8]", each field in plain decimal ("-" before a negative one).
QByteArray WriteMapRow(const MapRow &row);

// Exactly the form WriteMapRow gives, every field at most three characters long (-99..999, as a
// reader of map strings keeps no more); anything else gives nothing.
std::optional<MapRow> ReadMapRow(QByteArrayView text);

// A command line as the configurator writes one: a keyword of letters, then decimal integers,
// each after one or more blanks or, when negative, right after the previous token (its "-" is
// the separator). Blanks may lead and trail.
struct CommandText
{
    QByteArray keyword;      // the leading letters, in lower case; empty for a line of blanks
    QList<int> numbers;      // a value beyond 16 bits stands as one far out of range, never wrapped
    bool wellFormed = false; // false: something after the keyword is not of that form
};
CommandText ReadCommandText(QByteArrayView line);
