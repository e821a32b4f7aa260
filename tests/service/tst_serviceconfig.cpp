#include "ServiceConfig.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestServiceConfig : public QObject
{
    Q_OBJECT

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
            << u"127.0.0.1"_s << u"127.0.0.1:8443"_s << u"/etc/ca.pem"_s;
        QTest::newRow("empty keys, another section")
            << QByteArray("[Service]\nHttpsHost=  \nCaCertificates=\n[Other]\nHttpHost=no.test\n")
            << d.httpHost << d.httpsHost << QString();
        // Unquoted, QSettings reads "a,b" as a list.
        QTest::newRow("relative CA path with a comma")
            << QByteArray("[Service]\nCaCertificates=certs/a,b.pem\n") << d.httpHost << d.httpsHost
            << u"certs/a,b.pem"_s;
    }
    void load()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, caFile);
        QTemporaryDir tmp;
        const QString path = tmp.filePath(u"veltrio.conf"_s);
        QVERIFY(write(path, file));
        const ServiceConfig config = ServiceConfig::Load(path);
        QTEST(config.httpHost, "httpHost");
        QTEST(config.httpsHost, "httpsHost");
        if (!caFile.isEmpty() && QDir::isRelativePath(caFile))
            caFile = tmp.filePath(caFile);
        QCOMPARE(QDir::cleanPath(config.caCertificates), QDir::cleanPath(caFile));
    }
};

QTEST_GUILESS_MAIN(TestServiceConfig)
#include "tst_serviceconfig.moc"
