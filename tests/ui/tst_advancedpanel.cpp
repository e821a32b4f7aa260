#include "AdvancedPanel.h"
#include "RegistryStore.h"
#include "ServiceConfig.h"
#include "TestSeams.h"
#include "basErr.h"
#include "clsUser.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QValidator>

class TestAdvancedTab : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        ServiceConfig config = ServiceConfig::Defaults();
        config.httpHost = QStringLiteral("update.test");
        config.httpsHost = QStringLiteral("secure.test");
        SetConfig(config);
        basErr::SetLogFolder(m_dir.filePath(QStringLiteral("Logs")));
    }
    void cleanupTestCase() { RegistryStore::SetFile(QString()); }

    void load_data()
    {
        QTest::addColumn<QString>("init"); // the [Init] section
        QTest::addColumn<bool>("freeAccount");
        QTest::addColumn<bool>("withService"); // the main window has chkService, the login not
        // rate|port|service URL, "http" for the plain one with the port shown
        QTest::addColumn<QString>("expected");
        QTest::newRow("rate 45 raised, SSL ignores Port")
            << "RefreshRate=45\nbSSL=1\nPort=1400" << false << true << "60|80|https";
        QTest::newRow("rate and port as read, service flag")
            << "bRunAsService=1\nRefreshRate=75\nPort=1400" << false << true << "75|1400|http";
        QTest::newRow("free account keeps 70 below its list")
            << "RefreshRate=70" << true << true << "70|80|http";
        QTest::newRow("rate abc and SSL true ignored")
            << "RefreshRate=abc\nbSSL=true" << false << true << "60|80|http";
        QTest::newRow("rate beyond any number falls to 90")
            << "RefreshRate=1e999" << false << true << "90|80|http";
        QTest::newRow("rate no check would ever reach falls to 90")
            << "RefreshRate=1e300" << false << true << "90|80|http";
        QTest::newRow("service flag without chkService ends early")
            << "bRunAsService=1\nbSSL=1\nPort=8080\nRefreshRate=100" << false << false
            << "100|80|unchanged";
    }
    void load()
    {
        QFETCH(QString, init);
        QFETCH(bool, freeAccount);
        QFETCH(bool, withService);
        QFETCH(QString, expected);
        const QString file =
            m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()) + QStringLiteral(".ini"));
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("[Init]\n" + init.toUtf8() + "\n");
        f.close();
        RegistryStore::SetFile(file);
        TestSeams seams;
        ProgramWide::Reset();
        User().bVeltrioOnly = freeAccount;
        ProgramWide::sServiceURL = QStringLiteral("unchanged");
        QWidget window;
        auto *ports = new QComboBox(&window), *rates = new QComboBox(&window);
        ports->setObjectName(QStringLiteral("cboPorts"));
        rates->setObjectName(QStringLiteral("cboRefreshRate"));
        ports->setEditable(true);
        rates->setEditable(true);
        (new QCheckBox(&window))->setObjectName(QStringLiteral("chkSSL"));
        QCheckBox service;
        service.setObjectName(QStringLiteral("chkService"));
        if (withService)
            service.setParent(&window);

        AdvancedPanel::LoadAdvancedTabSettings(&window);
        const QStringList want = expected.split(u'|');
        QCOMPARE(rates->currentText(), want[0]);
        QCOMPARE(rates->count(), freeAccount ? 4 : 10);
        QCOMPARE(ports->currentText(), want[1]);
        QCOMPARE(ports->isEnabled(), want[2] != QLatin1String("https"));
        const QString url = want[2] == QLatin1String("http")
                                ? QStringLiteral("http://update.test:%1/dnslogin3.asp").arg(want[1])
                            : want[2] == QLatin1String("https")
                                ? QStringLiteral("https://secure.test/autoupdate/dnslogin3.asp")
                                : want[2];
        QCOMPARE(ProgramWide::sServiceURL, url);
        QCOMPARE(service.isChecked(),
                 withService && init.contains(QLatin1String("bRunAsService=1")));
        // Ending early is a trapped error 91, a missing control.
        const bool trapped = want[2] == QLatin1String("unchanged");
        QCOMPARE(seams.messages.size(), trapped ? 1 : 0);
        if (trapped)
            QVERIFY(seams.texts()[0].startsWith(
                QStringLiteral("basDNS.LoadAdvancedTabSettings()\rError # 91 ")));
    }

    // A numeric combo takes one to nine of the digits 0-9 and nothing else.
    void keepNumeric_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("state");
        QTest::newRow("empty") << QString() << int(QValidator::Intermediate);
        QTest::newRow("nine digits") << QStringLiteral("123456789") << int(QValidator::Acceptable);
        QTest::newRow("a letter") << QStringLiteral("6o") << int(QValidator::Invalid);
        QTest::newRow("ten digits") << QStringLiteral("1234567890") << int(QValidator::Invalid);
        QTest::newRow("other digits")
            << QString::fromUtf8("\u0661\u0662") << int(QValidator::Invalid);
    }
    void keepNumeric()
    {
        QFETCH(QString, typed);
        QFETCH(int, state);
        QComboBox combo;
        combo.setEditable(true);
        AdvancedPanel::KeepNumeric(&combo);
        const QValidator *validator = combo.lineEdit()->validator();
        QVERIFY(validator);
        int pos = 0;
        QCOMPARE(int(validator->validate(typed, pos)), state);
    }
};

QTEST_MAIN(TestAdvancedTab)
#include "tst_advancedpanel.moc"
