#pragma once

#include "RefreshOutcome.h"
#include "RefreshRules.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

struct StatusFile;
struct RecordsFile;

// What a check that learnt the public address hands its host, as values: the
// newest record list its replies brought (with the number of the exchange
// that brought it: a host keeps a list of a later exchange it already has),
// the account's automatic marks and the free sub-domain's address as the
// settings now hold them, and whether it replaced the free sub-domain's
// record.
struct CheckResult
{
    std::optional<QString> records;
    quint64 recordsSerial = 0;
    QString autoIPList;
    QString freeAddress;
    bool freeRecordReplaced = false;
};

// What the refresh engine needs from its host (the main window, or the
// service mode) and what it hands back. The engine calls it only while no
// user's work is in progress (see Foreground).
class RefreshPort
{
public:
    virtual ~RefreshPort() = default;

    // --- read by a check, once --------------------------------------------------
    // The refresh rate in seconds, as its text (read at every tick).
    virtual QString RefreshRateText() const = 0;
    // The free sub-domain's automatic box.
    virtual bool AutoIPTicked() const = 0;
    // The rows must be left alone for now: the user works in another panel.
    virtual bool UserInAnotherPanel() const = 0;
    // The record list the host shows: what a check goes by when the
    // service's address reply carries none.
    virtual QString RecordList() const = 0;
    // Where the free sub-domain points as the host knows it: what a check
    // goes by when the settings hold no address yet.
    virtual QString FreeAddress() const = 0;

    // --- written by a check -----------------------------------------------------
    // The time of the check that starts, "m/d/yy h:nn:ss am/pm".
    virtual void ShowCheckTime(const QString &caption) = 0;
    // The public address the service reported.
    virtual void ShowAddress(const QString &address) = 0;
    // What the check leaves: the records, the marks, the free address.
    virtual void ShowResult(const CheckResult &result) = 0;
    // What a check that sent commands did, as Describe() words it.
    virtual void Report(const OutcomeText &text) = 0;

    // --- while another process refreshes the account --------------------------
    // Once per tick: byServiceMode tells whether the service mode refreshes
    // (or another window); status is what it did last (empty before its
    // first check); records is the record list it last had, given only when
    // it changed since the last call.
    virtual void RefreshedElsewhere(bool byServiceMode, const StatusFile &status,
                                    const RecordsFile *records)
    {
        Q_UNUSED(byServiceMode);
        Q_UNUSED(status);
        Q_UNUSED(records);
    }
};
