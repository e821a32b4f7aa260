// The main window's automatic refresh, the free sub-domain's service
// shortcuts, and its life in the tray.

#include "SettingsNames.h"
#include "frmMain.h"

#include "AddressHistory.h"
#include "AdvancedPanel.h"
#include "Foreground.h"
#include "Icons.h"
#include "RegistryStore.h"
#include "RuntimeError.h"
#include "Seams.h"
#include "StatusFiles.h"
#include "TextRules.h"
#include "Windows.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"
#include "frmAbout.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCursor>
#include <QDateTime>
#include <QEvent>
#include <QFileInfo>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QSystemTrayIcon>
#include <QTimer>

namespace {

const QString kTrayTip = QStringLiteral("Veltrio Dynamic DNS Services.");
// How many entries of the address history the status panel's tool tip shows.
constexpr qsizetype kHistoryShown = 5;

Qt::WindowStates windowStateFromNumber(double value)
{
    if (value == 2)
        return Qt::WindowMaximized;
    if (value == 1)
        return Qt::WindowMinimized;
    return Qt::WindowNoState;
}

} // namespace

// --- Automatic refresh ------------------------------------------------------------------

void frmMain::tmrAuto_Timer()
{
    // The engine counts the tick and, when a check is due, runs it in the
    // background. Errors are not trapped here: a refresh rate that is no
    // number ends the program through the top-level report.
    m_engine->Tick();
}

QString frmMain::RefreshRateText() const
{
    return AdvancedPanel::NumericText(cboRefreshRate);
}

bool frmMain::AutoIPTicked() const
{
    return chkAutoIP->isChecked();
}

bool frmMain::UserInAnotherPanel() const
{
    // When the window is hidden in the tray the rows are always brought up
    // to date.
    return isVisible() && !frameGrid->isVisible();
}

void frmMain::ShowCheckTime(const QString &caption)
{
    lblLastIPCheck->setText(caption);
}

void frmMain::ShowAddress(const QString &address)
{
    lblIPAddress->setText(address);
}

QString frmMain::RecordList() const
{
    return User().sDomainUserRecords;
}

QString frmMain::FreeAddress() const
{
    return User().sIPAddress;
}

void frmMain::ShowResult(const CheckResult &result)
{
    // The check may have added to the address history.
    ShowRefreshTip(sTrayText);
    clsUser &user = User();
    if (user.bVeltrioOnly) {
        user.sIPAddress = result.freeAddress;
        // The check replaced the record: the box shows the address it was
        // set to, and the transaction counts.
        if (result.freeRecordReplaced) {
            txtVeltrioIP->setText(lblIPAddress->text());
            lblTimesIPChanged->setText(TextRules::Increment(lblTimesIPChanged->text()));
        }
        return;
    }
    // A list of a reply the session has a later one of (a command of the
    // user's answered after the check's) stays out.
    if (result.records)
        basDNS::TakeRecordList(*result.records, result.recordsSerial);
    ProgramWide::sAutoIPList = result.autoIPList;
    // The user works in another panel: the grid follows when it is shown.
    if (!UserInAnotherPanel())
        FillDomainUserGrid();
}

void frmMain::Report(const OutcomeText &text)
{
    // Background work never waits on a person: the status panel and the tray
    // say what happened, once per check, and failures go to the log.
    for (const QString &failure : text.failures)
        basErr::LogOnly(QStringLiteral("frmMain.tmrAuto_Timer()"),
                        RuntimeError(ErrorNumber::Internal, failure));
    const QString &summary = text.summary;
    const bool problem = text.problem;
    lblLastRefresh->setText(summary);
    sTrayText = text.lines.join(QLatin1Char('\n'));
    ShowRefreshTip(sTrayText);
    QSystemTrayIcon *icon = cSysTrayOn->isVisible() ? cSysTrayOn : cSysTrayOff;
    if (bTrayAvailable && icon->isVisible()) {
        icon->showMessage(QStringLiteral("Veltrio"), sTrayText,
                          problem ? QSystemTrayIcon::Warning : QSystemTrayIcon::Information);
        return;
    }
    // No tray: one box, never modal, brought up to date by each check.
    if (!refreshBox) {
        refreshBox = new QMessageBox(QMessageBox::Information, QStringLiteral("Veltrio"), QString(),
                                     QMessageBox::Ok, this);
        refreshBox->setObjectName(QStringLiteral("refreshBox"));
        refreshBox->setAttribute(Qt::WA_DeleteOnClose);
        refreshBox->setWindowModality(Qt::NonModal);
    }
    refreshBox->setIcon(problem ? QMessageBox::Warning : QMessageBox::Information);
    refreshBox->setText(sTrayText);
    refreshBox->show();
}

