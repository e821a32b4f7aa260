#pragma once

#include "AutoRefresh.h"

#include <QList>
#include <QString>

// The adds that a replace of the automatic refresh still owes, per account.
// Each is written to the account's section of the settings store (value
// "PendingAdds") before its delete is sent, and taken out when the service
// has accepted it; so a failed add, or a program that ends between the two
// requests, never loses the record: the next due check adds it again.
namespace PendingAdds {

// The account's pending adds, oldest first. A damaged entry is skipped.
QList<AutoRefresh::RecordArgs> Read(const QString &user);
// Replaces the account's pending adds; written through at once.
void Write(const QString &user, const QList<AutoRefresh::RecordArgs> &adds);

// The same record (domain, type, host and address compared as the record
// list's keys are: trimmed and ignoring case).
bool Same(const AutoRefresh::RecordArgs &a, const AutoRefresh::RecordArgs &b);
// Whether the record list holds the record.
bool Listed(const AutoRefresh::RecordArgs &add, const QString &records);

} // namespace PendingAdds
