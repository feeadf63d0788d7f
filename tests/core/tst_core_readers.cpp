// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The readers of untrusted text that the fuzz targets do not check against an oracle: the name a
// tally file's path shows, and Kestrel.ini.

#include "DataTable.h"
#include "config/SystemDescription.h"
#include "files/TallyFile.h"
#include "support/Files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <tuple>

using namespace Qt::StringLiterals;

namespace {
// An output or input as read: its name, unit and channel.
using Entry = std::tuple<QString, int, int>;
const Entry Unassigned{u"Unassigned"_s, 0, 0};

// Entries from..to of the model's name, unit and channel tables.
QList<Entry> entries(const auto &name, const auto &unit, const auto &channel, int from, int to)
{
    QList<Entry> out;
    for (int i = from; i <= to; ++i)
        out.append({name[i], unit[i], channel[i]});
    return out;
}

QString numbered(const QString &pattern, int from, int to)
{
    QString out;
    for (int i = from; i <= to; ++i)
        out += pattern.arg(i);
    return out;
}
} // namespace

using FileNameRows = DataTable<"path shown", QString, QString>;
// Kestrel.ini after its "[Kestrel]" line ("<dir>": a folder). The system ("": the file is
// refused), the port, the enabled units, the outputs, the inputs from Input 0, and the lines of
// the limit warning after its first, which says why.
using IniRows = DataTable<"ini system port units outputs inputs lost", QString, QString, int,
                          QList<int>, QList<Entry>, QList<Entry>, QStringList>;

class TestReaders : public QObject
{
    Q_OBJECT
private slots:
    void fileName_data()
    {
        const FileNameRows row;
        row("slash", u"/home/op/a.qvr"_s, u"a.qvr"_s);
        row("backslash", u"C:\\T\\a.qvr"_s, u"a.qvr"_s);
        row("at the root", u"\\a.qvr"_s, u""_s);
        row("60 characters", u"/t/"_s + QString(57, u'x') + u".qvr"_s, QString(50, u'x'));
    }
    void fileName()
    {
        const auto [path, shown] = FileNameRows::fetch();
        QCOMPARE(TallyFile::ParseFilename(path), shown);
    }

    void description_data()
    {
        const IniRows row;
        // The first gap ends each list: Output 8 and Input 3 are not read.
        row("fields",
            u"System=A\nCommPort=3\nEnabledUnits=3,1,2\nOutput 1=Camera 1,2,3\n"
            u"Output 2=Camera 1,2\nOutput 3=,2,3\nOutput 4=Cam,1 2,3,4\nOutput 8=x,1,1\n"
            u"Output 5=Cam,&H10,2.5\nOutput 6=Cam,32768,1\nInput 0=X,5,5\nInput 1=Kü,2,1\n"
            u"Input 3=z,2,3\n"_s,
            u"A"_s, 3, {3, 1, 2},
            {{u"Camera 1"_s, 2, 3}, {}, {u""_s, 2, 3}, {u"Cam"_s, 12, 3}, {u"Cam"_s, 16, 2}, {}},
            {Unassigned, {u"Kü"_s, 2, 1}}, {});
        // Keys in any case; "Output1", without the blank, is no output.
        row("any case, Output1", u"system=A\nOutput1=a,1,1\n"_s, u"A"_s, 1, {0}, {}, {Unassigned},
            {});
        row("port 255", u"System=A\nCommPort = 255 \n"_s, u"A"_s, 255, {0}, {}, {Unassigned}, {});
        row("port 256", u"System=A\nCommPort=256\n"_s, u"A"_s, 1, {0}, {}, {Unassigned}, {});
        // A refused file leaves the model as it was: 7 outputs, nothing else.
        row("no system", u"Output 1=a,1,1\n"_s, u""_s, 0, {}, QList<Entry>(7), {{}}, {});
        row("a folder", u"<dir>"_s, u""_s, 0, {}, QList<Entry>(7), {{}}, {});
        // Long lists of one entry repeated: the rows above show each lands at its own index.
        const QString fifty = u"System=A\nEnabledUnits=7"_s + u",7"_s.repeated(49);
        row("50 units", fifty, u"A"_s, 1, QList<int>(50, 7), {}, {Unassigned}, {});
        row("51 units", fifty + u",7"_s, u"A"_s, 1, {}, {}, {Unassigned}, {});
        const QList<Entry> e999(999, {u"E"_s, 1, 2});
        row("999 outputs", u"System=A\n"_s + numbered(u"Output %1=E,1,2\n"_s, 1, 999), u"A"_s, 1,
            {0}, e999, {Unassigned}, {});
        row("1000 outputs, 1001 inputs",
            u"System=A\n"_s + numbered(u"Output %1=E,1,2\n"_s, 1, 1000) +
                numbered(u"Input %1=E,1,2\n"_s, 1, 1001),
            u"A"_s, 1, {0}, e999, QList<Entry>{Unassigned} + e999,
            {u"1 output entries beyond Output 999 were not read."_s,
             u"2 input entries beyond Input 999 were not read."_s});
    }
    void description()
    {
        const auto [ini, system, port, units, outputs, inputs, lost] = IniRows::fetch();
        QTemporaryDir dir;
        const QString path = dir.filePath(u"Kestrel.ini"_s);
        QVERIFY(ini == u"<dir>"_s ? QDir(dir.path()).mkdir(u"Kestrel.ini"_s)
                                  : !writeFile(path, "[Kestrel]\r\n" + ini.toLatin1()).isEmpty());
        SystemModel m;
        m.NumberOfOutputs = 7;
        SystemDescription description(dir.path());
        QCOMPARE(description.IniRead(m), !system.isEmpty());
        QCOMPARE(m.SystemName, system);
        QCOMPARE(m.KestrelCommport, port);
        const auto unit = m.EnabledUnitList.begin() + 1; // entry 0 is not used
        QCOMPARE(QList<int>(unit, unit + m.EnabledUnitCount), units);
        QCOMPARE(entries(m.OutputName, m.OutputUnit, m.OutputChannel, 1, m.NumberOfOutputs),
                 outputs);
        QCOMPARE(entries(m.InputName, m.InputUnit, m.InputChannel, 0, m.NumberOfInputs), inputs);
        QCOMPARE(description.limitWarning().isEmpty(), lost.isEmpty());
        QCOMPARE(description.limitWarning().split(u"\r\n"_s).mid(1), lost);
    }
};

QTEST_GUILESS_MAIN(TestReaders)
#include "tst_core_readers.moc"
