// What making the program's windows loads, on the program's own application
// object: every picture of theirs is drawn in code, so no image plugin is
// loaded for them (reading an image file makes Qt load every plugin to ask
// which one knows it).
#include "TestSeams.h"
#include "frmAbout.h"
#include "frmLogin.h"
#include "frmMain.h"

#include "Application.h"
#include "Icons.h"
#include "PictureButton.h"
#include "RegistryStore.h"
#include "basErr.h"

#include <QDir>
#include <QFile>
#include <QLibraryInfo>
#include <QMenuBar>
#include <QStandardPaths>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

namespace {

// The image plugins mapped into this process.
QStringList imagePluginsLoaded()
{
#ifdef Q_OS_WIN
    QStringList loaded;
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) +
                       QStringLiteral("/imageformats"));
    for (const QString &name : plugins.entryList(QDir::Files)) {
        const QString path = QDir::toNativeSeparators(plugins.absoluteFilePath(name));
        if (GetModuleHandleW(reinterpret_cast<const wchar_t *>(path.utf16())))
            loaded << path;
    }
    return loaded;
#else
    QFile maps(QStringLiteral("/proc/self/maps"));
    if (!maps.open(QIODevice::ReadOnly))
        return {};
    QStringList loaded;
    for (const QByteArray &line : maps.readAll().split('\n')) {
        if (line.contains("/imageformats/"))
            loaded << QString::fromLocal8Bit(line.mid(line.indexOf('/')));
    }
    loaded.removeDuplicates();
    return loaded;
#endif
}

} // namespace

class TestStartup : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        RegistryStore::SetFile(m_dir.filePath(QStringLiteral("settings.ini")));
        basErr::SetLogFolder(m_dir.filePath(QStringLiteral("Logs")));
        const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) +
                           QStringLiteral("/imageformats"));
        if (plugins.entryList(QDir::Files).isEmpty())
            QSKIP("no image plugins installed: none could be loaded either way");
    }

    void windowsLoadNoImagePlugin()
    {
        TestSeams seams;
        QVERIFY(imagePluginsLoaded().isEmpty());
        {
            frmMain main;
            frmLogin login;
            frmAbout about;
            main.ShowFrame(QStringLiteral("Grid"));
            main.show();
            QVERIFY(QTest::qWaitForWindowExposed(&main));
            main.grab();
            login.grab();
            about.grab();
            // What the windows show is there: the help pictures and the
            // menu bar's arrow for entries it has no room for.
            QVERIFY(!main.imgHelpGrid->pixmap().isNull());
            QVERIFY(!login.imgHelpDomain->pixmap().isNull());
            const QIcon more =
                qApp->style()->standardIcon(QStyle::SP_ToolBarHorizontalExtensionButton);
            QVERIFY(!more.pixmap(16, 16).isNull());
            QVERIFY(!Icons::TrayOn().pixmap(22, 22).isNull());
        }
        QCOMPARE(imagePluginsLoaded(), QStringList());
    }
};

int main(int argc, char *argv[])
{
    Application app(argc, argv);
    TestStartup test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
