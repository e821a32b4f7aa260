#pragma once

#include "ServiceProcess.h"
#include "frmMain.h"

#include "RegistryStore.h"
#include "ServiceConfig.h"
#include "Windows.h"
#include "basErr.h"
#include "clsUser.h"

#include <QPointer>
#include <QTemporaryDir>
#include <QVariant>
#include <memory>

// Base of the main window's tests against veltrio-service: a fresh service
// and fresh settings for each test, the saved login that starts the window,
// and what the service received.
class MainWindowTest : public QObject
{
protected:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ServiceProcess> m_service;
    QPointer<frmMain> m_window;

    static inline const QString kInit = QStringLiteral("SOFTWARE\\Veltrio\\Init");
    static QString userKey(const char *user)
    {
        return QStringLiteral("SOFTWARE\\Veltrio\\") + QLatin1String(user);
    }

    static void writeValues(const QString &key,
                            const QList<std::pair<const char *, QVariant>> &values)
    {
        RegistryStore store;
        store.SetKey(key);
        for (const auto &[name, value] : values)
            store.WriteValue(QLatin1String(name), value,
                             value.typeId() == QMetaType::Int ? RegistryStore::Number
                                                              : RegistryStore::Text);
    }
    static QString readValue(const QString &key, const char *name)
    {
        RegistryStore store;
        store.SetKey(key);
        return store.ReadValue(QLatin1String(name));
    }

    // Empties the session and points the client at 127.0.0.1.
    static void resetProgram()
    {
        Program::Reset();
        ServiceConfig config = ServiceConfig::Defaults();
        config.httpHost = QStringLiteral("127.0.0.1");
        SetConfig(config);
    }

    // A fresh service with the demo accounts and fresh settings that point
    // the client at it.
    bool startService(const QString &publicIp = QStringLiteral("203.0.113.7"))
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_service = std::make_unique<ServiceProcess>();
        if (!m_service->start(ServiceProcess::HttpOnly, publicIp))
            return false;
        RegistryStore::SetFile(m_dir->filePath(QStringLiteral("settings.ini")));
        basErr::SetLogFolder(m_dir->filePath(QStringLiteral("Logs")));
        writeValues(kInit, {{"Port", QString::number(m_service->httpPort())}});
        return true;
    }

    frmMain *startWithSavedLogin(const char *user)
    {
        writeValues(kInit, {{"bSaveLogin", 1},
                            {"Username", QLatin1String(user)},
                            {"Password", QLatin1String(user)}});
        m_window = new frmMain;
        m_window->Form_Load();
        return m_window;
    }

    // The script queries received that start with prefix, blanks as the
    // client meant them.
    QStringList sent(const char *prefix = "FXN=DNSTickler") const
    {
        QStringList queries;
        for (QString query : m_service->requests()) {
            if (query.startsWith(QLatin1String(prefix)))
                queries << query.replace(QLatin1String("%20"), QLatin1String(" "));
        }
        return queries;
    }

    void tearDown()
    {
        delete m_window;
        for (QWidget *window : Windows::Loaded())
            delete window;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_service.reset();
    }
};
