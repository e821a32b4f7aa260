// frmMain: the record editor and the switches between the panels.
#include "frmMain.h"

#include "Seams.h"
#include "TextRules.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>

namespace {

const QString kPortRelay = QStringLiteral("PORT RELAY");

bool isPortRelay(const QString &type)
{
    return type.toUpper() == kPortRelay;
}

void message(const QString &text)
{
    Seams::MsgBox(text, Seams::Buttons::Ok, QStringLiteral("Veltrio"));
}

} // namespace

void frmMain::ClearCurrentRecord()
{
    // The name is left as it was on purpose: loading a row overwrites it.
    sCurDomain.clear();
    sCurRecordType.clear();
    sCurServerAddress.clear();
    sCurRecordValue.clear();
    sCurPort.clear();
    bCurAutoIP = false;
}

void frmMain::LoadGridRecord()
{
    Trap(QStringLiteral("frmMain.LoadGridRecord()"), [&] {
        ClearCurrentRecord();
        const int row = SelectedRow();
        if (row >= 0) {
            sCurDomain = GridText(row, 0);
            sCurRecordType = GridText(row, 1);
            sCurName = GridText(row, 2);
            sCurServerAddress = GridText(row, 3);
            sCurRecordValue = sCurServerAddress;
            bCurAutoIP = GridText(row, 4).toUpper() == QLatin1String("YES");
            if (sCurName == QLatin1String("Root"))
                sCurName = QStringLiteral("@");
        }
    });
}

void frmMain::EditGrid()
{
    Trap(QStringLiteral("frmMain.EditGrid()"), [&] {
        if (SelectedRow() < 0) {
            Seams::MsgBox(QStringLiteral("Please select a row"));
            return;
        }
        LoadGridRecord();
        if (sCurDomain.isEmpty()) {
            Seams::MsgBox(QStringLiteral("There are no rows to edit. Please click on 'Add' button "
                                         "add more entries."));
            return;
        }
        cboDomain->setCurrentText(sCurDomain);
        cboRecordType->setCurrentText(sCurRecordType);
        if (isPortRelay(sCurRecordType)) {
            QString host, port, path;
            basDNS::SplitRelayURL(sCurServerAddress, host, port, path);
            txtServerIP->setText(QStringLiteral("http://") + host + path);
            sCurServerAddress = txtServerIP->text();
            txtPort->setText(port);
            sCurPort = txtPort->text();
        } else {
            txtServerIP->setText(sCurServerAddress);
        }
        txtCName->setText(sCurName);
        chkDomainAutoIP->setChecked(bCurAutoIP);
        ShowFrame(QStringLiteral("Domain"));
        // An edit most often points the record elsewhere.
        txtServerIP->setFocus();
        txtServerIP->selectAll();
    });
}

void frmMain::cmdEditGrid_Click()
{
    EditGrid();
}

void frmMain::cmdAddGrid_Click()
{
    ClearCurrentRecord();
    FillRecordTypes();
    txtCName->clear();
    txtServerIP->clear();
    txtPort->clear();
    chkDomainAutoIP->setChecked(false);
    ShowFrame(QStringLiteral("Domain"));
    // The domain and the type come filled in with the first of their lists.
    txtCName->setFocus();
}

void frmMain::cmdCancel_Click()
{
    ShowFrame(QStringLiteral("Grid"));
    FillDomainUserGrid();
}

void frmMain::cmdAdvancedDomain_Click()
{
    ShowFrame(QStringLiteral("AdvancedDomain"));
}

void frmMain::cmdAdvancedFree_Click()
{
    const QString domain = lblDomain->text();
    const std::pair<QCheckBox *, const char *> prefixes[] = {
        {chkFTP, "ftp."}, {chkMail, "mail."}, {chkTelnet, "telnet."}, {chkVNC, "vnc."},
        {chkWWW, "www."}, {chkIRC, "irc."},   {chkPCAW, "pcaw."}};
    for (const auto &[box, prefix] : prefixes)
        box->setText(QLatin1String(prefix) + domain);
    ShowFrame(QStringLiteral("AdvancedFree"));
}

