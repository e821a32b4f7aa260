#include "ServiceConfig.h"

#include "TextRules.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>

namespace {

const QString FileName = QStringLiteral("veltrio.conf");

// A key of the [Service] section as text. QSettings reads an unquoted value
// with a comma in it as a list; such a value is put back together, so a
// path or host with a comma is not lost.
QString readKey(QSettings &settings, const QString &key)
{
    const QVariant value = settings.value(key);
    if (value.typeId() == QMetaType::QStringList)
        return TextRules::Trim(value.toStringList().join(QLatin1Char(',')));
    return TextRules::Trim(value.toString());
}

// Keeps the default when the file leaves the key out or empty.
void take(QSettings &settings, const QString &key, QString &field)
{
    const QString value = readKey(settings, key);
    if (!value.isEmpty())
        field = value;
}

ServiceConfig &current()
{
    static ServiceConfig config = ServiceConfig::Defaults();
    return config;
}

} // namespace

ServiceConfig ServiceConfig::Defaults()
{
    // Placeholders under a reserved domain: a client without a configuration
    // file talks to nobody by accident.
    ServiceConfig config;
    config.httpHost = QStringLiteral("update.veltrio.example");
    config.httpsHost = QStringLiteral("secure.veltrio.example");
    config.webSite = QStringLiteral("www.veltrio.example");
    config.supportHost = QStringLiteral("support.veltrio.example");
    config.defaultServerAddress = QStringLiteral("192.0.2.1");
    return config;
}

ServiceConfig ServiceConfig::Load(const QString &file)
{
    ServiceConfig config = Defaults();
    if (file.isEmpty() || !QFileInfo(file).isFile())
        return config;

    QSettings settings(file, QSettings::IniFormat);
    settings.beginGroup(QStringLiteral("Service"));
    take(settings, QStringLiteral("HttpHost"), config.httpHost);
    take(settings, QStringLiteral("HttpsHost"), config.httpsHost);
    take(settings, QStringLiteral("WebSite"), config.webSite);
    take(settings, QStringLiteral("SupportHost"), config.supportHost);
    take(settings, QStringLiteral("DefaultServerAddress"), config.defaultServerAddress);
    take(settings, QStringLiteral("CaCertificates"), config.caCertificates);
    // A whole number of seconds from 1 to 600; anything else keeps 60.
    bool number = false;
    const int timeout = readKey(settings, QStringLiteral("Timeout")).toInt(&number);
    if (number && timeout >= 1 && timeout <= 600)
        config.timeoutSeconds = timeout;
    settings.endGroup();

    if (!config.caCertificates.isEmpty() && QDir::isRelativePath(config.caCertificates))
        config.caCertificates = QFileInfo(file).absoluteDir().filePath(config.caCertificates);
    return config;
}

QString ServiceConfig::DefaultFile()
{
    const QStringList folders = {
        QCoreApplication::applicationDirPath(),
        QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation),
    };
    for (const QString &folder : folders) {
        if (folder.isEmpty())
            continue;
        const QString candidate = QDir(folder).filePath(FileName);
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return QString();
}

QUrl ServiceConfig::WebSitePage(const QString &path) const
{
    return QUrl(QStringLiteral("http://") + webSite + path);
}

QUrl ServiceConfig::SupportPage(const QString &path) const
{
    return QUrl(QStringLiteral("http://") + supportHost + path);
}

QUrl ServiceConfig::HttpsHostPage(const QString &path) const
{
    return QUrl(QStringLiteral("https://") + httpsHost + path);
}

const ServiceConfig &Config()
{
    return current();
}

void SetConfig(const ServiceConfig &config)
{
    current() = config;
}