void frmMain::RefreshedElsewhere(bool byServiceMode, const StatusFile &status,
                                 const RecordsFile *records)
{
    lblLastRefresh->setText(byServiceMode ? QStringLiteral("Refreshed by the service")
                                          : QStringLiteral("Refreshed by another window"));
    QString tip = status.summary;
    if (!status.details.isEmpty())
        tip += QLatin1Char('\n') + status.details;
    ShowRefreshTip(tip.trimmed());
    if (!status.checkTime.isEmpty())
        lblLastIPCheck->setText(status.checkTime);
    if (!status.address.isEmpty())
        lblIPAddress->setText(status.address);
    clsUser &user = User();
    // The free sub-domain's address as the refreshing process set it: this
    // window saves it when it closes.
    if (user.bVeltrioOnly && basDNS::IsValidIPAddress(status.ipAddress) &&
        status.ipAddress != user.sIPAddress) {
        user.sIPAddress = status.ipAddress;
        txtVeltrioIP->setText(status.ipAddress);
    }
    // The records as the refreshing process knows them, shown as a check of
    // our own would show them: once the user no longer works in another
    // panel.
    if (records && !user.bVeltrioOnly) {
        user.sDomainUserRecords = records->records;
        ProgramWide::sAutoIPList = records->autoIPList;
        m_recordsToShow = true;
    }
    if (m_recordsToShow && !UserInAnotherPanel()) {
        m_recordsToShow = false;
        FillDomainUserGrid();
    }
}

void frmMain::ShowRefreshTip(const QString &what)
{
    // Read again only when the file changed: the panel follows every tick
    // while another process refreshes.
    const QFileInfo file(AddressHistory::FileOf(User().sUsername));
    const QString stamp = file.filePath() + QLatin1Char('/') + QString::number(file.size()) +
                          QLatin1Char('/') +
                          QString::number(file.lastModified().toMSecsSinceEpoch());
    if (stamp != m_historyStamp) {
        m_historyStamp = stamp;
        m_historyTip.clear();
        const QList<HistoryEntry> entries = AddressHistory::Read(User().sUsername);
        for (qsizetype i = entries.size() - 1; i >= 0 && i >= entries.size() - kHistoryShown; --i)
            m_historyTip += QLatin1Char('\n') + entries[i].Text();
    }
    QString tip = what;
    if (!m_historyTip.isEmpty())
        tip += (tip.isEmpty() ? QString() : QStringLiteral("\n\n")) +
               QStringLiteral("Address history, newest first:") + m_historyTip;
    lblLastRefresh->setToolTip(tip);
}

bool frmMain::ServiceModeRefreshes() const
{
    // A fresh look: the service mode may have started since the last tick.
    return AccountLocks::ServiceModeRuns(User().sUsername);
}

void frmMain::tmrTimes_Timer()
{
    if (isVisible())
        ShowUpTime();
}

void frmMain::ShowUpTime()
{
    const qint64 seconds =
        ProgramWide::sStartTime.isEmpty() ? 0 : (Seams::SteadyMs() - m_upTimeStartMs) / 1000;
    lblUpTime->setText(RefreshRules::UpTimeCaption(seconds));
}

void frmMain::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (m_unloaded)
        return;
    ShowUpTime();
    tmrTimes->start();
}

void frmMain::hideEvent(QHideEvent *event)
{
    QMainWindow::hideEvent(event);
    tmrTimes->stop();
}

