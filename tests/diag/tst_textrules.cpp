#include "DateRules.h"
#include "TextRules.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestTextRules : public QObject
{
    Q_OBJECT

private slots:
    void numericTest_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("numeric");
        QTest::addColumn<double>("value");
        QTest::newRow("blanks around") << u"  75 "_s << true << 75.0;
        QTest::newRow("leading point") << u".5"_s << true << 0.5;
        QTest::newRow("empty") << QString() << false << 0.0;
        QTest::newRow("two points") << u"1.2.3"_s << false << 1.2;
        QTest::newRow("bare exponent") << u"1e"_s << false << 1.0;
        QTest::newRow("tab is not a blank") << u"\t5"_s << false << 0.0;
        QTest::newRow("minus") << u" -12"_s << true << -12.0;
        QTest::newRow("sign then blank") << u"+ 7"_s << false << 0.0;
        QTest::newRow("exponent") << u"2e3"_s << true << 2000.0;
        QTest::newRow("other digits") << u"\u0661\u0662"_s << false << 0.0;
    }
    void numericTest()
    {
        QFETCH(QString, text);
        QTEST(TextRules::IsNumeric(text), "numeric");
        QTEST(TextRules::Val(text), "value");
    }

    void parseDate_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDateTime>("expected"); // invalid: no date
        const QDateTime nye(QDate(2026, 12, 31), QTime(0, 0));
        QTest::newRow("m/d/yy") << u"12/31/26"_s << nye;
        QTest::newRow("iso") << u"2026-12-31"_s << nye;
        QTest::newRow("month first") << u"Dec 31, 2026"_s << nye;
        QTest::newRow("day first") << u"31 December 2026"_s << nye;
        QTest::newRow("with pm time")
            << u"1/2/2026 2:05:09 PM"_s << QDateTime(QDate(2026, 1, 2), QTime(14, 5, 9));
        QTest::newRow("with 24h time")
            << u"2026-01-02 14:05"_s << QDateTime(QDate(2026, 1, 2), QTime(14, 5));
        QTest::newRow("no such day") << u"2/30/2026"_s << QDateTime();
        QTest::newRow("no month") << u"0/5/2026"_s << QDateTime();
        QTest::newRow("three-digit year") << u"1/2/203"_s << QDateTime();
        QTest::newRow("blank in front")
            << u" 1/2/26"_s << QDateTime(QDate(2026, 1, 2), QTime(0, 0));
        QTest::newRow("bad time") << u"1/2/2026 25:00"_s << QDateTime();
    }
    void parseDate()
    {
        QFETCH(QString, text);
        QFETCH(QDateTime, expected);
        const auto parsed = DateRules::ParseDate(text);
        QCOMPARE(parsed.has_value(), expected.isValid());
        if (parsed)
            QCOMPARE(*parsed, expected);
    }

    // The log and check-time tests cover an afternoon; this is the other half
    // of the clock, with a one-digit day.
    void formats_afterMidnight()
    {
        const QDateTime t(QDate(2027, 3, 5), QTime(0, 7, 0));
        QCOMPARE(DateRules::FormatMmdd(t), u"0305"_s);
        QCOMPARE(DateRules::FormatLogStamp(t), u"Fri Mar  5 00:07:00"_s);
        QCOMPARE(DateRules::FormatCheckTime(t), u"3/5/27 12:07:00 am"_s);
    }
};

QTEST_GUILESS_MAIN(TestTextRules)
#include "tst_textrules.moc"
