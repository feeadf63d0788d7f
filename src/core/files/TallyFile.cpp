#include "files/TallyFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

TallyFile::ReadResult TallyFile::read(const QString &path)
{
    const QFileInfo info(path);
    if (info.isDir())
        return {{}, QStringLiteral("it is a folder")};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {{}, file.errorString()};
    if (file.size() > MaxBytes)
        return {{}, QStringLiteral("it is larger than %1 MB, too large for a tally file")
                        .arg(MaxBytes / (1024 * 1024))};
    const QByteArray bytes = file.read(MaxBytes + 1);
    if (file.error() != QFileDevice::NoError)
        return {{}, file.errorString()};
    return {fields(bytes), {}};
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

QString TallyFile::write(const QString &path, const QStringList &lines)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    for (const QString &line : lines) {
        if (file.write(line.toLatin1() + "\r\n") < 0)
            return file.errorString(); // QSaveFile discards what it wrote
    }
    if (!file.commit())
        return file.errorString();
    return {};
}

QString TallyFile::ParseFilename(const QString &TallyFile)
{
    // Windows paths use backslashes, ours slashes: either ends the folder part.
    const qsizetype p = std::max(TallyFile.lastIndexOf(QLatin1Char('\\')),
                                 TallyFile.lastIndexOf(QLatin1Char('/')));
    return p >= 1 ? TallyFile.mid(p + 1, 50) : QString();
}
