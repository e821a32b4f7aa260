// frmMain: construction, the panel switch, the window's place on the screen,
// start-up, init and the free sub-domain's details.
#include "frmMain.h"
#include "frmMainLayout.h"

#include "AdvancedPanel.h"
#include "CSizer.h"
#include "Contrast.h"
#include "Foreground.h"
#include "Icons.h"
#include "Keyboard.h"
#include "LoginExchange.h"
#include "PictureButton.h"
#include "RegistryStore.h"
#include "RuntimeError.h"
#include "Seams.h"
#include "SettingsNames.h"
#include "TextRules.h"
#include "Twips.h"
#include "Version.h"
#include "Windows.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"
#include "frmAbout.h"
#include "frmLogin.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QResizeEvent>
#include <QScreen>
#include <QStyle>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QTreeView>
#include <optional>

using namespace frmMainLayout;

namespace {

// A settings value as a whole number of twips (or a plain count); a value
// that is no number, or absurdly large, is ignored so that a damaged settings
// file cannot stop the window from coming up.
std::optional<int> settingNumber(const QString &text)
{
    if (!TextRules::IsNumeric(text))
        return std::nullopt;
    const double value = TextRules::ToDouble(text);
    if (value < -10'000'000.0 || value > 10'000'000.0)
        return std::nullopt;
    return static_cast<int>(value);
}

// The grid column a value name keeps the width of ("Col1" to "Col5"), or -1.
int columnOf(const QString &name)
{
    for (int column = 0; column < 5; ++column) {
        if (name.compare(Settings::ColumnWidth(column), Qt::CaseInsensitive) == 0)
            return column;
    }
    return -1;
}

bool isNormalState(Qt::WindowStates state)
{
    return !(state & (Qt::WindowMinimized | Qt::WindowMaximized | Qt::WindowFullScreen));
}

} // namespace

frmMain::frmMain(QWidget *parent) : QMainWindow(parent)
{
    setObjectName(QStringLiteral("frmMain"));
    Windows::Track(this);
    setWindowTitle(QStringLiteral("Veltrio Dynamic DNS"));
    setWindowIcon(Icons::Application());

    auto *central = new QWidget(this);
    central->setObjectName(QStringLiteral("centralWidget"));
    setCentralWidget(central);

    buildMenus();
    SetWindowGeometryTwips(Twips::Left(this), Twips::Top(this), kStartWidth, kStartHeight);
    buildStatusPanel(central);
    m_panelTop = Twips::Height(frmTop) + kPanelGap;
    buildGridPanel(central);
    buildFreePanel(central);
    buildEditorPanel(central);
    buildAdvancedPanel(central);

    tmrAuto = new QTimer(this);
    tmrAuto->setObjectName(QStringLiteral("tmrAuto"));
    tmrAuto->setInterval(10000);
    tmrTimes = new QTimer(this);
    tmrTimes->setObjectName(QStringLiteral("tmrTimes"));
    tmrTimes->setInterval(1000);
    m_engine = new RefreshEngine(*this, this);
    m_engine->SetAccountLocks(&m_locks);

    buildTray();
    connectHandlers();
    connectRefreshAndTray();
    RegisterMainWindow(this);
}

frmMain::~frmMain()
{
    if (RegisteredMainWindow() == this)
        RegisterMainWindow(nullptr);
    cSysTrayOn->hide();
    cSysTrayOff->hide();
    cSysTrayOn->deleteLater();
    cSysTrayOff->deleteLater();
}

