// The main window with a real login against veltrio-service: start-up,
// submission and deletion, saving, the close check and log-off, and one
// session from adding a record to deleting it.
#include "MainWindowTest.h"
#include "TestSeams.h"
#include "frmMain.h"

#include "PictureButton.h"
#include "RegistryStore.h"
#include "ServiceConfig.h"
#include "Twips.h"
#include "Windows.h"
#include "basErr.h"
#include "clsUser.h"
#include "frmLogin.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QHeaderView>
#include <QJsonArray>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QScreen>
#include <QSettings>
#include <QStandardPaths>
#include <QTimer>
#include <QTreeView>
#include <QUrlQuery>
#include <functional>

namespace {

QStringList texts(std::initializer_list<const char *> items)
{
    QStringList list;
    for (const char *item : items)
        list << QString::fromUtf8(item);
    return list;
}

// Acts on the login window once the main window has put it up modally.
void whenLoginShown(std::function<void(frmLogin *)> act)
{
    auto *poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, act] {
        auto *login = qobject_cast<frmLogin *>(Windows::Find(QStringLiteral("frmLogin")));
        if (login && login->isVisible()) {
            poll->deleteLater();
            poll->stop();
            act(login);
        }
    });
    poll->start(20);
}

} // namespace

class TestFrmMainSession : public MainWindowTest
{
    Q_OBJECT

    QStringList stateNames(const char *user) const
    {
        QStringList names;
        const auto records = m_service->stateJson()[QStringLiteral("records")][QLatin1String(user)];
        for (const auto record : records.toArray())
            names << record[QStringLiteral("name")].toString() + QLatin1Char('=') +
                         record[QStringLiteral("address")].toString();
        return names;
    }

    static int rowNamed(const frmMain &w, const QString &type, const QString &name)
    {
        const QAbstractItemModel *grid = w.lvDomainUser->model();
        for (int r = 0; r < grid->rowCount(); ++r) {
            if (grid->index(r, 1).data() == type && grid->index(r, 2).data() == name)
                return r;
        }
        return -1;
    }

