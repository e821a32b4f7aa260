#pragma once

#include "ChangeCommand.h"
#include "DueCounter.h"
#include "RefreshPort.h"
#include "ReplaceJournal.h"
#include "ReplacePlan.h"
#include "StatusFiles.h"
#include "basDNS.h"

#include <QObject>
#include <functional>
#include <memory>
#include <optional>

// The automatic refresh without a window: counts the ten-second ticks towards
// the refresh rate, asks the service for the public address when a check is
// due and, when it changed, replaces the automatic records (each a delete and
// an add, sent back to back). An address reply that is no IPv4 address never
// starts a replace.
//
// A replace is a transaction written ahead. Before a check sends anything it
// reconciles the account's journal (ReplaceJournal) with the record list of
// the address reply, and writes, in one write, every replace it is about to
// send beside the marks as they stand. When the replies are in, the journal
// and the marks change together, in one write, to what the newest record
// list shows. Whatever ends the program in between, the next check finds
// what is owed and finishes it; a record command is never sent again by
// anything but that decision.
//
// Nothing here waits: the exchanges go through the exchange queue and the
// check carries on when their replies are in. A due check that falls while
// the user is at work (a command waiting for the service, a modal box, the
// login window) or while another check runs is deferred, not dropped: it
// runs once that has ended. What a check shows goes to the port as values,
// and only while the user is not at work either.
//
// A check that saw a new public address, or sent record commands, adds an
// entry to the account's address history (AddressHistory); one that sent
// record commands then starts the user's on-change command (ChangeCommand),
// which nothing waits for.
class AccountLocks;

class RefreshEngine : public QObject
{
    Q_OBJECT

public:
    explicit RefreshEngine(RefreshPort &port, QObject *parent = nullptr);

    // Leaves the checks to whichever process on this machine holds the
    // account's refresh lock (see AccountLocks), and writes what this one did
    // for the others after each check. Without one, every check runs here.
    void SetAccountLocks(AccountLocks *locks) { m_locks = locks; }

    // Checks may run from now on (for the session's account).
    void Start();
    // No check starts any more, and a check under way shows nothing more.
    // Exchanges already asked for still go out (an add always follows its
    // delete), and what their replies say still reaches the journal.
    void Stop();

    // One tick of the ten-second timer. The rate text that is no number
    // raises a type-mismatch error and a tick count past the 32-bit range an
    // overflow error; neither is caught here.
    void Tick();
    // A check now, whatever the tick count (the service mode's --once).
    void CheckNow();

    // No check is running or waiting to run.
    bool Idle() const { return !m_running && !m_due; }

    // The user's own record command went through (the editor's Update/Add,
    // Delete, the free sub-domain's Update/Add): a replace of the journal
    // for the same record ends, and the marks the command changed (the
    // session's auto-IP list before and after it) and, for the free
    // sub-domain's own record, its new address are saved with that, in one
    // write. Raises the settings store's error when it cannot write.
    void RecordChangedByUser(const RefreshRules::RecordArgs &record, const QString &marksBefore,
                             const QString &marksAfter,
                             const std::optional<QString> &freeAddress = std::nullopt);
    // The free sub-domain was pointed at address at start-up: where the next
    // start points it again. The journal stays as it is.
    void FreeRecordSet(const QString &address);

    // The on-change command instead of the account's "OnChange" setting
    // (veltrio-dnsd's --on-change; empty: none); nullopt: the setting.
    void SetOnChangeCommand(const std::optional<QString> &commandLine) { m_onChange = commandLine; }
    // No on-change command runs or waits.
    bool ChangeCommandIdle() const { return m_changeCommand.Idle(); }

signals:
    // A check has ended (also one that found nothing to do).
    void checkFinished();
    // What followed a check, in one line, written to the daily log already:
    // how the on-change command ended, or a history that could not be
    // written.
    void noted(const QString &line);
    // The last on-change command has ended and none waits.
    void changeCommandIdle();

private:
    struct Check;

    void startIfDue();
    void runCheck();
    void addressKnown(const std::shared_ptr<Check> &check, const basDNS::AddressReply &reply);
    // Sends the check's requests, each delete right before its add.
    void send(const std::shared_ptr<Check> &check, const QList<ReplacePlan::Request> &requests);
    // The replies are in: the journal and the marks as the newest list has
    // them, in one write, whether or not the engine still runs.
    void settle(const std::shared_ptr<Check> &check);
    // The public address before the check: the history's newest, else where
    // the records it replaces pointed.
    static QString addressBefore(const Check &check);
    // The check's history entry and on-change command, when it has them;
    // the command only while the engine runs.
    void recordChange(const Check &check, bool running);
    // What the journal still owes after the check, for its outcome.
    static void noteOwed(Check &check, const ReplacePlan::Listed *listed);
    // What the check leaves, to the port; then the check ends.
    void show(const std::shared_ptr<Check> &check);
    void finish();
    void report(const RefreshOutcome &outcome);
    // Tells the port what the process that refreshes instead did.
    void showElsewhere();
    void writeStatus();
    // Runs fn once the user is not at work, unless the check was stopped.
    void whenIdle(std::function<void()> fn);
    // Whether another process sends the account's checks now.
    bool refreshedElsewhere() const;

    RefreshPort &m_port;
    AccountLocks *m_locks = nullptr;
    ChangeCommand m_changeCommand;
    std::optional<QString> m_onChange;
    // What this process did last, for the others on the account.
    StatusFile m_status;
    RecordsFile m_written;
    qint64 m_recordsSeen = -1;
    // What the last check handed on.
    CheckResult m_shown;
    // The inputs of the last check that found nothing to do: while they
    // stay the same, nothing is read again.
    struct Quiet
    {
        QString records;
        QString autoIPList;
        QString ip;
    };
    std::optional<Quiet> m_quiet;
    DueCounter m_timer;
    bool m_active = false;
    bool m_due = false;
    bool m_running = false;
    bool m_waitingForIdle = false;
    // Counts Stop(): a continuation of an earlier check finds it changed.
    quint64 m_generation = 0;
};