void frmMain::connectHandlers()
{
    // A picture button's caption label is part of the button.
    const std::pair<PictureButton *, void (frmMain::*)()> buttons[] = {
        {cmdAddGrid, &frmMain::cmdAddGrid_Click},
        {cmdEditGrid, &frmMain::cmdEditGrid_Click},
        {cmdDeleteGrid, &frmMain::cmdDeleteGrid_Click},
        {cmdAdvancedDomain, &frmMain::cmdAdvancedDomain_Click},
        {cmdVeltrioSetIP, &frmMain::cmdVeltrioSetIP_Click},
        {cmdAdvancedFree, &frmMain::cmdAdvancedFree_Click},
        {cmdServerIP, &frmMain::cmdServerIP_Click},
        {cmdCancel, &frmMain::cmdCancel_Click},
        {cmdOKAdvanced, &frmMain::cmdOKAdvanced_Click}};
    for (const auto &[button, handler] : buttons) {
        connect(button, &QPushButton::clicked, this, handler);
        connect(button->label(), &CaptionLabel::clicked, this, handler);
    }
    for (CaptionLabel *help : {imgHelpGrid, imgHelpFree, imgHelpDomain})
        connect(help, &CaptionLabel::clicked, this, &frmMain::imgHelp_Click);

    // The record type chosen from the list is the combo's click.
    connect(cboRecordType, &QComboBox::activated, this, &frmMain::cboRecordType_Click);
    // The port belongs to port relays only, however the type was set.
    connect(cboRecordType, &QComboBox::currentTextChanged, this, [this](const QString &type) {
        const bool relay = type.toUpper() == QLatin1String("PORT RELAY");
        txtPort->setVisible(relay);
        lblPort->setVisible(relay);
    });
    // The editor's AutoIP box reacts to the user's click; loading a record
    // into the editor sets it without filling in the current address.
    connect(chkDomainAutoIP, &QCheckBox::clicked, this, &frmMain::chkDomainAutoIP_Click);
    // The free sub-domain's box reacts to every change of its state, also
    // when the saved state is loaded at login.
    connect(chkAutoIP, &QCheckBox::toggled, this, &frmMain::chkAutoIP_Click);

    connect(mnuAddDomain, &QAction::triggered, this, &frmMain::mnuAddDomain_Click);
    connect(mnuLogin, &QAction::triggered, this, &frmMain::mnuLogin_Click);
    connect(mnuLogout, &QAction::triggered, this, &frmMain::mnuLogout_Click);
    connect(mnuOnlineHelp, &QAction::triggered, this, &frmMain::mnuOnlineHelp_Click);
    connect(mnuAbout, &QAction::triggered, this, &frmMain::mnuAbout_Click);

    connect(tmrAuto, &QTimer::timeout, this, &frmMain::tmrAuto_Timer);
    connect(tmrTimes, &QTimer::timeout, this, &frmMain::tmrTimes_Timer);
}

QString frmMain::UserKey()
{
    return Settings::AccountKey(User().sUsername);
}

void frmMain::SetWindowGeometryTwips(int left, int top, int width, int height)
{
    move(Twips::ToPixels(left), Twips::ToPixels(top));
    resize(Twips::ToPixels(std::max(width, 0)), Twips::ToPixels(std::max(height, 0)));
    // A hidden window gets its resize event only when shown; the controls
    // follow the new size at once all the same.
    Form_Resize();
}

void frmMain::CreateSizer()
{
    m_sizer = std::make_unique<CSizer>();
    m_sizer->Create(this);
    for (QWidget *label : {Label7, lblIPAddress, lblStatusH, lblStatus, Label11, lblUpTime, Label20,
                           lblLastIPCheck, Label22, lblTimesIPChanged, Label23, lblLastRefresh})
        m_sizer->Add(label, CSizer::MoveRight);
    m_sizer->Add(frmTop, CSizer::GrowWidth);
    m_sizer->Add(frmIPStatus, CSizer::GrowWidth);
    m_sizer->Add(frameGrid, CSizer::GrowWidth | CSizer::GrowHeight);
    m_sizer->Add(lvDomainUser, CSizer::GrowWidth | CSizer::GrowHeight);
    for (QWidget *control : std::initializer_list<QWidget *>{cmdAddGrid, cmdDeleteGrid, cmdEditGrid,
                                                             cmdAdvancedDomain, imgHelpGrid})
        m_sizer->Add(control, CSizer::MoveRight | CSizer::MoveDown);
}

void frmMain::Form_Resize()
{
    Trap(QStringLiteral("frmMain.MDIForm_Load()"), [&] {
        if (windowState() & Qt::WindowMinimized) {
            // Minimised, the window lives in the tray; on a desktop without
            // one it stays on the task bar, where the user can get it back.
            if (bTrayAvailable)
                QTimer::singleShot(0, this, [this] {
                    if (windowState() & Qt::WindowMinimized)
                        hide();
                });
            return;
        }
        if (m_sizer)
            m_sizer->Resize();
    });
}