    static void clickRow(frmMain &w, int row)
    {
        QVERIFY(row >= 0);
        const QRect r = w.lvDomainUser->visualRect(w.lvDomainUser->model()->index(row, 1));
        QTest::mouseClick(w.lvDomainUser->viewport(), Qt::LeftButton, {}, r.center());
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init() { resetProgram(); }
    void cleanup() { tearDown(); }

    void firstRun_centresAndAsksForLogin()
    {
        TestSeams seams;
        QVERIFY(startService());
        m_window = new frmMain;
        bool loginShown = false;
        whenLoginShown([&](frmLogin *login) {
            loginShown = true;
            const QRect screen = m_window->screen()->geometry();
            QCOMPARE(Twips::Width(m_window), 8895);
            QCOMPARE(Twips::Height(m_window), 7065);
            QCOMPARE(m_window->x(), (screen.width() - m_window->width()) / 2);
            QVERIFY(qAbs(Twips::Top(m_window) -
                         ((Twips::FromPixels(screen.height()) - 7065) / 2 - 500)) <= 15);
            const int widths[] = {2200, 1000, 1800, 2200, 800};
            for (int i = 0; i < 5; ++i)
                QCOMPARE(m_window->lvDomainUser->header()->sectionSize(i),
                         Twips::ToPixels(widths[i]));
            login->txtUsername->setText(QStringLiteral("acme"));
            login->txtPassword->setText(QStringLiteral("acme"));
            login->cmdLogin_Click();
        });
        m_window->Form_Load();
        QVERIFY(loginShown);
        QVERIFY(m_window->isVisible());
        QVERIFY(!m_window->frameGrid->isHidden());
        QCOMPARE(m_window->lvDomainUser->model()->rowCount(), 6);
        QCOMPARE(m_window->windowTitle(), QStringLiteral("Veltrio Dynamic DNS version 1.0 Rev 1"));
    }

    void savedLogin_neverShowsLoginAndRestoresLayout()
    {
        TestSeams seams;
        QVERIFY(startService());
        writeValues(userKey("acme"), {{"MainLeft", 600},
                                      {"MainTop", 450},
                                      {"MainWidth", 10500},
                                      {"MainHeight", 8100},
                                      {"Col2", 1500},
                                      {"SortCol", 2},
                                      {"SortOrder", 1},
                                      {"Sorted", 1}});
        bool loginShown = false;
        whenLoginShown([&](frmLogin *) { loginShown = true; });
        frmMain *w = startWithSavedLogin("acme");
        QCoreApplication::processEvents();
        QVERIFY(!loginShown);
        QVERIFY(seams.messages.isEmpty());
        QVERIFY(w->isVisible());
        QCOMPARE(Twips::Width(w), 10500);
        QCOMPARE(Twips::Left(w), 600);
        QCOMPARE(w->lvDomainUser->header()->sectionSize(1), Twips::ToPixels(1500));
        QVERIFY(w->Sorted() && w->SortDescending());
        QCOMPARE(w->lvDomainUser->model()->index(0, 2).data().toString(), QStringLiteral("www"));
        // The grid grew with the window.
        QCOMPARE(Twips::Width(w->frameGrid), 8535 + 10500 - 8895);
    }

    void savedLogin_wrongPasswordShowsLogin_exitEndsLoad()
    {
        TestSeams seams;
        QVERIFY(startService());
        writeValues(kInit, {{"bSaveLogin", 1},
                            {"Username", QStringLiteral("acme")},
                            {"Password", QStringLiteral("nope")}});
        m_window = new frmMain;
        bool loginShown = false;
        whenLoginShown([&](frmLogin *login) {
            loginShown = true;
            login->cmdExit_Click();
        });
        m_window->Form_Load();
        QVERIFY(loginShown);
        QVERIFY(seams.texts().value(0).startsWith(QStringLiteral("Invalid Username or Password.")));
        QCOMPARE(m_window->windowTitle(), QStringLiteral("Veltrio Dynamic DNS"));
        QVERIFY(!Windows::Find(QStringLiteral("frmMain")));
        QVERIFY(!m_window->tmrAuto->isActive());
    }

    void submit_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("change");       // what the user does in the editor
        QTest::addColumn<QStringList>("expected"); // per request: command and address
        QTest::newRow("unchanged") << "A"
                                   << "mail"
                                   << "" << QStringList();
        QTest::newRow("address case") << "CNAME"
                                      << "www"
                                      << "address=ACME.TEST" << QStringList();
        QTest::newRow("name case")
            << "CNAME"
            << "www"
            << "name=WWW" << texts({"RECORDDELETE acme.test", "RECORDADD acme.test"});
        QTest::newRow("AutoIP ticked")
            << "A"
            << "mail"
            << "autoip" << texts({"RECORDDELETE 203.0.113.7", "RECORDADD 203.0.113.7"});
        QTest::newRow("relay port") << "PORT RELAY"
                                    << "shop"
                                    << "port=8081"
                                    << texts({"RECORDDELETE http://203.0.113.7/shop",
                                              "RECORDADD http://203.0.113.7:8081/shop"});
    }
    void submit()
    {
        QFETCH(QString, type);
        QFETCH(QString, name);
        QFETCH(QString, change);
        QFETCH(QStringList, expected);
        TestSeams seams;
        QVERIFY(startService());
        frmMain *w = startWithSavedLogin("acme");
        QVERIFY(QTest::qWaitForWindowExposed(w));
        clickRow(*w, rowNamed(*w, type, name));
        w->cmdEditGrid_Click();
        QVERIFY(!w->frameOtherDomain->isHidden());
        if (change.startsWith(QLatin1String("address=")))
            w->txtServerIP->setText(change.mid(8));
        else if (change.startsWith(QLatin1String("name=")))
            w->txtCName->setText(change.mid(5));
        else if (change.startsWith(QLatin1String("port=")))
            w->txtPort->setText(change.mid(5));
        else if (change == QLatin1String("autoip"))
            QTest::mouseClick(w->chkDomainAutoIP, Qt::LeftButton);
        m_service->clearRequests();
        w->cmdServerIP_Click();
        QStringList got;
        for (const QString &query : sent()) {
            const QUrlQuery q(query.mid(query.indexOf(u'?') + 1));
            got << q.queryItemValue(QStringLiteral("DNSCommand")) + u' ' +
                       q.queryItemValue(QStringLiteral("IPAddress"));
        }
        QCOMPARE(got, expected);
        QVERIFY(!w->frameGrid->isHidden());
        if (change == QLatin1String("autoip")) {
            QCOMPARE(Program::sAutoIPList, QStringLiteral("ACME.TEST;;A;;MAIL;;203.0.113.7~~"));
            QCOMPARE(w->lvDomainUser->model()->index(rowNamed(*w, type, name), 4).data().toString(),
                     QStringLiteral("Yes"));
        }
    }

