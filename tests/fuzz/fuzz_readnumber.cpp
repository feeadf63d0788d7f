// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// ReadNumber and its 16-bit store over any text, checked against the reading rule of NumberText.h
// restated the plain way: take out the ignored characters first, match the longest number at the
// start, and let the C library evaluate it. The input is read twice, as 8-bit text (serial replies,
// tally files, old description files) and as UTF-16 (the entry box).
#include "fuzz/FuzzText.h"
#include "model/NumberText.h"

#include <cctype>
#include <cmath>
#include <string>

namespace {

[[noreturn]] void fail(const char *what, const std::string &text, double got, double want)
{
    std::fprintf(stderr, "%s: text \"%s\" read %a, expected %a\n", what, text.c_str(), got, want);
    std::abort();
}

int radixDigit(char c, int radix)
{
    const std::size_t v = std::string("0123456789abcdef").find(char(std::tolower(c)));
    return v < std::size_t(radix) ? int(v) : -1;
}

// Hexadecimal or octal digits as a hexadecimal float "0x...p0", which strtod rounds exactly.
std::string hexFloat(const std::string &digits, int radix)
{
    if (radix == 16)
        return "0x" + digits + "p0";
    std::string bits;
    for (char c : digits)
        for (int b = 2; b >= 0; --b)
            bits += char('0' + ((c - '0') >> b & 1));
    bits.insert(0, (4 - bits.size() % 4) % 4, '0');
    std::string hex = "0x0";
    for (std::size_t i = 0; i < bits.size(); i += 4)
        hex += "0123456789abcdef"[std::stoi(bits.substr(i, 4), nullptr, 2)];
    return hex + "p0";
}

// `plain` is the text with blanks, tabs and line feeds taken out; any character beyond ASCII has
// been replaced by one that no number contains.
void check(const std::string &plain, double got)
{
    std::size_t p = 0;
    auto at = [&](std::size_t i) { return i < plain.size() ? plain[i] : '\0'; };
    if (at(0) == '&') {
        // "&H" or "&O" and digits of that radix; "&" followed by anything else reads 0.
        const char kind = char(std::toupper(at(1)));
        const int radix = kind == 'H' ? 16 : kind == 'O' ? 8 : 0;
        std::string digits;
        for (p = 2; radix > 0 && radixDigit(at(p), radix) >= 0; ++p)
            digits += at(p);
        const double want =
            digits.empty() ? 0.0 : std::strtod(hexFloat(digits, radix).c_str(), nullptr);
        // Digit by digit in a double: exact up to 2^53, within a few units in the last place beyond
        // (multiplying by 16 or 8 is exact, each added digit rounds once).
        const bool ok = want < 0x1p53 || std::isinf(want)
                            ? got == want || (std::isinf(want) && got >= 0x1p1023)
                        : std::isinf(got) ? want >= 0x1p1023
                                          : std::fabs(got - want) <= want * 0x1p-50;
        if (!ok || std::signbit(got))
            fail("'&' number", plain, got, want);
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
        if (got != 0 || std::signbit(got))
            fail("no number", plain, got, 0);
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
    if (!(got == want && std::signbit(got) == std::signbit(want)))
        fail("decimal", plain, got, want);
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
    if (n.has_value() != fits || std::fabs(d) > 0.5 || (std::fabs(d) == 0.5 && *n % 2 != 0))
        fail("ToInt16", plain, n.value_or(-1), v);
    if (ReadInt16(text, -7) != n.value_or(-7))
        fail("ReadInt16", plain, ReadInt16(text, -7), v);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    readBoth(latin1Text(data, size));
    readBoth(utf16Text(data, size));
    return 0;
}
