#pragma once

#include "AccountLocks.h"
#include "MainWindowPort.h"
#include "RefreshEngine.h"
#include "RefreshPort.h"
#include "RefreshRules.h"

#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <memory>

class CaptionLabel;
class CSizer;
class PictureButton;
class QAction;
class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QMenu;
class QMessageBox;
class QSystemTrayIcon;
class QTimer;
class QTreeView;
class RegistryStore;
class DomainUserModel;
class frmLogin;

// The program's main window: the connection status, the account's records
// (grid, editor, submission and deletion), the free sub-domain panel, the
// advanced settings, and the program's start-up, saving, close and log-off.
//
// Every control is a public member named as the window's own controls are,
// and carries the same objectName. Lengths are twips. The window's "Left"
// and "Top" are the position of its frame on the screen, its "Width" and
// "Height" the size of the window inside the frame (menu bar included); the
// saved geometry, the fixed panel sizes and the sizer all use these.
class frmMain : public QMainWindow, public MainWindowPort, public RefreshPort
{
    Q_OBJECT

public:
    explicit frmMain(QWidget *parent = nullptr);
    ~frmMain() override;

    // --- Status panel -------------------------------------------------------
    QFrame *frmTop;
    QFrame *frmIPStatus;
    QLabel *Image1;
    QLabel *Label7, *lblIPAddress;
    QLabel *lblStatusH, *lblStatus;
    QLabel *Label11, *lblUpTime;
    QLabel *Label20, *lblLastIPCheck;
    QLabel *Label22, *lblTimesIPChanged;
    QLabel *Label21, *lblExpirationDate;
    QLabel *Label23, *lblLastRefresh; // what the last automatic refresh did

    // --- Record grid ----------------------------------------------------------
    QFrame *frameGrid;
    QTreeView *lvDomainUser; // a report view over the account's records
    PictureButton *cmdAddGrid, *cmdEditGrid, *cmdDeleteGrid, *cmdAdvancedDomain;
    CaptionLabel *imgHelpGrid;

    // --- Free sub-domain ------------------------------------------------------
    QFrame *frameVeltrioDomain;
    QLabel *Label4, *lblDomain;
    QLabel *Label3;
    QLineEdit *txtVeltrioIP;
    QCheckBox *chkAutoIP;
    PictureButton *cmdVeltrioSetIP, *cmdAdvancedFree;
    CaptionLabel *imgHelpFree;

    // --- Record editor ----------------------------------------------------------
    QFrame *frameOtherDomain;
    QLabel *Label2, *Label8, *Label10; // "Domain:", "Record Type:", "Name:"
    QComboBox *cboDomain, *cboRecordType;
    QLineEdit *txtCName, *txtServerIP, *txtPort;
    QLabel *lblServerAddress, *lblPort;
    QCheckBox *chkDomainAutoIP;
    PictureButton *cmdServerIP, *cmdCancel;
    CaptionLabel *imgHelpDomain;

    // --- Advanced settings ------------------------------------------------------
    QFrame *frameAdvanced;
    QLabel *Label16, *Label17; // "Alternate Ports:", "Refresh Rate (seconds):"
    QComboBox *cboPorts, *cboRefreshRate;
    QCheckBox *chkSSL, *chkService;
    QCheckBox *chkFTP, *chkWWW, *chkIRC, *chkTelnet, *chkPCAW, *chkVNC, *chkMail, *chkMX;
    PictureButton *cmdOKAdvanced;

    // --- Timers and menus ---------------------------------------------------------
    QTimer *tmrAuto;  // 10000 ms, enabled by init
    QTimer *tmrTimes; // 1000 ms, while the window is shown
    QMenu *mnuFile;
    QAction *mnuAddDomain, *mnuLogin, *mnuSeperator1, *mnuLogout;
    QMenu *mnuHelp;
    QAction *mnuOnlineHelp, *mnuSeperator2, *mnuAbout;
    QMenu *mnuPopup; // the tray's menu
    QAction *mnuPopupHide, *mnuPopupLogOff, *mnuPopupShow, *mnuSeperator3, *mnuPopupAbout,
        *mnuSeperator4, *mnuPopupExit;

    // --- Tray ---------------------------------------------------------------------------
    // Exactly one of the two is in the tray: "on" while the service answers.
    QSystemTrayIcon *cSysTrayOn, *cSysTrayOff;
    // Whether minimising may hide the window: only where a tray can bring it
    // back. Read from the desktop when the window is made; a test sets it.
    void SetTrayAvailable(bool available) { bTrayAvailable = available; }

