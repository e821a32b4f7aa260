// frmMain: building the window's controls, panel by panel, in twips.
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

QLabel *makeLabel(const QString &name, const QString &caption, QWidget *parent,
                  Qt::Alignment align = Qt::AlignLeft | Qt::AlignVCenter, bool bold = false)
{
    auto *label = new QLabel(caption, parent);
    label->setObjectName(name);
    label->setAlignment(align);
    if (bold) {
        QFont f = label->font();
        f.setBold(true);
        label->setFont(f);
    }
    return label;
}

QFrame *makeFrame(const QString &name, QWidget *parent, QFrame::Shadow shadow = QFrame::Raised)
{
    auto *frame = new QFrame(parent);
    frame->setObjectName(name);
    frame->setFrameShape(QFrame::StyledPanel);
    frame->setFrameShadow(shadow);
    return frame;
}

QCheckBox *makeCheck(const QString &name, const QString &caption, QWidget *parent)
{
    auto *box = new QCheckBox(caption, parent);
    box->setObjectName(name);
    return box;
}

QComboBox *makeCombo(const QString &name, QWidget *parent)
{
    auto *combo = new QComboBox(parent);
    combo->setObjectName(name);
    // A drop-down combo: the text may be set to anything, listed or not.
    combo->setEditable(true);
    combo->setInsertPolicy(QComboBox::NoInsert);
    return combo;
}

QLineEdit *makeText(const QString &name, QWidget *parent)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(name);
    return edit;
}

// A small help picture that opens the help page when clicked.
CaptionLabel *makeHelp(const QString &name, QWidget *parent)
{
    auto *help = new CaptionLabel(name, QString(), parent);
    help->setPixmap(Icons::Help(Twips::ToPixels(kHelpSide)));
    help->setToolTip(QStringLiteral("Click here for help page."));
    NameHelpPicture(help);
    help->setCursor(Icons::Hand());
    return help;
}

} // namespace

void frmMain::buildMenus()
{
    mnuFile = menuBar()->addMenu(QStringLiteral("&File"));
    mnuFile->setObjectName(QStringLiteral("mnuFile"));
    mnuAddDomain = mnuFile->addAction(QStringLiteral("&Add Domain"));
    mnuLogin = mnuFile->addAction(QStringLiteral("&Log Off"));
    mnuSeperator1 = mnuFile->addSeparator();
    mnuLogout = mnuFile->addAction(QStringLiteral("E&xit"));

    mnuHelp = menuBar()->addMenu(QStringLiteral("&Help"));
    mnuHelp->setObjectName(QStringLiteral("mnuHelp"));
    mnuOnlineHelp = mnuHelp->addAction(QStringLiteral("&Online Help"));
    mnuSeperator2 = mnuHelp->addSeparator();
    mnuAbout = mnuHelp->addAction(QStringLiteral("&About"));

    // The tray's menu: never in the menu bar.
    mnuPopup = new QMenu(QStringLiteral("Popup"), this);
    mnuPopup->setObjectName(QStringLiteral("mnuPopup"));
    mnuPopupHide = mnuPopup->addAction(QStringLiteral("&Hide"));
    mnuPopupLogOff = mnuPopup->addAction(QStringLiteral("&Log Off"));
    mnuPopupShow = mnuPopup->addAction(QStringLiteral("&Show"));
    mnuSeperator3 = mnuPopup->addSeparator();
    mnuPopupAbout = mnuPopup->addAction(QStringLiteral("&About"));
    mnuSeperator4 = mnuPopup->addSeparator();
    mnuPopupExit = mnuPopup->addAction(QStringLiteral("E&xit"));

    const std::pair<QAction *, const char *> names[] = {{mnuAddDomain, "mnuAddDomain"},
                                                        {mnuLogin, "mnuLogin"},
                                                        {mnuSeperator1, "mnuSeperator1"},
                                                        {mnuLogout, "mnuLogout"},
                                                        {mnuOnlineHelp, "mnuOnlineHelp"},
                                                        {mnuSeperator2, "mnuSeperator2"},
                                                        {mnuAbout, "mnuAbout"},
                                                        {mnuPopupHide, "mnuPopupHide"},
                                                        {mnuPopupLogOff, "mnuPopupLogOff"},
                                                        {mnuPopupShow, "mnuPopupShow"},
                                                        {mnuSeperator3, "mnuSeperator3"},
                                                        {mnuPopupAbout, "mnuPopupAbout"},
                                                        {mnuSeperator4, "mnuSeperator4"},
                                                        {mnuPopupExit, "mnuPopupExit"}};
    for (const auto &[action, name] : names)
        action->setObjectName(QLatin1String(name));
}

