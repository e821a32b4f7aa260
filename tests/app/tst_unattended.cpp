// The automatic refresh with nobody at the screen, against veltrio-service:
// no record is left deleted, and what the refresh did is told without a box
// to click.
#include "MainWindowTest.h"

#include "RuntimeError.h"

#include <QDir>
#include <QMessageBox>

using namespace Qt::StringLiterals;

class TestUnattended : public MainWindowTest
{
    Q_OBJECT

    QString logText() const
    {
        QString all;
        for (const QFileInfo &f : QDir(m_dir->filePath(u"Logs"_s)).entryInfoList(QDir::Files)) {
            QFile file(f.filePath());
            if (file.open(QIODevice::ReadOnly))
                all += QString::fromLocal8Bit(file.readAll());
        }
        return all;
    }

private slots:
    void init() { QVERIFY2(startService(), qPrintable(m_service->errorString())); }
    void cleanup() { tearDown(); }

    // Without a tray the outcome is one box that never waits for a click
    // and never stacks; the status panel says it too.
    void outcome_oneNonModalBox_noClickNeeded()
    {
        frmMain &w = startDue("demo");
        w.chkAutoIP->click();
        for (const QString &address : {kNew, u"198.51.100.51"_s}) {
            QVERIFY(m_service->setPublicIp(address));
            QVERIFY(check(w));
            QVERIFY(stateNames(u"demo"_s).contains(u"demo="_s + address));
        }
        QCOMPARE(m_seams->messages.size(), 0);
        const auto boxes = w.findChildren<QMessageBox *>(u"refreshBox"_s);
        QCOMPARE(boxes.size(), 1);
        QVERIFY(boxes[0]->isVisible() && boxes[0]->windowModality() == Qt::NonModal);
        QCOMPARE(boxes[0]->text(), u"demo.dyn.veltrio.test set to 198.51.100.51"_s);
        QCOMPARE(w.lblLastRefresh->text(), u"Updated 1 record"_s);
    }

