// The main window's automatic refresh, service shortcuts and tray against
// veltrio-service, with the service's public address changed between ticks.
#include "MainWindowTest.h"

#include "RuntimeError.h"
#include "frmAbout.h"

#include <QSystemTrayIcon>

using namespace Qt::StringLiterals;

namespace {
const QString kOld = u"203.0.113.7"_s;
const QString kNew = u"198.51.100.50"_s;
} // namespace

class TestFrmMainRefresh : public MainWindowTest
{
    Q_OBJECT

    // Logs the account in through its saved login, with every tick due, and
    // clears what the start-up sent, so that a test sees only its own requests.
    frmMain &start(const char *user, const QList<std::pair<const char *, QVariant>> &values = {})
    {
        writeValues(userKey(QLatin1String(user)), values);
        startWithSavedLogin(QLatin1String(user));
        m_window->cboRefreshRate->addItem(u"10"_s);
        m_window->cboRefreshRate->setCurrentText(u"10"_s);
        m_service->clearRequests();
        return *m_window;
    }

private slots:
    void init() { QVERIFY2(startService(), qPrintable(m_service->errorString())); }
    void cleanup() { tearDown(); }

    void freeAccount_followsTheAddressOnlyWhenAutomatic()
    {
        frmMain &w = start("demo");
        const QString changed = QString::number(w.lblTimesIPChanged->text().toInt() + 1);
        QVERIFY(m_service->setPublicIp(kNew));
        // Not automatic: the check is due and its time is shown, nothing is asked.
        w.tmrAuto_Timer();
        QCOMPARE(w.lblLastIPCheck->text(), u"11/22/26 2:05:09 pm"_s);
        QCOMPARE(m_service->requests(), QStringList());
        w.chkAutoIP->click();
        m_seams->messages.clear();
        w.tmrAuto_Timer();
        const QString query = u"FXN=DNSTickler&Usr=demo&Pwd=demo&Cname=demo&Domain=dyn.veltrio.test"
                              "&DNSCommand=%1&RecordType=A&IPAddress=%2"_s;
        QCOMPARE(sent(), (QStringList{query.arg("RECORDDELETE"_L1, kOld),
                                      query.arg("RECORDADD"_L1, kNew)}));
        QCOMPARE(w.lblIPAddress->text(), kNew);
        QCOMPARE(w.txtVeltrioIP->text(), kNew);
        QCOMPARE(w.lblTimesIPChanged->text(), changed);
        // Each command reported its outcome.
        QCOMPARE(m_seams->messages.size(), 2);

        // The same address again: nothing to send, nothing counted.
        m_service->clearRequests();
        w.tmrAuto_Timer();
        QCOMPARE(m_service->requests(), QStringList{u"FXN=GetIPAddress&Usr=demo"_s});
        QCOMPARE(w.lblTimesIPChanged->text(), changed);
    }

    void ownDomains_resendOnlyAutomaticRows()
    {
        frmMain &w =
            start("acme", {{"AutoIPs", u"ACME.TEST;;A;;MAIL;;203.0.113.7~~ACME-SHOP.TEST;;"
                                       "PORT RELAY;;SHOP;;HTTP://203.0.113.7:8080/SHOP~~"_s}});
        QVERIFY(m_service->setPublicIp(kNew));
        // Busy in the editor: this check leaves the records alone.
        w.cmdAddGrid_Click();
        w.tmrAuto_Timer();
        QCOMPARE(sent(), QStringList());
        w.cmdCancel_Click();

        w.tmrAuto_Timer();
        const QString query = u"FXN=DNSTickler&Usr=acme&Pwd=acme&Cname=%1&Domain=%2"
                              "&DNSCommand=RECORD%3&RecordType=%4&IPAddress=%5"_s;
        const QString mail[] = {u"mail"_s, u"acme.test"_s, u"A"_s};
        const QString shop[] = {u"shop"_s, u"acme-shop.test"_s, u"PORT RELAY"_s};
        QCOMPARE(sent(), (QStringList{query.arg(mail[0], mail[1], "DELETE"_L1, mail[2], kOld),
                                      query.arg(mail[0], mail[1], "ADD"_L1, mail[2], kNew),
                                      query.arg(shop[0], shop[1], "DELETE"_L1, shop[2],
                                                "Http://203.0.113.7:8080/shop"_L1),
                                      query.arg(shop[0], shop[1], "ADD"_L1, shop[2],
                                                "http://198.51.100.50:8080/shop"_L1)}));
        QCOMPARE(m_seams->messages.size(), 4);
        // Both rows stay automatic at their new addresses: the next check sends nothing.
        const QAbstractItemModel *grid = w.lvDomainUser->model();
        QCOMPARE(grid->match(grid->index(0, 4), Qt::DisplayRole, u"Yes"_s, -1).size(), 2);
        m_service->clearRequests();
        w.tmrAuto_Timer();
        QCOMPARE(sent(), QStringList());
    }

    void unreachableService_switchesTheTrayIcon()
    {
        frmMain &w = start("acme");
        const int rows = w.lvDomainUser->model()->rowCount();
        QVERIFY(w.cSysTrayOn->isVisible() && !w.cSysTrayOff->isVisible());
        m_service->stop();
        w.tmrAuto_Timer();
        QVERIFY(!w.cSysTrayOn->isVisible() && w.cSysTrayOff->isVisible());
        QCOMPARE(w.lvDomainUser->model()->rowCount(), rows);
        QCOMPARE(w.lblIPAddress->text(), kOld);

        QVERIFY(m_service->start(ServiceProcess::HttpOnly, kNew));
        Program::sServiceURL = m_service->scriptUrl().toString();
        w.tmrAuto_Timer();
        QVERIFY(w.cSysTrayOn->isVisible() && !w.cSysTrayOff->isVisible());
        QCOMPARE(w.lblIPAddress->text(), kNew);
    }

    void tick_neverRunsInsideAnother_rateErrorNotCaught()
    {
        frmMain &w = start("acme");
        bool activeWhileWaiting = true;
        // Runs while the first tick waits for the service's answer.
        QTimer::singleShot(0, &w, [&] {
            activeWhileWaiting = w.tmrAuto->isActive();
            w.tmrAuto_Timer();
        });
        w.tmrAuto_Timer();
        QVERIFY(!activeWhileWaiting);
        QCOMPARE(sent("FXN=GetIPAddress").size(), 1);
        QVERIFY(w.tmrAuto->isActive());
        // A rate that is no number is not caught here.
        w.cboRefreshRate->addItem(u"abc"_s);
        w.cboRefreshRate->setCurrentText(u"abc"_s);
        QVERIFY_THROWS_EXCEPTION(RuntimeError, w.tmrAuto_Timer());
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
        frmMain &w = start("demo");
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
        frmMain &w = start("acme", {{"WindowState", 2}});
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
        QVERIFY(w.bExitPending && m_window);
        w.cSysTrayOn_MouseUp(1);
        QTRY_VERIFY(m_window.isNull());
        QVERIFY(Windows::Loaded().isEmpty());
    }

    void minimise_hidesOnlyWithATray()
    {
        frmMain &w = start("acme");
        w.bTrayAvailable = false;
        w.showMinimized();
        QCoreApplication::processEvents();
        QVERIFY(w.isVisible());
        w.showNormal();
        w.bTrayAvailable = true;
        w.showMinimized();
        QTRY_VERIFY(!w.isVisible());
    }
};

QTEST_MAIN(TestFrmMainRefresh)
#include "tst_frmmain_refresh.moc"