void frmMain::buildStatusPanel(QWidget *central)
{
    frmTop = makeFrame(QStringLiteral("frmTop"), central);
    Twips::Move(frmTop, kPanelLeft, 90, kPanelWidth, kTopHeight);

    Image1 = new LogoLabel(QStringLiteral("Image1"), frmTop);
    Twips::Move(Image1, 120, 120, 2700, 840);

    // The account's expiry stays under the logo; the status block keeps to
    // the right and follows the window's right edge.
    Label21 =
        makeLabel(QStringLiteral("Label21"), QStringLiteral("Your Account Expires on:"), frmTop);
    Twips::Move(Label21, 120, 1080, 2700, 240);
    lblExpirationDate = makeLabel(QStringLiteral("lblExpirationDate"), QString(), frmTop,
                                  Qt::AlignLeft | Qt::AlignVCenter, true);
    Twips::Move(lblExpirationDate, 120, 1320, 2700, 240);

    frmIPStatus = makeFrame(QStringLiteral("frmIPStatus"), frmTop, QFrame::Sunken);
    const int statusLeft = 2940;
    const int statusWidth = kPanelWidth - statusLeft - 60;
    Twips::Move(frmIPStatus, statusLeft, 60, statusWidth, kTopHeight - 120);

    const int valueWidth = 3300;
    const int captionWidth = 2000;
    const int valueLeft = statusWidth - 120 - valueWidth;
    const int captionLeft = valueLeft - 60 - captionWidth;
    const Qt::Alignment right = Qt::AlignRight | Qt::AlignVCenter;
    const Qt::Alignment left = Qt::AlignLeft | Qt::AlignVCenter;
    const struct
    {
        QLabel **caption;
        const char *captionName;
        const char *captionText;
        QLabel **value;
        const char *valueName;
    } rows[] = {
        {&Label7, "Label7", "Current IPAddress:", &lblIPAddress, "lblIPAddress"},
        {&lblStatusH, "lblStatusH", "Connection Status:", &lblStatus, "lblStatus"},
        {&Label11, "Label11", "Current Up Time:", &lblUpTime, "lblUpTime"},
        {&Label20, "Label20", "Last IP Check:", &lblLastIPCheck, "lblLastIPCheck"},
        {&Label22, "Label22", "Total Transactions:", &lblTimesIPChanged, "lblTimesIPChanged"},
        {&Label23, "Label23", "Last Refresh:", &lblLastRefresh, "lblLastRefresh"},
    };
    int top = 135;
    for (const auto &row : rows) {
        *row.caption = makeLabel(QLatin1String(row.captionName), QLatin1String(row.captionText),
                                 frmIPStatus, right);
        Twips::Move(*row.caption, captionLeft, top, captionWidth, 240);
        *row.value = makeLabel(QLatin1String(row.valueName), QString(), frmIPStatus, left, true);
        Twips::Move(*row.value, valueLeft, top, valueWidth, 240);
        top += 285;
    }
    lblTimesIPChanged->setText(QStringLiteral("0"));
    SetStatus(QStringLiteral("Connected"), ::StatusColour::Connected);
}

