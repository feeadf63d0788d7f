#include "config/SystemDescription.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// A program directory of its own for each case, holding the given Kestrel.ini bytes.
struct ProgramDir
{
    QTemporaryDir dir;
    explicit ProgramDir(const QByteArray &ini)
    {
        QFile f(dir.filePath(u"Kestrel.ini"_s));
        if (f.open(QIODevice::WriteOnly))
            f.write(ini);
    }
    bool read(SystemModel &model, QString *warning = nullptr)
    {
        SystemDescription description(dir.path());
        const bool ok = description.IniRead(model);
        if (warning)
            *warning = description.limitWarning();
        return ok;
    }
};

QByteArray withOutput(const QByteArray &entry)
{
    return "[Kestrel]\r\nSystem=Studio A\r\nOutput 1=" + entry + "\r\n";
}

} // namespace

class TestSystemDescription : public QObject
{
    Q_OBJECT
private slots:
    void typicalFile()
    {
        ProgramDir p("; studio A\r\n[Kestrel]\r\nSystem=Studio A\r\nCommPort=3\r\n"
                     "EnabledUnits=1,2,3\r\nCommDevice=/tmp/kestrel-tty\r\n"
                     "Output 1=Camera 1,1,1\r\nOutput 2=Camera 2,1,2\r\n"
                     "Input 1=PGM bus,2,1\r\nInput 2=PVW bus,2,2\r\nInput 3=Aux,2,3\r\n");
        SystemModel m;
        QVERIFY(p.read(m));
        QCOMPARE(m.SystemName, u"Studio A"_s);
        QCOMPARE(int(m.KestrelCommport), 3);
        QCOMPARE(m.CommDevice, u"/tmp/kestrel-tty"_s);
        QCOMPARE(int(m.NumberOfOutputs), 2);
        QCOMPARE(int(m.NumberOfInputs), 3);
        QCOMPARE(m.OutputName[2], u"Camera 2"_s);
        QCOMPARE(int(m.OutputUnit[2]), 1);
        QCOMPARE(int(m.OutputChannel[2]), 2);
        QCOMPARE(m.InputName[3], u"Aux"_s);
        QCOMPARE(int(m.InputChannel[3]), 3);
        QCOMPARE(m.InputName[0], u"Unassigned"_s);
        QCOMPARE(int(m.EnabledUnitCount), 3);
        QCOMPARE(int(m.EnabledUnitList[3]), 3);
    }

    void sectionAndKeysIgnoreCase()
    {
        ProgramDir p("[KESTREL]\nsystem=X\noutput 1=A,1,2\n");
        SystemModel m;
        QVERIFY(p.read(m));
        QCOMPARE(int(m.NumberOfOutputs), 1);
        QCOMPARE(m.OutputName[1], u"A"_s);
    }

