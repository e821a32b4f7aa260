#pragma once

#include "Account.h"

#include <QJsonObject>
#include <QList>
#include <QString>

// The service's accounts and their records. The accounts come from a JSON
// file that the service never writes; the records, as they change, are kept
// in a separate state file so that they survive a restart.
//
// Accounts file: {"accounts": [{"user", "password", "firstName", "lastName",
//   "domains": [...], "subDomain", "recordTypes": [...], "userLevel",
//   "expirationDate": "m/d/yyyy", "records": [{"domain", "type", "name", "address"}]}]}
// State file: {"records": {"<user>": [{"domain", "type", "name", "address"}, ...]}}
class AccountBook
{
public:
    // Reads the accounts file, then the state file when it exists. On failure
    // nothing is kept and the reason is in error.
    bool load(const QString &accountsFile, const QString &stateFile, QString *error);

    // The account of that user name, matched ignoring case; null when none.
    Account *find(const QString &user);
    const QList<Account> &accounts() const { return m_accounts; }

    // Writes every account's records to the state file in one step, so the
    // file is either the old one or the new one, never half written.
    bool save(QString *error) const;

    QString stateFile() const { return m_stateFile; }

    // "<folder>/<name>.state.json" beside "<folder>/<name>.json".
    static QString defaultStateFile(const QString &accountsFile);

private:
    bool loadState(const QJsonObject &state, QString *error);

    QList<Account> m_accounts;
    QString m_stateFile;
    // Entries of the state file for users the accounts file no longer has;
    // written back unchanged so that removing an account loses nothing.
    QJsonObject m_otherUsers;
};
