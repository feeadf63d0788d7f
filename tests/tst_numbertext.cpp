#include "model/NumberText.h"

#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

class TestNumberText : public QObject
{
    Q_OBJECT
private slots:
    void readNumber_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("expected");
        QTest::newRow("plain") << u"42"_s << 42.0;
        QTest::newRow("hex") << u"&HFF"_s << 255.0;
        QTest::newRow("hex lower") << u"&hff"_s << 255.0;
        QTest::newRow("octal") << u"&O17"_s << 15.0;
        QTest::newRow("octal stops at 8") << u"&O178"_s << 15.0;
        QTest::newRow("hex stops at g") << u"&H1G"_s << 1.0;
        QTest::newRow("ampersand alone") << u"&"_s << 0.0;
        QTest::newRow("ampersand other") << u"&X1"_s << 0.0;
        QTest::newRow("fraction") << u"1.5"_s << 1.5;
        QTest::newRow("two and a half") << u"2.5"_s << 2.5;
        QTest::newRow("negative fraction") << u"-2.5"_s << -2.5;
        QTest::newRow("exponent") << u"1e3"_s << 1000.0;
        QTest::newRow("exponent upper signed") << u"25E-1"_s << 2.5;
        QTest::newRow("exponent without digits") << u"7e"_s << 7.0;
        QTest::newRow("exponent sign without digits") << u"7e+"_s << 7.0;
        QTest::newRow("blank after sign") << u" - 3"_s << -3.0;
        QTest::newRow("blank inside digits") << u"1 2"_s << 12.0;
        QTest::newRow("tab and line feed inside") << u"\t1\n2\t"_s << 12.0;
        QTest::newRow("carriage return stops") << u"1\r2"_s << 1.0;
        QTest::newRow("trailing letters") << u"12abc"_s << 12.0;
        QTest::newRow("empty") << u""_s << 0.0;
        QTest::newRow("point alone") << u"."_s << 0.0;
        QTest::newRow("leading point") << u".5"_s << 0.5;
        QTest::newRow("plus sign") << u"+8"_s << 8.0;
        QTest::newRow("sign alone") << u"-"_s << 0.0;
        QTest::newRow("letters only") << u"COM3"_s << 0.0;
        QTest::newRow("second point stops") << u"1.2.3"_s << 1.2;
        QTest::newRow("comma stops") << u"3,4"_s << 3.0;
        QTest::newRow("bracket stops") << u"12]"_s << 12.0;
        QTest::newRow("leading zeros") << u"007"_s << 7.0;
        QTest::newRow("tiny exponent") << u"1e-999"_s << 0.0;
        QTest::newRow("exponent with many leading zeros") << u" - 2.5e00000000001x"_s << -25.0;
        QTest::newRow("exponent of zeros only") << u"3e-0000000000"_s << 3.0;
        QTest::newRow("long exponent after zeros")
            << u"1e000000001000000"_s << std::numeric_limits<double>::infinity();
        // Too small or too large by the digits alone, whatever the exponent's sign.
        const QString zeros(400, QLatin1Char('0'));
        QTest::newRow("too small without exponent") << u"."_s + zeros + u"1"_s << 0.0;
        QTest::newRow("too small despite a positive exponent")
            << u"0."_s + zeros + zeros + u"1e100"_s << 0.0;
        QTest::newRow("too large despite a negative exponent")
            << u"1"_s + zeros + u"e-1"_s << std::numeric_limits<double>::infinity();
        QTest::newRow("negative and too large")
            << u"-1"_s + zeros << -std::numeric_limits<double>::infinity();
    }
    void readNumber()
    {
        QFETCH(QString, text);
        QFETCH(double, expected);
        QCOMPARE(ReadNumber(text), expected);
    }

    void readNumberHuge()
    {
        QVERIFY(std::isinf(ReadNumber(u"1e999")));
        QVERIFY(!ToInt16(ReadNumber(u"1e999")).has_value());
        // A megabyte of digits is read in one pass and does not fit.
        const QString digits(1 << 20, QLatin1Char('9'));
        QVERIFY(!ToInt16(ReadNumber(digits)).has_value());
        QVERIFY(std::isinf(ReadNumber(QStringLiteral("&H") + QString(1 << 20, QLatin1Char('F')))));
        // A million digits before an eight-digit negative exponent: about 10^-8999000.
        QCOMPARE(ReadNumber(u"1"_s + QString(1000001, QLatin1Char('0')) + u"e-10000000"_s), 0.0);
    }

    void toInt16_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("expected"); // -99999 for "does not fit"
        QTest::newRow("1.5 to even 2") << 1.5 << 2;
        QTest::newRow("2.5 to even 2") << 2.5 << 2;
        QTest::newRow("-2.5 to even -2") << -2.5 << -2;
        QTest::newRow("3.5 to even 4") << 3.5 << 4;
        QTest::newRow("2.6 up") << 2.6 << 3;
        QTest::newRow("lowest") << -32768.0 << -32768;
        QTest::newRow("highest") << 32767.0 << 32767;
        QTest::newRow("highest rounded") << 32767.4 << 32767;
        QTest::newRow("one past") << 32768.0 << -99999;
        QTest::newRow("rounds past") << 32767.5 << -99999;
        QTest::newRow("one below") << -32769.0 << -99999;
    }
    void toInt16()
    {
        QFETCH(double, value);
        QFETCH(int, expected);
        const auto got = ToInt16(value);
        if (expected == -99999)
            QVERIFY(!got.has_value());
        else
            QCOMPARE(int(got.value_or(-1)), expected);
    }

    void numberField_data()
    {
        QTest::addColumn<long long>("n");
        QTest::addColumn<QString>("expected");
        QTest::newRow("zero") << 0LL << u" 0"_s;
        QTest::newRow("seven") << 7LL << u" 7"_s;
        QTest::newRow("hundred twenty") << 120LL << u" 120"_s;
        QTest::newRow("minus one") << -1LL << u"-1"_s;
        QTest::newRow("lowest int16") << -32768LL << u"-32768"_s;
    }
    void numberField()
    {
        QFETCH(long long, n);
        QFETCH(QString, expected);
        QCOMPARE(NumberField(n), expected);
        QCOMPARE(ReadNumber(NumberField(n)), double(n));
    }
};

QTEST_GUILESS_MAIN(TestNumberText)
#include "tst_numbertext.moc"
