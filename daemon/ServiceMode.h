#pragma once

#include "RefreshEngine.h"
#include "RefreshPort.h"
#include "Refresher.h"

#include <QObject>
#include <QTimer>
#include <optional>

// veltrio-dnsd: the automatic refresh of the saved login's account with no
// window. It logs in as the window does (a free sub-domain is pointed back at
// this machine), then runs the same refresh engine on the same ten-second
// tick and refresh rate. Every outcome is one line on standard error (the
// journal adds the time); failures also go to the daily log. The password is
// never written anywhere.
class ServiceMode : public QObject, public RefreshPort
{
    Q_OBJECT

public:
    enum ExitCode {
        Done = 0,
        CommandFailed = 1,
        LoginRefused = 2, // refused or expired
        Unreachable = 3,
        SettingsUnusable = 4, // no saved login
    };
    enum class Mode { Run, Once, Check };

    explicit ServiceMode(Mode mode, QObject *parent = nullptr);
    ~ServiceMode() override;

    // Logs in and starts. The exit code when the work is over already (a
    // failed login, --check); nothing when it goes on in the event loop,
    // which finished() then ends.
    std::optional<int> Start();

    // SIGTERM, SIGINT: no check starts any more; the exchanges already asked
    // for still go out (the caller waits for them), then finished(0).
    void Stop();
    // SIGHUP: the settings again (refresh rate, SSL and port, the automatic
    // records); a changed saved login logs in again.
    void Reload();

    // --- RefreshPort ------------------------------------------------------------
    QString RefreshRateText() const override { return m_rate; }
    bool AutoIPTicked() const override { return m_autoIP; }
    bool RowsOnHold() const override { return false; }
    QString RecordList() const override;
    QString FreeAddress() const override;
    void ShowCheckTime(const QString &caption) override;
    void ShowAddress(const QString &address) override;
    void ShowResult(const CheckResult &result) override;
    void Report(const OutcomeText &text) override;
    void RefreshedElsewhere(bool byServiceMode, const RefreshStatus &status,
                            const RefreshRecords *records) override;

signals:
    void finished(int exitCode);

private:
    // The saved login, the login and what follows it; the exit code of a
    // start that cannot go on.
    std::optional<int> logIn();
    void loadSettings();
    void printAutomaticRecords();
    void checkFinished();
    // One line on standard error.
    void line(const QString &text) const;
    QString withoutPassword(QString text) const;
    void logFailure(const QString &text) const;
    QString account() const;

    Mode m_mode;
    RefreshEngine m_engine;
    Refresher m_refresher;
    QTimer m_tick;
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
};
