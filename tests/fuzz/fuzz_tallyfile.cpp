// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The tally file field reader over any bytes, against its rule restated line by line. (Reading a
// file and loading it into the matrix is fuzz_tallyload: far slower per input.)
#include "files/TallyFile.h"
#include "fuzz/FuzzText.h"

namespace {

bool blank(char c) { return c == ' ' || c == '\t'; }

// The rule of TallyFile.h: CR and LF each end a line; in a line a field ends at a comma, leading
// blanks are skipped (trailing ones too outside quotes), a quoted field is taken without its quotes
// and the rest up to the comma dropped, a quote left open ends at the line end; a line holding only
// blanks carries no field, nor does a comma at a line's end.
QStringList expectedFields(const QByteArray &bytes)
{
    QStringList out;
    for (const QByteArray &line : QByteArray(bytes).replace('\r', '\n').split('\n')) {
        for (qsizetype p = 0, n = line.size();;) {
            while (p < n && blank(line[p]))
                ++p;
            if (p == n)
                break;
            QByteArray field;
            qsizetype comma;
            if (line[p] == '"') {
                const qsizetype close = line.indexOf('"', p + 1);
                field = line.mid(p + 1, (close < 0 ? n : close) - p - 1);
                comma = close < 0 ? -1 : line.indexOf(',', close);
            } else {
                comma = line.indexOf(',', p);
                field = line.mid(p, (comma < 0 ? n : comma) - p);
                while (!field.isEmpty() && blank(field.back()))
                    field.chop(1);
            }
            p = comma < 0 ? n : comma + 1;
            out << QString::fromLatin1(field);
        }
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QStringList fields = TallyFile::fields(bytes);
    require(fields == expectedFields(bytes), "fields differ from the rule", {}, fields.size());
    return 0;
}
