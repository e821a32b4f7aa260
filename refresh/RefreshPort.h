#pragma once

#include "AutoRefresh.h"

#include <QList>
#include <QString>
#include <QStringList>

struct RefreshStatus;
struct RefreshRecords;

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
// the commands it sent in the order they were sent, the adds still owed after
// it, or an address reply it would not act on.
struct RefreshOutcome
{
    QString address;
    QList<RefreshCommand> commands;
    QList<AutoRefresh::RecordArgs> pending;
    QString rejectedAddress;
};

// How an outcome reads: a summary line for a status panel, a line per record
// command, failure and owed add, and the failures on their own for the log.
struct OutcomeText
{
    QString summary;
    QStringList lines;
    QStringList failures;
    bool problem = false;
};
OutcomeText Describe(const RefreshOutcome &outcome);

// What the refresh engine needs from its host (the main window, or the
// service mode) and what it hands back. The engine calls it only while no
// user's work is in progress (see Foreground).
class RefreshPort
{
public:
    virtual ~RefreshPort() = default;

    // --- read by a tick -------------------------------------------------------
    // The refresh rate in seconds, as its text.
    virtual QString RefreshRateText() const = 0;
    // The free sub-domain's automatic box.
    virtual bool AutoIPTicked() const = 0;
    // The rows must be left alone for now: the user works in another panel.
    virtual bool RowsOnHold() const = 0;
    // The account's automatic records (AutoIP cell "YES") in display order.
    virtual QList<AutoRefresh::GridRow> AutoRows() const = 0;
    // A number that changes whenever AutoRows() may give other rows, or
    // rows in another order; 0 when the host does not keep count (the rows
    // are then read at every check).
    virtual quint64 AutoRowsVersion() const { return 0; }

    // --- written by a check -----------------------------------------------------
    // The time of the check that starts, "m/d/yy h:nn:ss am/pm".
    virtual void ShowCheckTime(const QString &caption) = 0;
    // The public address the service reported.
    virtual void ShowAddress(const QString &address) = 0;
    // The free sub-domain was replaced with the new address.
    virtual void FreeRecordReplaced(const QString &address) = 0;
    // The records changed at the service: show the session's record list.
    virtual void ReloadRows() = 0;
    // What a check that sent commands did, as Describe() words it.
    virtual void Report(const OutcomeText &text) = 0;

    // --- while another process refreshes the account --------------------------
    // Once per tick: byServiceMode tells whether the service mode refreshes
    // (or another window); status is what it did last (empty before its
    // first check); records is the record list it last had, given only when
    // it changed since the last call.
    virtual void RefreshedElsewhere(bool byServiceMode, const RefreshStatus &status,
                                    const RefreshRecords *records)
    {
        Q_UNUSED(byServiceMode);
        Q_UNUSED(status);
        Q_UNUSED(records);
    }
};
