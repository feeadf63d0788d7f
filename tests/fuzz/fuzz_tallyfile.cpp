// Tally files of any content: the field reader, then a full load offline into a small system.
// Nothing may be filed outside the tables, whatever the lines name.
#include "files/TallyFile.h"
#include "files/TallyFiles.h"
#include "link/CommandChannel.h"
#include "link/DeviceCommands.h"
#include "matrix/Clearing.h"
#include "matrix/Mapping.h"
#include "matrix/MatrixLists.h"
#include "matrix/ReadBack.h"
#include "support/FakeView.h"
#include "support/ScriptedPort.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QStringList fields = TallyFile::fields(bytes);
    for (const QString &f : fields) {
        if (f.contains(QLatin1Char('\r')) || f.contains(QLatin1Char('\n')))
            std::abort(); // a field never spans lines
    }

    static QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("fuzz.qvr"));
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort();
        f.write(bytes);
    }
    // 999 outputs: an undeclared output's not-found index would lie past the tables.
    auto model = std::make_unique<SystemModel>();
    model->NumberOfOutputs = MaxDeclared;
    for (int i = 1; i <= MaxDeclared; ++i) {
        model->OutputUnit[i] = 1;
        model->OutputChannel[i] = qint16(i);
    }
    model->NumberOfInputs = 3;
    FakeView view;
    ScriptedPort port;
    CommandChannel channel(*model, view, port, port.clock());
    MatrixLists lists(*model, view);
    Clearing clearing(*model, view);
    DeviceCommands commands(*model, view, channel, clearing, lists);
    ReadBack readBack(*model, view, channel, lists, clearing, commands, port.pause());
    Mapping mapping(*model, view, channel, commands, lists);
    TallyFiles files(*model, view, mapping, readBack, commands, clearing, lists);
    if (!files.LoadMatrixMappings(path, QStringLiteral("Full")))
        std::abort();
    if (!port.commands.isEmpty())
        std::abort(); // offline: nothing reaches the tally system
    return 0;
}
