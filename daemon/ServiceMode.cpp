#include "ServiceMode.h"

#include "AddressHistory.h"
#include "ConnectionChoices.h"
#include "ExchangeQueue.h"
#include "LoginExchange.h"
#include "RegistryStore.h"
#include "ReplacePlan.h"
#include "RuntimeError.h"
#include "ServiceConfig.h"
#include "SettingsNames.h"
#include "StatusFiles.h"
#include "TextRules.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

const QString kLogLabel = QStringLiteral("veltrio-dnsd.Refresh()");

QString accountKey()
{
    return Settings::AccountKey(User().sUsername);
}

} // namespace

ServiceMode::ServiceMode(Mode mode, int everySeconds, QObject *parent)
    : QObject(parent), m_mode(mode), m_everySeconds(everySeconds), m_engine(*this, this),
      m_locks(mode == Mode::Once ? AccountLocks::Role::OneCheck : AccountLocks::Role::ServiceMode)
{
    connect(&m_every, &QTimer::timeout, &m_engine, &RefreshEngine::CheckNow);
    m_retry.setSingleShot(true);
    m_retry.setInterval(DueCounter::TickInterval);
    connect(&m_retry, &QTimer::timeout, &m_engine, &RefreshEngine::CheckNow);
    m_runDeadline.setSingleShot(true);
    connect(&m_runDeadline, &QTimer::timeout, this, &ServiceMode::runDeadlineReached);
    connect(&m_engine, &RefreshEngine::checkFinished, this, &ServiceMode::checkFinished);
    connect(&m_engine, &RefreshEngine::noted, this,
            [this](const QString &text) { line(account() + QStringLiteral(": ") + text); });
}

ServiceMode::~ServiceMode() = default;

QString ServiceMode::account() const
{
    return User().sUsername.isEmpty() ? m_savedUser : User().sUsername;
}

QString ServiceMode::withoutPassword(QString text) const
{
    // The password is never part of a line of ours; a service's error text
    // might echo the query that carried it.
    for (const QString &secret : {User().sPassword, m_savedPassword}) {
        if (!secret.isEmpty())
            text.replace(QStringLiteral("pwd=") + secret, QStringLiteral("pwd=********"),
                         Qt::CaseInsensitive);
    }
    return text;
}

void ServiceMode::line(const QString &text) const
{
    std::fprintf(stderr, "%s\n", qPrintable(withoutPassword(text)));
    std::fflush(stderr);
}

void ServiceMode::logFailure(const QString &text) const
{
    basErr::LogOnly(kLogLabel, RuntimeError(ErrorNumber::Internal, withoutPassword(text)));
}

std::optional<int> ServiceMode::Start()
{
    if (m_mode == Mode::Once && !m_runDeadline.isActive())
        m_runDeadline.start(runDeadlineMs());
    const std::optional<int> failed = logIn();
    if (m_stopping) {
        line(QStringLiteral("%1: stopping").arg(account()));
        return Done;
    }
    if (failed)
        return failed;
    if (m_mode == Mode::Check) {
        printAutomaticRecords();
        return Done;
    }
    if (!m_locks.Open(account())) {
        line(QStringLiteral("%1: another veltrio-dnsd refreshes this account already; this one "
                            "ends.")
                 .arg(account()));
        return CommandFailed;
    }
    const clsUser &user = User();
    if (user.bVeltrioOnly) {
        // The service points the free sub-domain at its own server while no
        // client runs; it points back at this machine now.
        const QString name = RefreshRules::RecordName(user.sUsername, user.sSubDomain);
        const QString address = user.sIPAddress;
        if (LoginExchange::RepointFreeRecord(address, false, m_autoIP)) {
            line(QStringLiteral("%1: %2 points at %3").arg(account(), name, address));
            try {
                m_engine.FreeRecordSet(address);
            } catch (const std::exception &e) {
                const QString failure =
                    QStringLiteral("%1: could not save %2's address in %3: %4")
                        .arg(account(), name, settingsName(), RuntimeError::From(e).description());
                line(failure);
                logFailure(failure);
            }
        } else {
            m_failed = true;
            const QString failure =
                QStringLiteral("%1: could not point %2 at %3").arg(account(), name, address);
            line(failure);
            logFailure(failure);
        }
    }
    if (m_stopping)
        return Done;

    m_engine.SetAccountLocks(&m_locks);
    m_engine.Start();
    m_started = true;
    if (m_mode == Mode::Once) {
        // Never while another process checks: a window that leaves the
        // checks to the service mode holds no lock, the service mode only
        // while its own check runs.
        if (!m_locks.MayRefresh(DueCounter::TickInterval + 5000)) {
            line(QStringLiteral("%1: another process sends this account's checks; nothing done.")
                     .arg(account()));
            return CommandFailed;
        }
        m_engine.CheckNow();
        return std::nullopt;
    }
    // After a start (a reboot) the address has most likely changed: the
    // first check comes now.
    scheduleChecks();
    m_engine.CheckNow();
    return std::nullopt;
}

