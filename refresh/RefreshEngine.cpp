#include "RefreshEngine.h"

#include "DateRules.h"
#include "Foreground.h"
#include "PendingAdds.h"
#include "Refresher.h"
#include "RuntimeError.h"
#include "Seams.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <algorithm>
#include <memory>
#include <utility>

OutcomeText Describe(const RefreshOutcome &outcome)
{
    const auto name = &AutoRefresh::RecordName;
    OutcomeText text;
    int set = 0;
    for (const RefreshCommand &command : outcome.commands) {
        const bool removing = command.command == basDNS::RecordDelete;
        if (command.ok) {
            if (!removing) {
                ++set;
                text.lines.append(name(command.host, command.domain) + QStringLiteral(" set to ") +
                                  command.address);
            }
            continue;
        }
        const QString failure = QStringLiteral("Could not ") +
                                (removing ? QStringLiteral("Remove") : QStringLiteral("Set")) +
                                QStringLiteral(" IP for ") + name(command.host, command.domain) +
                                QStringLiteral(" (") + command.address + QStringLiteral("): ") +
                                command.error;
        text.lines.append(failure);
        text.failures.append(failure);
    }
    if (set > 0)
        text.summary = set == 1 ? QStringLiteral("Updated 1 record")
                                : QStringLiteral("Updated %1 records").arg(set);
    if (!text.failures.isEmpty())
        text.summary = QStringLiteral("%1 failed, see the log").arg(text.failures.size());
    for (const AutoRefresh::RecordArgs &add : outcome.pending)
        text.lines.append(QStringLiteral("Still to add, at every check: ") +
                          name(add.host, add.domain) + QStringLiteral(" ") + add.address);
    if (!outcome.pending.isEmpty())
        text.summary =
            QStringLiteral("Pending: ") + name(outcome.pending[0].host, outcome.pending[0].domain);
    if (!outcome.rejectedAddress.isNull()) {
        text.summary = QStringLiteral("Bad address reply ignored");
        text.lines.append(QStringLiteral("The service's address reply was no IPv4 address; the "
                                         "records were left alone."));
    }
    text.problem =
        !text.failures.isEmpty() || !outcome.pending.isEmpty() || !outcome.rejectedAddress.isNull();
    return text;
}

RefreshEngine::RefreshEngine(RefreshPort &port, QObject *parent) : QObject(parent), m_port(port) {}

void RefreshEngine::Start()
{
    if (m_refresher && m_refresher->Account() != User().sUsername)
        m_refresher->Open(User().sUsername);
    m_status = {};
    m_written = {};
    m_recordsSeen = -1;
    m_rowsAtAddress = 0;
    m_active = true;
    startIfDue();
}

void RefreshEngine::Stop()
{
    m_active = false;
    m_due = false;
    m_running = false;
    m_waitingForIdle = false;
    m_rowsAtAddress = 0;
    ++m_generation;
    if (m_refresher)
        m_refresher->Close();
}

