#include "RecordList.h"
#include "RuntimeError.h"

#include <QTest>

class TestRecordList : public QObject
{
    Q_OBJECT

private slots:
    void split_data()
    {
        QTest::addColumn<QString>("records");
        QTest::addColumn<QStringList>("pieces");
        QTest::newRow("empty list has no records") << "" << QStringList();
        QTest::newRow("one") << "a;;A;;@;;1" << QStringList{QStringLiteral("a;;A;;@;;1")};
        QTest::newRow("two") << "a~~b" << QStringList{QStringLiteral("a"), QStringLiteral("b")};
        QTest::newRow("trailing separator keeps an empty piece")
            << "a~~b~~" << QStringList{QStringLiteral("a"), QStringLiteral("b"), QString()};
        QTest::newRow("separators only") << "~~~~" << QStringList{QString(), QString(), QString()};
        QTest::newRow("three tildes")
            << "a~~~b" << QStringList{QStringLiteral("a"), QStringLiteral("~b")};
    }
    void split()
    {
        QFETCH(QString, records);
        QTEST(RecordList::Split(records), "pieces");
    }

    void fields_data()
    {
        QTest::addColumn<QString>("piece");
        QTest::addColumn<QStringList>("fields");
        QTest::newRow("four") << "acme.test;;A;;www;;10.0.0.1"
                              << QStringList{QStringLiteral("acme.test"), QStringLiteral("A"),
                                             QStringLiteral("www"), QStringLiteral("10.0.0.1")};
        QTest::newRow("extra pieces ignored")
            << " d ;;MX;;@;;mail.d;;10;;x"
            << QStringList{QStringLiteral(" d "), QStringLiteral("MX"), QStringLiteral("@"),
                           QStringLiteral("mail.d")};
        QTest::newRow("empty fields kept")
            << ";;;;;;" << QStringList{QString(), QString(), QString(), QString()};
    }
    void fields()
    {
        QFETCH(QString, piece);
        QTEST(RecordList::Fields(piece), "fields");
    }

    void fields_fewerThanFour_raisesSubscriptOutOfRange_data()
    {
        QTest::addColumn<QString>("piece");
        QTest::newRow("empty piece") << "";
        QTest::newRow("three fields") << "d;;A;;www";
        QTest::newRow("single semicolons") << "d;A;www;1.2.3.4";
    }
    void fields_fewerThanFour_raisesSubscriptOutOfRange()
    {
        QFETCH(QString, piece);
        try {
            RecordList::Fields(piece);
            QFAIL("no error raised");
        } catch (const RuntimeError &e) {
            QCOMPARE(e.number(), ErrorNumber::SubscriptOutOfRange);
        }
    }

    void key_data()
    {
        QTest::addColumn<QStringList>("fields");
        QTest::addColumn<QString>("key");
        QTest::newRow("example") << QStringList{QStringLiteral("example.net"), QStringLiteral("A"),
                                                QStringLiteral("www"), QStringLiteral("10.0.0.1")}
                                 << "EXAMPLE.NET;;A;;WWW;;10.0.0.1~~";
        QTest::newRow("blanks trimmed, tabs kept")
            << QStringList{QStringLiteral("  example.net "), QStringLiteral(" a"),
                           QStringLiteral("\twww"), QStringLiteral("10.0.0.1  ")}
            << "EXAMPLE.NET;;A;;\tWWW;;10.0.0.1~~";
        QTest::newRow("empty fields")
            << QStringList{QString(), QString(), QString(), QString()} << ";;;;;;~~";
        QTest::newRow("relay target upper-cased")
            << QStringList{QStringLiteral("acme-shop.test"), QStringLiteral("Port Relay"),
                           QStringLiteral("shop"), QStringLiteral("Http://203.0.113.7:8080/shop")}
            << "ACME-SHOP.TEST;;PORT RELAY;;SHOP;;HTTP://203.0.113.7:8080/SHOP~~";
    }
    void key()
    {
        QFETCH(QStringList, fields);
        QTEST(RecordList::Key(fields[0], fields[1], fields[2], fields[3]), "key");
    }
};

QTEST_GUILESS_MAIN(TestRecordList)
#include "tst_recordlist.moc"
