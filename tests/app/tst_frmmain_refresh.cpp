// The main window's automatic refresh, service shortcuts and tray against
// veltrio-service, with the service's public address changed between ticks.
#include "MainWindowTest.h"
#include "TestSeams.h"

#include "RuntimeError.h"
#include "frmAbout.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QStandardPaths>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QTreeView>

namespace {

const QString kOld = QStringLiteral("203.0.113.7");
const QString kNew = QStringLiteral("198.51.100.50");

QString tickler(const char *fxn, const QString &user, const QString &host, const QString &domain,
                const char *command, const QString &type, const QString &address)
{
    return QStringLiteral("FXN=%1&Usr=%2&Pwd=%2&Cname=%3&Domain=%4&DNSCommand=%5&RecordType=%6&"
                          "IPAddress=%7")
        .arg(QLatin1String(fxn), user, host, domain, QLatin1String(command), type, address);
}

QString dns(const char *command, const QString &host, const QString &domain, const QString &type,
            const QString &address)
{
    return tickler("DNSTickler", QStringLiteral("acme"), host, domain, command, type, address);
}

} // namespace

class TestFrmMainRefresh : public MainWindowTest
{
    Q_OBJECT

    bool m_keepStartRequests = false;

    // Logs the account in through its saved login and clears what the
    // start-up sent, so that a test sees only its own requests.
    frmMain *start(const char *user, const QList<std::pair<const char *, QVariant>> &values = {})
    {
        writeValues(userKey(user), values);
        startWithSavedLogin(user);
        setRate(*m_window, QStringLiteral("10")); // every tick checks
        if (!m_keepStartRequests)
            m_service->clearRequests();
        return m_window;
    }

