// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// Kestrel.ini of any content, read the way the configurator reads it at start: from a program
// directory. IniRead must not crash, must leave the model alone when it refuses the file, and must
// never describe more than the tables hold.
#include "config/SystemDescription.h"
#include "fuzz/FuzzText.h"

#include <QFile>
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
    require(m.InputName[0] == QStringLiteral("Unassigned") && m.InputUnit[0] == 0 &&
                m.InputChannel[0] == 0,
            "input 0 is not Unassigned");
    for (int i = 1; i <= m.NumberOfOutputs; ++i)
        require(!m.OutputName[i].contains(u','), "an output name holds the comma that ends it");
    for (int j = 1; j <= m.NumberOfInputs; ++j)
        require(!m.InputName[j].contains(u','), "an input name holds the comma that ends it");
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
    {
        QFile f(dir.filePath(QStringLiteral("Kestrel.ini")));
        require(f.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                    f.write(reinterpret_cast<const char *>(data), qint64(size)) == qint64(size),
                "cannot write the file");
    }
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
