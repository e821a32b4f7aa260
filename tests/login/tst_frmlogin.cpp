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
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace {

const QString kServerError =
    QStringLiteral("Error contacting server.  Server may be under maintenance.");

// The main window's part in a login, until the main window itself exists:
// records the call and whether the "Logging In." overlay covered it.
class MainWindowRecorder : public MainWindowPort
{
public:
    int StatusColour() const override { return StatusColour::Connected; }
    void SetStatus(const QString &, int) override {}
    void SysTrayIcon(bool) override {}
    void SetWindowEnabled(bool) override {}
    void LoadFreeUserInfo() override
    {
        ++calls;
        overlayShown = login && login->frmLoggingIn->isVisible();
    }
    int calls = 0;
    bool overlayShown = false;
    QPointer<frmLogin> login;
};

} // namespace

class TestFrmLogin : public QObject
{
    Q_OBJECT

private:
    ServiceProcess m_service;
    QTemporaryDir m_dir;
    QString m_settings;
    MainWindowRecorder m_main;
    QPointer<frmLogin> m_login;

    // "a|b||c": a list of texts, empty ones kept.
    static QStringList fields(const char *texts)
    {
        return QString::fromUtf8(texts).split(QLatin1Char('|'));
    }
    QStringList logins()
    {
        return m_service.requests().filter(QRegularExpression(QStringLiteral("^fxn=login")));
    }
    void writeSettings(const QByteArray &init)
    {
        QFile file(m_settings);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("[Init]\n" + init);
    }
    void newLogin()
    {
        delete m_login;
        m_login = new frmLogin;
        m_main.login = m_login;
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
        QVERIFY2(m_service.start(ServiceProcess::WithTls, QStringLiteral("203.0.113.10")),
                 qPrintable(m_service.errorString()));
        ServiceConfig config = ServiceConfig::Defaults();
        config.httpHost = QStringLiteral("127.0.0.1");
        config.httpsHost = QStringLiteral("127.0.0.1:%1").arg(m_service.httpsPort());
        config.webSite = QStringLiteral("web.test");
        config.supportHost = QStringLiteral("support.test");
        config.caCertificates = m_service.caFile();
        SetConfig(config);
        m_settings = m_dir.filePath(QStringLiteral("settings.ini"));
        RegistryStore::SetFile(m_settings);
        basErr::SetLogFolder(m_dir.filePath(QStringLiteral("Logs")));
        SetMainWindow(&m_main);
    }
    void init()
    {
        Program::Reset();
        m_main.calls = 0;
        m_main.overlayShown = false;
        writeSettings("Port=" + QByteArray::number(m_service.httpPort()) + "\n");
        newLogin();
        m_service.clearRequests();
    }
    void cleanup() { delete m_login; }
    void cleanupTestCase()
    {
        SetMainWindow(nullptr);
        RegistryStore::SetFile(QString());
        basErr::SetLogFolder(QString());
    }

