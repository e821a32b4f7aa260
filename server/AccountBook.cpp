#include "AccountBook.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

namespace {

std::optional<QJsonDocument> readJson(const QString &fileName, QString *error)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(fileName, file.errorString());
        return std::nullopt;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        *error = QStringLiteral("%1 is not a JSON object: %2")
                     .arg(fileName, parseError.error != QJsonParseError::NoError
                                        ? parseError.errorString()
                                        : QStringLiteral("wrong top level"));
        return std::nullopt;
    }
    return document;
}

} // namespace

bool AccountBook::load(const QString &accountsFile, const QString &stateFile, QString *error)
{
    m_accounts.clear();
    m_otherUsers = {};
    m_stateFile = stateFile;

    const auto accounts = readJson(accountsFile, error);
    if (!accounts)
        return false;
    const QJsonValue list = accounts->object().value(QLatin1String("accounts"));
    if (!list.isArray()) {
        *error = accountsFile + QStringLiteral(": \"accounts\" must be a list");
        return false;
    }
    for (const QJsonValue &item : list.toArray()) {
        auto account = Account::fromJson(item, error);
        if (account && find(account->user)) {
            *error = QStringLiteral("the user %1 is listed twice").arg(account->user);
            account.reset();
        }
        if (!account) {
            *error = accountsFile + QStringLiteral(": ") + *error;
            m_accounts.clear();
            return false;
        }
        m_accounts.append(*account);
    }

    if (!QFileInfo::exists(stateFile))
        return true;
    const auto state = readJson(stateFile, error);
    if (!state || !loadState(state->object(), error)) {
        // A state file that cannot be read is left alone: the service must
        // not start over it and overwrite the records it holds.
        *error = QStringLiteral("%1 (move the file away to start with the records of the "
                                "accounts file)")
                     .arg(*error);
        m_accounts.clear();
        return false;
    }
    return true;
}

bool AccountBook::loadState(const QJsonObject &state, QString *error)
{
    const QJsonValue users = state.value(QLatin1String("records"));
    if (!users.isObject()) {
        *error = m_stateFile + QStringLiteral(": \"records\" must be an object");
        return false;
    }
    const QJsonObject byUser = users.toObject();
    QList<std::pair<Account *, QList<ServiceRecord>>> loaded;
    for (auto it = byUser.begin(); it != byUser.end(); ++it) {
        Account *account = find(it.key());
        if (!account) {
            m_otherUsers.insert(it.key(), it.value());
            continue;
        }
        if (!it.value().isArray()) {
            *error =
                m_stateFile + QStringLiteral(": the records of %1 must be a list").arg(it.key());
            return false;
        }
        QList<ServiceRecord> records;
        for (const QJsonValue &item : it.value().toArray()) {
            auto record = ServiceRecord::fromJson(item, error);
            if (!record) {
                *error =
                    m_stateFile + QStringLiteral(": ") + it.key() + QStringLiteral(": ") + *error;
                return false;
            }
            records.append(*record);
        }
        loaded.append({account, records});
    }
    for (auto &[account, records] : loaded)
        account->setRecords(records);
    return true;
}

Account *AccountBook::find(const QString &user)
{
    const QString wanted = user.trimmed();
    if (wanted.isEmpty())
        return nullptr;
    for (Account &account : m_accounts) {
        if (account.user.compare(wanted, Qt::CaseInsensitive) == 0)
            return &account;
    }
    return nullptr;
}

bool AccountBook::save(QString *error) const
{
    QJsonObject byUser = m_otherUsers;
    for (const Account &account : m_accounts) {
        QJsonArray records;
        for (const ServiceRecord &record : account.records())
            records.append(record.toJson());
        byUser.insert(account.user, records);
    }
    const QByteArray json =
        QJsonDocument(QJsonObject{{QStringLiteral("records"), byUser}}).toJson();

    QSaveFile file(m_stateFile);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size() || !file.commit()) {
        *error = QStringLiteral("cannot write %1: %2").arg(m_stateFile, file.errorString());
        return false;
    }
    return true;
}

QString AccountBook::defaultStateFile(const QString &accountsFile)
{
    const QFileInfo info(accountsFile);
    return info.dir().filePath(info.completeBaseName() + QStringLiteral(".state.json"));
}
