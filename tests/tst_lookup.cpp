#include "matrix/Lookup.h"

#include <QTest>

namespace {

// Outputs 1..3 at unit 1 channels 1..3 (output 3 a duplicate of 2), inputs 1..3 likewise.
SystemModel smallSystem()
{
    SystemModel m;
    m.NumberOfOutputs = 3;
    m.OutputUnit = {0, 1, 1, 1};
    m.OutputChannel = {0, 1, 2, 2};
    m.NumberOfInputs = 3;
    m.InputUnit = {0, 2, 2, 2};
    m.InputChannel = {0, 1, 5, 5};
    return m;
}

} // namespace

class TestLookup : public QObject
{
    Q_OBJECT
private slots:
    void output_data()
    {
        QTest::addColumn<int>("unit");
        QTest::addColumn<int>("channel");
        QTest::addColumn<int>("index");
        QTest::newRow("first") << 1 << 1 << 1;
        QTest::newRow("second, lowest of duplicates") << 1 << 2 << 2;
        QTest::newRow("not found") << 1 << 9 << 4;
        QTest::newRow("unit and channel both compared") << 2 << 1 << 4;
        QTest::newRow("zero is no output") << 0 << 0 << 4;
    }
    void output()
    {
        QFETCH(int, unit);
        QFETCH(int, channel);
        QFETCH(int, index);
        SystemModel m = smallSystem();
        m.CurrentOutUnit = qint16(unit);
        m.CurrentOutChannel = qint16(channel);
        QCOMPARE(FindOutputMapping(m), index);
        QCOMPARE(m.Z, index);
    }

    void noOutputsGivesOne()
    {
        SystemModel m;
        m.CurrentOutUnit = 1;
        QCOMPARE(FindOutputMapping(m), 1);
    }

    void input_data()
    {
        QTest::addColumn<int>("unit");
        QTest::addColumn<int>("channel");
        QTest::addColumn<int>("index");
        QTest::newRow("unassigned") << 0 << 0 << 0;
        QTest::newRow("first") << 2 << 1 << 1;
        QTest::newRow("duplicate gives lower") << 2 << 5 << 2;
        QTest::newRow("not found") << 5 << 5 << 4;
    }
    void input()
    {
        QFETCH(int, unit);
        QFETCH(int, channel);
        QFETCH(int, index);
        SystemModel m = smallSystem();
        QCOMPARE(SearchInputList(m, unit, channel), index);
        QCOMPARE(m.Z, index);
        m.Z = -1;
        m.CurrentInUnit = qint16(unit);
        m.CurrentInChannel = qint16(channel);
        QCOMPARE(FindInputSourceMapping(m), index);
        QCOMPARE(m.Z, index);
    }

    void fullTablesNotFoundIsOffTable()
    {
        // With 999 declared, "not found" is index 1000: callers must check it before filing.
        SystemModel m;
        m.NumberOfOutputs = MaxDeclared;
        m.NumberOfInputs = MaxDeclared;
        for (int i = 1; i <= MaxDeclared; ++i) {
            m.OutputUnit[i] = 1;
            m.OutputChannel[i] = qint16(i);
            m.InputUnit[i] = 2;
            m.InputChannel[i] = qint16(i);
        }
        m.CurrentOutUnit = 1;
        m.CurrentOutChannel = 999;
        QCOMPARE(FindOutputMapping(m), 999);
        m.CurrentOutChannel = 1000;
        QCOMPARE(FindOutputMapping(m), 1000);
        QVERIFY(!InTable(m.Z));
        QCOMPARE(SearchInputList(m, 2, 1000), 1000);
    }
};

QTEST_GUILESS_MAIN(TestLookup)
#include "tst_lookup.moc"
