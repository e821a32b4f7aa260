#include "ServiceMode.h"

#include "AdvancedSettings.h"
#include "AutoIpMatcher.h"
#include "LoginExchange.h"
#include "RecordList.h"
#include "RefreshStatus.h"
#include "RegistryStore.h"
#include "RuntimeError.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QCoreApplication>
#include <cstdio>
#include <utility>
#include <vector>

namespace {

const QString kInitKey = QStringLiteral("SOFTWARE\\Veltrio\\Init");
const QString kLogLabel = QStringLiteral("veltrio-dnsd.Refresh()");

QString accountKey()
{
    return QStringLiteral("SOFTWARE\\Veltrio\\") + User().sUsername;
}

} // namespace

ServiceMode::ServiceMode(Mode mode, QObject *parent)
    : QObject(parent), m_mode(mode), m_engine(*this, this),
      m_refresher(mode == Mode::Once ? Refresher::Role::OneCheck : Refresher::Role::ServiceMode)
{
    m_tick.setInterval(RefreshTimer::TickInterval);
    connect(&m_tick, &QTimer::timeout, &m_engine, &RefreshEngine::Tick);
    connect(&m_engine, &RefreshEngine::checkFinished, this, &ServiceMode::checkFinished);
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
    if (const auto failed = logIn())
        return failed;
    if (m_mode == Mode::Check) {
        printAutomaticRecords();
        return Done;
    }
    if (!m_refresher.Open(account())) {
        line(QStringLiteral("%1: another veltrio-dnsd refreshes this account already; this one "
                            "ends.")
                 .arg(account()));
        return CommandFailed;
    }
    const clsUser &user = User();
    if (user.bVeltrioOnly) {
        // The service points the free sub-domain at its own server while no
        // client runs; it points back at this machine now.
        if (LoginExchange::RepointFreeRecord(user.sIPAddress, false, m_autoIP)) {
            line(QStringLiteral("%1: %2 points at %3")
                     .arg(account(), AutoRefresh::RecordName(user.sUsername, user.sSubDomain),
                          user.sIPAddress));
        } else {
            m_failed = true;
            const QString failure =
                QStringLiteral("%1: could not point %2 at %3")
                    .arg(account(), AutoRefresh::RecordName(user.sUsername, user.sSubDomain),
                         user.sIPAddress);
            line(failure);
            logFailure(failure);
        }
    }
    if (m_stopping)
        return Done;

    m_engine.SetRefresher(&m_refresher);
    m_engine.Start();
    m_started = true;
    if (m_mode == Mode::Once) {
        // Never while another process checks: a window that leaves the
        // checks to the service mode holds no lock, the service mode only
        // while its own check runs.
        if (!m_refresher.MayRefresh(RefreshTimer::TickInterval + 5000)) {
            line(QStringLiteral("%1: another process sends this account's checks; nothing done.")
                     .arg(account()));
            return CommandFailed;
        }
        m_engine.CheckNow();
        return std::nullopt;
    }
    m_tick.start();
    const QString what = user.bVeltrioOnly
                             ? QStringLiteral("%1, automatic %2")
                                   .arg(AutoRefresh::RecordName(user.sUsername, user.sSubDomain),
                                        m_autoIP ? QStringLiteral("on") : QStringLiteral("off"))
                             : QStringLiteral("%1 automatic record(s)").arg(AutoRows().size());
    line(QStringLiteral("%1: refreshing %2, every %3 s").arg(account(), what, m_rate));
    return std::nullopt;
}

