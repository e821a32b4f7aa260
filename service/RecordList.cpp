#include "RecordList.h"

#include "RuntimeError.h"
#include "TextRules.h"

namespace RecordList {

QStringList Split(const QString &records)
{
    // An empty list has no records at all, not one empty record.
    if (records.isEmpty())
        return {};
    return records.split(RecordSeparator, Qt::KeepEmptyParts);
}

QStringList Fields(const QString &piece)
{
    const QStringList fields = piece.split(FieldSeparator, Qt::KeepEmptyParts);
    if (fields.size() < 4)
        throw RuntimeError::Of(ErrorNumber::SubscriptOutOfRange);
    return fields.mid(0, 4);
}

QString Key(const QString &domain, const QString &type, const QString &name, const QString &address)
{
    return (TextRules::Trim(domain) + FieldSeparator + TextRules::Trim(type) + FieldSeparator +
            TextRules::Trim(name) + FieldSeparator + TextRules::Trim(address) + RecordSeparator)
        .toUpper();
}

bool WithinLimits(QStringView domain, QStringView type, QStringView name, QStringView value)
{
    return domain.size() <= 253 && type.size() <= 32 && name.size() <= 253 && value.size() <= 2048;
}

} // namespace RecordList
