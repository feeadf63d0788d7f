// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// How the configurator writes and reads numbers in every text it exchanges: commands, INI keys,
// map strings, replies, tally files and the entry box all go through these two.

// " 7", " 0", "-1": digits with a leading blank for zero and positive numbers, so that a
// keyword followed by a NumberField needs no separator of its own.
QString NumberField(long long n);

// The longest leading number of the text. Blanks, tabs and line feeds are ignored wherever they
// stand ("1 2" reads 12); an optional sign, digits, a decimal point and an exponent, or the
// prefixes &H / &O for hexadecimal and octal. Text without a leading number reads 0.
double ReadNumber(QStringView text);

// A read number stored into a 16-bit integer: nearest integer, ties to even. Empty when the
// value does not fit -32768..32767, which the callers treat as malformed input.
std::optional<qint16> ToInt16(double value);

// ReadNumber stored into a 16-bit integer; a value that does not fit gives `fallback`.
qint16 ReadInt16(QStringView text, qint16 fallback = 0);
