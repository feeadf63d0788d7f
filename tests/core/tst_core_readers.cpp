// The readers of untrusted text: numbers, map strings, tally files and Kestrel.ini.

#include "Rows.h"
#include "config/SystemDescription.h"
#include "files/TallyFile.h"
#include "matrix/MapString.h"
#include "model/NumberText.h"

#include <QDir>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {
// The model as one line: system, port, enabled units, the outputs and inputs as
// name/unit/channel (with many, the first and last only), and what the limit warning lists.
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

class TestReaders : public QObject
{
    Q_OBJECT
private slots:
    void readNumber_data()
    {
        // text | number read | stored into 16 bits (x: does not fit)
        addRows({
            "42 | 42 | 42",
            "&HFF | 255 | 255",
            "&hff | 255 | 255",
            "&O178 | 15 | 15",
            "&H1G | 1 | 1",
            "&X1 | 0 | 0",
            "1.5 | 1.5 | 2",
            "2.5 | 2.5 | 2",
            "-2.5 | -2.5 | -2",
            "3.5 | 3.5 | 4",
            "25E-1 | 2.5 | 2",
            "1e3x | 1000 | 1000",
            "7e+ | 7 | 7",
            " - 3 | -3 | -3",
            "\t1\n2 3\t | 123 | 123",
            "1\r2 | 1 | 1",
            " | 0 | 0",
            ". | 0 | 0",
            ".5 | 0.5 | 0",
            "+8 | 8 | 8",
            "COM3 | 0 | 0",
            "1.2.3 | 1.2 | 1",
            "3,4 | 3 | 3",
            "32767.4 | 32767.4 | 32767",
            "32767.5 | 32767.5 | x",
            "-32769 | -32769 | x",
            "1e999 | inf | x",
            "1e-999 | 0 | 0",
            " - 2.5e00000000001x | -25 | -25",
        });
        QTest::newRow("1e400 by digits")
            << QStringList{u"1"_s + QString(400, u'0') + u"e-1"_s, u"inf"_s, u"x"_s};
    }
    void readNumber()
    {
        QFETCH(QStringList, f);
        QCOMPARE(ReadNumber(f[0]), f[1].toDouble());
        const auto stored = ToInt16(ReadNumber(f[0]));
        QCOMPARE(stored ? QString::number(*stored) : u"x"_s, f[2]);
    }

    void mapString_data()
    {
        // text | fields read | "=" when composing the fields gives the text
        addRows({
            "[2][5][1][3][1][4][7][1] | 2 5 1 3 1 4 7 1 | =",
            "[12][100][999][10][1][0][0][0] | 12 100 999 10 1 0 0 0 | =",
            "[2][5][1][3] | 2 5 1 3 0 0 0 0",
            " | 0 0 0 0 0 0 0 0",
            "x[7 | 7 0 0 0 0 0 0 0",
            "[1234][5] | 123 5 0 0 0 0 0 0",
            "[1][2][3][4][1][5][6][1][9] | 1 2 3 4 1 5 6 1",
            "[1 2][ab][-9] | 12 0 -9 0 0 0 0 0",
            "[9e9][3] | 0 3 0 0 0 0 0 0",
        });
    }
    void mapString()
    {
        QFETCH(QStringList, f);
        MapFields fields{};
        for (int k = 0; k < 8; ++k)
            fields[k] = qint16(f[1].section(u' ', k, k).toInt());
        QCOMPARE(ReadMapFields(f[0]), fields);
        QCOMPARE(ComposeMapFields(fields) == f[0], f.size() > 2);
    }

    void tallyFile_data()
    {
        // bytes | fields, or the name shown for a path
        addRows({
            "[1]\r\n[2] | [1] [2]",
            "[1],[2]\r\n | [1] [2]",
            "  \"[1], x\"\r\n | [1], x",
            "\r\n\r\n[1]\r\n\r\n | [1]",
            "[1]\n[2]\r[3] | [1] [2] [3]",
            " | ",
            "\"[1]\r\n[2] | [1] [2]",
            "[1]\r\n   | [1]",
            "[1], \t | [1]",
            "/home/op/a.qvr | a.qvr",
            "C:\\T\\a.qvr | a.qvr",
            "a.qvr | ",
            "\\a.qvr | ",
        });
        QTest::newRow("60 characters")
            << QStringList{u"/t/"_s + QString(57, u'x') + u"abc"_s, QString(50, u'x')};
    }
    void tallyFile()
    {
        QFETCH(QStringList, f);
        QCOMPARE(f[0].endsWith(u"qvr"_s) || f[0].startsWith(u"/t/"_s)
                     ? TallyFile::ParseFilename(f[0])
                     : TallyFile::fields(f[0].toLatin1()).join(u' '),
                 f[1]);
    }

