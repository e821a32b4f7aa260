#include "PendingAdds.h"

#include "RecordList.h"
#include "RegistryStore.h"

namespace PendingAdds {
namespace {

const QString ValueName = QStringLiteral("PendingAdds");

QString userKey(const QString &user)
{
    return QStringLiteral("SOFTWARE\\Veltrio\\") + user;
}

QString key(const AutoRefresh::RecordArgs &r)
{
    return RecordList::Key(r.domain, r.recordType, r.host, r.address);
}

} // namespace

QList<AutoRefresh::RecordArgs> Read(const QString &user)
{
    RegistryStore store;
    store.SetKey(userKey(user));
    QList<AutoRefresh::RecordArgs> adds;
    for (const QString &piece : RecordList::Split(store.ReadValue(ValueName))) {
        const QStringList fields = piece.split(RecordList::FieldSeparator);
        if (fields.size() == 4 && !fields[0].isEmpty())
            adds.append({fields[0], fields[2], fields[1], fields[3]});
    }
    return adds;
}

void Write(const QString &user, const QList<AutoRefresh::RecordArgs> &adds)
{
    QString text;
    for (const AutoRefresh::RecordArgs &a : adds)
        text += a.domain + RecordList::FieldSeparator + a.recordType + RecordList::FieldSeparator +
                a.host + RecordList::FieldSeparator + a.address + RecordList::RecordSeparator;
    RegistryStore store;
    store.SetKey(userKey(user));
    store.WriteValue(ValueName, text, RegistryStore::Text);
}

bool Same(const AutoRefresh::RecordArgs &a, const AutoRefresh::RecordArgs &b)
{
    return key(a) == key(b);
}

bool Listed(const AutoRefresh::RecordArgs &add, const QString &records)
{
    const QString wanted = key(add);
    for (const QString &piece : RecordList::Split(records)) {
        const QStringList fields = piece.split(RecordList::FieldSeparator);
        if (fields.size() >= 4 &&
            RecordList::Key(fields[0], fields[1], fields[2], fields[3]) == wanted)
            return true;
    }
    return false;
}

} // namespace PendingAdds
