// What the address query costs at veltrio-service for an account of 10,000
// records, beside a minimal QHttpServer (plain_http_server: one route, the
// same reply bytes from memory). Requests go one after another over one
// kept-alive connection through QNetworkAccessManager, for a fixed time per
// round, the two servers in turn; every reply is checked byte for byte, and a
// failed or wrong one fails the run.
#include "ServiceProcess.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int kRecords = 10000;
constexpr int kRounds = 5;
constexpr int kRoundMs = 1500;

struct Account
{
    QByteArray json;  // the accounts file
    QByteArray reply; // what the address query must answer from 127.0.0.1
};

Account benchAccount()
{
    QJsonArray records;
    QJsonArray domains;
    QStringList entries;
    for (int i = 0; i < 97; ++i)
        domains.append(QStringLiteral("zone%1.example").arg(i));
    for (int i = 0; i < kRecords; ++i) {
        const QString domain = QStringLiteral("zone%1.example").arg(i % 97);
        const QString name = QStringLiteral("host%1").arg(i);
        const QString address =
            QStringLiteral("10.%1.%2.%3").arg(i / 65536).arg(i / 256 % 256).arg(i % 256);
        records.append(QJsonObject{{QStringLiteral("domain"), domain},
                                   {QStringLiteral("type"), QStringLiteral("A")},
                                   {QStringLiteral("name"), name},
                                   {QStringLiteral("address"), address}});
        entries << QStringList{domain, QStringLiteral("A"), name, address}.join(
            QStringLiteral(";;"));
    }
    const QJsonObject account{{QStringLiteral("user"), QStringLiteral("bench")},
                              {QStringLiteral("password"), QStringLiteral("pw")},
                              {QStringLiteral("firstName"), QStringLiteral("Bench")},
                              {QStringLiteral("domains"), domains},
                              {QStringLiteral("recordTypes"), QJsonArray{QStringLiteral("A")}},
                              {QStringLiteral("userLevel"), QStringLiteral("1")},
                              {QStringLiteral("records"), records}};
    return {QJsonDocument(QJsonObject{{QStringLiteral("accounts"), QJsonArray{account}}}).toJson(),
            QByteArrayLiteral("SUCCESS</p>IPAddress:127.0.0.1</p>DomainUserRecords:") +
                entries.join(QStringLiteral("~~")).toUtf8() + QByteArrayLiteral("</p>")};
}

struct Round
{
    int requests = 0;
    double seconds = 0;
    QString error; // empty when every reply was the expected one
    double rate() const { return requests / seconds; }
};

// GETs url again and again, the next request once the last reply is in,
// until ms have passed.
Round run(QNetworkAccessManager &network, const QUrl &url, const QByteArray &expected, int ms)
{
    Round round;
    QEventLoop loop;
    QElapsedTimer timer;
    QNetworkRequest request(url);
    request.setTransferTimeout(10000);
    std::function<void()> next = [&] {
        QNetworkReply *reply = network.get(request);
        QObject::connect(reply, &QNetworkReply::finished, &loop, [&, reply] {
            reply->deleteLater();
            const QByteArray body = reply->readAll();
            if (reply->error() != QNetworkReply::NoError)
                round.error = reply->errorString();
            else if (reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 200)
                round.error = QStringLiteral("HTTP status ") +
                              reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toString();
            else if (body != expected)
                round.error = QStringLiteral("a reply of %1 bytes is not the expected one of %2")
                                  .arg(body.size())
                                  .arg(expected.size());
            if (!round.error.isEmpty())
                return loop.quit();
            ++round.requests;
            if (timer.elapsed() >= ms)
                return loop.quit();
            next();
        });
    };
    timer.start();
    next();
    loop.exec();
    round.seconds = double(timer.nsecsElapsed()) / 1e9;
    return round;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// plain_http_server serving body at path; stopped when it goes.
class PlainServer
{
public:
    ~PlainServer()
    {
        m_process.kill();
        m_process.waitForFinished(5000);
    }

    // The port it listens on; 0, and the reason in error, when it did not start.
    quint16 start(const QString &path, const QByteArray &body, QString *error)
    {
        QFile file(m_dir.filePath(QStringLiteral("body")));
        if (!file.open(QIODevice::WriteOnly) || file.write(body) != body.size()) {
            *error = QStringLiteral("cannot write ") + file.fileName();
            return 0;
        }
        file.close();
        m_process.start(QStringLiteral(BENCH_PLAIN_HTTP_SERVER), {path, file.fileName()});
        if (!m_process.waitForStarted(10000) || !m_process.waitForReadyRead(15000)) {
            *error = QStringLiteral("plain_http_server did not start: ") + m_process.errorString() +
                     u' ' + QString::fromUtf8(m_process.readAllStandardError());
            return 0;
        }
        const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
        const quint16 port = line.section(u':', -1).toUShort();
        if (!line.startsWith(QLatin1String("listening http ")) || port == 0)
            *error = QStringLiteral("plain_http_server said: ") + line;
        return port;
    }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
};

} // namespace