    static void setRate(frmMain &w, const QString &rate)
    {
        if (w.cboRefreshRate->findText(rate) < 0)
            w.cboRefreshRate->addItem(rate);
        w.cboRefreshRate->setCurrentText(rate);
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init()
    {
        m_keepStartRequests = false;
        resetProgram();
        QVERIFY2(startService(kOld), qPrintable(m_service->errorString()));
    }
    void cleanup() { tearDown(); }

    void freeAccount_followsTheAddressWhenTicked_data()
    {
        QTest::addColumn<int>("autoIP");
        QTest::newRow("automatic") << 1;
        QTest::newRow("not automatic") << 0;
    }
    void freeAccount_followsTheAddressWhenTicked()
    {
        QFETCH(int, autoIP);
        TestSeams seams;
        frmMain &w = *start("demo", {{"bAutoIP", autoIP}});
        const QString domain = QStringLiteral("dyn.veltrio.test");
        const QString count = w.lblTimesIPChanged->text();
        const qsizetype shown = seams.messages.size();
        QVERIFY(m_service->setPublicIp(kNew));

        w.tmrAuto_Timer();
        // The check is due and its time is shown either way.
        QCOMPARE(w.lblLastIPCheck->text(), QStringLiteral("11/22/26 2:05:09 pm"));
        if (!autoIP) {
            QCOMPARE(m_service->requests(), QStringList());
            QCOMPARE(w.lblIPAddress->text(), kOld);
            return;
        }
        QCOMPARE(sent(),
                 (QStringList{tickler("DNSTickler", QStringLiteral("demo"), QStringLiteral("demo"),
                                      domain, "RECORDDELETE", QStringLiteral("A"), kOld),
                              tickler("DNSTickler", QStringLiteral("demo"), QStringLiteral("demo"),
                                      domain, "RECORDADD", QStringLiteral("A"), kNew)}));
        QCOMPARE(w.lblIPAddress->text(), kNew);
        QCOMPARE(w.txtVeltrioIP->text(), kNew);
        QCOMPARE(w.lblTimesIPChanged->text(), QString::number(count.toInt() + 1));
        // Each command reported its outcome.
        QCOMPARE(seams.messages.size(), shown + 2);

        // The same address again: nothing to send, nothing counted.
        m_service->clearRequests();
        w.tmrAuto_Timer();
        QCOMPARE(sent(), QStringList());
        QCOMPARE(sent("FXN=GetIPAddress").size(), 1);
        QCOMPARE(w.lblTimesIPChanged->text(), QString::number(count.toInt() + 1));
    }

    void ownDomains_resendOnlyAutomaticRows()
    {
        TestSeams seams;
        const QString relay = QStringLiteral("acme-shop.test");
        frmMain &w =
            *start("acme", {{"AutoIPs", QStringLiteral("ACME.TEST;;A;;MAIL;;203.0.113.7~~"
                                                       "ACME-SHOP.TEST;;PORT RELAY;;SHOP;;"
                                                       "HTTP://203.0.113.7:8080/SHOP~~")}});
        QVERIFY(m_service->setPublicIp(kNew));

        // Busy in the editor: this check leaves the records alone.
        w.cmdAddGrid_Click();
        w.tmrAuto_Timer();
        QCOMPARE(sent(), QStringList());
        w.cmdCancel_Click();

        w.tmrAuto_Timer();
        QCOMPARE(sent(), (QStringList{dns("RECORDDELETE", QStringLiteral("mail"),
                                          QStringLiteral("acme.test"), QStringLiteral("A"), kOld),
                                      dns("RECORDADD", QStringLiteral("mail"),
                                          QStringLiteral("acme.test"), QStringLiteral("A"), kNew),
                                      dns("RECORDDELETE", QStringLiteral("shop"), relay,
                                          QStringLiteral("PORT RELAY"),
                                          QStringLiteral("Http://203.0.113.7:8080/shop")),
                                      dns("RECORDADD", QStringLiteral("shop"), relay,
                                          QStringLiteral("PORT RELAY"),
                                          QStringLiteral("http://198.51.100.50:8080/shop"))}));
        QCOMPARE(seams.messages.size(), 4);
        // The grid shows the new addresses, still automatic.
        const QAbstractItemModel *grid = w.lvDomainUser->model();
        QStringList autoRows;
        for (int r = 0; r < grid->rowCount(); ++r) {
            if (grid->index(r, 4).data().toString() == QLatin1String("Yes"))
                autoRows << grid->index(r, 3).data().toString();
        }
        QCOMPARE(autoRows, (QStringList{kNew, QStringLiteral("http://198.51.100.50:8080/shop")}));

        m_service->clearRequests();
        w.tmrAuto_Timer();
        QCOMPARE(sent(), QStringList());
    }

    void unreachableService_switchesTheTrayIcon()
    {
        frmMain &w = *start("acme");
        const int rows = w.lvDomainUser->model()->rowCount();
        QVERIFY(w.cSysTrayOn->isVisible());
        QVERIFY(!w.cSysTrayOff->isVisible());

        m_service->stop();
        w.tmrAuto_Timer();
        QVERIFY(!w.cSysTrayOn->isVisible());
        QVERIFY(w.cSysTrayOff->isVisible());
        QCOMPARE(w.lvDomainUser->model()->rowCount(), rows);
        QCOMPARE(w.lblIPAddress->text(), kOld);

        QVERIFY(m_service->start(ServiceProcess::HttpOnly, kNew));
        Program::sServiceURL =
            QStringLiteral("http://127.0.0.1:%1/dnslogin3.asp").arg(m_service->httpPort());
        w.tmrAuto_Timer();
        QVERIFY(w.cSysTrayOn->isVisible());
        QVERIFY(!w.cSysTrayOff->isVisible());
        QCOMPARE(w.lblIPAddress->text(), kNew);
    }

    void tick_neverRunsInsideAnother()
    {
        frmMain &w = *start("acme");
        QVERIFY(w.tmrAuto->isActive());
        bool activeWhileWaiting = true;
        // Runs while the first tick waits for the service's answer.
        QTimer::singleShot(0, &w, [&] {
            activeWhileWaiting = w.tmrAuto->isActive();
            w.tmrAuto_Timer();
        });
        w.tmrAuto_Timer();
        QVERIFY(!activeWhileWaiting);
        QCOMPARE(sent("FXN=GetIPAddress").size(), 1);
        QCOMPARE(w.Refresh().Ticks(), 1);
        QVERIFY(w.tmrAuto->isActive());
    }

    void tick_rateNotANumberIsNotCaught()
    {
        frmMain &w = *start("acme");
        setRate(w, QStringLiteral("abc"));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, w.tmrAuto_Timer());
    }

