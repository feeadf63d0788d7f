// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// A tally file of any content loaded in full, offline, into a system of 999 outputs, as the "Load"
// button does: the file is read from disk, every line is filed, the list is redrawn. Every table
// entry must be what the loaded lines say and nothing else, and nothing may reach the tally system.
#include "files/TallyFile.h"
#include "fuzz/FuzzText.h"
#include "matrix/MapString.h"
#include "model/NumberText.h"
#include "support/Files.h"
#include "support/LinkRig.h"

#include <QTemporaryDir>

#include <memory>

namespace {

// The lowest output (or input) on the unit and channel, one past the last when there is none.
int lowest(const SystemModel &m, bool output, qint16 unit, qint16 channel)
{
    const int last = output ? m.NumberOfOutputs : m.NumberOfInputs;
    for (int k = output ? 1 : 0; k <= last; ++k) {
        if ((output ? m.OutputUnit[k] : m.InputUnit[k]) == unit &&
            (output ? m.OutputChannel[k] : m.InputChannel[k]) == channel)
            return k;
    }
    return last + 1;
}

void loadOffline(const QString &path, const QStringList &fields)
{
    // The rig and its model are large: made once, and the model put back before each load.
    static LinkRig r(MaxDeclared, 20);
    static const auto before = [] {
        auto m = std::make_unique<SystemModel>(r.model);
        // Left over from before the load, which must replace it.
        m->OutputMap[5] = QStringLiteral("[1][5][2][1][1][0][0][0]");
        m->OutputSource[5] = QStringLiteral(" 1");
        return m;
    }();
    r.model = *before;
    r.view.boxes.clear();
    require(r.files.LoadMatrixMappings(path, LoadMode::Full), "a readable file was refused");
    require(r.port.commands.isEmpty(), "offline, yet something reached the tally system");

    // What the load must leave: for each line in file order, the output its first two fields name
    // takes that line; lines past the table are left out. The redrawn list then shows for each
    // output the input its map names, blank for none or Unassigned.
    const qsizetype loaded = std::min<qsizetype>(fields.size(), TallyFiles::MaxFields);
    std::array<QString, TableSize> map{}, source{};
    for (qsizetype n = 0; n < loaded; ++n) {
        require(r.model.RawMap[n] == fields[n], "raw map differs from its line", fields[n], n);
        const MapFields f = ReadMapFields(fields[n]);
        if (const int o = lowest(r.model, true, f[0], f[1]); o <= MaxDeclared)
            map[o] = fields[n];
    }
    for (int i = 1; i <= r.model.NumberOfOutputs; ++i) {
        const MapFields f = ReadMapFields(map[i]);
        const int a = lowest(r.model, false, f[2], f[3]);
        source[i] = a == 0 ? QString() : NumberField(a);
    }
    for (int i = 0; i < TableSize; ++i) {
        require(r.model.OutputMap[i] == map[i], "output map differs from the file", map[i], i);
        require(r.model.OutputSource[i] == source[i], "output source differs", source[i], i);
    }
    require(r.view.boxes.isEmpty() == (fields.size() <= TallyFiles::MaxFields),
            "the operator is told of lines left out exactly when there are some");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    static QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("fuzz.qvr"));
    require(!writeFile(path, bytes).isEmpty(), "cannot write the file");
    // The field reader has a fuzzer of its own; here it tells what the load must have read.
    loadOffline(path, TallyFile::fields(bytes));
    return 0;
}
