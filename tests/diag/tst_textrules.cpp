#include "DateRules.h"
#include "RuntimeError.h"
#include "TextRules.h"

#include <QTest>

class TestTextRules : public QObject
{
    Q_OBJECT

private slots:
    void numericTest_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("numeric");
        QTest::addColumn<double>("value");
        QTest::newRow("digits") << "45" << true << 45.0;
        QTest::newRow("blanks around") << "  75 " << true << 75.0;
        QTest::newRow("sign and point") << "-1.5" << true << -1.5;
        QTest::newRow("leading point") << ".5" << true << 0.5;
        QTest::newRow("exponent") << "1e3" << true << 1000.0;
        QTest::newRow("empty") << "" << false << 0.0;
        QTest::newRow("blanks only") << "   " << false << 0.0;
        QTest::newRow("letters") << "abc" << false << 0.0;
        QTest::newRow("number then letters") << "12abc" << false << 12.0;
        QTest::newRow("two points") << "1.2.3" << false << 1.2;
        QTest::newRow("bare exponent") << "1e" << false << 1.0;
        QTest::newRow("tab is not a blank") << "\t5" << false << 0.0;
    }
    void numericTest()
    {
        QFETCH(QString, text);
        QFETCH(bool, numeric);
        QFETCH(double, value);
        QCOMPARE(TextRules::IsNumeric(text), numeric);
        QCOMPARE(TextRules::Val(text), value);
    }

    void trim_removesOnlyBlanks()
    {
        QCOMPARE(TextRules::Trim(QStringLiteral("  a b  ")), QStringLiteral("a b"));
        QCOMPARE(TextRules::Trim(QStringLiteral("\ta\t")), QStringLiteral("\ta\t"));
    }

    void toDouble_nonNumeric_raisesTypeMismatch()
    {
        QCOMPARE(TextRules::ToDouble(QStringLiteral(" 60 ")), 60.0);
        try {
            TextRules::ToDouble(QStringLiteral("sixty"));
            QFAIL("no error raised");
        } catch (const RuntimeError &e) {
            QCOMPARE(e.number(), ErrorNumber::TypeMismatch);
        }
    }

    void parseDate_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDateTime>("expected");
        const QDateTime nye(QDate(2026, 12, 31), QTime(0, 0));
        QTest::newRow("m/d/yyyy") << "12/31/2026" << nye;
        QTest::newRow("m/d/yy") << "12/31/26" << nye;
        QTest::newRow("iso") << "2026-12-31" << nye;
        QTest::newRow("month first") << "Dec 31, 2026" << nye;
        QTest::newRow("day first") << "31 December 2026" << nye;
        QTest::newRow("with pm time")
            << "1/2/2026 2:05:09 PM" << QDateTime(QDate(2026, 1, 2), QTime(14, 5, 9));
        QTest::newRow("with 24h time")
            << "2026-01-02 14:05" << QDateTime(QDate(2026, 1, 2), QTime(14, 5));
        QTest::newRow("no such day") << "2/30/2026" << QDateTime();
        QTest::newRow("words") << "never" << QDateTime();
        QTest::newRow("empty") << "" << QDateTime();
        QTest::newRow("bad time") << "1/2/2026 25:00" << QDateTime();
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

    void formats()
    {
        const QDateTime afternoon(QDate(2026, 11, 22), QTime(14, 5, 9));
        QCOMPARE(DateRules::FormatMmdd(afternoon), QStringLiteral("1122"));
        QCOMPARE(DateRules::FormatLogStamp(afternoon), QStringLiteral("Sun Nov  22 14:05:09"));
        QCOMPARE(DateRules::FormatCheckTime(afternoon), QStringLiteral("11/22/26 2:05:09 pm"));
        const QDateTime midnight(QDate(2027, 3, 5), QTime(0, 7, 0));
        QCOMPARE(DateRules::FormatMmdd(midnight), QStringLiteral("0305"));
        QCOMPARE(DateRules::FormatLogStamp(midnight), QStringLiteral("Fri Mar  5 00:07:00"));
        QCOMPARE(DateRules::FormatCheckTime(midnight), QStringLiteral("3/5/27 12:07:00 am"));
    }
};

QTEST_GUILESS_MAIN(TestTextRules)
#include "tst_textrules.moc"
