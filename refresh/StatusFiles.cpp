#include "StatusFiles.h"

#include "AccountLocks.h"

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
    return AccountLocks::FileOf(account, QLatin1String(suffix));
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

bool StatusFile::Write(const QString &account) const
{
    const std::pair<const char *, QString> fields[] = {{"checkTime", checkTime},
                                                       {"address", address},
                                                       {"summary", summary},
                                                       {"details", details},
                                                       {"ipAddress", ipAddress}};
    return writeJson(fileOf(account, ".status"), fields);
}

std::optional<StatusFile> StatusFile::Read(const QString &account)
{
    const char *names[] = {"checkTime", "address", "summary", "details", "ipAddress"};
    const auto values = readJson(fileOf(account, ".status"), names);
    if (!values)
        return std::nullopt;
    return StatusFile{(*values)[0], (*values)[1], (*values)[2], (*values)[3], (*values)[4]};
}

bool RecordsFile::Write(const QString &account) const
{
    const std::pair<const char *, QString> fields[] = {{"records", records},
                                                       {"autoIPList", autoIPList}};
    return writeJson(fileOf(account, ".records"), fields);
}

std::optional<RecordsFile> RecordsFile::Read(const QString &account)
{
    const char *names[] = {"records", "autoIPList"};
    const auto values = readJson(fileOf(account, ".records"), names);
    if (!values)
        return std::nullopt;
    return RecordsFile{(*values)[0], (*values)[1]};
}

qint64 RecordsFile::Stamp(const QString &account)
{
    const QFileInfo info(fileOf(account, ".records"));
    return info.exists() ? info.lastModified().toMSecsSinceEpoch() : 0;
}
