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
#include <QThread>
#include <QUrl>
#include <optional>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

// A program the tests run beside them (veltrio-service, openssl) in a folder
// of its own: a child of the test or, when VELTRIO_SERVICE_KEEPER names a
// folder, run by the keeper of scripts/windows, since a Windows test under
// Wine cannot start a Linux program. The request is the file "run" (program
// and arguments, one a line; "stop" and "kill" end it); the keeper leaves
// "pid", "stdout", "stderr" and "exit" (the exit code) beside it.
class HelperProcess
{
public:
    HelperProcess() = default;
    ~HelperProcess() { stop(); }
    HelperProcess(const HelperProcess &) = delete;
    HelperProcess &operator=(const HelperProcess &) = delete;

    // Empty when the programs are children.
    static QString keeperFolder() { return qEnvironmentVariable("VELTRIO_SERVICE_KEEPER"); }

    // Whether this is a Windows program running under Wine.
    static bool underWine()
    {
#ifdef Q_OS_WIN
        const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
        return ntdll && GetProcAddress(ntdll, "wine_get_version");
#else
        return false;
#endif
    }

    // False, with errorString(), when the program did not start.
    bool start(const QString &folder, const QString &program, const QStringList &arguments)
    {
        stop();
        m_folder = QDir(folder);
        m_kept = !keeperFolder().isEmpty();
        m_read = 0;
        if (!m_kept) {
            m_process.setWorkingDirectory(folder);
            m_process.start(program, arguments);
            const bool started = m_process.waitForStarted(10000);
            m_error = m_process.errorString();
            return started;
        }
        for (const char *name : {"stdout", "stderr", "pid", "exit"})
            QFile::remove(file(name));
        // Written aside and renamed, so that the keeper never reads half of it.
        QFile request(file("run.part"));
        const QByteArray text = (QStringList{program} + arguments).join(u'\n').toUtf8() + '\n';
        if (!request.open(QIODevice::WriteOnly) || request.write(text) != text.size()) {
            m_error = QStringLiteral("cannot write ") + request.fileName();
            return false;
        }
        request.close();
        m_error = QStringLiteral("the keeper in %1 did not start %2 (does it run?)")
                      .arg(keeperFolder(), program);
        return QFile::rename(request.fileName(), file("run")) &&
               waitFor([this] { return QFile::exists(file("pid")) || QFile::exists(file("exit")); },
                       10000);
    }

    bool running()
    {
        if (!m_kept)
            return m_process.state() != QProcess::NotRunning;
        return QFile::exists(file("pid")) && !QFile::exists(file("exit"));
    }

    // The next whole line of standard output, waiting up to ms for it.
    std::optional<QByteArray> readLine(int ms)
    {
        if (!m_kept) {
            if (!m_process.canReadLine())
                m_process.waitForReadyRead(ms);
            return m_process.canReadLine() ? std::optional(m_process.readLine()) : std::nullopt;
        }
        QByteArray line;
        const auto whole = [&] {
            QFile out(file("stdout"));
            if (out.open(QIODevice::ReadOnly) && out.seek(m_read))
                line = out.readLine();
            return line.endsWith('\n');
        };
        if (!waitFor(whole, ms))
            return std::nullopt;
        m_read += line.size();
        return line;
    }

    QByteArray readAllStandardError()
    {
        if (!m_kept)
            return m_process.readAllStandardError();
        QFile err(file("stderr"));
        return err.open(QIODevice::ReadOnly) ? err.readAll() : QByteArray();
    }

    // The exit code; nullopt when it did not end within ms, or ended by a
    // signal or a crash.
    std::optional<int> waitForExit(int ms)
    {
        if (!m_kept) {
            if (!m_process.waitForFinished(ms) || m_process.exitStatus() != QProcess::NormalExit)
                return std::nullopt;
            return m_process.exitCode();
        }
        QFile exit(file("exit"));
        if (!waitFor([&] { return exit.exists(); }, ms) || !exit.open(QIODevice::ReadOnly))
            return std::nullopt;
        bool number = false;
        const int code = exit.readAll().trimmed().toInt(&number);
        if (!number || code >= 128) // the shell's 128 + the signal's number
            return std::nullopt;
        return code;
    }

    // SIGTERM, then a kill when it has not ended within 5 s.
    void stop()
    {
        if (!running())
            return;
        if (!m_kept) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000)) {
                m_process.kill();
                m_process.waitForFinished(5000);
            }
            return;
        }
        for (const char *request : {"stop", "kill"}) {
            QFile(file(request)).open(QIODevice::WriteOnly);
            if (waitFor([this] { return QFile::exists(file("exit")); }, 5000))
                return;
        }
    }

    QString errorString() const
    {
        return m_error;
    }

