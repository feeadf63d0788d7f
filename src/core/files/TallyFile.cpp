// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "files/TallyFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

bool TallyFile::load(const QString &path, QByteArray *bytes, QString *error)
{
    const QFileInfo info(path);
    QFile file(path);
    if (info.isDir())
        *error = QStringLiteral("it is a folder");
    else if (!file.open(QIODevice::ReadOnly))
        *error = file.errorString();
    else if (file.size() > MaxBytes)
        *error = QStringLiteral("it is larger than %1 MB, too large for a tally file")
                     .arg(MaxBytes / (1024 * 1024));
    else if (*bytes = file.read(MaxBytes + 1); file.error() != QFileDevice::NoError)
        *error = file.errorString();
    else
        return true;
    return false;
}

bool TallyFile::read(const QString &path, QStringList *fields, QString *error)
{
    QByteArray bytes;
    if (!load(path, &bytes, error))
        return false;
    *fields = TallyFile::fields(bytes);
    return true;
}

bool TallyFile::readLines(const QString &path, QStringList *lines, QString *error)
{
    QByteArray bytes;
    return load(path, &bytes, error) && TallyFile::lines(bytes, lines, error);
}

bool TallyFile::lines(const QByteArray &bytes, QStringList *lines, QString *error)
{
    lines->clear();
    for (qsizetype p = 0; p < bytes.size();) {
        const qsizetype lf = bytes.indexOf('\n', p);
        const int n = int(lines->size()) + 1;
        if (lf < 0) {
            *error = QStringLiteral("line %1 has no line end: the file may be cut short").arg(n);
            return false;
        }
        const qsizetype end = lf > p && bytes[lf - 1] == '\r' ? lf - 1 : lf;
        if (end == p) {
            *error = QStringLiteral("line %1 is empty").arg(n);
            return false;
        }
        *lines << QString::fromLatin1(bytes.mid(p, end - p));
        p = lf + 1;
    }
    return true;
}

QStringList TallyFile::fields(const QByteArray &bytes)
{
    QStringList out;
    const qsizetype n = bytes.size();
    qsizetype p = 0;
    auto lineEnd = [&](qsizetype at) { return bytes[at] == '\r' || bytes[at] == '\n'; };
    while (p < n) {
        while (p < n && (bytes[p] == ' ' || bytes[p] == '\t'))
            ++p;
        if (p == n) // blanks after the last field of a file without a final line end
            break;
        if (lineEnd(p)) { // an empty line, or the end of a line after its last field
            ++p;
            continue;
        }
        QByteArray field;
        if (p < n && bytes[p] == '"') {
            // The closing quote, or the line end when a stray quote has none: one bad line
            // must not swallow the rest of the file.
            qsizetype end = p + 1;
            while (end < n && bytes[end] != '"' && !lineEnd(end))
                ++end;
            field = bytes.mid(p + 1, end - p - 1);
            p = end < n && bytes[end] == '"' ? end + 1 : end;
            while (p < n && bytes[p] != ',' && !lineEnd(p)) // text after the quotes is dropped
                ++p;
        } else {
            const qsizetype start = p;
            while (p < n && bytes[p] != ',' && !lineEnd(p))
                ++p;
            field = bytes.mid(start, p - start);
            while (field.endsWith(' ') || field.endsWith('\t'))
                field.chop(1);
        }
        if (p < n && bytes[p] == ',')
            ++p;
        out << QString::fromLatin1(field);
    }
    return out;
}

QByteArray TallyFile::bytes(const QStringList &lines)
{
    QByteArray out;
    for (const QString &line : lines)
        out += line.toLatin1() + "\r\n";
    return out;
}

bool TallyFile::write(const QString &path, const QStringList &lines, QString *error)
{
    const QByteArray text = bytes(lines);
    QSaveFile file(path);
    // A short write is a failure too; QSaveFile then discards what it wrote. The explicit flush
    // matters: commit() misses a failure of the buffered bytes it writes out itself, and would
    // then put a cut file in place of the old one.
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush() &&
        file.commit())
        return true;
    *error = file.errorString();
    return false;
}

QString TallyFile::ParseFilename(const QString &TallyFile)
{
    // Windows paths use backslashes, ours slashes: either ends the folder part.
    const qsizetype p =
        std::max(TallyFile.lastIndexOf(QLatin1Char('\\')), TallyFile.lastIndexOf(QLatin1Char('/')));
    return p >= 1 ? TallyFile.mid(p + 1, 50) : QString();
}
