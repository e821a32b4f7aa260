// The main window with a real login against veltrio-service: start-up,
// submission, saving, the close check, log-off, and one session from adding
// a record to deleting it.
#include "MainWindowTest.h"

#include "Application.h"

#include <QCloseEvent>

#include "PictureButton.h"
#include "Twips.h"

#include <QHeaderView>
#include <QScreen>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

class TestFrmMainSession : public MainWindowTest
{
    Q_OBJECT

    static void logIn(frmLogin *login, const QString &user)
    {
        login->txtUsername->setText(user);
        login->txtPassword->setText(user);
        login->cmdLogin_Click();
    }

private slots:
    void init() { QVERIFY2(startService(), qPrintable(m_service->errorString())); }
    void cleanup() { tearDown(); }

    void firstRun_centresAndAsksForLogin()
    {
        m_window = new frmMain;
        int left = 0, top = 0;
        m_onLogin = [&](frmLogin *login) {
            left = Twips::Left(m_window);
            top = Twips::Top(m_window);
            logIn(login, u"acme"_s);
        };
        m_window->Form_Load();
        QVERIFY(m_loginShown && m_window->isVisible() && !m_window->frameGrid->isHidden());
        // Centred, 500 twips above the middle, while the login is up.
        const QRect screen = m_window->screen()->geometry();
        QVERIFY(qAbs(left - (Twips::FromPixels(screen.width()) - 8895) / 2) <= 15);
        QVERIFY(qAbs(top - ((Twips::FromPixels(screen.height()) - 7065) / 2 - 500)) <= 15);
        QCOMPARE(m_window->lvDomainUser->model()->rowCount(), 6);
        QCOMPARE(m_window->windowTitle(), u"Veltrio Dynamic DNS version 1.0 Rev 1"_s);
    }

    void savedLogin_neverShowsLoginAndRestoresLayout()
    {
        writeValues(userKey(u"acme"_s), {{"MainLeft", 600}, {"MainWidth", 10500}, {"Col2", 1500}});
        writeValues(userKey(u"acme"_s), {{"SortCol", 2}, {"SortOrder", 1}, {"Sorted", 1}});
        frmMain *w = startWithSavedLogin(u"acme"_s);
        QVERIFY(!m_loginShown && w && w->isVisible());
        QVERIFY(m_seams->messages.isEmpty());
        QCOMPARE(Twips::Left(w), 600);
        QCOMPARE(Twips::Width(w), 10500);
        QCOMPARE(w->lvDomainUser->header()->sectionSize(1), Twips::ToPixels(1500));
        QCOMPARE(w->lvDomainUser->model()->index(0, 2).data().toString(), u"www"_s);
        // The grid grew with the window.
        QCOMPARE(Twips::Width(w->frameGrid), 8535 + 10500 - 8895);
    }

    void savedLogin_wrongPasswordShowsLogin_exitEndsLoad()
    {
        startWithSavedLogin(u"acme"_s, u"nope"_s);
        QVERIFY(m_loginShown);
        QCOMPARE(m_window->windowTitle(), u"Veltrio Dynamic DNS"_s);
        QVERIFY(!Windows::Find(u"frmMain"_s));
        QVERIFY(!m_window->tmrAuto->isActive());
    }

    // Closing the login window by its title bar at start-up is Exit: no
    // main window without a session.
    void loginTitleBarClose_endsTheLoad()
    {
        m_onLogin = [](frmLogin *login) {
            QCloseEvent close; // as the window system sends it
            QCoreApplication::sendEvent(login->windowHandle(), &close);
        };
        m_window = new frmMain;
        m_window->Form_Load();
        QVERIFY(m_loginShown);
        QVERIFY(Windows::Loaded().isEmpty());
        QVERIFY(!m_window || !m_window->tmrAuto->isActive());
    }