    void shortcuts_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<bool>("refused");
        QTest::newRow("www") << "chkWWW" << false;
        QTest::newRow("www refused") << "chkWWW" << true;
        QTest::newRow("mx") << "chkMX" << false;
        QTest::newRow("mx refused") << "chkMX" << true;
    }
    void shortcuts()
    {
        QFETCH(QString, box);
        QFETCH(bool, refused);
        frmMain &w = *start("demo");
        auto *check = w.findChild<QCheckBox *>(box);
        const bool mx = box == QLatin1String("chkMX");
        const QString domain = QStringLiteral("demo.dyn.veltrio.test");
        const auto query = [&](const char *command) {
            return mx ? tickler("DNSTickler", QStringLiteral("demo"), QStringLiteral("demo"),
                                QStringLiteral("dyn.veltrio.test"), command, QStringLiteral("MX 1"),
                                domain)
                      : tickler("DNSTicklerAdvanced", QStringLiteral("demo"),
                                QStringLiteral("WWW.demo"), domain, command,
                                QStringLiteral("CNAME"), domain);
        };
        w.cmdAdvancedFree_Click();
        TestSeams seams;
        if (refused)
            QVERIFY(m_service->setNextReply(QStringLiteral("Error:No such host</p>")));
        check->click();
        QCOMPARE(sent(), QStringList{query("RECORDADD")});
        QCOMPARE(check->isChecked(), !refused);
        if (refused) {
            // Springing back sent nothing more.
            QCOMPARE(sent().size(), 1);
            QCOMPARE(seams.messages.size(), mx ? 0 : 1);
            return;
        }
        if (mx)
            QCOMPARE(seams.texts(),
                     QStringList{QStringLiteral("Transaction Complete:MX Record Set")});
        check->click();
        QCOMPARE(sent(), (QStringList{query("RECORDADD"), query("RECORDDELETE")}));
        QVERIFY(!check->isChecked());
        if (mx)
            QCOMPARE(seams.texts().last(),
                     QStringLiteral("Transaction Complete:MX Record Removed"));
    }

    void shortcuts_fillingThePanelSendsNothing()
    {
        m_keepStartRequests = true;
        frmMain &w = *start("demo", {{"bWWW", 1}, {"bMX", 1}, {"bFTP", 1}});
        QVERIFY(w.chkWWW->isChecked() && w.chkMX->isChecked() && w.chkFTP->isChecked());
        w.cmdAdvancedFree_Click();
        w.cmdAdvancedFree_Click();
        QCOMPARE(w.chkWWW->text(), QStringLiteral("www.demo.dyn.veltrio.test"));
        // The login's own two requests for the sub-domain, nothing for the boxes.
        QCOMPARE(sent().size(), 2);
        QCOMPARE(sent("FXN=DNSTicklerAdvanced"), QStringList());
        QVERIFY(!sent().join(u'\n').contains(QLatin1String("MX 1")));
    }

    void tray_exitWaitsForTheMenuToClose()
    {
        frmMain &w = *start("acme");
        w.mnuPopupExit->trigger();
        QVERIFY(w.bExitPending);
        QVERIFY(m_window);
        w.cSysTrayOn_MouseUp(1);
        QVERIFY(m_window.isNull() || !m_window->isVisible());
        QTRY_VERIFY(m_window.isNull());
        QVERIFY(Windows::Loaded().isEmpty());
    }

    void tray_showRestoresTheSavedState()
    {
        frmMain &w = *start("acme", {{"WindowState", 2}});
        w.mnuPopupHide->trigger();
        QVERIFY(!w.isVisible());

        // The about box comes first; the window stays where it is.
        auto *about = new frmAbout;
        about->show();
        w.mnuPopupShow->trigger();
        QVERIFY(!w.isVisible());
        delete about;

        w.mnuPopupShow->trigger();
        QVERIFY(w.isVisible());
        QVERIFY(w.windowState() & Qt::WindowMaximized);
    }

    void minimise_hidesOnlyWithATray_data()
    {
        QTest::addColumn<bool>("tray");
        QTest::newRow("tray") << true;
        QTest::newRow("no tray") << false;
    }
    void minimise_hidesOnlyWithATray()
    {
        QFETCH(bool, tray);
        frmMain &w = *start("acme");
        w.bTrayAvailable = tray;
        w.showMinimized();
        QCoreApplication::processEvents();
        QTRY_COMPARE(w.isVisible(), !tray);
    }
};

QTEST_MAIN(TestFrmMainRefresh)
#include "tst_frmmain_refresh.moc"