// --- Service shortcuts ----------------------------------------------------------------------

void frmMain::ShortcutBox_Click(QCheckBox *box, const QString &word)
{
    if (!bLoadingFreeInfo)
        ToggleShortcutCName(box, word);
}

void frmMain::chkFTP_Click()
{
    ShortcutBox_Click(chkFTP, QStringLiteral("FTP"));
}

void frmMain::chkMail_Click()
{
    ShortcutBox_Click(chkMail, QStringLiteral("MAIL"));
}

void frmMain::chkTelnet_Click()
{
    ShortcutBox_Click(chkTelnet, QStringLiteral("TELNET"));
}

void frmMain::chkVNC_Click()
{
    ShortcutBox_Click(chkVNC, QStringLiteral("VNC"));
}

void frmMain::chkWWW_Click()
{
    ShortcutBox_Click(chkWWW, QStringLiteral("WWW"));
}

void frmMain::chkIRC_Click()
{
    ShortcutBox_Click(chkIRC, QStringLiteral("IRC"));
}

void frmMain::chkPCAW_Click()
{
    ShortcutBox_Click(chkPCAW, QStringLiteral("PCAW"));
}

void frmMain::chkMX_Click()
{
    if (bLoadingFreeInfo)
        return;
    const bool ticked = chkMX->isChecked();
    const clsUser &user = User();
    QString host = user.sUsername;
    QPointer<frmMain> self(this);
    // The box has messages of its own; the command's would say the same twice.
    const bool ok =
        basDNS::DNSTickler(user.sDomain, host, ticked ? basDNS::RecordAdd : basDNS::RecordDelete,
                           QStringLiteral("MX 1"), lblDomain->text(), false, false);
    if (!self)
        return;
    if (!ok) {
        // Back to what the service holds, without sending anything.
        bLoadingFreeInfo = true;
        chkMX->setChecked(!ticked);
        bLoadingFreeInfo = false;
        return;
    }
    Seams::MsgBox(ticked ? QStringLiteral("Transaction Complete:MX Record Set")
                         : QStringLiteral("Transaction Complete:MX Record Removed"),
                  Seams::Buttons::Ok, QStringLiteral("Veltrio"));
}

// --- Tray and window state --------------------------------------------------------------------

void frmMain::buildTray()
{
    bTrayAvailable = QSystemTrayIcon::isSystemTrayAvailable();
    // The icons are not the window's children: the window may go while one
    // of them is still delivering its event. They go after it.
    cSysTrayOn = new QSystemTrayIcon(Icons::TrayOn());
    cSysTrayOn->setObjectName(QStringLiteral("cSysTrayOn"));
    cSysTrayOff = new QSystemTrayIcon(Icons::TrayOff());
    cSysTrayOff->setObjectName(QStringLiteral("cSysTrayOff"));
    for (QSystemTrayIcon *icon : {cSysTrayOn, cSysTrayOff})
        icon->setToolTip(kTrayTip);
    cSysTrayOn->show();
}

void frmMain::connectRefreshAndTray()
{
    const std::pair<QCheckBox *, void (frmMain::*)()> shortcuts[] = {
        {chkFTP, &frmMain::chkFTP_Click},       {chkMail, &frmMain::chkMail_Click},
        {chkTelnet, &frmMain::chkTelnet_Click}, {chkVNC, &frmMain::chkVNC_Click},
        {chkWWW, &frmMain::chkWWW_Click},       {chkIRC, &frmMain::chkIRC_Click},
        {chkPCAW, &frmMain::chkPCAW_Click},     {chkMX, &frmMain::chkMX_Click}};
    // Every change of state counts, by mouse or keyboard; the program's own
    // changes are made under bLoadingFreeInfo.
    for (const auto &[box, handler] : shortcuts)
        connect(box, &QCheckBox::toggled, this, handler);

    const auto button = [](QSystemTrayIcon::ActivationReason reason) {
        switch (reason) {
        case QSystemTrayIcon::Context:
            return 2;
        case QSystemTrayIcon::MiddleClick:
            return 4;
        default:
            return 1;
        }
    };
    connect(cSysTrayOn, &QSystemTrayIcon::activated, this,
            [this, button](QSystemTrayIcon::ActivationReason r) { cSysTrayOn_MouseUp(button(r)); });
    connect(cSysTrayOff, &QSystemTrayIcon::activated, this,
            [this, button](auto r) { cSysTrayOff_MouseUp(button(r)); });

    connect(mnuPopupHide, &QAction::triggered, this, &frmMain::mnuPopupHide_Click);
    connect(mnuPopupLogOff, &QAction::triggered, this, &frmMain::mnuPopupLogOff_Click);
    connect(mnuPopupShow, &QAction::triggered, this, &frmMain::mnuPopupShow_Click);
    connect(mnuPopupAbout, &QAction::triggered, this, &frmMain::mnuPopupAbout_Click);
    connect(mnuPopupExit, &QAction::triggered, this, &frmMain::mnuPopupExit_Click);
}

