#include "Transport.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QSslCertificate>
#include <QSslConfiguration>

Q_LOGGING_CATEGORY(lcTransport, "veltrio.transport", QtWarningMsg)

namespace Transport {
namespace {

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The manager lives as long as the application object; it is made again if a
// new application object follows (tests). It goes at the start of the
// application object's destruction, while its network thread can still
// close TLS connections cleanly.
QNetworkAccessManager *manager()
{
    static QPointer<QNetworkAccessManager> instance;
    if (!instance) {
        // The platform's proxy settings (http_proxy and the like), as any
        // other program of the desktop uses them.
        QNetworkProxyFactory::setUseSystemConfiguration(true);
        instance = new QNetworkAccessManager(QCoreApplication::instance());
        qAddPostRoutine([] { delete instance.data(); });
    }
    return instance;
}

// The TLS settings for one extra CA file, built once per file name. The
// system's CAs stay trusted beside the file's.
const QSslConfiguration &sslConfiguration(const QString &caFile)
{
    static QString builtFor;
    static QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    static bool built = false;
    if (built && builtFor == caFile)
        return configuration;

    configuration = QSslConfiguration::defaultConfiguration();
    if (!caFile.isEmpty()) {
        configuration.addCaCertificates(QSslConfiguration::systemCaCertificates());
        if (!configuration.addCaCertificates(caFile, QSsl::Pem))
            qCWarning(lcTransport) << "no CA certificates could be read from" << caFile;
    }
    // A connection kept open from before was verified against the old CAs.
    if (built)
        manager()->clearConnectionCache();
    builtFor = caFile;
    built = true;
    return configuration;
}

// The empty body of a request that must not be repeated. Qt sends a request
// again by itself when the server closes the connection before the reply
// starts, whatever its verb, but first rewinds its body; this one cannot be
// rewound, so Qt reports the request failed instead. On the wire it is a
// plain GET with "Content-Length: 0".
class OnceOnlyBody : public QIODevice
{
public:
    explicit OnceOnlyBody(QObject *parent) : QIODevice(parent) { open(QIODevice::ReadOnly); }
    bool isSequential() const override { return true; }
    bool reset() override { return false; }
    qint64 bytesAvailable() const override { return 0; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64) override { return -1; }
};

} // namespace

QUrl RequestUrl(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    QByteArray encoded;
    encoded.reserve(bytes.size() + 16);
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char c = bytes.at(i);
        const auto u = static_cast<unsigned char>(c);
        const bool escapeStart = c == '%' && i + 2 < bytes.size() && isHexDigit(bytes.at(i + 1)) &&
                                 isHexDigit(bytes.at(i + 2));
        if (u <= 0x20 || u >= 0x7F || c == '#' || (c == '%' && !escapeStart)) {
            encoded += '%';
            encoded += QByteArray::number(u, 16).rightJustified(2, '0').toUpper();
        } else {
            encoded += c;
        }
    }
    // Tolerant parsing keeps the rest as it is, apart from the characters
    // that no URL carries raw.
    return QUrl::fromEncoded(encoded, QUrl::TolerantMode);
}

QNetworkReply *StartGet(const QUrl &url, const QString &caFile, Delivery delivery)
{
    if (!QCoreApplication::instance() || !url.isValid())
        return nullptr;
    QNetworkRequest request(url);
    if (url.scheme().compare(QLatin1String("https"), Qt::CaseInsensitive) == 0)
        request.setSslConfiguration(sslConfiguration(caFile));
    if (delivery == Delivery::MayRepeat)
        return manager()->get(request);
    request.setHeader(QNetworkRequest::ContentLengthHeader, 0);
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    auto *body = new OnceOnlyBody(nullptr);
    QNetworkReply *reply = manager()->sendCustomRequest(request, QByteArrayLiteral("GET"), body);
    body->setParent(reply);
    return reply;
}

QString Body(QNetworkReply *reply)
{
    if (reply->error() == QNetworkReply::NoError) {
        // The address query of an account where nothing changed brings the
        // same large reply every time: it is decoded once, and the same
        // string handed on (which tells the reader that nothing changed
        // without reading it again).
        static QByteArray lastBytes;
        static QString lastText;
        const QByteArray bytes = reply->readAll();
        constexpr qsizetype kWorthKeeping = 64 * 1024;
        if (bytes.size() < kWorthKeeping)
            return QString::fromUtf8(bytes);
        if (bytes != lastBytes) {
            lastText = QString::fromUtf8(bytes);
            lastBytes = bytes;
        }
        return lastText;
    }
    // The query is left out: it carries the password.
    qCInfo(lcTransport) << "request to" << reply->url().adjusted(QUrl::RemoveQuery).toString()
                        << "failed:" << reply->errorString();
    return QString();
}

} // namespace Transport
