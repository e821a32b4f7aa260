#include "RuntimeError.h"
#include "basDNS.h"
#include "clsUser.h"

#include <QTest>

// basDNS's text rules: reply values, success, relay URLs and the automatic
// marks. What the commands send and do is in tst_protocol.
class TestBasDNS : public QObject
{
    Q_OBJECT

private slots:
    // "!" in the expected column: cutting raises invalid argument (5).
    void getReplyValue_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<QString>("value");
        const auto row = [](const char *tag, const char *reply, const char *value) {
            QTest::newRow(tag) << QString::fromLatin1(reply) << QString::fromLatin1(value);
        };
        row("blanks before the end tag", "IPAddress:  1.2.3.4   </p>", "1.2.3.4");
        row("only blanks trimmed", "IPAddress:\t1\t</p>", "\t1\t");
        row("label absent", "SUCCESS</p>Error:x", "");
        row("label case-sensitive", "ipaddress:1.2.3.4</p>", "");
        row("first occurrence wins", "Error:IPAddress:a</p>IPAddress:b</p>", "a");
        row("first end tag ends it", "IPAddress:1</P>2</p>3</p>", "1</P>2");
        row("end tag only before the label", "x</p>IPAddress:1.2.3.4", "!");
    }
    void getReplyValue()
    {
        QFETCH(QString, reply);
        QFETCH(QString, value);
        try {
            QCOMPARE(basDNS::GetReplyValue(reply, QStringLiteral("IPAddress:")), value);
        } catch (const RuntimeError &e) {
            QCOMPARE(QStringLiteral("!"), value);
            QCOMPARE(e.number(), ErrorNumber::InvalidArgument);
        }
    }

    void isSuccess_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<bool>("success");
        QTest::newRow("inside an error text") << "FAIL</p>Error:no SUCCESS today</p>" << true;
        QTest::newRow("lower case") << "success</p>" << false;
    }
    void isSuccess()
    {
        QFETCH(QString, reply);
        QTEST(basDNS::IsSuccess(reply), "success");
    }

    void buildRelayURL_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("targetAfter");
        const auto row = [](const char *tag, const char *target, const char *port,
                            const char *result, const char *after) {
            QTest::newRow(tag) << QString::fromLatin1(target) << QString::fromLatin1(port)
                               << QString::fromLatin1(result) << QString::fromLatin1(after);
        };
        row("port not numeric", "example.test/page", "abc", "Http://example.test/page",
            "Http://example.test/page");
        row("no path", "example.test", "81", "Http://example.test:81", "Http://example.test");
        row("scheme in any case, first slash", "hTTp://a.test/b/c", "8", "hTTp://a.test:8/b/c",
            "hTTp://a.test/b/c");
    }
    void buildRelayURL()
    {
        QFETCH(QString, target);
        QFETCH(QString, port);
        QTEST(basDNS::BuildRelayURL(target, port), "result");
        QTEST(target, "targetAfter");
    }

    void splitRelayURL_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("path");
        const auto row = [](const char *tag, const char *target, const char *host, const char *port,
                            const char *path) {
            QTest::newRow(tag) << QString::fromLatin1(target) << QString::fromLatin1(host)
                               << QString::fromLatin1(port) << QString::fromLatin1(path);
        };
        // The outputs start as "old", "99" and "/old".
        row("port not numeric, path kept", "host:abc", "host", "", "/old");
        row("no port keeps the old one", "HtTp://host/a/b", "host", "99", "/a/b");
        row("host only", "host", "host", "99", "/old");
        row("first colon wins", "a/b:81/c:d", "a/b", "81", "/c:d");
    }
    void splitRelayURL()
    {
        QFETCH(QString, target);
        QString host = QStringLiteral("old"), port = QStringLiteral("99"),
                path = QStringLiteral("/old");
        basDNS::SplitRelayURL(target, host, port, path);
        QTEST(host, "host");
        QTEST(port, "port");
        QTEST(path, "path");
    }

    // The entry for " example.net", "a", host, "10.0.0.1 " is EXAMPLE.NET;;A;;WWW;;10.0.0.1~~
    // when the host is "www".
    void updateAutoIpEntry_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("command");
        QTest::addColumn<bool>("autoIP");
        QTest::addColumn<QString>("expected");
        const QString entry = QStringLiteral("EXAMPLE.NET;;A;;WWW;;10.0.0.1~~");
        const QString other = QStringLiteral("foo.org;;A;;@;;1.1.1.1~~");
        const QString lower = QStringLiteral("example.net;;a;;www;;10.0.0.1~~");
        QTest::newRow("add keeps earlier entries as they were")
            << other << "RecordAdd" << true << other + entry;
        QTest::newRow("add when present in another case") << lower << "RECORDADD" << true << lower;
        QTest::newRow("add without AutoIP changes nothing")
            << other << "RECORDADD" << false << other;
        QTest::newRow("delete upper-cases the whole list, every occurrence")
            << lower + other + entry << "RECORDDELETE" << false << "FOO.ORG;;A;;@;;1.1.1.1~~";
        QTest::newRow("other command changes nothing") << QString() << "RECORDCHANGE" << true << "";
    }
    void updateAutoIpEntry()
    {
        QFETCH(QString, list);
        QFETCH(QString, command);
        QFETCH(bool, autoIP);
        ProgramWide::sAutoIPList = list;
        basDNS::UpdateAutoIpEntry(QStringLiteral(" example.net"), QStringLiteral("www "), command,
                                  QStringLiteral("a"), QStringLiteral("10.0.0.1 "), autoIP);
        QTEST(ProgramWide::sAutoIPList, "expected");
    }
};

QTEST_GUILESS_MAIN(TestBasDNS)
#include "tst_basdns.moc"