class BenchService : public QObject
{
    Q_OBJECT

private slots:
    void getIPAddress()
    {
        const Account account = benchAccount();
        ServiceProcess service;
        {
            QFile file(service.accountsFile());
            QVERIFY(file.open(QIODevice::WriteOnly));
            QCOMPARE(file.write(account.json), account.json.size());
        }
        QVERIFY2(service.start(), qPrintable(service.errorString()));
        QUrl serviceUrl = service.scriptUrl();
        serviceUrl.setQuery(QStringLiteral("FXN=GetIPAddress&Usr=bench"));

        PlainServer plain;
        QString error;
        const quint16 plainPort = plain.start(serviceUrl.path(), account.reply, &error);
        QVERIFY2(plainPort != 0 && error.isEmpty(), qPrintable(error));
        QUrl plainUrl = serviceUrl;
        plainUrl.setPort(plainPort);

        QNetworkAccessManager network;
        // A few requests each first: the connections are open, the service
        // has answered the query once.
        for (const QUrl &url : {serviceUrl, plainUrl}) {
            const Round warm = run(network, url, account.reply, 200);
            QVERIFY2(warm.error.isEmpty(), qPrintable(url.toString() + u' ' + warm.error));
        }

        std::printf("\nGetIPAddress of an account of %d records: a reply of %lld bytes\n", kRecords,
                    static_cast<long long>(account.reply.size()));
        std::printf("requests per second, one at a time over one connection, %d ms a round\n",
                    kRoundMs);
        std::printf("%-6s %16s %16s %8s\n", "round", "veltrio-service", "plain QHttpServer",
                    "ratio");
        std::vector<double> serviceRates;
        std::vector<double> plainRates;
        for (int i = 1; i <= kRounds; ++i) {
            const Round atService = run(network, serviceUrl, account.reply, kRoundMs);
            QVERIFY2(atService.error.isEmpty(), qPrintable(atService.error));
            const Round atPlain = run(network, plainUrl, account.reply, kRoundMs);
            QVERIFY2(atPlain.error.isEmpty(), qPrintable(atPlain.error));
            serviceRates.push_back(atService.rate());
            plainRates.push_back(atPlain.rate());
            std::printf("%-6d %16.0f %16.0f %7.2fx\n", i, atService.rate(), atPlain.rate(),
                        atService.rate() / atPlain.rate());
        }
        const double serviceMedian = median(serviceRates);
        const double plainMedian = median(plainRates);
        std::printf("%-6s %16.0f %16.0f %7.2fx\n", "median", serviceMedian, plainMedian,
                    serviceMedian / plainMedian);
        std::fflush(stdout);
    }
};

QTEST_GUILESS_MAIN(BenchService)
#include "bench_service.moc"
