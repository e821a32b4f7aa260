#include "ReplacePlan.h"

#include "AutoIpMatcher.h"
#include "RecordList.h"
#include "basDNS.h"

#include <vector>

namespace ReplacePlan {

Listed::Listed(const QString &records)
{
    try {
        RecordList::ForEach(records, [this](int, QStringView, const RecordList::FieldViews &f) {
            m_keys.insert(RecordList::Key(f[0].toString(), f[1].toString(), f[2].toString(),
                                          f[3].toString()));
        });
    } catch (const std::exception &) {
        // A piece that is no record ends the list: the records before it
        // are what is known to be there.
    }
}

bool Listed::Has(const RefreshRules::RecordArgs &record) const
{
    return m_keys.contains(ReplaceJournal::KeyOf(record));
}

RefreshRules::RecordArgs AtAddress(const RefreshRules::RecordArgs &record, const QString &ip)
{
    const RefreshRules::GridRow row{record.domain, record.host, record.recordType, record.address,
                                    QStringLiteral("Yes")};
    const std::optional<RefreshRules::Resend> resend = RefreshRules::ResendForRow(row, ip);
    return resend ? resend->add : record;
}

void Reconcile(AccountState &state, const Listed &listed, const QString &ip, bool free)
{
    QList<Replace> owed;
    for (Replace r : std::as_const(state.replaces)) {
        const bool oldListed = r.HasOld() && listed.Has(r.old);
        if (listed.Has(r.now)) {
            if (free) {
                state.freeAddress = r.now.address;
            } else {
                QString &marks = state.autoIPList;
                if (r.HasOld())
                    marks = basDNS::AutoIpListAfter(marks, r.old.domain, r.old.host,
                                                    basDNS::RecordDelete, r.old.recordType,
                                                    r.old.address, r.automatic);
                marks = basDNS::AutoIpListAfter(marks, r.now.domain, r.now.host, basDNS::RecordAdd,
                                                r.now.recordType, r.now.address, r.automatic);
            }
            if (oldListed)
                owed.append(r);
            continue;
        }
        // Owed from here on, and at today's address, not at the one it was
        // meant for when it was written.
        if (!ip.isEmpty())
            r.now = AtAddress(r.now, ip);
        if (oldListed && ReplaceJournal::SameRecord(r.old, r.now))
            continue;
        owed.append(r);
    }
    state.replaces = owed;
}

QList<RefreshRules::GridRow> AutomaticRows(const QString &records, const QString &autoIPList,
                                           bool *complete)
{
    std::vector<RecordList::FieldViews> fields;
    bool whole = true;
    try {
        RecordList::ForEach(records, [&](int, QStringView, const RecordList::FieldViews &f) {
            if (RecordList::WithinLimits(f[0], f[1], f[2], f[3]))
                fields.push_back(f);
            else
                whole = false;
        });
    } catch (const std::exception &) {
        whole = false;
    }
    if (complete)
        *complete = whole;
    QList<RefreshRules::GridRow> rows;
    if (autoIPList.isEmpty())
        return rows;
    const std::vector<bool> marks = RefreshRules::AutoIpMatcher(autoIPList.toUpper()).match(fields);
    for (size_t i = 0; i < fields.size(); ++i) {
        if (!marks[i])
            continue;
        const RecordList::FieldViews &f = fields[i];
        const QString host = f[2] == QLatin1String("@") ? QString() : f[2].toString();
        rows.append(
            {f[0].toString(), host, f[1].toString(), f[3].toString(), QStringLiteral("Yes")});
    }
    return rows;
}

QList<Replace> ForRows(const QList<RefreshRules::GridRow> &rows, const QString &ip,
                       const QList<Replace> &journal)
{
    // The records the journal's replaces already take care of.
    QSet<QString> taken;
    for (const Replace &r : journal) {
        if (r.HasOld())
            taken.insert(ReplaceJournal::KeyOf(r.old));
        taken.insert(ReplaceJournal::KeyOf(r.now));
    }
    QList<Replace> replaces;
    for (const RefreshRules::GridRow &row : rows) {
        const std::optional<RefreshRules::Resend> resend = RefreshRules::ResendForRow(row, ip);
        if (!resend)
            continue;
        const QString key = ReplaceJournal::KeyOf(resend->remove);
        if (taken.contains(key))
            continue;
        taken.insert(key);
        replaces.append({resend->remove, resend->add, true});
    }
    return replaces;
}

QList<Request> Requests(const QList<Replace> &replaces, const Listed *listed)
{
    QList<Request> requests;
    // Two replaces that end on one record add it once.
    QSet<QString> adding;
    for (const Replace &r : replaces) {
        if (r.HasOld() && (!listed || listed->Has(r.old)))
            requests.append({basDNS::RecordDelete, r.old});
        if (listed && listed->Has(r.now))
            continue;
        const QString key = ReplaceJournal::KeyOf(r.now);
        if (!adding.contains(key)) {
            adding.insert(key);
            requests.append({basDNS::RecordAdd, r.now});
        }
    }
    return requests;
}

} // namespace ReplacePlan
