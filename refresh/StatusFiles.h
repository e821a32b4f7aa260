#pragma once

#include "RefreshPort.h"

#include <QString>
#include <optional>

// What the process that refreshes an account did last, for the others on the
// same account to show. Two small files beside the account's locks (never
// the password): ".status", written after every check, and ".records", the
// record list and the automatic list, written when they changed. A window
// that leaves the checks to another process reads them.
struct StatusFile
{
    QString checkTime; // "m/d/yy h:nn:ss am/pm" of the last check
    QString address;   // the public address it found; empty when none
    QString summary;   // one line: "Updated 2 records", "1 failed, see the log"
    QString details;   // what it did, one line per record
    QString ipAddress; // the free sub-domain's address

    // Replaces the account's status file in one step. False when it could
    // not be written.
    bool Write(const QString &account) const;
    // The account's status; nothing when there is none or it is damaged.
    static std::optional<StatusFile> Read(const QString &account);
};

// The account's record list as the service last sent it, and the keys of
// its automatic records.
struct RecordsFile
{
    QString records;
    QString autoIPList;

    bool Write(const QString &account) const;
    static std::optional<RecordsFile> Read(const QString &account);
    // When the account's records file was last written (msecs since the
    // epoch); 0 when there is none.
    static qint64 Stamp(const QString &account);
};
