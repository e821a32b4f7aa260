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

bool ServiceHttp::strikes(const QString &query)
{
    if (m_fault.kind == Fault::None || !query.contains(m_fault.match))
        return false;
    if (m_fault.skip > 0) {
        --m_fault.skip;
        return false;
    }
    return true;
}

void ServiceHttp::answer(const QHttpServerRequest &request, QHttpServerResponder &&responder)
{
    const QString query = request.url().query(QUrl::FullyEncoded);
    const QString peer = request.remoteAddress().toString();
    if (!strikes(query)) {
        responder.write(m_script.answer(query, peer).toUtf8(), htmlType);
        return;
    }
    const ArmedFault fault = m_fault;
    if (m_fault.times == 1)
        m_fault = ArmedFault();
    else if (m_fault.times > 1)
        --m_fault.times;
    // The request is carried out now, unless the fault comes first.
    const bool actNow = fault.acted || fault.kind == Fault::Trickle || fault.kind == Fault::Drop;
    const bool actLater = fault.kind == Fault::Delay && !fault.acted;
    QByteArray body;
    if (actNow)
        body = m_script.answer(query, peer).toUtf8();
    else
        m_script.note(query);

    // The responder outlives this call; its socket goes when the client
    // gives up, and then nothing more is written.
    auto held = std::make_shared<QHttpServerResponder>(std::move(responder));
    const QPointer<QTcpSocket> socket = held->socket();
    switch (fault.kind) {
    case Fault::None:
        break;
    case Fault::Reply:
        held->write(fault.reply.toUtf8(), htmlType);
        break;
    case Fault::Status:
        held->write(QByteArray(), htmlType, static_cast<Status>(fault.status));
        break;
    case Fault::Close:
        socket->abort();
        break;
    case Fault::Delay:
        QTimer::singleShot(fault.ms, this, [this, held, socket, query, peer, body, actLater] {
            if (!socket)
                return;
            held->write(actLater ? m_script.answer(query, peer, true).toUtf8() : body, htmlType);
        });
        break;
    case Fault::Drop:
        held->writeStatusLine();
        held->writeHeader("Content-Type", htmlType);
        held->writeHeader("Content-Length", QByteArray::number(body.size()));
        held->writeBody(body.left(body.size() / 2));
        socket->disconnectFromHost();
        break;
    case Fault::Trickle: {
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
        drip->start(fault.ms);
        break;
    }
    }
}

