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
// and loopback-only admin requests for tests and demos:
//   /admin/public-ip?address=A.B.C.D   the address the service reports
//   /admin/requests[?clear=1]          the query texts received, one a line
// and one fault for a later script request, each taking &match=TEXT (the
// next request whose query holds it), &skip=K (let K such requests pass
// first) and &times=N (strike N of them; 0: every one until dropped); a new
// one replaces the one still waiting:
//   /admin/next-reply?text=...         exactly that reply, nothing done (or POST it)
//   /admin/next-delay?ms=N[&acted=1]   the reply N ms late (and the request
//                                      carried out then, unless acted=1:
//                                      at once); it is among the requests
//                                      received from its arrival
//   /admin/next-trickle?ms=N           the reply one byte every N ms
//   /admin/next-drop                   carried out, the reply cut half-way
//   /admin/next-close?acted=0|1        the connection closed with no reply,
//                                      before or after carrying it out
//   /admin/next-status?code=N          an HTTP error status, nothing done
//   /admin/no-fault                    the fault still waiting is dropped
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
    // Answers one script request, with the armed fault when it is the one.
    void answer(const QHttpServerRequest &request, QHttpServerResponder &&responder);

    enum class Fault { None, Reply, Delay, Trickle, Drop, Close, Status };
    struct ArmedFault
    {
        Fault kind = Fault::None;
        int ms = 0;
        bool acted = false; // carried out before the fault strikes
        int status = 0;
        QString reply;
        QString match;
        int skip = 0;
        int times = 1; // 0: every matching request
    };
    // Whether the armed fault strikes this request; counts a skipped one.
    bool strikes(const QString &query);

    DnsScript &m_script;
    ArmedFault m_fault;
};
