#include "RefreshEngine.h"

#include "AccountLocks.h"
#include "AddressHistory.h"
#include "DateRules.h"
#include "Foreground.h"
#include "RegistryStore.h"
#include "RuntimeError.h"
#include "Seams.h"
#include "SettingsNames.h"
#include "basErr.h"
#include "clsUser.h"

#include <algorithm>
#include <utility>

namespace {

const QString kLogLabel = QStringLiteral("frmMain.UpdateDomainAutoIPs()");
const QString kRecordsLabel = QStringLiteral("DomainUserRecords:");
const QString kOnChangeLabel = QStringLiteral("RefreshEngine.OnChange()");

// The same text, answered without reading it when it is the very same string.
bool same(const QString &a, const QString &b)
{
    return (a.constData() == b.constData() && a.size() == b.size()) || a == b;
}

} // namespace

// One check under way: what it read once, and what its replies said.
struct RefreshEngine::Check
{
    quint64 generation = 0;
    QString account;
    bool free = false;
    bool autoIP = false;
    QString ip;
    // The public address before it, as far as known.
    QString before;
    // The record list the check went by, and whether it came with the
    // address reply (else it is the host's, older).
    QString records;
    bool fresh = false;
    quint64 recordsSerial = 0;
    // The newest reply of the record commands that brought a list, and the
    // list read from it once they are all in.
    QString latestReply;
    std::optional<QString> latest;
    quint64 latestSerial = 0;
    qsizetype waiting = 0;
    AccountState state;
    RefreshOutcome outcome;
};

RefreshEngine::RefreshEngine(RefreshPort &port, QObject *parent) : QObject(parent), m_port(port)
{
    connect(&m_changeCommand, &ChangeCommand::ended, this,
            [this](int exitCode, const QString &text) {
                // Its exit code goes where an error's number goes.
                IgnoringErrors([&] {
                    basErr::LogError(basErr::LogFolder(), QString::number(exitCode), kOnChangeLabel,
                                     ProgramErrorSource(), text);
                });
                emit noted(text);
            });
    connect(&m_changeCommand, &ChangeCommand::idle, this, &RefreshEngine::changeCommandIdle);
}

void RefreshEngine::Start()
{
    if (m_locks && m_locks->Account() != User().sUsername)
        m_locks->Open(User().sUsername);
    m_status = {};
    m_written = {};
    m_shown = {};
    m_recordsSeen = -1;
    m_quiet.reset();
    m_active = true;
    startIfDue();
}

void RefreshEngine::Stop()
{
    m_active = false;
    m_due = false;
    m_running = false;
    m_waitingForIdle = false;
    m_quiet.reset();
    ++m_generation;
    if (m_locks)
        m_locks->Close();
}

void RefreshEngine::Tick()
{
    if (!m_active)
        return;
    // Another process refreshes the account: nothing is counted here until
    // it lets go. A check of ours in progress ends first.
    if (m_locks && m_locks->KeepsLock() && !m_running && !m_locks->MayRefresh()) {
        m_due = false;
        showElsewhere();
        return;
    }
    // The counting runs on every tick, also while the user is at work; only
    // the check itself waits.
    if (m_timer.Tick(m_port.RefreshRateText())) {
        m_due = true;
        startIfDue();
    }
}

void RefreshEngine::CheckNow()
{
    if (!m_active)
        return;
    m_due = true;
    startIfDue();
}

bool RefreshEngine::refreshedElsewhere() const
{
    return m_locks && !m_locks->Account().isEmpty() &&
           (m_locks->RefreshedBy() != AccountLocks::Other::Nobody ||
            (m_locks->KeepsLock() && AccountLocks::ServiceModeRuns(m_locks->Account())));
}

void RefreshEngine::RecordChangedByUser(const RefreshRules::RecordArgs &record,
                                        const QString &marksBefore, const QString &marksAfter,
                                        const std::optional<QString> &freeAddress)
{
    const QString account = User().sUsername;
    const AccountState before = ReplaceJournal::Load(account);
    AccountState after = before;
    after.replaces.removeIf([&record](const Replace &r) {
        return (r.HasOld() && ReplaceJournal::SameName(r.old, record)) ||
               ReplaceJournal::SameName(r.now, record);
    });
    after.autoIPList = ReplaceJournal::MarksWithChanges(before.autoIPList, marksBefore, marksAfter);
    if (freeAddress)
        after.freeAddress = *freeAddress;
    m_quiet.reset();
    ReplaceJournal::Save(account, before, after);
}