namespace {

// The longest line a request may have, request line included.
constexpr qsizetype kLongestLine = 8192;
const char *const kGuarded = "veltrioLineGuard";

// The largest body a request may carry (only the admin requests take one).
constexpr qsizetype kLargestBody = 16 << 20;

// Where a connection's byte stream stands: in a request's head (line by
// line) or in its body.
struct Framing
{
    qsizetype lineLength = 0; // bytes of the current line so far
    QByteArray line;          // its start, enough to read Content-Length
    qsizetype contentLength = 0;
    qsizetype bodyLeft = 0;
};

void refuse(QTcpSocket *socket, const char *status)
{
    socket->readAll();
    socket->write(QByteArray("HTTP/1.1 ") + status +
                  "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    socket->disconnectFromHost();
}

// Answers 414 and closes a connection on which a line of a request's head
// (the request line included) runs longer than kLongestLine, or 413 for a
// body beyond kLargestBody, before the HTTP server has buffered any more of
// it: a client cannot make the service hold megabytes of one request. Runs
// before the server reads, as it is connected first.
void limitLineLength(QTcpSocket *socket)
{
    socket->setProperty(kGuarded, true);
    auto framing = std::make_shared<Framing>();
    QObject::connect(socket, &QIODevice::readyRead, socket, [socket, framing] {
        const QByteArray chunk = socket->peek(socket->bytesAvailable());
        Framing &f = *framing;
        for (qsizetype i = 0; i < chunk.size(); ++i) {
            if (f.bodyLeft > 0) {
                const qsizetype take = std::min(f.bodyLeft, chunk.size() - i);
                f.bodyLeft -= take;
                i += take - 1;
                continue;
            }
            const char c = chunk.at(i);
            if (c != '\n') {
                if (++f.lineLength > kLongestLine)
                    return refuse(socket, "414 URI Too Long");
                if (f.line.size() < 64 && c != '\r')
                    f.line += c;
                continue;
            }
            if (f.line.isEmpty()) { // the head's end
                f.bodyLeft = std::exchange(f.contentLength, 0);
            } else if (f.line.toLower().startsWith("content-length:")) {
                f.contentLength = f.line.mid(15).trimmed().toLongLong();
                if (f.contentLength < 0 || f.contentLength > kLargestBody)
                    return refuse(socket, "413 Content Too Large");
            }
            f.line.clear();
            f.lineLength = 0;
        }
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

    // One fault for a later script request: a slow, silent, failing or
    // lying service for the client's tests.
    for (const auto &[path, kind] :
         {std::pair{QStringLiteral("/admin/next-reply"), Fault::Reply},
          std::pair{QStringLiteral("/admin/next-delay"), Fault::Delay},
          std::pair{QStringLiteral("/admin/next-trickle"), Fault::Trickle},
          std::pair{QStringLiteral("/admin/next-drop"), Fault::Drop},
          std::pair{QStringLiteral("/admin/next-close"), Fault::Close},
          std::pair{QStringLiteral("/admin/next-status"), Fault::Status}}) {
        server.route(path, [this, kind](const QHttpServerRequest &request) {
            if (!fromLoopback(request))
                return text(QStringLiteral("forbidden\n"), Status::Forbidden);
            const QUrlQuery query = request.query();
            const auto number = [&query](const char *name, int fallback) {
                bool ok = false;
                const int n = query.queryItemValue(QLatin1String(name)).toInt(&ok);
                return ok ? n : fallback;
            };
            ArmedFault fault;
            fault.kind = kind;
            fault.ms = number("ms", -1);
            fault.acted = number("acted", 0) == 1;
            fault.status = number("code", -1);
            fault.skip = std::max(0, number("skip", 0));
            fault.times = std::max(0, number("times", 1));
            fault.match = query.queryItemValue(QStringLiteral("match"), QUrl::FullyDecoded);
            if (kind == Fault::Reply) {
                // A reply too long for a request line comes as the body of a POST.
                const bool posted = request.method() == QHttpServerRequest::Method::Post;
                if (!posted && !query.hasQueryItem(QStringLiteral("text")))
                    return text(QStringLiteral("give the reply as text=... or POST it\n"),
                                Status::BadRequest);
                fault.reply =
                    posted ? QString::fromUtf8(request.body())
                           : query.queryItemValue(QStringLiteral("text"), QUrl::FullyDecoded);
            }
            if ((kind == Fault::Delay || kind == Fault::Trickle) && fault.ms < 0)
                return text(QStringLiteral("give the time as ms=N\n"), Status::BadRequest);
            if (kind == Fault::Status && (fault.status < 400 || fault.status > 599))
                return text(QStringLiteral("give an error status as code=4xx or 5xx\n"),
                            Status::BadRequest);
            m_fault = fault;
            return text(QStringLiteral("the next request gets the fault\n"));
        });
    }
    server.route(QStringLiteral("/admin/no-fault"), [this](const QHttpServerRequest &request) {
        if (!fromLoopback(request))
            return text(QStringLiteral("forbidden\n"), Status::Forbidden);
        m_fault = ArmedFault();
        return text(QStringLiteral("no fault waits\n"));
    });

    for (const QString &path : WebPages::paths()) {
        server.route(path, [path](const QHttpServerRequest &) {
            return QHttpServerResponse(htmlType, WebPages::page(path).value_or(QByteArray()));
        });
    }
}
