#pragma once

#include "RefreshRules.h"
#include "ReplaceJournal.h"

#include <QList>
#include <QSet>
#include <QString>

// How a check decides what to send, without sending anything: the journal
// reconciled with the service's record list, the automatic records that are
// not at the public address, and the requests that follow from both.
namespace ReplacePlan {

// The records of a record list, to ask whether one is there.
class Listed
{
public:
    explicit Listed(const QString &records);
    bool Has(const RefreshRules::RecordArgs &record) const;

private:
    QSet<QString> m_keys;
};

// The record rec brought to address ip: an address record takes ip as it
// stands; a port relay keeps the port and path of its URL.
RefreshRules::RecordArgs AtAddress(const RefreshRules::RecordArgs &record, const QString &ip);

// Brings the journal up to date with what the service lists, the public
// address being ip. Per replace:
//   the new record listed: it is done, and the marks move to it (an account
//     with its own domains: the old record's mark out, the new one's in; the
//     free sub-domain: its address); it stays only while the old record is
//     still listed, which is then owed a delete;
//   the old record listed, the new one not: the replace is owed, at ip;
//   neither listed: the add is owed, at ip.
// A replace that ip has made pointless (the old record already at ip) ends.
void Reconcile(AccountState &state, const Listed &listed, const QString &ip, bool free);

// The automatic records of a record list (its records whose keys the auto-IP
// list holds), in the list's order. A piece that is no record ends the list
// and a record beyond what a record can hold is left out: complete then
// says the rows are not all there.
QList<RefreshRules::GridRow> AutomaticRows(const QString &records, const QString &autoIPList,
                                           bool *complete = nullptr);

// The replaces the automatic rows need at address ip, leaving out a record
// that a replace of the journal already takes care of.
QList<Replace> ForRows(const QList<RefreshRules::GridRow> &rows, const QString &ip,
                       const QList<Replace> &journal);

// One request a check sends.
struct Request
{
    QString command; // basDNS::RecordDelete or basDNS::RecordAdd
    RefreshRules::RecordArgs record;
};
// What the journal's replaces still need: the old record's delete while it
// is listed, the new record's add while it is not, each delete right before
// its add. With no list to go by (listed null) both are sent.
QList<Request> Requests(const QList<Replace> &replaces, const Listed *listed);

} // namespace ReplacePlan
