#include "DnsScript.h"

#include "QueryText.h"

#include <QRegularExpression>
#include <utility>

namespace {

// Older requests are dropped beyond this many, so a long-running service
// does not grow without end.
constexpr qsizetype maxLoggedRequests = 10000;
constexpr qsizetype maxLoggedBytes = 4 << 20; // characters

QString labelled(const QString &label, const QString &value)
{
    return label + value + QStringLiteral("</p>");
}

// Failure texts never repeat what the caller sent: the client counts any
// reply that contains the word SUCCESS as a success.
QString fail(const QString &reason)
{
    return QStringLiteral("FAIL</p>") + labelled(QStringLiteral("Error:"), reason);
}

bool isDottedIPv4(const QString &text)
{
    static const QRegularExpression dotted(
        QStringLiteral("^([0-9]{1,3})\\.([0-9]{1,3})\\.([0-9]{1,3})\\.([0-9]{1,3})$"));
    const QRegularExpressionMatch match = dotted.match(text);
    if (!match.hasMatch())
        return false;
    for (int i = 1; i <= 4; ++i) {
        if (match.captured(i).toInt() > 255)
            return false;
    }
    return true;
}

// The name a record of the free sub-domain must have: the user's own host
// name or a name under it ("www.demo"). "@.demo" stands for the host itself.
std::optional<QString> freeHostName(const QString &name, const QString &user)
{
    const QString suffix = u'.' + user;
    if (name.compare(user, Qt::CaseInsensitive) == 0)
        return name;
    if (name.compare(u'@' + suffix, Qt::CaseInsensitive) == 0)
        return user;
    if (name.size() > suffix.size() && name.endsWith(suffix, Qt::CaseInsensitive) &&
        !name.startsWith(u'.'))
        return name;
    return std::nullopt;
}

QString describe(const ServiceRecord &record)
{
    const QString fullName =
        record.name == QLatin1String("@") ? record.domain : record.name + u'.' + record.domain;
    return record.type + QStringLiteral(" record ") + fullName + u' ' + record.address;
}

} // namespace

DnsScript::DnsScript(AccountBook &book, Today today)
    : m_book(book), m_today(today ? std::move(today) : Today([] { return QDate::currentDate(); }))
{}

void DnsScript::note(const QString &rawQuery)
{
    // The kept queries are bounded in number and in bytes, oldest first out.
    m_requests.append(rawQuery);
    m_requestBytes += rawQuery.size();
    while (m_requests.size() > maxLoggedRequests || m_requestBytes > maxLoggedBytes) {
        m_requestBytes -= m_requests.constFirst().size();
        m_requests.removeFirst();
    }
}

QString DnsScript::answer(const QString &rawQuery, const QString &peerAddress, bool noted)
{
    if (!noted)
        note(rawQuery);
    const QueryText query(rawQuery);
    const QString function = query.value(QStringLiteral("fxn")).value_or(QString()).trimmed();
    const QString caller = callerAddress(peerAddress);
    const auto is = [&function](const char *name) {
        return function.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    };
    if (is("login"))
        return login(query, caller);
    if (is("DNSTickler"))
        return tickler(query, false);
    if (is("DNSTicklerAdvanced"))
        return tickler(query, true);
    if (is("GetIPAddress"))
        return getIPAddress(query, caller);
    return fail(QStringLiteral("Unknown function"));
}

QString DnsScript::login(const QueryText &query, const QString &caller)
{
    const Account *account = m_book.find(query.value(QStringLiteral("usr")).value_or(QString()));
    const std::optional<QString> password = query.value(QStringLiteral("pwd"));
    if (!account || !password || *password != account->password) {
        return labelled(QStringLiteral("DNS LOGIN:"), QStringLiteral("FAIL")) +
               labelled(QStringLiteral("Error:"), QStringLiteral("Invalid user name or password"));
    }
    // An expired account still logs in: the client shows the expiry notice.
    return labelled(QStringLiteral("DNS LOGIN:"), QStringLiteral("SUCCESS")) +
           labelled(QStringLiteral("FirstName:"), account->firstName) +
           labelled(QStringLiteral("LastName:"), account->lastName) +
           labelled(QStringLiteral("Domains:"), account->domains.join(u',')) +
           labelled(QStringLiteral("SubDomain:"), account->subDomain) +
           labelled(QStringLiteral("RecordTypes:"), account->recordTypes.join(u',')) +
           labelled(QStringLiteral("ExpirationDate:"), account->expirationText()) +
           labelled(QStringLiteral("IPAddress:"), reportedAddress(caller)) +
           labelled(QStringLiteral("UserLevel:"), account->userLevel) +
           // Last: a record's value may hold any other label's text.
           labelled(QStringLiteral("DomainUserRecords:"), account->recordList());
}

