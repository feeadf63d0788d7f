// Kestrel.ini of any content: IniRead must not crash, and never describe more than the tables.
#include "config/SystemDescription.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir dir;
    {
        QFile f(dir.filePath(QStringLiteral("Kestrel.ini")));
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort();
        f.write(reinterpret_cast<const char *>(data), qint64(size));
    }
    auto model = std::make_unique<SystemModel>();
    SystemDescription description(dir.path());
    if (description.IniRead(*model)) {
        if (model->SystemName.isEmpty() || model->NumberOfOutputs < 0 ||
            model->NumberOfOutputs > MaxDeclared || model->NumberOfInputs < 0 ||
            model->NumberOfInputs > MaxDeclared || model->KestrelCommport < 1 ||
            model->EnabledUnitCount < 0 || model->EnabledUnitCount > MaxEnabledUnits ||
            model->InputName[0] != QStringLiteral("Unassigned"))
            std::abort();
    }
    return 0;
}
