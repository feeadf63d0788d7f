// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The map string reader over any text (replies of the tally system, lines of tally files):
// ReadMapFields against its rule restated, ParseGetMap into the model's register, and composing
// eight numbers taken from the input and reading them back.
#include "fuzz/FuzzText.h"
#include "matrix/MapString.h"
#include "model/NumberText.h"

#include <memory>
#include <string>

namespace {

void readText(const QString &text)
{
    // Each of the first eight "[" opens the next field, read from the three characters after it.
    MapFields expected{};
    qsizetype open = -1;
    for (qint16 &field : expected) {
        if ((open = text.indexOf(QLatin1Char('['), open + 1)) < 0)
            break;
        const qsizetype length = std::min<qsizetype>(3, text.size() - open - 1);
        field = ToInt16(ReadNumber(text.sliced(open + 1, length))).value_or(0);
    }
    const MapFields fields = ReadMapFields(text);
    require(fields == expected, "ReadMapFields", text);

    static auto model = std::make_unique<SystemModel>(); // large: made once
    ParseGetMap(*model, text);
    const MapFields reg{model->CurrentOutUnit,          model->CurrentOutChannel,
                        model->CurrentInUnit,           model->CurrentInChannel,
                        model->CurrentMapEnable,        model->CurrentBooleanInUnit,
                        model->CurrentBooleanInChannel, model->CurrentBooleanMode};
    require(reg == fields, "ParseGetMap", text);
}

// Any eight 16-bit numbers composed: each reads back as the number its first three characters write
// ("[1234]" reads 123, "[-300]" reads -30).
void composeAndRead(const uint8_t *data, size_t size)
{
    if (size < 16)
        return;
    MapFields in;
    std::memcpy(in.data(), data, sizeof in);
    const QString s = ComposeMapFields(in);
    const MapFields out = ReadMapFields(s);
    for (std::size_t i = 0; i < in.size(); ++i)
        require(out[i] == std::stoi(std::to_string(in[i]).substr(0, 3)), "compose and read", s);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    readText(latin1Text(data, size));
    readText(utf16Text(data, size));
    composeAndRead(data, size);
    return 0;
}
