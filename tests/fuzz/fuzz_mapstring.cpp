// The map string reader over any text, and the round trip of every map string it can read.
#include "matrix/MapString.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromLatin1(reinterpret_cast<const char *>(data), qsizetype(size));
    SystemModel model;
    ParseGetMap(model, text);
    const MapFields fields = ReadMapFields(text);
    // Fields that fit three characters survive composing and reading again.
    bool fits = true;
    for (qint16 f : fields)
        fits = fits && f >= -99 && f <= 999;
    if (fits && ReadMapFields(ComposeMapFields(fields)) != fields)
        std::abort();
    return 0;
}
