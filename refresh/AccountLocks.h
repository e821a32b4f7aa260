#pragma once

#include <QString>
#include <memory>

class QLockFile;

// Who sends the automatic checks of an account on this machine: one process
// at a time, whichever program it is. Two lock files per account in the
// user's runtime folder decide:
//   <account>.refresh.lock  held by the process that sends the checks;
//   <account>.service.lock  held by the service mode for as long as it runs.
// A window never refreshes while the service mode runs for its account: it
// gives the refresh lock up at its next tick. A lock whose process is gone
// (a crash, kill -9) is taken over.
class AccountLocks
{
public:
    // A one-off check (veltrio-dnsd --once) takes only the refresh lock.
    enum class Role { Window, ServiceMode, OneCheck };
    // Who sends the checks when this process does not.
    enum class Other { Nobody, ServiceMode, Window };

    explicit AccountLocks(Role role);
    ~AccountLocks();
    AccountLocks(const AccountLocks &) = delete;
    AccountLocks &operator=(const AccountLocks &) = delete;

    // Takes part for the account (its user name). The service mode takes the
    // account's service lock here; false when another service mode holds it.
    bool Open(const QString &account);
    // Gives up both locks.
    void Close();
    const QString &Account() const { return m_account; }

    // Whether this process may send a check now: it holds the refresh lock,
    // or takes it because it is free. A window first gives it up when the
    // service mode runs. The service mode waits up to waitMs for a window to
    // let go.
    bool MayRefresh(int waitMs = 0);
    // Who refreshes instead (Nobody while this process does, or may).
    Other RefreshedBy() const { return m_other; }
    // A window keeps the refresh lock from check to check, and looks at
    // every tick whether it must give it up; the service mode holds it only
    // while its check runs.
    bool KeepsLock() const { return m_role == Role::Window; }
    // A check has ended: the service mode lets the lock go.
    void CheckDone();

    // Whether a service mode runs for the account on this machine.
    static bool ServiceModeRuns(const QString &account);

    // The folder of the locks and status files: $VELTRIO_RUNTIME_DIR, else
    // "veltrio-dns" in the user's runtime folder (on Windows the local
    // application data folder, %LOCALAPPDATA%).
    static QString Folder();
    // The file of the account with that suffix (".status", ".refresh.lock").
    static QString FileOf(const QString &account, const QString &suffix);

private:
    Role m_role;
    QString m_account;
    std::unique_ptr<QLockFile> m_refresh;
    std::unique_ptr<QLockFile> m_service;
    Other m_other = Other::Nobody;
};
