// The record list of a reply as the grid reads it, and what the automatic
// refresh makes of the rows. Input: the new public address on the first line,
// the record list after it.
#include "RefreshRules.h"
#include "RecordList.h"
#include "ReplacePlan.h"

#include <cstddef>
#include <cstdint>
#include <exception>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString input =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const qsizetype newline = input.indexOf(u'\n');
    const QString ip = newline < 0 ? input : input.left(newline);
    const QString records = newline < 0 ? QString() : input.mid(newline + 1);

    QList<RefreshRules::GridRow> rows;
    for (const QString &piece : RecordList::Split(records)) {
        QStringList fields;
        try {
            fields = RecordList::Fields(piece);
        } catch (const std::exception &) {
            continue; // fewer than four fields: a subscript-out-of-range error
        }
        RecordList::Key(fields[0], fields[1], fields[2], fields[3]);
        // The grid shows a name of "@" as an empty cell; every other row is
        // kept at the public address.
        const QString host = fields[2] == QLatin1String("@") ? QString() : fields[2];
        const QString autoIP = rows.size() % 2 == 0 ? QStringLiteral("Yes") : QStringLiteral("No");
        rows.append({fields[0], host, fields[1], fields[3], autoIP});
    }
    for (const RefreshRules::GridRow &row : rows)
        RefreshRules::ResendForRow(row, ip);
    ReplacePlan::AutomaticRows(records, records.toUpper());
    ReplacePlan::Listed listed(records);
    return 0;
}
