// What the main window shows of the automatic refresh (the tray, the status
// panel, the box that needs no click), how the user's work and the refresh
// meet, and the service shortcuts, against veltrio-service. The refresh's
// decisions themselves are tst_refreshengine's.
#include "MainWindowTest.h"

#include "RefreshRules.h"
#include "RuntimeError.h"
#include "frmAbout.h"

#include <QDir>
#include <QMenu>
#include <QMessageBox>
#include <QSystemTrayIcon>

using namespace Qt::StringLiterals;

class TestFrmMainRefresh : public MainWindowTest
{
    Q_OBJECT

    static inline const QString kTickler = u"FXN=DNSTickler&Usr=%1&Pwd=%1&Cname=%2&Domain=%3"
                                           "&DNSCommand=RECORD%4&RecordType=%5&IPAddress=%6"_s;

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

    void freeAccount_followsTheAddressOnlyWhenAutomatic()
    {
        frmMain &w = startDue("demo");
        const QString changed = QString::number(w.lblTimesIPChanged->text().toInt() + 1);
        QVERIFY(m_service->setPublicIp(kNew));
        // Not automatic: the check is due and its time is shown, nothing is asked.
        QVERIFY(check(w));
        QCOMPARE(w.lblLastIPCheck->text(), u"11/22/26 2:05:09 pm"_s);
        QCOMPARE(m_service->requests(), QStringList());
        w.chkAutoIP->click();
        m_seams->messages.clear();
        QVERIFY(check(w));
        const QString query = kTickler.arg(u"demo"_s, u"demo"_s, u"dyn.veltrio.test"_s);
        QCOMPARE(sent(), (QStringList{query.arg("DELETE"_L1, "A"_L1, kOld),
                                      query.arg("ADD"_L1, "A"_L1, kNew)}));
        QCOMPARE(w.lblIPAddress->text(), kNew);
        QCOMPARE(w.txtVeltrioIP->text(), kNew);
        QCOMPARE(w.lblTimesIPChanged->text(), changed);
        // Nobody has to click anything for it: no box, the tray tells.
        QCOMPARE(m_seams->messages.size(), 0);
        // Below it, the address history, newest first.
        const QString entry = Seams::Now().toUTC().toString(Qt::ISODate) +
                              u" 203.0.113.7 -> 198.51.100.50: demo.dyn.veltrio.test A ok"_s;
        QCOMPARE(w.lblLastRefresh->toolTip(),
                 u"demo.dyn.veltrio.test set to 198.51.100.50\n\nAddress history, newest "
                 "first:\n"_s +
                     entry);

        // The same address again: nothing to send, nothing counted.
        m_service->clearRequests();
        QVERIFY(check(w));
        QCOMPARE(m_service->requests(), QStringList{u"FXN=GetIPAddress&Usr=demo"_s});
        QCOMPARE(w.lblTimesIPChanged->text(), changed);
    }

    void unreachableService_switchesTheTrayIcon()
    {
        frmMain &w = startDue("acme");
        const int rows = w.lvDomainUser->model()->rowCount();
        QVERIFY(w.cSysTrayOn->isVisible() && !w.cSysTrayOff->isVisible());
        m_service->stop();
        QVERIFY(check(w));
        QVERIFY(!w.cSysTrayOn->isVisible() && w.cSysTrayOff->isVisible());
        QCOMPARE(w.lvDomainUser->model()->rowCount(), rows);
        QCOMPARE(w.lblIPAddress->text(), kOld);

        QVERIFY(m_service->start(ServiceProcess::HttpOnly, kNew));
        ProgramWide::sServiceURL = m_service->scriptUrl().toString();
        QVERIFY(check(w));
        QVERIFY(w.cSysTrayOn->isVisible() && !w.cSysTrayOff->isVisible());
        QCOMPARE(w.lblIPAddress->text(), kNew);
    }

