// The map string reader over any text (replies of the tally system, lines of tally files):
// ReadMapFields against its rule restated, ParseGetMap into the model's register, and composing
// eight numbers taken from the input and reading them back.
#include "fuzz/FuzzText.h"
#include "matrix/MapString.h"
#include "model/NumberText.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

[[noreturn]] void fail(const char *what, const QString &text)
{
    std::fprintf(stderr, "%s: \"%s\"\n", what, text.toLatin1().constData());
    std::abort();
}

// Each of the first eight "[" opens the next field, read from the three characters after it.
MapFields expectedFields(const QString &text)
{
    MapFields f{};
    qsizetype from = 0;
    for (qint16 &field : f) {
        const qsizetype open = text.indexOf(QLatin1Char('['), from);
        if (open < 0)
            break;
        const qsizetype length = std::min<qsizetype>(3, text.size() - open - 1);
        field = ToInt16(ReadNumber(text.sliced(open + 1, length))).value_or(0);
        from = open + 1;
    }
    return f;
}

void readText(const QString &text)
{
    const MapFields fields = ReadMapFields(text);
    if (fields != expectedFields(text))
        fail("ReadMapFields", text);

    static auto model = std::make_unique<SystemModel>(); // large: made once
    ParseGetMap(*model, text);
    const MapFields reg{model->CurrentOutUnit,          model->CurrentOutChannel,
                        model->CurrentInUnit,           model->CurrentInChannel,
                        model->CurrentMapEnable,        model->CurrentBooleanInUnit,
                        model->CurrentBooleanInChannel, model->CurrentBooleanMode};
    if (reg != fields)
        fail("ParseGetMap", text);

    // Fields that fit three characters survive composing and reading again.
    bool fits = true;
    for (qint16 f : fields)
        fits = fits && f >= -99 && f <= 999;
    if (fits && ReadMapFields(ComposeMapFields(fields)) != fields)
        fail("round trip", text);
}

// Any eight 16-bit numbers composed: each reads back as the number its first three characters
// write ("[1234]" reads 123, "[-300]" reads -30).
void composeAndRead(const uint8_t *data, size_t size)
{
    if (size < 16)
        return;
    MapFields in;
    std::memcpy(in.data(), data, sizeof in);
    const QString s = ComposeMapFields(in);
    const MapFields out = ReadMapFields(s);
    for (std::size_t i = 0; i < in.size(); ++i) {
        if (out[i] != std::stoi(std::to_string(in[i]).substr(0, 3)))
            fail("compose and read", s);
    }
    if (in[4] == 1 && in[5] == 0 && in[6] == 0 && in[7] == PlainMapping &&
        ComposeMapString(in[0], in[1], in[2], in[3]) != s)
        fail("ComposeMapString", s);
    if (in[4] == 1 && ComposeBoolMapString(in[0], in[1], in[2], in[3], in[5], in[6], in[7]) != s)
        fail("ComposeBoolMapString", s);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    readText(latin1Text(data, size));
    readText(utf16Text(data, size));
    composeAndRead(data, size);
    return 0;
}
