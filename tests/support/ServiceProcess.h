#pragma once

#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <optional>

// Runs veltrio-service for one test: on 127.0.0.1 with free ports, on a
// temporary copy of the demo accounts, with its
// own state file and, when asked, HTTPS with a throw-away CA made by openssl.
//
//     ServiceProcess service;
//     QVERIFY2(service.start(ServiceProcess::WithTls), qPrintable(service.errorString()));
//     url = service.scriptUrl(true);        // trust service.caFile() for it
//
// stop() followed by start() restarts the service on the same files.
class ServiceProcess
{
public:
    enum Mode { HttpOnly, WithTls };

    ServiceProcess() = default;
    ~ServiceProcess() { stop(); }
    ServiceProcess(const ServiceProcess &) = delete;
    ServiceProcess &operator=(const ServiceProcess &) = delete;

    // Starts the service and waits until it listens; publicIp, when given, is
    // reported to every caller. On failure returns false, says why in a
    // warning and in errorString().
    bool start(Mode mode = HttpOnly, const QString &publicIp = QString())
    {
        const bool tls = mode == WithTls;
        stop();
        m_error.clear();
        const QString binary = qEnvironmentVariable("VELTRIO_SERVICE_BIN");
        if (binary.isEmpty() || !QFile::exists(binary))
            return failed(QStringLiteral("veltrio-service not found (VELTRIO_SERVICE_BIN=\"%1\"); "
                                         "build the veltrio-service target")
                              .arg(binary));
        if (!m_dir.isValid())
            return failed(QStringLiteral("no temporary folder: ") + m_dir.errorString());
        if (!QFile::exists(accountsFile()) && !copyDemoAccounts())
            return false;
        if (tls && !QFile::exists(caFile()) && !makeCertificates())
            return false;

        QStringList arguments{QStringLiteral("--accounts"), accountsFile(),
                              QStringLiteral("--state"),    stateFile(),
                              QStringLiteral("--listen"),   QStringLiteral("127.0.0.1:0")};
        if (tls)
            arguments << QStringLiteral("--tls-listen") << QStringLiteral("127.0.0.1:0")
                      << QStringLiteral("--cert") << m_dir.filePath(QStringLiteral("server.pem"))
                      << QStringLiteral("--key") << m_dir.filePath(QStringLiteral("server.key"));
        if (!publicIp.isEmpty())
            arguments << QStringLiteral("--public-ip") << publicIp;

        m_process.start(binary, arguments);
        if (!m_process.waitForStarted(10000))
            return failed(
                QStringLiteral("cannot start %1: %2").arg(binary, m_process.errorString()));
        const QDeadlineTimer deadline(15000);
        while ((m_httpPort == 0 || (tls && m_httpsPort == 0)) && !deadline.hasExpired()) {
            if (!m_process.canReadLine() && !m_process.waitForReadyRead(200)) {
                if (m_process.state() == QProcess::NotRunning)
                    break;
                continue;
            }
            while (m_process.canReadLine()) {
                const QStringList words =
                    QString::fromUtf8(m_process.readLine()).trimmed().split(u' ');
                if (words.size() == 3 && words[0] == QLatin1String("listening")) {
                    const quint16 port = words[2].section(u':', -1).toUShort();
                    (words[1] == QLatin1String("https") ? m_httpsPort : m_httpPort) = port;
                }
            }
        }
        if (m_httpPort == 0 || (tls && m_httpsPort == 0)) {
            const QString said = QString::fromUtf8(m_process.readAllStandardError()).trimmed();
            stop();
            return failed(QStringLiteral("veltrio-service did not start listening: ") +
                          (said.isEmpty() ? QStringLiteral("no message") : said));
        }
        return true;
    }

