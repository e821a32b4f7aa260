// The main window's automatic refresh, service shortcuts and tray against
// veltrio-service, with the service's public address changed between ticks.
#include "MainWindowTest.h"

#include "RefreshRules.h"
#include "RuntimeError.h"
#include "frmAbout.h"

#include <QMenu>
#include <QSystemTrayIcon>

using namespace Qt::StringLiterals;

class TestFrmMainRefresh : public MainWindowTest
{
    Q_OBJECT

    static inline const QString kTickler = u"FXN=DNSTickler&Usr=%1&Pwd=%1&Cname=%2&Domain=%3"
                                           "&DNSCommand=RECORD%4&RecordType=%5&IPAddress=%6"_s;

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
        QCOMPARE(w.lblLastRefresh->toolTip(), u"demo.dyn.veltrio.test set to 198.51.100.50"_s);

        // The same address again: nothing to send, nothing counted.
        m_service->clearRequests();
        QVERIFY(check(w));
        QCOMPARE(m_service->requests(), QStringList{u"FXN=GetIPAddress&Usr=demo"_s});
        QCOMPARE(w.lblTimesIPChanged->text(), changed);
    }

    void ownDomains_resendOnlyAutomaticRows()
    {
        frmMain &w =
            startDue("acme", {{"AutoIPs", kMailAuto + u"ACME-SHOP.TEST;;PORT RELAY;;SHOP;;"
                                                      "HTTP://203.0.113.7:8080/SHOP~~"_s}});
        QVERIFY(m_service->setPublicIp(kNew));
        // Busy in the editor: this check leaves the records alone.
        w.cmdAddGrid_Click();
        QVERIFY(check(w));
        QCOMPARE(sent(), QStringList());
        w.cmdCancel_Click();

        QVERIFY(check(w));
        const QString mail = kTickler.arg(u"acme"_s, u"mail"_s, u"acme.test"_s);
        const QString shop = kTickler.arg(u"acme"_s, u"shop"_s, u"acme-shop.test"_s);
        QCOMPARE(sent(),
                 (QStringList{
                     mail.arg("DELETE"_L1, "A"_L1, kOld), mail.arg("ADD"_L1, "A"_L1, kNew),
                     shop.arg("DELETE"_L1, "PORT RELAY"_L1, "Http://203.0.113.7:8080/shop"_L1),
                     shop.arg("ADD"_L1, "PORT RELAY"_L1, "http://198.51.100.50:8080/shop"_L1)}));
        QCOMPARE(m_seams->messages.size(), 0);
        // Both rows stay automatic at their new addresses: the next check sends nothing.
        const QAbstractItemModel *grid = w.lvDomainUser->model();
        QCOMPARE(grid->match(grid->index(0, 4), Qt::DisplayRole, u"Yes"_s, -1).size(), 2);
        m_service->clearRequests();
        QVERIFY(check(w));
        QCOMPARE(sent(), QStringList());
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

    // A check that found every automatic row at the address does not read
    // the rows again while they stay as they are; a row changed since is
    // sent at the next check, at the same address.
    void ownDomains_rowChangedSinceTheLastCheck_isSent()
    {
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        QVERIFY(check(w));
        QCOMPARE(sent(), QStringList());
        // The mail record moves elsewhere, still automatic, as the editor
        // moves it.
        QString host = u"mail"_s;
        QVERIFY(w.SendUserCommand(u"acme.test"_s, host, basDNS::RecordDelete, u"A"_s, kOld, true));
        QVERIFY(w.SendUserCommand(u"acme.test"_s, host, basDNS::RecordAdd, u"A"_s, u"192.0.2.77"_s,
                                  true));
        w.FillDomainUserGrid();
        m_service->clearRequests();
        QVERIFY(check(w));
        const QString mail = kTickler.arg(u"acme"_s, u"mail"_s, u"acme.test"_s);
        QCOMPARE(sent(), (QStringList{mail.arg("DELETE"_L1, "A"_L1, "192.0.2.77"_L1),
                                      mail.arg("ADD"_L1, "A"_L1, kOld)}));
    }
};

QTEST_MAIN(TestFrmMainRefresh)
#include "tst_frmmain_refresh.moc"