    // A start-up that the load's own trap ended, or an error that left the
    // load (its log folder unwritable), ends the program with the report: no
    // process runs on without a window. The log says why when it can.
    void startUpWithoutAWindow_ends_data()
    {
        QTest::addColumn<bool>("logWritable");
        QTest::newRow("malformed saved login") << true;
        QTest::newRow("malformed saved login, log folder is a file") << false;
    }
    void startUpWithoutAWindow_ends()
    {
        QFETCH(bool, logWritable);
        const QString logs = m_dir->filePath(u"Logs"_s);
        if (!logWritable) {
            QFile file(logs);
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        QVERIFY(m_service->setNextReply(u"DNS LOGIN:SUCCESS"_s));
        writeValues(kInit, {{"bSaveLogin", 1}, {"Username", u"acme"_s}, {"Password", u"acme"_s}});
        m_window = new frmMain;
        QCOMPARE(Application::LoadMainWindow(*m_window), Application::StartUp::Failed);
        QVERIFY(m_seams->texts().value(0).startsWith(u"frmMain.form_load()\rError # 5"_s));
        if (logWritable) {
            QFile log(QDir(logs).filePath(basErr::LogFileName()));
            QVERIFY(log.open(QIODevice::ReadOnly));
            QVERIFY(log.readAll().contains("The start-up ended without a window"));
        } else {
            QVERIFY(m_seams->texts().last().startsWith(u"Run-time error"_s));
        }
    }

    // A damaged or stale geometry (a negative height, a place off every
    // screen) brings the window back whole and on a screen, and that is what
    // is saved.
    void damagedGeometry_comesBackWholeOnScreen()
    {
        writeValues(userKey(u"acme"_s),
                    {{"MainHeight", -5}, {"MainLeft", -90000}, {"MainTop", 400000}});
        frmMain *w = startWithSavedLogin(u"acme"_s);
        QVERIFY(w->minimumHeight() > 300);
        QVERIFY(w->height() >= w->minimumHeight());
        QVERIFY(w->screen()->availableGeometry().contains(w->frameGeometry().center()));
        w->SaveSettings();
        QVERIFY(readValue(userKey(u"acme"_s), "MainHeight").toInt() > 4000);
    }

    void submit_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("change"); // "autoip" or "box=text" in the editor
        QTest::addColumn<QString>("sent");   // per request: command and address
        QTest::newRow("unchanged") << u"mail"_s << QString() << QString();
        QTest::newRow("address case") << u"www"_s << u"txtServerIP=ACME.TEST"_s << QString();
        QTest::newRow("name case")
            << u"www"_s << u"txtCName=WWW"_s << u"RECORDDELETE acme.test, RECORDADD acme.test"_s;
        QTest::newRow("AutoIP ticked")
            << u"mail"_s << u"autoip"_s << u"RECORDDELETE 203.0.113.7, RECORDADD 203.0.113.7"_s;
        // The delete names the relay as the service holds it, port and all: the
        // edit replaces it instead of adding a second one.
        QTest::newRow("relay port") << u"shop"_s << u"txtPort=8081"_s
                                    << u"RECORDDELETE Http://203.0.113.7:8080/shop, RECORDADD "
                                       "http://203.0.113.7:8081/shop"_s;
    }
    void submit()
    {
        QFETCH(QString, name);
        QFETCH(QString, change);
        frmMain *w = startWithSavedLogin(u"acme"_s);
        QVERIFY(QTest::qWaitForWindowExposed(w));
        select(*w, name);
        w->cmdEditGrid_Click();
        if (change == "autoip"_L1)
            QTest::mouseClick(w->chkDomainAutoIP, Qt::LeftButton);
        else if (!change.isEmpty())
            w->findChild<QLineEdit *>(change.section(u'=', 0, 0))->setText(change.section(u'=', 1));
        m_service->clearRequests();
        w->cmdServerIP_Click();
        QStringList got;
        for (const QString &query : sent()) {
            const QUrlQuery q(query);
            got << q.queryItemValue(u"DNSCommand"_s) + u' ' + q.queryItemValue(u"IPAddress"_s);
        }
        QTEST(got.join(", "_L1), "sent");
        if (name == "shop"_L1)
            QCOMPARE(stateNames(u"acme"_s).filter(u"shop="_s).size(), 1);
        QVERIFY(!w->frameGrid->isHidden());
        if (change == "autoip"_L1)
            QCOMPARE(w->lvDomainUser->model()->index(rowNamed(*w, name), 4).data().toString(),
                     u"Yes"_s);
    }

