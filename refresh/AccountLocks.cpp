#include "AccountLocks.h"

#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QStandardPaths>
#include <QUrl>

namespace {

std::unique_ptr<QLockFile> lockFile(const QString &path)
{
    auto lock = std::make_unique<QLockFile>(path);
    // Only a lock whose process is gone is stale, however long it is held.
    lock->setStaleLockTime(0);
    return lock;
}

} // namespace

AccountLocks::AccountLocks(Role role) : m_role(role) {}

AccountLocks::~AccountLocks()
{
    Close();
}

QString AccountLocks::Folder()
{
    // Looked up once: without XDG_RUNTIME_DIR Qt warns on every look-up.
    static const QString folder = [] {
        const QString overridden = qEnvironmentVariable("VELTRIO_RUNTIME_DIR");
        if (!overridden.isEmpty())
            return overridden;
#ifdef Q_OS_WIN
        // Qt's runtime folder on Windows is the home folder itself; the
        // local application data folder stays on this machine.
        const QString runtime =
            QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
#else
        QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
        if (runtime.isEmpty())
            runtime = QDir::tempPath();
#endif
        return QDir(runtime).filePath(QStringLiteral("veltrio-dns"));
    }();
    return folder;
}

QString AccountLocks::FileOf(const QString &account, const QString &suffix)
{
    // Names match without regard to case, as the service's do; anything
    // that is no plain name character is escaped.
    const QString name = QString::fromLatin1(
        QUrl::toPercentEncoding(account.toLower(), QByteArray(), QByteArrayLiteral("~")));
    return QDir(Folder()).filePath(name + suffix);
}

bool AccountLocks::Open(const QString &account)
{
    Close();
    m_account = account;
    QDir().mkpath(Folder());
    QFile::setPermissions(Folder(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (m_role != Role::ServiceMode)
        return true;
    m_service = lockFile(FileOf(account, QStringLiteral(".service.lock")));
    if (m_service->tryLock(0))
        return true;
    m_service.reset();
    m_other = Other::ServiceMode;
    return false;
}

void AccountLocks::Close()
{
    m_refresh.reset();
    m_service.reset();
    m_other = Other::Nobody;
}

bool AccountLocks::ServiceModeRuns(const QString &account)
{
    if (account.isEmpty())
        return false;
    const QString path = FileOf(account, QStringLiteral(".service.lock"));
    // One look at the folder on most ticks: no file, no service mode.
    if (!QFile::exists(path))
        return false;
    // A stale lock (its service mode is gone) is taken, which clears it.
    return !lockFile(path)->tryLock(0);
}

void AccountLocks::CheckDone()
{
    if (!KeepsLock())
        m_refresh.reset();
}

bool AccountLocks::MayRefresh(int waitMs)
{
    if (m_account.isEmpty())
        return true;
    if (m_role == Role::Window && ServiceModeRuns(m_account)) {
        m_refresh.reset();
        m_other = Other::ServiceMode;
        return false;
    }
    // Kept only while locked.
    if (m_refresh) {
        m_other = Other::Nobody;
        return true;
    }
    m_refresh = lockFile(FileOf(m_account, QStringLiteral(".refresh.lock")));
    if (m_refresh->tryLock(waitMs)) {
        m_other = Other::Nobody;
        return true;
    }
    m_refresh.reset();
    m_other = Other::Window;
    return false;
}