void frmMain::cmdOKAdvanced_Click()
{
    ShowFrame(User().bVeltrioOnly ? QStringLiteral("Veltrio") : QStringLiteral("Grid"));
}

void frmMain::cboRecordType_Click()
{
    lblServerAddress->setText(QStringLiteral("Pointing To:"));
    if (isPortRelay(cboRecordType->currentText())) {
        txtPort->show();
        lblPort->show();
        txtServerIP->setText(QStringLiteral("http://"));
    } else {
        txtPort->hide();
        lblPort->hide();
    }
}

void frmMain::chkDomainAutoIP_Click()
{
    if (!chkDomainAutoIP->isChecked())
        return;
    const QString address = lblIPAddress->text();
    txtServerIP->setText(
        isPortRelay(cboRecordType->currentText()) ? QStringLiteral("http://") + address : address);
}

void frmMain::chkAutoIP_Click()
{
    if (chkAutoIP->isChecked())
        txtVeltrioIP->setText(lblIPAddress->text());
}

void frmMain::IsValidIPAddress(const QString &sIP, bool &bValid)
{
    bValid = basDNS::IsValidIPAddress(sIP);
}

bool frmMain::ValidateFreeDomainIP()
{
    if (TextRules::Trim(txtVeltrioIP->text()).isEmpty()) {
        Seams::MsgBox(QStringLiteral("IP Address must be filled in"));
        return false;
    }
    bool valid = false;
    IsValidIPAddress(txtVeltrioIP->text(), valid);
    if (!valid) {
        Seams::MsgBox(QStringLiteral("Invalid IP address"));
        return false;
    }
    return true;
}

bool frmMain::ValidateRecord()
{
    // The first five checks report and fall through to the name rewrite at
    // the end; the port-relay checks leave at once.
    bool ok = true;
    const QString type = cboRecordType->currentText();
    auto invalidAddress = [this] {
        bool valid = false;
        IsValidIPAddress(txtServerIP->text(), valid);
        return !valid;
    };
    if (TextRules::Trim(cboDomain->currentText()).isEmpty()) {
        message(QStringLiteral("Domain must be filled in"));
        ok = false;
    } else if (TextRules::Trim(type).isEmpty()) {
        message(QStringLiteral("Record Type must be filled in"));
        ok = false;
    } else if (txtCName->text().contains(QLatin1Char('.'))) {
        message(QStringLiteral("Invalid Name.  No Dots allowed."));
        ok = false;
    } else if (TextRules::Trim(txtServerIP->text()).isEmpty()) {
        message(QStringLiteral("IP Address must be filled in"));
        ok = false;
    } else if (type == QLatin1String("A") && invalidAddress()) {
        message(QStringLiteral("Invalid IP address"));
        ok = false;
    } else if (isPortRelay(type)) {
        txtServerIP->setText(txtServerIP->text().replace(QLatin1Char('\\'), QLatin1Char('/')));
        const QString address = txtServerIP->text();
        if (!address.toUpper().startsWith(QLatin1String("HTTP://"))) {
            message(QStringLiteral("Invalid Relay Address.  Must Begin with HTTP://"));
            return false;
        }
        if (address.size() < 9 || address.at(7) == QLatin1Char('/')) {
            message(QStringLiteral("Invalid Relay Address."));
            return false;
        }
        const QString port = txtPort->text();
        if (!port.isEmpty() && !TextRules::IsNumeric(port)) {
            message(QStringLiteral("Port must be numeric."));
            return false;
        }
        if (!port.isEmpty()) {
            const double value = TextRules::ToDouble(port);
            if (value < 0 || value > 9999) {
                message(QStringLiteral("Invalid Port. Must be between 0 and 9999"));
                return false;
            }
        }
        if (address.indexOf(QLatin1Char(':'), 7) >= 0) {
            message(QStringLiteral("Invalid Relay Address. No colons allowed."));
            return false;
        }
    }
    if (txtCName->text().toUpper() == QLatin1String("ROOT"))
        txtCName->setText(QStringLiteral("@"));
    return ok;
}