void frmMain::SysTrayIcon(bool connected)
{
    Trap(QStringLiteral("frmMain.SysTrayIcon()"), [&] {
        cSysTrayOn->hide();
        cSysTrayOff->hide();
        if (m_unloaded)
            return;
        (connected ? cSysTrayOn : cSysTrayOff)->show();
    });
}

bool frmMain::BringDialogToFront()
{
    for (QWidget *window : Windows::Loaded()) {
        const QString name = window->objectName();
        const bool about = name.compare(QLatin1String("frmAbout"), Qt::CaseInsensitive) == 0;
        const bool login = name.compare(QLatin1String("frmLogin"), Qt::CaseInsensitive) == 0 &&
                           window->isVisible();
        if (about || login) {
            window->raise();
            window->activateWindow();
            return true;
        }
    }
    return false;
}

void frmMain::TrayMouseUp(int button)
{
    // While the about box or the login window is up, the icon only brings it
    // to the front.
    if (BringDialogToFront())
        return;
    if (isVisible()) {
        raise();
        activateWindow();
    }
    QPointer<frmMain> self(this);
    if (button == 2) {
        const Foreground::Scope menu;
        mnuPopup->exec(QCursor::pos());
    }
    // Log Off and Exit wait until the menu has closed and the icon's own
    // event is over: both unload windows, the icons' among them.
    if (self && (bLogOffPending || bExitPending))
        QMetaObject::invokeMethod(this, &frmMain::RunTrayRequests, Qt::QueuedConnection);
}

void frmMain::RunTrayRequests()
{
    QPointer<frmMain> self(this);
    if (bLogOffPending) {
        mnuPopupShow_Click();
        mnuLogin_Click();
        if (!self)
            return;
        bLogOffPending = false;
    }
    if (bExitPending) {
        bExitPending = false;
        mnuLogout_Click();
    }
}

void frmMain::cSysTrayOn_MouseUp(int button)
{
    Trap(QStringLiteral("frmMain.cSysTrayOn_MouseUp()"), [&] { TrayMouseUp(button); });
}

void frmMain::cSysTrayOff_MouseUp(int button)
{
    Trap(QStringLiteral("frmMain.cSysTrayOff_MouseUp()"), [&] { TrayMouseUp(button); });
}

void frmMain::mnuPopupHide_Click()
{
    hide();
}

void frmMain::mnuPopupShow_Click()
{
    Trap(QStringLiteral("frmMain.cSysTrayOn_MouseUp()"), [&] {
        if (BringDialogToFront())
            return;
        RegistryStore store;
        store.SetKey(UserKey());
        const QString saved = store.ReadValue(Settings::WindowState);
        setWindowState(windowStateFromNumber(TextRules::Val(saved)));
        show();
        raise();
        activateWindow();
    });
}

void frmMain::mnuPopupAbout_Click()
{
    frmAbout::ShowModal(this);
}

void frmMain::mnuPopupLogOff_Click()
{
    bLogOffPending = true;
}

void frmMain::mnuPopupExit_Click()
{
    bExitPending = true;
}

void frmMain::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        Form_Resize();
}