    void refusedLogin_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("server"); // "service", "unreachable", or the reply to send
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("emptied"); // both boxes emptied, focus in the user name
        const QString noUser = QStringLiteral("You must enter a Username.");
        const QString noPassword = QStringLiteral("You must enter a Password.");
        const QString invalid = QStringLiteral(
            "Invalid Username or Password.\r\n\r\nIf you are a new user you must register using "
            "the First Time Here hyperlink on the login screen. Registration is free for basic "
            "Sub-Domain usage.");
        // user|password|server
        const std::tuple<const char *, const char *, QString, bool> rows[] = {
            {"no user name", "|demo|service", noUser, false},
            {"blank user name", "   |demo|service", noUser, false},
            {"no password", "demo||service", noPassword, false},
            {"blank password", "demo|  |service", noPassword, false},
            {"wrong password", "demo|nope|service", invalid, true},
            {"server not reached", "demo|demo|unreachable", kServerError, false},
            {"Success is not SUCCESS", "ann|pw|DNS LOGIN:Success</p>FirstName:Ann</p>",
             kServerError, false},
            {"SUCCESS inside another word", "ann|pw|DNS LOGIN:NOT SUCCESS</p>SUCCESS</p>",
             kServerError, false},
            {"no login label", "ann|pw|SUCCESS</p>", kServerError, false},
        };
        for (const auto &[tag, texts, message, emptied] : rows) {
            const QStringList f = fields(texts);
            QTest::newRow(tag) << f[0] << f[1] << f[2] << message << emptied;
        }
    }
    void refusedLogin()
    {
        QFETCH(QString, user);
        QFETCH(QString, password);
        QFETCH(QString, server);
        QFETCH(QString, message);
        QFETCH(bool, emptied);
        TestSeams seams;
        if (server == QLatin1String("unreachable"))
            Program::sServiceURL = QStringLiteral("http://127.0.0.1:1/dnslogin3.asp");
        else if (server != QLatin1String("service"))
            QVERIFY(m_service.setNextReply(server));
        type(user, password);
        QTest::mouseClick(m_login->cmdLogin, Qt::LeftButton);
        QCOMPARE(seams.texts(), QStringList{message});
        QCOMPARE(seams.messages[0].title, QStringLiteral("Veltrio"));
        QCOMPARE(seams.messages[0].buttons, Seams::Buttons::Ok);
        QCOMPARE(m_login->txtUsername->text(), emptied ? QString() : user);
        QCOMPARE(m_login->txtPassword->text(), emptied ? QString() : password);
        if (emptied)
            QCOMPARE(m_login->focusWidget(), m_login->txtUsername);
        QVERIFY(m_login->frmLoggingIn->isHidden());
        QVERIFY(!m_login->bBusy);
        QVERIFY(!Program::bLoggedIn);
        QCOMPARE(User().sUsername, QString());
        QCOMPARE(Windows::Find(QStringLiteral("frmLogin")), m_login.data());
        // A user name or password left out sends nothing.
        QCOMPARE(logins(),
                 user.trimmed().isEmpty() || password.trimmed().isEmpty() ||
                         server == QLatin1String("unreachable")
                     ? QStringList()
                     : QStringList{QStringLiteral("fxn=login&usr=%1&pwd=%2").arg(user, password)});
    }

    void successfulLogin_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("save");
        QTest::addColumn<bool>("ssl");
        QTest::addColumn<QStringList>("session"); // in the order the login fills it
        QTest::addColumn<QString>("record");
        QTest::addColumn<int>("freeUserInfo");
        QTest::newRow("free sub-domain, blanks around, saved")
            << "  demo "
            << " demo  " << true << false
            << fields("demo|Dana|Demo||dyn.veltrio.test|A,CNAME,MX|12/31/2030|demo|203.0.113.10|1")
            << "dyn.veltrio.test;;A;;demo;;192.0.2.1" << 1;
        QTest::newRow("own domains over SSL")
            << "acme"
            << "acme" << false << true
            << fields("acme|Ada|Acme|acme.test,acme-shop.test||A,CNAME,MX|12/31/2030|acme|"
                      "203.0.113.10|5")
            << "acme.test;;CNAME;;www;;acme.test" << 0;
    }
    void successfulLogin()
    {
        QFETCH(QString, user);
        QFETCH(QString, password);
        QFETCH(bool, save);
        QFETCH(bool, ssl);
        QFETCH(QStringList, session);
        QFETCH(QString, record);
        QFETCH(int, freeUserInfo);
        TestSeams seams;
        if (ssl) {
            m_login->mnuAdvanced->trigger();
            m_login->chkSSL->click();
            QTest::mouseClick(m_login->Label18, Qt::LeftButton);
        }
        type(user, password);
        m_login->chkSaveLogin->setChecked(save);
        QTest::mouseClick(m_login->cmdLogin, Qt::LeftButton);

        QCOMPARE(seams.texts(), QStringList());
        QVERIFY(m_login->frmLoggingIn->isHidden());
        const clsUser &u = User();
        QCOMPARE((QStringList{u.sUsername, u.sFirstName, u.sLastName, u.sDomainList, u.sSubDomain,
                              u.sRecordTypeList, u.sExpirationDate, u.sPassword, u.sIPAddress,
                              u.sUserLevel}),
                 session);
        QVERIFY2(u.sDomainUserRecords.contains(record), qPrintable(u.sDomainUserRecords));
        QCOMPARE(logins(), QStringList{QStringLiteral("fxn=login&usr=%1&pwd=%1").arg(session[0])});
        QCOMPARE(Program::sServiceURL.startsWith(QLatin1String("https://")), ssl);
        QVERIFY(Program::bLoggedIn);
        QCOMPARE(Program::bSaveLogin, save);
        QCOMPARE(m_main.calls, freeUserInfo);
        QCOMPARE(m_main.overlayShown, freeUserInfo > 0);
        QCOMPARE(Windows::Find(QStringLiteral("frmLogin")), nullptr);
        QTRY_VERIFY(m_login.isNull());
    }

    void expiry_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("expired");
        QTest::newRow("expired account")
            << "expired" << QDateTime(QDate(2026, 11, 22), QTime(14, 5, 9)) << true;
        QTest::newRow("day before the date")
            << "demo" << QDateTime(QDate(2030, 12, 30), QTime(23, 59, 59)) << false;
        QTest::newRow("the day has begun")
            << "demo" << QDateTime(QDate(2030, 12, 31), QTime(0, 0, 1)) << true;
    }
    void expiry()
    {
        QFETCH(QString, user);
        QFETCH(QDateTime, now);
        QFETCH(bool, expired);
        TestSeams seams;
        seams.now = now;
        type(user, user);
        QTest::keyClick(m_login->txtPassword, Qt::Key_Return);
        QCOMPARE(seams.texts(), QStringList());
        QCOMPARE(Program::bLoggedIn, !expired);
        QCOMPARE(User().sUsername, user);
        if (!expired) {
            QTRY_VERIFY(m_login.isNull());
            return;
        }
        verifyCovers(m_login->frameExpire);
        QCOMPARE(m_main.calls, 0);
        QCOMPARE(Windows::Find(QStringLiteral("frmLogin")), m_login.data());
        QTest::mouseClick(m_login->Label5, Qt::LeftButton);
        QVERIFY(m_login->frameExpire->isHidden());
    }

    void enterRunsTheLoginOnce_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<int>("key");
        QTest::newRow("Enter in the password box") << "txtPassword" << int(Qt::Key_Return);
        QTest::newRow("keypad Enter in the password box") << "txtPassword" << int(Qt::Key_Enter);
        QTest::newRow("Enter in the window") << "txtUsername" << int(Qt::Key_Return);
    }
    void enterRunsTheLoginOnce()
    {
        QFETCH(QString, box);
        QFETCH(int, key);
        TestSeams seams;
        type(QStringLiteral("acme"), QStringLiteral("acme"));
        auto *target = m_login->findChild<QLineEdit *>(box);
        bool overlayDuringRequest = false;
        // Runs while the request waits: a second Enter arrives then.
        QTimer::singleShot(0, m_login, [&] {
            overlayDuringRequest = m_login->frmLoggingIn->isVisible();
            verifyCovers(m_login->frmLoggingIn);
            QTest::keyClick(target, Qt::Key(key));
        });
        QTest::keyClick(target, Qt::Key(key));
        QVERIFY(overlayDuringRequest);
        QCOMPARE(logins().size(), 1);
        QVERIFY(Program::bLoggedIn);
        QCOMPARE(seams.texts(), QStringList());
    }

    void sessionFilledInOrderUntilABrokenValue()
    {
        TestSeams seams;
        // "IPAddress:" without its end tag: reading it fails, and the login
        // stops there with what it has filled so far.
        QVERIFY(m_service.setNextReply(QStringLiteral(
            "DNS LOGIN:  SUCCESS  </p>FirstName:Ann</p>LastName:Lee</p>Domains:a.test</p>"
            "SubDomain:</p>RecordTypes:A</p>ExpirationDate:12/31/2030</p>"
            "UserLevel:5</p>IPAddress:198.51.100.1")));
        type(QStringLiteral("ann"), QStringLiteral("pw"));
        QVERIFY_THROWS_EXCEPTION(RuntimeError, m_login->cmdLogin_Click());
        const clsUser &u = User();
        QCOMPARE((QStringList{u.sUsername, u.sFirstName, u.sLastName, u.sDomainList,
                              u.sRecordTypeList, u.sExpirationDate, u.sPassword}),
                 fields("ann|Ann|Lee|a.test|A|12/31/2030|pw"));
        QCOMPARE(u.sIPAddress, QString());
        QCOMPARE(u.sUserLevel, QString());
        QVERIFY(!Program::bLoggedIn);
        QVERIFY(!m_login->bBusy);
    }

    void sslBoxTakesThePortOfTheMainWindow_data()
    {
        QTest::addColumn<bool>("mainWindow");
        QTest::addColumn<QString>("url");
        QTest::newRow("no main window yet") << false << "http://127.0.0.1/dnslogin3.asp";
        QTest::newRow("main window shows 8080") << true << "http://127.0.0.1:8080/dnslogin3.asp";
    }
    void sslBoxTakesThePortOfTheMainWindow()
    {
        QFETCH(bool, mainWindow);
        QFETCH(QString, url);
        std::unique_ptr<QWidget> main;
        if (mainWindow) {
            main = std::make_unique<QWidget>();
            main->setObjectName(QStringLiteral("frmMain"));
            auto *ports = new QComboBox(main.get());
            ports->setObjectName(QStringLiteral("cboPorts"));
            ports->addItems({QStringLiteral("80"), QStringLiteral("8080")});
            ports->setCurrentIndex(1);
        }
        m_login->mnuAdvanced->trigger();
        m_login->cboPorts->setEditText(QStringLiteral("1400"));
        m_login->chkSSL->click();
        QCOMPARE(Program::sServiceURL,
                 QStringLiteral("https://127.0.0.1:%1/autoupdate/dnslogin3.asp")
                     .arg(m_service.httpsPort()));
        QVERIFY(!m_login->cboPorts->isEnabled());
        m_login->chkSSL->click();
        QCOMPARE(Program::sServiceURL, url);
        QVERIFY(m_login->cboPorts->isEnabled());
    }

    void advancedPanelSavesAndThePortCountsLater()
    {
        TestSeams seams;
        const QString before = Program::sServiceURL;
        m_login->mnuAdvanced->trigger();
        verifyCovers(m_login->frameAdvanced);
        m_login->cboPorts->lineEdit()->selectAll();
        QTest::keyClicks(m_login->cboPorts, QStringLiteral("1400"));
        m_login->cboRefreshRate->lineEdit()->selectAll();
        QTest::keyClicks(m_login->cboRefreshRate, QStringLiteral("75"));
        QTest::mouseClick(m_login->Label18, Qt::LeftButton);
        QVERIFY(m_login->frameAdvanced->isHidden());
        QVERIFY(m_login->frmLoginFrame->isVisible());
        RegistryStore reg;
        reg.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\Init"));
        QCOMPARE(reg.ReadValue(QStringLiteral("bSSL")), QStringLiteral("0"));
        QCOMPARE(reg.ReadValue(QStringLiteral("Port")), QStringLiteral("1400"));
        QCOMPARE(reg.ReadValue(QStringLiteral("RefreshRate")), QStringLiteral("75"));
        // Requests still go to the port the window was loaded with.
        QCOMPARE(Program::sServiceURL, before);
        type(QStringLiteral("acme"), QStringLiteral("acme"));
        QTest::keyClick(m_login->txtPassword, Qt::Key_Return);
        QVERIFY(Program::bLoggedIn);
    }

    void exit_data()
    {
        QTest::addColumn<bool>("mainFirst");
        QTest::newRow("login window alone") << false;
        QTest::newRow("main window loaded first") << true;
    }
    void exit()
    {
        QFETCH(bool, mainFirst);
        QPointer<QWidget> main;
        if (mainFirst) {
            delete m_login;
            main = new QWidget;
            main->setObjectName(QStringLiteral("frmMain"));
            Windows::Track(main);
            newLogin();
        }
        QTest::mouseClick(m_login->Label4, Qt::LeftButton);
        QVERIFY(Program::bSkipClosePrompt);
        // Unloading stops at the main window, which takes the others along.
        QCOMPARE(Windows::Loaded(),
                 mainFirst ? QList<QWidget *>{m_login.data()} : QList<QWidget *>());
        QTRY_VERIFY(main.isNull());
    }
};

QTEST_MAIN(TestFrmLogin)
#include "tst_frmlogin.moc"
