// frmMain: saving the settings, the close check, log-off and the menus.
#include "SettingsNames.h"
#include "frmMain.h"

#include "RegistryStore.h"
#include "Seams.h"
#include "ServiceConfig.h"
#include "TextRules.h"
#include "Twips.h"
#include "Windows.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QHeaderView>
#include <QLineEdit>
#include <QPointer>
#include <QTimer>
#include <QTreeView>

namespace {

int checkValue(const QCheckBox *box)
{
    return box->isChecked() ? 1 : 0;
}

// The loaded windows, first loaded first; one that an earlier unload took
// with it reads as null.
QList<QPointer<QWidget>> loadedWindows()
{
    QList<QPointer<QWidget>> windows;
    for (QWidget *window : Windows::Loaded())
        windows.append(window);
    return windows;
}

} // namespace

void frmMain::SaveSettings()
{
    Trap(QStringLiteral("frmMain.SaveSettings()"), [&] {
        clsUser &user = User();
        if (TextRules::Trim(user.sUsername).isEmpty())
            return;
        RegistryStore store;
        store.SetKey(UserKey());

        if (user.bVeltrioOnly) {
            // The free sub-domain stops pointing at this machine when the
            // client closes or logs off; not while another process keeps it
            // pointed here.
            if (!ServiceModeRefreshes()) {
                QString host = user.sUsername;
                basDNS::DNSTickler(user.sSubDomain, host, basDNS::RecordDelete, user.sRecordType,
                                   txtVeltrioIP->text(), true, chkAutoIP->isChecked());
            }
            const std::pair<Settings::Value, QCheckBox *> boxes[] = {
                {Settings::bAutoIP, chkAutoIP}, {Settings::bMX, chkMX},
                {Settings::bFTP, chkFTP},       {Settings::bMail, chkMail},
                {Settings::bTelnet, chkTelnet}, {Settings::bVNC, chkVNC},
                {Settings::bWWW, chkWWW},       {Settings::bIRC, chkIRC},
                {Settings::bPCAW, chkPCAW}};
            for (const auto &[name, box] : boxes)
                store.WriteValue(name, checkValue(box));
        }
        // The automatic marks ("AutoIps") and the free sub-domain's address
        // ("IPAddress") are in the settings already: the refresh engine
        // writes them as they change, together with its journal. Writing
        // this window's copy here could undo a replace the engine has
        // written and the window not shown yet.

        // The layout is the grid's (or the free panel's); the fixed sizes of
        // the other panels are never saved.
        if (!frameGrid->isHidden() || !frameVeltrioDomain->isHidden()) {
            const Qt::WindowStates state = windowState();
            const bool minimized = state & Qt::WindowMinimized;
            const bool maximized = state & (Qt::WindowMaximized | Qt::WindowFullScreen);
            if (!minimized && !maximized)
                SaveGeometry(store);
            if (!minimized)
                store.WriteValue(Settings::WindowState, maximized ? 2 : 0);
        }

        const QHeaderView *header = lvDomainUser->header();
        for (int i = 0; i < 5; ++i)
            store.WriteValue(Settings::ColumnWidth(i), Twips::FromPixels(header->sectionSize(i)),
                             RegistryStore::Number);
        store.WriteValue(Settings::SortCol, m_sortKey);
        store.WriteValue(Settings::SortOrder, m_sortDescending ? 1 : 0);
        store.WriteValue(Settings::Sorted, m_sorted ? 1 : 0);

        store.SetKey(Settings::InitKey);
        if (!ProgramWide::bSaveLogin) {
            // The saved user name and password stay; only the flag goes.
            store.WriteValue(Settings::bSaveLogin, 0);
        } else {
            store.WriteValue(Settings::bSaveLogin, 1);
            store.WriteValue(Settings::Username, user.sUsername);
            store.WriteValue(Settings::Password, user.sPassword);
        }
        store.WriteValue(Settings::bSSL, checkValue(chkSSL));
        store.WriteValue(Settings::Port, cboPorts->currentText());
        store.WriteValue(Settings::RefreshRate, cboRefreshRate->currentText());
    });
}

void frmMain::Form_QueryUnload(bool &cancel)
{
    Trap(QStringLiteral("frmMain.Form_QueryUnload()"), [&] {
        const QString title = QStringLiteral("Veltrio");
        Seams::Answer answer = Seams::Answer::Yes;
        if (User().bVeltrioOnly) {
            // Asked even after File > Exit: closing takes the sub-domain down.
            answer = Seams::MsgBox(
                QStringLiteral("By closing this application you will remove your DNS records "
                               "from the DNS Server \r\nmaking your server unreachable by it's "
                               "Veltrio domain name.\r\n\r\nAre you sure you want to close it?"),
                Seams::Buttons::YesNo, title);
        } else if (!ProgramWide::bSkipClosePrompt) {
            answer = Seams::MsgBox(
                QStringLiteral("Are you sure you want to close the Dynamic DNS Application?"),
                Seams::Buttons::YesNo, title);
        }
        if (answer == Seams::Answer::No) {
            cancel = true;
            return;
        }
        SaveSettings();
        const QList<QPointer<QWidget>> loaded = loadedWindows();
        for (auto it = loaded.crbegin(); it != loaded.crend(); ++it) {
            if (*it && (*it)->objectName().compare(QLatin1String("frmMain"), Qt::CaseInsensitive))
                Windows::Unload(*it);
        }
    });
}

void frmMain::closeEvent(QCloseEvent *event)
{
    bool cancel = false;
    Form_QueryUnload(cancel);
    if (cancel) {
        event->ignore();
        return;
    }
    tmrAuto->stop();
    tmrTimes->stop();
    m_engine->Stop();
    m_unloaded = true;
    // No icon of a closed program stays in the tray.
    SysTrayIcon(false);
    event->accept();
}

void frmMain::mnuLogin_Click()
{
    // No check runs for the account that leaves; init starts them again for
    // the one that logs in.
    tmrAuto->stop();
    m_engine->Stop();
    SaveSettings();
    hide();
    QPointer<frmMain> self(this);
    ShowLoginModal();
    // Exit on the login window unloads this window too; then nothing is left
    // to fill.
    if (!self || Windows::Loaded().isEmpty())
        return;
    init();
}

void frmMain::mnuLogout_Click()
{
    Trap(QStringLiteral("frmMain.mnuLogout_Click()"), [&] {
        ProgramWide::bSkipClosePrompt = true;
        const QList<QPointer<QWidget>> loaded = loadedWindows();
        for (auto it = loaded.crbegin(); it != loaded.crend(); ++it) {
            if (*it)
                Windows::Unload(*it);
        }
    });
}

void frmMain::mnuAddDomain_Click()
{
    Seams::ShellOpen(Config().HttpsHostPage(QStringLiteral("/v.1.6/login.asp")));
}

void frmMain::mnuOnlineHelp_Click()
{
    Seams::ShellOpen(Config().WebSitePage(QStringLiteral("/help")));
}

void frmMain::imgHelp_Click()
{
    Seams::ShellOpen(Config().WebSitePage(QStringLiteral("/help")));
}
