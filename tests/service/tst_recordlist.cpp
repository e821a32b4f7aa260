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
        QTest::newRow("trailing separator keeps an empty piece")
            << "a~~b~~" << QStringList{QStringLiteral("a"), QStringLiteral("b"), QString()};
        QTest::newRow("three tildes")
            << "a~~~b" << QStringList{QStringLiteral("a"), QStringLiteral("~b")};
    }
    void split()
    {
        QFETCH(QString, records);
        QTEST(RecordList::Split(records), "pieces");
    }

    // An empty expectation: subscript out of range (9).
    void fields_data()
    {
        QTest::addColumn<QString>("piece");
        QTest::addColumn<QStringList>("fields");
        QTest::newRow("extra pieces ignored")
            << " d ;;MX;;@;;mail.d;;10"
            << QStringList{QStringLiteral(" d "), QStringLiteral("MX"), QStringLiteral("@"),
                           QStringLiteral("mail.d")};
        QTest::newRow("empty fields kept") << ";;;;;;" << QStringList{{}, {}, {}, {}};
        QTest::newRow("empty piece") << "" << QStringList();
        QTest::newRow("three fields") << "d;;A;;www" << QStringList();
    }
    void fields()
    {
        QFETCH(QString, piece);
        QFETCH(QStringList, fields);
        try {
            QCOMPARE(RecordList::Fields(piece), fields);
        } catch (const RuntimeError &e) {
            QVERIFY(fields.isEmpty());
            QCOMPARE(e.number(), ErrorNumber::SubscriptOutOfRange);
        }
    }

    void key()
    {
        QCOMPARE(RecordList::Key(QStringLiteral("example.net"), QStringLiteral("A"),
                                 QStringLiteral("www"), QStringLiteral("10.0.0.1")),
                 QStringLiteral("EXAMPLE.NET;;A;;WWW;;10.0.0.1~~"));
        QCOMPARE(RecordList::Key(QStringLiteral("  d.net "), QStringLiteral(" Port Relay"),
                                 QStringLiteral("\tx"), QString()),
                 QStringLiteral("D.NET;;PORT RELAY;;\tX;;~~"));
    }
};

QTEST_GUILESS_MAIN(TestRecordList)
#include "tst_recordlist.moc"
