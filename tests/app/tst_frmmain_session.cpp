// The main window with a real login against veltrio-service: start-up,
// submission, saving, its questions, log-off, and the keyboard.
#include "KeyboardSteps.h"
#include "MainWindowTest.h"
#include "TestTable.h"

#include "Application.h"
#include "Twips.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QScreen>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

class TestFrmMainSession : public MainWindowTest
{
    Q_OBJECT

    frmMain *activeWindow(const QString &user)
    {
        frmMain *w = startWithSavedLogin(user);
        w->activateWindow();
        return QTest::qWaitForWindowActive(w) ? w : nullptr;
    }

    // Also "select NAME" (a grid row) and "new NAME" (a record at 198.51.100.5).
    void run(frmMain &w, const QString &steps)
    {
        KeyboardSteps::Run(&w, steps, [&](const QString &action, const QString &name) {
            if (action == "select"_L1)
                select(w, name);
            else
                KeyboardSteps::Run(&w, u"click cmdAddGrid; type txtCName=%1; "
                                       "type txtServerIP=198.51.100.5"_s.arg(name));
        });
    }

    // The commands of the record requests received, in order.
    QString commands() const
    {
        QStringList words;
        for (const QString &query : sent())
            words << QUrlQuery(query).queryItemValue(u"DNSCommand"_s);
        return words.join(u',');
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
            login->txtUsername->setText(u"acme"_s);
            login->txtPassword->setText(u"acme"_s);
            login->cmdLogin_Click();
        };
        m_window->Form_Load();
        QVERIFY(m_loginShown && m_window->isVisible() && !m_window->frameGrid->isHidden());
        // Centred, 500 twips above the middle, while the login is up.
        const QRect screen = m_window->screen()->geometry();
        QVERIFY(qAbs(left - (Twips::FromPixels(screen.width()) - 8895) / 2) <= 15);
        QVERIFY(qAbs(top - ((Twips::FromPixels(screen.height()) - 7065) / 2 - 500)) <= 15);
        QCOMPARE(m_window->lvDomainUser->model()->rowCount(), 6);
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

    // No main window without a session.
    void noLogin_endsTheLoad_data()
    {
        QTest::addColumn<bool>("savedLogin");
        QTest::newRow("wrong saved password, Exit") << true;
        QTest::newRow("no saved login, the title bar's close") << false;
    }
    void noLogin_endsTheLoad()
    {
        QFETCH(bool, savedLogin);
        if (savedLogin) {
            startWithSavedLogin(u"acme"_s, u"nope"_s);
        } else {
            m_onLogin = [](frmLogin *login) {
                QCloseEvent close; // as the window system sends it
                QCoreApplication::sendEvent(login->windowHandle(), &close);
            };
            m_window = new frmMain;
            m_window->Form_Load();
        }
        QVERIFY(m_loginShown);
        QVERIFY(Windows::Loaded().isEmpty());
        QVERIFY(!m_window || !m_window->tmrAuto->isActive());
    }

