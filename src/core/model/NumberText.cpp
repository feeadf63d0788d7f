// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "model/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

QString NumberField(long long n)
{
    QString digits = QString::number(n < 0 ? -static_cast<unsigned long long>(n)
                                           : static_cast<unsigned long long>(n));
    return (n < 0 ? QLatin1Char('-') : QLatin1Char(' ')) + digits;
}

namespace {

// The power of ten of the leading digit of a decimal number as collected below ("0.05e3": 1),
// for telling a number too large for a double from one too small. Only asked when the number
// is out of range, so it is far from zero either way; a number without a non-zero digit is 0.
long long decimalOrder(const std::string &number)
{
    const std::size_t e = number.find('e');
    const std::string mantissa = number.substr(0, e);
    long long exponent = 0;
    if (e != std::string::npos)
        std::from_chars(number.data() + e + 1 + (number[e + 1] == '+' ? 1 : 0),
                        number.data() + number.size(), exponent);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t first = mantissa.find_first_not_of("0.");
    if (first == std::string::npos)
        return 0;
    const long long position = first < point ? static_cast<long long>(point - first - 1)
                                             : -static_cast<long long>(first - point);
    return position + exponent;
}

bool isIgnored(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n');
}

// Walks the text skipping the ignored characters, so that the reader below sees one stream.
class Scanner
{
public:
    explicit Scanner(QStringView text) : m_text(text) { skip(); }
    bool atEnd() const { return m_pos >= m_text.size(); }
    QChar peek() const { return atEnd() ? QChar() : m_text[m_pos]; }
    void next()
    {
        ++m_pos;
        skip();
    }

private:
    void skip()
    {
        while (m_pos < m_text.size() && isIgnored(m_text[m_pos]))
            ++m_pos;
    }
    QStringView m_text;
    qsizetype m_pos = 0;
};

bool isDigit(QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); }

int digitValue(QChar c, int radix)
{
    int v = -1;
    const char16_t u = c.toLower().unicode();
    if (u >= u'0' && u <= u'9')
        v = u - u'0';
    else if (u >= u'a' && u <= u'f')
        v = u - u'a' + 10;
    return v >= 0 && v < radix ? v : -1;
}

double readRadix(Scanner &s, int radix)
{
    double value = 0;
    for (int d = digitValue(s.peek(), radix); d >= 0; d = digitValue(s.peek(), radix)) {
        value = value * radix + d;
        s.next();
    }
    return value;
}

} // namespace

double ReadNumber(QStringView text)
{
    Scanner s(text);
    if (s.peek() == QLatin1Char('&')) {
        s.next();
        const QChar p = s.peek().toUpper();
        if (p == QLatin1Char('H')) {
            s.next();
            return readRadix(s, 16);
        }
        if (p == QLatin1Char('O')) {
            s.next();
            return readRadix(s, 8);
        }
        return 0;
    }

    // Collect the decimal number's characters and let from_chars do the arithmetic: it rounds
    // correctly where a hand-made accumulation would not, and ignores the process locale.
    std::string number;
    bool negative = false;
    if (s.peek() == QLatin1Char('-') || s.peek() == QLatin1Char('+')) {
        negative = s.peek() == QLatin1Char('-');
        s.next();
    }
    bool mantissaDigits = false;
    while (isDigit(s.peek())) {
        number += static_cast<char>(s.peek().unicode());
        mantissaDigits = true;
        s.next();
    }
    if (s.peek() == QLatin1Char('.')) {
        number += '.';
        s.next();
        while (isDigit(s.peek())) {
            number += static_cast<char>(s.peek().unicode());
            mantissaDigits = true;
            s.next();
        }
    }
    if (!mantissaDigits)
        return 0;
    if (s.peek() == QLatin1Char('e') || s.peek() == QLatin1Char('E')) {
        std::string exponent = "e";
        s.next();
        if (s.peek() == QLatin1Char('-') || s.peek() == QLatin1Char('+')) {
            exponent += static_cast<char>(s.peek().unicode());
            s.next();
        }
        bool exponentDigits = false;
        std::string digits;
        while (isDigit(s.peek())) {
            const char d = static_cast<char>(s.peek().unicode());
            // Leading zeros count for nothing. Fifteen significant digits put the number out
            // of range whatever the length of the text before them, and still fit the whole
            // number type that decimalOrder reads them into.
            if ((d != '0' || !digits.empty()) && digits.size() < 15)
                digits += d;
            exponentDigits = true;
            s.next();
        }
        if (exponentDigits)
            number += exponent + (digits.empty() ? std::string("0") : digits);
    }
    double value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    (void)end;
    if (error == std::errc::result_out_of_range)
        value = decimalOrder(number) > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    return negative ? -value : value;
}

std::optional<qint16> ToInt16(double value)
{
    if (!std::isfinite(value))
        return std::nullopt;
    const double rounded = std::nearbyint(value); // default rounding mode: ties to even
    if (rounded < -32768.0 || rounded > 32767.0)
        return std::nullopt;
    return static_cast<qint16>(rounded);
}

qint16 ReadInt16(QStringView text, qint16 fallback)
{
    return ToInt16(ReadNumber(text)).value_or(fallback);
}