    // The grid's sort state: column (0-based), descending, and whether it sorts.
    bool SortDescending() const { return m_sortDescending; }
    void SetSort(int key, bool descending, bool sorted);

    // --- Start-up (frmMain.cpp) -----------------------------------------------------
    // The load handler: lays the window out, logs in (saved login or the login
    // window), restores the account's layout and fills the window. Runs once.
    void Form_Load();
    void init();
    // init has run to its end: the window is up with a session.
    bool Started() const { return m_started; }
    void LoadFreeUserInfo() override;
    void ShowFrame(const QString &sFrame);

    // --- Grid (frmMain_grid.cpp) --------------------------------------------------------
    void FillDomainUserGrid();

    // --- Editor (frmMain_editor.cpp) ------------------------------------------------------
    void LoadGridRecord();
    void EditGrid();
    bool ValidateRecord();
    static void IsValidIPAddress(const QString &sIP, bool &bValid);
    bool ValidateFreeDomainIP();

    // --- Submission (frmMain_submit.cpp) ------------------------------------------------------
    void ToggleShortcutCName(QCheckBox *chkShortcut, const QString &sName);
    // One of the user's record commands (DNSTickler with its messages); when
    // the service accepted it, the refresh's journal and saved marks follow.
    bool SendUserCommand(const QString &domain, QString &host, const QString &command,
                         const QString &recordType, const QString &address, bool bAutoIP);

    // --- Automatic refresh and tray (frmMain_refresh.cpp) -------------------------------
    void ShowUpTime();
    // The automatic refresh that tmrAuto drives.
    RefreshEngine &Engine() { return *m_engine; }

    // --- What the automatic refresh reads and shows ---------------------------------------
    QString RefreshRateText() const override;
    bool AutoIPTicked() const override;
    bool UserInAnotherPanel() const override;
    QString RecordList() const override;
    QString FreeAddress() const override;
    void ShowCheckTime(const QString &caption) override;
    void ShowAddress(const QString &address) override;
    void ShowResult(const CheckResult &result) override;
    void Report(const OutcomeText &text) override;
    void RefreshedElsewhere(bool byServiceMode, const StatusFile &status,
                            const RecordsFile *records) override;
    // The last refresh's tool tip: what, then the newest entries of the
    // address history.
    void ShowRefreshTip(const QString &what);
    // Whether the service mode keeps the account's records up to date.
    bool ServiceModeRefreshes() const;

    // --- Saving and closing (frmMain_close.cpp) -----------------------------------------------
    void SaveSettings();
    // The close check; sets cancel when the user answers No.
    void Form_QueryUnload(bool &cancel);

