#pragma once

#include <QDialog>
#include <QPointer>
#include <functional>

class CaptionLabel;
class PictureButton;
class QAction;
class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QMenu;
class QMenuBar;

// The login window: user name and password, the advanced connection panel,
// the "Logging In." overlay and the account-expired notice, all four panels
// stacked in one place, with a Help menu.
//
// Every control is a public member named as the window's own controls are,
// with the same objectName. The login panel's frame is named "frmLogin" like
// the window; its member is frmLoginFrame. The main window may show the
// window modally or fill its boxes and call cmdLogin_Click() without showing
// it. Create it with new: it unloads (and deletes) itself after a successful
// login, on Exit and when its title bar closes it.
class frmLogin : public QDialog
{
    Q_OBJECT

public:
    explicit frmLogin(QWidget *parent = nullptr);
    ~frmLogin() override;

    // The about box, which lives above this window's layer; mnuAbout shows it
    // through this function (nothing happens while none is set).
    using AboutBoxFn = std::function<void(QWidget *parent)>;
    static void SetAboutBox(AboutBoxFn show);

    // --- Menu ---------------------------------------------------------------------
    QMenuBar *MenuBar;
    QMenu *mnuHelp;
    QAction *mnuAdvanced, *mnuOnlineHelp, *mnuRegister, *mnuSeperator1, *mnuAbout;

    // --- Login panel ------------------------------------------------------------------
    QFrame *frmLoginFrame;
    QLabel *Label1, *Label2; // "Username", "Password"
    QLineEdit *txtUsername, *txtPassword;
    QCheckBox *chkSaveLogin;
    PictureButton *cmdLogin, *cmdExit;
    CaptionLabel *Label3, *Label4; // their captions "Login", "Exit"
    CaptionLabel *llblRegister;
    CaptionLabel *imgHelpDomain;

    // --- Advanced panel -----------------------------------------------------------------
    QFrame *frameAdvanced;
    QLabel *Label16, *Label17; // "Ports:", "Refresh Rate (seconds):"
    QComboBox *cboPorts, *cboRefreshRate;
    QCheckBox *chkSSL;
    PictureButton *cmdOKAdvanced;
    CaptionLabel *Label18;
    QLabel *imgHelpAdvanced;

    // --- "Logging In." overlay ------------------------------------------------------------
    QFrame *frmLoggingIn;
    QLabel *lblLogginIn, *lblWait;

    // --- Account-expired notice -------------------------------------------------------------
    QFrame *frameExpire;
    CaptionLabel *lblExpire;
    PictureButton *cmdExpireOK;
    CaptionLabel *Label5;

    // Set while a login runs; a second click in the meantime does nothing.
    bool bBusy = false;

    // The login panel is up and no other panel covers it.
    bool LoginPanelUp() const;

public slots:
    void Form_Load();
    void cmdLogin_Click();
    void cmdExit_Click();
    void chkSSL_Click();
    void mnuAdvanced_Click();
    void cmdOKAdvanced_Click();
    void cmdExpireOK_Click();
    void mnuAbout_Click();
    void mnuOnlineHelp_Click();
    void mnuRegister_Click();
    void imgHelpDomain_Click();
    void llblRegister_Click();
    void lblExpire_Click();
    // Opens the forgotten-password page; no control of the window calls it.
    void OpenForgottenPasswordPage();
    void Label3_Click();
    void Label4_Click();
    void Label5_Click();
    void Label18_Click();
    // keyCode 13 is Enter.
    void txtPassword_KeyDown(int keyCode, Qt::KeyboardModifiers shift);
    void Form_KeyDown(int keyCode, Qt::KeyboardModifiers shift);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void buildMenu();
    void buildLoginPanel();
    void buildAdvancedPanel();
    void buildLoggingInPanel();
    void buildExpirePanel();
    QFrame *makePanel(const char *name);
    // Brings a panel up over the login panel: the login frame's top and
    // height, visible, in front, with the focus on its first control. The
    // covered login panel is disabled meanwhile: Tab passes it by.
    void showOverPanel(QFrame *panel);
    // Once no panel covers the login panel any more: enabled again, with
    // the focus back where it was.
    void uncoverLoginPanel();

    QPointer<QWidget> m_loginFocus;
};
