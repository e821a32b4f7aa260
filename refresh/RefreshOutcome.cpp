#include "RefreshOutcome.h"

#include "basDNS.h"

namespace {

QString recordName(const RefreshRules::RecordArgs &record)
{
    return RefreshRules::RecordName(RefreshRules::HostToSend(record.host), record.domain);
}

} // namespace

OutcomeText Describe(const RefreshOutcome &outcome)
{
    const auto name = &RefreshRules::RecordName;
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
    for (const RefreshRules::RecordArgs &add : outcome.pendingAdds)
        text.lines.append(QStringLiteral("Still to add, at every check: ") + recordName(add) +
                          QStringLiteral(" ") + add.address);
    for (const RefreshRules::RecordArgs &remove : outcome.pendingRemoves)
        text.lines.append(QStringLiteral("Still to remove, at every check: ") + recordName(remove) +
                          QStringLiteral(" ") + remove.address);
    const QList<RefreshRules::RecordArgs> &pending =
        outcome.pendingAdds.isEmpty() ? outcome.pendingRemoves : outcome.pendingAdds;
    if (!pending.isEmpty())
        text.summary = QStringLiteral("Pending: ") + recordName(pending[0]);
    if (!outcome.journalError.isEmpty()) {
        const QString failure =
            QStringLiteral("The settings could not be written, so no record was changed: ") +
            outcome.journalError;
        text.lines.append(failure);
        text.failures.append(failure);
        text.summary = QStringLiteral("Settings not writable, see the log");
    }
    if (!outcome.rejectedAddress.isNull()) {
        text.summary = QStringLiteral("Bad address reply ignored");
        text.lines.append(QStringLiteral("The service's address reply was no IPv4 address; the "
                                         "records were left alone."));
    }
    text.problem =
        !text.failures.isEmpty() || !pending.isEmpty() || !outcome.rejectedAddress.isNull();
    return text;
}

QStringList RecordResults(const RefreshOutcome &outcome)
{
    QStringList names;
    QStringList results;
    for (const RefreshCommand &command : outcome.commands) {
        const QString name = RefreshRules::RecordName(command.host, command.domain) +
                             QLatin1Char(' ') + command.recordType;
        qsizetype at = names.indexOf(name);
        if (at < 0) {
            at = names.size();
            names.append(name);
            results.append(QStringLiteral("ok"));
        }
        if (!command.ok && results[at] == QLatin1String("ok"))
            results[at] = QStringLiteral("failed: ") + command.error.simplified();
    }
    for (qsizetype i = 0; i < names.size(); ++i)
        names[i] += QLatin1Char(' ') + results[i];
    return names;
}