    void saveSettings_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<int>("state");           // Qt::WindowState
        QTest::addColumn<QString>("windowState"); // 7: left as it was
        QTest::addColumn<bool>("geometry");
        QTest::newRow("blank user name") << u"   "_s << int(Qt::WindowNoState) << u"7"_s << false;
        QTest::newRow("normal") << u"acme"_s << int(Qt::WindowNoState) << u"0"_s << true;
        QTest::newRow("maximised") << u"acme"_s << int(Qt::WindowMaximized) << u"2"_s << false;
        QTest::newRow("minimised") << u"acme"_s << int(Qt::WindowMinimized) << u"7"_s << false;
    }
    void saveSettings()
    {
        QFETCH(QString, user);
        QFETCH(int, state);
        QFETCH(bool, geometry);
        frmMain *w = startWithSavedLogin(u"acme"_s);
        const QString key = userKey(u"acme"_s);
        writeValues(key, {{"MainWidth", 1234}, {"WindowState", 7}});
        writeValues(kInit, {{"bSaveLogin", 0}});
        User().sUsername = user;
        w->setWindowState(Qt::WindowStates(state));
        w->SaveSettings();
        QTEST(readValue(key, "WindowState"), "windowState");
        QCOMPARE(readValue(key, "MainWidth") != "1234"_L1, geometry);
        QCOMPARE(readValue(kInit, "bSaveLogin"), user == "acme"_L1 ? u"1"_s : u"0"_s);
        QCOMPARE(readValue(key, "Col1").isEmpty(), user != "acme"_L1);
    }

    void close_questions_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<bool>("viaExit");
        QTest::addColumn<QString>("question"); // first words, "" for none
        QTest::newRow("own domains, close box")
            << u"acme"_s << false << u"Are you sure you want to close the Dynamic"_s;
        QTest::newRow("own domains, Exit") << u"acme"_s << true << QString();
        QTest::newRow("free, Exit")
            << u"demo"_s << true << u"By closing this application you will remove"_s;
    }
    void close_questions()
    {
        QFETCH(QString, user);
        QFETCH(bool, viaExit);
        QFETCH(QString, question);
        frmMain *w = startWithSavedLogin(user);
        m_seams->messages.clear();
        // No keeps the window and saves nothing.
        m_seams->answers = {Seams::Answer::No};
        viaExit ? w->mnuLogout_Click() : void(w->close());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(bool(m_window), !question.isEmpty());
        QCOMPARE(m_seams->messages.size(), question.isEmpty() ? 0 : 1);
        QCOMPARE(readValue(userKey(user), "Sorted"), question.isEmpty() ? u"0"_s : QString());
        if (question.isEmpty())
            return;
        QVERIFY(m_seams->messages[0].text.startsWith(question));
        QCOMPARE(m_seams->messages[0].buttons, Seams::Buttons::YesNo);
        // Yes closes; a free account's record leaves the service.
        QVERIFY(w->close());
        QVERIFY(!stateNames(user).contains(u"demo=203.0.113.7"_s));
    }

    void logOff_removesFreeRecordUntilNextLogin()
    {
        frmMain *w = startWithSavedLogin(u"demo"_s);
        QVERIFY(stateNames(u"demo"_s).contains(u"demo=203.0.113.7"_s));
        QVERIFY(!w->frameVeltrioDomain->isHidden() && !w->mnuAddDomain->isVisible());
        QStringList atLogin;
        bool hiddenAtLogin = false;
        m_onLogin = [&](frmLogin *login) {
            atLogin = stateNames(u"demo"_s);
            hiddenAtLogin = !w->isVisible();
            logIn(login, u"demo"_s);
        };
        w->mnuLogin_Click();
        QVERIFY(m_loginShown && hiddenAtLogin);
        QVERIFY(!atLogin.contains(u"demo=203.0.113.7"_s));
        QVERIFY(stateNames(u"demo"_s).contains(u"demo=203.0.113.7"_s) && w->isVisible());
        QCOMPARE(w->lblDomain->text(), u"demo.dyn.veltrio.test"_s);
    }

    void endToEnd_addEditDeleteWithQuestion()
    {
        frmMain *w = startWithSavedLogin(u"acme"_s);
        QVERIFY(QTest::qWaitForWindowExposed(w));
        QTest::mouseClick(w->cmdAddGrid, Qt::LeftButton);
        w->cboDomain->setCurrentText(u"acme.test"_s);
        w->cboRecordType->setCurrentText(u"A"_s);
        QTest::keyClicks(w->txtCName, u"vpn"_s);
        QTest::keyClicks(w->txtServerIP, u"198.51.100.5"_s);
        QTest::mouseClick(w->cmdServerIP, Qt::LeftButton);
        QVERIFY(stateNames(u"acme"_s).contains(u"vpn=198.51.100.5"_s));

        select(*w, u"vpn"_s);
        QTest::mouseClick(w->cmdEditGrid, Qt::LeftButton);
        w->txtServerIP->setText(u"198.51.100.6"_s);
        QTest::mouseClick(w->cmdServerIP, Qt::LeftButton);
        QStringList names = stateNames(u"acme"_s);
        QVERIFY(names.contains(u"vpn=198.51.100.6"_s) && !names.contains(u"vpn=198.51.100.5"_s));

        // Deleting asks first; No sends nothing.
        select(*w, u"vpn"_s);
        m_seams->messages.clear();
        m_seams->answers = {Seams::Answer::No};
        QTest::mouseClick(w->cmdDeleteGrid, Qt::LeftButton);
        QCOMPARE(m_seams->texts(),
                 QStringList{u"Are you sure you want to delete the selected record?\r\n\r\n"
                             "Domain: acme.test\r\nType: A\r\nName: vpn\r\n"
                             "Server Address: 198.51.100.6\r\nAutoIP: No\r\n"_s});
        QCOMPARE(m_seams->messages[0].buttons, Seams::Buttons::YesNo);
        QCOMPARE(stateNames(u"acme"_s), names);
        QTest::mouseClick(w->cmdDeleteGrid, Qt::LeftButton);
        names = stateNames(u"acme"_s);
        QVERIFY(!names.join(u' ').contains("vpn"_L1));
        QCOMPARE(names.size(), 6);
        QCOMPARE(rowNamed(*w, u"vpn"_s), -1);
    }
};

QTEST_MAIN(TestFrmMainSession)
#include "tst_frmmain_session.moc"
