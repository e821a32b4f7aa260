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
    QList<ServiceRecord> records;

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

    static std::optional<Account> fromJson(const QJsonValue &value, QString *error);
};
