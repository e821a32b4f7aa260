#include "ServiceConfig.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class TestServiceConfig : public QObject
{
    Q_OBJECT

private:
    static bool write(const QString &path, const QByteArray &text)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void load_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("httpHost");
        QTest::addColumn<QString>("httpsHost");
        QTest::addColumn<QString>("webSite");
        QTest::addColumn<QString>("caFile"); // relative to the temporary folder; "" for none
        const ServiceConfig d = ServiceConfig::Defaults();
        QTest::newRow("all keys, ports in hosts")
            << QByteArray(
                   "[Service]\nHttpHost=127.0.0.1\nHttpsHost=127.0.0.1:8443\n"
                   "WebSite=127.0.0.1:8080\nSupportHost=s.test\nDefaultServerAddress=10.1.2.3\n"
                   "CaCertificates=/etc/ca.pem\n")
            << "127.0.0.1"
            << "127.0.0.1:8443"
            << "127.0.0.1:8080"
            << "/etc/ca.pem";
        QTest::newRow("missing keys keep the defaults")
            << QByteArray("[Service]\nHttpsHost=secure.test\n") << d.httpHost << "secure.test"
            << d.webSite << "";
        QTest::newRow("empty keys keep the defaults")
            << QByteArray("[Service]\nHttpHost=\nHttpsHost=  \nCaCertificates=\n") << d.httpHost
            << d.httpsHost << d.webSite << "";
        QTest::newRow("relative CA path beside the file")
            << QByteArray("[Service]\nCaCertificates=certs/ca.pem\n") << d.httpHost << d.httpsHost
            << d.webSite << "certs/ca.pem";
        QTest::newRow("another section is not read")
            << QByteArray("[Other]\nHttpHost=wrong.test\n") << d.httpHost << d.httpsHost
            << d.webSite << "";
        QTest::newRow("value with a comma kept whole")
            << QByteArray("[Service]\nWebSite=a,b.test\n") << d.httpHost << d.httpsHost
            << "a,b.test"
            << "";
        QTest::newRow("not an INI file") << QByteArray("\x01\x02garbage=\n[[[\n") << d.httpHost
                                         << d.httpsHost << d.webSite << "";
    }
    void load()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, caFile);
        QTemporaryDir tmp;
        const QString path = tmp.filePath(QStringLiteral("veltrio.conf"));
        QVERIFY(write(path, file));
        const ServiceConfig config = ServiceConfig::Load(path);
        QTEST(config.httpHost, "httpHost");
        QTEST(config.httpsHost, "httpsHost");
        QTEST(config.webSite, "webSite");
        if (caFile.isEmpty() || QDir::isAbsolutePath(caFile))
            QCOMPARE(config.caCertificates, caFile);
        else
            QCOMPARE(QDir::cleanPath(config.caCertificates), QDir::cleanPath(tmp.filePath(caFile)));
    }

    void load_missingFile_givesDefaults()
    {
        const ServiceConfig config =
            ServiceConfig::Load(QStringLiteral("/nonexistent/veltrio.conf"));
        const ServiceConfig d = ServiceConfig::Defaults();
        QCOMPARE(config.httpHost, d.httpHost);
        QCOMPARE(config.supportHost, d.supportHost);
        QCOMPARE(config.defaultServerAddress, d.defaultServerAddress);
        QVERIFY(config.caCertificates.isEmpty());
    }

    void defaultFile_besideProgramBeforeConfigFolder()
    {
        const QString configFolder =
            QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
        QVERIFY(QDir().mkpath(configFolder));
        const QString inConfig = QDir(configFolder).filePath(QStringLiteral("veltrio.conf"));
        const QString beside =
            QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("veltrio.conf"));
        QFile::remove(inConfig);
        QVERIFY(!QFile::exists(beside));
        auto cleanup = qScopeGuard([&] {
            QFile::remove(inConfig);
            QFile::remove(beside);
        });

        QCOMPARE(ServiceConfig::DefaultFile(), QString());
        QVERIFY(write(inConfig, "[Service]\n"));
        QCOMPARE(ServiceConfig::DefaultFile(), inConfig);
        QVERIFY(write(beside, "[Service]\n"));
        QCOMPARE(ServiceConfig::DefaultFile(), beside);
    }

    void pages()
    {
        ServiceConfig config = ServiceConfig::Defaults();
        config.webSite = QStringLiteral("127.0.0.1:8080");
        config.supportHost = QStringLiteral("support.test");
        config.httpsHost = QStringLiteral("secure.test:8443");
        QCOMPARE(config.WebSitePage(QStringLiteral("/register.asp")).toString(),
                 QStringLiteral("http://127.0.0.1:8080/register.asp"));
        QCOMPARE(config.SupportPage(QStringLiteral("/help")).toString(),
                 QStringLiteral("http://support.test/help"));
        QCOMPARE(config.HttpsHostPage(QStringLiteral("/terms.asp")).toString(),
                 QStringLiteral("https://secure.test:8443/terms.asp"));
    }

    void setConfig_isWhatConfigReturns()
    {
        ServiceConfig config = ServiceConfig::Defaults();
        config.httpHost = QStringLiteral("changed.test");
        SetConfig(config);
        QCOMPARE(Config().httpHost, QStringLiteral("changed.test"));
        SetConfig(ServiceConfig::Defaults());
        QCOMPARE(Config().httpHost, ServiceConfig::Defaults().httpHost);
    }
};

QTEST_GUILESS_MAIN(TestServiceConfig)
#include "tst_serviceconfig.moc"
