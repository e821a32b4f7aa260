// What the main window shows of the automatic refresh, how the user's work and
// a due check meet, and the service shortcuts; decisions are tst_refreshengine's.
#include "MainWindowTest.h"

#include <QMenu>
#include <QMessageBox>
#include <QSystemTrayIcon>

using namespace Qt::StringLiterals;

class TestFrmMainRefresh : public MainWindowTest
{
    Q_OBJECT

private slots:
    void init() { QVERIFY2(startService(), qPrintable(m_service->errorString())); }
    void cleanup() { tearDown(); }

    // Without a tray the outcome is one box that never waits and never stacks.
    void freeAccount_followsTheAddressOnlyWhenAutomatic()
    {
        frmMain &w = startDue("demo");
        const int changed = w.lblTimesIPChanged->text().toInt();
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(check(w));
        QCOMPARE(w.lblLastIPCheck->text(), u"11/22/26 2:05:09 pm"_s);
        QCOMPARE(m_service->requests(), QStringList());
        w.chkAutoIP->click();
        m_seams->messages.clear();
        for (const QString &address : {kNew, u"198.51.100.51"_s}) {
            QVERIFY(m_service->setPublicIp(address));
            QVERIFY(check(w));
            QVERIFY(stateNames(u"demo"_s).contains(u"demo="_s + address));
            QCOMPARE(w.lblIPAddress->text(), address);
            QCOMPARE(w.txtVeltrioIP->text(), address);
        }
        QCOMPARE(m_seams->messages.size(), 0);
        const auto boxes = w.findChildren<QMessageBox *>(u"refreshBox"_s);
        QCOMPARE(boxes.size(), 1);
        QVERIFY(boxes[0]->isVisible() && boxes[0]->windowModality() == Qt::NonModal);
        QCOMPARE(boxes[0]->text(), u"demo.dyn.veltrio.test set to 198.51.100.51"_s);
        QCOMPARE(w.lblLastRefresh->text(), u"Updated 1 record"_s);
        // Below the outcome, the address history, newest first.
        const QString at = Seams::Now().toUTC().toString(Qt::ISODate);
        QCOMPARE(
            w.lblLastRefresh->toolTip(),
            u"demo.dyn.veltrio.test set to 198.51.100.51\n\nAddress history, newest first:\n"_s +
                at + u" 198.51.100.50 -> 198.51.100.51: demo.dyn.veltrio.test A ok\n"_s + at +
                u" 203.0.113.7 -> 198.51.100.50: demo.dyn.veltrio.test A ok"_s);
        // The same address again: nothing to send, nothing counted.
        m_service->clearRequests();
        QVERIFY(check(w));
        QCOMPARE(m_service->requests(), QStringList{u"FXN=GetIPAddress&Usr=demo"_s});
        QCOMPARE(w.lblTimesIPChanged->text(), QString::number(changed + 2));
    }