    void entrySyntax_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("unit");
        QTest::addColumn<int>("channel");
        QTest::newRow("name with blank") << QByteArray("Camera 1,2,3") << u"Camera 1"_s << 2 << 3;
        QTest::newRow("one comma is malformed") << QByteArray("Camera 1,2") << u""_s << 0 << 0;
        QTest::newRow("no comma is malformed") << QByteArray("Camera") << u""_s << 0 << 0;
        QTest::newRow("empty name") << QByteArray(",2,3") << u""_s << 2 << 3;
        QTest::newRow("blank inside unit") << QByteArray("Cam,1 2,3") << u"Cam"_s << 12 << 3;
        QTest::newRow("further commas in channel") << QByteArray("Cam,1,4,5") << u"Cam"_s << 1 << 4;
        QTest::newRow("hex unit") << QByteArray("Cam,&H10,1") << u"Cam"_s << 16 << 1;
        QTest::newRow("fraction rounds to even") << QByteArray("Cam,2.5,3.5") << u"Cam"_s << 2 << 4;
        QTest::newRow("no numbers") << QByteArray("Cam,x,y") << u"Cam"_s << 0 << 0;
        QTest::newRow("negative channel") << QByteArray("Cam,1,-4") << u"Cam"_s << 1 << -4;
        QTest::newRow("unit too large") << QByteArray("Cam,32768,1") << u""_s << 0 << 0;
        QTest::newRow("channel too small") << QByteArray("Cam,1,-32769") << u""_s << 0 << 0;
        QTest::newRow("limits fit") << QByteArray("Cam,-32768,32767") << u"Cam"_s << -32768 << 32767;
        QTest::newRow("latin-1 name") << QByteArray("Kamera \xfc,1,1") << u"Kamera \u00fc"_s << 1 << 1;
        QTest::newRow("utf-8 name") << QByteArray("Kamera \xc3\xbc,1,1") << u"Kamera \u00fc"_s << 1 << 1;
    }
    void entrySyntax()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QString, name);
        QFETCH(int, unit);
        QFETCH(int, channel);
        ProgramDir p(withOutput(entry) + "Input 1=" + entry + "\r\n");
        SystemModel m;
        QVERIFY(p.read(m));
        QCOMPARE(int(m.NumberOfOutputs), 1);
        QCOMPARE(m.OutputName[1], name);
        QCOMPARE(int(m.OutputUnit[1]), unit);
        QCOMPARE(int(m.OutputChannel[1]), channel);
        QCOMPARE(int(m.NumberOfInputs), 1);
        QCOMPARE(m.InputName[1], name);
        QCOMPARE(int(m.InputUnit[1]), unit);
        QCOMPARE(int(m.InputChannel[1]), channel);
    }

    void malformedKeepsItsIndex()
    {
        ProgramDir p("[Kestrel]\nSystem=S\nOutput 1=A,1,1\nOutput 2=broken\nOutput 3=C,1,3\n");
        SystemModel m;
        QVERIFY(p.read(m));
        QCOMPARE(int(m.NumberOfOutputs), 3);
        QCOMPARE(m.OutputName[2], u""_s);
        QCOMPARE(m.OutputName[3], u"C"_s);
    }

    void listEnds_data()
    {
        QTest::addColumn<QByteArray>("keys");
        QTest::addColumn<int>("outputs");
        QTest::newRow("gap stops") << QByteArray("Output 1=A,1,1\nOutput 2=B,1,2\nOutput 4=D,1,4\n") << 2;
        QTest::newRow("no blank in key") << QByteArray("Output1=A,1,1\n") << 0;
        QTest::newRow("empty value ends") << QByteArray("Output 1=A,1,1\nOutput 2=\nOutput 3=C,1,3\n") << 1;
        QTest::newRow("none") << QByteArray() << 0;
    }
    void listEnds()
    {
        QFETCH(QByteArray, keys);
        QFETCH(int, outputs);
        ProgramDir p("[Kestrel]\nSystem=S\n" + keys);
        SystemModel m;
        QVERIFY(p.read(m));
        QCOMPARE(int(m.NumberOfOutputs), outputs);
        QCOMPARE(int(m.NumberOfInputs), 0);
        QCOMPARE(m.InputName[0], u"Unassigned"_s);
    }

    void inputZeroIsAlwaysUnassigned()
    {
        ProgramDir p("[Kestrel]\nSystem=S\nInput 0=Bogus,5,5\nInput 1=A,1,1\n");
        SystemModel m;
        QVERIFY(p.read(m));
        QCOMPARE(m.InputName[0], u"Unassigned"_s);
        QCOMPARE(int(m.InputUnit[0]), 0);
        QCOMPARE(int(m.InputChannel[0]), 0);
    }

    void commPort_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("port");
        QTest::newRow("three") << QByteArray("CommPort=3\n") << 3;
        QTest::newRow("absent") << QByteArray() << 1;
        QTest::newRow("zero") << QByteArray("CommPort=0\n") << 1;
        QTest::newRow("COM3 is no number") << QByteArray("CommPort=COM3\n") << 1;
        QTest::newRow("highest") << QByteArray("CommPort=255\n") << 255;
        QTest::newRow("above range") << QByteArray("CommPort=256\n") << 1;
        QTest::newRow("far above range") << QByteArray("CommPort=70000\n") << 1;
        QTest::newRow("negative") << QByteArray("CommPort=-3\n") << 1;
        QTest::newRow("blanks around") << QByteArray("CommPort =  4  \n") << 4;
    }
    void commPort()
    {
        QFETCH(QByteArray, line);
        QFETCH(int, port);
        ProgramDir p("[Kestrel]\nSystem=S\n" + line);
        SystemModel m;
        QVERIFY(p.read(m));
        QCOMPARE(int(m.KestrelCommport), port);
        QCOMPARE(m.CommDevice, u""_s);
    }

    void enabledUnits_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("count");
        QTest::addColumn<QList<int>>("units");
        QTest::newRow("three") << u"1,2,3"_s << 3 << QList<int>{1, 2, 3};
        QTest::newRow("file order kept") << u"3,1,2"_s << 3 << QList<int>{3, 1, 2};
        QTest::newRow("empty gives unit 0") << u""_s << 1 << QList<int>{0};
        QTest::newRow("trailing comma") << u"1,2,"_s << 3 << QList<int>{1, 2, 0};
        QTest::newRow("blanks harmless") << u" 4 , 5 "_s << 2 << QList<int>{4, 5};
        QStringList fifty, fiftyOne;
        QList<int> fiftyUnits;
        for (int k = 1; k <= 51; ++k) {
            if (k <= 50) {
                fifty << QString::number(k);
                fiftyUnits << k;
            }
            fiftyOne << QString::number(k);
        }
        QTest::newRow("fifty") << fifty.join(u',') << 50 << fiftyUnits;
        QTest::newRow("fifty-one counts none") << fiftyOne.join(u',') << 0 << fiftyUnits;
    }
    void enabledUnits()
    {
        QFETCH(QString, text);
        QFETCH(int, count);
        QFETCH(QList<int>, units);
        SystemModel m;
        m.EnabledUnitsText = text;
        SystemDescription::ParseEnabledUnits(m);
        QCOMPARE(int(m.EnabledUnitCount), count);
        for (int k = 0; k < units.size(); ++k)
            QCOMPARE(int(m.EnabledUnitList[k + 1]), units[k]);
    }

    void unusable_data()
    {
        QTest::addColumn<QByteArray>("ini");
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("no System") << QByteArray("[Kestrel]\nOutput 1=A,1,1\n");
        QTest::newRow("empty System") << QByteArray("[Kestrel]\nSystem=\nOutput 1=A,1,1\n");
        QTest::newRow("System in other section") << QByteArray("[Other]\nSystem=S\n");
        QByteArray junk;
        for (int i = 0; i < 65536; ++i)
            junk += char((i * 7919 + 13) % 256);
        QTest::newRow("binary junk") << junk;
    }
    void unusable()
    {
        QFETCH(QByteArray, ini);
        ProgramDir p(ini);
        SystemModel m;
        m.NumberOfOutputs = 7; // must stay as it was
        QVERIFY(!p.read(m));
        QCOMPARE(int(m.NumberOfOutputs), 7);
        QCOMPARE(m.SystemName, u""_s);
    }

    void missingFile()
    {
        QTemporaryDir dir;
        SystemModel m;
        QVERIFY(!SystemDescription(dir.path()).IniRead(m));
    }

    void directoryNamedKestrelIni()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir(u"Kestrel.ini"_s));
        SystemModel m;
        QVERIFY(!SystemDescription(dir.path()).IniRead(m));
    }

    void tenMegabyteLine()
    {
        const QByteArray longName(10 * 1024 * 1024, 'x');
        ProgramDir p("[Kestrel]\nSystem=S\nOutput 1=" + longName + ",1,2\nOutput 2=B,1,3\n");
        SystemModel m;
        QVERIFY(p.read(m));
        QCOMPARE(int(m.NumberOfOutputs), 2);
        QCOMPARE(m.OutputName[1].size(), longName.size());
        QCOMPARE(int(m.OutputChannel[1]), 2);
    }

    void moreThan999_data()
    {
        QTest::addColumn<int>("outputs");
        QTest::addColumn<int>("inputs");
        QTest::addColumn<QStringList>("warningParts");
        QTest::newRow("999 fit") << 999 << 5 << QStringList();
        QTest::newRow("1000 outputs") << 1000 << 5 << QStringList{u"999"_s, u"1 output entries"_s};
        QTest::newRow("1500 inputs") << 3 << 1500 << QStringList{u"501 input entries"_s};
        QTest::newRow("both over") << 1200 << 1001
                                   << QStringList{u"201 output entries"_s, u"2 input entries"_s};
    }
    void moreThan999()
    {
        QFETCH(int, outputs);
        QFETCH(int, inputs);
        QFETCH(QStringList, warningParts);
        QByteArray ini = "[Kestrel]\nSystem=Big\n";
        for (int i = 1; i <= outputs; ++i)
            ini += "Output " + QByteArray::number(i) + "=O" + QByteArray::number(i) + ",1," +
                   QByteArray::number(i) + "\n";
        for (int j = 1; j <= inputs; ++j)
            ini += "Input " + QByteArray::number(j) + "=I,2," + QByteArray::number(j) + "\n";
        ProgramDir p(ini);
        SystemModel m;
        QString warning;
        QVERIFY(p.read(m, &warning));
        QCOMPARE(int(m.NumberOfOutputs), qMin(outputs, 999));
        QCOMPARE(int(m.NumberOfInputs), qMin(inputs, 999));
        QCOMPARE(m.OutputName[qMin(outputs, 999)], u"O"_s + QString::number(qMin(outputs, 999)));
        QCOMPARE(warning.isEmpty(), warningParts.isEmpty());
        for (const QString &part : warningParts)
            QVERIFY2(warning.contains(part), qPrintable(warning));
    }
};

QTEST_GUILESS_MAIN(TestSystemDescription)
#include "tst_systemdescription.moc"
