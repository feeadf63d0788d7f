// Kestrel.ini of any content, read the way the configurator reads it at start: from a program
// directory. IniRead must not crash, must leave the model alone when it refuses the file, and
// must never describe more than the tables hold.
#include "config/SystemDescription.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "IniRead: %s\n", what);
    std::abort();
}

bool untouched(const SystemModel &m)
{
    return m.SystemName.isEmpty() && m.NumberOfOutputs == 0 && m.NumberOfInputs == 0 &&
           m.KestrelCommport == 0 && m.CommDevice.isEmpty() && m.EnabledUnitsText.isEmpty() &&
           m.EnabledUnitCount == 0 && m.InputName[0].isEmpty() && m.OutputName[1].isEmpty();
}

void checkRead(const SystemModel &m, const QString &warning)
{
    if (m.SystemName.isEmpty())
        fail("accepted without a system name");
    if (m.KestrelCommport < 1)
        fail("port outside 1..255");
    if (m.CommDevice != m.CommDevice.trimmed())
        fail("device path keeps blanks around it");
    if (m.NumberOfOutputs < 0 || m.NumberOfOutputs > MaxDeclared || m.NumberOfInputs < 0 ||
        m.NumberOfInputs > MaxDeclared)
        fail("more entries than the tables hold");
    if (m.EnabledUnitCount < 0 || m.EnabledUnitCount > MaxEnabledUnits)
        fail("enabled unit count outside 0..50");
    if (m.InputName[0] != QStringLiteral("Unassigned") || m.InputUnit[0] != 0 ||
        m.InputChannel[0] != 0)
        fail("input 0 is not Unassigned");
    for (int i = 1; i <= m.NumberOfOutputs; ++i) {
        if (m.OutputName[i].contains(QLatin1Char(',')))
            fail("an output name holds the comma that ends it");
    }
    for (int j = 1; j <= m.NumberOfInputs; ++j) {
        if (m.InputName[j].contains(QLatin1Char(',')))
            fail("an input name holds the comma that ends it");
    }
    // Rows past the declared ones stay as they were.
    for (int i = m.NumberOfOutputs + 1; i < TableSize; ++i) {
        if (!m.OutputName[i].isEmpty() || m.OutputUnit[i] != 0 || m.OutputChannel[i] != 0)
            fail("an output row past the declared ones was written");
    }
    for (int j = m.NumberOfInputs + 1; j < TableSize; ++j) {
        if (!m.InputName[j].isEmpty() || m.InputUnit[j] != 0 || m.InputChannel[j] != 0)
            fail("an input row past the declared ones was written");
    }
    if (!warning.isEmpty() && m.NumberOfOutputs != MaxDeclared && m.NumberOfInputs != MaxDeclared)
        fail("limit warning without a full table");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir dir;
    {
        QFile f(dir.filePath(QStringLiteral("Kestrel.ini")));
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            f.write(reinterpret_cast<const char *>(data), qint64(size)) != qint64(size))
            std::abort();
    }
    // The model is large: made once and emptied again before each read.
    static const auto empty = std::make_unique<SystemModel>();
    static auto model = std::make_unique<SystemModel>();
    *model = *empty;
    SystemDescription description(dir.path());
    if (!description.IniRead(*model)) {
        if (!untouched(*model))
            fail("refused the file but changed the model");
        return 0;
    }
    checkRead(*model, description.limitWarning());
    return 0;
}