    void stop()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000)) {
                m_process.kill();
                m_process.waitForFinished(5000);
            }
        }
        m_httpPort = m_httpsPort = 0;
    }

    QString errorString() const { return m_error; }
    quint16 httpPort() const { return m_httpPort; }
    quint16 httpsPort() const { return m_httpsPort; }
    QString caFile() const { return m_dir.filePath(QStringLiteral("ca.pem")); }
    QString accountsFile() const { return m_dir.filePath(QStringLiteral("accounts.json")); }
    QString stateFile() const { return m_dir.filePath(QStringLiteral("state.json")); }

    // The script's URL at the plain-HTTP or the HTTPS endpoint.
    QUrl scriptUrl(bool https = false) const
    {
        return https ? QUrl(QStringLiteral("https://127.0.0.1:%1/autoupdate/dnslogin3.asp")
                                .arg(m_httpsPort))
                     : QUrl(QStringLiteral("http://127.0.0.1:%1/dnslogin3.asp").arg(m_httpPort));
    }

    // Makes the service report this address to every caller.
    bool setPublicIp(const QString &address)
    {
        return admin(QStringLiteral("/admin/public-ip?address=") + address).has_value();
    }

    // Makes the next protocol request get exactly this reply (and change
    // nothing at the service).
    // With match, the next request whose query holds it.
    bool setNextReply(const QString &reply, const QString &match = QString())
    {
        return admin(QStringLiteral("/admin/next-reply?match=") +
                         QString::fromLatin1(QUrl::toPercentEncoding(match)),
                     reply.toUtf8())
            .has_value();
    }

    // Makes the service answer the next protocol request after ms
    // milliseconds, or send its reply one byte every ms milliseconds.
    // With match, the next request whose query holds it.
    bool setNextDelay(int ms, const QString &match = QString())
    {
        return setNextFault(QStringLiteral("delay?ms=%1").arg(ms), match);
    }
    bool setNextTrickle(int ms) { return setNextFault(QStringLiteral("trickle?ms=%1").arg(ms)); }
    // Makes the next reply stop half-way, the connection closed.
    bool setNextDrop() { return setNextFault(QStringLiteral("drop")); }
    // Any fault of the service's admin requests ("close?acted=1",
    // "status?code=503", "delay?ms=500&acted=1", ...) for the request after
    // the first skip ones whose query holds match.
    bool setNextFault(const QString &fault, const QString &match = QString(), int skip = 0)
    {
        const QString separator = fault.contains(u'?') ? QStringLiteral("&") : QStringLiteral("?");
        return admin(QStringLiteral("/admin/next-") + fault + separator +
                     QStringLiteral("skip=%1&match=").arg(skip) +
                     QString::fromLatin1(QUrl::toPercentEncoding(match)))
            .has_value();
    }

    // Drops the fault still waiting.
    bool clearFault() { return admin(QStringLiteral("/admin/no-fault")).has_value(); }

    // The query texts of the protocol requests received so far, oldest first.
    QStringList requests()
    {
        return admin(QStringLiteral("/admin/requests"))
            .value_or(QString())
            .split(u'\n', Qt::SkipEmptyParts);
    }
    void clearRequests() { admin(QStringLiteral("/admin/requests?clear=1")); }

    // The state file as the service last wrote it; empty before any change.
    QJsonObject stateJson() const
    {
        QFile file(stateFile());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QJsonDocument::fromJson(file.readAll()).object();
    }

    // The user's records as the service holds them (its state file, or the
    // accounts file before the first change), each as
    // "domain;;type;;name;;address".
    QStringList stateRecords(const QString &user) const
    {
        QJsonArray list = stateJson()[QLatin1String("records")][user].toArray();
        if (!QFile::exists(stateFile())) {
            QFile file(accountsFile());
            if (file.open(QIODevice::ReadOnly)) {
                const QJsonArray accounts =
                    QJsonDocument::fromJson(file.readAll())[QLatin1String("accounts")].toArray();
                for (const QJsonValue account : accounts) {
                    if (account[QLatin1String("user")].toString() == user)
                        list = account[QLatin1String("records")].toArray();
                }
            }
        }
        QStringList records;
        for (const QJsonValue r : list)
            records << QStringList{r[QLatin1String("domain")].toString(),
                                   r[QLatin1String("type")].toString(),
                                   r[QLatin1String("name")].toString(),
                                   r[QLatin1String("address")].toString()}
                           .join(QLatin1String(";;"));
        return records;
    }

private:
    bool failed(const QString &message)
    {
        m_error = message;
        qWarning("ServiceProcess: %s", qPrintable(message));
        return false;
    }

    bool copyDemoAccounts()
    {
        const QString demo =
            qEnvironmentVariable("VELTRIO_SOURCE_DIR") + QStringLiteral("/demo/accounts.json");
        if (!QFile::copy(demo, accountsFile()))
            return failed(QStringLiteral("cannot copy %1 (is VELTRIO_SOURCE_DIR set?)").arg(demo));
        return true;
    }

    bool makeCertificates()
    {
        QFile ext(m_dir.filePath(QStringLiteral("san.ext")));
        if (!ext.open(QIODevice::WriteOnly) || ext.write("subjectAltName=IP:127.0.0.1\n") < 0)
            return failed(QStringLiteral("cannot write ") + ext.fileName());
        ext.close();
        // A CA, a key and request for 127.0.0.1, and the CA's signature on it.
        const QString key =
            QStringLiteral("-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes");
        const QStringList steps = {
            QStringLiteral("req -x509 %1 -days 2 -subj /CN=Veltrio-Test-CA -keyout ca.key "
                           "-out ca.pem")
                .arg(key),
            QStringLiteral("req %1 -subj /CN=127.0.0.1 -keyout server.key -out server.csr")
                .arg(key),
            QStringLiteral("x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial "
                           "-days 2 -extfile san.ext -out server.pem"),
        };
        for (const QString &step : steps) {
            QProcess openssl;
            openssl.setWorkingDirectory(m_dir.path());
            openssl.start(QStringLiteral("openssl"), step.split(u' '));
            if (!openssl.waitForFinished(30000) || openssl.exitStatus() != QProcess::NormalExit ||
                openssl.exitCode() != 0)
                return failed(QStringLiteral("openssl %1 failed: %2 %3")
                                  .arg(step.section(u' ', 0, 0), openssl.errorString(),
                                       QString::fromUtf8(openssl.readAllStandardError())));
        }
        return true;
    }

    // An admin request on the plain-HTTP listener; the reply body, or nullopt
    // (and a warning) when it failed.
    // With a body, the request is a POST of it.
    std::optional<QString> admin(const QString &pathAndQuery,
                                 const std::optional<QByteArray> &body = std::nullopt)
    {
        QNetworkAccessManager network;
        QNetworkRequest request(
            QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_httpPort) + pathAndQuery));
        request.setTransferTimeout(10000);
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("text/plain"));
        QNetworkReply *reply = body ? network.post(request, *body) : network.get(request);
        QEventLoop loop;
        QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec(); // the reply goes with the network manager
        if (reply->error() != QNetworkReply::NoError) {
            qWarning("ServiceProcess: %s: %s", qPrintable(pathAndQuery),
                     qPrintable(reply->errorString()));
            return std::nullopt;
        }
        return QString::fromUtf8(reply->readAll());
    }

    QTemporaryDir m_dir;
    QProcess m_process;
    quint16 m_httpPort = 0;
    quint16 m_httpsPort = 0;
    QString m_error;
};
