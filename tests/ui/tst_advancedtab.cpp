#include "AdvancedTab.h"
#include "RegistryStore.h"
#include "ServiceConfig.h"
#include "TestSeams.h"
#include "basErr.h"
#include "clsUser.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class TestAdvancedTab : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    // A window with the controls the procedure looks for, as the main
    // window (with chkService) or the login window (without) has them.
    static std::unique_ptr<QWidget> makeWindow(bool withService)
    {
        auto window = std::make_unique<QWidget>();
        for (const char *name : {"cboPorts", "cboRefreshRate"}) {
            auto *combo = new QComboBox(window.get());
            combo->setObjectName(QLatin1String(name));
            combo->setEditable(true);
        }
        QStringList boxes{QStringLiteral("chkSSL")};
        if (withService)
            boxes << QStringLiteral("chkService");
        for (const QString &name : boxes)
            (new QCheckBox(window.get()))->setObjectName(name);
        return window;
    }

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
    void cleanupTestCase()
    {
        RegistryStore::SetFile(QString());
        basErr::SetLogFolder(QString());
    }

    void load_data()
    {
        QTest::addColumn<QByteArray>("init"); // the [Init] section
        QTest::addColumn<bool>("freeAccount");
        QTest::addColumn<bool>("withService");
        QTest::addColumn<QString>("rate");
        QTest::addColumn<QString>("port");
        QTest::addColumn<bool>("portsEnabled");
        QTest::addColumn<QString>("url");
        QTest::addColumn<bool>("trapped");

        const QString plain80 = QStringLiteral("http://update.test:80/dnslogin3.asp");
        const QString https = QStringLiteral("https://secure.test/autoupdate/dnslogin3.asp");
        QTest::newRow("nothing stored") << QByteArray() << false << true << "60"
                                        << "80" << true << plain80 << false;
        QTest::newRow("rate 45 raised to 60")
            << QByteArray("RefreshRate=45") << false << true << "60"
            << "80" << true << plain80 << false;
        QTest::newRow("rate 75 shown as read")
            << QByteArray("RefreshRate=75") << false << true << "75"
            << "80" << true << plain80 << false;
        QTest::newRow("free account keeps 70 below its list")
            << QByteArray("RefreshRate=70") << true << true << "70"
            << "80" << true << plain80 << false;
        QTest::newRow("rate abc keeps the default")
            << QByteArray("RefreshRate=abc") << false << true << "60"
            << "80" << true << plain80 << false;
        QTest::newRow("rate beyond any number falls back to 90")
            << QByteArray("RefreshRate=1e999") << false << true << "90"
            << "80" << true << plain80 << false;
        QTest::newRow("port 1400 without SSL")
            << QByteArray("Port=1400") << false << true << "60"
            << "1400" << true << "http://update.test:1400/dnslogin3.asp" << false;
        QTest::newRow("SSL disables the ports and ignores Port")
            << QByteArray("bSSL=1\nPort=1400") << false << true << "60"
            << "80" << false << https << false;
        QTest::newRow("SSL true counts as no") << QByteArray("bSSL=true") << false << true << "60"
                                               << "80" << true << plain80 << false;
        QTest::newRow("service flag with chkService")
            << QByteArray("bRunAsService=1\nPort=8080") << false << true << "60"
            << "8080" << true << "http://update.test:8080/dnslogin3.asp" << false;
        QTest::newRow("service flag without chkService ends early")
            << QByteArray("bRunAsService=1\nbSSL=1\nPort=8080\nRefreshRate=100") << false << false
            << "100"
            << "80" << true << "unchanged" << true;
    }
    void load()
    {
        QFETCH(QByteArray, init);
        QFETCH(bool, freeAccount);
        QFETCH(bool, withService);
        QFETCH(QString, rate);
        QFETCH(QString, port);
        QFETCH(bool, portsEnabled);
        QFETCH(QString, url);
        QFETCH(bool, trapped);

        const QString file =
            m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()) + QStringLiteral(".ini"));
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("[Init]\n" + init + "\n");
        f.close();
        RegistryStore::SetFile(file);
        TestSeams seams;
        Program::Reset();
        User().bVeltrioOnly = freeAccount;
        Program::sServiceURL = QStringLiteral("unchanged");

        const auto window = makeWindow(withService);
        basDNS::LoadAdvancedTabSettings(window.get());

        auto *cboPorts = window->findChild<QComboBox *>(QStringLiteral("cboPorts"));
        auto *cboRefreshRate = window->findChild<QComboBox *>(QStringLiteral("cboRefreshRate"));
        QCOMPARE(cboRefreshRate->currentText(), rate);
        QCOMPARE(cboRefreshRate->count(), freeAccount ? 4 : 10);
        QCOMPARE(cboPorts->currentText(), port);
        QCOMPARE(cboPorts->isEnabled(), portsEnabled);
        QCOMPARE(Program::sServiceURL, url);
        if (trapped) {
            QCOMPARE(seams.messages.size(), 1);
            QCOMPARE(seams.messages[0].title, QStringLiteral("Error"));
            QVERIFY2(seams.messages[0].text.startsWith(
                         QStringLiteral("basDNS.LoadAdvancedTabSettings()\rError # 91 ")),
                     qPrintable(seams.messages[0].text));
        } else {
            QCOMPARE(seams.texts(), QStringList());
        }
        if (withService)
            QCOMPARE(window->findChild<QCheckBox *>(QStringLiteral("chkService"))->isChecked(),
                     init.contains("bRunAsService=1"));
    }

    void fillComboFromList_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QStringList>("items");
        QTest::newRow("empty list") << "" << QStringList();
        QTest::newRow("one item") << "80" << QStringList{QStringLiteral("80")};
        QTest::newRow("empty pieces kept")
            << "A,,MX,"
            << QStringList{QStringLiteral("A"), QString(), QStringLiteral("MX"), QString()};
    }
    void fillComboFromList()
    {
        QFETCH(QString, list);
        QFETCH(QStringList, items);
        QComboBox combo;
        combo.addItems({QStringLiteral("old"), QStringLiteral("items")});
        basDNS::FillComboFromList(&combo, list);
        QStringList shown;
        for (int i = 0; i < combo.count(); ++i)
            shown << combo.itemText(i);
        QCOMPARE(shown, items);
    }
};

QTEST_MAIN(TestAdvancedTab)
#include "tst_advancedtab.moc"