std::optional<int> ServiceMode::logIn()
{
    RegistryStore store;
    store.SetKey(kInitKey);
    m_savedUser = store.ReadValue(QStringLiteral("Username")).trimmed();
    m_savedPassword = store.ReadValue(QStringLiteral("Password")).trimmed();
    if (store.ReadValue(QStringLiteral("bSaveLogin")) != QLatin1String("1") ||
        m_savedUser.isEmpty() || m_savedPassword.isEmpty()) {
        const QString file = RegistryStore::File();
        line(QStringLiteral("No saved login in %1: log in once with veltrio-dns and tick "
                            "\"Save Login\".")
                 .arg(file.isEmpty() ? QStringLiteral("the settings") : file));
        return SettingsUnusable;
    }
    Program::sServiceURL = basDNS::StoredServiceURL();
    switch (LoginExchange::Run(m_savedUser, m_savedPassword)) {
    case LoginExchange::Outcome::ServerError:
        line(QStringLiteral("%1: Error contacting server.  Server may be under maintenance. (%2)")
                 .arg(m_savedUser, Program::sServiceURL));
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
    clsUser &user = User();
    Program::bLoggedIn = true;
    Program::bSaveLogin = true;
    user.bVeltrioOnly = !user.sSubDomain.isEmpty();
    if (user.bVeltrioOnly) {
        user.sDomain = user.sSubDomain;
        user.sRecordType = QStringLiteral("A");
        RegistryStore section;
        section.SetKey(accountKey());
        const QString saved = section.ReadValue(QStringLiteral("IPAddress"));
        if (!saved.isEmpty())
            user.sIPAddress = saved;
    }
    loadSettings();
    return std::nullopt;
}

void ServiceMode::loadSettings()
{
    const clsUser &user = User();
    m_rate = basDNS::StoredRefreshRate(user.bVeltrioOnly);
    Program::sServiceURL = basDNS::StoredServiceURL();
    RegistryStore section;
    section.SetKey(accountKey());
    m_autoIP = section.ReadValue(QStringLiteral("bAutoIP")) == QLatin1String("1");
    if (!user.bVeltrioOnly) {
        Program::sAutoIPList = section.ReadValue(QStringLiteral("AutoIPs"));
        m_savedAutoIPList = Program::sAutoIPList;
    }
}

void ServiceMode::printAutomaticRecords()
{
    const clsUser &user = User();
    if (user.bVeltrioOnly) {
        std::printf("%s A %s automatic=%s\n",
                    qPrintable(AutoRefresh::RecordName(user.sUsername, user.sSubDomain)),
                    qPrintable(user.sIPAddress), m_autoIP ? "yes" : "no");
        return;
    }
    bool complete = true;
    const QList<AutoRefresh::GridRow> rows = autoRows(&complete);
    for (const AutoRefresh::GridRow &row : rows)
        std::printf("%s %s %s\n", qPrintable(AutoRefresh::RecordName(row.host, row.domain)),
                    qPrintable(row.recordType), qPrintable(row.value));
    if (!complete)
        line(QStringLiteral("%1: the record list has a damaged piece; the records after it are "
                            "left out.")
                 .arg(account()));
    line(QStringLiteral("%1: %2 automatic record(s)").arg(account()).arg(rows.size()));
}

QList<AutoRefresh::GridRow> ServiceMode::AutoRows() const
{
    return autoRows(nullptr);
}

QList<AutoRefresh::GridRow> ServiceMode::autoRows(bool *complete) const
{
    const QString records = User().sDomainUserRecords;
    std::vector<RecordList::FieldViews> fields;
    bool whole = true;
    try {
        RecordList::ForEach(records, [&](int, QStringView, const RecordList::FieldViews &f) {
            if (RecordList::WithinLimits(f[0], f[1], f[2], f[3]))
                fields.push_back(f);
            else
                whole = false;
        });
    } catch (const std::exception &) {
        // A piece that is no record ends the list; the records before it
        // are refreshed.
        whole = false;
    }
    if (complete)
        *complete = whole;
    const std::vector<bool> marks =
        AutoRefresh::AutoIpMatcher(Program::sAutoIPList.toUpper()).match(fields);
    QList<AutoRefresh::GridRow> rows;
    for (size_t i = 0; i < fields.size(); ++i) {
        if (!marks[i])
            continue;
        const RecordList::FieldViews &f = fields[i];
        const QString host = f[2] == QLatin1String("@") ? QString() : f[2].toString();
        rows.append(
            {f[0].toString(), host, f[1].toString(), f[3].toString(), QStringLiteral("Yes")});
    }
    return rows;
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

void ServiceMode::FreeRecordReplaced(const QString &address)
{
    // Where the next start points the sub-domain.
    RegistryStore section;
    section.SetKey(accountKey());
    section.WriteValue(QStringLiteral("IPAddress"), address, RegistryStore::Text);
}

void ServiceMode::ReloadRows()
{
    saveAutoIPList();
}

void ServiceMode::saveAutoIPList()
{
    // Only a record command changes the automatic list: a check that sent
    // none has nothing to save.
    if (Program::sAutoIPList == m_savedAutoIPList)
        return;
    // The automatic list holds each record's address: after a replace it
    // names the new one. A list read only in part would drop the marks of
    // the records left out, so the saved one then stays.
    bool complete = true;
    const QString list = AutoRefresh::AutoIpList(autoRows(&complete));
    if (!complete)
        return;
    RegistryStore section;
    section.SetKey(accountKey());
    section.WriteValue(QStringLiteral("AutoIps"), list, RegistryStore::Text);
    m_savedAutoIPList = Program::sAutoIPList;
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

void ServiceMode::RefreshedElsewhere(bool byServiceMode, const RefreshStatus &status,
                                     const RefreshRecords *records)
{
    Q_UNUSED(byServiceMode);
    Q_UNUSED(status);
    Q_UNUSED(records);
    if (std::exchange(m_waitingShown, true))
        return;
    line(QStringLiteral("%1: a window sends this account's checks; they pass to this service at "
                        "its next tick.")
             .arg(account()));
}

void ServiceMode::checkFinished()
{
    m_waitingShown = false;
    if (m_mode != Mode::Once || m_stopping)
        return;
    const bool asked = AutoRefresh::ShouldAskService(m_autoIP, User().bVeltrioOnly);
    int code = Done;
    if (m_failed)
        code = CommandFailed;
    else if (asked && !m_addressSeen)
        code = Unreachable;
    if (code == Unreachable)
        line(QStringLiteral("%1: no public address from the service (%2)")
                 .arg(account(), Program::sServiceURL));
    else if (code == Done)
        line(QStringLiteral("%1: check done").arg(account()));
    m_stopping = true;
    m_tick.stop();
    m_engine.Stop();
    emit finished(code);
}

void ServiceMode::Stop()
{
    if (std::exchange(m_stopping, true))
        return;
    if (!m_started)
        return;
    m_tick.stop();
    m_engine.Stop();
    line(QStringLiteral("%1: stopping").arg(account()));
    emit finished(Done);
}

void ServiceMode::Reload()
{
    if (m_stopping || !m_started)
        return;
    RegistryStore store;
    store.SetKey(kInitKey);
    const QString user = store.ReadValue(QStringLiteral("Username")).trimmed();
    const QString password = store.ReadValue(QStringLiteral("Password")).trimmed();
    if (user == m_savedUser && password == m_savedPassword) {
        loadSettings();
        line(QStringLiteral("%1: settings read again, every %2 s").arg(account(), m_rate));
        return;
    }
    line(QStringLiteral("%1: the saved login changed; logging in again").arg(account()));
    m_tick.stop();
    m_engine.Stop();
    m_refresher.Close();
    m_started = false;
    User() = clsUser();
    if (const auto failed = Start()) {
        m_stopping = true;
        emit finished(*failed);
    }
}
