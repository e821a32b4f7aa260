#pragma once

#include "Transport.h"

#include <QString>
#include <functional>
#include <optional>

class QObject;

// Talking to the service: the endpoint rules, the one synchronous request,
// reading labelled values out of replies, and the record commands.
namespace basDNS {

inline const QString RecordAdd = QStringLiteral("RECORDADD");
inline const QString RecordDelete = QStringLiteral("RECORDDELETE");

// --- Endpoints --------------------------------------------------------------
// "http://" + plain-HTTP host [+ ":" + port] + "/dnslogin3.asp"; no port part
// when the port text is empty.
QString PlainURL(const QString &port = QString());
// "https://" + HTTPS host + "/autoupdate/dnslogin3.asp".
QString HttpsURL();

// --- Transport ----------------------------------------------------------------
// GETs sServiceURL + query and returns the reply body; empty when the transfer
// fails (no connection, deadline, TLS failure, HTTP error). The request waits
// its turn in the exchange queue, then for the reply, in a local event loop:
// the window keeps painting, user input is blocked.
// A record command goes out as Transport::Delivery::AtMostOnce.
QString OpenRequest(const QString &query,
                    Transport::Delivery delivery = Transport::Delivery::MayRepeat);
// The same GET for background work: done runs with the reply body once it is
// in, unless context is gone by then. Nothing waits.
void PostRequest(const QString &query, QObject *context,
                 std::function<void(const QString &reply)> done,
                 Transport::Delivery delivery = Transport::Delivery::MayRepeat);
// The deadline of one exchange in milliseconds (60000 unless set).
void SetTransferTimeout(int milliseconds);

// The trimmed value after the first occurrence of the label up to the next
// "</p"; empty when the label is absent. A label with no "</p" after it
// raises an invalid-argument run-time error.
QString GetReplyValue(const QString &reply, const QString &label);
// A missing value gives empty text, anything else its trimmed text.
QString NullToEmpty(const std::optional<QString> &value);
QString NullToEmpty(const QString &value);
// A dotted IPv4 address: exactly four numeric pieces, each 0 to 255.
bool IsValidIPAddress(const QString &address);
// A record command or the address query succeeded: "SUCCESS" anywhere.
bool IsSuccess(const QString &reply);
// The record list a reply carries; nothing when it has no "DomainUserRecords:"
// label. A label with no "</p" after it raises an invalid-argument error.
std::optional<QString> RecordListOf(const QString &reply);

// --- The session's record list ----------------------------------------------------
// Replies are numbered in the order the service answered
// (ExchangeQueue::Finished()); a list from a later reply is the newer one.
// The session takes a list that the reply numbered serial brought, unless it
// holds a newer one already; whether it took it.
bool TakeRecordList(const QString &records, quint64 serial);
// After a login: the reply gave a list (hasList), or the session knows none.
void RecordListFromLogin(bool hasList);
// Follows the outcome on the main window's status label and tray icon.
void SetConnectionStatus(bool success);

// --- Record commands ----------------------------------------------------------
// Sets or removes one record of the account. An empty host becomes "@", also
// in the caller's variable.
bool DNSTickler(const QString &domain, QString &host, const QString &command,
                const QString &recordType, const QString &address, bool bShowMessages,
                bool bAutoIP);
// The query of a DNSTickler command, the host already as it is sent.
QString TicklerQuery(const QString &domain, const QString &host, const QString &command,
                     const QString &recordType, const QString &address);
// What the reply to a DNSTickler command does to the session: on success the
// connection status, sIPAddress when the command was on the free
// sub-domain's own record (for an account with its own domains, any command),
// and, when the reply carries the record list, the list and the auto-IP
// list (a reply without the list leaves both as they were: the marks must
// describe the records the session shows); on failure the connection status.
// True on success. A malformed record list raises an invalid-argument error.
bool ApplyTicklerReply(const QString &reply, const QString &domain, const QString &host,
                       const QString &command, const QString &recordType, const QString &address,
                       bool bAutoIP);
// Sets or removes one record under the free sub-domain.
bool DNSTicklerAdvanced(const QString &domain, QString &host, const QString &command,
                        const QString &recordType, const QString &address, bool bShowMessages);
// The caller's public address as the service sees it; empty on failure.
QString GetIPAddress();

// --- Background work: replies read as values, the session left alone --------
// What the address query's reply says: the address (empty on failure) and the
// record list it carries, with the number of its exchange.
struct AddressReply
{
    QString address;
    std::optional<QString> records;
    quint64 serial = 0;
};
// The address query for background work; the connection status follows it.
void PostAddressQuery(QObject *context, std::function<void(const AddressReply &reply)> done);
// What a record command's reply says: success, the service's "Error:" text
// (or a word of ours when nothing came back), and the reply itself, from
// which RecordListOf() reads the record list when it is wanted: a check of
// a thousand commands reads only its last reply's list.
struct CommandReply
{
    bool ok = false;
    QString error;
    QString reply;
    quint64 serial = 0;
};
// Sends a DNSTickler command for background work (once: see
// Transport::Delivery); the connection status follows it. A reply whose
// record list is malformed counts as one without a list.
void PostTickler(const QString &domain, const QString &host, const QString &command,
                 const QString &recordType, const QString &address, QObject *context,
                 std::function<void(const CommandReply &reply)> done);
// Keeps sAutoIPList in step with a DNSTickler command.
void UpdateAutoIpEntry(const QString &domain, const QString &host, const QString &command,
                       const QString &recordType, const QString &address, bool bAutoIP);
// The auto-IP list list would become by that command (UpdateAutoIpEntry's rule).
QString AutoIpListAfter(const QString &list, const QString &domain, const QString &host,
                        const QString &command, const QString &recordType, const QString &address,
                        bool bAutoIP);

// --- Port relays ----------------------------------------------------------------
// The relay target with the port put in; puts "Http://" in front of a target
// without a scheme (the caller's variable changes too).
QString BuildRelayURL(QString &target, const QString &port);
// Host, port and path of a relay target; outputs a failing step would have
// set keep their previous values.
void SplitRelayURL(const QString &target, QString &host, QString &port, QString &path);

} // namespace basDNS