double ServiceMode::checkInterval() const
{
    return m_everySeconds > 0 ? m_everySeconds : std::max(TextRules::ToDouble(m_rate), 10.0);
}

void ServiceMode::scheduleChecks()
{
    const double seconds = checkInterval();
    m_every.start(static_cast<int>(seconds * 1000));
    const clsUser &user = User();
    const QString what =
        user.bVeltrioOnly
            ? QStringLiteral("%1, automatic %2")
                  .arg(RefreshRules::RecordName(user.sUsername, user.sSubDomain),
                       m_autoIP ? QStringLiteral("on") : QStringLiteral("off"))
            : QStringLiteral("%1 automatic record(s)")
                  .arg(ReplacePlan::AutomaticRows(user.sDomainUserRecords, ProgramWide::sAutoIPList)
                           .size());
    line(QStringLiteral("%1: refreshing %2: a check now, then every %3 s")
             .arg(account(), what, QString::number(seconds)));
}

int ServiceMode::runDeadlineMs() const
{
    // One and a half exchanges' time: a run of any number of records ends
    // within it (90 s with the usual 60 s deadline).
    return Config().timeoutSeconds * 1500;
}

void ServiceMode::runDeadlineReached()
{
    if (m_stopping)
        return;
    m_deadlineReached = true;
    const QString failure =
        QStringLiteral("%1: the run did not end within %2 s; what it could not send stays owed "
                       "for the next run")
            .arg(account())
            .arg(runDeadlineMs() / 1000);
    line(failure);
    logFailure(failure);
    // Every exchange ends now, failed: a login under way returns, and a
    // check's replaces that did not go out stay in the journal.
    ExchangeQueue::Instance().AbortAll();
}

QString ServiceMode::settingsName()
{
    const QString file = RegistryStore::File();
    return file.isEmpty() ? QStringLiteral("the settings") : file;
}

std::optional<int> ServiceMode::logIn()
{
    RegistryStore store;
    store.SetKey(Settings::InitKey);
    m_savedUser = store.ReadValue(Settings::Username).trimmed();
    m_savedPassword = store.ReadValue(Settings::Password).trimmed();
    if (store.ReadValue(Settings::bSaveLogin) != QLatin1String("1") || m_savedUser.isEmpty() ||
        m_savedPassword.isEmpty()) {
        line(QStringLiteral("No saved login in %1: log in once with veltrio-dns and tick "
                            "\"Save Login\".")
                 .arg(settingsName()));
        return SettingsUnusable;
    }
    ProgramWide::sServiceURL = ConnectionChoices::StoredServiceURL();
    LoginExchange::Outcome outcome = LoginExchange::Outcome::ServerError;
    try {
        outcome = LoginExchange::Run(m_savedUser, m_savedPassword);
    } catch (const std::exception &e) {
        // A reply that cannot be read is no answer: the service is not
        // reached, and a later start may be.
        const QString failure =
            QStringLiteral("%1: the service's login reply could not be read (%2); %3")
                .arg(m_savedUser, RuntimeError::From(e).description(), ProgramWide::sServiceURL);
        line(failure);
        logFailure(failure);
        return Unreachable;
    }
    if (m_stopping)
        return Done;
    switch (outcome) {
    case LoginExchange::Outcome::ServerError:
        line(QStringLiteral("%1: Error contacting server.  Server may be under maintenance. (%2)")
                 .arg(m_savedUser, ProgramWide::sServiceURL));
        return Unreachable;
    case LoginExchange::Outcome::Refused:
        line(QStringLiteral("%1: Invalid Username or Password.").arg(m_savedUser));
        return LoginRefused;
    case LoginExchange::Outcome::Expired:
        line(QStringLiteral("%1: Your Account has expired (%2).")
                 .arg(m_savedUser, User().sExpirationDate));
        return LoginRefused;
    case LoginExchange::Outcome::Success:
        break;
    }
    LoginExchange::SessionStarted(true);
    // As the window's start decides it.
    User().bVeltrioOnly = !User().sSubDomain.isEmpty();
    if (User().bVeltrioOnly)
        User().sIPAddress = LoginExchange::FreeRecordAddress();
    loadSettings();
    return std::nullopt;
}