    // No process runs on without a window; the log says why when it can.
    void startUpWithoutAWindow_ends()
    {
        QVERIFY(m_service->setNextReply(u"DNS LOGIN:SUCCESS"_s));
        writeValues(kInit, {{"bSaveLogin", 1}, {"Username", u"acme"_s}, {"Password", u"acme"_s}});
        m_window = new frmMain;
        QCOMPARE(Application::LoadMainWindow(*m_window), Application::StartUp::Failed);
        QVERIFY(m_seams->texts().value(0).startsWith(u"frmMain.form_load()\rError # 5"_s));
        QFile log(QDir(m_dir->filePath(u"Logs"_s)).filePath(basErr::LogFileName()));
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("The start-up ended without a window"));
    }

    // A damaged geometry brings the window back whole and on a screen.
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
        QVERIFY(!w->frameGrid->isHidden());
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

    // No keeps the window and saves and sends nothing; Yes goes on.
    void questions_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("action");   // close, exit (File > Exit) or delete (mail)
        QTest::addColumn<QString>("question"); // first words, "" for none
        QTest::addColumn<QString>("record");   // not at the service after Yes
        QTest::newRow("own domains, close box")
            << u"acme"_s << u"close"_s << u"Are you sure you want to close the Dynamic"_s
            << QString();
        QTest::newRow("own domains, Exit") << u"acme"_s << u"exit"_s << QString() << QString();
        QTest::newRow("free, Exit")
            << u"demo"_s << u"exit"_s << u"By closing this application you will remove"_s
            << u"demo=203.0.113.7"_s;
        QTest::newRow("delete") << u"acme"_s << u"delete"_s
                                << u"Are you sure you want to delete the selected record?\r\n\r\n"
                                   "Domain: acme.test\r\nType: A\r\nName: mail\r\n"
                                   "Server Address: 203.0.113.7\r\nAutoIP: No\r\n"_s
                                << u"mail=203.0.113.7"_s;
    }
    void questions()
    {
        QFETCH(QString, user);
        QFETCH(QString, action);
        QFETCH(QString, question);
        QFETCH(QString, record);
        frmMain *w = startWithSavedLogin(user);
        const bool remove = action == "delete"_L1;
        if (remove)
            select(*w, u"mail"_s);
        m_service->clearRequests();
        m_seams->messages.clear();
        m_seams->answers = {Seams::Answer::No};
        remove                ? w->cmdDeleteGrid_Click()
        : action == "exit"_L1 ? w->mnuLogout_Click()
                              : void(w->close());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(bool(m_window), !question.isEmpty());
        QCOMPARE(m_seams->messages.size(), question.isEmpty() ? 0 : 1);
        QCOMPARE(readValue(userKey(user), "Sorted"), question.isEmpty() ? u"0"_s : QString());
        if (question.isEmpty())
            return;
        QVERIFY(m_seams->messages[0].text.startsWith(question));
        QCOMPARE(m_seams->messages[0].buttons, Seams::Buttons::YesNo);
        QCOMPARE(sent(), QStringList());
        if (remove) {
            w->cmdDeleteGrid_Click();
            QCOMPARE(rowNamed(*w, u"mail"_s), -1);
        } else {
            QVERIFY(w->close());
        }
        QVERIFY(!stateNames(user).contains(record));
    }

    // While the login window is up the free record is down and a check falling
    // due puts nothing back; the next login brings the record back.
    void logOff_freeRecordDownUntilNextLogin()
    {
        frmMain &w = startDue("demo");
        w.chkAutoIP->click();
        QVERIFY(m_service->setPublicIp(kNew));
        QStringList atLogin{u"not shown"_s};
        bool hiddenAtLogin = false, tickingAtLogin = true;
        m_onLogin = [&](frmLogin *login) {
            hiddenAtLogin = !w.isVisible();
            tickingAtLogin = w.tmrAuto->isActive();
            w.tmrAuto_Timer();
            QTest::qWait(300);
            atLogin = stateNames(u"demo"_s);
            login->txtUsername->setText(u"demo"_s);
            login->txtPassword->setText(u"demo"_s);
            login->cmdLogin_Click();
        };
        w.mnuLogin_Click();
        QVERIFY(m_loginShown && hiddenAtLogin && !tickingAtLogin);
        QCOMPARE(atLogin, QStringList());
        QVERIFY(stateNames(u"demo"_s).contains(u"demo=203.0.113.7"_s) && w.isVisible());
    }

    // focus: the focused control, or the Tab chain from it (what the panel
    // shows, in reading order, its help last); asked: the first box's first line.
    void keys_data()
    {
        TextTable(
            {"user", "steps", "panel", "focus", "commands", "asked"},
            {
                {"grid: Tab", "acme||frameGrid|lvDomainUser,cmdAddGrid,cmdEditGrid,cmdDeleteGrid,"
                              "cmdAdvancedDomain,imgHelpGrid||"},
                {"new record: Tab",
                 "acme|click cmdAddGrid|frameOtherDomain|txtCName,txtServerIP,chkDomainAutoIP,"
                 "cmdServerIP,cmdCancel,imgHelpDomain,cboDomain,cboRecordType||"},
                {"editing a port relay: Tab",
                 "acme|select shop; click cmdEditGrid|frameOtherDomain|txtServerIP,txtPort,"
                 "chkDomainAutoIP,cmdServerIP,cmdCancel,imgHelpDomain,cboDomain,cboRecordType,"
                 "txtCName||"},
                {"advanced, own domains: Tab",
                 "acme|click cmdAdvancedDomain|frameAdvanced|cboPorts,chkService,cboRefreshRate,"
                 "chkSSL,cmdOKAdvanced||"},
                {"free sub-domain: Tab",
                 "demo||frameVeltrioDomain|txtVeltrioIP,chkAutoIP,cmdVeltrioSetIP,"
                 "cmdAdvancedFree,imgHelpFree||"},
                {"advanced, free sub-domain: Tab",
                 "demo|click cmdAdvancedFree|frameAdvanced|cboPorts,chkService,cboRefreshRate,"
                 "chkSSL,chkFTP,chkWWW,chkIRC,chkTelnet,chkPCAW,chkVNC,chkMail,chkMX,"
                 "cmdOKAdvanced||"},
                {"grid: Return edits the selected row",
                 "acme|select www; key Return|frameOtherDomain|txtServerIP||"},
                {"grid: Return without a selection says so",
                 "acme|focus lvDomainUser; key Return|frameGrid|lvDomainUser||"
                 "Please select a row"},
                {"grid: Delete asks, then deletes",
                 "acme|select www; key Delete|frameGrid|lvDomainUser|RECORDDELETE|"
                 "Are you sure you want to delete the selected record?"},
                {"editor: Return in a box adds",
                 "acme|new vpn; key Return|frameGrid|lvDomainUser|RECORDADD|"
                 "Transaction Complete:"},
                {"editor: keypad Enter in the domain box adds",
                 "acme|new vpn; focus cboDomain; key Enter|frameGrid|lvDomainUser|RECORDADD|"
                 "Transaction Complete:"},
                {"editor: Escape cancels", "acme|new vpn; key Escape|frameGrid|lvDomainUser||"},
                {"editor: Return on Cancel cancels",
                 "acme|new vpn; focus cmdCancel; key Return|frameGrid|lvDomainUser||"},
                {"advanced: Escape is Done",
                 "acme|click cmdAdvancedDomain; key Escape|frameGrid|lvDomainUser||"},
                {"free: Return sets the address",
                 "demo|focus txtVeltrioIP; key Return|frameVeltrioDomain|txtVeltrioIP|"
                 "RECORDADD|Transaction Complete:"},
                {"free advanced: Escape is Done",
                 "demo|click cmdAdvancedFree; focus chkMX; key Escape|frameVeltrioDomain|"
                 "txtVeltrioIP||"},
            });
    }
    void keys()
    {
        QFETCH(QString, user);
        QFETCH(QString, steps);
        QFETCH(QString, focus);
        QFETCH(QString, asked);
        frmMain *w = activeWindow(user);
        QVERIFY(w);
        m_service->clearRequests();
        m_seams->messages.clear();
        run(*w, steps);
        QWidget *panel = nullptr;
        for (QFrame *shown :
             {w->frameGrid, w->frameOtherDomain, w->frameVeltrioDomain, w->frameAdvanced}) {
            if (!panel && shown->isVisible())
                panel = shown;
        }
        QVERIFY(panel);
        QTEST(panel->objectName(), "panel");
        QTEST(commands(), "commands");
        QCOMPARE(m_seams->texts().value(0).section(u'\r', 0, 0).section(u'\n', 0, 0), asked);
        const QString chain = KeyboardSteps::TabChain(panel);
        QCOMPARE(focus.contains(u',') ? chain : chain.section(u',', 0, 0), focus);
    }

    // A refused add keeps the editor; sending again adds, and deletes nothing more.
    void refusedAdd_keepsTheEditor_data()
    {
        TextTable({"steps", "address", "first", "again", "kept"},
                  {
                      {"new record", "new vpn|198.51.100.5|RECORDADD|RECORDADD|vpn=198.51.100.5"},
                      {"edited record",
                       "select mail; click cmdEditGrid; type txtServerIP=198.51.100.9|198.51.100.9|"
                       "RECORDDELETE,RECORDADD|RECORDADD|mail=198.51.100.9"},
                      // The relay's port stays in its own box, not in the address.
                      {"edited port relay",
                       "select shop; click cmdEditGrid; type txtPort=8081|http://203.0.113.7/shop|"
                       "RECORDDELETE,RECORDADD|RECORDADD|shop=http://203.0.113.7:8081/shop"},
                  });
    }
    void refusedAdd_keepsTheEditor()
    {
        QFETCH(QString, steps);
        QFETCH(QString, address);
        QFETCH(QString, kept);
        frmMain *w = activeWindow(u"acme"_s);
        QVERIFY(w);
        run(*w, steps);
        const QString name = w->txtCName->text();
        m_service->clearRequests();
        QVERIFY(m_service->setNextReply(u"Error:down</p>"_s, u"RECORDADD"_s));
        w->cmdServerIP_Click();
        QTEST(commands(), "first");
        QVERIFY(!w->frameOtherDomain->isHidden());
        QCOMPARE(w->txtCName->text(), name);
        QCOMPARE(w->txtServerIP->text(), address);
        QVERIFY(m_seams->texts().contains(u"Could not Set IP.  down"_s));
        m_service->clearRequests();
        w->cmdServerIP_Click();
        QTEST(commands(), "again");
        QVERIFY(!w->frameGrid->isHidden());
        QCOMPARE(stateNames(u"acme"_s).filter(name + u'=').join(u' ').toLower(), kept.toLower());
    }
};

QTEST_MAIN(TestFrmMainSession)
#include "tst_frmmain_session.moc"
