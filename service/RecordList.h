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

} // namespace RecordList
