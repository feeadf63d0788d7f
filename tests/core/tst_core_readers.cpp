// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

// The readers of untrusted text: numbers, map strings, tally files and Kestrel.ini.

#include "DataTable.h"
#include "config/SystemDescription.h"
#include "files/TallyFile.h"
#include "matrix/MapString.h"
#include "model/NumberText.h"
#include "support/Files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
// The model as one line: system, port, enabled units, then outputs and inputs as their count
// and [name/unit/channel] of each (of the first and last only when there are many), then the
// lines of the limit warning after its first.
QString describe(const SystemModel &m, const QString &warning)
{
    QString s = m.SystemName + u" P"_s + QString::number(m.KestrelCommport) + u" U"_s;
    for (int k = 1; k <= m.EnabledUnitCount; ++k)
        s += QString::number(m.EnabledUnitList[k]) + u',';
    const auto entries = [&](QChar kind, int from, int n, const auto &name, const auto &unit,
                             const auto &channel) {
        s += u' ' + kind + QString::number(n);
        for (int i = from; i <= n; i = (n > 9 && i == from) ? n : i + 1)
            s += u"[%1/%2/%3]"_s.arg(name[i]).arg(unit[i]).arg(channel[i]);
    };
    entries(u'O', 1, m.NumberOfOutputs, m.OutputName, m.OutputUnit, m.OutputChannel);
    entries(u'I', 0, m.NumberOfInputs, m.InputName, m.InputUnit, m.InputChannel);
    return s + (warning.isEmpty() ? QString() : u" W "_s + warning.section(u"\r\n"_s, 1));
}

QString numbered(const QString &pattern, int from, int to)
{
    QString out;
    for (int i = from; i <= to; ++i)
        out += pattern.arg(i);
    return out;
}
} // namespace

// A text, its number, and that number stored into 16 bits (null: it does not fit).
using NumberRows = DataTable<"text number stored", QString, double, QVariant>;
using MapRows = DataTable<"text fields", QString, MapFields>;
// A tally file's bytes or a path; its fields joined by "|", or the name shown.
using TallyRows = DataTable<"text read", QString, QString>;
// Kestrel.ini after its "[Kestrel]" line ("<dir>": a folder), the model as describe() puts it.
using IniRows = DataTable<"ini model", QString, QString>;

class TestReaders : public QObject
{
    Q_OBJECT
private slots:
    void readNumber_data()
    {
        const NumberRows table;
        const auto row = [&](const QString &text, double n, QVariant stored) {
            table(qPrintable(text), text, n, stored);
        };
        row(u"&hFfG"_s, 255, 255), row(u"&O178"_s, 15, 15), row(u"&X1"_s, 0, 0);
        row(u"2.5"_s, 2.5, 2), row(u"-2.5"_s, -2.5, -2), row(u"3.5"_s, 3.5, 4);
        row(u" - 2.5e00000000001x"_s, -25, -25), row(u"\t1\n2 3\t"_s, 123, 123);
        row(u"1\r2"_s, 1, 1), row(u"1.2.3"_s, 1.2, 1), row(u"."_s, 0, 0), row(u"7e+"_s, 7, 7);
        row(u"32767.4"_s, 32767.4, 32767), row(u"32767.5"_s, 32767.5, {});
        row(u"-32769"_s, -32769, {}), row(u"1e-999"_s, 0, 0), row(u"1e999"_s, qInf(), {});
        row(u"1"_s + QString(400, u'0') + u"e-1"_s, qInf(), {});
    }
    void readNumber()
    {
        const auto [text, number, stored] = NumberRows::fetch();
        QCOMPARE(ReadNumber(text), number);
        const auto got = ToInt16(number);
        QCOMPARE(got ? QVariant(int(*got)) : QVariant(), stored);
    }

    void mapString_data()
    {
        const MapRows row;
        row("eight", u"[2][5][1][3][1][4][7][1]"_s, {2, 5, 1, 3, 1, 4, 7, 1});
        row("three digits, nine fields", u"x[1234][ab][-9][1 2][1][5][6][1][9]"_s,
            {123, 0, -9, 12, 1, 5, 6, 1});
        row("four", u"[2][5][1][3]"_s, {2, 5, 1, 3, 0, 0, 0, 0});
    }
    void mapString()
    {
        const auto [text, fields] = MapRows::fetch();
        QCOMPARE(ReadMapFields(text), fields);
        QCOMPARE(ComposeMapFields(fields) == text, !qstrcmp(QTest::currentDataTag(), "eight"));
    }