void RefreshEngine::Tick()
{
    if (!m_active)
        return;
    // Another process refreshes the account: nothing is counted here until
    // it lets go. A check of ours in progress ends first.
    if (m_refresher && m_refresher->KeepsLock() && !m_running && !m_refresher->MayRefresh()) {
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

void RefreshEngine::showElsewhere()
{
    const QString account = m_refresher->Account();
    const bool byServiceMode = m_refresher->RefreshedBy() == Refresher::Other::ServiceMode;
    whenIdle([this, account, byServiceMode] {
        const RefreshStatus status = RefreshStatus::Read(account).value_or(RefreshStatus());
        std::optional<RefreshRecords> records;
        const qint64 stamp = RefreshRecords::Stamp(account);
        if (stamp != m_recordsSeen) {
            records = RefreshRecords::Read(account);
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
    const QString account = m_refresher->Account();
    m_status.ipAddress = User().sIPAddress;
    m_status.Write(account);
    // The record list is written only when it changed: a check that finds
    // nothing to do leaves it alone.
    const auto same = [](const QString &a, const QString &b) {
        return (a.constData() == b.constData() && a.size() == b.size()) || a == b;
    };
    const QString &records = User().sDomainUserRecords;
    if (m_recordsSeen < 0 || !same(records, m_written.records) ||
        !same(Program::sAutoIPList, m_written.autoIPList)) {
        m_written = {records, Program::sAutoIPList};
        if (m_written.Write(account))
            m_recordsSeen = RefreshRecords::Stamp(account);
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
    if (m_refresher && !m_refresher->MayRefresh()) {
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
            basErr::LogOnly(QStringLiteral("frmMain.UpdateDomainAutoIPs()"), RuntimeError::From(e));
            if (m_running)
                finish();
        }
    });
}

void RefreshEngine::runCheck()
{
    m_status.checkTime = DateRules::FormatCheckTime(Seams::Now());
    m_port.ShowCheckTime(m_status.checkTime);
    if (!AutoRefresh::ShouldAskService(m_port.AutoIPTicked(), User().bVeltrioOnly)) {
        finish();
        return;
    }
    const quint64 generation = m_generation;
    basDNS::PostGetIPAddress(this, [this, generation](const QString &ip) {
        if (generation == m_generation)
            whenIdle([this, ip] { addressKnown(ip); });
    });
}

void RefreshEngine::addressKnown(const QString &ip)
{
    // No answer, or a failed one: the records stay as they are.
    if (ip.isEmpty()) {
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
    const clsUser &user = User();
    if (user.bVeltrioOnly) {
        if (ip == user.sIPAddress) {
            finish();
            return;
        }
        // The service replaces a record by removing the old one and setting
        // the new one.
        const AutoRefresh::RecordArgs old{user.sSubDomain, user.sUsername, user.sRecordType,
                                          user.sIPAddress};
        AutoRefresh::RecordArgs now = old;
        now.address = ip;
        send({}, {{old, now}}, m_port.AutoIPTicked(), ip, false);
        return;
    }
    // Adds still owed from before; one the service lists by now is done.
    const QList<AutoRefresh::RecordArgs> owed = PendingAdds::Read(user.sUsername);
    QList<AutoRefresh::RecordArgs> retries;
    for (const AutoRefresh::RecordArgs &add : owed) {
        if (!PendingAdds::Listed(add, user.sDomainUserRecords))
            retries.append(add);
    }
    if (retries.size() != owed.size())
        PendingAdds::Write(user.sUsername, retries);
    // The user is at work in another panel; the next due check does the rows.
    const bool onHold = m_port.RowsOnHold();
    QList<AutoRefresh::Resend> replaces;
    // Rows that were all at this address at the last check, and have not
    // changed since, have nothing to send: they are not read again.
    const quint64 rows = m_port.AutoRowsVersion();
    if (!onHold && (rows == 0 || rows != m_rowsAtAddress || ip != m_rowsAddress)) {
        for (const AutoRefresh::GridRow &row : m_port.AutoRows()) {
            if (const auto resend = AutoRefresh::ResendForRow(row, ip))
                replaces.append(*resend);
        }
        m_rowsAtAddress = replaces.isEmpty() ? rows : 0;
        m_rowsAddress = ip;
    }
    send(retries, replaces, true, ip, !onHold);
}

void RefreshEngine::send(const QList<AutoRefresh::RecordArgs> &retries,
                         const QList<AutoRefresh::Resend> &replaces, bool autoIP, const QString &ip,
                         bool reloadRows)
{
    const QString user = User().sUsername;
    const bool journal = !User().bVeltrioOnly;
    auto outcome = std::make_shared<RefreshOutcome>();
    outcome->address = ip;
    const auto done = [this, outcome, journal, reloadRows, user, ip] {
        if (journal)
            outcome->pending = PendingAdds::Read(user);
        if (!journal)
            m_port.FreeRecordReplaced(ip);
        else if (reloadRows)
            m_port.ReloadRows();
        if (!outcome->commands.isEmpty() || !outcome->pending.isEmpty())
            report(*outcome);
        finish();
    };
    QList<std::pair<AutoRefresh::RecordArgs, QString>> commands;
    for (const AutoRefresh::RecordArgs &add : retries)
        commands.append({add, basDNS::RecordAdd});
    for (const AutoRefresh::Resend &resend : replaces)
        commands.append({{resend.remove, basDNS::RecordDelete}, {resend.add, basDNS::RecordAdd}});
    if (commands.isEmpty()) {
        done();
        return;
    }
    // The adds are owed from before their deletes go out.
    if (journal && !replaces.isEmpty()) {
        QList<AutoRefresh::RecordArgs> owed = PendingAdds::Read(user);
        for (const AutoRefresh::Resend &resend : replaces) {
            if (std::none_of(owed.cbegin(), owed.cend(),
                             [&](const auto &a) { return PendingAdds::Same(a, resend.add); }))
                owed.append(resend.add);
        }
        PendingAdds::Write(user, owed);
    }

    auto waiting = std::make_shared<qsizetype>(commands.size());
    const quint64 generation = m_generation;
    // All of them are queued now, each delete right before its add: no
    // request of the user's comes between them.
    for (const auto &[args, command] : commands) {
        const QString host = args.host.isEmpty() ? QStringLiteral("@") : args.host;
        const qsizetype index = outcome->commands.size();
        outcome->commands.append(
            {command, args.domain, host, args.recordType, args.address, false, QString()});
        basDNS::PostRequest(
            basDNS::TicklerQuery(args.domain, host, command, args.recordType, args.address), this,
            [=, this](const QString &reply) {
                // The reply reaches the session at once, in the order the
                // service answered.
                RefreshCommand &sent = outcome->commands[index];
                try {
                    sent.ok = basDNS::ApplyTicklerReply(reply, sent.domain, sent.host, sent.command,
                                                        sent.recordType, sent.address, autoIP);
                    if (!sent.ok)
                        sent.error = reply.isEmpty()
                                         ? QStringLiteral("no answer from the service")
                                         : basDNS::GetReplyValue(reply, QStringLiteral("Error:"));
                } catch (const std::exception &e) {
                    basErr::LogOnly(QStringLiteral("basDNS.DNSTickler()"), RuntimeError::From(e));
                    sent.error = RuntimeError::From(e).description();
                }
                if (journal && sent.ok && sent.command == basDNS::RecordAdd) {
                    QList<AutoRefresh::RecordArgs> owed = PendingAdds::Read(user);
                    owed.removeIf([&](const auto &a) {
                        return PendingAdds::Same(
                            a, {sent.domain, sent.host, sent.recordType, sent.address});
                    });
                    PendingAdds::Write(user, owed);
                }
                if (--*waiting > 0 || generation != m_generation)
                    return;
                whenIdle(done);
            });
    }
}

void RefreshEngine::finish()
{
    m_running = false;
    if (m_refresher && m_active) {
        writeStatus();
        m_refresher->CheckDone();
    }
    emit checkFinished();
    startIfDue();
}