void frmMain::buildGridPanel(QWidget *central)
{
    // The grid's panel fills the window below the status panel.
    const int menuHeight = Twips::FromPixels(menuBar()->sizeHint().height());
    const int height = kStartHeight - menuHeight - m_panelTop - 120;
    frameGrid = makeFrame(QStringLiteral("frameGrid"), central);
    Twips::Move(frameGrid, kPanelLeft, m_panelTop, kPanelWidth, height);
    frameGrid->hide();

    CreateGrid(frameGrid);
    Twips::Move(lvDomainUser, 120, 120, kPanelWidth - 240, height - 120 - 660);
    PrepareGrid();

    const int buttonTop = height - 120 - kButtonHeight;
    cmdAddGrid = new PictureButton(QStringLiteral("cmdAddGrid"), QStringLiteral("Label9"),
                                   QStringLiteral("Add"), frameGrid);
    cmdAddGrid->place(kLastButtonLeft - 3 * kButtonStep, buttonTop, kButtonWidth, kButtonHeight);
    cmdEditGrid = new PictureButton(QStringLiteral("cmdEditGrid"), QStringLiteral("Label13"),
                                    QStringLiteral("Edit"), frameGrid);
    cmdEditGrid->place(kLastButtonLeft - 2 * kButtonStep, buttonTop, kButtonWidth, kButtonHeight);
    cmdDeleteGrid = new PictureButton(QStringLiteral("cmdDeleteGrid"), QStringLiteral("Label12"),
                                      QStringLiteral("Delete"), frameGrid);
    cmdDeleteGrid->place(kLastButtonLeft - kButtonStep, buttonTop, kButtonWidth, kButtonHeight);
    cmdAdvancedDomain =
        new PictureButton(QStringLiteral("cmdAdvancedDomain"), QStringLiteral("Label14"),
                          QStringLiteral("Advanced"), frameGrid);
    cmdAdvancedDomain->place(kLastButtonLeft, buttonTop, kButtonWidth, kButtonHeight);
    imgHelpGrid = makeHelp(QStringLiteral("imgHelpGrid"), frameGrid);
    Twips::Move(imgHelpGrid, kLastButtonLeft - 3 * kButtonStep - 120 - kHelpSide,
                buttonTop + (kButtonHeight - kHelpSide) / 2, kHelpSide, kHelpSide);
}

void frmMain::buildFreePanel(QWidget *central)
{
    frameVeltrioDomain = makeFrame(QStringLiteral("frameVeltrioDomain"), central);
    Twips::Move(frameVeltrioDomain, kPanelLeft, m_panelTop, kPanelWidth, kFreeHeight);
    frameVeltrioDomain->hide();
    const Qt::Alignment right = Qt::AlignRight | Qt::AlignVCenter;

    Label4 =
        makeLabel(QStringLiteral("Label4"), QStringLiteral("Domain:"), frameVeltrioDomain, right);
    Twips::Move(Label4, kLabelLeft, 180, kLabelWidth, kRowHeight);
    lblDomain = makeLabel(QStringLiteral("lblDomain"), QString(), frameVeltrioDomain,
                          Qt::AlignLeft | Qt::AlignVCenter, true);
    Twips::Move(lblDomain, kFieldLeft, 180, kPanelWidth - kFieldLeft - 120, kRowHeight);

    Label3 = makeLabel(QStringLiteral("Label3"), QStringLiteral("IPAddress:"), frameVeltrioDomain,
                       right);
    Twips::Move(Label3, kLabelLeft, 630, kLabelWidth, kRowHeight);
    txtVeltrioIP = makeText(QStringLiteral("txtVeltrioIP"), frameVeltrioDomain);
    Twips::Move(txtVeltrioIP, kFieldLeft, 630, 2400, kRowHeight);

    chkAutoIP = makeCheck(QStringLiteral("chkAutoIP"), QStringLiteral("Automatic IP Resolution"),
                          frameVeltrioDomain);
    Twips::Move(chkAutoIP, kFieldLeft, 1080, 3600, kRowHeight);

    const int buttonTop = kFreeHeight - 120 - kButtonHeight;
    cmdVeltrioSetIP = new PictureButton(QStringLiteral("cmdVeltrioSetIP"), QStringLiteral("Label1"),
                                        QStringLiteral("Update/Add"), frameVeltrioDomain);
    cmdVeltrioSetIP->place(kLastButtonLeft - kButtonStep, buttonTop, kButtonWidth, kButtonHeight);
    cmdAdvancedFree =
        new PictureButton(QStringLiteral("cmdAdvancedFree"), QStringLiteral("Label15"),
                          QStringLiteral("Advanced"), frameVeltrioDomain);
    cmdAdvancedFree->place(kLastButtonLeft, buttonTop, kButtonWidth, kButtonHeight);
    imgHelpFree = makeHelp(QStringLiteral("imgHelpFree"), frameVeltrioDomain);
    Twips::Move(imgHelpFree, kLastButtonLeft - kButtonStep - 120 - kHelpSide,
                buttonTop + (kButtonHeight - kHelpSide) / 2, kHelpSide, kHelpSide);
}

