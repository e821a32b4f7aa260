#pragma once

// The main window logged in to veltrio-service through a saved login, for
// the benchmarks: no poll timers or other helpers of the tests run beside it.
#include "ServiceProcess.h"

#include "RegistryStore.h"
#include "ServiceConfig.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QStandardPaths>
#include <QTemporaryDir>

namespace Bench {

// The saved login of user (the password is the name, as in the demo
// accounts) against the service, in the settings file in force.
inline void writeSavedLogin(const ServiceProcess &service, const QString &user)
{
    RegistryStore store;
    store.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\Init"));
    store.WriteValue(QStringLiteral("Port"), QString::number(service.httpPort()),
                     RegistryStore::Text);
    store.WriteValue(QStringLiteral("bSaveLogin"), 1, RegistryStore::Number);
    store.WriteValue(QStringLiteral("Username"), user, RegistryStore::Text);
    store.WriteValue(QStringLiteral("Password"), user, RegistryStore::Text);
}

// A fresh session whose service is reached over plain HTTP, and the saved
// login of user (password the same) in a settings file in dir, with the
// given values in the user's own section and in [Init].
inline void prepareSavedLogin(const QTemporaryDir &dir, const ServiceProcess &service,
                              const QString &user,
                              const QList<std::pair<QString, QString>> &userValues = {},
                              const QList<std::pair<QString, QString>> &initValues = {})
{
    QStandardPaths::setTestModeEnabled(true);
    ProgramWide::Reset();
    basDNS::SetTransferTimeout(60000);
    ServiceConfig config = ServiceConfig::Defaults();
    config.httpHost = QStringLiteral("127.0.0.1");
    SetConfig(config);
    RegistryStore::SetFile(dir.filePath(QStringLiteral("settings.ini")));
    basErr::SetLogFolder(dir.filePath(QStringLiteral("Logs")));
    writeSavedLogin(service, user);
    RegistryStore store;
    store.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\Init"));
    for (const auto &[name, value] : initValues)
        store.WriteValue(name, value, RegistryStore::Text);
    store.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\") + user);
    for (const auto &[name, value] : userValues)
        store.WriteValue(name, value, RegistryStore::Text);
}

} // namespace Bench