QString DnsScript::tickler(const QueryText &query, bool advanced)
{
    static const char *const required[] = {"Usr",        "Pwd",        "Cname",    "Domain",
                                           "DNSCommand", "RecordType", "IPAddress"};
    for (const char *key : required) {
        if (!query.contains(QLatin1String(key)))
            return fail(QStringLiteral("Missing parameter ") + QLatin1String(key));
    }
    const auto text = [&query](const char *key) {
        return query.value(QLatin1String(key)).value_or(QString()).trimmed();
    };

    Account *account = m_book.find(text("Usr"));
    if (!account || query.value(QStringLiteral("Pwd")) != account->password)
        return fail(QStringLiteral("Invalid user name or password"));
    if (account->isExpired(m_today()))
        return fail(QStringLiteral("Account expired"));

    const QString command = text("DNSCommand").toUpper();
    const bool adding = command == QLatin1String("RECORDADD");
    if (!adding && command != QLatin1String("RECORDDELETE"))
        return fail(QStringLiteral("Unknown command"));

    ServiceRecord record;
    record.type = account->allowedType(text("RecordType"));
    if (record.type.isEmpty())
        return fail(QStringLiteral("Record type not allowed for this account"));

    const QString domain = text("Domain");
    if (advanced) {
        // The free sub-domain, named as such, as the user's host name in it,
        // or left empty.
        if (account->subDomain.isEmpty())
            return fail(QStringLiteral("The account has no free sub-domain"));
        if (!domain.isEmpty() && account->ownedDomain(domain) != account->subDomain &&
            domain.compare(account->hostName(), Qt::CaseInsensitive) != 0)
            return fail(QStringLiteral("Unknown domain"));
        record.domain = account->subDomain;
    } else {
        record.domain = domain.isEmpty() ? account->subDomain : account->ownedDomain(domain);
        if (record.domain.isEmpty())
            return fail(domain.isEmpty() ? QStringLiteral("Missing parameter Domain")
                                         : QStringLiteral("Unknown domain"));
    }

    record.name = text("Cname");
    if (record.name.isEmpty())
        record.name = QStringLiteral("@");
    if (record.domain == account->subDomain) {
        const auto name = freeHostName(record.name, account->user);
        if (!name)
            return fail(QStringLiteral("Name not allowed in the free sub-domain"));
        record.name = *name;
    }

    record.address = text("IPAddress");
    if (record.address.isEmpty() && advanced)
        record.address = account->hostName();
    if (record.address.isEmpty())
        return fail(QStringLiteral("Missing parameter IPAddress"));
    // A host name never holds a colon; one that did could read as a reply's
    // label ("DomainUserRecords:") to the client. A relay's address keeps its.
    if (!isSafeFieldText(record.name) || record.name.contains(u':') ||
        !isSafeFieldText(record.address))
        return fail(QStringLiteral("The name or address holds a character that is not allowed"));

    const QList<ServiceRecord> before = account->records();
    QString done;
    bool changed = false;
    if (adding) {
        changed = account->addRecord(record);
        done = changed ? QStringLiteral("Set ") + describe(record)
                       : describe(record) + QStringLiteral(" already set");
    } else {
        changed = account->removeRecord(record) > 0;
        done = changed ? QStringLiteral("Removed ") + describe(record)
                       : QStringLiteral("No ") + describe(record) + QStringLiteral(" to remove");
    }
    if (changed) {
        QString error;
        if (!m_book.save(&error)) {
            account->setRecords(before);
            qWarning("%s", qPrintable(error));
            return fail(QStringLiteral("The records could not be stored; nothing was changed"));
        }
    }
    // The record list comes first: a client reads a label where it first
    // stands, and the message after it repeats what the caller sent.
    return QStringLiteral("SUCCESS</p>") +
           labelled(QStringLiteral("DomainUserRecords:"), account->recordList()) +
           labelled(QStringLiteral("Transaction Complete:"), done) +
           labelled(QStringLiteral("IPAddress:"), record.address);
}

QString DnsScript::getIPAddress(const QueryText &query, const QString &caller)
{
    const Account *account = m_book.find(query.value(QStringLiteral("Usr")).value_or(QString()));
    if (!account)
        return fail(QStringLiteral("Unknown user"));
    return QStringLiteral("SUCCESS</p>") +
           labelled(QStringLiteral("IPAddress:"), reportedAddress(caller)) +
           labelled(QStringLiteral("DomainUserRecords:"), account->recordList());
}

bool DnsScript::setPublicAddress(const QString &address)
{
    const QString trimmed = address.trimmed();
    if (!trimmed.isEmpty() && !isDottedIPv4(trimmed))
        return false;
    m_publicAddress = trimmed;
    return true;
}

QString DnsScript::reportedAddress(const QString &caller) const
{
    return m_publicAddress.isEmpty() ? caller : m_publicAddress;
}

QString DnsScript::callerAddress(const QString &peerAddress)
{
    static const QLatin1String mapped("::ffff:");
    if (peerAddress.startsWith(mapped, Qt::CaseInsensitive) && peerAddress.contains(u'.'))
        return peerAddress.mid(mapped.size());
    if (peerAddress == QLatin1String("::1"))
        return QStringLiteral("127.0.0.1");
    return peerAddress;
}