void frmMain::buildEditorPanel(QWidget *central)
{
    frameOtherDomain = makeFrame(QStringLiteral("frameOtherDomain"), central);
    Twips::Move(frameOtherDomain, kPanelLeft, m_panelTop, kPanelWidth, kEditorHeight);
    frameOtherDomain->hide();
    const Qt::Alignment right = Qt::AlignRight | Qt::AlignVCenter;
    const QString nameHint =
        QStringLiteral("Leave blank when changing or adding mx record for root domain address.");

    Label2 =
        makeLabel(QStringLiteral("Label2"), QStringLiteral("Domain:"), frameOtherDomain, right);
    Twips::Move(Label2, kLabelLeft, 180, kLabelWidth, kRowHeight);
    cboDomain = makeCombo(QStringLiteral("cboDomain"), frameOtherDomain);
    Twips::Move(cboDomain, kFieldLeft, 180, 3900, kRowHeight);

    Label8 = makeLabel(QStringLiteral("Label8"), QStringLiteral("Record Type:"), frameOtherDomain,
                       right);
    Twips::Move(Label8, kLabelLeft, 630, kLabelWidth, kRowHeight);
    cboRecordType = makeCombo(QStringLiteral("cboRecordType"), frameOtherDomain);
    Twips::Move(cboRecordType, kFieldLeft, 630, 2400, kRowHeight);

    Label10 =
        makeLabel(QStringLiteral("Label10"), QStringLiteral("Name:"), frameOtherDomain, right);
    Label10->setToolTip(nameHint);
    Twips::Move(Label10, kLabelLeft, 1080, kLabelWidth, kRowHeight);
    txtCName = makeText(QStringLiteral("txtCName"), frameOtherDomain);
    txtCName->setToolTip(nameHint);
    Twips::Move(txtCName, kFieldLeft, 1080, 2400, kRowHeight);

    lblServerAddress = makeLabel(QStringLiteral("lblServerAddress"), QStringLiteral("Pointing To:"),
                                 frameOtherDomain, right);
    Twips::Move(lblServerAddress, kLabelLeft, 1530, kLabelWidth, kRowHeight);
    txtServerIP = makeText(QStringLiteral("txtServerIP"), frameOtherDomain);
    Twips::Move(txtServerIP, kFieldLeft, 1530, 3900, kRowHeight);
    lblPort =
        makeLabel(QStringLiteral("lblPort"), QStringLiteral("Port:"), frameOtherDomain, right);
    Twips::Move(lblPort, 5760, 1530, 660, kRowHeight);
    txtPort = makeText(QStringLiteral("txtPort"), frameOtherDomain);
    Twips::Move(txtPort, 6540, 1530, 1000, kRowHeight);
    lblPort->hide();
    txtPort->hide();

    chkDomainAutoIP = makeCheck(QStringLiteral("chkDomainAutoIP"),
                                QStringLiteral("Automatic IP Resolution"), frameOtherDomain);
    Twips::Move(chkDomainAutoIP, kFieldLeft, 1980, 3600, kRowHeight);

    const int buttonTop = kEditorHeight - 120 - kButtonHeight;
    cmdServerIP = new PictureButton(QStringLiteral("cmdServerIP"), QStringLiteral("Label5"),
                                    QStringLiteral("Update/Add"), frameOtherDomain);
    cmdServerIP->place(kLastButtonLeft - kButtonStep, buttonTop, kButtonWidth, kButtonHeight);
    cmdCancel = new PictureButton(QStringLiteral("cmdCancel"), QStringLiteral("Label6"),
                                  QStringLiteral("Cancel"), frameOtherDomain);
    cmdCancel->place(kLastButtonLeft, buttonTop, kButtonWidth, kButtonHeight);
    imgHelpDomain = makeHelp(QStringLiteral("imgHelpDomain"), frameOtherDomain);
    Twips::Move(imgHelpDomain, kLastButtonLeft - kButtonStep - 120 - kHelpSide,
                buttonTop + (kButtonHeight - kHelpSide) / 2, kHelpSide, kHelpSide);
}