void RefreshEngine::FreeRecordSet(const QString &address)
{
    const QString account = User().sUsername;
    const AccountState before = ReplaceJournal::Load(account);
    AccountState after = before;
    after.freeAddress = address;
    ReplaceJournal::Save(account, before, after);
}

void RefreshEngine::showElsewhere()
{
    const QString account = m_locks->Account();
    const bool byServiceMode = m_locks->RefreshedBy() == AccountLocks::Other::ServiceMode;
    whenIdle([this, account, byServiceMode] {
        const StatusFile status = StatusFile::Read(account).value_or(StatusFile());
        std::optional<RecordsFile> records;
        const qint64 stamp = RecordsFile::Stamp(account);
        if (stamp != m_recordsSeen) {
            records = RecordsFile::Read(account);
            if (records)
                m_recordsSeen = stamp;
        }
        m_port.RefreshedElsewhere(byServiceMode, status, records ? &*records : nullptr);
    });
}

void RefreshEngine::report(const RefreshOutcome &outcome)
{
    const OutcomeText text = Describe(outcome);
    m_status.summary = text.summary;
    m_status.details = text.lines.join(QLatin1Char('\n'));
    m_port.Report(text);
}

void RefreshEngine::writeStatus()
{
    const QString account = m_locks->Account();
    m_status.ipAddress = m_shown.freeAddress;
    m_status.Write(account);
    // The record list is written only when it changed: a check that finds
    // nothing to do leaves it alone.
    if (!m_shown.records)
        return;
    if (m_recordsSeen < 0 || !same(*m_shown.records, m_written.records) ||
        !same(m_shown.autoIPList, m_written.autoIPList)) {
        m_written = {*m_shown.records, m_shown.autoIPList};
        if (m_written.Write(account))
            m_recordsSeen = RecordsFile::Stamp(account);
    }
}

void RefreshEngine::startIfDue()
{
    if (!m_active || !m_due || m_running)
        return;
    if (Foreground::Busy()) {
        // One wait at a time, however many ticks fall meanwhile.
        if (!std::exchange(m_waitingForIdle, true))
            whenIdle([this] {
                m_waitingForIdle = false;
                startIfDue();
            });
        return;
    }
    m_due = false;
    if (m_locks && !m_locks->MayRefresh()) {
        showElsewhere();
        return;
    }
    m_running = true;
    runCheck();
}

void RefreshEngine::whenIdle(std::function<void()> fn)
{
    const quint64 generation = m_generation;
    Foreground::WhenIdle(this, [this, generation, fn = std::move(fn)] {
        if (generation != m_generation)
            return;
        // A fault here is the refresh's own: it is logged, and the next due
        // check tries again.
        try {
            fn();
        } catch (const std::exception &e) {
            basErr::LogOnly(kLogLabel, RuntimeError::From(e));
            if (m_running)
                finish();
        }
    });
}

void RefreshEngine::runCheck()
{
    m_status.checkTime = DateRules::FormatCheckTime(Seams::Now());
    m_port.ShowCheckTime(m_status.checkTime);
    const clsUser &user = User();
    if (!RefreshRules::ShouldAskService(m_port.AutoIPTicked(), user.bVeltrioOnly)) {
        finish();
        return;
    }
    auto check = std::make_shared<Check>();
    check->generation = m_generation;
    check->account = user.sUsername;
    check->free = user.bVeltrioOnly;
    basDNS::PostAddressQuery(this, [this, check](const basDNS::AddressReply &reply) {
        if (check->generation == m_generation)
            whenIdle([this, check, reply] { addressKnown(check, reply); });
    });
}

