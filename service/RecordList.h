#pragma once

#include "RuntimeError.h"

#include <QString>
#include <QStringList>
#include <QStringView>
#include <array>

// The service's record list: records separated by "~~", fields by ";;", in
// the order domain, type, name, server address.
namespace RecordList {

inline const QString RecordSeparator = QStringLiteral("~~");
inline const QString FieldSeparator = QStringLiteral(";;");

// The first four fields of a record, as views into the list.
using FieldViews = std::array<QStringView, 4>;

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

// Goes through a record list in place, piece by piece: pieces split on "~~" (empty ones kept; an
// empty list has none), the first four ";;"-separated fields of each. fn(position, piece, fields)
// is called per piece; a piece with fewer than four fields raises the same subscript-out-of-range
// error as Fields().
template <typename Fn> void ForEach(QStringView records, Fn fn)
{
    if (records.isEmpty())
        return;
    const QStringView recordEnd(RecordList::RecordSeparator);
    const QStringView fieldEnd(RecordList::FieldSeparator);
    qsizetype begin = 0;
    for (int position = 0;; ++position) {
        qsizetype end = records.indexOf(recordEnd, begin);
        const bool last = end < 0;
        if (last)
            end = records.size();
        const QStringView piece = records.sliced(begin, end - begin);
        FieldViews fields;
        qsizetype from = 0;
        for (size_t i = 0; i < 4; ++i) {
            if (from > piece.size())
                throw RuntimeError::Of(ErrorNumber::SubscriptOutOfRange);
            qsizetype to = piece.indexOf(fieldEnd, from);
            if (to < 0)
                to = piece.size();
            fields[i] = piece.sliced(from, to - from);
            from = to + fieldEnd.size();
        }
        fn(position, piece, fields);
        if (last)
            return;
        begin = end + recordEnd.size();
    }
}

} // namespace RecordList
