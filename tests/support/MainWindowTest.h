#pragma once

#include "ServiceProcess.h"
#include "TestSeams.h"
#include "frmLogin.h"
#include "frmMain.h"

#include "ExchangeQueue.h"
#include "RegistryStore.h"
#include "ServiceConfig.h"
#include "Windows.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTimer>
#include <QTreeView>
#include <functional>

// Base of the main window's tests: per test a fresh session, veltrio-service,
// settings and recorded message boxes.
class MainWindowTest : public QObject
{
protected:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<ServiceProcess> m_service;
    std::optional<TestSeams> m_seams;
    QPointer<frmMain> m_window;
    // Acts on the login window once it is up; by default Exit.
    std::function<void(frmLogin *)> m_onLogin;
    bool m_loginShown = false;
    std::unique_ptr<QTimer> m_poll;

    static inline const QString kInit = QStringLiteral("SOFTWARE\\Veltrio\\Init");
    static QString userKey(const QString &u) { return QStringLiteral("SOFTWARE\\Veltrio\\") + u; }

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

    // The service tells every caller 203.0.113.7 is its address.
    bool startService()
    {
        QStandardPaths::setTestModeEnabled(true);
        ProgramWide::Reset();
        basDNS::SetTransferTimeout(60000);
        ServiceConfig config = ServiceConfig::Defaults();
        config.httpHost = QStringLiteral("127.0.0.1");
        SetConfig(config);
        m_seams.emplace();
        m_onLogin = &frmLogin::cmdExit_Click;
        m_loginShown = false;
        m_poll = std::make_unique<QTimer>();
        QObject::connect(m_poll.get(), &QTimer::timeout, [this] {
            auto *login = qobject_cast<frmLogin *>(Windows::Find(QStringLiteral("frmLogin")));
            if (login && login->isVisible() && !std::exchange(m_loginShown, true))
                m_onLogin(login);
        });
        m_poll->start(20);
        m_dir = std::make_unique<QTemporaryDir>();
        m_service = std::make_unique<ServiceProcess>();
        if (!m_service->start(ServiceProcess::HttpOnly, QStringLiteral("203.0.113.7")))
            return false;
        RegistryStore::SetFile(m_dir->filePath(QStringLiteral("settings.ini")));
        basErr::SetLogFolder(m_dir->filePath(QStringLiteral("Logs")));
        writeValues(kInit, {{"Port", QString::number(m_service->httpPort())}});
        return true;
    }

    frmMain *startWithSavedLogin(const QString &user, const QString &password = QString())
    {
        writeValues(kInit, {{"bSaveLogin", 1},
                            {"Username", user},
                            {"Password", password.isNull() ? user : password}});
        m_window = new frmMain;
        m_window->Form_Load();
        return m_window;
    }

    // The service's first address, the one it moves to, and acme's mail marked.
    static inline const QString kOld = QStringLiteral("203.0.113.7");
    static inline const QString kNew = QStringLiteral("198.51.100.50");
    static inline const QString kMailAuto = QStringLiteral("ACME.TEST;;A;;MAIL;;203.0.113.7~~");

    // The saved login with these values, every tick due, start-up's requests
    // and boxes cleared.
    frmMain &startDue(const char *user, const QList<std::pair<const char *, QVariant>> &values = {})
    {
        writeValues(userKey(QLatin1String(user)), values);
        startWithSavedLogin(QLatin1String(user));
        m_window->cboRefreshRate->setCurrentText(QStringLiteral("10"));
        m_service->clearRequests();
        m_seams->messages.clear();
        return *m_window;
    }

    // One tick, and the check it started run to its end.
    bool check(frmMain &w)
    {
        w.tmrAuto_Timer();
        return settled(&w);
    }

    // The queries received that hold prefix, blanks as the client meant them.
    QStringList sent(const char *prefix = "FXN=DNSTickler") const
    {
        QStringList queries = m_service->requests().filter(QLatin1String(prefix));
        return queries.replaceInStrings(QLatin1String("%20"), QLatin1String(" "));
    }

    // The service's records of the user, as "name=address".
    QStringList stateNames(const QString &user) const
    {
        QStringList names;
        for (const QString &record : m_service->stateRecords(user))
            names << record.section(QLatin1String(";;"), 2, 2) + u'=' +
                         record.section(QLatin1String(";;"), 3);
        return names;
    }
    static int rowNamed(const frmMain &w, const QString &name)
    {
        const QAbstractItemModel *grid = w.lvDomainUser->model();
        const auto hits =
            grid->match(grid->index(0, 2), Qt::DisplayRole, name, 1, Qt::MatchExactly);
        return hits.isEmpty() ? -1 : hits[0].row();
    }
    static void select(frmMain &w, const QString &name)
    {
        const int row = rowNamed(w, name);
        QVERIFY(row >= 0);
        const QRect r = w.lvDomainUser->visualRect(w.lvDomainUser->model()->index(row, 1));
        QTest::mouseClick(w.lvDomainUser->viewport(), Qt::LeftButton, {}, r.center());
    }

    // Waits until no check runs or waits and every exchange asked for is done.
    static bool settled(frmMain *w)
    {
        return QTest::qWaitFor(
            [w] { return (!w || w->Engine().Idle()) && ExchangeQueue::Instance().IsIdle(); });
    }

    void tearDown()
    {
        delete m_window;
        qDeleteAll(Windows::Loaded());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ExchangeQueue::Instance().Drain(10000);
        m_service.reset();
        m_seams.reset();
        m_poll.reset();
    }
};
