#include "frmAbout.h"

#include "Foreground.h"

#include "PictureButton.h"
#include "Seams.h"
#include "ServiceConfig.h"
#include "Twips.h"
#include "Version.h"
#include "Windows.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QFrame>
#include <QLabel>
#include <QPointer>
#include <QProcess>
#include <QSettings>

namespace {
constexpr int kWidth = 6000;
constexpr int kMargin = 240;
} // namespace

frmAbout::frmAbout(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    Windows::Track(this);
    const int inner = kWidth - 2 * kMargin;

    Image1 = new LogoLabel(QStringLiteral("Image1"), this);
    Twips::Move(Image1, kMargin, kMargin, 2700, 720);

    lblTitle = new QLabel(this);
    lblTitle->setObjectName(QStringLiteral("lblTitle"));
    lblTitle->setWordWrap(true);
    lblTitle->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    Twips::Move(lblTitle, kMargin, 1140, inner, 1020);

    Line1 = new QFrame(this);
    Line1->setObjectName(QStringLiteral("Line1"));
    Line1->setFrameShape(QFrame::HLine);
    Line1->setFrameShadow(QFrame::Sunken);
    Twips::Move(Line1, kMargin, 2280, inner, 30);

    Label1 =
        new CaptionLabel(QStringLiteral("Label1"),
                         QStringLiteral("Click here to view the Veltrio Terms of Service"), this);
    Label1->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    MakeLink(Label1);
    Twips::Move(Label1, kMargin, 2430, inner, 330);
    connect(Label1, &CaptionLabel::clicked, this, &frmAbout::Label1_Click);

    cmdOK = new PictureButton(QStringLiteral("cmdOK"), QStringLiteral("Label2"),
                              QStringLiteral("OK"), this);
    cmdOK->place(kWidth - kMargin - 1440, 2940, 1440, 450);
    Label2 = cmdOK->label();
    connect(cmdOK, &QPushButton::clicked, this, &frmAbout::cmdOK_Click);
    connect(Label2, &CaptionLabel::clicked, this, &frmAbout::Label2_Click);
    // The box opens on OK: Return closes it, Tab reaches the link.
    cmdOK->setDefault(true);
    cmdOK->setFocus();

    setFixedSize(Twips::ToPixels(kWidth), Twips::ToPixels(2940 + 450 + kMargin));
    Form_Load();
}

frmAbout::~frmAbout() = default;

void frmAbout::ShowModal(QWidget *parent)
{
    QPointer<frmAbout> box = new frmAbout(parent);
    {
        const Foreground::Scope modal;
        box->exec();
    }
    // Closed some other way than OK (Escape): still unloaded.
    if (box)
        Windows::Unload(box);
}

void frmAbout::Form_Load()
{
    setWindowTitle(QStringLiteral("About Veltrio DNS App"));
    lblTitle->setText(
        QStringLiteral("Veltrio Dynamic DNS Version ") + Version::MajorMinor() +
        QStringLiteral(" Rev ") + QString::number(Version::Revision()) + QLatin1Char('\n') +
        QStringLiteral("Copyright (c) Veltrio. All rights reserved.") + QLatin1Char('\n') +
        QStringLiteral("Keeps your Veltrio DNS records pointed at this computer."));
}

void frmAbout::cmdOK_Click()
{
    Windows::Unload(this);
}

void frmAbout::Label2_Click()
{
    cmdOK_Click();
}

void frmAbout::Label1_Click()
{
    Seams::ShellOpen(Config().WebSitePage(QStringLiteral("/tos.asp")));
}

void frmAbout::closeEvent(QCloseEvent *event)
{
    QDialog::closeEvent(event);
    if (event->isAccepted())
        Windows::Release(this);
}

void frmAbout::StartSysInfo()
{
    QString sysInfoPath;
    try {
        if (!GetKeyValue(kLocalMachine, QStringLiteral("SOFTWARE\\Microsoft\\Shared Tools\\MSINFO"),
                         QStringLiteral("PATH"), sysInfoPath)) {
            if (!GetKeyValue(kLocalMachine,
                             QStringLiteral("SOFTWARE\\Microsoft\\Shared Tools Location"),
                             QStringLiteral("MSINFO"), sysInfoPath))
                sysInfoPath.clear();
            else if (QFileInfo::exists(sysInfoPath + QStringLiteral("\\MSINFO32.EXE")))
                sysInfoPath += QStringLiteral("\\MSINFO32.EXE");
            else
                sysInfoPath.clear();
        }
        if (!sysInfoPath.isEmpty() && QProcess::startDetached(sysInfoPath, {}))
            return;
    } catch (const std::exception &) {
    }
    Seams::MsgBox(QStringLiteral("System Information Is Unavailable At This Time"));
}

bool frmAbout::GetKeyValue(qint64 KeyRoot, const QString &KeyName, const QString &SubKeyRef,
                           QString &KeyVal)
{
    KeyVal.clear();
#ifdef Q_OS_WIN
    const QString hive = KeyRoot == kLocalMachine ? QStringLiteral("HKEY_LOCAL_MACHINE")
                                                  : QStringLiteral("HKEY_CURRENT_USER");
    QSettings key(hive + QLatin1Char('\\') + KeyName, QSettings::NativeFormat);
    if (key.status() != QSettings::NoError || !key.contains(SubKeyRef))
        return false;
    const QVariant value = key.value(SubKeyRef);
    if (value.typeId() == QMetaType::Int || value.typeId() == QMetaType::UInt)
        KeyVal = NumberValueText(value.toUInt());
    else
        KeyVal = value.toString();
    return true;
#else
    // No registry on this platform: the lookup fails like a missing key.
    Q_UNUSED(KeyRoot)
    Q_UNUSED(KeyName)
    Q_UNUSED(SubKeyRef)
    return false;
#endif
}

QString frmAbout::NumberValueText(quint32 value)
{
    QList<quint8> bytes;
    for (int i = 0; i < 4; ++i)
        bytes.append(quint8(value >> (8 * i)));
    if (bytes.last() == 0)
        bytes.removeLast();
    QString hex;
    for (auto it = bytes.crbegin(); it != bytes.crend(); ++it)
        hex += QString::number(*it, 16).toUpper();
    return QString::number(qint32(hex.toUInt(nullptr, 16)));
}
