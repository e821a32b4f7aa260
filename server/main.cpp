// veltrio-service: a local implementation of the Veltrio service, for the
// demo and the integration tests. Serves the accounts of a JSON file over
// HTTP and, with a certificate, HTTPS; keeps their records in a state file.

#include "AccountBook.h"
#include "DnsScript.h"
#include "ServiceHttp.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>
#include <cstdio>
#include <optional>

namespace {

struct Endpoint
{
    QHostAddress address;
    quint16 port = 0;
};

// "ADDR:PORT", with an IPv6 address in brackets ("[::1]:8080").
std::optional<Endpoint> parseEndpoint(const QString &text)
{
    const qsizetype colon = text.lastIndexOf(u':');
    if (colon <= 0)
        return std::nullopt;
    QString host = text.left(colon);
    if (host.startsWith(u'[') && host.endsWith(u']'))
        host = host.mid(1, host.size() - 2);
    bool ok = false;
    const uint port = text.mid(colon + 1).toUInt(&ok);
    Endpoint endpoint{QHostAddress(host), quint16(port)};
    if (!ok || port > 65535 || endpoint.address.isNull())
        return std::nullopt;
    return endpoint;
}

QString endpointText(const QHostAddress &address, quint16 port)
{
    const QString host = address.protocol() == QAbstractSocket::IPv6Protocol
                             ? u'[' + address.toString() + u']'
                             : address.toString();
    return host + u':' + QString::number(port);
}

[[noreturn]] void quit(const QString &message)
{
    std::fprintf(stderr, "veltrio-service: %s\n", qPrintable(message));
    std::exit(1);
}

QSslConfiguration tlsConfiguration(const QString &certFile, const QString &keyFile)
{
    if (!QSslSocket::supportsSsl())
        quit(QStringLiteral("this Qt has no TLS support"));
    QFile cert(certFile);
    QFile key(keyFile);
    if (!cert.open(QIODevice::ReadOnly))
        quit(
            QStringLiteral("cannot read the certificate %1: %2").arg(certFile, cert.errorString()));
    if (!key.open(QIODevice::ReadOnly))
        quit(QStringLiteral("cannot read the key %1: %2").arg(keyFile, key.errorString()));
    const QList<QSslCertificate> chain = QSslCertificate::fromData(cert.readAll(), QSsl::Pem);
    const QByteArray keyPem = key.readAll();
    QSslKey privateKey(keyPem, QSsl::Rsa, QSsl::Pem);
    if (privateKey.isNull())
        privateKey = QSslKey(keyPem, QSsl::Ec, QSsl::Pem);
    if (chain.isEmpty())
        quit(QStringLiteral("%1 holds no PEM certificate").arg(certFile));
    if (privateKey.isNull())
        quit(QStringLiteral("%1 holds no PEM private key (RSA or EC, unencrypted)").arg(keyFile));

    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    tls.setLocalCertificateChain(chain);
    tls.setPrivateKey(privateKey);
    return tls;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("veltrio-service"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Local Veltrio dynamic DNS service for demos and tests."));
    parser.addHelpOption();
    const QCommandLineOption listenOption(
        QStringLiteral("listen"),
        QStringLiteral("Plain-HTTP listener (default 127.0.0.1:8080; port 0 picks a free port)."),
        QStringLiteral("ADDR:PORT"), QStringLiteral("127.0.0.1:8080"));
    const QCommandLineOption tlsListenOption(
        QStringLiteral("tls-listen"), QStringLiteral("HTTPS listener; needs --cert and --key."),
        QStringLiteral("ADDR:PORT"));
    const QCommandLineOption certOption(QStringLiteral("cert"),
                                        QStringLiteral("Server certificate (PEM, chain allowed)."),
                                        QStringLiteral("FILE"));
    const QCommandLineOption keyOption(QStringLiteral("key"),
                                       QStringLiteral("Private key of the certificate (PEM)."),
                                       QStringLiteral("FILE"));
    const QCommandLineOption accountsOption(QStringLiteral("accounts"),
                                            QStringLiteral("Accounts file (JSON); required."),
                                            QStringLiteral("FILE"));
    const QCommandLineOption stateOption(
        QStringLiteral("state"),
        QStringLiteral("Where the records are kept (default: <accounts>.state.json beside the "
                       "accounts file)."),
        QStringLiteral("FILE"));
    const QCommandLineOption publicIpOption(
        QStringLiteral("public-ip"),
        QStringLiteral("Report this address to every caller instead of the caller's own."),
        QStringLiteral("ADDR"));
    parser.addOptions({listenOption, tlsListenOption, certOption, keyOption, accountsOption,
                       stateOption, publicIpOption});
    parser.process(app);

    if (!parser.positionalArguments().isEmpty())
        quit(QStringLiteral("unexpected argument %1 (see --help)")
                 .arg(parser.positionalArguments().constFirst()));
    if (!parser.isSet(accountsOption))
        quit(QStringLiteral("--accounts FILE is required (see --help)"));
    const auto plain = parseEndpoint(parser.value(listenOption));
    if (!plain)
        quit(QStringLiteral("--listen wants ADDR:PORT, not %1").arg(parser.value(listenOption)));
    std::optional<Endpoint> secure;
    std::optional<QSslConfiguration> tls;
    if (parser.isSet(tlsListenOption)) {
        secure = parseEndpoint(parser.value(tlsListenOption));
        if (!secure)
            quit(QStringLiteral("--tls-listen wants ADDR:PORT, not %1")
                     .arg(parser.value(tlsListenOption)));
        if (!parser.isSet(certOption) || !parser.isSet(keyOption))
            quit(QStringLiteral("--tls-listen needs --cert FILE and --key FILE"));
        tls = tlsConfiguration(parser.value(certOption), parser.value(keyOption));
    }

    const QString accountsFile = parser.value(accountsOption);
    const QString stateFile = parser.isSet(stateOption)
                                  ? parser.value(stateOption)
                                  : AccountBook::defaultStateFile(accountsFile);
    AccountBook book;
    QString error;
    if (!book.load(accountsFile, stateFile, &error))
        quit(error);

    DnsScript script(book);
    if (parser.isSet(publicIpOption) && !script.setPublicAddress(parser.value(publicIpOption)))
        quit(QStringLiteral("--public-ip wants a dotted IPv4 address, not %1")
                 .arg(parser.value(publicIpOption)));

    ServiceHttp http(script);
    const quint16 httpPort = http.listen(plain->address, plain->port);
    if (httpPort == 0)
        quit(QStringLiteral("cannot listen on %1").arg(parser.value(listenOption)));
    std::printf("listening http %s\n", qPrintable(endpointText(plain->address, httpPort)));
    if (secure) {
        const quint16 httpsPort = http.listen(secure->address, secure->port, tls);
        if (httpsPort == 0)
            quit(QStringLiteral("cannot listen on %1").arg(parser.value(tlsListenOption)));
        std::printf("listening https %s\n", qPrintable(endpointText(secure->address, httpsPort)));
    }
    std::fflush(stdout);
    return app.exec();
}