void RefreshEngine::addressKnown(const std::shared_ptr<Check> &check,
                                 const basDNS::AddressReply &reply)
{
    const QString &ip = reply.address;
    // No answer, or a failed one: the records stay as they are.
    if (ip.isEmpty()) {
        m_status.summary = QStringLiteral("No answer from the service");
        m_status.details.clear();
        finish();
        return;
    }
    // Over plain HTTP anyone on the path can answer: an address that is no
    // address is never sent on.
    if (!basDNS::IsValidIPAddress(ip)) {
        basErr::LogOnly(QStringLiteral("frmMain.tmrAuto_Timer()"),
                        RuntimeError(ErrorNumber::InvalidArgument,
                                     QStringLiteral("The service reported \"%1\" as the public "
                                                    "address; the records were left alone.")
                                         .arg(ip.left(200))));
        RefreshOutcome outcome;
        outcome.rejectedAddress = ip;
        report(outcome);
        finish();
        return;
    }
    m_status.address = ip;
    m_port.ShowAddress(ip);

    // The check's inputs, read once.
    Check &c = *check;
    c.ip = ip;
    c.outcome.address = ip;
    c.autoIP = m_port.AutoIPTicked();
    c.fresh = reply.records.has_value();
    c.records = c.fresh ? *reply.records : m_port.RecordList();
    c.recordsSerial = reply.serial;
    const bool onHold = !c.free && m_port.UserInAnotherPanel();
    const AccountState stored = ReplaceJournal::Load(c.account);
    c.state = stored;
    if (c.free && c.state.freeAddress.isEmpty())
        c.state.freeAddress = m_port.FreeAddress();

    // Nothing changed since a check that found nothing to do.
    if (m_quiet && c.state.replaces.isEmpty() && same(m_quiet->records, c.records) &&
        same(m_quiet->autoIPList, c.state.autoIPList) && m_quiet->ip == ip && !onHold) {
        show(check);
        return;
    }

    // What the journal owes, as the service's list has it now.
    const std::optional<ReplacePlan::Listed> listed =
        c.fresh ? std::optional(ReplacePlan::Listed(c.records)) : std::nullopt;
    if (listed)
        ReplacePlan::Reconcile(c.state, *listed, ip, c.free);
    // What the automatic records need beside it.
    QList<Replace> replaces;
    if (c.free) {
        if (c.state.replaces.isEmpty() && ip != c.state.freeAddress) {
            const RefreshRules::RecordArgs record{User().sSubDomain, User().sUsername,
                                                  User().sRecordType, c.state.freeAddress};
            RefreshRules::RecordArgs now = record;
            now.address = ip;
            replaces.append({c.state.freeAddress.isEmpty() ? RefreshRules::RecordArgs() : record,
                             now, c.autoIP});
        }
    } else if (!onHold) {
        replaces = ReplacePlan::ForRows(ReplacePlan::AutomaticRows(c.records, c.state.autoIPList),
                                        ip, c.state.replaces);
    }
    c.state.replaces += replaces;
    c.before = addressBefore(c);
    // Without a fresh list, what the journal owes waits for one.
    const QList<ReplacePlan::Request> requests =
        listed ? ReplacePlan::Requests(c.state.replaces, &*listed)
               : ReplacePlan::Requests(replaces, nullptr);

    if (requests.isEmpty() && c.state.replaces.isEmpty() && !onHold)
        m_quiet = Quiet{c.records, c.state.autoIPList, ip};
    else
        m_quiet.reset();

    // Written ahead: every replace the check sends is in the settings before
    // its first request goes out. Settings that cannot be written stop it.
    try {
        ReplaceJournal::Save(c.account, stored, c.state);
    } catch (const std::exception &e) {
        c.outcome.journalError = RuntimeError::From(e).description() + QStringLiteral(" (") +
                                 (RegistryStore::File().isEmpty() ? QStringLiteral("the registry")
                                                                  : RegistryStore::File()) +
                                 QStringLiteral(")");
        basErr::LogOnly(kLogLabel, RuntimeError::From(e));
        m_quiet.reset();
        report(c.outcome);
        finish();
        return;
    }
    if (requests.isEmpty()) {
        noteOwed(c, listed ? &*listed : nullptr);
        // Held back, the records follow at a later check, which says so.
        if (!onHold)
            recordChange(c, true);
        show(check);
        return;
    }
    send(check, requests);
}

void RefreshEngine::send(const std::shared_ptr<Check> &check,
                         const QList<ReplacePlan::Request> &requests)
{
    check->waiting = requests.size();
    // All of them are queued now, each delete right before its add: no
    // request of the user's comes between them.
    for (const ReplacePlan::Request &request : requests) {
        const RefreshRules::RecordArgs &r = request.record;
        const QString host = RefreshRules::HostToSend(r.host);
        const qsizetype index = check->outcome.commands.size();
        check->outcome.commands.append(
            {request.command, r.domain, host, r.recordType, r.address, false, QString()});
        basDNS::PostTickler(r.domain, host, request.command, r.recordType, r.address, this,
                            [this, check, index](const basDNS::CommandReply &reply) {
                                RefreshCommand &sent = check->outcome.commands[index];
                                sent.ok = reply.ok;
                                sent.error = reply.error;
                                // Replies come in the order the service
                                // answered: the last list is the newest.
                                if (reply.reply.contains(kRecordsLabel)) {
                                    check->latestReply = reply.reply;
                                    check->latestSerial = reply.serial;
                                }
                                if (--check->waiting == 0)
                                    settle(check);
                            });
    }
}

