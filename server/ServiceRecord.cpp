#include "ServiceRecord.h"

#include <QJsonValue>
#include <QStringList>

namespace {

bool sameText(const QString &a, const QString &b)
{
    return a.trimmed().compare(b.trimmed(), Qt::CaseInsensitive) == 0;
}

} // namespace

bool ServiceRecord::sameAs(const ServiceRecord &other) const
{
    return sameText(domain, other.domain) && sameText(type, other.type) &&
           sameText(name, other.name) && sameText(address, other.address);
}

QString ServiceRecord::listEntry() const
{
    return QStringList{domain, type, name, address}.join(QLatin1String(";;"));
}

QJsonObject ServiceRecord::toJson() const
{
    return QJsonObject{{QStringLiteral("domain"), domain},
                       {QStringLiteral("type"), type},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("address"), address}};
}

std::optional<ServiceRecord> ServiceRecord::fromJson(const QJsonValue &value, QString *error)
{
    if (!value.isObject()) {
        *error = QStringLiteral("a record is not an object");
        return std::nullopt;
    }
    const QJsonObject object = value.toObject();
    ServiceRecord record;
    const std::pair<const char *, QString *> fields[] = {{"domain", &record.domain},
                                                         {"type", &record.type},
                                                         {"name", &record.name},
                                                         {"address", &record.address}};
    for (const auto &[key, target] : fields) {
        const QJsonValue field = object.value(QLatin1String(key));
        if (!field.isString()) {
            *error = QStringLiteral("a record has no text \"%1\"").arg(QLatin1String(key));
            return std::nullopt;
        }
        *target = field.toString().trimmed();
        if (!isSafeFieldText(*target)) {
            *error = QStringLiteral("the record field \"%1\" holds a character that cannot "
                                    "stand in a record list (; ~ < > or a control character)")
                         .arg(QLatin1String(key));
            return std::nullopt;
        }
    }
    if (record.domain.isEmpty() || record.type.isEmpty() || record.name.isEmpty()) {
        *error = QStringLiteral("a record needs a domain, a type and a name");
        return std::nullopt;
    }
    record.type = record.type.toUpper();
    return record;
}

QString recordListText(const QList<ServiceRecord> &records)
{
    QStringList entries;
    entries.reserve(records.size());
    for (const ServiceRecord &record : records)
        entries.append(record.listEntry());
    return entries.join(QLatin1String("~~"));
}

bool isSafeFieldText(const QString &text)
{
    for (const QChar c : text) {
        if (c == u';' || c == u'~' || c == u'<' || c == u'>' ||
            c.category() == QChar::Other_Control)
            return false;
    }
    return true;
}