void frmMain::keyPressEvent(QKeyEvent *event)
{
    const bool enter = Keyboard::IsEnter(event);
    const bool escape = Keyboard::IsEscape(event);
    if (!frameOtherDomain->isHidden() && (enter || escape)) {
        enter ? cmdServerIP_Click() : cmdCancel_Click();
    } else if (!frameAdvanced->isHidden() && (enter || escape)) {
        cmdOKAdvanced_Click();
    } else if (!frameVeltrioDomain->isHidden() && enter) {
        cmdVeltrioSetIP_Click();
    } else {
        QMainWindow::keyPressEvent(event);
        return;
    }
    event->accept();
}

void frmMain::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    Form_Resize();
}

void frmMain::ShowFrame(const QString &sFrame)
{
    Trap(QStringLiteral("frmMain.ShowFrame()"), [&] {
        frameVeltrioDomain->hide();
        frameGrid->hide();
        frameOtherDomain->hide();
        frameAdvanced->hide();
        const int panelTop = Twips::Height(frmTop) + kPanelGap;
        // Only the grid's layout may be resized by the user.
        setMinimumSize(0, 0);
        setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);

        if (!(m_gridWindowState & Qt::WindowMaximized))
            m_gridWindowState = Qt::WindowNoState;
        if (sFrame != QLatin1String("Grid")) {
            m_gridWindowState = windowState();
            if (isNormalState(windowState())) {
                RegistryStore store;
                store.SetKey(UserKey());
                SaveGeometry(store);
            }
            setWindowState(Qt::WindowNoState);
            SetWindowGeometryTwips(Twips::Left(this), Twips::Top(this), kStartWidth, kStartHeight);
        }

        QFrame *panel = nullptr;
        int panelHeight = 0;
        if (sFrame == QLatin1String("AdvancedDomain") || sFrame == QLatin1String("AdvancedFree")) {
            // The short layout shows only the connection choices, "Done"
            // moved up to their row; the free sub-domain's shortcuts below
            // are then neither seen nor reached by Tab.
            const bool free = sFrame == QLatin1String("AdvancedFree");
            panel = frameAdvanced;
            panelHeight = free ? kAdvancedFreeHeight : kAdvancedDomainHeight;
            for (QCheckBox *box :
                 {chkFTP, chkWWW, chkIRC, chkTelnet, chkPCAW, chkVNC, chkMail, chkMX})
                box->setVisible(free);
            cmdOKAdvanced->place(kLastButtonLeft,
                                 free ? panelHeight - 450
                                      : kAdvancedRow2 - (kButtonHeight - kRowHeight) / 2,
                                 kButtonWidth, kButtonHeight);
        } else if (sFrame == QLatin1String("Veltrio")) {
            panel = frameVeltrioDomain;
            panelHeight = kFreeHeight;
        } else if (sFrame == QLatin1String("Domain")) {
            panel = frameOtherDomain;
            panelHeight = kEditorHeight;
        } else if (sFrame == QLatin1String("Grid")) {
            setWindowState(Qt::WindowNoState);
            Twips::Move(frameGrid, Twips::Left(frameGrid), panelTop, Twips::Width(frmTop),
                        Twips::Height(frameGrid));
            if (!m_gridShownOnce) {
                m_gridShownOnce = true;
                SetWindowGeometryTwips(Twips::Left(this), Twips::Top(this), kStartWidth,
                                       Twips::Height(this));
                CreateSizer();
            }
            // The grid's layout grows from the size it was drawn for, never
            // below it, unless the screen is smaller (a high scale on a small
            // screen): then it fits the screen.
            setMinimumSize(QSize(Twips::ToPixels(kStartWidth),
                                 Twips::ToPixels(kStartHeight) - menuBar()->sizeHint().height())
                               .boundedTo(RoomOnScreen()));
            RestoreGridGeometry();
            frameGrid->show();
            setWindowState(m_gridWindowState);
            Form_Resize();
            lvDomainUser->setFocus();
            return;
        }
        if (!panel)
            return;

        Twips::Move(panel, Twips::Left(panel), panelTop, Twips::Width(panel), panelHeight);
        const int width = Twips::Width(panel) + kExtraWidth;
        const int height = panelTop + panelHeight + kExtraHeight;
        SetWindowGeometryTwips(Twips::Left(this), Twips::Top(this), width, height);
        Twips::Move(frmTop, Twips::Left(frmTop), Twips::Top(frmTop), Twips::Width(panel),
                    Twips::Height(frmTop));
        panel->show();
        setFixedSize(size());
        Keyboard::FocusFirst(panel);
    });
}