    void tallyFile_data()
    {
        const TallyRows row;
        row("quoted, stray quote", u"  \"[1], x\",[2]  \n\"[3]\r\r\n[4]"_s,
            u"[1], x|[2]|[3]|[4]"_s);
        row("slash", u"/home/op/a.qvr"_s, u"a.qvr"_s);
        row("backslash", u"C:\\T\\a.qvr"_s, u"a.qvr"_s);
        row("at the root", u"\\a.qvr"_s, u""_s);
        row("60 characters", u"/t/"_s + QString(57, u'x') + u".qvr"_s, QString(50, u'x'));
    }
    void tallyFile()
    {
        const auto [text, read] = TallyRows::fetch();
        QCOMPARE(text.endsWith(u".qvr"_s) ? TallyFile::ParseFilename(text)
                                          : TallyFile::fields(text.toLatin1()).join(u'|'),
                 read);
    }

    void description_data()
    {
        const IniRows row;
        row("fields",
            u"System=A\nCommPort=3\nEnabledUnits=3,1,2\nOutput 1=Camera 1,2,3\nOutput 2=Camera "
            u"1,2\n"
            u"Output 3=,2,3\nOutput 4=Cam,1 2,3,4\nOutput 5=Cam,&H10,2.5\nOutput 6=Cam,32768,1\n"
            u"Input 0=X,5,5\nInput 1=Kü,2,1\n"_s,
            u"A P3 U3,1,2, O6[Camera 1/2/3][/0/0][/2/3][Cam/12/3][Cam/16/2][/0/0] "
            u"I1[Unassigned/0/0][Kü/2/1]"_s);
        row("any case, no blank in Output1", u"system=A\nOutput1=a,1,1\n"_s,
            u"A P1 U0, O0 I0[Unassigned/0/0]"_s);
        row("the first gap ends each list",
            u"System=A\nOutput 1=a,1,1\nOutput 3=c,1,3\nInput 1=x,2,1\nInput 3=z,2,3\n"_s,
            u"A P1 U0, O1[a/1/1] I1[Unassigned/0/0][x/2/1]"_s);
        row("port 255", u"System=A\nCommPort = 255 \n"_s, u"A P255 U0, O0 I0[Unassigned/0/0]"_s);
        row("port 256", u"System=A\nCommPort=256\n"_s, u"A P1 U0, O0 I0[Unassigned/0/0]"_s);
        row("no system", u"Output 1=a,1,1\n"_s, u"unusable"_s);
        row("a folder", u"<dir>"_s, u"unusable"_s);
        const QString fifty = u"System=A\nEnabledUnits=0"_s + numbered(u",%1"_s, 1, 49);
        row("50 units", fifty,
            u"A P1 U0,"_s + numbered(u"%1,"_s, 1, 49) + u" O0 I0[Unassigned/0/0]"_s);
        row("51 units", fifty + u",50"_s, u"A P1 U O0 I0[Unassigned/0/0]"_s);
        row("999 outputs", u"System=A\n"_s + numbered(u"Output %1=E%1,1,2\n"_s, 1, 999),
            u"A P1 U0, O999[E1/1/2][E999/1/2] I0[Unassigned/0/0]"_s);
        row("1000 outputs, 1001 inputs",
            u"System=A\n"_s + numbered(u"Output %1=E%1,1,2\n"_s, 1, 1000) +
                numbered(u"Input %1=E%1,1,2\n"_s, 1, 1001),
            u"A P1 U0, O999[E1/1/2][E999/1/2] I999[Unassigned/0/0][E999/1/2] W 1 output entries "
            u"beyond Output 999 were not read.\r\n2 input entries beyond Input 999 were not read."_s);
    }
    void description()
    {
        const auto [ini, model] = IniRows::fetch();
        QTemporaryDir dir;
        const QString path = dir.filePath(u"Kestrel.ini"_s);
        QVERIFY(ini == u"<dir>"_s ? QDir(dir.path()).mkdir(u"Kestrel.ini"_s)
                                  : !writeFile(path, "[Kestrel]\r\n" + ini.toLatin1()).isEmpty());
        SystemModel m;
        m.NumberOfOutputs = 7; // an unusable file leaves the model as it was
        SystemDescription description(dir.path());
        const bool usable = description.IniRead(m);
        QCOMPARE(usable ? describe(m, description.limitWarning()) : u"unusable"_s, model);
        QCOMPARE(m.NumberOfOutputs == 7, !usable);
    }
};

QTEST_GUILESS_MAIN(TestReaders)
#include "tst_core_readers.moc"