void RefreshEngine::settle(const std::shared_ptr<Check> &check)
{
    Check &c = *check;
    if (!c.latestReply.isNull()) {
        try {
            c.latest = basDNS::RecordListOf(c.latestReply);
        } catch (const std::exception &) {
            // A list without its end is no list: the journal waits for one.
        }
    }
    // The settings as they are now (the user may have changed a record
    // meanwhile), brought up to date with the newest list.
    try {
        const AccountState stored = ReplaceJournal::Load(c.account);
        c.state = stored;
        if (c.latest)
            ReplacePlan::Reconcile(c.state, ReplacePlan::Listed(*c.latest), c.ip, c.free);
        ReplaceJournal::Save(c.account, stored, c.state);
    } catch (const std::exception &e) {
        // The journal written ahead still holds every replace: the next
        // check finds them.
        basErr::LogOnly(kLogLabel, RuntimeError::From(e));
    }
    // What is still owed, and a delete the list no longer holds is done.
    const std::optional<ReplacePlan::Listed> listed =
        c.latest ? std::optional(ReplacePlan::Listed(*c.latest)) : std::nullopt;
    for (RefreshCommand &command : c.outcome.commands) {
        if (!command.ok && listed && command.command == basDNS::RecordDelete &&
            !listed->Has({command.domain, command.host, command.recordType, command.address}))
            command.ok = true;
    }
    noteOwed(c, listed ? &*listed : nullptr);
    recordChange(c, check->generation == m_generation);
    if (c.latest) {
        c.records = *c.latest;
        c.recordsSerial = c.latestSerial;
        c.fresh = true;
    }
    if (check->generation == m_generation)
        whenIdle([this, check] { show(check); });
}

QString RefreshEngine::addressBefore(const Check &check)
{
    const QList<HistoryEntry> history = AddressHistory::Read(check.account);
    if (!history.isEmpty())
        return history.last().newAddress;
    if (check.free)
        return check.state.freeAddress;
    for (const Replace &replace : check.state.replaces) {
        if (replace.HasOld() && basDNS::IsValidIPAddress(replace.old.address))
            return replace.old.address;
    }
    return QString();
}

void RefreshEngine::recordChange(const Check &check, bool running)
{
    const bool sent = !check.outcome.commands.isEmpty();
    if (check.ip == check.before && !sent)
        return;
    const QStringList records = RecordResults(check.outcome);
    try {
        AddressHistory::Add(check.account, {Seams::Now().toUTC().toString(Qt::ISODate),
                                            check.before, check.ip, records});
    } catch (const std::exception &e) {
        const RuntimeError error = RuntimeError::From(e);
        basErr::LogOnly(kLogLabel, error);
        emit noted(QStringLiteral("The address history could not be written: ") +
                   error.description());
    }
    if (!sent || !running)
        return;
    QString commandLine = m_onChange.value_or(QString());
    if (!m_onChange) {
        RegistryStore store;
        store.SetKey(Settings::AccountKey(check.account));
        commandLine = store.ReadValue(Settings::OnChange);
    }
    if (!commandLine.trimmed().isEmpty())
        m_changeCommand.Run(commandLine, {check.account, check.before, check.ip, records});
}

void RefreshEngine::noteOwed(Check &check, const ReplacePlan::Listed *listed)
{
    for (const ReplacePlan::Request &owed : ReplacePlan::Requests(check.state.replaces, listed))
        (owed.command == basDNS::RecordAdd ? check.outcome.pendingAdds
                                           : check.outcome.pendingRemoves)
            .append(owed.record);
}

void RefreshEngine::show(const std::shared_ptr<Check> &check)
{
    const Check &c = *check;
    CheckResult result;
    if (c.fresh) {
        result.records = c.records;
        result.recordsSerial = c.recordsSerial;
    }
    result.autoIPList = c.state.autoIPList;
    result.freeAddress = c.state.freeAddress;
    result.freeRecordReplaced = c.free && !c.outcome.commands.isEmpty();
    m_shown = result;
    m_port.ShowResult(result);
    if (!c.outcome.commands.isEmpty() || !c.outcome.pendingAdds.isEmpty() ||
        !c.outcome.pendingRemoves.isEmpty())
        report(c.outcome);
    finish();
}

void RefreshEngine::finish()
{
    m_running = false;
    if (m_locks && m_active) {
        writeStatus();
        m_locks->CheckDone();
    }
    emit checkFinished();
    startIfDue();
}