void frmMain::buildAdvancedPanel(QWidget *central)
{
    frameAdvanced = makeFrame(QStringLiteral("frameAdvanced"), central);
    Twips::Move(frameAdvanced, kPanelLeft, m_panelTop, kPanelWidth, kAdvancedFreeHeight);
    frameAdvanced->hide();
    const Qt::Alignment right = Qt::AlignRight | Qt::AlignVCenter;

    // The connection choices on top: all that the short layout for accounts
    // with their own domains shows.
    constexpr int captionWidth = 2400;
    constexpr int fieldLeft = kLabelLeft + captionWidth + 120;
    Label16 = makeLabel(QStringLiteral("Label16"), QStringLiteral("Alternate Ports:"),
                        frameAdvanced, right);
    Twips::Move(Label16, kLabelLeft, kAdvancedRow1, captionWidth, kRowHeight);
    cboPorts = makeCombo(QStringLiteral("cboPorts"), frameAdvanced);
    Twips::Move(cboPorts, fieldLeft, kAdvancedRow1, 1100, kRowHeight);
    chkService =
        makeCheck(QStringLiteral("chkService"), QStringLiteral("Run as a Service"), frameAdvanced);
    Twips::Move(chkService, fieldLeft + 1400, kAdvancedRow1, 3000, kRowHeight);

    Label17 = makeLabel(QStringLiteral("Label17"), QStringLiteral("Refresh Rate (seconds):"),
                        frameAdvanced, right);
    Twips::Move(Label17, kLabelLeft, kAdvancedRow2, captionWidth, kRowHeight);
    cboRefreshRate = makeCombo(QStringLiteral("cboRefreshRate"), frameAdvanced);
    AdvancedPanel::KeepNumeric(cboRefreshRate);
    Twips::Move(cboRefreshRate, fieldLeft, kAdvancedRow2, 1100, kRowHeight);

    chkSSL =
        makeCheck(QStringLiteral("chkSSL"),
                  QStringLiteral("Use SSL Secure Update (May effect update speed)"), frameAdvanced);
    Twips::Move(chkSSL, fieldLeft, kAdvancedRow3, kPanelWidth - fieldLeft - 120, kRowHeight);

    // The free sub-domain's service shortcuts below, out of the short
    // layout's reach: two columns of four.
    const struct
    {
        QCheckBox **box;
        const char *name;
        const char *caption;
    } shortcuts[] = {
        {&chkFTP, "chkFTP", "FTP"},    {&chkWWW, "chkWWW", "WWW"},
        {&chkIRC, "chkIRC", "IRC"},    {&chkTelnet, "chkTelnet", "Telnet"},
        {&chkPCAW, "chkPCAW", "PCAW"}, {&chkVNC, "chkVNC", "VNC"},
        {&chkMail, "chkMail", "Mail"}, {&chkMX, "chkMX", "Add MX Record"},
    };
    constexpr int shortcutTop = kAdvancedDomainHeight + 60;
    constexpr int shortcutRow = 240;
    for (int i = 0; i < 8; ++i) {
        *shortcuts[i].box = makeCheck(QLatin1String(shortcuts[i].name),
                                      QLatin1String(shortcuts[i].caption), frameAdvanced);
        Twips::Move(*shortcuts[i].box, i < 4 ? fieldLeft : fieldLeft + 3000,
                    shortcutTop + (i % 4) * shortcutRow, 2900, shortcutRow);
    }

    cmdOKAdvanced = new PictureButton(QStringLiteral("cmdOKAdvanced"), QStringLiteral("Label18"),
                                      QStringLiteral("Done"), frameAdvanced);
    cmdOKAdvanced->place(kLastButtonLeft, kAdvancedFreeHeight - 450, kButtonWidth, kButtonHeight);
}
