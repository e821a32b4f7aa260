#include "frmLogin.h"

#include "AdvancedPanel.h"
#include "Contrast.h"
#include "Icons.h"
#include "Keyboard.h"
#include "LoginExchange.h"
#include "MainWindowPort.h"
#include "PictureButton.h"
#include "RegistryStore.h"
#include "RuntimeError.h"
#include "Seams.h"
#include "ServiceConfig.h"
#include "SettingsNames.h"
#include "TextRules.h"
#include "Twips.h"
#include "Windows.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QAction>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScopeGuard>
#include <QStyle>

namespace {

const QString kServerError =
    QStringLiteral("Error contacting server.  Server may be under maintenance.");

const QString kInvalidLogin =
    QStringLiteral("Invalid Username or Password.") + QStringLiteral("\r\n\r\n") +
    QStringLiteral("If you are a new user you must register using the First Time Here hyperlink "
                   "on the login screen. Registration is free for basic Sub-Domain usage.");

// Layout, in twips. The four panels share one place below the menu bar.
constexpr int kMargin = 120;
constexpr int kPanelWidth = 5460;
constexpr int kPanelHeight = 3120;
constexpr int kCaptionLeft = 240;
constexpr int kCaptionWidth = 1260;
constexpr int kBoxLeft = 1620;
constexpr int kBoxWidth = 3120;
constexpr int kRowHeight = 360;
constexpr int kButtonWidth = 1440;
constexpr int kButtonHeight = 450;
constexpr int kHelpSide = 300;

// The expiry notice's red.
const QColor kExpireColour(0xa0, 0x18, 0x18);

frmLogin::AboutBoxFn &aboutBox()
{
    static frmLogin::AboutBoxFn show;
    return show;
}

QLabel *caption(const char *name, const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(QLatin1String(name));
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return label;
}

QComboBox *portList(const char *name, QWidget *parent)
{
    // Editable: a stored value is shown even when it is not one of the items,
    // and what the user types is kept as typed.
    auto *combo = new QComboBox(parent);
    combo->setObjectName(QLatin1String(name));
    combo->setEditable(true);
    combo->setInsertPolicy(QComboBox::NoInsert);
    return combo;
}

QPixmap helpPicture(const QWidget *)
{
    return Icons::Help(Twips::ToPixels(kHelpSide));
}

} // namespace

frmLogin::frmLogin(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmLogin"));
    setWindowTitle(QStringLiteral("Login"));
    Windows::Track(this);

    buildMenu();
    buildLoginPanel();
    buildAdvancedPanel();
    buildLoggingInPanel();
    buildExpirePanel();

    const int menuHeight = MenuBar->sizeHint().height();
    setFixedSize(Twips::ToPixels(kMargin + kPanelWidth + kMargin),
                 menuHeight + Twips::ToPixels(kMargin + kPanelHeight + kMargin));
    MenuBar->setGeometry(0, 0, width(), menuHeight);
    const int panelTop = Twips::FromPixels(menuHeight) + kMargin;
    for (QFrame *panel : {frmLoginFrame, frameAdvanced, frmLoggingIn, frameExpire})
        Twips::Move(panel, kMargin, panelTop, kPanelWidth, kPanelHeight);
    frameAdvanced->hide();
    frmLoggingIn->hide();
    frameExpire->hide();
    // Each panel's controls top to bottom, its help last.
    Keyboard::SetTabOrder(
        {txtUsername, txtPassword, chkSaveLogin, cmdLogin, cmdExit, llblRegister, imgHelpDomain});
    Keyboard::SetTabOrder({cboPorts, chkSSL, cboRefreshRate, cmdOKAdvanced});
    Keyboard::SetTabOrder({cmdExpireOK, lblExpire});
    txtUsername->setFocus();

    Form_Load();
}

frmLogin::~frmLogin() = default;

void frmLogin::SetAboutBox(AboutBoxFn show)
{
    aboutBox() = std::move(show);
}

// --- Building the window ---------------------------------------------------------------

QFrame *frmLogin::makePanel(const char *name)
{
    auto *panel = new QFrame(this);
    panel->setObjectName(QLatin1String(name));
    panel->setFrameShape(QFrame::StyledPanel);
    panel->setFrameShadow(QFrame::Raised);
    // The panels cover each other: each paints its whole area.
    panel->setAutoFillBackground(true);
    return panel;
}

