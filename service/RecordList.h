#pragma once

#include <QString>
#include <QStringList>

// The service's record list: records separated by "~~", fields by ";;", in
// the order domain, type, name, server address.
namespace RecordList {

inline const QString RecordSeparator = QStringLiteral("~~");
inline const QString FieldSeparator = QStringLiteral(";;");

// The pieces of a record list, empty pieces kept.
QStringList Split(const QString &records);

// The first four fields of a piece; fewer than four raises a
// subscript-out-of-range run-time error.
QStringList Fields(const QString &piece);

// The canonical key of a record: four trimmed fields joined by ";;", closed
// by "~~", upper-cased. The same shape is an entry of the auto-IP list.
QString Key(const QString &domain, const QString &type, const QString &name,
            const QString &address);

// Whether a record's fields are within what the service's records can hold:
// a domain or host name at most 253 characters, a record type 32, a value
// (an address, a host name, a port relay's URL) 2048. A record beyond them
// came from no real service and is left out.
bool WithinLimits(QStringView domain, QStringView type, QStringView name, QStringView value);

} // namespace RecordList