    // --- What the protocol and the login need from the window -----------------------------------
    int StatusColour() const override;
    void SetStatus(const QString &caption, int colour) override;
    void SysTrayIcon(bool connected) override;
    void SetWindowEnabled(bool enabled) override;

public slots:
    void lvDomainUser_Click();
    void lvDomainUser_DblClick();
    void lvDomainUser_ColumnClick(int column);
    void cmdAddGrid_Click();
    void cmdEditGrid_Click();
    void cmdDeleteGrid_Click();
    void cmdAdvancedDomain_Click();
    void cmdCancel_Click();
    void cmdServerIP_Click();
    void cmdVeltrioSetIP_Click();
    void cmdAdvancedFree_Click();
    void cmdOKAdvanced_Click();
    void cboRecordType_Click();
    void chkDomainAutoIP_Click();
    void chkAutoIP_Click();
    void imgHelp_Click();
    void mnuAddDomain_Click();
    void mnuLogin_Click();
    void mnuLogout_Click();
    void mnuOnlineHelp_Click();
    void mnuAbout_Click();
    void tmrAuto_Timer();
    void tmrTimes_Timer();
    void chkFTP_Click();
    void chkMail_Click();
    void chkTelnet_Click();
    void chkVNC_Click();
    void chkWWW_Click();
    void chkIRC_Click();
    void chkPCAW_Click();
    void chkMX_Click();
    // button: 1 left, 2 right, 4 middle.
    void cSysTrayOn_MouseUp(int button);
    void cSysTrayOff_MouseUp(int button);
    void mnuPopupHide_Click();
    void mnuPopupShow_Click();
    void mnuPopupAbout_Click();
    void mnuPopupLogOff_Click();
    void mnuPopupExit_Click();

protected:
    // Return and Escape that no control took: the shown panel's own action
    // (Update/Add, Done) and its way back (Cancel, Done).
    void keyPressEvent(QKeyEvent *event) override;
    // The grid's keys: Return edits the selected record, Delete deletes it.
    bool eventFilter(QObject *watched, QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    // The up-time is shown, and counted on by tmrTimes, only while the
    // window is.
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    // Whether minimising may hide the window: only where a tray can bring it
    // back. Read from the desktop when the window is made.
    bool bTrayAvailable = false;

    // --- Window state -----------------------------------------------------------------
    // The grid's remembered selection and what it showed last.
    QString sSelectedRecord;
    QString sLastRecords;
    QString sLastAutoIPList;
    // The record being edited; an empty sCurDomain means a new record.
    QString sCurDomain, sCurRecordType, sCurName, sCurServerAddress, sCurPort;
    // The record's value as the service holds it (a port relay's URL with
    // its port): what an edit deletes.
    QString sCurRecordValue;
    bool bCurAutoIP = false;
    // Re-entry guards of the three record buttons, independent of each other.
    bool bServerIPBusy = false;
    bool bSetIPBusy = false;
    bool bDeleteBusy = false;
    // Set while LoadFreeUserInfo ticks the service shortcut boxes.
    bool bLoadingFreeInfo = false;
    // Requests made from the tray menu, carried out once the menu has closed.
    bool bLogOffPending = false;
    bool bExitPending = false;
    // What the last check of the automatic refresh told, line by line.
    QString sTrayText;
    // The recent entries of the account's address history for the status
    // panel's tool tip, and the file's state when they were read.
    QString m_historyTip;
    QString m_historyStamp;
    // Where no tray exists, the one box that says what the refresh did.
    QPointer<QMessageBox> refreshBox;

    void buildStatusPanel(QWidget *central);
    void buildGridPanel(QWidget *central);
    void buildFreePanel(QWidget *central);
    void buildEditorPanel(QWidget *central);
    void buildAdvancedPanel(QWidget *central);
    void buildMenus();
    void connectHandlers();
    void buildTray();
    void connectRefreshAndTray();
    // Brings the about box, or a visible login window, to the front; true
    // when there was one.
    bool BringDialogToFront();
    void TrayMouseUp(int button);
    // Log Off and Exit asked for in the tray menu, once the icon's event is over.
    void RunTrayRequests();
    // The prefix boxes' common click: sends nothing while the program fills them.
    void ShortcutBox_Click(QCheckBox *box, const QString &word);
    void CreateSizer();
    void Form_Resize();
    void PrepareGrid();
    void ApplyUserLayout();
    void RestoreGridGeometry();
    // The window's place and size (frame position, inner size) in twips, in
    // one write.
    void SaveGeometry(RegistryStore &store);
    // Brings the window up to its least size and onto a screen, and where
    // the size may change, down to the screen's.
    void KeepOnScreen();
    // The size inside the frame of a window that fills its screen's
    // available area.
    QSize RoomOnScreen() const;
    // Window geometry in twips (frame position, inner size).
    void SetWindowGeometryTwips(int left, int top, int width, int height);
    void ClearCurrentRecord();
    // "SOFTWARE\Veltrio\" + the session's user name.
    static QString UserKey();
    void FillRecordTypes();
    void CreateGrid(QWidget *parent);
    // The grid's current row when it is selected, else -1.
    int SelectedRow() const;
    int GridRowCount() const;
    QString GridText(int row, int column) const;
    // The login window: made (not shown) with its caption; the saved login
    // run on it without showing it; shown modally until it closes.
    void PrepareLoginWindow(const QString &caption);
    void RunSavedLogin(const QString &user, const QString &password);
    void ShowLoginModal();

    DomainUserModel *m_grid = nullptr;
    QPointer<frmLogin> m_login;
    std::unique_ptr<CSizer> m_sizer;
    bool m_gridShownOnce = false;
    Qt::WindowStates m_gridWindowState = Qt::WindowNoState;
    int m_panelTop = 0;
    int m_sortKey = 0;
    bool m_sortDescending = false;
    bool m_sorted = false;
    bool m_filling = false;
    RefreshEngine *m_engine = nullptr;
    // One process sends the checks of an account; this window leaves them
    // to the service mode, or to another window that already sends them.
    AccountLocks m_locks{AccountLocks::Role::Window};
    bool m_started = false;
    bool m_unloaded = false;
    int m_statusColour = ::StatusColour::Connected;
    // The second the session started (init) on the steady clock: the
    // up-time is counted from it without reading the local time.
    qint64 m_upTimeStartMs = 0;
    // Records another process sent that the grid does not show yet.
    bool m_recordsToShow = false;
    // Where the focus was when a command disabled the window.
    QPointer<QWidget> m_focusBeforeCommand;
};
