#include "basDNS.h"

#include "ExchangeQueue.h"
#include "MainWindowPort.h"
#include "RecordList.h"
#include "RuntimeError.h"
#include "Seams.h"
#include "ServiceConfig.h"
#include "TextRules.h"
#include "Transport.h"
#include "basErr.h"
#include "clsUser.h"

namespace basDNS {
namespace {

const QString RecordsLabel = QStringLiteral("DomainUserRecords:");

// Where the first "</p" at or after from starts; -1 when none does. Goes from
// "<" to "<" with the vectorised one-character search: a value of megabytes
// (the record list) is passed over at memory speed.
qsizetype paragraphEnd(QStringView reply, qsizetype from)
{
    while ((from = reply.indexOf(u'<', from)) >= 0) {
        if (from + 2 < reply.size() && reply[from + 1] == u'/' && reply[from + 2] == u'p')
            return from;
        ++from;
    }
    return -1;
}

// GetReplyValue's value as a view into the reply, nothing copied; nullopt
// when the label is absent.
std::optional<QStringView> replyValue(const QString &reply, const QString &label)
{
    const qsizetype at = reply.indexOf(label);
    if (at < 0)
        return std::nullopt;
    const qsizetype begin = at + label.size();
    const qsizetype end = paragraphEnd(reply, begin);
    if (end < 0)
        throw RuntimeError::Of(ErrorNumber::InvalidArgument);
    return TextRules::Trim(QStringView(reply).sliced(begin, end - begin));
}

// The exchange whose reply gave the session its list; 0: none has.
quint64 g_recordListSerial = 0;

// Puts the list into the session. A list equal to the one the session holds,
// as most replies bring, is not copied again.
void putRecordList(QStringView list, quint64 serial)
{
    QString &records = User().sDomainUserRecords;
    if (records.isNull() || list != QStringView(records))
        records = list.toString();
    g_recordListSerial = serial;
}

// A reply that lacks the record list leaves the session's list as it was: a
// value is taken only when its label is present. Whether it had one.
bool takeRecordList(const QString &reply)
{
    const std::optional<QStringView> list = replyValue(reply, RecordsLabel);
    if (!list)
        return false;
    putRecordList(*list, ExchangeQueue::Instance().Finished());
    return true;
}

// The session's address is the free sub-domain's own A record's: a command
// on another record of the account (its MX, a service name) leaves it.
bool changesSessionAddress(const QString &domain, const QString &host, const QString &recordType)
{
    const clsUser &user = User();
    if (!user.bVeltrioOnly)
        return true;
    return domain.compare(user.sSubDomain, Qt::CaseInsensitive) == 0 &&
           host.compare(user.sUsername, Qt::CaseInsensitive) == 0 &&
           recordType.compare(user.sRecordType, Qt::CaseInsensitive) == 0;
}

const QString MessageTitle = QStringLiteral("Veltrio");

// Enables the main window again when a record command ends, however it ends:
// a trapped error must not leave the window disabled for good.
class WindowDisabled
{
public:
    WindowDisabled()
    {
        if (MainWindowPort *window = RegisteredMainWindow())
            window->SetWindowEnabled(false);
    }
    ~WindowDisabled()
    {
        if (MainWindowPort *window = RegisteredMainWindow())
            window->SetWindowEnabled(true);
    }
    WindowDisabled(const WindowDisabled &) = delete;
    WindowDisabled &operator=(const WindowDisabled &) = delete;
};

} // namespace

// --- Endpoints ------------------------------------------------------------------

QString PlainURL(const QString &port)
{
    QString url = QStringLiteral("http://") + Config().httpHost;
    if (!port.isEmpty())
        url += QLatin1Char(':') + port;
    return url + QStringLiteral("/dnslogin3.asp");
}

QString HttpsURL()
{
    return QStringLiteral("https://") + Config().httpsHost +
           QStringLiteral("/autoupdate/dnslogin3.asp");
}

// --- Transport --------------------------------------------------------------------

QString OpenRequest(const QString &query, Transport::Delivery delivery)
{
    return ExchangeQueue::Instance().Send(Transport::RequestUrl(ProgramWide::sServiceURL + query),
                                          Config().caCertificates, delivery);
}

void PostRequest(const QString &query, QObject *context,
                 std::function<void(const QString &reply)> done, Transport::Delivery delivery)
{
    ExchangeQueue::Instance().Post(Transport::RequestUrl(ProgramWide::sServiceURL + query),
                                   Config().caCertificates, context, std::move(done), delivery);
}

void SetTransferTimeout(int milliseconds)
{
    ExchangeQueue::Instance().SetDeadline(milliseconds);
}

QString GetReplyValue(const QString &reply, const QString &label)
{
    // Only the value is copied, never the rest of the reply.
    const std::optional<QStringView> value = replyValue(reply, label);
    return value ? value->toString() : QString();
}

QString NullToEmpty(const std::optional<QString> &value)
{
    return value ? NullToEmpty(*value) : QString();
}

QString NullToEmpty(const QString &value)
{
    if (value.isNull())
        return QString();
    return TextRules::Trim(value);
}

bool IsValidIPAddress(const QString &address)
{
    const QStringList pieces = address.split(QLatin1Char('.'));
    if (pieces.size() != 4)
        return false;
    for (const QString &piece : pieces) {
        if (!TextRules::IsNumeric(piece))
            return false;
        const double value = TextRules::ToDouble(piece);
        if (value < 0 || value > 255)
            return false;
    }
    return true;
}

bool IsSuccess(const QString &reply)
{
    return reply.contains(QLatin1String("SUCCESS"));
}

std::optional<QString> RecordListOf(const QString &reply)
{
    const std::optional<QStringView> list = replyValue(reply, RecordsLabel);
    if (!list)
        return std::nullopt;
    // Most replies bring the list the session holds: that string is shared,
    // not copied, and compares with it at once.
    const QString &session = User().sDomainUserRecords;
    if (!session.isNull() && *list == QStringView(session))
        return session;
    return list->toString();
}

bool TakeRecordList(const QString &records, quint64 serial)
{
    if (serial < g_recordListSerial)
        return false;
    putRecordList(records, serial);
    return true;
}

void RecordListFromLogin(bool hasList)
{
    g_recordListSerial = hasList ? ExchangeQueue::Instance().Finished() : 0;
}

void SetConnectionStatus(bool success)
{
    MainWindowPort *window = RegisteredMainWindow();
    if (!window)
        return;
    if (success) {
        // Only a change from "not connected" is shown; any other colour stays.
        if (window->StatusColour() == StatusColour::NotConnected) {
            window->SysTrayIcon(true);
            window->SetStatus(QStringLiteral("Connected"), StatusColour::Connected);
        }
    } else {
        window->SysTrayIcon(false);
        window->SetStatus(QStringLiteral("Not Connected with Server"), StatusColour::NotConnected);
    }
}

// --- Record commands ----------------------------------------------------------------

QString TicklerQuery(const QString &domain, const QString &host, const QString &command,
                     const QString &recordType, const QString &address)
{
    const clsUser &user = User();
    return QStringLiteral("?FXN=DNSTickler&Usr=") + user.sUsername + QStringLiteral("&Pwd=") +
           user.sPassword + QStringLiteral("&Cname=") + host + QStringLiteral("&Domain=") + domain +
           QStringLiteral("&DNSCommand=") + command + QStringLiteral("&RecordType=") + recordType +
           QStringLiteral("&IPAddress=") + address;
}

bool ApplyTicklerReply(const QString &reply, const QString &domain, const QString &host,
                       const QString &command, const QString &recordType, const QString &address,
                       bool bAutoIP)
{
    if (!IsSuccess(reply)) {
        SetConnectionStatus(false);
        return false;
    }
    clsUser &user = User();
    SetConnectionStatus(true);
    if (changesSessionAddress(domain, host, recordType))
        user.sIPAddress = address;
    // The marks follow the records the session shows: without the list,
    // neither changes.
    if (takeRecordList(reply) && !user.bVeltrioOnly)
        UpdateAutoIpEntry(domain, host, command, recordType, address, bAutoIP);
    return true;
}

namespace {

// What both record commands share: the main window disabled while it waits,
// the common error trap, the command sent once, and its outcome told. On
// success, succeeded applies the reply to the session and gives the text of
// the box; on failure, failed gives the box's text from the service's
// "Error:" value, and the status follows the box.
bool sendRecordCommand(const QString &label, const std::function<QString()> &query,
                       bool bShowMessages,
                       const std::function<QString(const QString &reply)> &succeeded,
                       const std::function<QString(const QString &error)> &failed,
                       const QString &failureTitle)
{
    bool result = false;
    WindowDisabled disabled;
    Trap(label, [&] {
        const QString reply = OpenRequest(query(), Transport::Delivery::AtMostOnce);
        if (IsSuccess(reply)) {
            const QString text = succeeded(reply);
            if (bShowMessages)
                Seams::MsgBox(text, Seams::Buttons::Ok, MessageTitle);
            result = true;
        } else {
            if (bShowMessages)
                Seams::MsgBox(failed(GetReplyValue(reply, QStringLiteral("Error:"))),
                              Seams::Buttons::Ok, failureTitle);
            SetConnectionStatus(false);
        }
    });
    return result;
}

QString removedOrSet(const QString &command)
{
    return command == RecordDelete ? QStringLiteral("Removed") : QStringLiteral("Set");
}

QString removeOrSet(const QString &command)
{
    return command == RecordDelete ? QStringLiteral("Remove") : QStringLiteral("Set");
}

} // namespace

bool DNSTickler(const QString &domain, QString &host, const QString &command,
                const QString &recordType, const QString &address, bool bShowMessages, bool bAutoIP)
{
    return sendRecordCommand(
        QStringLiteral("basDNS.DNSTickler()"),
        [&] {
            if (host.isEmpty())
                host = QStringLiteral("@");
            return TicklerQuery(domain, host, command, recordType, address);
        },
        bShowMessages,
        [&](const QString &reply) {
            ApplyTicklerReply(reply, domain, host, command, recordType, address, bAutoIP);
            return QStringLiteral("Transaction Complete:\nIP ") + removedOrSet(command) +
                   QStringLiteral(" for Name:") + host + QStringLiteral(" IPAddress:") + address;
        },
        [&](const QString &error) {
            return QStringLiteral("Could not ") + removeOrSet(command) + QStringLiteral(" IP.  ") +
                   error;
        },
        Seams::DefaultTitle());
}

bool DNSTicklerAdvanced(const QString &domain, QString &host, const QString &command,
                        const QString &recordType, const QString &address, bool bShowMessages)
{
    const clsUser &user = User();
    const auto fullName = [&] {
        return host + QLatin1Char('.') + user.sUsername + QLatin1Char('.') + domain;
    };
    return sendRecordCommand(
        QStringLiteral("basDNS.DNSTicklerAdvanced()"),
        [&] {
            if (host.isEmpty())
                host = QStringLiteral("@");
            return QStringLiteral("?FXN=DNSTicklerAdvanced&Usr=") + user.sUsername +
                   QStringLiteral("&Pwd=") + user.sPassword + QStringLiteral("&Cname=") + host +
                   QLatin1Char('.') + user.sUsername + QStringLiteral("&Domain=") + domain +
                   QStringLiteral("&DNSCommand=") + command + QStringLiteral("&RecordType=") +
                   recordType + QStringLiteral("&IPAddress=") + address;
        },
        bShowMessages,
        [&](const QString &reply) {
            SetConnectionStatus(true);
            takeRecordList(reply);
            return QStringLiteral("Transaction Complete:\n") + fullName() + QLatin1Char(' ') +
                   removedOrSet(command);
        },
        [&](const QString &error) {
            return QStringLiteral("Could not ") + removeOrSet(command) + QLatin1Char(' ') +
                   fullName() + QLatin1Char(' ') + error;
        },
        MessageTitle);
}

namespace {

// What the address query's reply does to the session; every step runs even
// when the one before it failed. The address, empty on failure.
QString applyIPAddressReply(const QString &reply)
{
    QString address;
    if (IsSuccess(reply)) {
        IgnoringErrors([&] { SetConnectionStatus(true); });
        IgnoringErrors([&] { address = GetReplyValue(reply, QStringLiteral("IPAddress:")); });
        IgnoringErrors([&] { takeRecordList(reply); });
    } else {
        IgnoringErrors([&] { SetConnectionStatus(false); });
    }
    return address;
}

QString ipAddressQuery()
{
    return QStringLiteral("?FXN=GetIPAddress&Usr=") + User().sUsername;
}

} // namespace

QString GetIPAddress()
{
    QString reply;
    IgnoringErrors([&] { reply = OpenRequest(ipAddressQuery()); });
    return applyIPAddressReply(reply);
}

void PostAddressQuery(QObject *context, std::function<void(const AddressReply &reply)> done)
{
    PostRequest(ipAddressQuery(), context, [done = std::move(done)](const QString &reply) {
        // The very same reply as the last time (the transport hands the same
        // string on for the same bytes) says what it said then.
        static QString lastReply;
        static AddressReply lastRead;
        AddressReply read;
        if (!reply.isEmpty() && reply.constData() == lastReply.constData() &&
            reply.size() == lastReply.size()) {
            read = lastRead;
            read.serial = ExchangeQueue::Instance().Finished();
            IgnoringErrors([&] { SetConnectionStatus(true); });
            done(read);
            return;
        }
        read.serial = ExchangeQueue::Instance().Finished();
        if (IsSuccess(reply)) {
            IgnoringErrors([&] { SetConnectionStatus(true); });
            IgnoringErrors(
                [&] { read.address = GetReplyValue(reply, QStringLiteral("IPAddress:")); });
            IgnoringErrors([&] { read.records = RecordListOf(reply); });
            lastReply = reply;
            lastRead = read;
        } else {
            IgnoringErrors([&] { SetConnectionStatus(false); });
        }
        done(read);
    });
}

void PostTickler(const QString &domain, const QString &host, const QString &command,
                 const QString &recordType, const QString &address, QObject *context,
                 std::function<void(const CommandReply &reply)> done)
{
    PostRequest(
        TicklerQuery(domain, host, command, recordType, address), context,
        [done = std::move(done)](const QString &reply) {
            CommandReply read;
            read.serial = ExchangeQueue::Instance().Finished();
            read.ok = IsSuccess(reply);
            read.reply = reply;
            IgnoringErrors([&] { SetConnectionStatus(read.ok); });
            if (!read.ok) {
                if (!reply.isEmpty())
                    IgnoringErrors(
                        [&] { read.error = GetReplyValue(reply, QStringLiteral("Error:")); });
                if (read.error.isEmpty())
                    read.error = reply.isEmpty() ? QStringLiteral("no answer from the service")
                                                 : QStringLiteral("the service did not say why");
            }
            done(read);
        },
        Transport::Delivery::AtMostOnce);
}

QString AutoIpListAfter(const QString &list, const QString &domain, const QString &host,
                        const QString &command, const QString &recordType, const QString &address,
                        bool bAutoIP)
{
    const QString entry = RecordList::Key(domain, recordType, host, address);
    const QString word = command.toUpper();
    if (word == RecordAdd && bAutoIP) {
        if (!list.toUpper().contains(entry))
            return list + entry;
    } else if (word == RecordDelete) {
        // A removal leaves the whole list upper-cased, while an addition keeps
        // the earlier entries as they were: both are deliberate.
        const QString upper = list.toUpper();
        if (upper.contains(entry))
            return QString(upper).remove(entry);
    }
    // A RECORDADD of a record that is no longer automatic leaves the list alone.
    return list;
}

void UpdateAutoIpEntry(const QString &domain, const QString &host, const QString &command,
                       const QString &recordType, const QString &address, bool bAutoIP)
{
    QString &list = ProgramWide::sAutoIPList;
    list = AutoIpListAfter(list, domain, host, command, recordType, address, bAutoIP);
}

// --- Port relays ----------------------------------------------------------------------

QString BuildRelayURL(QString &target, const QString &port)
{
    if (!target.toUpper().startsWith(QLatin1String("HTTP://")))
        target = QStringLiteral("Http://") + target;
    if (!TextRules::IsNumeric(port))
        return target;
    // The first "/" after the scheme.
    const qsizetype slash = target.indexOf(QLatin1Char('/'), 7);
    if (slash < 0)
        return target + QLatin1Char(':') + port;
    return target.left(slash) + QLatin1Char(':') + port + target.mid(slash);
}

void SplitRelayURL(const QString &target, QString &host, QString &port, QString &path)
{
    QString rest = target;
    IgnoringErrors([&] {
        if (rest.left(7).toUpper() == QLatin1String("HTTP://"))
            rest = rest.mid(7);
    });
    IgnoringErrors([&] {
        const qsizetype colon = rest.indexOf(QLatin1Char(':'));
        if (colon >= 0) {
            host = rest.left(colon);
            const QString afterColon = rest.mid(colon + 1);
            const qsizetype slash = afterColon.indexOf(QLatin1Char('/'));
            if (slash >= 0) {
                port = afterColon.left(slash);
                path = afterColon.mid(slash);
            } else {
                port = afterColon;
            }
        } else {
            const qsizetype slash = rest.indexOf(QLatin1Char('/'));
            if (slash >= 0) {
                host = rest.left(slash);
                path = rest.mid(slash);
            } else {
                host = rest;
            }
        }
    });
    IgnoringErrors([&] {
        if (!TextRules::IsNumeric(port))
            port.clear();
    });
}

} // namespace basDNS