void ServiceMode::loadSettings()
{
    const clsUser &user = User();
    m_rate = ConnectionChoices::StoredRefreshRate(user.bVeltrioOnly);
    ProgramWide::sServiceURL = ConnectionChoices::StoredServiceURL();
    RegistryStore section;
    section.SetKey(accountKey());
    m_autoIP = section.ReadValue(Settings::bAutoIP) == QLatin1String("1");
    if (!user.bVeltrioOnly)
        ProgramWide::sAutoIPList = section.ReadValue(Settings::AutoIPs);
}

void ServiceMode::printAutomaticRecords()
{
    const clsUser &user = User();
    if (user.bVeltrioOnly) {
        std::printf("%s A %s automatic=%s\n",
                    qPrintable(RefreshRules::RecordName(user.sUsername, user.sSubDomain)),
                    qPrintable(user.sIPAddress), m_autoIP ? "yes" : "no");
        return;
    }
    bool complete = true;
    const QList<RefreshRules::GridRow> rows =
        ReplacePlan::AutomaticRows(user.sDomainUserRecords, ProgramWide::sAutoIPList, &complete);
    for (const RefreshRules::GridRow &row : rows)
        std::printf("%s %s %s\n", qPrintable(RefreshRules::RecordName(row.host, row.domain)),
                    qPrintable(row.recordType), qPrintable(row.value));
    if (!complete)
        line(QStringLiteral("%1: the record list has a damaged piece; the records after it are "
                            "left out.")
                 .arg(account()));
    line(QStringLiteral("%1: %2 automatic record(s)").arg(account()).arg(rows.size()));
}

QString ServiceMode::RecordList() const
{
    return User().sDomainUserRecords;
}

QString ServiceMode::FreeAddress() const
{
    return User().sIPAddress;
}

void ServiceMode::ShowCheckTime(const QString &caption)
{
    Q_UNUSED(caption);
    m_addressSeen = false;
}

void ServiceMode::ShowAddress(const QString &address)
{
    m_addressSeen = true;
    if (address == m_lastAddress)
        return;
    m_lastAddress = address;
    line(QStringLiteral("%1: public address %2").arg(account(), address));
}

void ServiceMode::ShowResult(const CheckResult &result)
{
    // The settings have it already (the engine writes them); this is what
    // the next start line and --check read.
    clsUser &user = User();
    if (result.records)
        user.sDomainUserRecords = *result.records;
    if (user.bVeltrioOnly)
        user.sIPAddress = result.freeAddress;
    else
        ProgramWide::sAutoIPList = result.autoIPList;
}

void ServiceMode::Report(const OutcomeText &text)
{
    // The engine logs an address reply it would not act on itself.
    for (const QString &described : text.lines)
        line(account() + QStringLiteral(": ") + described);
    for (const QString &failure : text.failures)
        logFailure(failure);
    if (text.problem)
        m_failed = true;
}

void ServiceMode::RefreshedElsewhere(bool byServiceMode, const StatusFile &status,
                                     const RecordsFile *records)
{
    Q_UNUSED(byServiceMode);
    Q_UNUSED(status);
    Q_UNUSED(records);
    // A window gives the checks up at its next tick: look again then.
    if (m_mode == Mode::Run && !m_stopping)
        m_retry.start();
    if (std::exchange(m_waitingShown, true))
        return;
    line(QStringLiteral("%1: a window sends this account's checks; they pass to this service "
                        "within %2 s.")
             .arg(account())
             .arg(DueCounter::TickInterval / 1000));
}

