#include "ReplaceJournal.h"

#include "RecordList.h"
#include "RegistryStore.h"
#include "SettingsNames.h"

#include <QSet>

namespace ReplaceJournal {
namespace {

QString sectionOf(const QString &account)
{
    return Settings::AccountKey(account);
}

RegistryStore::Value valueOf(const Settings::Value &setting, const QString &data)
{
    return {setting.name, data, setting.type};
}

// A record's four fields in the record list's order: domain, type, host,
// value.
QString fieldsOf(const RefreshRules::RecordArgs &r)
{
    const QString &sep = RecordList::FieldSeparator;
    return r.domain + sep + r.recordType + sep + r.host + sep + r.address;
}

RefreshRules::RecordArgs recordAt(const QStringList &fields, qsizetype at)
{
    return {fields[at], fields[at + 2], fields[at + 1], fields[at + 3]};
}

// The journal as one text: per replace the old record's four fields, the
// new one's, and "1" or "0" for automatic, joined by ";;"; "~~" after each.
QString journalText(const QList<Replace> &replaces)
{
    QString text;
    for (const Replace &r : replaces)
        text += fieldsOf(r.old) + RecordList::FieldSeparator + fieldsOf(r.now) +
                RecordList::FieldSeparator + (r.automatic ? u'1' : u'0') +
                RecordList::RecordSeparator;
    return text;
}

QList<Replace> journalOf(const QString &text)
{
    QList<Replace> replaces;
    for (const QString &piece : RecordList::Split(text)) {
        const QStringList fields = piece.split(RecordList::FieldSeparator);
        if (fields.size() != 9 || fields[4].isEmpty())
            continue;
        replaces.append({recordAt(fields, 0), recordAt(fields, 4), fields[8] == u'1'});
    }
    return replaces;
}

QString hostOf(const QString &host)
{
    const QString trimmed = host.trimmed();
    return trimmed.isEmpty() ? QStringLiteral("@") : trimmed;
}

// The entries of an auto-IP list, each with its closing "~~", upper-cased.
QStringList entriesOf(const QString &list)
{
    QStringList entries;
    for (const QString &piece : list.toUpper().split(RecordList::RecordSeparator)) {
        if (!piece.isEmpty())
            entries.append(piece + RecordList::RecordSeparator);
    }
    return entries;
}

} // namespace

AccountState Load(const QString &account)
{
    RegistryStore store;
    store.SetKey(sectionOf(account));
    AccountState state;
    state.autoIPList = store.ReadValue(Settings::AutoIPs);
    state.freeAddress = store.ReadValue(Settings::IPAddress);
    state.replaces = journalOf(store.ReadValue(Settings::Replaces));
    for (const QString &piece : RecordList::Split(store.ReadValue(Settings::PendingAdds))) {
        const QStringList fields = piece.split(RecordList::FieldSeparator);
        if (fields.size() == 4 && !fields[0].isEmpty())
            state.replaces.append({{}, recordAt(fields, 0), true});
    }
    return state;
}

void Save(const QString &account, const AccountState &before, const AccountState &after)
{
    QList<RegistryStore::Value> values;
    if (after.autoIPList != before.autoIPList)
        values.append(valueOf(Settings::AutoIpsWritten, after.autoIPList));
    if (after.freeAddress != before.freeAddress)
        values.append(valueOf(Settings::IPAddress, after.freeAddress));
    if (after.replaces != before.replaces) {
        values.append(valueOf(Settings::Replaces, journalText(after.replaces)));
        // What an earlier version owed is in the journal now.
        RegistryStore store;
        store.SetKey(sectionOf(account));
        if (!store.ReadValue(Settings::PendingAdds).isEmpty())
            values.append(valueOf(Settings::PendingAdds, QString()));
    }
    if (values.isEmpty())
        return;
    RegistryStore store;
    store.SetKey(sectionOf(account));
    store.WriteValues(values);
}

QString KeyOf(const RefreshRules::RecordArgs &record)
{
    return RecordList::Key(record.domain, record.recordType, hostOf(record.host), record.address);
}

bool SameRecord(const RefreshRules::RecordArgs &a, const RefreshRules::RecordArgs &b)
{
    return KeyOf(a) == KeyOf(b);
}

bool SameName(const RefreshRules::RecordArgs &a, const RefreshRules::RecordArgs &b)
{
    const auto same = [](const QString &x, const QString &y) {
        return x.trimmed().compare(y.trimmed(), Qt::CaseInsensitive) == 0;
    };
    return same(a.domain, b.domain) && same(a.recordType, b.recordType) &&
           same(hostOf(a.host), hostOf(b.host));
}

QString MarksWithChanges(const QString &stored, const QString &before, const QString &after)
{
    const QStringList was = entriesOf(before);
    const QStringList now = entriesOf(after);
    const QSet<QString> wasSet(was.cbegin(), was.cend());
    const QSet<QString> nowSet(now.cbegin(), now.cend());
    QString marks = stored;
    for (const QString &entry : was) {
        if (!nowSet.contains(entry) && marks.toUpper().contains(entry))
            marks = marks.toUpper().remove(entry);
    }
    for (const QString &entry : now) {
        if (!wasSet.contains(entry) && !marks.toUpper().contains(entry))
            marks += entry;
    }
    return marks;
}

} // namespace ReplaceJournal
