#pragma once

#include "RefreshRules.h"

#include <QList>
#include <QString>
#include <QStringList>

// One record command the automatic refresh sent, and how it ended.
struct RefreshCommand
{
    QString command; // "RECORDDELETE" or "RECORDADD"
    QString domain;
    QString host;
    QString recordType;
    QString address;
    bool ok = false;
    QString error; // the service's "Error:" text, or what went wrong
};

// What one check that had something to say did: the public address it found,
// the commands it sent in the order they were sent, what is still owed after
// it (records to add, records to remove), a journal it could not write, or
// an address reply it would not act on.
struct RefreshOutcome
{
    QString address;
    QList<RefreshCommand> commands;
    QList<RefreshRules::RecordArgs> pendingAdds;
    QList<RefreshRules::RecordArgs> pendingRemoves;
    QString journalError;
    QString rejectedAddress;
};

// How an outcome reads: a summary line for a status panel, a line per record
// command, failure and owed request, and the failures on their own for the
// log.
struct OutcomeText
{
    QString summary;
    QStringList lines;
    QStringList failures;
    bool problem = false;
};
OutcomeText Describe(const RefreshOutcome &outcome);

// One line per record the check sent commands for, in the order it first
// sent one: "mail.acme.test A ok", or "mail.acme.test A failed: " and the
// first failure's text. A replace's delete and add make one record.
QStringList RecordResults(const RefreshOutcome &outcome);
