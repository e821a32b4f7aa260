#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <optional>

// One DNS record of an account, as the service keeps it and lists it.
struct ServiceRecord
{
    QString domain;
    QString type; // "A", "CNAME", "MX 1", "PORT RELAY", ... (kept upper-cased)
    QString name; // host label inside the domain; "@" is the domain itself
    QString address;

    // Same record: all four fields equal, blanks at the ends and letter case ignored.
    bool sameAs(const ServiceRecord &other) const;

    // "domain;;type;;name;;address"
    QString listEntry() const;

    QJsonObject toJson() const;
    // A record object with the four text fields; nullopt (and the reason) otherwise.
    static std::optional<ServiceRecord> fromJson(const QJsonValue &value, QString *error);
};

// The record list of a reply: entries joined by "~~", nothing after the last
// one (the client treats an empty trailing piece as a broken record).
QString recordListText(const QList<ServiceRecord> &records);

// True when the text can stand in a record field without breaking the list
// format or the reply around it: no ";", "~", "<", ">" and no control characters.
bool isSafeFieldText(const QString &text);
