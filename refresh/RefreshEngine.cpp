#include "RefreshEngine.h"

#include "DateRules.h"
#include "Foreground.h"
#include "RuntimeError.h"
#include "Seams.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <memory>

bool RefreshOutcome::Failed() const
{
    for (const RefreshCommand &command : commands) {
        if (!command.ok)
            return true;
    }
    return false;
}

RefreshEngine::RefreshEngine(RefreshPort &port, QObject *parent) : QObject(parent), m_port(port) {}

void RefreshEngine::Start()
{
    m_active = true;
    startIfDue();
}

void RefreshEngine::Stop()
{
    m_active = false;
    m_due = false;
    m_running = false;
    ++m_generation;
}

void RefreshEngine::Tick()
{
    if (!m_active)
        return;
    // The counting runs on every tick, also while the user is at work; only
    // the check itself waits.
    if (m_timer.Tick(m_port.RefreshRateText())) {
        m_due = true;
        startIfDue();
    }
}

void RefreshEngine::startIfDue()
{
    if (!m_active || !m_due || m_running)
        return;
    if (Foreground::Busy()) {
        whenIdle([this] { startIfDue(); });
        return;
    }
    m_due = false;
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
    m_port.ShowCheckTime(DateRules::FormatCheckTime(Seams::Now()));
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
        sendReplaces({{old, now}}, m_port.AutoIPTicked(), ip);
        return;
    }
    // The user is at work in another panel; the next due check does it.
    if (m_port.RowsOnHold()) {
        finish();
        return;
    }
    QList<AutoRefresh::Resend> replaces;
    for (const AutoRefresh::GridRow &row : m_port.Rows()) {
        if (const auto resend = AutoRefresh::ResendForRow(row, ip))
            replaces.append(*resend);
    }
    sendReplaces(replaces, true, ip);
}

void RefreshEngine::sendReplaces(const QList<AutoRefresh::Resend> &replaces, bool autoIP,
                                 const QString &ip)
{
    const bool freeAccount = User().bVeltrioOnly;
    auto outcome = std::make_shared<RefreshOutcome>();
    outcome->address = ip;
    if (replaces.isEmpty()) {
        m_port.ReloadRows();
        finish();
        return;
    }
    auto waiting = std::make_shared<int>(replaces.size() * 2);
    const quint64 generation = m_generation;

    // All of them are queued now, one pair after the other: no request of
    // the user's comes between a delete and its add.
    for (const AutoRefresh::Resend &resend : replaces) {
        for (const auto &[args, command] : {std::pair{resend.remove, basDNS::RecordDelete},
                                            std::pair{resend.add, basDNS::RecordAdd}}) {
            const QString host = args.host.isEmpty() ? QStringLiteral("@") : args.host;
            const qsizetype index = outcome->commands.size();
            outcome->commands.append(
                {command, args.domain, host, args.recordType, args.address, false, QString()});
            basDNS::PostRequest(
                basDNS::TicklerQuery(args.domain, host, command, args.recordType, args.address),
                this, [=, this](const QString &reply) {
                    // The reply reaches the session at once, in the order the
                    // service answered.
                    RefreshCommand &sent = outcome->commands[index];
                    try {
                        sent.ok =
                            basDNS::ApplyTicklerReply(reply, sent.domain, sent.host, sent.command,
                                                      sent.recordType, sent.address, autoIP);
                        if (!sent.ok)
                            sent.error =
                                reply.isEmpty()
                                    ? QStringLiteral("no answer from the service")
                                    : basDNS::GetReplyValue(reply, QStringLiteral("Error:"));
                    } catch (const std::exception &e) {
                        basErr::LogOnly(QStringLiteral("basDNS.DNSTickler()"),
                                        RuntimeError::From(e));
                        sent.error = RuntimeError::From(e).description();
                    }
                    if (--*waiting > 0 || generation != m_generation)
                        return;
                    whenIdle([this, outcome, freeAccount, ip] {
                        if (freeAccount)
                            m_port.FreeRecordReplaced(ip);
                        else
                            m_port.ReloadRows();
                        m_port.Report(*outcome);
                        finish();
                    });
                });
        }
    }
}

void RefreshEngine::finish()
{
    m_running = false;
    emit checkFinished();
    startIfDue();
}
