#include "RefreshStatus.h"

#include "Refresher.h"
#include "basDNS.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

// A file beyond this is no status of ours.
constexpr qint64 kLargest = 64LL * 1024 * 1024;

QString fileOf(const QString &account, const char *suffix)
{
    return Refresher::FileOf(account, QLatin1String(suffix));
}

template <typename Fields> bool writeJson(const QString &path, const Fields &fields)
{
    QJsonObject object;
    for (const auto &[name, value] : fields)
        object.insert(QLatin1String(name), value);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    file.write(QJsonDocument(object).toJson(QJsonDocument::Compact));
    return file.commit();
}

// The object's text values by name; nothing when the file is missing,
// damaged or holds a value of another kind.
template <typename Names>
std::optional<QList<QString>> readJson(const QString &path, const Names &names)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kLargest)
        return std::nullopt;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    QList<QString> values;
    for (const char *name : names) {
        const QJsonValue value = object.value(QLatin1String(name));
        if (!value.isString() && !value.isUndefined())
            return std::nullopt;
        values.append(value.toString());
    }
    return values;
}

} // namespace

bool RefreshStatus::Write(const QString &account) const
{
    const std::pair<const char *, QString> fields[] = {{"checkTime", checkTime},
                                                       {"address", address},
                                                       {"summary", summary},
                                                       {"details", details},
                                                       {"ipAddress", ipAddress}};
    return writeJson(fileOf(account, ".status"), fields);
}

std::optional<RefreshStatus> RefreshStatus::Read(const QString &account)
{
    const char *names[] = {"checkTime", "address", "summary", "details", "ipAddress"};
    const auto values = readJson(fileOf(account, ".status"), names);
    if (!values)
        return std::nullopt;
    return RefreshStatus{(*values)[0], (*values)[1], (*values)[2], (*values)[3], (*values)[4]};
}

bool RefreshRecords::Write(const QString &account) const
{
    const std::pair<const char *, QString> fields[] = {{"records", records},
                                                       {"autoIPList", autoIPList}};
    return writeJson(fileOf(account, ".records"), fields);
}

std::optional<RefreshRecords> RefreshRecords::Read(const QString &account)
{
    const char *names[] = {"records", "autoIPList"};
    const auto values = readJson(fileOf(account, ".records"), names);
    if (!values)
        return std::nullopt;
    return RefreshRecords{(*values)[0], (*values)[1]};
}

qint64 RefreshRecords::Stamp(const QString &account)
{
    const QFileInfo info(fileOf(account, ".records"));
    return info.exists() ? info.lastModified().toMSecsSinceEpoch() : 0;
}

OutcomeText Describe(const RefreshOutcome &outcome)
{
    const auto name = [](const QString &host, const QString &domain) {
        return host == QLatin1String("@") ? domain : host + QLatin1Char('.') + domain;
    };
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