    void delete_asksAndNoSendsNothing()
    {
        TestSeams seams;
        QVERIFY(startService());
        frmMain *w = startWithSavedLogin("acme");
        QVERIFY(QTest::qWaitForWindowExposed(w));
        clickRow(*w, rowNamed(*w, QStringLiteral("A"), QStringLiteral("mail")));
        m_service->clearRequests();
        seams.answers = {Seams::Answer::No};
        w->cmdDeleteGrid_Click();
        QCOMPARE(seams.messages.size(), 1);
        QCOMPARE(seams.messages[0].text,
                 QStringLiteral("Are you sure you want to delete the selected record?\r\n\r\n"
                                "Domain: acme.test\r\nType: A\r\nName: mail\r\n"
                                "Server Address: 203.0.113.7\r\nAutoIP: No\r\n"));
        QCOMPARE(seams.messages[0].buttons, Seams::Buttons::YesNo);
        QVERIFY(sent().isEmpty());
        QCOMPARE(w->lvDomainUser->model()->rowCount(), 6);
    }

    void saveSettings_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<int>("state");           // Qt::WindowState
        QTest::addColumn<QString>("windowState"); // written, or "" for none
        QTest::addColumn<bool>("geometry");
        QTest::newRow("blank user name") << "   " << int(Qt::WindowNoState) << "" << false;
        QTest::newRow("normal") << "acme" << int(Qt::WindowNoState) << "0" << true;
        QTest::newRow("maximised") << "acme" << int(Qt::WindowMaximized) << "2" << false;
        QTest::newRow("minimised") << "acme" << int(Qt::WindowMinimized) << "" << false;
    }
    void saveSettings()
    {
        QFETCH(QString, user);
        QFETCH(int, state);
        QFETCH(QString, windowState);
        QFETCH(bool, geometry);
        TestSeams seams;
        QVERIFY(startService());
        frmMain *w = startWithSavedLogin("acme");
        const QString key = userKey("acme");
        writeValues(key, {{"MainWidth", 1234}, {"WindowState", 7}});
        writeValues(kInit, {{"bSaveLogin", 0}});
        User().sUsername = user;
        w->setWindowState(Qt::WindowStates(state));
        w->SaveSettings();
        QCOMPARE(readValue(key, "WindowState"),
                 windowState.isEmpty() ? QStringLiteral("7") : windowState);
        QCOMPARE(readValue(key, "MainWidth") != QLatin1String("1234"), geometry);
        QCOMPARE(readValue(kInit, "bSaveLogin"),
                 user == QLatin1String("acme") ? QStringLiteral("1") : QStringLiteral("0"));
        QCOMPARE(readValue(key, "Col1").isEmpty(), user != QLatin1String("acme"));
    }

    void close_questions_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<bool>("viaExit");
        QTest::addColumn<QString>("question"); // first words, "" for none
        QTest::newRow("own domains, close box")
            << "acme" << false << "Are you sure you want to close the Dynamic";
        QTest::newRow("own domains, Exit") << "acme" << true << "";
        QTest::newRow("free, Exit")
            << "demo" << true << "By closing this application you will remove";
    }
    void close_questions()
    {
        QFETCH(QString, user);
        QFETCH(bool, viaExit);
        QFETCH(QString, question);
        TestSeams seams;
        QVERIFY(startService());
        frmMain *w = startWithSavedLogin(qPrintable(user));
        seams.messages.clear();
        // No keeps the window and saves nothing.
        seams.answers = {Seams::Answer::No};
        viaExit ? w->mnuLogout_Click() : void(w->close());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(bool(m_window), !question.isEmpty());
        if (question.isEmpty()) {
            QVERIFY(seams.messages.isEmpty());
            QCOMPARE(readValue(userKey(qPrintable(user)), "Sorted"), QStringLiteral("0"));
            return;
        }
        QCOMPARE(seams.messages.size(), 1);
        QVERIFY(seams.messages[0].text.startsWith(question));
        QCOMPARE(seams.messages[0].buttons, Seams::Buttons::YesNo);
        QVERIFY(readValue(userKey(qPrintable(user)), "Sorted").isEmpty());
        // Yes closes; a free account's record leaves the service.
        QVERIFY(w->close());
        if (user == QLatin1String("demo"))
            QVERIFY(!stateNames("demo").contains(QStringLiteral("demo=203.0.113.7")));
    }

    void logOff_removesFreeRecordUntilNextLogin()
    {
        TestSeams seams;
        QVERIFY(startService());
        frmMain *w = startWithSavedLogin("demo");
        QVERIFY(stateNames("demo").contains(QStringLiteral("demo=203.0.113.7")));
        QVERIFY(!w->frameVeltrioDomain->isHidden());
        QVERIFY(!w->mnuAddDomain->isVisible());
        QStringList atLogin;
        whenLoginShown([&](frmLogin *login) {
            atLogin = stateNames("demo");
            QVERIFY(!w->isVisible());
            login->txtUsername->setText(QStringLiteral("demo"));
            login->txtPassword->setText(QStringLiteral("demo"));
            login->cmdLogin_Click();
        });
        w->mnuLogin_Click();
        QVERIFY(!atLogin.contains(QStringLiteral("demo=203.0.113.7")));
        QVERIFY(stateNames("demo").contains(QStringLiteral("demo=203.0.113.7")));
        QVERIFY(w->isVisible());
        QCOMPARE(w->lblDomain->text(), QStringLiteral("demo.dyn.veltrio.test"));
    }

    void endToEnd_addEditDelete()
    {
        TestSeams seams;
        QVERIFY(startService());
        frmMain *w = startWithSavedLogin("acme");
        QVERIFY(QTest::qWaitForWindowExposed(w));

        QTest::mouseClick(w->cmdAddGrid, Qt::LeftButton);
        w->cboDomain->setCurrentText(QStringLiteral("acme.test"));
        w->cboRecordType->setCurrentText(QStringLiteral("A"));
        QTest::keyClicks(w->txtCName, QStringLiteral("vpn"));
        QTest::keyClicks(w->txtServerIP, QStringLiteral("198.51.100.5"));
        QTest::mouseClick(w->cmdServerIP, Qt::LeftButton);
        QVERIFY(stateNames("acme").contains(QStringLiteral("vpn=198.51.100.5")));

        clickRow(*w, rowNamed(*w, QStringLiteral("A"), QStringLiteral("vpn")));
        QTest::mouseClick(w->cmdEditGrid, Qt::LeftButton);
        w->txtServerIP->setText(QStringLiteral("198.51.100.6"));
        QTest::mouseClick(w->cmdServerIP, Qt::LeftButton);
        QStringList names = stateNames("acme");
        QVERIFY(names.contains(QStringLiteral("vpn=198.51.100.6")));
        QVERIFY(!names.contains(QStringLiteral("vpn=198.51.100.5")));

        clickRow(*w, rowNamed(*w, QStringLiteral("A"), QStringLiteral("vpn")));
        QTest::mouseClick(w->cmdDeleteGrid, Qt::LeftButton);
        names = stateNames("acme");
        QVERIFY(!names.join(u' ').contains(QLatin1String("vpn")));
        QCOMPARE(names.size(), 6);
        QCOMPARE(rowNamed(*w, QStringLiteral("A"), QStringLiteral("vpn")), -1);
    }
};

QTEST_MAIN(TestFrmMainSession)
#include "tst_frmmain_session.moc"
