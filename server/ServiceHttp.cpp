#include "ServiceHttp.h"

#include "DnsScript.h"
#include "WebPages.h"

#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponse>
#include <QPointer>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUrlQuery>
#include <algorithm>
#include <memory>
#include <type_traits>

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

namespace {

// The longest line a request may have, request line included.
constexpr qsizetype kLongestLine = 8192;
const char *const kGuarded = "veltrioLineGuard";

// Answers 414 and closes a connection on which a line runs longer than
// kLongestLine, before the HTTP server has buffered any more of it: a client
// cannot make the service hold megabytes of one request. Runs before the
// server reads, as it is connected first.
void limitLineLength(QTcpSocket *socket)
{
    socket->setProperty(kGuarded, true);
    auto run = std::make_shared<qsizetype>(0); // bytes since the last line feed
    QObject::connect(socket, &QIODevice::readyRead, socket, [socket, run] {
        const QByteArray chunk = socket->peek(socket->bytesAvailable());
        qsizetype longest = 0;
        qsizetype start = 0;
        for (qsizetype at = chunk.indexOf('\n'); at >= 0; at = chunk.indexOf('\n', start)) {
            longest = std::max(longest, *run + at - start);
            *run = 0;
            start = at + 1;
        }
        *run += chunk.size() - start;
        if (std::max(longest, *run) <= kLongestLine)
            return;
        socket->readAll();
        socket->write("HTTP/1.1 414 URI Too Long\r\nContent-Type: text/plain\r\n"
                      "Content-Length: 24\r\nConnection: close\r\n\r\n"
                      "request line too long.\r\n");
        socket->disconnectFromHost();
    });
}

// A listener whose connections get the line limit as they come in.
template <typename Server> class LineLimitedServer : public Server
{
public:
    explicit LineLimitedServer(QObject *parent) : Server(parent) {}

protected:
    void incomingConnection(qintptr handle) override
    {
        if constexpr (std::is_same_v<Server, QTcpServer>) {
            // The HTTP server takes a connection as soon as it is pending:
            // the limit comes first.
            auto *socket = new QTcpSocket(this);
            socket->setSocketDescriptor(handle);
            limitLineLength(socket);
            this->addPendingConnection(socket);
        } else {
            // A TLS connection is pending only once encrypted.
            Server::incomingConnection(handle);
            for (QTcpSocket *socket :
                 this->template findChildren<QTcpSocket *>(Qt::FindDirectChildrenOnly)) {
                if (!socket->property(kGuarded).toBool())
                    limitLineLength(socket);
            }
        }
    }
};

} // namespace

quint16 ServiceHttp::listen(const QHostAddress &address, quint16 port,
                            const std::optional<QSslConfiguration> &tls)
{
    // One server per listener, on a listener of our own that limits lines.
    auto *server = new QHttpServer(this);
    QTcpServer *listener = nullptr;
    if (tls) {
        auto *secure = new LineLimitedServer<QSslServer>(server);
        secure->setSslConfiguration(*tls);
        listener = secure;
    } else {
        listener = new LineLimitedServer<QTcpServer>(server);
    }
    if (!listener->listen(address, port)) {
        delete server;
        return 0;
    }
    server->bind(listener);
    addRoutes(*server);
    return listener->serverPort();
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
        // A reply too long for a request line comes as the body of a POST.
        const bool posted = request.method() == QHttpServerRequest::Method::Post;
        if (!posted && !query.hasQueryItem(QStringLiteral("text")))
            return text(QStringLiteral("give the reply as text=... or POST it\n"),
                        Status::BadRequest);
        m_script.setNextReply(
            posted ? QString::fromUtf8(request.body())
                   : query.queryItemValue(QStringLiteral("text"), QUrl::FullyDecoded),
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