void frmMain::SaveGeometry(RegistryStore &store)
{
    store.WriteValues(
        {{QString(Settings::MainLeft.name), Twips::Left(this), RegistryStore::Number},
         {QString(Settings::MainTop.name), Twips::Top(this), RegistryStore::Number},
         {QString(Settings::MainWidth.name), Twips::Width(this), RegistryStore::Number},
         {QString(Settings::MainHeight.name), Twips::Height(this), RegistryStore::Number}});
}

void frmMain::RestoreGridGeometry()
{
    RegistryStore store;
    store.SetKey(UserKey());
    const auto left = settingNumber(store.ReadValue(Settings::MainLeft));
    const auto top = settingNumber(store.ReadValue(Settings::MainTop));
    const auto width = settingNumber(store.ReadValue(Settings::MainWidth));
    const auto height = settingNumber(store.ReadValue(Settings::MainHeight));
    SetWindowGeometryTwips(left.value_or(Twips::Left(this)), top.value_or(Twips::Top(this)),
                           width.value_or(Twips::Width(this)),
                           height.value_or(Twips::Height(this)));
    KeepOnScreen();
}

void frmMain::KeepOnScreen()
{
    // A saved size below the window's least, or a place off every screen
    // (a screen since removed, a damaged file), would leave a window nobody
    // can use or see: it comes back whole, on the screen it is nearest to.
    const QSize least = minimumSize().expandedTo(QSize(1, 1));
    if (width() < least.width() || height() < least.height())
        resize(size().expandedTo(least));
    // Nor larger than the screen, frame and all, where the size may change.
    if (minimumSize() != maximumSize())
        resize(size().boundedTo(RoomOnScreen()).expandedTo(least));
    const QScreen *screen = QGuiApplication::screenAt(frameGeometry().center());
    if (!screen)
        screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect area = screen->availableGeometry();
    const QRect frame = frameGeometry();
    if (!area.contains(frame.center()) || frame.top() < area.top() ||
        frame.bottom() > area.bottom())
        move(area.center() - QPoint(frame.width() / 2, frame.height() / 2));
}

QSize frmMain::RoomOnScreen() const
{
    const QScreen *screen = QGuiApplication::screenAt(frameGeometry().center());
    if (!screen)
        screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    // The frame is known once the window manager has put one round the
    // window; before, a title bar of the style's height is assumed.
    QSize frame = frameGeometry().size() - size();
    if (frame.isNull() && !testAttribute(Qt::WA_WState_Visible))
        frame = QSize(0, style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, this));
    return screen->availableGeometry().size() - frame;
}

void frmMain::Form_Load()
{
    QPointer<frmMain> self(this);
    Trap(QStringLiteral("frmMain.form_load()"), [&] {
        ProgramWide::bSkipClosePrompt = false;
        bLogOffPending = false;
        bExitPending = false;
        sTrayText.clear();

        PrepareLoginWindow(Version::LoginCaption());

        for (QWidget *link :
             std::initializer_list<QWidget *>{imgHelpGrid, imgHelpFree, imgHelpDomain})
            link->setCursor(Icons::Hand());

        QRect screen(0, 0, 1024, 768);
        if (const QScreen *s = this->screen() ? this->screen() : QGuiApplication::primaryScreen())
            screen = s->geometry();
        const int screenWidth = Twips::FromPixels(screen.width());
        const int screenHeight = Twips::FromPixels(screen.height());
        SetWindowGeometryTwips(Twips::FromPixels(screen.left()) + (screenWidth - kStartWidth) / 2,
                               Twips::FromPixels(screen.top()) + (screenHeight - kStartHeight) / 2 -
                                   500,
                               kStartWidth, kStartHeight);

        CreateSizer();
        PrepareGrid();

        bool saved = false;
        {
            RegistryStore store;
            store.SetKey(Settings::InitKey);
            saved = store.ReadValue(Settings::bSaveLogin) == QLatin1String("1");
            if (saved) {
                const QString user = store.ReadValue(Settings::Username);
                const QString password = store.ReadValue(Settings::Password);
                ProgramWide::bSaveLogin = true;
                RunSavedLogin(user, password);
            }
        }
        if (!saved || !ProgramWide::bLoggedIn)
            ShowLoginModal();
        if (!self || !Windows::Find(QStringLiteral("frmMain")))
            return;

        setWindowTitle(QStringLiteral("Veltrio Dynamic DNS version ") + Version::MajorMinor() +
                       QStringLiteral(" Rev ") + QString::number(Version::Revision()));
        ApplyUserLayout();
        KeepOnScreen();
        setWindowState(m_gridWindowState);
        init();
        // The tray icon comes with the tray.
    });
}

