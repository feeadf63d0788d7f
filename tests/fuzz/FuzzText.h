#pragma once

#include <QString>

#include <cstdint>
#include <cstring>

// The fuzzer's bytes as the two kinds of text the readers meet: 8-bit (serial replies, files)
// and UTF-16 (what the operator types), the latter from the bytes taken in pairs.
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