    // The check runs in the background: the tick returns at once and the
    // window takes the user's input while the service stays silent.
    void silentService_neverHoldsTheWindow_rateErrorNotCaught()
    {
        frmMain &w = startDue("acme");
        basDNS::SetTransferTimeout(1500);
        QVERIFY(m_service->setNextDelay(30000));
        w.tmrAuto_Timer();
        QVERIFY(!w.Engine().Idle() && w.isEnabled());
        w.cmdAddGrid_Click();
        QVERIFY(w.frameOtherDomain->isVisible());
        QVERIFY(settled(&w));
        QCOMPARE(w.lblStatus->text(), u"Not Connected with Server"_s);
        // A rate that is no number is not caught here.
        w.cboRefreshRate->addItem(u"abc"_s);
        w.cboRefreshRate->setCurrentText(u"abc"_s);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, w.tmrAuto_Timer());
    }

    // A check that falls due while the user's delete waits for a slow
    // service runs after it, and does not bring the record back.
    void userDelete_isNotUndoneByADueCheck()
    {
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        QVERIFY(m_service->setPublicIp(kNew));
        select(w, u"mail"_s);
        QVERIFY(m_service->setNextDelay(1500));
        QTimer::singleShot(300, &w, [&] { w.tmrAuto_Timer(); });
        w.cmdDeleteGrid_Click();
        QVERIFY(settled(&w));
        QCOMPARE(
            sent(),
            QStringList{
                kTickler.arg(u"acme"_s, u"mail"_s, u"acme.test"_s).arg("DELETE"_L1, "A"_L1, kOld)});
        QVERIFY(!stateNames(u"acme"_s).join(u' ').contains(u"mail="_s));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 1);
    }

    // The delete question left open across a due check: the grid keeps the
    // row the question is about, and Yes deletes it.
    void deleteQuestion_openAcrossADueCheck_stillDeletes()
    {
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        QVERIFY(m_service->setPublicIp(kNew));
        select(w, u"www"_s);
        m_seams->during = [&](const TestSeams::Shown &box) {
            if (box.buttons == Seams::Buttons::YesNo) {
                w.tmrAuto_Timer();
                QTest::qWait(300);
            }
        };
        w.cmdDeleteGrid_Click();
        QVERIFY(settled(&w));
        QCOMPARE(sent().value(0), kTickler.arg(u"acme"_s, u"www"_s, u"acme.test"_s)
                                      .arg("DELETE"_L1, "CNAME"_L1, "acme.test"_L1));
        QVERIFY(!stateNames(u"acme"_s).contains(u"www=acme.test"_s));
        // The deferred check ran after the question, on the rows left.
        QVERIFY(stateNames(u"acme"_s).contains(u"mail="_s + kNew));
    }

    // Closing and logging off take the free sub-domain down; a check that
    // falls due meanwhile (its box up, or the login window) never puts it
    // back, and no check runs until the next login.
    void freeRecordTakenDown_staysDown_data()
    {
        QTest::addColumn<bool>("logOff");
        QTest::newRow("File > Exit, check during the removal's box") << false;
        QTest::newRow("Log Off, check while the login window is up") << true;
    }
    void freeRecordTakenDown_staysDown()
    {
        QFETCH(bool, logOff);
        frmMain &w = startDue("demo");
        w.chkAutoIP->click();
        QVERIFY(m_service->setPublicIp(kNew));
        bool tickingAtLogin = true;
        m_onLogin = [&](frmLogin *login) {
            tickingAtLogin = w.tmrAuto->isActive();
            w.tmrAuto_Timer();
            QTest::qWait(300);
            login->cmdExit_Click();
        };
        m_seams->during = [&](const TestSeams::Shown &box) {
            if (!logOff && box.text.startsWith(u"Transaction Complete"_s)) {
                w.tmrAuto_Timer();
                QTest::qWait(300);
            }
        };
        if (logOff)
            w.mnuLogin_Click();
        else
            w.mnuLogout_Click();
        QTRY_VERIFY(m_window.isNull());
        QVERIFY(settled(nullptr));
        QCOMPARE(m_loginShown, logOff);
        if (logOff)
            QVERIFY(!tickingAtLogin);
        QCOMPARE(stateNames(u"demo"_s), QStringList());
        QVERIFY(sent("RECORDADD").isEmpty());
    }

    // Exit from the tray menu waits until the icon's event is over: the
    // window goes afterwards, with its settings saved.
    void trayMenuExit_unloadsAfterTheIconsEvent()
    {
        frmMain &w = startDue("acme");
        QTimer::singleShot(100, &w, [&] {
            w.mnuPopupExit->trigger();
            w.mnuPopup->close();
        });
        emit w.cSysTrayOn->activated(QSystemTrayIcon::Context);
        QVERIFY(Windows::Find(u"frmMain"_s));
        QTRY_VERIFY(m_window.isNull());
        QVERIFY(Windows::Loaded().isEmpty());
        QCOMPARE(readValue(kInit, "bSaveLogin"), u"1"_s);
        QCOMPARE(readValue(userKey(u"acme"_s), "SortCol"), u"0"_s);
    }

    void shortcuts_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<bool>("refused");
        QTest::newRow("www") << u"chkWWW"_s << false;
        QTest::newRow("www refused") << u"chkWWW"_s << true;
        QTest::newRow("mx") << u"chkMX"_s << false;
        QTest::newRow("mx refused") << u"chkMX"_s << true;
    }
    void shortcuts()
    {
        QFETCH(QString, box);
        QFETCH(bool, refused);
        frmMain &w = startDue("demo");
        auto *check = w.findChild<QCheckBox *>(box);
        const bool mx = box == "chkMX"_L1;
        const QString query =
            mx ? u"FXN=DNSTickler&Usr=demo&Pwd=demo&Cname=demo&Domain=dyn.veltrio.test"
                 "&DNSCommand=%1&RecordType=MX 1&IPAddress=demo.dyn.veltrio.test"_s
               : u"FXN=DNSTicklerAdvanced&Usr=demo&Pwd=demo&Cname=WWW.demo&Domain="
                 "demo.dyn.veltrio.test&DNSCommand=%1&RecordType=CNAME&IPAddress="
                 "demo.dyn.veltrio.test"_s;
        w.cmdAdvancedFree_Click();
        m_seams->messages.clear();
        if (refused)
            QVERIFY(m_service->setNextReply(u"Error:No such host</p>"_s));
        check->click();
        QCOMPARE(sent(), QStringList{query.arg("RECORDADD"_L1)});
        // A refusal springs the box back without sending anything.
        QCOMPARE(check->isChecked(), !refused);
        if (refused) {
            QCOMPARE(m_seams->messages.size(), mx ? 0 : 1);
            return;
        }
        check->click();
        QCOMPARE(sent(), (QStringList{query.arg("RECORDADD"_L1), query.arg("RECORDDELETE"_L1)}));
        QVERIFY(!check->isChecked());
        if (mx)
            QCOMPARE(m_seams->texts(), (QStringList{u"Transaction Complete:MX Record Set"_s,
                                                    u"Transaction Complete:MX Record Removed"_s}));
    }

    void shortcuts_fillingThePanelSendsNothing()
    {
        writeValues(userKey(u"demo"_s), {{"bWWW", 1}, {"bMX", 1}, {"bFTP", 1}});
        frmMain &w = *startWithSavedLogin(u"demo"_s);
        QVERIFY(w.chkWWW->isChecked() && w.chkMX->isChecked() && w.chkFTP->isChecked());
        w.cmdAdvancedFree_Click();
        w.cmdAdvancedFree_Click();
        QCOMPARE(w.chkWWW->text(), u"www.demo.dyn.veltrio.test"_s);
        // The login's own two requests for the sub-domain, nothing for the boxes.
        QCOMPARE(sent().size(), 2);
    }

    void tray_showRestoresTheSavedState_exitWaitsForTheMenu()
    {
        frmMain &w = startDue("acme", {{"WindowState", 2}});
        w.mnuPopupHide->trigger();
        QVERIFY(!w.isVisible());
        // The about box comes first; the window stays where it is.
        auto *about = new frmAbout;
        about->show();
        w.mnuPopupShow->trigger();
        QVERIFY(!w.isVisible());
        delete about;
        w.mnuPopupShow->trigger();
        QVERIFY(w.isVisible() && (w.windowState() & Qt::WindowMaximized));
        // Exit from the menu waits until the menu has closed.
        w.mnuPopupExit->trigger();
        QVERIFY(m_window);
        w.cSysTrayOn_MouseUp(1);
        QTRY_VERIFY(m_window.isNull());
        QVERIFY(Windows::Loaded().isEmpty());
    }

    void minimise_hidesOnlyWithATray()
    {
        frmMain &w = startDue("acme");
        w.SetTrayAvailable(false);
        w.showMinimized();
        QCoreApplication::processEvents();
        QVERIFY(w.isVisible());
        w.showNormal();
        w.SetTrayAvailable(true);
        w.showMinimized();
        QTRY_VERIFY(!w.isVisible());
    }

    // The up-time is shown, and ticks, only while the window is: hidden in
    // the tray only the refresh goes on, and the window that comes back
    // shows the time at once.
    void upTime_onlyWhileShown_data()
    {
        QTest::addColumn<bool>("minimise");
        QTest::newRow("tray menu Hide") << false;
        QTest::newRow("minimised with a tray") << true;
    }
    void upTime_onlyWhileShown()
    {
        QFETCH(bool, minimise);
        frmMain &w = startDue("acme");
        QVERIFY(w.tmrTimes->isActive());
        QCOMPARE(w.lblUpTime->text(), u"0 Days  00:00:00"_s);
        if (minimise) {
            w.SetTrayAvailable(true);
            w.showMinimized();
        } else {
            w.mnuPopupHide->trigger();
        }
        QTRY_VERIFY(!w.isVisible());
        QVERIFY(!w.tmrTimes->isActive());
        QVERIFY(w.tmrAuto->isActive());
        m_seams->now = m_seams->now.addSecs(2 * 86400 + 3725);
        w.mnuPopupShow->trigger();
        QVERIFY(w.isVisible() && w.tmrTimes->isActive());
        QCOMPARE(w.lblUpTime->text(), u"2 Days  01:02:05"_s);
    }

    // On the system's clock the up-time is counted on a steady clock: the
    // caption is the one the start time gives.
    void upTime_systemClock_asTheStartTimeGives()
    {
        Seams::reset();
        frmMain &w = startDue("acme");
        const auto fromStartTime = [] {
            const QDateTime start = QDateTime::fromString(ProgramWide::sStartTime, Qt::ISODate);
            return RefreshRules::UpTimeCaption(start.secsTo(QDateTime::currentDateTime()));
        };
        QTest::qWait(1100);
        const QString before = fromStartTime();
        w.ShowUpTime();
        const QString shown = w.lblUpTime->text();
        QVERIFY2(shown == before || shown == fromStartTime(), qPrintable(shown));
        QVERIFY(shown != u"0 Days  00:00:00"_s);
    }

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
};

QTEST_MAIN(TestFrmMainRefresh)
#include "tst_frmmain_refresh.moc"