void frmMain::PrepareLoginWindow(const QString &caption)
{
    if (!m_login)
        m_login = new frmLogin;
    m_login->setWindowTitle(caption);
}

void frmMain::RunSavedLogin(const QString &user, const QString &password)
{
    // The saved login runs on the login window without showing it; a login
    // that works unloads it.
    PrepareLoginWindow(Version::LoginCaption());
    m_login->chkSaveLogin->setChecked(true);
    m_login->txtUsername->setText(user);
    m_login->txtPassword->setText(password);
    m_login->cmdLogin_Click();
}

void frmMain::ShowLoginModal()
{
    if (!m_login || !Windows::Loaded().contains(m_login.data()))
        m_login = new frmLogin;
    if (m_login->windowTitle() == QLatin1String("Login"))
        m_login->setWindowTitle(Version::LoginCaption());
    const Foreground::Scope login;
    m_login->exec();
}

void frmMain::mnuAbout_Click()
{
    frmAbout::ShowModal(this);
}

void frmMain::ApplyUserLayout()
{
    RegistryStore store;
    store.SetKey(UserKey());
    const int count = store.ValueCount();
    for (int i = 1; i <= count; ++i) {
        const QString name = store.ValueName(i);
        const auto value = settingNumber(store.ReadValue(i));
        if (!value)
            continue;
        const int v = *value;
        const auto is = [&name](const Settings::Value &setting) {
            return name.compare(setting.name, Qt::CaseInsensitive) == 0;
        };
        if (is(Settings::MainLeft)) {
            SetWindowGeometryTwips(v, Twips::Top(this), Twips::Width(this), Twips::Height(this));
        } else if (is(Settings::MainTop)) {
            SetWindowGeometryTwips(Twips::Left(this), v, Twips::Width(this), Twips::Height(this));
        } else if (is(Settings::MainWidth)) {
            if (v > 0)
                SetWindowGeometryTwips(Twips::Left(this), Twips::Top(this), v, Twips::Height(this));
        } else if (is(Settings::MainHeight)) {
            if (v > 0)
                SetWindowGeometryTwips(Twips::Left(this), Twips::Top(this), Twips::Width(this), v);
        } else if (is(Settings::WindowState)) {
            m_gridWindowState = v == 2   ? Qt::WindowMaximized
                                : v == 1 ? Qt::WindowMinimized
                                         : Qt::WindowNoState;
        } else if (const int column = columnOf(name); column >= 0) {
            if (v >= 0)
                lvDomainUser->header()->resizeSection(column, Twips::ToPixels(v));
        } else if (is(Settings::SortCol)) {
            if (v >= 0 && v < lvDomainUser->model()->columnCount())
                SetSort(v, m_sortDescending, m_sorted);
        } else if (is(Settings::SortOrder)) {
            SetSort(m_sortKey, v == 1, m_sorted);
        } else if (is(Settings::Sorted)) {
            SetSort(m_sortKey, m_sortDescending, v != 0);
        }
    }
}