void frmLogin::buildMenu()
{
    MenuBar = new QMenuBar(this);
    MenuBar->setObjectName(QStringLiteral("MenuBar"));
    mnuHelp = MenuBar->addMenu(QStringLiteral("Help"));
    mnuHelp->setObjectName(QStringLiteral("mnuHelp"));
    const auto entry = [this](const char *name, const QString &text, auto slot) {
        QAction *action = mnuHelp->addAction(text);
        action->setObjectName(QLatin1String(name));
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    mnuAdvanced = entry("mnuAdvanced", QStringLiteral("A&dvanced"), &frmLogin::mnuAdvanced_Click);
    mnuOnlineHelp =
        entry("mnuOnlineHelp", QStringLiteral("&Online Help"), &frmLogin::mnuOnlineHelp_Click);
    mnuRegister = entry("mnuRegister", QStringLiteral("&Register"), &frmLogin::mnuRegister_Click);
    mnuSeperator1 = mnuHelp->addSeparator();
    mnuSeperator1->setObjectName(QStringLiteral("mnuSeperator1"));
    mnuAbout = entry("mnuAbout", QStringLiteral("&About"), &frmLogin::mnuAbout_Click);
}

void frmLogin::buildLoginPanel()
{
    frmLoginFrame = makePanel("frmLogin");
    QFrame *f = frmLoginFrame;

    imgHelpDomain = new CaptionLabel(QStringLiteral("imgHelpDomain"), QString(), f);
    imgHelpDomain->setPixmap(helpPicture(this));
    imgHelpDomain->setToolTip(QStringLiteral("Click here for help page."));
    NameHelpPicture(imgHelpDomain);
    Twips::Move(imgHelpDomain, kPanelWidth - kHelpSide - 120, 120, kHelpSide, kHelpSide);
    connect(imgHelpDomain, &CaptionLabel::clicked, this, &frmLogin::imgHelpDomain_Click);

    Label1 = caption("Label1", QStringLiteral("Username"), f);
    Twips::Move(Label1, kCaptionLeft, 480, kCaptionWidth, kRowHeight);
    txtUsername = new QLineEdit(f);
    txtUsername->setObjectName(QStringLiteral("txtUsername"));
    Twips::Move(txtUsername, kBoxLeft, 480, kBoxWidth, kRowHeight);

    Label2 = caption("Label2", QStringLiteral("Password"), f);
    Twips::Move(Label2, kCaptionLeft, 960, kCaptionWidth, kRowHeight);
    txtPassword = new QLineEdit(f);
    txtPassword->setObjectName(QStringLiteral("txtPassword"));
    txtPassword->setEchoMode(QLineEdit::Password);
    Twips::Move(txtPassword, kBoxLeft, 960, kBoxWidth, kRowHeight);
    txtPassword->installEventFilter(this);

    chkSaveLogin = new QCheckBox(QStringLiteral("Save Login"), f);
    chkSaveLogin->setObjectName(QStringLiteral("chkSaveLogin"));
    Twips::Move(chkSaveLogin, kBoxLeft, 1410, kBoxWidth, 300);

    cmdLogin = new PictureButton(QStringLiteral("cmdLogin"), QStringLiteral("Label3"),
                                 QStringLiteral("Login"), f);
    cmdLogin->place(kBoxLeft, 1860, kButtonWidth, kButtonHeight);
    Label3 = cmdLogin->label();
    cmdExit = new PictureButton(QStringLiteral("cmdExit"), QStringLiteral("Label4"),
                                QStringLiteral("Exit"), f);
    cmdExit->place(kBoxLeft + kBoxWidth - kButtonWidth, 1860, kButtonWidth, kButtonHeight);
    Label4 = cmdExit->label();
    connect(cmdLogin, &QPushButton::clicked, this, &frmLogin::cmdLogin_Click);
    connect(Label3, &CaptionLabel::clicked, this, &frmLogin::Label3_Click);
    connect(cmdExit, &QPushButton::clicked, this, &frmLogin::cmdExit_Click);
    connect(Label4, &CaptionLabel::clicked, this, &frmLogin::Label4_Click);

    llblRegister =
        new CaptionLabel(QStringLiteral("llblRegister"),
                         QStringLiteral("First Time Here? Please Register With Us. "), f);
    MakeLink(llblRegister);
    Twips::Move(llblRegister, 0, 2580, kPanelWidth, 330);
    connect(llblRegister, &CaptionLabel::clicked, this, &frmLogin::llblRegister_Click);
}

void frmLogin::buildAdvancedPanel()
{
    frameAdvanced = makePanel("frameAdvanced");
    QFrame *f = frameAdvanced;
    constexpr int captionWidth = 2280;
    constexpr int boxLeft = kCaptionLeft + captionWidth + 120;
    constexpr int boxWidth = 1500;

    imgHelpAdvanced = new QLabel(f);
    imgHelpAdvanced->setObjectName(QStringLiteral("imgHelpAdvanced"));
    imgHelpAdvanced->setPixmap(helpPicture(this));
    NameHelpPicture(imgHelpAdvanced);
    Twips::Move(imgHelpAdvanced, kPanelWidth - kHelpSide - 120, 120, kHelpSide, kHelpSide);

    Label16 = caption("Label16", QStringLiteral("Ports:"), f);
    Twips::Move(Label16, kCaptionLeft, 480, captionWidth, kRowHeight);
    cboPorts = portList("cboPorts", f);
    Twips::Move(cboPorts, boxLeft, 480, boxWidth, kRowHeight);

    chkSSL = new QCheckBox(QStringLiteral("Use SSL"), f);
    chkSSL->setObjectName(QStringLiteral("chkSSL"));
    Twips::Move(chkSSL, boxLeft, 960, 2400, 300);
    // A click by the user, not a change made by loading the settings.
    connect(chkSSL, &QCheckBox::clicked, this, &frmLogin::chkSSL_Click);

    Label17 = caption("Label17", QStringLiteral("Refresh Rate (seconds):"), f);
    Twips::Move(Label17, kCaptionLeft, 1410, captionWidth, kRowHeight);
    cboRefreshRate = portList("cboRefreshRate", f);
    AdvancedPanel::KeepNumeric(cboRefreshRate);
    Twips::Move(cboRefreshRate, boxLeft, 1410, boxWidth, kRowHeight);

    cmdOKAdvanced = new PictureButton(QStringLiteral("cmdOKAdvanced"), QStringLiteral("Label18"),
                                      QStringLiteral("Done"), f);
    cmdOKAdvanced->place(boxLeft, 2100, kButtonWidth, kButtonHeight);
    Label18 = cmdOKAdvanced->label();
    connect(cmdOKAdvanced, &QPushButton::clicked, this, &frmLogin::cmdOKAdvanced_Click);
    connect(Label18, &CaptionLabel::clicked, this, &frmLogin::Label18_Click);
}

void frmLogin::buildLoggingInPanel()
{
    frmLoggingIn = makePanel("frmLoggingIn");
    lblLogginIn = new QLabel(QStringLiteral("Logging In.  "), frmLoggingIn);
    lblLogginIn->setObjectName(QStringLiteral("lblLogginIn"));
    lblLogginIn->setAlignment(Qt::AlignCenter);
    QFont big = lblLogginIn->font();
    big.setBold(true);
    big.setPointSizeF(big.pointSizeF() * 1.6);
    lblLogginIn->setFont(big);
    Twips::Move(lblLogginIn, 0, 900, kPanelWidth, 540);

    lblWait = new QLabel(QStringLiteral("Please Wait ..."), frmLoggingIn);
    lblWait->setObjectName(QStringLiteral("lblWait"));
    lblWait->setAlignment(Qt::AlignCenter);
    Twips::Move(lblWait, 0, 1560, kPanelWidth, kRowHeight);
}

void frmLogin::buildExpirePanel()
{
    frameExpire = makePanel("frameExpire");
    lblExpire = new CaptionLabel(QStringLiteral("lblExpire"),
                                 QStringLiteral("Your Account has expired. Please contact Veltrio "
                                                "support to reactivate account..."),
                                 frameExpire);
    lblExpire->setWordWrap(true);
    QFont bold = lblExpire->font();
    bold.setBold(true);
    lblExpire->setFont(bold);
    Contrast::KeepReadable(lblExpire, kExpireColour);
    // It opens the support page: reached by Tab after OK.
    lblExpire->setCursor(Icons::Hand());
    lblExpire->setKeyboardReachable(true);
    Twips::Move(lblExpire, 480, 480, kPanelWidth - 960, 1200);
    connect(lblExpire, &CaptionLabel::clicked, this, &frmLogin::lblExpire_Click);

    cmdExpireOK = new PictureButton(QStringLiteral("cmdExpireOK"), QStringLiteral("Label5"),
                                    QStringLiteral("OK"), frameExpire);
    cmdExpireOK->place((kPanelWidth - kButtonWidth) / 2, 2100, kButtonWidth, kButtonHeight);
    Label5 = cmdExpireOK->label();
    connect(cmdExpireOK, &QPushButton::clicked, this, &frmLogin::cmdExpireOK_Click);
    connect(Label5, &CaptionLabel::clicked, this, &frmLogin::Label5_Click);
}

void frmLogin::showOverPanel(QFrame *panel)
{
    panel->setGeometry(panel->x(), frmLoginFrame->y(), panel->width(), frmLoginFrame->height());
    panel->setVisible(true);
    panel->raise();
    // What the panel covers can be neither reached by Tab nor typed into.
    if (frmLoginFrame->isEnabled()) {
        m_loginFocus = frmLoginFrame->focusWidget();
        frmLoginFrame->setEnabled(false);
    }
    if (!Keyboard::FocusFirst(panel))
        panel->setFocus();
}

void frmLogin::uncoverLoginPanel()
{
    for (QFrame *panel : {frameAdvanced, frmLoggingIn, frameExpire}) {
        if (!panel->isHidden())
            return;
    }
    frmLoginFrame->setEnabled(true);
    QWidget *focus = m_loginFocus && frmLoginFrame->isAncestorOf(m_loginFocus) ? m_loginFocus.data()
                                                                               : txtUsername;
    focus->setFocus();
}

bool frmLogin::LoginPanelUp() const
{
    return frmLoginFrame->isVisible() && frmLoginFrame->isEnabled();
}

// --- Handlers ---------------------------------------------------------------------------------

void frmLogin::Form_Load()
{
    // The port-less plain URL first: it stays when loading the settings
    // ends early on this window (it has no chkService).
    ProgramWide::sServiceURL = basDNS::PlainURL();
    AdvancedPanel::LoadAdvancedTabSettings(this);
}

void frmLogin::cmdLogin_Click()
{
    if (bBusy)
        return;
    bBusy = true;
    const auto notBusy = qScopeGuard([this] { bBusy = false; });

    // After a message the focus is in the box that wants filling in.
    if (basDNS::NullToEmpty(txtUsername->text()).isEmpty()) {
        Seams::MsgBox(QStringLiteral("You must enter a Username."));
        txtUsername->setFocus();
        return;
    }
    if (basDNS::NullToEmpty(txtPassword->text()).isEmpty()) {
        Seams::MsgBox(QStringLiteral("You must enter a Password."));
        txtPassword->setFocus();
        return;
    }

    showOverPanel(frmLoggingIn);
    const LoginExchange::Outcome outcome =
        LoginExchange::Run(txtUsername->text(), txtPassword->text());
    frmLoggingIn->setVisible(false);
    uncoverLoginPanel();
    switch (outcome) {
    case LoginExchange::Outcome::ServerError:
        Seams::MsgBox(kServerError);
        return;
    case LoginExchange::Outcome::Refused:
        Seams::MsgBox(kInvalidLogin);
        txtUsername->clear();
        txtPassword->clear();
        txtUsername->setFocus();
        return;
    case LoginExchange::Outcome::Expired:
        showOverPanel(frameExpire);
        return;
    case LoginExchange::Outcome::Success:
        break;
    }

    const clsUser &user = User();
    LoginExchange::SessionStarted(chkSaveLogin->isChecked());
    // The service has just answered: the status and the tray say so until a
    // request says otherwise.
    basDNS::SetConnectionStatus(true);

    if (!user.sSubDomain.isEmpty()) {
        showOverPanel(frmLoggingIn);
        if (MainWindowPort *main = RegisteredMainWindow())
            main->LoadFreeUserInfo();
        frmLoggingIn->setVisible(false);
    }

    Windows::Unload(this);
}

void frmLogin::cmdExit_Click()
{
    ProgramWide::bSkipClosePrompt = true;
    // The windows as they stand now, counted once. The main window takes the
    // others with it when it unloads.
    const QList<QWidget *> windows = Windows::Loaded();
    for (QWidget *window : windows) {
        const bool isMain =
            window->objectName().compare(QLatin1String("frmMain"), Qt::CaseInsensitive) == 0;
        Windows::Unload(window);
        if (isMain)
            break;
    }
}

void frmLogin::chkSSL_Click()
{
    if (chkSSL->isChecked()) {
        ProgramWide::sServiceURL = basDNS::HttpsURL();
        cboPorts->setEnabled(false);
        return;
    }
    cboPorts->setEnabled(true);
    // The port comes from the main window's port list, not from this
    // window's: a port chosen here is used only once the settings are loaded
    // again. Before the main window exists there is no list to read, and the
    // URL goes without a port.
    QString port;
    if (QWidget *main = Windows::Find(QStringLiteral("frmMain"))) {
        if (auto *mainPorts = main->findChild<QComboBox *>(QStringLiteral("cboPorts")))
            port = mainPorts->currentText();
    }
    ProgramWide::sServiceURL = basDNS::PlainURL(port);
}

void frmLogin::mnuAdvanced_Click()
{
    showOverPanel(frameAdvanced);
}

void frmLogin::cmdOKAdvanced_Click()
{
    Trap(QStringLiteral("frmLogin.cmdOKAdvanced_Click()"), [&] {
        frmLoginFrame->setVisible(true);
        frameAdvanced->setVisible(false);
        uncoverLoginPanel();
        // The service URL is left as it is: the new port counts from the
        // next time the settings are loaded or the SSL box is clicked.
        RegistryStore reg;
        reg.SetKey(Settings::InitKey);
        reg.WriteValue(Settings::bSSL, chkSSL->isChecked() ? 1 : 0);
        reg.WriteValue(Settings::Port, cboPorts->currentText());
        reg.WriteValue(Settings::RefreshRate, cboRefreshRate->currentText());
    });
}

void frmLogin::cmdExpireOK_Click()
{
    frameExpire->setVisible(false);
    uncoverLoginPanel();
}

void frmLogin::mnuAbout_Click()
{
    if (aboutBox())
        aboutBox()(this);
}

void frmLogin::mnuOnlineHelp_Click()
{
    Seams::ShellOpen(Config().WebSitePage(QStringLiteral("/help")));
}

void frmLogin::mnuRegister_Click()
{
    Seams::ShellOpen(Config().WebSitePage(QStringLiteral("/services.asp")));
}

void frmLogin::imgHelpDomain_Click()
{
    Seams::ShellOpen(Config().WebSitePage(QStringLiteral("/help")));
}

void frmLogin::llblRegister_Click()
{
    Seams::ShellOpen(Config().WebSitePage(QStringLiteral("/services.asp")));
}

void frmLogin::lblExpire_Click()
{
    Seams::ShellOpen(Config().HttpsHostPage(QStringLiteral("/v.1.3/support.asp")));
}

void frmLogin::OpenForgottenPasswordPage()
{
    Seams::ShellOpen(Config().SupportPage(QStringLiteral("/pop_pword.asp")));
}

void frmLogin::Label3_Click()
{
    cmdLogin_Click();
}

void frmLogin::Label4_Click()
{
    cmdExit_Click();
}

void frmLogin::Label5_Click()
{
    cmdExpireOK_Click();
}

void frmLogin::Label18_Click()
{
    cmdOKAdvanced_Click();
}

void frmLogin::txtPassword_KeyDown(int keyCode, Qt::KeyboardModifiers)
{
    if (keyCode == 13)
        cmdLogin_Click();
}

void frmLogin::Form_KeyDown(int keyCode, Qt::KeyboardModifiers)
{
    if (keyCode == 13 && LoginPanelUp())
        cmdLogin_Click();
}

// --- Keyboard and closing -----------------------------------------------------------------------

bool frmLogin::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == txtPassword && event->type() == QEvent::KeyPress) {
        auto *key = static_cast<QKeyEvent *>(event);
        if (Keyboard::IsEnter(key)) {
            txtPassword_KeyDown(13, key->modifiers());
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void frmLogin::keyPressEvent(QKeyEvent *event)
{
    // Return and Escape that no control took: on the login panel Return logs
    // in; over it, both close the advanced panel and the expiry notice.
    const bool enter = Keyboard::IsEnter(event);
    if (enter || Keyboard::IsEscape(event)) {
        event->accept();
        if (enter && LoginPanelUp())
            Form_KeyDown(13, event->modifiers());
        else if (!frameExpire->isHidden())
            cmdExpireOK_Click();
        else if (!frameAdvanced->isHidden())
            cmdOKAdvanced_Click();
        // Escape never closes the window; only Exit and the title bar do.
        return;
    }
    QDialog::keyPressEvent(event);
}

void frmLogin::closeEvent(QCloseEvent *event)
{
    QDialog::closeEvent(event);
    if (!event->isAccepted())
        return;
    // The title bar's close is Exit: without a login there is no session
    // for the main window to run.
    if (event->spontaneous())
        cmdExit_Click();
    Windows::Release(this);
}
