// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QFile>

// The whole file; `missing` when it cannot be read.
inline QByteArray readFile(const QString &path, const QByteArray &missing = {})
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : missing;
}

// `path` when the bytes were all written, "" otherwise.
inline QString writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size() ? path : QString();
}
