#pragma once

#include <QString>
#include <QUrl>

class QNetworkReply;

// The one way the program talks HTTP: GETs through one program-wide
// QNetworkAccessManager, with certificate checks on and the system's proxy
// configuration. Only the exchange queue starts requests.
namespace Transport {

// The URL of a request text, taken as it stands. Only what a request line
// cannot carry is percent-encoded: blanks, control and non-ASCII characters,
// "#", a "%" that does not start an escape, and the few characters URLs never
// carry raw ("\"<>\\^`{|}"). Everything else, "&" and "=" included, is left
// as the caller wrote it (an escape of a letter or digit may go out as the
// character itself, which means the same to any server).
QUrl RequestUrl(const QString &text);

// Whether the network layer may send a request again on its own. Qt sends a
// GET again when the connection drops before the reply starts (a kept-alive
// connection the server closed, a reset): harmless for a question, but a
// record command the service may already have carried out would be carried
// out twice. A command goes out once; whoever sent it decides what follows.
enum class Delivery { MayRepeat, AtMostOnce };

// Starts a GET of the URL; the caller owns the reply. HTTPS trusts the
// system's CAs plus those in the PEM file caFile, when one is named. Null
// without an application object or for an invalid URL.
QNetworkReply *StartGet(const QUrl &url, const QString &caFile,
                        Delivery delivery = Delivery::MayRepeat);

// The body of a finished reply; empty when the transfer failed (no
// connection, aborted, TLS failure, HTTP error status).
QString Body(QNetworkReply *reply);

} // namespace Transport
