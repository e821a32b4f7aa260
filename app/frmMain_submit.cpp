// frmMain: sending the editor's record, the free sub-domain's address and
// deletions to the service.
#include "frmMain.h"

#include "RuntimeError.h"
#include "Seams.h"
#include "TextRules.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QScopeGuard>

bool frmMain::SendUserCommand(const QString &domain, QString &host, const QString &command,
                              const QString &recordType, const QString &address, bool bAutoIP)
{
    const QString marksBefore = ProgramWide::sAutoIPList;
    const bool ok = basDNS::DNSTickler(domain, host, command, recordType, address, true, bAutoIP);
    if (!ok)
        return false;
    // The refresh's journal and saved marks follow the user's change at once.
    const clsUser &user = User();
    std::optional<QString> freeAddress;
    if (user.bVeltrioOnly && command == basDNS::RecordAdd)
        freeAddress = address;
    try {
        m_engine->RecordChangedByUser({domain, host, recordType, address}, marksBefore,
                                      ProgramWide::sAutoIPList, freeAddress);
    } catch (const std::exception &e) {
        basErr::LogOnly(QStringLiteral("frmMain.SaveSettings()"), RuntimeError::From(e));
    }
    return true;
}

void frmMain::cmdServerIP_Click()
{
    if (bServerIPBusy)
        return;
    bServerIPBusy = true;
    const auto done = qScopeGuard([this] { bServerIPBusy = false; });

    if (!ValidateRecord())
        return;
    const QString type = cboRecordType->currentText();
    // There is no "modify": a changed record is deleted and added again.
    // The address compares without regard to case, everything else exactly.
    const bool changed = sCurDomain.isEmpty() || txtCName->text() != sCurName ||
                         type != sCurRecordType || cboDomain->currentText() != sCurDomain ||
                         txtServerIP->text().toUpper() != sCurServerAddress.toUpper() ||
                         chkDomainAutoIP->isChecked() != bCurAutoIP || txtPort->text() != sCurPort;
    bool deleted = false;
    if (!sCurDomain.isEmpty() && changed) {
        QString host = sCurName;
        // The record as the service holds it: a relay's URL keeps its port.
        deleted = SendUserCommand(sCurDomain, host, basDNS::RecordDelete, sCurRecordType,
                                  sCurRecordValue, bCurAutoIP);
    }
    if (changed) {
        const QString typed = txtServerIP->text();
        if (type.toUpper() == QLatin1String("PORT RELAY")) {
            QString target = txtServerIP->text();
            txtServerIP->setText(basDNS::BuildRelayURL(target, txtPort->text()));
        }
        QString host = txtCName->text();
        if (!SendUserCommand(cboDomain->currentText(), host, basDNS::RecordAdd, type,
                             txtServerIP->text(), chkDomainAutoIP->isChecked())) {
            // The editor stays with what was typed, to send again; once the
            // old record is gone, that is an add.
            txtServerIP->setText(typed);
            if (deleted)
                ClearCurrentRecord();
            FillDomainUserGrid();
            return;
        }
    }
    ShowFrame(QStringLiteral("Grid"));
    FillDomainUserGrid();
}

void frmMain::cmdVeltrioSetIP_Click()
{
    if (bSetIPBusy)
        return;
    bSetIPBusy = true;
    const auto done = qScopeGuard([this] { bSetIPBusy = false; });

    if (!ValidateFreeDomainIP())
        return;
    clsUser &user = User();
    QString host = user.sUsername;
    SendUserCommand(user.sDomain, host, basDNS::RecordAdd, user.sRecordType, txtVeltrioIP->text(),
                    chkAutoIP->isChecked());
    if (user.sIPAddress != lblIPAddress->text())
        lblTimesIPChanged->setText(TextRules::Increment(lblTimesIPChanged->text()));
    lblIPAddress->setText(user.sIPAddress);
    // The box remembers the state it was last submitted with.
    const QString state = chkAutoIP->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
    if (chkAutoIP->property("tag").toString() != state) {
        lblTimesIPChanged->setText(TextRules::Increment(lblTimesIPChanged->text()));
        chkAutoIP->setProperty("tag", state);
    }
}

void frmMain::cmdDeleteGrid_Click()
{
    Trap(QStringLiteral("frmMain.cmdDeleteGrid_Click()"), [&] {
        if (GridRowCount() == 0) {
            Seams::MsgBox(
                QStringLiteral("There are no rows to delete. Please click on 'Add' button "
                               "add an entry before attempting to delete."));
            return;
        }
        const int row = SelectedRow();
        if (row < 0) {
            Seams::MsgBox(QStringLiteral("Please select a row"));
            return;
        }
        const QString crlf = QStringLiteral("\r\n");
        const QString question =
            QStringLiteral("Are you sure you want to delete the selected record?") + crlf + crlf +
            QStringLiteral("Domain: ") + GridText(row, 0) + crlf + QStringLiteral("Type: ") +
            GridText(row, 1) + crlf + QStringLiteral("Name: ") + GridText(row, 2) + crlf +
            QStringLiteral("Server Address: ") + GridText(row, 3) + crlf +
            QStringLiteral("AutoIP: ") + GridText(row, 4) + crlf;
        if (Seams::MsgBox(question, Seams::Buttons::YesNo, QStringLiteral("Veltrio")) !=
            Seams::Answer::Yes)
            return;
        if (bDeleteBusy)
            return;
        bDeleteBusy = true;
        const auto done = qScopeGuard([this] { bDeleteBusy = false; });
        LoadGridRecord();
        if (!sCurDomain.isEmpty()) {
            QString host = sCurName;
            SendUserCommand(sCurDomain, host, basDNS::RecordDelete, sCurRecordType,
                            sCurServerAddress, bCurAutoIP);
        }
        FillDomainUserGrid();
    });
}

void frmMain::ToggleShortcutCName(QCheckBox *chkShortcut, const QString &sName)
{
    const bool ticked = chkShortcut->isChecked();
    const QString domain = lblDomain->text();
    QString host = sName;
    const bool ok =
        basDNS::DNSTicklerAdvanced(domain, host, ticked ? basDNS::RecordAdd : basDNS::RecordDelete,
                                   QStringLiteral("CNAME"), domain, true);
    if (!ok) {
        // The box shows whether the record exists; putting it back must not
        // send anything.
        const bool loading = bLoadingFreeInfo;
        bLoadingFreeInfo = true;
        chkShortcut->setChecked(!ticked);
        bLoadingFreeInfo = loading;
    }
}
