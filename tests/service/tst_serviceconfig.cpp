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
        QTest::addColumn<QString>("caFile"); // relative: to the file's folder
        const ServiceConfig d = ServiceConfig::Defaults();
        QTest::newRow("ports in hosts, absolute CA path")
            << QByteArray("[Service]\nHttpHost=127.0.0.1\nHttpsHost=127.0.0.1:8443\n"
                          "CaCertificates=/etc/ca.pem\n")
            << "127.0.0.1"
            << "127.0.0.1:8443"
            << "/etc/ca.pem";
        QTest::newRow("missing or empty keys keep the defaults")
            << QByteArray("[Service]\nHttpsHost=  \nCaCertificates=\n") << d.httpHost << d.httpsHost
            << "";
        QTest::newRow("relative CA path") << QByteArray("[Service]\nCaCertificates=certs/ca.pem\n")
                                          << d.httpHost << d.httpsHost << "certs/ca.pem";
        QTest::newRow("another section")
            << QByteArray("[Other]\nHttpHost=no.test\n") << d.httpHost << d.httpsHost << "";
        QTest::newRow("not an INI file")
            << QByteArray("\x01\x02=\n[[[\n") << d.httpHost << d.httpsHost << "";
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
        QCOMPARE(config.webSite, ServiceConfig::Defaults().webSite);
        if (!caFile.isEmpty() && QDir::isRelativePath(caFile))
            caFile = tmp.filePath(caFile);
        QCOMPARE(QDir::cleanPath(config.caCertificates), QDir::cleanPath(caFile));
    }

    void load_missingFile_givesDefaults()
    {
        const ServiceConfig config =
            ServiceConfig::Load(QStringLiteral("/nonexistent/veltrio.conf"));
        QCOMPARE(config.httpHost, ServiceConfig::Defaults().httpHost);
        QVERIFY(config.caCertificates.isEmpty());
    }

    void defaultFile_besideProgramBeforeConfigFolder()
    {
        const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
        QVERIFY(QDir().mkpath(folder));
        const QString inConfig = QDir(folder).filePath(QStringLiteral("veltrio.conf"));
        const QString beside =
            QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("veltrio.conf"));
        QVERIFY(!QFile::exists(beside));
        QFile::remove(inConfig);
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
};

QTEST_GUILESS_MAIN(TestServiceConfig)
#include "tst_serviceconfig.moc"
