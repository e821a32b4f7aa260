#include "KeyboardSteps.h"
#include "MainWindowPort.h"
#include "PictureButton.h"
#include "RegistryStore.h"
#include "RuntimeError.h"
#include "ServiceConfig.h"
#include "ServiceProcess.h"
#include "TestSeams.h"
#include "Windows.h"
#include "basErr.h"
#include "clsUser.h"
#include "frmLogin.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QLineEdit>
#include <QPointer>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace {

const QString kServerError =
    QStringLiteral("Error contacting server.  Server may be under maintenance.");
const QString kInvalid = QStringLiteral(
    "Invalid Username or Password.\r\n\r\nIf you are a new user you must register using the First "
    "Time Here hyperlink on the login screen. Registration is free for basic Sub-Domain usage.");

QString session()
{
    const clsUser &u = User();
    return QStringList{u.sUsername,  u.sFirstName,      u.sLastName,       u.sDomainList,
                       u.sSubDomain, u.sRecordTypeList, u.sExpirationDate, u.sPassword,
                       u.sIPAddress, u.sUserLevel}
        .join(u'|');
}

} // namespace

// Stands in for the main window's part in a login.
class TestFrmLogin : public QObject, public MainWindowPort
{
    Q_OBJECT

    ServiceProcess m_service;
    QTemporaryDir m_dir;
    QPointer<frmLogin> m_login;
    QList<bool> m_freeInfo; // per load of the free user's info: "Logging In." covered it

    int StatusColour() const override { return StatusColour::Connected; }
    void SetStatus(const QString &, int) override {}
    void SysTrayIcon(bool) override {}
    void SetWindowEnabled(bool) override {}
    void LoadFreeUserInfo() override { m_freeInfo << m_login->frmLoggingIn->isVisible(); }

