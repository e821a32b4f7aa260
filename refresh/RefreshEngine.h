#pragma once

#include "RefreshPort.h"
#include "RefreshStatus.h"
#include "RefreshTimer.h"

#include <QObject>
#include <functional>

// The automatic refresh without a window: counts the ten-second ticks towards
// the refresh rate, asks the service for the public address when a check is
// due and, when it changed, replaces the automatic records (each a delete and
// an add, sent back to back). An address reply that is no IPv4 address never
// starts a replace. For an account with its own domains, the add a replace
// owes is journalled (PendingAdds) before its delete goes out, and sent again
// at every due check until the service has it.
//
// Nothing here waits: the exchanges go through the exchange queue and the
// check carries on when their replies are in. A due check that falls while
// the user is at work (a command waiting for the service, a modal box, the
// login window) or while another check runs is deferred, not dropped: it
// runs once that has ended. What a check shows goes to the port, and only
// while the user is not at work either.
class Refresher;

class RefreshEngine : public QObject
{
    Q_OBJECT

public:
    explicit RefreshEngine(RefreshPort &port, QObject *parent = nullptr);

    // Leaves the checks to whichever process on this machine holds the
    // account's refresh lock (see Refresher), and writes what this one did
    // for the others after each check. Without one, every check runs here.
    void SetRefresher(Refresher *refresher) { m_refresher = refresher; }

    // Checks may run from now on (for the session's account).
    void Start();
    // No check starts any more and a check in progress ends without touching
    // the port. Exchanges already asked for still go out: an add always
    // follows its delete.
    void Stop();
    bool Active() const { return m_active; }

    // One tick of the ten-second timer. The rate text that is no number
    // raises a type-mismatch error and a tick count past the 32-bit range an
    // overflow error; neither is caught here.
    void Tick();
    // A check now, whatever the tick count (the service mode's --once).
    void CheckNow();

    // No check is running or waiting to run.
    bool Idle() const { return !m_running && !m_due; }

signals:
    // A check has ended (also one that found nothing to do).
    void checkFinished();

private:
    void startIfDue();
    void runCheck();
    void addressKnown(const QString &ip);
    // Sends the owed adds, then each replace as a delete and an add, and
    // shows the outcome once every reply is in.
    void send(const QList<AutoRefresh::RecordArgs> &retries,
              const QList<AutoRefresh::Resend> &replaces, bool autoIP, const QString &ip,
              bool reloadRows);
    void finish();
    void report(const RefreshOutcome &outcome);
    // Tells the port what the process that refreshes instead did.
    void showElsewhere();
    void writeStatus();
    // Runs fn once the user is not at work, unless the check was stopped.
    void whenIdle(std::function<void()> fn);

    RefreshPort &m_port;
    Refresher *m_refresher = nullptr;
    // What this process did last, for the others on the account.
    RefreshStatus m_status;
    RefreshRecords m_written;
    qint64 m_recordsSeen = -1;
    // The rows' version (RefreshPort::AutoRowsVersion) when the last check
    // found every automatic row at m_rowsAddress; 0 when it did not.
    quint64 m_rowsAtAddress = 0;
    QString m_rowsAddress;
    RefreshTimer m_timer;
    bool m_active = false;
    bool m_due = false;
    bool m_running = false;
    bool m_waitingForIdle = false;
    // Counts Stop(): a continuation of an earlier check finds it changed.
    quint64 m_generation = 0;
};
