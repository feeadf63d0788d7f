// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// ReadNumber and its 16-bit store over any text, checked against the reading rule of NumberText.h
// restated the plain way: take out the ignored characters first, match the longest number at the
// start, and let the C library evaluate a decimal one ("&H"/"&O" digits are summed in a long
// double). The input is read twice, as 8-bit text (serial replies, tally files, old description
// files) and as UTF-16 (the entry box).
#include "fuzz/FuzzText.h"
#include "model/NumberText.h"

#include <cctype>
#include <cmath>
#include <string>

namespace {

int radixDigit(char c, int radix)
{
    const std::size_t v = std::string("0123456789abcdef").find(char(std::tolower(c)));
    return v < std::size_t(radix) ? int(v) : -1;
}

// `plain` is the text with blanks, tabs and line feeds taken out; any character beyond ASCII has
// been replaced by one that no number contains.
void check(const std::string &plain, double got)
{
    const QString text = QString::fromStdString(plain);
    std::size_t p = 0;
    auto at = [&](std::size_t i) { return i < plain.size() ? plain[i] : '\0'; };
    if (at(0) == '&') {
        // "&H" or "&O" and digits of that radix; "&" followed by anything else reads 0.
        const char kind = char(std::toupper(at(1)));
        const int radix = kind == 'H' ? 16 : kind == 'O' ? 8 : 0;
        // In the wider long double (x86-64) the digits' value is exact below 2^64, and within 2^-55
        // of it up to the largest double.
        long double wide = 0;
        for (p = 2; radix > 0 && radixDigit(at(p), radix) >= 0; ++p)
            wide = wide * radix + radixDigit(at(p), radix);
        const double want = double(wide);
        // Digit by digit in a double: exact up to 2^53, within a few units in the last place beyond
        // (multiplying by 16 or 8 is exact, each added digit rounds once).
        const bool ok = want < 0x1p53 || std::isinf(want)
                            ? got == want || (std::isinf(want) && got >= 0x1p1023)
                        : std::isinf(got) ? want >= 0x1p1023
                                          : std::fabs(got - want) <= want * 0x1p-50;
        require(ok && !std::signbit(got), "'&' number", text);
        return;
    }

    auto digits = [&](std::size_t &i, std::string &to) {
        const std::size_t from = i;
        while (at(i) >= '0' && at(i) <= '9')
            to += plain[i++];
        return i > from;
    };
    std::string number;
    const bool negative = at(p) == '-';
    if (negative || at(p) == '+')
        ++p;
    bool mantissa = digits(p, number);
    if (at(p) == '.') {
        number += plain[p++];
        mantissa = digits(p, number) || mantissa;
    }
    if (!mantissa) {
        require(got == 0 && !std::signbit(got), "no number", text);
        return;
    }
    if (at(p) == 'e' || at(p) == 'E') {
        std::size_t q = p + 1;
        std::string exponent = "e";
        if (at(q) == '+' || at(q) == '-')
            exponent += plain[q++];
        if (digits(q, exponent)) // "e" without digits is not part of the number
            number += exponent;
    }
    // strtod rounds exactly; this process never leaves the C locale.
    const double want = (negative ? -1.0 : 1.0) * std::strtod(number.c_str(), nullptr);
    require(got == want && std::signbit(got) == std::signbit(want), "decimal", text);
}

void readBoth(const QString &text)
{
    std::string plain;
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u != u' ' && u != u'\t' && u != u'\n')
            plain += (u >= 0x20 && u < 0x7f) ? char(u) : '~';
    }
    const double v = ReadNumber(text);
    check(plain, v);
    // Nearest integer, ties to even, kept when it lies in -32768..32767.
    const std::optional<qint16> n = ToInt16(v);
    const bool fits = std::isfinite(v) && v >= -32768.5 && v < 32767.5;
    const double d = n ? double(*n) - v : 0;
    require(n.has_value() == fits && std::fabs(d) <= 0.5 && (std::fabs(d) < 0.5 || *n % 2 == 0),
            "ToInt16", text);
    require(ReadInt16(text, -7) == n.value_or(-7), "ReadInt16", text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    readBoth(latin1Text(data, size));
    readBoth(utf16Text(data, size));
    return 0;
}
