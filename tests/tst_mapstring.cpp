#include "matrix/MapString.h"

#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(MapFields)

class TestMapString : public QObject
{
    Q_OBJECT
private slots:
    void compose_data()
    {
        QTest::addColumn<MapFields>("fields");
        QTest::addColumn<QString>("text");
        QTest::newRow("plain") << MapFields{2, 5, 1, 3, 1, 0, 0, 0} << u"[2][5][1][3][1][0][0][0]"_s;
        QTest::newRow("and") << MapFields{2, 5, 1, 3, 1, 4, 7, 1} << u"[2][5][1][3][1][4][7][1]"_s;
        QTest::newRow("or") << MapFields{2, 5, 1, 3, 1, 4, 7, 2} << u"[2][5][1][3][1][4][7][2]"_s;
        QTest::newRow("three digits") << MapFields{12, 100, 999, 10, 1, 0, 0, 0}
                                      << u"[12][100][999][10][1][0][0][0]"_s;
        QTest::newRow("negative") << MapFields{-1, -99, 0, 0, 1, 0, 0, 0}
                                  << u"[-1][-99][0][0][1][0][0][0]"_s;
        QTest::newRow("unassigned") << MapFields{3, 4, 0, 0, 1, 0, 0, 0} << u"[3][4][0][0][1][0][0][0]"_s;
    }
    void compose()
    {
        QFETCH(MapFields, fields);
        QFETCH(QString, text);
        const QString composed =
            fields[7] == PlainMapping
                ? ComposeMapString(fields[0], fields[1], fields[2], fields[3])
                : ComposeBoolMapString(fields[0], fields[1], fields[2], fields[3], fields[5],
                                       fields[6], fields[7]);
        QCOMPARE(composed, text);
        // Every value of at most three characters survives the round trip.
        QCOMPARE(ReadMapFields(composed), fields);
    }

    void roundTripAllThreeDigitValues()
    {
        for (int v = -99; v <= 999; ++v) {
            const auto q = qint16(v);
            const QString s = ComposeBoolMapString(q, q, q, q, q, q, AndMapping);
            QCOMPARE(ReadMapFields(s), (MapFields{q, q, q, q, 1, q, q, AndMapping}));
        }
    }

    void read_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<MapFields>("fields");
        QTest::newRow("four fields") << u"[2][5][1][3]"_s << MapFields{2, 5, 1, 3, 0, 0, 0, 0};
        QTest::newRow("empty") << u""_s << MapFields{};
        QTest::newRow("text before bracket") << u"x[7"_s << MapFields{7, 0, 0, 0, 0, 0, 0, 0};
        QTest::newRow("four digits cut") << u"[1234][5]"_s << MapFields{123, 5, 0, 0, 0, 0, 0, 0};
        QTest::newRow("no closing brackets") << u"[1[2[3"_s << MapFields{1, 2, 3, 0, 0, 0, 0, 0};
        QTest::newRow("ninth bracket ignored")
            << u"[1][2][3][4][1][5][6][1][9][9]"_s << MapFields{1, 2, 3, 4, 1, 5, 6, 1};
        QTest::newRow("empty field") << u"[][4]"_s << MapFields{0, 4, 0, 0, 0, 0, 0, 0};
        QTest::newRow("blank in field") << u"[1 2][3]"_s << MapFields{12, 3, 0, 0, 0, 0, 0, 0};
        QTest::newRow("letters") << u"[ab][3]"_s << MapFields{0, 3, 0, 0, 0, 0, 0, 0};
        QTest::newRow("exponent too large reads 0") << u"[9e9][3]"_s << MapFields{0, 3, 0, 0, 0, 0, 0, 0};
        QTest::newRow("reply with echo")
            << u"RawMap 1\r\n[1][2][3][4][1][0][0][0]\r\n."_s << MapFields{1, 2, 3, 4, 1, 0, 0, 0};
    }
    void read()
    {
        QFETCH(QString, text);
        QFETCH(MapFields, fields);
        QCOMPARE(ReadMapFields(text), fields);
    }

    void parseGetMapOverwritesWholeRegister()
    {
        SystemModel m;
        ParseGetMap(m, u"[2][5][1][3][1][4][7][2]");
        QCOMPARE(int(m.CurrentOutUnit), 2);
        QCOMPARE(int(m.CurrentOutChannel), 5);
        QCOMPARE(int(m.CurrentInUnit), 1);
        QCOMPARE(int(m.CurrentInChannel), 3);
        QCOMPARE(int(m.CurrentMapEnable), 1);
        QCOMPARE(int(m.CurrentBooleanInUnit), 4);
        QCOMPARE(int(m.CurrentBooleanInChannel), 7);
        QCOMPARE(int(m.CurrentBooleanMode), 2);
        ParseGetMap(m, u"");
        QCOMPARE(int(m.CurrentOutUnit) | m.CurrentOutChannel | m.CurrentInUnit | m.CurrentInChannel |
                     m.CurrentMapEnable | m.CurrentBooleanInUnit | m.CurrentBooleanInChannel |
                     m.CurrentBooleanMode,
                 0);
    }

    void hugeTextIsLinear()
    {
        // A megabyte of brackets: only the first eight count, the rest is skipped.
        const QString text(1 << 20, QLatin1Char('['));
        QCOMPARE(ReadMapFields(text), MapFields{});
    }
};

QTEST_GUILESS_MAIN(TestMapString)
#include "tst_mapstring.moc"