    // The check runs in the background; failed, it leaves rows and marks and switches
    // the tray icon, until one gets through and its rows show. (Faults: tst_protocol's.)
    void silentService_switchesTheTrayIcon()
    {
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        basDNS::SetTransferTimeout(1500);
        const int rows = w.lvDomainUser->model()->rowCount();
        QVERIFY(w.cSysTrayOn->isVisible() && !w.cSysTrayOff->isVisible());
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextDelay(30000));
        w.tmrAuto_Timer();
        QVERIFY(!w.Engine().Idle() && w.isEnabled());
        QVERIFY(settled(&w));
        QCOMPARE(w.lblStatus->text(), u"Not Connected with Server"_s);
        QVERIFY(!w.cSysTrayOn->isVisible() && w.cSysTrayOff->isVisible());
        QCOMPARE(m_seams->messages.size(), 0);
        QCOMPARE(sent(), QStringList());
        QCOMPARE(w.lvDomainUser->model()->rowCount(), rows);
        QCOMPARE(w.lblIPAddress->text(), kOld);
        w.SaveSettings();
        QCOMPARE(readValue(userKey(u"acme"_s), "AutoIps").toUpper(), kMailAuto);
        QVERIFY(check(w));
        QVERIFY(w.cSysTrayOn->isVisible() && !w.cSysTrayOff->isVisible());
        QCOMPARE(w.lblIPAddress->text(), kNew);
        QCOMPARE(w.lvDomainUser->model()->index(rowNamed(w, u"mail"_s), 3).data().toString(), kNew);
    }

    // A check due during the user's delete runs after it, and does not undo it.
    void userDelete_dueCheckRunsAfterIt_data()
    {
        QTest::addColumn<bool>("duringQuestion");
        QTest::newRow("while the question is up") << true;
        QTest::newRow("while the delete waits for a slow service") << false;
    }
    void userDelete_dueCheckRunsAfterIt()
    {
        QFETCH(bool, duringQuestion);
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        QVERIFY(m_service->setPublicIp(kNew));
        select(w, u"mail"_s);
        if (duringQuestion) {
            m_seams->during = [&](const TestSeams::Shown &box) {
                if (box.buttons == Seams::Buttons::YesNo) {
                    w.tmrAuto_Timer();
                    QTest::qWait(300);
                }
            };
        } else {
            QVERIFY(m_service->setNextDelay(1500));
            QTimer::singleShot(300, &w, [&] { w.tmrAuto_Timer(); });
        }
        w.cmdDeleteGrid_Click();
        QVERIFY(settled(&w));
        QCOMPARE(sent(), QStringList{u"FXN=DNSTickler&Usr=acme&Pwd=acme&Cname=mail&Domain=acme.test"
                                     "&DNSCommand=RECORDDELETE&RecordType=A&IPAddress="_s +
                                     kOld});
        QVERIFY(!stateNames(u"acme"_s).join(u' ').contains(u"mail="_s));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 1);
    }

    // A check due while the free record's removal box is up never puts it back.
    void exit_freeRecordStaysDown()
    {
        frmMain &w = startDue("demo");
        w.chkAutoIP->click();
        QVERIFY(m_service->setPublicIp(kNew));
        m_seams->during = [&](const TestSeams::Shown &box) {
            if (box.text.startsWith(u"Transaction Complete"_s)) {
                w.tmrAuto_Timer();
                QTest::qWait(300);
            }
        };
        w.mnuLogout_Click();
        QTRY_VERIFY(m_window.isNull());
        QVERIFY(settled(nullptr));
        QCOMPARE(stateNames(u"demo"_s), QStringList());
        QVERIFY(sent("RECORDADD").isEmpty());
    }

    // Hidden, only the refresh goes on; Exit waits until the icon's event is over.
    void trayMenu_showAndExit()
    {
        frmMain &w = startDue("acme", {{"WindowState", 2}});
        w.mnuPopupHide->trigger();
        QVERIFY(!w.isVisible());
        QVERIFY(!w.tmrTimes->isActive() && w.tmrAuto->isActive());
        m_seams->now = m_seams->now.addSecs(2 * 86400 + 3725);
        w.mnuPopupShow->trigger();
        QVERIFY(w.isVisible() && (w.windowState() & Qt::WindowMaximized));
        QVERIFY(w.tmrTimes->isActive());
        QCOMPARE(w.lblUpTime->text(), u"2 Days  01:02:05"_s);
        QTimer::singleShot(100, &w, [&] {
            w.mnuPopupExit->trigger();
            w.mnuPopup->close();
        });
        emit w.cSysTrayOn->activated(QSystemTrayIcon::Context);
        QVERIFY(Windows::Find(u"frmMain"_s));
        QTRY_VERIFY(m_window.isNull());
        QVERIFY(Windows::Loaded().isEmpty());
        QCOMPARE(readValue(userKey(u"acme"_s), "SortCol"), u"0"_s);
    }

    // A refusal springs the box back; filling the panel (FTP ticked) sends nothing.
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
        frmMain &w = startDue("demo", {{"bFTP", 1}});
        auto *shortcut = w.findChild<QCheckBox *>(box);
        const bool mx = box == "chkMX"_L1;
        const QString query =
            mx ? u"FXN=DNSTickler&Usr=demo&Pwd=demo&Cname=demo&Domain=dyn.veltrio.test"
                 "&DNSCommand=%1&RecordType=MX 1&IPAddress=demo.dyn.veltrio.test"_s
               : u"FXN=DNSTicklerAdvanced&Usr=demo&Pwd=demo&Cname=WWW.demo&Domain="
                 "demo.dyn.veltrio.test&DNSCommand=%1&RecordType=CNAME&IPAddress="
                 "demo.dyn.veltrio.test"_s;
        w.cmdAdvancedFree_Click();
        QVERIFY(w.chkFTP->isChecked());
        m_seams->messages.clear();
        if (refused)
            QVERIFY(m_service->setNextReply(u"Error:No such host</p>"_s));
        shortcut->click();
        QCOMPARE(sent(), QStringList{query.arg("RECORDADD"_L1)});
        QCOMPARE(shortcut->isChecked(), !refused);
        if (refused) {
            QCOMPARE(m_seams->messages.size(), mx ? 0 : 1);
            return;
        }
        shortcut->click();
        QCOMPARE(sent(), (QStringList{query.arg("RECORDADD"_L1), query.arg("RECORDDELETE"_L1)}));
        QVERIFY(!shortcut->isChecked());
        if (!mx)
            return;
        QCOMPARE(m_seams->texts(), (QStringList{u"Transaction Complete:MX Record Set"_s,
                                                u"Transaction Complete:MX Record Removed"_s}));
        // The MX record's value is no address: the sub-domain's own stays.
        QCOMPARE(User().sIPAddress, kOld);
        w.cmdOKAdvanced_Click();
        w.chkAutoIP->click();
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(check(w));
        QCOMPARE(m_service->stateRecords(u"demo"_s).filter(u";;A;;"_s),
                 QStringList{u"dyn.veltrio.test;;A;;demo;;"_s + kNew});
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
        QVERIFY(!w.tmrTimes->isActive() && w.tmrAuto->isActive());
    }

    // Digits only; an emptied box never gives a tick an empty rate.
    void refreshRateBox_takesNumbersOnly()
    {
        frmMain &w = startDue("acme");
        QLineEdit *box = w.cboRefreshRate->lineEdit();
        box->selectAll();
        QTest::keyClicks(box, u"4x5"_s);
        QCOMPARE(w.cboRefreshRate->currentText(), u"45"_s);
        box->selectAll();
        QTest::keyClick(box, Qt::Key_Backspace);
        QCOMPARE(w.cboRefreshRate->currentText(), QString());
        w.tmrAuto_Timer();
        QVERIFY(settled(&w));
        QCOMPARE(w.RefreshRateText(), u"45"_s);
        emit w.cboRefreshRate->lineEdit()->editingFinished();
        QCOMPARE(w.cboRefreshRate->currentText(), u"45"_s);
    }
};

QTEST_MAIN(TestFrmMainRefresh)
#include "tst_frmmain_refresh.moc"
