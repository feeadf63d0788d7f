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

    struct ReadResult
    {
        QStringList fields;
        QString error; // "" when the file was read
    };
    static ReadResult read(const QString &path);
    static QStringList fields(const QByteArray &bytes);

    // Writes every line followed by CR LF, atomically: on failure the previous file stays whole
    // and the reason is returned; "" on success.
    static QString write(const QString &path, const QStringList &lines);

    // The name shown for a path: what follows its last separator, at most 50 characters.
    static QString ParseFilename(const QString &TallyFile);
};
