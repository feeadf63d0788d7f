// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

// A tally file: one map string per line, lines ended by CR LF, 8-bit text. Read field-wise:
// a field ends at a comma or a line end, leading blanks are skipped, a field in double quotes
// is taken without them; empty lines carry no field.
class TallyFile
{
public:
    static constexpr qint64 MaxBytes = 16 * 1024 * 1024; // far above 1000 map strings

    // Operations that can fail return false and say why in *error, as everywhere here.
    static bool read(const QString &path, QStringList *fields, QString *error);
    static QStringList fields(const QByteArray &bytes);
    // The strict reading, for a file about to be sent where nobody watches: whole lines, each
    // ended by CR LF (or LF), none empty. False names the first line that is not so.
    static bool readLines(const QString &path, QStringList *lines, QString *error);
    static bool lines(const QByteArray &bytes, QStringList *lines, QString *error);

    // Every line followed by CR LF, in 8-bit text.
    static QByteArray bytes(const QStringList &lines);
    // Writes bytes(lines) atomically: on failure the previous file stays whole.
    static bool write(const QString &path, const QStringList &lines, QString *error);

    // The name shown for a path: what follows its last separator, at most 50 characters.
    static QString ParseFilename(const QString &TallyFile);

private:
    static bool load(const QString &path, QByteArray *bytes, QString *error);
};
