#pragma once

#include "RefreshRules.h"

#include <QList>
#include <QString>

// One replace of the automatic refresh: the record as the service held it
// and the record that takes its place (old.domain empty: an add alone), and
// whether the new record is automatic.
struct Replace
{
    RefreshRules::RecordArgs old;
    RefreshRules::RecordArgs now;
    bool automatic = true;

    bool HasOld() const { return !old.domain.isEmpty(); }
    friend bool operator==(const Replace &, const Replace &) = default;
};

// What decides an account's next check, as the settings keep it in the
// account's section: the automatic marks ("AutoIps", an account with its own
// domains), where the free sub-domain points ("IPAddress"), and the journal
// of the replaces under way ("Replaces"). A check writes the journal before
// its first request and the journal and the marks together, in one write,
// when it has learnt how its requests ended; so whatever ends the program,
// the next check finds what it must finish.
struct AccountState
{
    QString autoIPList;
    QString freeAddress;
    QList<Replace> replaces;

    friend bool operator==(const AccountState &, const AccountState &) = default;
};

namespace ReplaceJournal {

// The account's state. An entry of the journal that cannot be read is
// skipped. Adds still owed from an earlier version of the program
// ("PendingAdds") are read as adds alone.
AccountState Load(const QString &account);
// Writes the values of after that differ from before, in one write of the
// settings store (nothing when none differs). Raises the store's error when
// the settings cannot be written.
void Save(const QString &account, const AccountState &before, const AccountState &after);

// The same record: domain, type, host and value compared as the record
// list's keys are (trimmed, ignoring case; an empty host is "@").
bool SameRecord(const RefreshRules::RecordArgs &a, const RefreshRules::RecordArgs &b);
// The same name and type: one record of the user's changed, whatever value
// it had or has now.
bool SameName(const RefreshRules::RecordArgs &a, const RefreshRules::RecordArgs &b);
// The record's key in the record list's and the auto-IP list's form.
QString KeyOf(const RefreshRules::RecordArgs &record);

// The marks stored after the user's command changed the session's from
// before to after: the entries it took out are taken out of stored, the
// ones it put in are put in; the others, which another process may have
// changed meanwhile, stay as stored has them.
QString MarksWithChanges(const QString &stored, const QString &before, const QString &after);

} // namespace ReplaceJournal
