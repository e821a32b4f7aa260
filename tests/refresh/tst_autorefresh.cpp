#include "AutoRefresh.h"
#include "RuntimeError.h"

#include <QTest>

using AutoRefresh::GridRow;
Q_DECLARE_METATYPE(GridRow)

class TestAutoRefresh : public QObject
{
    Q_OBJECT

    const QString Ip = QStringLiteral("10.0.0.2");

private slots:
    void resendForRow_data()
    {
        QTest::addColumn<GridRow>("row");
        QTest::addColumn<QString>("host"); // empty: nothing is sent
        QTest::addColumn<QString>("newValue");
        auto row = [](const char *host, const char *type, const char *value, const char *autoIP) {
            return GridRow{QStringLiteral("example.net"), QString::fromLatin1(host),
                           QString::fromLatin1(type), QString::fromLatin1(value),
                           QString::fromLatin1(autoIP)};
        };
        QTest::newRow("A changed") << row("www", "A", "10.0.0.1", "Yes") << "www" << Ip;
        QTest::newRow("A unchanged") << row("www", "A", "10.0.0.2", "Yes") << ""
                                     << "";
        QTest::newRow("not automatic") << row("www", "A", "10.0.0.1", "No") << ""
                                       << "";
        QTest::newRow("Root host") << row("Root", "MX", "10.0.0.1", "yes") << "@" << Ip;
        QTest::newRow("relay with port and path")
            << row("cam", "PORT RELAY", "http://10.0.0.1:8080/view/live", "Yes") << "cam"
            << "http://10.0.0.2:8080/view/live";
        QTest::newRow("relay without port")
            << row("cam", "Port Relay", "HTTP://10.0.0.1/x", "Yes") << "cam"
            << "http://10.0.0.2/x";
        QTest::newRow("relay already at the address")
            << row("cam", "PORT RELAY", "http://10.0.0.2:8080/x", "Yes") << ""
            << "";
    }
    void resendForRow()
    {
        QFETCH(GridRow, row);
        QFETCH(QString, host);
        QFETCH(QString, newValue);
        const auto resend = AutoRefresh::ResendForRow(row, Ip);
        QCOMPARE(resend.has_value(), !host.isEmpty());
        if (!resend)
            return;
        for (const auto *args : {&resend->remove, &resend->add}) {
            QCOMPARE(args->domain, row.domain);
            QCOMPARE(args->host, host);
            QCOMPARE(args->recordType, row.recordType);
        }
        QCOMPARE(resend->remove.address, row.value);
        QCOMPARE(resend->add.address, newValue);
    }

    void autoIpList_keepsAutomaticRowsTrimmed()
    {
        const QList<GridRow> rows{
            {QStringLiteral(" example.net "), QStringLiteral(" www "), QStringLiteral("A"),
             QStringLiteral(" 10.0.0.1"), QStringLiteral("YES")},
            {QStringLiteral("example.net"), QStringLiteral("ftp"), QStringLiteral("A"),
             QStringLiteral("10.0.0.1"), QStringLiteral("No")},
            {QStringLiteral("example.net"), QStringLiteral("Root"), QStringLiteral("A"),
             QStringLiteral("10.0.0.1"), QStringLiteral("yes")},
            {QStringLiteral("example.org"), QString(), QStringLiteral("MX"), QString(),
             QStringLiteral("Yes")},
        };
        QCOMPARE(AutoRefresh::AutoIpList(rows), QStringLiteral("example.net;;A;;www;;10.0.0.1~~"
                                                               "example.net;;A;;@;;10.0.0.1~~"
                                                               "example.org;;MX;;@;;~~"));
        QCOMPARE(AutoRefresh::AutoIpList({}), QString());
    }

    void upTimeCaption_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("caption");
        QTest::newRow("start") << qint64(0) << "0 Days  00:00:00";
        QTest::newRow("59 s") << qint64(59) << "0 Days  00:00:59";
        QTest::newRow("1 day") << qint64(86400) << "1 Days  00:00:00";
        QTest::newRow("2 days 5:07:09")
            << qint64(2 * 86400 + 5 * 3600 + 7 * 60 + 9) << "2 Days  05:07:09";
        QTest::newRow("last 16-bit day") << qint64(32767) * 86400 + 86399 << "32767 Days  23:59:59";
    }
    void upTimeCaption()
    {
        QFETCH(qint64, seconds);
        QFETCH(QString, caption);
        QCOMPARE(AutoRefresh::UpTimeCaption(seconds), caption);
    }

    void upTimeCaption_daysPast16Bits_overflows()
    {
        try {
            AutoRefresh::UpTimeCaption(qint64(32768) * 86400);
            QFAIL("no error raised");
        } catch (const RuntimeError &e) {
            QCOMPARE(e.number(), ErrorNumber::Overflow);
        }
    }
};

QTEST_GUILESS_MAIN(TestAutoRefresh)
#include "tst_autorefresh.moc"
