#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// One check that saw a new public address or sent record commands: when
// (ISO 8601, UTC), the address before and after (before is empty when no
// earlier one is known), and each record it replaced with how that ended,
// as RecordResults() words it.
struct HistoryEntry
{
    QString time;
    QString oldAddress;
    QString newAddress;
    QStringList records;

    // One line: "2026-11-22T19:05:09Z 203.0.113.7 -> 198.51.100.50:
    // mail.acme.test A ok, ...", control characters shown as "?".
    QString Text() const;
};

// The account's address history: a file beside the settings file (for the
// registry, in the user's local data folder), "<settings name>.<account>
// .history", one JSON object a line, oldest first, at most Kept entries.
namespace AddressHistory {

inline constexpr qsizetype Kept = 500;

QString FileOf(const QString &account);

// The entries, oldest first. A line that cannot be read (a damaged or
// hand-edited file) is passed over; a missing file has none.
QList<HistoryEntry> Read(const QString &account);

// Adds an entry, dropping the oldest beyond Kept. The file is replaced in
// one step (a temporary file, flushed to disk, renamed over it), so a crash
// or a kill at any moment leaves the old file or the new one, whole. Raises
// a run-time error naming the file when it cannot be written.
void Add(const QString &account, const HistoryEntry &entry);

} // namespace AddressHistory