void ServiceMode::checkFinished()
{
    m_waitingShown = false;
    const bool asked = RefreshRules::ShouldAskService(m_autoIP, User().bVeltrioOnly);
    const bool unreachable = asked && !m_addressSeen;
    if (m_mode == Mode::Run && !m_stopping) {
        // Said when the service stops answering and when it answers again,
        // not at every check between.
        if (unreachable && !std::exchange(m_unreachable, true)) {
            const QString failure =
                QStringLiteral("%1: the service does not answer (%2); the next check in %3 s")
                    .arg(account(), ProgramWide::sServiceURL)
                    .arg(m_every.interval() / 1000);
            line(failure);
            logFailure(failure);
        } else if (!unreachable && asked && std::exchange(m_unreachable, false)) {
            line(QStringLiteral("%1: the service answers again").arg(account()));
        }
        return;
    }
    if (m_mode != Mode::Once || m_stopping)
        return;
    int code = Done;
    if (m_deadlineReached)
        code = Unreachable;
    else if (m_failed)
        code = CommandFailed;
    else if (unreachable)
        code = Unreachable;
    if (unreachable && !m_deadlineReached)
        line(QStringLiteral("%1: no public address from the service (%2)")
                 .arg(account(), ProgramWide::sServiceURL));
    else if (code == Done)
        line(QStringLiteral("%1: check done").arg(account()));
    m_runDeadline.stop();
    // The on-change command may end first, within its time limit; a
    // SIGTERM meanwhile ends the run at once.
    if (!m_engine.ChangeCommandIdle()) {
        connect(
            &m_engine, &RefreshEngine::changeCommandIdle, this, [this, code] { finishOnce(code); },
            Qt::SingleShotConnection);
        return;
    }
    finishOnce(code);
}

void ServiceMode::finishOnce(int code)
{
    if (std::exchange(m_stopping, true))
        return;
    m_engine.Stop();
    emit finished(code);
}

int ServiceMode::PrintHistory()
{
    RegistryStore store;
    store.SetKey(Settings::InitKey);
    const QString user = store.ReadValue(Settings::Username).trimmed();
    if (user.isEmpty()) {
        std::fprintf(stderr, "No saved login in %s: log in once with veltrio-dns.\n",
                     qPrintable(settingsName()));
        return SettingsUnusable;
    }
    const QList<HistoryEntry> entries = AddressHistory::Read(user);
    for (const HistoryEntry &entry : entries)
        std::printf("%s\n", qPrintable(entry.Text()));
    if (entries.isEmpty())
        std::fprintf(stderr, "%s: no address history yet (%s)\n", qPrintable(user),
                     qPrintable(AddressHistory::FileOf(user)));
    return Done;
}

void ServiceMode::Stop()
{
    if (std::exchange(m_stopping, true))
        return;
    if (!m_started) {
        // A login under way ends now; Start() says so and returns.
        ExchangeQueue::Instance().AbortAll();
        return;
    }
    m_every.stop();
    m_retry.stop();
    m_runDeadline.stop();
    m_engine.Stop();
    line(QStringLiteral("%1: stopping").arg(account()));
    emit finished(Done);
}

void ServiceMode::Reload()
{
    if (m_stopping || !m_started)
        return;
    RegistryStore store;
    store.SetKey(Settings::InitKey);
    const QString user = store.ReadValue(Settings::Username).trimmed();
    const QString password = store.ReadValue(Settings::Password).trimmed();
    if (store.ReadValue(Settings::bSaveLogin) != QLatin1String("1") || user.isEmpty() ||
        password.isEmpty()) {
        const QString failure =
            QStringLiteral("%1: no saved login in %2 now; going on with the settings read before")
                .arg(account(), settingsName());
        line(failure);
        logFailure(failure);
        return;
    }
    if (user == m_savedUser && password == m_savedPassword) {
        const QString rate = m_rate;
        loadSettings();
        if (m_mode == Mode::Run && m_rate != rate)
            m_every.start(static_cast<int>(checkInterval() * 1000));
        line(QStringLiteral("%1: settings read again, every %2 s")
                 .arg(account(), QString::number(checkInterval())));
        return;
    }
    line(QStringLiteral("%1: the saved login changed; logging in again").arg(account()));
    m_every.stop();
    m_retry.stop();
    m_engine.Stop();
    m_locks.Close();
    m_started = false;
    User() = clsUser();
    if (const auto failed = Start()) {
        m_stopping = true;
        emit finished(*failed);
    }
}