    void description_data()
    {
        // Kestrel.ini after its "[Kestrel]" line ("<none>": no file, "<dir>": a folder) | model
        addRows({
            "System=A\nCommPort=3\nEnabledUnits=3,1,2\nOutput 1=Camera 1,2,3\nOutput 2=Camera 1,2\n"
            "Output 3=,2,3\nOutput 4=Cam,1 2,3,4\nOutput 5=Cam,&H10,2.5\nOutput 6=Cam,32768,1\n"
            "Input 0=X,5,5\nInput 1=Kü,2,1\n | A P3 U3,1,2, O6[Camera 1/2/3][/0/0][/2/3][Cam/12/3]"
            "[Cam/16/2][/0/0] I1[Unassigned/0/0][Kü/2/1]",
            "System=A\nOutput 1=a,1,1\nOutput 2=b,1,2\nOutput 4=d,1,4\n | "
            "A P1 U0, O2[a/1/1][b/1/2] I0[Unassigned/0/0]",
            "system=A\nOutput1=a,1,1\n | A P1 U0, O0 I0[Unassigned/0/0]",
            "System=A\nCommPort=COM3\n | A P1 U0, O0 I0[Unassigned/0/0]",
            "System=A\nCommPort = 255 \n | A P255 U0, O0 I0[Unassigned/0/0]",
            "System=A\nCommPort=256\n | A P1 U0, O0 I0[Unassigned/0/0]",
            "System=A\nEnabledUnits= 4 ,5,\n | A P1 U4,5,0, O0 I0[Unassigned/0/0]",
            "Output 1=a,1,1\n | unusable",
            "System=\n | unusable",
            "[Other]\nSystem=A\n | unusable",
            "<none> | unusable",
            "<dir> | unusable",
        });
        const QString fifty = u"System=A\nEnabledUnits=0"_s + numbered(u",%1"_s, 1, 49);
        QTest::newRow("50 units") << QStringList{fifty, u"A P1 U0,"_s + numbered(u"%1,"_s, 1, 49) +
                                                            u" O0 I0[Unassigned/0/0]"_s};
        QTest::newRow("51 units") << QStringList{fifty + u",50"_s,
                                                 u"A P1 U O0 I0[Unassigned/0/0]"_s};
        QTest::newRow("999 outputs")
            << QStringList{u"System=A\n"_s + numbered(u"Output %1=E%1,1,2\n"_s, 1, 999),
                           u"A P1 U0, O999[E1/1/2][E999/1/2] I0[Unassigned/0/0]"_s};
        QTest::newRow("1000, 1001") << QStringList{
            u"System=A\n"_s + numbered(u"Output %1=E%1,1,2\n"_s, 1, 1000) +
                numbered(u"Input %1=E%1,1,2\n"_s, 1, 1001),
            u"A P1 U0, O999[E1/1/2][E999/1/2] I999[Unassigned/0/0][E999/1/2] W 1 output entries beyond Output 999 were not read.\r\n2 input entries beyond Input 999 were not read."_s};
    }
    void description()
    {
        QFETCH(QStringList, f);
        QTemporaryDir dir;
        QFile file(dir.filePath(u"Kestrel.ini"_s));
        if (f[0] == u"<dir>"_s)
            QDir(dir.path()).mkdir(u"Kestrel.ini"_s);
        else if (f[0] != u"<none>"_s && file.open(QIODevice::WriteOnly))
            file.write("[Kestrel]\r\n" + f[0].toLatin1());
        file.close();
        SystemModel m;
        m.NumberOfOutputs = 7; // an unusable file leaves the model as it was
        SystemDescription description(dir.path());
        const bool usable = description.IniRead(m);
        QCOMPARE(usable ? describe(m, description.limitWarning()) : u"unusable"_s, f[1]);
        QCOMPARE(m.NumberOfOutputs == 7, !usable);
    }
};

QTEST_GUILESS_MAIN(TestReaders)
#include "tst_core_readers.moc"
