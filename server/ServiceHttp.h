#pragma once

#include <QHostAddress>
#include <QObject>
#include <QSslConfiguration>
#include <optional>

class DnsScript;
class QHttpServer;
class QHttpServerRequest;
class QHttpServerResponder;

// The HTTP side of the service: the script at "/dnslogin3.asp" (plain-HTTP
// endpoint) and "/autoupdate/dnslogin3.asp" (HTTPS endpoint), the web pages,
// and two loopback-only admin requests for tests and demos:
//   /admin/public-ip?address=A.B.C.D   the address the service reports
//   /admin/requests[?clear=1]          the query texts received, one a line
//   /admin/next-reply?text=...[&match=...]  the whole reply to the next
//                                      request (whose query holds match)
//   /admin/next-delay?ms=N             the next request is answered after N ms
//   /admin/next-trickle?ms=N           the next reply goes out one byte every N ms
//   /admin/next-drop                   the next reply stops half-way, connection closed
// Every listener serves every path.
class ServiceHttp : public QObject
{
public:
    explicit ServiceHttp(DnsScript &script, QObject *parent = nullptr);

    // Starts one listener, plain or (with tls) HTTPS. Returns the port it
    // listens on, or 0 when it cannot listen.
    quint16 listen(const QHostAddress &address, quint16 port,
                   const std::optional<QSslConfiguration> &tls = std::nullopt);

private:
    void addRoutes(QHttpServer &server);
    // Answers one script request, slowly when an admin request asked for it.
    void answer(const QHttpServerRequest &request, QHttpServerResponder &&responder);

    DnsScript &m_script;
    enum class Pace { Normal, Delay, Trickle, Drop };
    Pace m_nextPace = Pace::Normal;
    int m_paceMs = 0;
    // The paced request is the next whose query holds this; any when empty.
    QString m_paceMatch;
};
