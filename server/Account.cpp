#include "Account.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <algorithm>

namespace {

const QString dateFormat = QStringLiteral("M/d/yyyy");

bool readText(const QJsonObject &object, const char *key, bool required, QString *target,
              QString *error)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined() && !required)
        return true;
    if (!value.isString()) {
        *error = QStringLiteral("\"%1\" must be a text").arg(QLatin1String(key));
        return false;
    }
    *target = value.toString().trimmed();
    if (!isSafeFieldText(*target)) {
        *error = QStringLiteral("\"%1\" holds a character the replies cannot carry "
                                "(; ~ < > or a control character)")
                     .arg(QLatin1String(key));
        return false;
    }
    return true;
}

bool readList(const QJsonObject &object, const char *key, QStringList *target, QString *error)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined())
        return true;
    if (!value.isArray()) {
        *error = QStringLiteral("\"%1\" must be a list of texts").arg(QLatin1String(key));
        return false;
    }
    for (const QJsonValue &item : value.toArray()) {
        const QString text = item.toString().trimmed();
        if (!item.isString() || text.isEmpty() || !isSafeFieldText(text) || text.contains(u',')) {
            *error = QStringLiteral("\"%1\" must hold non-empty texts without , ; ~ < >")
                         .arg(QLatin1String(key));
            return false;
        }
        target->append(text);
    }
    return true;
}

} // namespace

bool Account::isExpired(const QDate &today) const
{
    return expirationDate.isValid() && expirationDate <= today;
}

QString Account::expirationText() const
{
    return expirationDate.isValid() ? expirationDate.toString(dateFormat) : QString();
}

QString Account::ownedDomain(const QString &domain) const
{
    const QString wanted = domain.trimmed();
    if (wanted.isEmpty())
        return {};
    for (const QString &own : domains) {
        if (own.compare(wanted, Qt::CaseInsensitive) == 0)
            return own;
    }
    if (!subDomain.isEmpty() && subDomain.compare(wanted, Qt::CaseInsensitive) == 0)
        return subDomain;
    return {};
}

QString Account::allowedType(const QString &type) const
{
    const QString wanted = type.trimmed().toUpper();
    if (wanted.isEmpty())
        return {};
    const auto allows = [this](const QString &t) {
        return recordTypes.contains(t, Qt::CaseInsensitive);
    };
    if (allows(wanted))
        return wanted;
    static const QRegularExpression mxWithPreference(QStringLiteral("^MX +([0-9]{1,5})$"));
    const QRegularExpressionMatch mx = mxWithPreference.match(wanted);
    if (mx.hasMatch() && allows(QStringLiteral("MX")) && mx.captured(1).toInt() <= 65535)
        return QStringLiteral("MX ") + QString::number(mx.captured(1).toInt());
    if (wanted == QLatin1String("PORT RELAY") && userLevel == QLatin1String("5"))
        return wanted;
    return {};
}

void Account::setRecords(const QList<ServiceRecord> &records)
{
    m_records = records;
    m_recordList.reset();
}

bool Account::addRecord(const ServiceRecord &record)
{
    if (std::any_of(m_records.cbegin(), m_records.cend(),
                    [&](const ServiceRecord &r) { return r.sameAs(record); }))
        return false;
    m_records.append(record);
    m_recordList.reset();
    return true;
}

qsizetype Account::removeRecord(const ServiceRecord &record)
{
    const qsizetype removed =
        m_records.removeIf([&](const ServiceRecord &r) { return r.sameAs(record); });
    if (removed)
        m_recordList.reset();
    return removed;
}

const QString &Account::recordList() const
{
    if (!m_recordList)
        m_recordList = recordListText(m_records);
    return *m_recordList;
}

std::optional<Account> Account::fromJson(const QJsonValue &value, QString *error)
{
    if (!value.isObject()) {
        *error = QStringLiteral("an account is not an object");
        return std::nullopt;
    }
    const QJsonObject object = value.toObject();
    Account account;
    QString expiration;
    if (!readText(object, "user", true, &account.user, error) ||
        !readText(object, "password", true, &account.password, error) ||
        !readText(object, "firstName", false, &account.firstName, error) ||
        !readText(object, "lastName", false, &account.lastName, error) ||
        !readText(object, "subDomain", false, &account.subDomain, error) ||
        !readText(object, "userLevel", false, &account.userLevel, error) ||
        !readText(object, "expirationDate", false, &expiration, error) ||
        !readList(object, "domains", &account.domains, error) ||
        !readList(object, "recordTypes", &account.recordTypes, error))
        return std::nullopt;
    if (account.user.isEmpty() || account.user.contains(u'.') || account.user.contains(u' ')) {
        *error = QStringLiteral("\"user\" must be a name without blanks or full stops");
        return std::nullopt;
    }
    if (!expiration.isEmpty()) {
        account.expirationDate = QDate::fromString(expiration, dateFormat);
        if (!account.expirationDate.isValid()) {
            *error =
                QStringLiteral("\"expirationDate\" of %1 is not a date m/d/yyyy").arg(account.user);
            return std::nullopt;
        }
    }
    const QJsonValue records = object.value(QLatin1String("records"));
    if (!records.isUndefined() && !records.isArray()) {
        *error = QStringLiteral("\"records\" of %1 must be a list").arg(account.user);
        return std::nullopt;
    }
    QList<ServiceRecord> list;
    for (const QJsonValue &item : records.toArray()) {
        auto record = ServiceRecord::fromJson(item, error);
        if (!record) {
            *error = account.user + QStringLiteral(": ") + *error;
            return std::nullopt;
        }
        list.append(*record);
    }
    account.setRecords(list);
    return account;
}
