#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

// Dates as the program reads and writes them. Month and day names are
// always English, whatever the user's locale.
namespace DateRules {

// A date the program accepts: m/d/yyyy, m/d/yy, yyyy-mm-dd, "Dec 31, 2026",
// "31 December 2026", each optionally followed by a time ("14:05", "2:05:09 PM").
// A date without a time is midnight at its start. Anything else is no date.
std::optional<QDateTime> ParseDate(const QString &text);

// "1122": two-digit month and day.
QString FormatMmdd(const QDateTime &when);
// "Sun Nov  22 14:05:09": the stamp of a log entry, two blanks before the day.
QString FormatLogStamp(const QDateTime &when);
// "11/22/26 2:05:09 pm": the time of the last address check.
QString FormatCheckTime(const QDateTime &when);

} // namespace DateRules