private:
    QString file(const char *name) const
    {
        return m_folder.filePath(QLatin1String(name));
    }

    // Polls without running the test's event loop, as QProcess's waits do.
    template <typename Done> static bool waitFor(Done done, int ms)
    {
        const QDeadlineTimer deadline(ms);
        while (!done()) {
            if (deadline.hasExpired())
                return false;
            QThread::msleep(20);
        }
        return true;
    }

    QDir m_folder;
    bool m_kept = false;
    QProcess m_process;
    qint64 m_read = 0; // of its standard output
    QString m_error;
};

// veltrio-service for one test, on 127.0.0.1 with free ports, on a copy of the
// demo accounts with a state file of its own and, WithTls, HTTPS with a
// throw-away CA (caFile()). stop() and start() again keep its files.
class ServiceProcess
{
public:
    enum Mode { HttpOnly, WithTls };

    ServiceProcess() = default;
    ~ServiceProcess() { stop(); }
    ServiceProcess(const ServiceProcess &) = delete;
    ServiceProcess &operator=(const ServiceProcess &) = delete;

    // Starts it and waits until it listens; publicIp, when given, is reported
    // to every caller. On failure says why in a warning and in errorString().
    bool start(Mode mode = HttpOnly, const QString &publicIp = QString())
    {
        const bool tls = mode == WithTls;
        stop();
        m_error.clear();
        const bool kept = !HelperProcess::keeperFolder().isEmpty(); // it knows where the service is
        const QString binary =
            kept ? QStringLiteral("veltrio-service") : qEnvironmentVariable("VELTRIO_SERVICE_BIN");
        if (!kept && (binary.isEmpty() || !QFile::exists(binary)))
            return failed(QStringLiteral("veltrio-service not found (VELTRIO_SERVICE_BIN=\"%1\"); "
                                         "build the veltrio-service target")
                              .arg(binary));
        if (!m_dir.isValid())
            return failed(QStringLiteral("no temporary folder: ") + m_dir.errorString());
        const QString demo =
            qEnvironmentVariable("VELTRIO_SOURCE_DIR") + QStringLiteral("/demo/accounts.json");
        if (!QFile::exists(accountsFile()) && !QFile::copy(demo, accountsFile()))
            return failed(QStringLiteral("cannot copy %1 (is VELTRIO_SOURCE_DIR set?)").arg(demo));
        if (tls && !QFile::exists(caFile()) && !makeCertificates())
            return false;

        // Its files by name: it runs in their folder.
        QStringList arguments = QStringLiteral("--accounts accounts.json --state state.json "
                                               "--listen 127.0.0.1:0")
                                    .split(u' ');
        if (tls)
            arguments << QStringLiteral(
                             "--tls-listen 127.0.0.1:0 --cert server.pem --key server.key")
                             .split(u' ');
        if (!publicIp.isEmpty())
            arguments << QStringLiteral("--public-ip") << publicIp;
        if (!m_process.start(m_dir.path(), binary, arguments))
            return failed(
                QStringLiteral("cannot start %1: %2").arg(binary, m_process.errorString()));

        // It says "listening http 127.0.0.1:PORT", and so for https.
        const QDeadlineTimer deadline(15000);
        while ((m_httpPort == 0 || (tls && m_httpsPort == 0)) && !deadline.hasExpired()) {
            const std::optional<QByteArray> line = m_process.readLine(200);
            if (!line && !m_process.running())
                break;
            const QStringList words = QString::fromUtf8(line.value_or("")).trimmed().split(u' ');
            if (words.size() == 3 && words[0] == QLatin1String("listening"))
                (words[1] == QLatin1String("https") ? m_httpsPort : m_httpPort) =
                    words[2].section(u':', -1).toUShort();
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
        m_process.stop();
        m_httpPort = m_httpsPort = 0;
    }

    QString errorString() const { return m_error; }
    quint16 httpPort() const { return m_httpPort; }
    quint16 httpsPort() const { return m_httpsPort; }
    QString caFile() const { return m_dir.filePath(QStringLiteral("ca.pem")); }
    QString accountsFile() const { return m_dir.filePath(QStringLiteral("accounts.json")); }
    QString stateFile() const { return m_dir.filePath(QStringLiteral("state.json")); }

    QUrl scriptUrl(bool https = false) const
    {
        return https ? QUrl(QStringLiteral("https://127.0.0.1:%1/autoupdate/dnslogin3.asp")
                                .arg(m_httpsPort))
                     : QUrl(QStringLiteral("http://127.0.0.1:%1/dnslogin3.asp").arg(m_httpPort));
    }

    // The admin requests. The address reported to every caller:
    bool setPublicIp(const QString &address)
    {
        return admin(QStringLiteral("/admin/public-ip?address=") + address).has_value();
    }

    // Exactly this reply, changing nothing at the service, to the next
    // protocol request (with match, the next whose query holds it).
    bool setNextReply(const QString &reply, const QString &match = QString())
    {
        return admin(QStringLiteral("/admin/next-reply?match=") +
                         QString::fromLatin1(QUrl::toPercentEncoding(match)),
                     reply.toUtf8())
            .has_value();
    }

    // The reply after ms milliseconds, or one byte every ms milliseconds, or
    // stopped half-way with the connection closed.
    bool setNextDelay(int ms, const QString &match = QString())
    {
        return setNextFault(QStringLiteral("delay?ms=%1").arg(ms), match);
    }
    bool setNextTrickle(int ms) { return setNextFault(QStringLiteral("trickle?ms=%1").arg(ms)); }
    bool setNextDrop() { return setNextFault(QStringLiteral("drop")); }
    // Any fault the service knows ("close?acted=1", "status?code=503", ...)
    // for the request after the first skip ones whose query holds match.
    bool setNextFault(const QString &fault, const QString &match = QString(), int skip = 0)
    {
        const QString separator = fault.contains(u'?') ? QStringLiteral("&") : QStringLiteral("?");
        return admin(QStringLiteral("/admin/next-") + fault + separator +
                     QStringLiteral("skip=%1&match=").arg(skip) +
                     QString::fromLatin1(QUrl::toPercentEncoding(match)))
            .has_value();
    }

    // Adds an A record as a client's command does, whatever its name holds.
    bool addRecord(const QString &user, const QString &domain, const QString &name,
                   const QString &address)
    {
        const QString query =
            QStringLiteral("/dnslogin3.asp?FXN=DNSTickler&Usr=%1&Pwd=%1&Cname=%2"
                           "&Domain=%3&DNSCommand=RECORDADD&RecordType=A"
                           "&IPAddress=%4")
                .arg(user, QString::fromLatin1(QUrl::toPercentEncoding(name)), domain, address);
        return admin(query).value_or(QString()).startsWith(QLatin1String("SUCCESS"));
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
    QJsonObject stateJson() const { return readJson(stateFile()); }

    // The user's records as the service holds them (the accounts file's
    // before the first change), each as "domain;;type;;name;;address".
    QStringList stateRecords(const QString &user) const
    {
        QJsonArray list = stateJson()[QLatin1String("records")][user].toArray();
        if (!QFile::exists(stateFile())) {
            for (const QJsonValue account :
                 readJson(accountsFile())[QLatin1String("accounts")].toArray()) {
                if (account[QLatin1String("user")].toString() == user)
                    list = account[QLatin1String("records")].toArray();
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

    static QJsonObject readJson(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                              : QJsonObject();
    }

    // A CA; a key and a request for 127.0.0.1; the CA's signature on it.
    bool makeCertificates()
    {
        const QString key = QStringLiteral("-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 "
                                           "-nodes");
        const QStringList steps = {
            QStringLiteral("req -x509 %1 -days 2 -subj /CN=Veltrio-Test-CA -keyout ca.key "
                           "-out ca.pem")
                .arg(key),
            QStringLiteral("req %1 -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 "
                           "-keyout server.key -out server.csr")
                .arg(key),
            QStringLiteral("x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial "
                           "-days 2 -copy_extensions copy -out server.pem"),
        };
        for (const QString &step : steps) {
            HelperProcess openssl;
            if (!openssl.start(m_dir.path(), QStringLiteral("openssl"), step.split(u' ')) ||
                openssl.waitForExit(30000) != 0)
                return failed(QStringLiteral("openssl %1 failed: %2 %3")
                                  .arg(step.section(u' ', 0, 0), openssl.errorString(),
                                       QString::fromUtf8(openssl.readAllStandardError())));
        }
        return true;
    }

    // An admin request on the plain-HTTP listener, a POST of body when there
    // is one; the reply's body, or nullopt (and a warning) when it failed.
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

    // Below the keeper's folder when there is one: the keeper runs it there.
    static QString folderTemplate()
    {
        const QString keeper = HelperProcess::keeperFolder();
        return (keeper.isEmpty() ? QDir::tempPath() : keeper) +
               QStringLiteral("/veltrio-service-XXXXXX");
    }

    QTemporaryDir m_dir{folderTemplate()};
    HelperProcess m_process;
    quint16 m_httpPort = 0;
    quint16 m_httpsPort = 0;
    QString m_error;
};
