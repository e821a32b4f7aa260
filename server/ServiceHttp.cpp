#include "ServiceHttp.h"

#include "DnsScript.h"
#include "WebPages.h"

#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponse>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrlQuery>
#include <memory>

namespace {

using Status = QHttpServerResponse::StatusCode;

const QByteArray htmlType = QByteArrayLiteral("text/html; charset=utf-8");
const QByteArray textType = QByteArrayLiteral("text/plain; charset=utf-8");

bool fromLoopback(const QHttpServerRequest &request)
{
    QHostAddress peer = request.remoteAddress();
    bool mapped = false;
    const quint32 v4 = peer.toIPv4Address(&mapped);
    if (mapped)
        peer = QHostAddress(v4);
    return peer.isLoopback();
}

QHttpServerResponse text(const QString &body, Status status = Status::Ok)
{
    return QHttpServerResponse(textType, body.toUtf8(), status);
}

} // namespace

ServiceHttp::ServiceHttp(DnsScript &script, QObject *parent) : QObject(parent), m_script(script) {}

void ServiceHttp::answer(const QHttpServerRequest &request, QHttpServerResponder &&responder)
{
    const QString query = request.url().query(QUrl::FullyEncoded);
    const QString peer = request.remoteAddress().toString();
    const Pace pace = std::exchange(m_nextPace, Pace::Normal);
    if (pace == Pace::Normal) {
        responder.write(m_script.answer(query, peer).toUtf8(), htmlType);
        return;
    }
    // The responder outlives this call; its socket goes when the client
    // gives up, and then nothing more is written.
    auto held = std::make_shared<QHttpServerResponder>(std::move(responder));
    const QPointer<QTcpSocket> socket = held->socket();
    if (pace == Pace::Delay) {
        QTimer::singleShot(m_paceMs, this, [this, held, socket, query, peer] {
            if (socket)
                held->write(m_script.answer(query, peer).toUtf8(), htmlType);
        });
        return;
    }
    const QByteArray body = m_script.answer(query, peer).toUtf8();
    held->writeStatusLine();
    held->writeHeader("Content-Type", htmlType);
    held->writeHeader("Content-Length", QByteArray::number(body.size()));
    auto *drip = new QTimer(this);
    auto sent = std::make_shared<qsizetype>(0);
    connect(drip, &QTimer::timeout, this, [held, socket, body, sent, drip] {
        if (!socket || *sent >= body.size()) {
            drip->deleteLater();
            return;
        }
        held->writeBody(body.mid((*sent)++, 1));
    });
    drip->start(m_paceMs);
}

quint16 ServiceHttp::listen(const QHostAddress &address, quint16 port,
                            const std::optional<QSslConfiguration> &tls)
{
    // One server per listener: a server set up for TLS turns every listener
    // it opens into a TLS one.
    auto *server = new QHttpServer(this);
    if (tls)
        server->sslSetup(*tls);
    addRoutes(*server);
    const quint16 actual = server->listen(address, port);
    if (actual == 0)
        delete server;
    return actual;
}

void ServiceHttp::addRoutes(QHttpServer &server)
{
    const auto script = [this](const QHttpServerRequest &request,
                               QHttpServerResponder &&responder) {
        answer(request, std::move(responder));
    };
    server.route(QStringLiteral("/dnslogin3.asp"), script);
    server.route(QStringLiteral("/autoupdate/dnslogin3.asp"), script);

    server.route(QStringLiteral("/admin/public-ip"), [this](const QHttpServerRequest &request) {
        if (!fromLoopback(request))
            return text(QStringLiteral("forbidden\n"), Status::Forbidden);
        const QString address =
            request.query().queryItemValue(QStringLiteral("address"), QUrl::FullyDecoded);
        if (!m_script.setPublicAddress(address))
            return text(QStringLiteral("address must be a dotted IPv4 address, or empty for "
                                       "the caller's own\n"),
                        Status::BadRequest);
        return text(QStringLiteral("public address: %1\n")
                        .arg(address.isEmpty() ? QStringLiteral("the caller's") : address));
    });

    server.route(QStringLiteral("/admin/requests"), [this](const QHttpServerRequest &request) {
        if (!fromLoopback(request))
            return text(QStringLiteral("forbidden\n"), Status::Forbidden);
        QString body;
        for (const QString &query : m_script.requests())
            body += query + u'\n';
        if (request.query().queryItemValue(QStringLiteral("clear")) == QLatin1String("1"))
            m_script.clearRequests();
        return text(body);
    });

    server.route(QStringLiteral("/admin/next-reply"), [this](const QHttpServerRequest &request) {
        if (!fromLoopback(request))
            return text(QStringLiteral("forbidden\n"), Status::Forbidden);
        const QUrlQuery query = request.query();
        if (!query.hasQueryItem(QStringLiteral("text")))
            return text(QStringLiteral("give the reply as text=...\n"), Status::BadRequest);
        m_script.setNextReply(query.queryItemValue(QStringLiteral("text"), QUrl::FullyDecoded),
                              query.queryItemValue(QStringLiteral("match"), QUrl::FullyDecoded));
        return text(QStringLiteral("the next request gets the given reply\n"));
    });

    // A slow service for the client's tests: the next script request is
    // answered late, or its reply trickles out a byte at a time.
    for (const auto &[path, pace] :
         {std::pair{QStringLiteral("/admin/next-delay"), Pace::Delay},
          std::pair{QStringLiteral("/admin/next-trickle"), Pace::Trickle}}) {
        server.route(path, [this, pace](const QHttpServerRequest &request) {
            if (!fromLoopback(request))
                return text(QStringLiteral("forbidden\n"), Status::Forbidden);
            bool ok = false;
            const int ms = request.query().queryItemValue(QStringLiteral("ms")).toInt(&ok);
            if (!ok || ms < 0)
                return text(QStringLiteral("give the time as ms=N\n"), Status::BadRequest);
            m_nextPace = pace;
            m_paceMs = ms;
            return text(QStringLiteral("the next request goes slowly\n"));
        });
    }

    for (const QString &path : WebPages::paths()) {
        server.route(path, [path](const QHttpServerRequest &) {
            return QHttpServerResponse(htmlType, WebPages::page(path).value_or(QByteArray()));
        });
    }
}
