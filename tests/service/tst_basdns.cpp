#include "RuntimeError.h"
#include "ServiceConfig.h"
#include "basDNS.h"
#include "clsUser.h"

#include <QTest>

class TestBasDNS : public QObject
{
    Q_OBJECT

private slots:
    void init() { Program::Reset(); }
    void cleanup()
    {
        Program::Reset();
        SetConfig(ServiceConfig::Defaults());
    }

    void getReplyValue_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("value");
        QTest::newRow("plain") << "SUCCESS</p>IPAddress:203.0.113.7</p>"
                               << "IPAddress:"
                               << "203.0.113.7";
        QTest::newRow("blanks before the end tag") << "IPAddress:  203.0.113.7   </p>"
                                                   << "IPAddress:"
                                                   << "203.0.113.7";
        QTest::newRow("only blanks are trimmed") << "Error:\tbad\t</p>"
                                                 << "Error:"
                                                 << "\tbad\t";
        QTest::newRow("empty value") << "DomainUserRecords:</p>"
                                     << "DomainUserRecords:"
                                     << "";
        QTest::newRow("label absent") << "SUCCESS</p>"
                                      << "IPAddress:"
                                      << "";
        QTest::newRow("label absent, no end tag at all") << "garbage"
                                                         << "Error:"
                                                         << "";
        QTest::newRow("empty reply") << ""
                                     << "Error:"
                                     << "";
        QTest::newRow("labels are case-sensitive") << "ipaddress:1.2.3.4</p>"
                                                   << "IPAddress:"
                                                   << "";
        QTest::newRow("first occurrence wins") << "Error:no IPAddress:inner</p>IPAddress:outer</p>"
                                               << "IPAddress:"
                                               << "inner";
        QTest::newRow("value ends at the first end tag") << "A:1</p>B:2</p>"
                                                         << "A:"
                                                         << "1";
        QTest::newRow("end tag is case-sensitive") << "A:1</P>2</p>"
                                                   << "A:"
                                                   << "1</P>2";
        QTest::newRow("end tag of another label") << "DNS LOGIN:SUCCESS</p><p>FirstName:Ada</p>"
                                                  << "DNS LOGIN:"
                                                  << "SUCCESS";
    }
    void getReplyValue()
    {
        QFETCH(QString, reply);
        QFETCH(QString, label);
        QFETCH(QString, value);
        QCOMPARE(basDNS::GetReplyValue(reply, label), value);
    }

    void getReplyValue_malformed_raisesInvalidArgument_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::newRow("no end tag") << "SUCCESS</p>IPAddress:1.2.3.4";
        QTest::newRow("end tag only before the label") << "x</p>IPAddress:1.2.3.4";
        QTest::newRow("upper-case end tag") << "IPAddress:1.2.3.4</P>";
    }
    void getReplyValue_malformed_raisesInvalidArgument()
    {
        QFETCH(QString, reply);
        try {
            basDNS::GetReplyValue(reply, QStringLiteral("IPAddress:"));
            QFAIL("no error raised");
        } catch (const RuntimeError &e) {
            QCOMPARE(e.number(), ErrorNumber::InvalidArgument);
        }
    }

    void isSuccess_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<bool>("success");
        QTest::newRow("success") << "SUCCESS</p>" << true;
        QTest::newRow("inside an error text") << "FAIL</p>Error:no SUCCESS today</p>" << true;
        QTest::newRow("inside a word") << "UNSUCCESSFUL" << true;
        QTest::newRow("lower case") << "success</p>" << false;
        QTest::newRow("fail") << "FAIL</p>Error:bad</p>" << false;
        QTest::newRow("empty reply") << "" << false;
    }
    void isSuccess()
    {
        QFETCH(QString, reply);
        QFETCH(bool, success);
        QCOMPARE(basDNS::IsSuccess(reply), success);
    }

    void nullToEmpty()
    {
        QCOMPARE(basDNS::NullToEmpty(std::optional<QString>()), QString());
        QCOMPARE(basDNS::NullToEmpty(std::optional<QString>(QStringLiteral("  p&w=d  "))),
                 QStringLiteral("p&w=d"));
        QCOMPARE(basDNS::NullToEmpty(QStringLiteral("\tx ")), QStringLiteral("\tx"));
    }

    void endpoints_data()
    {
        QTest::addColumn<QString>("httpHost");
        QTest::addColumn<QString>("httpsHost");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("plain");
        QTest::addColumn<QString>("https");
        QTest::newRow("no port") << "update.test"
                                 << "secure.test"
                                 << ""
                                 << "http://update.test/dnslogin3.asp"
                                 << "https://secure.test/autoupdate/dnslogin3.asp";
        QTest::newRow("port") << "update.test"
                              << "secure.test"
                              << "8245"
                              << "http://update.test:8245/dnslogin3.asp"
                              << "https://secure.test/autoupdate/dnslogin3.asp";
        QTest::newRow("port in the HTTPS host")
            << "127.0.0.1"
            << "127.0.0.1:8443"
            << "80"
            << "http://127.0.0.1:80/dnslogin3.asp"
            << "https://127.0.0.1:8443/autoupdate/dnslogin3.asp";
    }
    void endpoints()
    {
        QFETCH(QString, httpHost);
        QFETCH(QString, httpsHost);
        QFETCH(QString, port);
        QFETCH(QString, plain);
        QFETCH(QString, https);
        ServiceConfig config = ServiceConfig::Defaults();
        config.httpHost = httpHost;
        config.httpsHost = httpsHost;
        SetConfig(config);
        QCOMPARE(basDNS::PlainURL(port), plain);
        QCOMPARE(basDNS::HttpsURL(), https);
    }

    void buildRelayURL_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("targetAfter");
        QTest::newRow("port put before the path") << "example.test/page"
                                                  << "8080"
                                                  << "Http://example.test:8080/page"
                                                  << "Http://example.test/page";
        QTest::newRow("port not numeric") << "example.test/page"
                                          << "abc"
                                          << "Http://example.test/page"
                                          << "Http://example.test/page";
        QTest::newRow("empty port") << "example.test"
                                    << ""
                                    << "Http://example.test"
                                    << "Http://example.test";
        QTest::newRow("no path") << "example.test"
                                 << "81"
                                 << "Http://example.test:81"
                                 << "Http://example.test";
        QTest::newRow("scheme in any case kept") << "hTTp://a.test/x/y"
                                                 << "80"
                                                 << "hTTp://a.test:80/x/y"
                                                 << "hTTp://a.test/x/y";
        QTest::newRow("only the first slash counts") << "http://a.test/b/c:d"
                                                     << "8"
                                                     << "http://a.test:8/b/c:d"
                                                     << "http://a.test/b/c:d";
    }
    void buildRelayURL()
    {
        QFETCH(QString, target);
        QFETCH(QString, port);
        QFETCH(QString, result);
        QFETCH(QString, targetAfter);
        QCOMPARE(basDNS::BuildRelayURL(target, port), result);
        QCOMPARE(target, targetAfter);
    }

    void splitRelayURL_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("path");
        // Outputs start as "old", "99" and "/old".
        QTest::newRow("host, port and path") << "http://host:81/x"
                                             << "host"
                                             << "81"
                                             << "/x";
        QTest::newRow("port not numeric, path kept") << "host:abc"
                                                     << "host"
                                                     << ""
                                                     << "/old";
        QTest::newRow("scheme in any case") << "HtTp://host:8080"
                                            << "host"
                                            << "8080"
                                            << "/old";
        QTest::newRow("no port keeps the old one") << "host/a/b"
                                                   << "host"
                                                   << "99"
                                                   << "/a/b";
        QTest::newRow("host only") << "http://host"
                                   << "host"
                                   << "99"
                                   << "/old";
        QTest::newRow("colon in the path") << "host:81/a:b"
                                           << "host"
                                           << "81"
                                           << "/a:b";
        QTest::newRow("first colon wins, even after a slash") << "a/b:81/c"
                                                              << "a/b"
                                                              << "81"
                                                              << "/c";
        QTest::newRow("built relay taken apart") << "Http://203.0.113.7:8080/shop"
                                                 << "203.0.113.7"
                                                 << "8080"
                                                 << "/shop";
    }
    void splitRelayURL()
    {
        QFETCH(QString, target);
        QString host = QStringLiteral("old");
        QString port = QStringLiteral("99");
        QString path = QStringLiteral("/old");
        basDNS::SplitRelayURL(target, host, port, path);
        QTEST(host, "host");
        QTEST(port, "port");
        QTEST(path, "path");
    }

    void updateAutoIpEntry_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("command");
        QTest::addColumn<bool>("autoIP");
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("expected");
        const QString entry = QStringLiteral("EXAMPLE.NET;;A;;WWW;;10.0.0.1~~");
        const QString other = QStringLiteral("foo.org;;A;;@;;1.1.1.1~~");
        QTest::newRow("add to an empty list") << ""
                                              << "RECORDADD" << true << "www" << entry;
        QTest::newRow("fields trimmed") << ""
                                        << "RECORDADD" << true << "  www  " << entry;
        QTest::newRow("command word in any case") << ""
                                                  << "RecordAdd" << true << "www" << entry;
        QTest::newRow("add keeps earlier entries as they were")
            << other << "RECORDADD" << true << "www" << other + entry;
        QTest::newRow("add when present in another case") << "example.net;;a;;www;;10.0.0.1~~"
                                                          << "RECORDADD" << true << "www"
                                                          << "example.net;;a;;www;;10.0.0.1~~";
        QTest::newRow("add without AutoIP changes nothing")
            << other + entry << "RECORDADD" << false << "www" << other + entry;
        QTest::newRow("delete upper-cases the whole list")
            << other + QStringLiteral("example.net;;A;;www;;10.0.0.1~~") << "RECORDDELETE" << false
            << "www"
            << "FOO.ORG;;A;;@;;1.1.1.1~~";
        QTest::newRow("delete removes every occurrence")
            << entry + other + entry << "RECORDDELETE" << true << "www"
            << "FOO.ORG;;A;;@;;1.1.1.1~~";
        QTest::newRow("delete of an absent entry changes nothing")
            << other << "RECORDDELETE" << true << "www" << other;
        QTest::newRow("other host is another entry")
            << other + entry << "RECORDDELETE" << true << "ftp" << other + entry;
        QTest::newRow("unknown command changes nothing")
            << other << "RECORDCHANGE" << true << "www" << other;
    }
    void updateAutoIpEntry()
    {
        QFETCH(QString, list);
        QFETCH(QString, command);
        QFETCH(bool, autoIP);
        QFETCH(QString, host);
        Program::sAutoIPList = list;
        basDNS::UpdateAutoIpEntry(QStringLiteral(" example.net"), host, command,
                                  QStringLiteral("a"), QStringLiteral("10.0.0.1 "), autoIP);
        QTEST(Program::sAutoIPList, "expected");
    }
};

QTEST_GUILESS_MAIN(TestBasDNS)
#include "tst_basdns.moc"
