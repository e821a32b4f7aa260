#pragma once

#include <QList>
#include <QString>
#include <optional>

// The rules of the automatic refresh that need no window: which grid rows are
// re-sent when the public address changes and with what, the text form of the
// automatic rows for the settings store, and the up-time caption. The main
// window reads its controls into these values and sends what comes back.
namespace RefreshRules {

// One row of the record grid, cell by cell: the domain (the row's text), host
// name, record type, value (an address, or a port relay's URL) and the AutoIP
// cell. A cell the row does not have is empty.
struct GridRow
{
    QString domain;
    QString host;
    QString recordType;
    QString value;
    QString autoIP;
};

// The row is kept pointed at the public address: its AutoIP cell, upper-cased,
// is "YES".
bool IsAutoIPRow(const GridRow &row);

// The full name of a record as people read it: host "." domain, or the
// domain alone for its own record (host empty or "@").
QString RecordName(const QString &host, const QString &domain);

// The host name a row is sent with: "@" (the domain itself) for an empty
// host or "Root".
QString HostToSend(const QString &host);

// The arguments of one record command besides the command word.
struct RecordArgs
{
    QString domain;
    QString host;
    QString recordType;
    QString address;

    friend bool operator==(const RecordArgs &, const RecordArgs &) = default;
};

// Bringing one automatic row to a new address: the old record is removed,
// then the new one added, both with the AutoIP flag set. The add follows
// whatever the outcome of the remove.
struct Resend
{
    RecordArgs remove;
    RecordArgs add;
};

// What to send for one row when the public address is ip; nothing for a row
// that is not automatic or already points at ip. A "PORT RELAY" row compares
// the address part of its URL and keeps the URL's port and path.
std::optional<Resend> ResendForRow(const GridRow &row, const QString &ip);

// Whether a due check asks the service for the address: always for an
// account with its own domains; for an account with only the free
// sub-domain when its automatic box is ticked.
bool ShouldAskService(bool autoIPTicked, bool bVeltrioOnly);

// The running time for the status panel: days, " Days ", a blank, then
// hh:mm:ss ("2 Days  05:07:09"). A day count beyond the 16-bit range raises
// an overflow error.
QString UpTimeCaption(qint64 seconds);

} // namespace RefreshRules
