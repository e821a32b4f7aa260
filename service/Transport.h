#pragma once

#include <QString>
#include <QUrl>

// The one way the program talks HTTP: a synchronous GET through one
// program-wide QNetworkAccessManager, with certificate checks on.
namespace Transport {

// The URL of a request text, taken as it stands. Only what a request line
// cannot carry is percent-encoded: blanks, control and non-ASCII characters,
// "#", a "%" that does not start an escape, and the few characters URLs never
// carry raw ("\"<>\\^`{|}"). Everything else, "&" and "=" included, is left
// as the caller wrote it (an escape of a letter or digit may go out as the
// character itself, which means the same to any server).
QUrl RequestUrl(const QString &text);

// GETs the URL and returns the reply body; empty when the transfer fails (no
// connection, timeout, TLS failure, HTTP error status). Waits in a local event
// loop that keeps windows painting but holds back user input. HTTPS trusts the
// system's CAs plus those in the PEM file caFile, when one is named.
QString Get(const QUrl &url, int timeoutMilliseconds, const QString &caFile);

} // namespace Transport
