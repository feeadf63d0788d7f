// ReadNumber and its 16-bit store over any text: no crash, no undefined behaviour, and the
// promises the callers rely on.
#include "model/NumberText.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromLatin1(reinterpret_cast<const char *>(data), qsizetype(size));
    const double v = ReadNumber(text);
    if (std::isnan(v))
        std::abort(); // a number read from text is never NaN
    if (const auto n = ToInt16(v); n && std::fabs(double(*n) - v) > 0.5)
        std::abort(); // the stored value is the nearest integer
    // Blanks, tabs and line feeds never change what is read.
    QString spaced;
    for (QChar c : text)
        spaced += c + QLatin1Char(' ');
    const double w = ReadNumber(spaced);
    if (!(w == v || (std::isinf(v) && std::isinf(w))))
        std::abort();
    return 0;
}
