// The tally file field reader over any bytes, against its rule restated line by line.
// (Reading a file and loading it into the matrix is fuzz_tallyload: far slower per input.)
#include "files/TallyFile.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void fail(const char *what, int index = -1)
{
    std::fprintf(stderr, "tally file: %s (%d)\n", what, index);
    std::abort();
}

bool blank(char c) { return c == ' ' || c == '\t'; }

// The rule of TallyFile.h: CR and LF each end a line; in a line a field ends at a comma, leading
// blanks are skipped (trailing ones too outside quotes), a quoted field is taken without its
// quotes and the rest up to the comma dropped, a quote left open ends at the line end; a line
// holding only blanks carries no field, nor does a comma at a line's end.
QStringList expectedFields(const QByteArray &bytes)
{
    QStringList out;
    for (const QByteArray &line : bytes.split('\n')) {
        for (const QByteArray &part : line.split('\r')) {
            qsizetype p = 0;
            const qsizetype n = part.size();
            for (;;) {
                while (p < n && blank(part[p]))
                    ++p;
                if (p == n)
                    break;
                QByteArray field;
                if (part[p] == '"') {
                    qsizetype close = part.indexOf('"', p + 1);
                    if (close < 0)
                        close = n;
                    field = part.mid(p + 1, close - p - 1);
                    const qsizetype comma = part.indexOf(',', close);
                    p = comma < 0 ? n : comma + 1;
                } else {
                    const qsizetype comma = part.indexOf(',', p);
                    field = part.mid(p, (comma < 0 ? n : comma) - p);
                    p = comma < 0 ? n : comma + 1;
                    while (!field.isEmpty() && blank(field.back()))
                        field.chop(1);
                }
                out << QString::fromLatin1(field);
            }
        }
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    if (TallyFile::fields(bytes) != expectedFields(bytes))
        fail("fields differ from the rule", int(TallyFile::fields(bytes).size()));
    return 0;
}
