#pragma once

#include "AccountBook.h"

#include <QDate>
#include <QString>
#include <QStringList>
#include <functional>

class QueryText;

// The service's one script ("dnslogin3.asp"): answers the login, the two
// record commands and the address query with the labelled reply texts the
// client reads ("label:value</p>" one after another). Knows nothing of HTTP;
// the caller hands in the raw query text and the caller's address.
class DnsScript
{
public:
    using Today = std::function<QDate()>;

    // today: the date that decides whether an account has expired (the
    // system's date when not given).
    explicit DnsScript(AccountBook &book, Today today = {});

    // The reply to one request; rawQuery is the URL's query text as it
    // arrived (without "?"), peerAddress the address the request came from.
    // The query is kept among requests() unless it was noted already.
    QString answer(const QString &rawQuery, const QString &peerAddress, bool noted = false);

    // The public address the service reports. Empty (the default) reports
    // each caller's own address; a dotted IPv4 address reports that one to
    // everybody. Returns false, and changes nothing, for anything else.
    bool setPublicAddress(const QString &address);
    QString publicAddress() const { return m_publicAddress; }

    // The raw query texts received since the start (or the last clear),
    // oldest first; at most the last 10,000, and at most 4 M characters.
    const QStringList &requests() const { return m_requests; }
    void clearRequests()
    {
        m_requests.clear();
        m_requestBytes = 0;
    }
    // Keeps the query among requests() without answering it: a request the
    // service got but did not act on (a test's fault).
    void note(const QString &rawQuery);

    // The IPv4 form of a peer address: "::ffff:203.0.113.7" is 203.0.113.7,
    // the IPv6 loopback is 127.0.0.1.
    static QString callerAddress(const QString &peerAddress);

private:
    QString login(const QueryText &query, const QString &caller);
    QString tickler(const QueryText &query, bool advanced);
    QString getIPAddress(const QueryText &query, const QString &caller);
    QString reportedAddress(const QString &caller) const;

    AccountBook &m_book;
    Today m_today;
    QString m_publicAddress;
    QStringList m_requests;
    qsizetype m_requestBytes = 0;
};