    // A refused add after an accepted delete is owed, shown, and sent again
    // at the next due check, also after the program ended between the two
    // without saving (a crash).
    void failedAdd_isSentAgainUntilAccepted_data()
    {
        QTest::addColumn<bool>("restart");
        QTest::newRow("next check") << false;
        QTest::newRow("after a crash and a restart") << true;
    }
    void failedAdd_isSentAgainUntilAccepted()
    {
        QFETCH(bool, restart);
        frmMain *w = &startDue("acme", {{"AutoIPs", kMailAuto}});
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextReply(u"Error:Busy, try later</p>"_s, u"RECORDADD"_s));
        QVERIFY(check(*w));
        QVERIFY(!stateNames(u"acme"_s).join(u' ').contains(u"mail="_s));
        QCOMPARE(w->lblLastRefresh->text(), u"Pending: mail.acme.test"_s);
        QVERIFY(logText().contains(u"Busy, try later"_s));
        if (restart) {
            delete m_window; // no close check, nothing saved
            w = startWithSavedLogin(u"acme"_s);
            w->cboRefreshRate->setCurrentText(u"10"_s);
        }
        QVERIFY(check(*w));
        QVERIFY(stateNames(u"acme"_s).contains(u"mail="_s + kNew));
        QCOMPARE(rowNamed(*w, u"mail"_s) >= 0, true);
        QCOMPARE(readValue(userKey(u"acme"_s), "Replaces"), QString());
        // The record came back automatic: the next change moves it again.
        QVERIFY(m_service->setPublicIp(u"198.51.100.60"_s));
        QVERIFY(check(*w));
        QVERIFY(stateNames(u"acme"_s).contains(u"mail=198.51.100.60"_s));
    }

    // An add still owed ends when the user makes the record again by hand:
    // the next check does not add a second one beside it.
    void owedAdd_endsWhenTheUserMakesTheRecord()
    {
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextReply(u"Error:Busy, try later</p>"_s, u"RECORDADD"_s));
        QVERIFY(check(w));
        QCOMPARE(w.lblLastRefresh->text(), u"Pending: mail.acme.test"_s);
        w.cmdAddGrid_Click();
        w.cboDomain->setCurrentText(u"acme.test"_s);
        w.cboRecordType->setCurrentText(u"A"_s);
        w.txtCName->setText(u"mail"_s);
        w.txtServerIP->setText(u"192.0.2.99"_s);
        w.cmdServerIP_Click();
        m_service->clearRequests();
        QVERIFY(check(w));
        QCOMPARE(sent(), QStringList());
        QCOMPARE(stateNames(u"acme"_s).filter(u"mail="_s), QStringList{u"mail=192.0.2.99"_s});
        QCOMPARE(readValue(userKey(u"acme"_s), "Replaces"), QString());
    }

    // A reply that lacks the record list leaves the grid and the automatic
    // marks as they were, also in what is saved: the address query's, and
    // a check's record command's.
    void replyWithoutRecordList_keepsRowsAndMarks_data()
    {
        QTest::addColumn<QString>("match");
        QTest::newRow("address query") << u"GetIPAddress"_s;
        QTest::newRow("the check's add") << u"RECORDADD"_s;
    }
    void replyWithoutRecordList_keepsRowsAndMarks()
    {
        QFETCH(QString, match);
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        const int rows = w.lvDomainUser->model()->rowCount();
        if (match == u"RECORDADD"_s) {
            QVERIFY(m_service->setPublicIp(kNew));
            QVERIFY(m_service->setNextReply(u"SUCCESS</p>"_s, match));
        } else {
            QVERIFY(m_service->setNextReply(u"SUCCESS</p>IPAddress:203.0.113.7</p>"_s, match));
        }
        QVERIFY(check(w));
        QVERIFY(w.lvDomainUser->model()->rowCount() >= rows - 1);
        w.mnuLogout_Click();
        QTRY_VERIFY(m_window.isNull());
        QCOMPARE(readValue(userKey(u"acme"_s), "AutoIps").toUpper(), kMailAuto);
    }

    // Both refresh-rate boxes take digits only; an emptied box never gives a
    // tick an empty rate.
    void refreshRateBoxes_takeNumbersOnly()
    {
        frmMain &w = startDue("acme");
        auto *login = new frmLogin;
        for (QComboBox *box : {w.cboRefreshRate, login->cboRefreshRate}) {
            box->setCurrentText(u"30"_s);
            box->lineEdit()->selectAll();
            QTest::keyClicks(box->lineEdit(), u"4x5"_s);
            QCOMPARE(box->currentText(), u"45"_s);
            box->lineEdit()->selectAll();
            QTest::keyClick(box->lineEdit(), Qt::Key_Backspace);
            QCOMPARE(box->currentText(), QString());
        }
        delete login;
        // A tick while the box stands empty uses the last number.
        w.tmrAuto_Timer();
        QVERIFY(settled(&w));
        QCOMPARE(w.RefreshRateText(), u"45"_s);
        emit w.cboRefreshRate->lineEdit()->editingFinished();
        QCOMPARE(w.cboRefreshRate->currentText(), u"45"_s);
    }

    // The MX command names the sub-domain as its value; the address the
    // next replace deletes is still the sub-domain's own.
    void mxRecord_leavesTheSubDomainsAddress()
    {
        frmMain &w = startDue("demo");
        w.chkAutoIP->click();
        w.cmdAdvancedFree_Click();
        w.chkMX->click();
        QCOMPARE(User().sIPAddress, kOld);
        w.cmdOKAdvanced_Click();
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(check(w));
        const QStringList a = m_service->stateRecords(u"demo"_s).filter(u";;A;;"_s);
        QCOMPARE(a, QStringList{u"dyn.veltrio.test;;A;;demo;;"_s + kNew});
    }

    // An address reply that is no address never starts a replace: logged,
    // shown, and the records stay.
    void badAddressReply_leavesRecordsAlone()
    {
        frmMain &w = startDue("demo");
        w.chkAutoIP->click();
        const QStringList before = stateNames(u"demo"_s);
        QVERIFY(m_service->setNextReply(u"SUCCESS</p>IPAddress:198.51.100.77<script></p>"_s));
        QVERIFY(check(w));
        QCOMPARE(sent(), QStringList());
        QCOMPARE(w.lblLastRefresh->text(), u"Bad address reply ignored"_s);
        QVERIFY(logText().contains(u"198.51.100.77<script>"_s));
        QCOMPARE(w.lblIPAddress->text(), kOld);
        QVERIFY(check(w));
        QCOMPARE(stateNames(u"demo"_s), before);
    }

    // A record with a field no record can hold (5 MB) is left out with a line
    // in the log; the rest of the list shows, and the saved marks stay.
    void oversizedField_isLeftOut()
    {
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        const QString huge(5 << 20, u'x');
        QVERIFY(
            m_service->setNextReply(u"SUCCESS</p>IPAddress:203.0.113.7</p>DomainUserRecords:"
                                    "acme.test;;A;;mail;;203.0.113.7~~acme.test;;CNAME;;big;;"_s +
                                    huge + u"~~acme.test;;A;;web;;203.0.113.9</p>"_s));
        QVERIFY(check(w));
        QCOMPARE(w.lvDomainUser->model()->rowCount(), 2);
        QVERIFY(rowNamed(w, u"web"_s) >= 0);
        QVERIFY(logText().contains(u"1 record(s) with a field longer than a record can hold"_s));
        w.SaveSettings();
        QCOMPARE(readValue(userKey(u"acme"_s), "AutoIps").toUpper(), kMailAuto);
    }

    // What a hostile or broken service can do to an exchange, for the
    // background check and for a user's command (deleting "mail"): each ends
    // in a failed exchange or the error report, the window takes input again,
    // the records at the service and the saved automatic list stay.
    void faultMatrix_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<bool>("userCommand");
        for (const char *fault : {"silent", "trickle", "drop", "oversize", "empty", "malformed"}) {
            QTest::addRow("%s, check", fault) << QString::fromLatin1(fault) << false;
            QTest::addRow("%s, delete", fault) << QString::fromLatin1(fault) << true;
        }
    }
    void faultMatrix()
    {
        QFETCH(QString, fault);
        QFETCH(bool, userCommand);
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        basDNS::SetTransferTimeout(1500);
        QVERIFY(m_service->setPublicIp(kNew));
        const int rows = w.lvDomainUser->model()->rowCount();
        const bool armed =
            fault == "silent"_L1     ? m_service->setNextDelay(30000)
            : fault == "trickle"_L1  ? m_service->setNextTrickle(300)
            : fault == "drop"_L1     ? m_service->setNextDrop()
            : fault == "oversize"_L1 ? m_service->setNextReply(QString(10 << 20, u'x'))
            : fault == "empty"_L1    ? m_service->setNextReply(QString())
                                     : m_service->setNextReply(u"SUCCESS</p>DomainUserRecords:"
                                                               "acme.test;;A;;mail"_s);
        QVERIFY(armed);
        if (userCommand) {
            select(w, u"mail"_s);
            w.cmdDeleteGrid_Click();
            // The question, then the failed command's outcome or the error
            // report. (A service that acted and then failed to answer has
            // deleted the record all the same: that is the service's doing.)
            QCOMPARE(m_seams->messages.size(), 2);
            const QString outcome = m_seams->messages[1].text;
            QVERIFY2(outcome.startsWith(u"Could not Remove IP."_s) ||
                         outcome.startsWith(u"basDNS.DNSTickler()"_s),
                     qPrintable(outcome.left(80)));
        } else {
            w.tmrAuto_Timer();
        }
        QVERIFY(settled(&w));
        QVERIFY(w.isEnabled());
        if (!userCommand) {
            QCOMPARE(m_seams->messages.size(), 0);
            QCOMPARE(sent(), QStringList());
        }
        QCOMPARE(w.lvDomainUser->model()->rowCount(), rows);
        w.SaveSettings();
        QCOMPARE(readValue(userKey(u"acme"_s), "AutoIps").toUpper(), kMailAuto);
    }

    // The whole path as a user meets it: logged in, automatic on, rate 60,
    // then nobody at the screen. The window's own timer finds the new address
    // within 75 s; the record is replaced by a delete and an add back to
    // back, and nothing waits for a click.
    void endToEnd_nobodyAtTheScreen()
    {
        writeValues(kInit, {{"RefreshRate", u"60"_s}});
        writeValues(userKey(u"demo"_s), {{"bAutoIP", 1}});
        frmMain &w = *startWithSavedLogin(u"demo"_s);
        QCOMPARE(w.cboRefreshRate->currentText(), u"60"_s);
        m_seams->messages.clear();
        m_service->clearRequests();
        QVERIFY(m_service->setPublicIp(kNew));
        QTRY_VERIFY_WITH_TIMEOUT(stateNames(u"demo"_s).contains(u"demo="_s + kNew), 75000);
        QCOMPARE(m_seams->messages.size(), 0);
        const QString query = u"FXN=DNSTickler&Usr=demo&Pwd=demo&Cname=demo&Domain=dyn.veltrio.test"
                              "&DNSCommand=RECORD%1&RecordType=A&IPAddress=%2"_s;
        const QStringList requests = m_service->requests();
        const qsizetype removed = requests.indexOf(query.arg("DELETE"_L1, kOld));
        QVERIFY(removed > 0);
        QCOMPARE(requests.value(removed + 1), query.arg("ADD"_L1, kNew));
        QCOMPARE(w.lblIPAddress->text(), kNew);
    }
};

QTEST_MAIN(TestUnattended)
#include "tst_unattended.moc"
