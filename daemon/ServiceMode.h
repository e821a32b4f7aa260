#pragma once

#include "AccountLocks.h"
#include "RefreshEngine.h"
#include "RefreshPort.h"

#include <QObject>
#include <QTimer>
#include <optional>

// veltrio-dnsd: the automatic refresh of the saved login's account with no
// window. It logs in as the window does (a free sub-domain is pointed back at
// this machine), checks at once, then every refresh rate, with the same
// refresh engine. Every outcome and every failure is one line on standard
// error with the account's name (the journal adds the time); failures also go
// to the daily log. The password is never written anywhere.
class ServiceMode : public QObject, public RefreshPort
{
    Q_OBJECT

public:
    enum ExitCode {
        Done = 0,
        CommandFailed = 1,
        LoginRefused = 2,     // refused or expired
        Unreachable = 3,      // no answer, or one that could not be read
        SettingsUnusable = 4, // no saved login
    };
    // How long the exchanges already asked for may still take once the
    // program is to end (SIGTERM): what does not go out by then stays owed.
    static constexpr int StopGraceMs = 5000;
    enum class Mode { Run, Once, Check };

    // everySeconds: the time between two checks; 0 for the account's
    // refresh rate.
    explicit ServiceMode(Mode mode, int everySeconds = 0, QObject *parent = nullptr);
    ~ServiceMode() override;

    // The on-change command instead of the account's setting (--on-change).
    void SetOnChangeCommand(const std::optional<QString> &commandLine)
    {
        m_engine.SetOnChangeCommand(commandLine);
    }

    // --history: prints the address history of the saved login's account
    // (the settings' [Init] Username) to standard output, one entry a line,
    // oldest first; the exit code.
    static int PrintHistory();

    // Logs in and starts. The exit code when the work is over already (a
    // failed login, --check); nothing when it goes on in the event loop,
    // which finished() then ends.
    std::optional<int> Start();

    // SIGTERM, SIGINT: no check starts any more; the exchanges already asked
    // for still go out (the caller waits StopGraceMs for them), then
    // finished(0). A login under way ends at once.
    void Stop();
    // SIGHUP: the settings again (refresh rate, SSL and port, the automatic
    // records); a changed saved login logs in again. Settings that are not
    // usable (no saved login, an empty file) leave it running on the ones
    // it has.
    void Reload();

    // --- RefreshPort ------------------------------------------------------------
    QString RefreshRateText() const override { return m_rate; }
    bool AutoIPTicked() const override { return m_autoIP; }
    bool UserInAnotherPanel() const override { return false; }
    QString RecordList() const override;
    QString FreeAddress() const override;
    void ShowCheckTime(const QString &caption) override;
    void ShowAddress(const QString &address) override;
    void ShowResult(const CheckResult &result) override;
    void Report(const OutcomeText &text) override;
    void RefreshedElsewhere(bool byServiceMode, const StatusFile &status,
                            const RecordsFile *records) override;

signals:
    void finished(int exitCode);

private:
    // The saved login, the login and what follows it; the exit code of a
    // start that cannot go on.
    std::optional<int> logIn();
    void loadSettings();
    void printAutomaticRecords();
    void checkFinished();
    // --once: the run's exit code, once no on-change command runs.
    void finishOnce(int code);
    // One line on standard error.
    void line(const QString &text) const;
    QString withoutPassword(QString text) const;
    void logFailure(const QString &text) const;
    QString account() const;
    // The next check every interval from now; the line that says so.
    void scheduleChecks();
    // The time between two checks in seconds: --every, or the refresh rate.
    double checkInterval() const;
    // One --once run has this long, login and check together.
    int runDeadlineMs() const;
    void runDeadlineReached();
    // The settings file's name for a line, or "the settings" (the registry).
    static QString settingsName();

    Mode m_mode;
    int m_everySeconds;
    RefreshEngine m_engine;
    AccountLocks m_locks;
    // Run: the next check; a sooner one when another process held the
    // account's checks. Once: the end of the run's time.
    QTimer m_every;
    QTimer m_retry;
    QTimer m_runDeadline;
    QString m_savedUser;
    QString m_savedPassword;
    QString m_rate;
    bool m_autoIP = false;
    bool m_started = false;
    bool m_stopping = false;
    // The outcome of the last check, for --once.
    bool m_failed = false;
    bool m_addressSeen = false;
    QString m_lastAddress;
    bool m_waitingShown = false;
    // The service gave no address at the last check (said once, until it
    // answers again).
    bool m_unreachable = false;
    bool m_deadlineReached = false;
};
