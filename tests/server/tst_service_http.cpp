#include "ServiceProcess.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QSslConfiguration>
#include <QTest>

// veltrio-service as the client meets it: a real process, real HTTP and
// HTTPS with certificate checks on, the bundled demo accounts.
class TestServiceHttp : public QObject
{
    Q_OBJECT

    ServiceProcess service;

    // GETs the script with the query appended as the client does (unescaped);
    // the body, or the error text prefixed with "error:".
    QString ask(const QString &query, bool https = false, bool trustCa = true)
    {
        QNetworkAccessManager network;
        QNetworkRequest request(QUrl(service.scriptUrl(https).toString() + query));
        request.setTransferTimeout(20000);
        if (trustCa) {
            QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
            tls.addCaCertificates(service.caFile());
            request.setSslConfiguration(tls);
        }
        QNetworkReply *reply = network.get(request);
        QSignalSpy finished(reply, &QNetworkReply::finished);
        if (!finished.wait(30000))
            return QStringLiteral("error:no reply");
        if (reply->error() != QNetworkReply::NoError)
            return QStringLiteral("error:") + reply->errorString();
        return QString::fromUtf8(reply->readAll());
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(service.start(ServiceProcess::WithTls), qPrintable(service.errorString()));
    }

    void login_data()
    {
        QTest::addColumn<bool>("https");
        QTest::newRow("plain HTTP endpoint") << false;
        QTest::newRow("HTTPS endpoint") << true;
    }
    void login()
    {
        QFETCH(bool, https);
        QCOMPARE(
            ask(QStringLiteral("?fxn=login&usr=demo&pwd=demo"), https),
            QStringLiteral("DNS LOGIN:SUCCESS</p>FirstName:Dana</p>LastName:Demo</p>"
                           "Domains:</p>SubDomain:dyn.veltrio.test</p>RecordTypes:A,CNAME,MX</p>"
                           "ExpirationDate:12/31/2030</p>IPAddress:127.0.0.1</p>"
                           "DomainUserRecords:dyn.veltrio.test;;A;;demo;;192.0.2.1</p>"
                           "UserLevel:1</p>"));
    }

    void https_withoutTrustedCa_isRefused()
    {
        const QString reply = ask(QStringLiteral("?fxn=login&usr=demo&pwd=demo"), true, false);
        QVERIFY2(reply.startsWith(QLatin1String("error:SSL handshake failed")), qPrintable(reply));
    }

    void publicIp_changesWhatGetIPAddressReports()
    {
        const QString query = QStringLiteral("?FXN=GetIPAddress&Usr=acme");
        QVERIFY(ask(query).contains(QLatin1String("IPAddress:127.0.0.1</p>")));
        QVERIFY(service.setPublicIp(QStringLiteral("203.0.113.99")));
        QVERIFY(
            ask(query, true).startsWith(QLatin1String("SUCCESS</p>IPAddress:203.0.113.99</p>")));
        QVERIFY(!service.setPublicIp(QStringLiteral("not-an-address")));
        QVERIFY(service.setPublicIp(QString()));
        QVERIFY(ask(query).contains(QLatin1String("IPAddress:127.0.0.1</p>")));
    }

    void requests_listWhatTheClientSent()
    {
        service.clearRequests();
        ask(QStringLiteral("?FXN=GetIPAddress&Usr=a b"));
        ask(QStringLiteral("?fxn=login&usr=acme&pwd=x"), true);
        QCOMPARE(service.requests(), QStringList({QStringLiteral("FXN=GetIPAddress&Usr=a%20b"),
                                                  QStringLiteral("fxn=login&usr=acme&pwd=x")}));
    }

    void records_surviveRestart()
    {
        const QString add =
            QStringLiteral("?FXN=DNSTickler&Usr=acme&Pwd=acme&Cname=ftp&Domain=acme.test"
                           "&DNSCommand=RECORDADD&RecordType=A&IPAddress=198.51.100.30");
        QVERIFY(ask(add, true).startsWith(QLatin1String("SUCCESS</p>")));
        QVERIFY(QJsonDocument(service.stateJson()).toJson().contains("198.51.100.30"));

        service.stop();
        QVERIFY2(service.start(ServiceProcess::WithTls), qPrintable(service.errorString()));
        QVERIFY(ask(QStringLiteral("?FXN=GetIPAddress&Usr=acme"))
                    .contains(QLatin1String("~~acme.test;;A;;ftp;;198.51.100.30</p>")));
    }
};

QTEST_GUILESS_MAIN(TestServiceHttp)
#include "tst_service_http.moc"
