#pragma once

#include "ServiceRecord.h"

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

// One account of the service, as the accounts file describes it, with the
// records it owns now.
struct Account
{
    QString user;
    QString password;
    QString firstName;
    QString lastName;
    QStringList domains; // the account's own domains
    QString subDomain;   // the free sub-domain; empty for none
    QStringList recordTypes;
    QString userLevel;    // "5" may also set port relays
    QDate expirationDate; // invalid: the account never expires

    // The last day of service has begun or passed.
    bool isExpired(const QDate &today) const;
    // "m/d/yyyy", or empty for an account without an expiration date.
    QString expirationText() const;

    // The account's own spelling of one of its domains or of its free
    // sub-domain, matched ignoring case; empty when it owns no such domain.
    QString ownedDomain(const QString &domain) const;

    // The record type as stored, when the account may use it: one of its
    // record types, "MX <preference>" where MX is allowed, and "Port Relay"
    // at user level "5". Empty when the type is not allowed.
    QString allowedType(const QString &type) const;

    // "user.sub-domain": the free account's own host name.
    QString hostName() const { return user + u'.' + subDomain; }

    // The records it owns now. They change only through the three calls
    // below, which keep the record list in step.
    const QList<ServiceRecord> &records() const { return m_records; }
    void setRecords(const QList<ServiceRecord> &records);
    // Adds the record unless one the same (sameAs) is there; whether it did.
    bool addRecord(const ServiceRecord &record);
    // Removes every record the same as this one; how many went.
    qsizetype removeRecord(const ServiceRecord &record);

    // recordListText() of the records, built once after each change: the
    // address query of an account of thousands of records sends it every time.
    const QString &recordList() const;

    static std::optional<Account> fromJson(const QJsonValue &value, QString *error);

private:
    QList<ServiceRecord> m_records;
    mutable std::optional<QString> m_recordList; // none: to be built
};
