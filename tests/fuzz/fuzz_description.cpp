// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// Kestrel.ini of any content, read the way the configurator reads it at start: from a program
// directory. IniRead must not crash, must leave the model alone when it refuses the file, and must
// never describe more than the tables hold.
#include "config/SystemDescription.h"
#include "fuzz/FuzzText.h"
#include "support/Files.h"

#include <QTemporaryDir>

#include <memory>

namespace {

void checkRead(const SystemModel &m, const QString &warning)
{
    require(!m.SystemName.isEmpty(), "accepted without a system name");
    require(m.KestrelCommport >= 1, "port outside 1..255");
    require(m.CommDevice == m.CommDevice.trimmed(), "device path keeps blanks around it");
    require(m.NumberOfOutputs >= 0 && m.NumberOfOutputs <= MaxDeclared && m.NumberOfInputs >= 0 &&
                m.NumberOfInputs <= MaxDeclared,
            "more entries than the tables hold");
    require(m.EnabledUnitCount >= 0 && m.EnabledUnitCount <= MaxEnabledUnits,
            "enabled unit count outside 0..50");
    // Rows past the declared ones stay as they were.
    for (int i = m.NumberOfOutputs + 1; i < TableSize; ++i)
        require(m.OutputName[i].isEmpty() && m.OutputUnit[i] == 0 && m.OutputChannel[i] == 0,
                "an output row past the declared ones was written", {}, i);
    for (int j = m.NumberOfInputs + 1; j < TableSize; ++j)
        require(m.InputName[j].isEmpty() && m.InputUnit[j] == 0 && m.InputChannel[j] == 0,
                "an input row past the declared ones was written", {}, j);
    require(warning.isEmpty() || m.NumberOfOutputs == MaxDeclared ||
                m.NumberOfInputs == MaxDeclared,
            "limit warning without a full table");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir dir;
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    require(!writeFile(dir.filePath(QStringLiteral("Kestrel.ini")), bytes).isEmpty(),
            "cannot write the file");
    // The model is large: made once and emptied again before each read.
    static const auto empty = std::make_unique<SystemModel>();
    static auto model = std::make_unique<SystemModel>();
    *model = *empty;
    SystemDescription description(dir.path());
    if (description.IniRead(*model))
        checkRead(*model, description.limitWarning());
    else
        require(model->SystemName.isEmpty() && model->NumberOfOutputs == 0 &&
                    model->NumberOfInputs == 0 && model->KestrelCommport == 0 &&
                    model->CommDevice.isEmpty() && model->EnabledUnitsText.isEmpty() &&
                    model->EnabledUnitCount == 0 && model->InputName[0].isEmpty() &&
                    model->OutputName[1].isEmpty(),
                "refused the file but changed the model");
    return 0;
}
