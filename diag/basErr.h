#pragma once

#include "RuntimeError.h"

#include <QString>
#include <optional>

// The common error report: a daily log file and a message box.
namespace basErr {

// How many log files a pruning keeps.
inline constexpr int KeptLogFiles = 29;

// The folder the daily logs go to: set by --log-dir, else "Logs" beside the
// program when that is writable, else "Logs" in the user's data folder.
QString LogFolder();
void SetLogFolder(const QString &folder);

// "TidewellApp_" + mmdd + ".log" for the present day.
QString LogFileName();

// Appends one entry to today's log in the folder (created when missing) and
// prunes the folder first when it holds more than 30 logs. A failure to open
// or write the file is a run-time error for the caller, except that an open
// after a pruning retries every 500 ms while the file is in use.
void LogError(const QString &logFolder, const QString &errorNumber, const QString &label,
              const QString &source, const QString &description,
              const std::optional<QString> &extra = std::nullopt);

// The report a trapped procedure makes: the log entry, then the "Error"
// message box. The box is shown even when the entry could not be written; the
// failure to write is then raised to the caller.
void ReportError(const QString &label, const RuntimeError &error);

// The report of background work, which never waits on a person: the log
// entry only. A failure to write it is passed over.
void LogOnly(const QString &label, const RuntimeError &error);

// The report of an error that no procedure trapped; the program ends after it.
void ReportUnhandled(const RuntimeError &error);

} // namespace basErr

// Runs a procedure under the common error trap: a run-time error (or any
// other exception) ends the procedure and is reported under the label.
// Returns whether the procedure ran to its end.
template <typename Body> bool Trap(const QString &label, Body &&body)
{
    try {
        body();
        return true;
    } catch (const std::exception &e) {
        basErr::ReportError(label, RuntimeError::From(e));
    }
    return false;
}

// Runs one step whose errors are passed over; returns whether it succeeded.
template <typename Body> bool IgnoringErrors(Body &&body)
{
    try {
        body();
        return true;
    } catch (const std::exception &) {
        return false;
    }
}
