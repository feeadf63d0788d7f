// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// A broken rule aborts with its name: libFuzzer then keeps the input, and a replay fails.
inline void require(bool ok, const char *rule, const QString &text = {}, long long index = -1)
{
    if (ok)
        return;
    std::fprintf(stderr, "%s (%lld): \"%s\"\n", rule, index, text.toLocal8Bit().constData());
    std::abort();
}

// The fuzzer's bytes as the two kinds of text the readers meet: 8-bit (serial replies, files) and
// UTF-16 (what the operator types), the latter from the bytes taken in pairs.
inline QString latin1Text(const uint8_t *data, size_t size)
{
    return QString::fromLatin1(reinterpret_cast<const char *>(data), qsizetype(size));
}

inline QString utf16Text(const uint8_t *data, size_t size)
{
    QString text(qsizetype(size / 2), Qt::Uninitialized);
    std::memcpy(text.data(), data, size / 2 * 2);
    return text;
}