void frmMain::init()
{
    Trap(QStringLiteral("frmMain.init()"), [&] {
        clsUser &user = User();
        // A new session: its checks have yet to run.
        lblLastIPCheck->clear();
        lblLastRefresh->clear();
        lblLastRefresh->setToolTip(QString());
        tmrAuto->start();
        m_engine->Start();
        lblIPAddress->setText(user.sIPAddress);
        // Kept as ISO 8601 text; the up-time counts from it on a steady clock.
        const QDateTime now = Seams::Now();
        ProgramWide::sStartTime = now.toString(Qt::ISODate);
        // The seconds turn where the start time's did: it counts whole
        // seconds from the start time's second.
        m_upTimeStartMs = Seams::SteadyMs() - now.time().msec();
        lblExpirationDate->setText(user.sExpirationDate);

        RegistryStore store;
        store.SetKey(UserKey());
        AdvancedPanel::LoadAdvancedTabSettings(this);

        if (user.sSubDomain > QString()) {
            user.bVeltrioOnly = true;
            mnuAddDomain->setVisible(false);
            ShowFrame(QStringLiteral("Veltrio"));
            show();
        } else {
            user.bVeltrioOnly = false;
            mnuAddDomain->setVisible(true);
            ProgramWide::sAutoIPList = store.ReadValue(Settings::AutoIPs);
            ShowFrame(QStringLiteral("Grid"));
            show();
            FillRecordTypes();
            txtCName->setText(user.sUsername);
            FillDomainUserGrid();
        }
        m_started = true;
    });
}

void frmMain::FillRecordTypes()
{
    AdvancedPanel::FillComboFromList(cboDomain, User().sDomainList);
    AdvancedPanel::FillComboFromList(cboRecordType, User().sRecordTypeList);
    if (User().sUserLevel == QLatin1String("5"))
        cboRecordType->addItem(QStringLiteral("Port Relay"));
}

void frmMain::LoadFreeUserInfo()
{
    Trap(QStringLiteral("frmMain.LoadFreeUserInfo()"), [&] {
        clsUser &user = User();
        const QString address = LoginExchange::FreeRecordAddress();
        RegistryStore store;
        store.SetKey(UserKey());

        bLoadingFreeInfo = true;
        const std::pair<Settings::Value, QCheckBox *> shortcuts[] = {
            {Settings::bMX, chkMX},         {Settings::bFTP, chkFTP},  {Settings::bMail, chkMail},
            {Settings::bTelnet, chkTelnet}, {Settings::bVNC, chkVNC},  {Settings::bWWW, chkWWW},
            {Settings::bIRC, chkIRC},       {Settings::bPCAW, chkPCAW}};
        for (const auto &[name, box] : shortcuts) {
            if (store.IsSet(name))
                box->setChecked(true);
        }
        bLoadingFreeInfo = false;
        if (store.ReadValue(Settings::bAutoIP) == QLatin1String("1"))
            chkAutoIP->setChecked(true);

        txtVeltrioIP->setText(address);
        user.sIPAddress = address;

        // The sub-domain points at the service's own server while the client
        // is away; point it back at this machine, where the next start
        // points it too.
        if (LoginExchange::RepointFreeRecord(address, true, chkAutoIP->isChecked())) {
            try {
                m_engine->FreeRecordSet(address);
            } catch (const std::exception &e) {
                basErr::LogOnly(QStringLiteral("frmMain.LoadFreeUserInfo()"),
                                RuntimeError::From(e));
            }
        }
        lblDomain->setText(user.sUsername + QLatin1Char('.') + user.sSubDomain);
    });
}

int frmMain::StatusColour() const
{
    return m_statusColour;
}

void frmMain::SetStatus(const QString &caption, int colour)
{
    m_statusColour = colour;
    lblStatus->setText(caption);
    lblStatus->setProperty("ForeColor", colour);
    // The colour is written blue-green-red: red in the lowest byte.
    Contrast::KeepReadable(lblStatus,
                           QColor(colour & 0xff, (colour >> 8) & 0xff, (colour >> 16) & 0xff));
}

void frmMain::SetWindowEnabled(bool enabled)
{
    // Disabling the window takes the focus away: it comes back to the
    // control that had it once the command is over.
    if (!enabled && isEnabled())
        m_focusBeforeCommand = focusWidget();
    setEnabled(enabled);
    if (enabled && m_focusBeforeCommand && m_focusBeforeCommand->isVisible() && !focusWidget())
        m_focusBeforeCommand->setFocus();
}