    void newLogin()
    {
        delete m_login;
        m_login = new frmLogin;
        m_login->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_login));
    }
    void type(const QString &user, const QString &password)
    {
        m_login->txtUsername->setText(user);
        m_login->txtPassword->setText(password);
    }
    void verifyCovers(QFrame *panel)
    {
        QVERIFY(panel->isVisible());
        QCOMPARE(panel->y(), m_login->frmLoginFrame->y());
        QCOMPARE(panel->height(), m_login->frmLoginFrame->height());
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY2(m_service.start(ServiceProcess::HttpOnly, QStringLiteral("203.0.113.10")),
                 qPrintable(m_service.errorString()));
        ServiceConfig config = ServiceConfig::Defaults();
        config.httpHost = QStringLiteral("127.0.0.1");
        config.httpsHost = QStringLiteral("secure.test");
        SetConfig(config);
        RegistryStore::SetFile(m_dir.filePath(QStringLiteral("settings.ini")));
        basErr::SetLogFolder(m_dir.filePath(QStringLiteral("Logs")));
        RegisterMainWindow(this);
    }
    void init()
    {
        ProgramWide::Reset();
        m_freeInfo.clear();
        QFile settings(m_dir.filePath(QStringLiteral("settings.ini")));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[Init]\nPort=" + QByteArray::number(m_service.httpPort()) + "\n");
        settings.close();
        newLogin();
        m_service.clearRequests();
    }
    void cleanup() { delete m_login; }
    void cleanupTestCase() { RegisterMainWindow(nullptr); }

    void refusedLogin_data()
    {
        // user|password|server, the server being "service", "unreachable" or a reply
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("message");
        QTest::newRow("blank user name") << "   |demo|service"
                                         << "You must enter a Username.";
        QTest::newRow("blank password") << "demo|  |service"
                                        << "You must enter a Password.";
        QTest::newRow("wrong password") << "demo|nope|service" << kInvalid;
        QTest::newRow("server not reached") << "demo|demo|unreachable" << kServerError;
        QTest::newRow("Success is not SUCCESS")
            << "ann|pw|DNS LOGIN:Success</p>FirstName:Ann</p>" << kServerError;
        QTest::newRow("SUCCESS inside another word")
            << "ann|pw|DNS LOGIN:NOT SUCCESS</p>SUCCESS</p>" << kServerError;
    }
    void refusedLogin()
    {
        QFETCH(QString, typed);
        QFETCH(QString, message);
        const QString user = typed.section(u'|', 0, 0), password = typed.section(u'|', 1, 1),
                      server = typed.section(u'|', 2);
        TestSeams seams;
        if (server == QLatin1String("unreachable"))
            ProgramWide::sServiceURL = QStringLiteral("http://127.0.0.1:1/dnslogin3.asp");
        else if (server != QLatin1String("service"))
            QVERIFY(m_service.setNextReply(server));
        type(user, password);
        QTest::mouseClick(m_login->cmdLogin, Qt::LeftButton);
        QCOMPARE(seams.texts(), QStringList{message});
        // Only a refused password empties both boxes.
        const bool emptied = message == kInvalid;
        QCOMPARE(m_login->txtUsername->text(), emptied ? QString() : user);
        QCOMPARE(m_login->txtPassword->text(), emptied ? QString() : password);
        if (emptied)
            QCOMPARE(m_login->focusWidget(), m_login->txtUsername);
        if (message.startsWith(QLatin1String("You must")))
            QCOMPARE(m_service.requests(), QStringList());
        QVERIFY(m_login->frmLoggingIn->isHidden());
        QVERIFY(!m_login->bBusy);
        QVERIFY(!ProgramWide::bLoggedIn);
        QCOMPARE(Windows::Find(QStringLiteral("frmLogin")), m_login.data());
    }

    void login_data()
    {
        QTest::addColumn<QString>("user"); // typed as user name and password
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QString>("trigger"); // a caption to click, or a box and its Enter key
        QTest::addColumn<bool>("save");
        QTest::addColumn<QString>("filled");  // the session
        QTest::addColumn<QString>("outcome"); // "in", "in, free info" or "expired"
        const QDateTime dayBefore(QDate(2030, 12, 30), QTime(23, 59, 59));
        const QString demo = QStringLiteral(
            "demo|Dana|Demo||dyn.veltrio.test|A,CNAME,MX|12/31/2030|demo|203.0.113.10|1");
        const QString acme = QStringLiteral(
            "acme|Ada|Acme|acme.test,acme-shop.test||A,CNAME,MX|12/31/2030|acme|203.0.113.10|5");
        QTest::newRow("sub-domain, blanks around, day before")
            << " demo  " << dayBefore << "Label3" << true << demo << "in, free info";
        QTest::newRow("own domains")
            << "acme" << dayBefore << "txtPassword Return" << false << acme << "in";
        QTest::newRow("the day has begun, Enter in the window")
            << "demo" << QDateTime(QDate(2030, 12, 31), QTime(0, 0, 1)) << "txtUsername Return"
            << false << demo << "expired";
    }
    void login()
    {
        QFETCH(QString, user);
        QFETCH(QDateTime, now);
        QFETCH(QString, trigger);
        QFETCH(bool, save);
        QFETCH(QString, filled);
        QFETCH(QString, outcome);
        TestSeams seams;
        seams.now = now;
        type(user, user);
        m_login->chkSaveLogin->setChecked(save);
        const auto press = [&] {
            if (trigger == QLatin1String("Label3"))
                return QTest::mouseClick(m_login->Label3, Qt::LeftButton);
            QTest::keyClick(m_login->findChild<QLineEdit *>(trigger.section(u' ', 0, 0)),
                            trigger.endsWith(QLatin1String("Enter")) ? Qt::Key_Enter
                                                                     : Qt::Key_Return);
        };
        bool overlaid = false;
        // Runs while the request waits: a second press arrives then.
        QTimer::singleShot(0, m_login, [&] {
            overlaid = m_login->frmLoggingIn->isVisible();
            verifyCovers(m_login->frmLoggingIn);
            press();
        });
        press();
        QVERIFY(overlaid);
        QCOMPARE(seams.texts(), QStringList());
        QCOMPARE(session(), filled);
        QCOMPARE(m_service.requests(),
                 QStringList{QStringLiteral("fxn=login&usr=%1&pwd=%1").arg(user.trimmed())});
        QCOMPARE(ProgramWide::bSaveLogin, save);
        QCOMPARE(m_freeInfo,
                 outcome.endsWith(QLatin1String("free info")) ? QList<bool>{true} : QList<bool>());
        if (outcome != QLatin1String("expired")) {
            QVERIFY(ProgramWide::bLoggedIn);
            QTRY_VERIFY(m_login.isNull());
            return;
        }
        QVERIFY(!ProgramWide::bLoggedIn);
        verifyCovers(m_login->frameExpire);
        QCOMPARE(Windows::Find(QStringLiteral("frmLogin")), m_login.data());
        QTest::mouseClick(m_login->Label5, Qt::LeftButton);
        QVERIFY(m_login->frameExpire->isHidden());
    }

    void brokenValueStopsTheLoginWhereItIs()
    {
        TestSeams seams;
        // "IPAddress:" lacks its end tag: the fields filled before it stay.
        QVERIFY(m_service.setNextReply(QStringLiteral(
            "DNS LOGIN:  SUCCESS  </p>FirstName:Ann</p>LastName:Lee</p>Domains:a.test</p>"
            "SubDomain:</p>RecordTypes:A</p>ExpirationDate:12/31/2030</p>"
            "UserLevel:5</p>IPAddress:198.51.100.1")));
        type(QStringLiteral("ann"), QStringLiteral("pw"));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, m_login->cmdLogin_Click());
        QCOMPARE(session(), QStringLiteral("ann|Ann|Lee|a.test||A|12/31/2030|pw||"));
        QVERIFY(!ProgramWide::bLoggedIn);
        QVERIFY(!m_login->bBusy);
    }

    void advancedPanel()
    {
        TestSeams seams;
        m_login->mnuAdvanced->trigger();
        verifyCovers(m_login->frameAdvanced);
        m_login->cboPorts->setEditText(QStringLiteral("1400"));
        m_login->cboRefreshRate->setEditText(QStringLiteral("75"));
        m_login->chkSSL->click();
        QCOMPARE(ProgramWide::sServiceURL,
                 QStringLiteral("https://secure.test/autoupdate/dnslogin3.asp"));
        QVERIFY(!m_login->cboPorts->isEnabled());
        // Unticked, the port comes from the main window's list, not from this
        // window's; before the main window exists there is none.
        m_login->chkSSL->click();
        QVERIFY(m_login->cboPorts->isEnabled());
        QCOMPARE(ProgramWide::sServiceURL, QStringLiteral("http://127.0.0.1/dnslogin3.asp"));
        QWidget main;
        main.setObjectName(QStringLiteral("frmMain"));
        (new QComboBox(&main))->setObjectName(QStringLiteral("cboPorts"));
        main.findChild<QComboBox *>()->addItem(QStringLiteral("8080"));
        m_login->chkSSL->click();
        m_login->chkSSL->click();
        const QString url = QStringLiteral("http://127.0.0.1:8080/dnslogin3.asp");
        QCOMPARE(ProgramWide::sServiceURL, url);
        // Done stores the choices; the URL waits for the next load.
        QTest::mouseClick(m_login->Label18, Qt::LeftButton);
        RegistryStore reg;
        reg.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\Init"));
        for (const auto &[name, value] :
             {std::pair{"bSSL", "0"}, {"Port", "1400"}, {"RefreshRate", "75"}})
            QCOMPARE(reg.ReadValue(QLatin1String(name)), QLatin1String(value));
        QCOMPARE(ProgramWide::sServiceURL, url);
    }

    // The window at the keyboard: where the focus is after a message or
    // when a panel comes up, where Tab goes from there (only what is on
    // top), and Return, Space and Escape on the panels over the login.
    void keys_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("panel"); // on top afterwards
        QTest::addColumn<QString>("chain"); // Tab from the focused control
        QTest::addColumn<QString>("opened");
        const auto row = [](const char *tag, const QString &steps, const char *panel,
                            const char *chain, const char *opened = "") {
            QTest::newRow(tag) << steps << QString::fromLatin1(panel) << QString::fromLatin1(chain)
                               << QString::fromLatin1(opened);
        };
        const QString expired =
            QStringLiteral("type txtUsername=expired; type txtPassword=expired; key Return");
        const char *login =
            "txtPassword,chkSaveLogin,cmdLogin,cmdExit,llblRegister,imgHelpDomain,txtUsername";
        row("no password", QStringLiteral("type txtUsername=demo; key Return"), "frmLogin", login);
        row("expiry notice", expired, "frameExpire", "cmdExpireOK,lblExpire");
        row("advanced panel", QStringLiteral("menu mnuAdvanced"), "frameAdvanced",
            "cboPorts,chkSSL,cboRefreshRate,cmdOKAdvanced");
        row("advanced panel, Return in the rate",
            QStringLiteral(
                "type txtPassword=x; menu mnuAdvanced; focus cboRefreshRate; key Return"),
            "frmLogin", login);
        row("links",
            QStringLiteral("focus llblRegister; key Space; focus imgHelpDomain; key Return"),
            "frmLogin",
            "imgHelpDomain,txtUsername,txtPassword,chkSaveLogin,cmdLogin,cmdExit,llblRegister",
            "/services.asp,/help");
    }
    void keys()
    {
        QFETCH(QString, steps);
        QFETCH(QString, opened);
        TestSeams seams;
        m_login->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_login));
        KeyboardSteps::Run(m_login, steps);
        QFrame *top = m_login->frmLoginFrame;
        for (QFrame *panel : {m_login->frameExpire, m_login->frameAdvanced})
            top = panel->isVisible() ? panel : top;
        QTEST(top->objectName(), "panel");
        QTEST(KeyboardSteps::TabChain(top), "chain");
        QStringList paths;
        for (const QUrl &page : seams.opened)
            paths << page.path();
        QCOMPARE(paths.join(u','), opened);
        // Only the expired account's login went out.
        QCOMPARE(m_service.requests().size(), steps.contains(QLatin1String("expired")) ? 1 : 0);
    }
};

QTEST_MAIN(TestFrmLogin)
#include "tst_frmlogin.moc"
