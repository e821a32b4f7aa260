#include "MainWindowPort.h"
#include "RecordList.h"
#include "ServiceConfig.h"
#include "ServiceProcess.h"
#include "TestSeams.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QStandardPaths>
#include <QTest>

// The client's exchanges with veltrio-service over HTTP and HTTPS: what it
// sends, what it makes of the replies, and how a failed exchange ends.
namespace {

// The main window as the protocol sees it, recording what it is told.
class RecordingWindow : public MainWindowPort
{
public:
    int StatusColour() const override { return colour; }
    void SetStatus(const QString &text, int newColour) override
    {
        caption = text;
        colour = newColour;
        ++statusChanges;
    }
    void SysTrayIcon(bool connected) override { tray.append(connected); }
    void SetWindowEnabled(bool enabled) override { enabledCalls.append(enabled); }
    void LoadFreeUserInfo() override {}

    int colour = StatusColour::NotConnected;
    QString caption;
    int statusChanges = 0;
    QList<bool> tray;
    QList<bool> enabledCalls;
};

} // namespace

class TestProtocol : public QObject
{
    Q_OBJECT

private:
    ServiceProcess m_service;
    QTemporaryDir m_logs;
    RecordingWindow m_window;

    // Points the client at the service over HTTP or HTTPS, trusting the
    // service's CA.
    void useService(bool https, bool trustCa = true)
    {
        ServiceConfig config = ServiceConfig::Defaults();
        config.httpHost = QStringLiteral("127.0.0.1");
        config.httpsHost = QStringLiteral("127.0.0.1:%1").arg(m_service.httpsPort());
        config.caCertificates = trustCa ? m_service.caFile() : QString();
        SetConfig(config);
        ProgramWide::sServiceURL =
            https ? basDNS::HttpsURL() : basDNS::PlainURL(QString::number(m_service.httpPort()));
    }

    static void logIn(const QString &user, const QString &password)
    {
        User().sUsername = user;
        User().sPassword = password;
    }

    static void addTransportColumn()
    {
        QTest::addColumn<bool>("https");
        QTest::newRow("http") << false;
        QTest::newRow("https") << true;
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_logs.isValid());
        basErr::SetLogFolder(m_logs.path());
        QVERIFY2(m_service.start(ServiceProcess::WithTls), qPrintable(m_service.errorString()));
    }
    void init()
    {
        // Qt's schannel backend hands the extra CAs to the chain check as a
        // store imported from PKCS#12; Wine's import takes no certificate
        // without its key, so there the extra CA is never used.
        const bool extraCa = qstrcmp(QTest::currentDataTag(), "https") == 0 ||
                             qstrcmp(QTest::currentDataTag(), "untrusted certificate") == 0;
        if (extraCa && HelperProcess::underWine())
            QSKIP("Wine ignores the extra CA: its PFXImportCertStore imports no certificate "
                  "without a key");
        ProgramWide::Reset();
        m_window = RecordingWindow();
        RegisterMainWindow(&m_window);
        basDNS::SetTransferTimeout(60000);
        m_service.clearRequests();
        QVERIFY(m_service.setPublicIp(QString()));
    }

    void ticklerAddAndDelete_data() { addTransportColumn(); }
    void ticklerAddAndDelete()
    {
        QFETCH(bool, https);
        TestSeams seams;
        useService(https);
        logIn(QStringLiteral("acme"), QStringLiteral("acme"));
        const QString address = https ? QStringLiteral("192.0.2.78") : QStringLiteral("192.0.2.77");
        const QString piece = QStringLiteral("acme.test;;A;;@;;") + address;
        const QString query =
            QStringLiteral("FXN=DNSTickler&Usr=acme&Pwd=acme&Cname=@&Domain=acme.test"
                           "&DNSCommand=%1&RecordType=A&IPAddress=") +
            address;

        QString host;
        QVERIFY(basDNS::DNSTickler(QStringLiteral("acme.test"), host, basDNS::RecordAdd,
                                   QStringLiteral("A"), address, true, true));
        QCOMPARE(host, QStringLiteral("@"));
        QCOMPARE(User().sIPAddress, address);
        QVERIFY(RecordList::Split(User().sDomainUserRecords).contains(piece));
        QCOMPARE(ProgramWide::sAutoIPList,
                 QStringLiteral("ACME.TEST;;A;;@;;") + address + QStringLiteral("~~"));

        QVERIFY(basDNS::DNSTickler(QStringLiteral("acme.test"), host, basDNS::RecordDelete,
                                   QStringLiteral("A"), address, true, false));
        QCOMPARE(m_service.requests(),
                 (QStringList{query.arg(basDNS::RecordAdd), query.arg(basDNS::RecordDelete)}));
        QVERIFY(!RecordList::Split(User().sDomainUserRecords).contains(piece));
        QCOMPARE(ProgramWide::sAutoIPList, QString());
        const QString done = QStringLiteral("Transaction Complete:\nIP %1 for Name:@ IPAddress:");
        QCOMPARE(seams.texts(), (QStringList{done.arg(QLatin1String("Set")) + address,
                                             done.arg(QLatin1String("Removed")) + address}));
        QCOMPARE(seams.messages[0].title, QStringLiteral("Veltrio"));
    }

    void ticklerAdvanced_freeSubDomain()
    {
        TestSeams seams;
        useService(false);
        logIn(QStringLiteral("demo"), QStringLiteral("demo"));
        User().bVeltrioOnly = true;
        QString host;
        QVERIFY(basDNS::DNSTicklerAdvanced(QStringLiteral("dyn.veltrio.test"), host,
                                           basDNS::RecordAdd, QStringLiteral("A"),
                                           QStringLiteral("192.0.2.9"), true));
        QCOMPARE(host, QStringLiteral("@"));
        QCOMPARE(m_service.requests(),
                 QStringList{QStringLiteral(
                     "FXN=DNSTicklerAdvanced&Usr=demo&Pwd=demo&Cname=@.demo&Domain=dyn.veltrio.test"
                     "&DNSCommand=RECORDADD&RecordType=A&IPAddress=192.0.2.9")});
        QVERIFY(RecordList::Split(User().sDomainUserRecords)
                    .contains(QStringLiteral("dyn.veltrio.test;;A;;demo;;192.0.2.9")));
        QCOMPARE(seams.texts(),
                 QStringList{QStringLiteral("Transaction Complete:\n@.demo.dyn.veltrio.test Set")});
        // A free account's commands never touch the auto-IP list.
        QCOMPARE(ProgramWide::sAutoIPList, QString());
    }

    void tickler_failure_data()
    {
        QTest::addColumn<bool>("advanced");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("title");
        const QString title = Seams::DefaultTitle();
        QTest::newRow("set") << false << basDNS::RecordAdd << "Could not Set IP.  " << title;
        QTest::newRow("remove") << false << basDNS::RecordDelete << "Could not Remove IP.  "
                                << title;
        QTest::newRow("advanced") << true << basDNS::RecordAdd
                                  << "Could not Set www.demo.dyn.veltrio.test "
                                  << "Veltrio";
    }
    void tickler_failure()
    {
        QFETCH(bool, advanced);
        QFETCH(QString, command);
        QFETCH(QString, message);
        TestSeams seams;
        useService(false);
        logIn(QStringLiteral("demo"), QStringLiteral("wrong"));
        User().sDomainUserRecords = QStringLiteral("kept;;A;;@;;1.2.3.4");
        const QString domain = QStringLiteral("dyn.veltrio.test");
        QString host = QStringLiteral("www");
        QVERIFY(!(advanced ? basDNS::DNSTicklerAdvanced(domain, host, command, QStringLiteral("A"),
                                                        QStringLiteral("192.0.2.9"), true)
                           : basDNS::DNSTickler(domain, host, command, QStringLiteral("A"),
                                                QStringLiteral("192.0.2.5"), true, true)));
        QCOMPARE(seams.texts(),
                 QStringList{message + QStringLiteral("Invalid user name or password")});
        QTEST(seams.messages[0].title, "title");
        QCOMPARE(m_window.caption, QStringLiteral("Not Connected with Server"));
        QCOMPARE(User().sDomainUserRecords, QStringLiteral("kept;;A;;@;;1.2.3.4"));
    }

    void getIPAddress_followsAddressChange()
    {
        useService(false);
        logIn(QStringLiteral("acme"), QStringLiteral("acme"));
        QVERIFY(m_service.setPublicIp(QStringLiteral("203.0.113.10")));
        QCOMPARE(basDNS::GetIPAddress(), QStringLiteral("203.0.113.10"));
        QVERIFY(RecordList::Split(User().sDomainUserRecords)
                    .contains(QStringLiteral("acme.test;;A;;mail;;203.0.113.7")));
        QVERIFY(m_service.setPublicIp(QStringLiteral("203.0.113.20")));
        QCOMPARE(basDNS::GetIPAddress(), QStringLiteral("203.0.113.20"));
        // No password goes with the address query.
        QCOMPARE(m_service.requests().last(), QStringLiteral("FXN=GetIPAddress&Usr=acme"));
    }

    void connectionStatus_followsOutcome()
    {
        useService(false);
        logIn(QStringLiteral("acme"), QStringLiteral("acme"));

        // Dark red: a success turns it green and tells the tray.
        QVERIFY(!basDNS::GetIPAddress().isEmpty());
        QCOMPARE(m_window.caption, QStringLiteral("Connected"));
        QCOMPARE(m_window.tray, QList<bool>{true});
        // Already green: nothing changes.
        QVERIFY(!basDNS::GetIPAddress().isEmpty());
        QCOMPARE(m_window.statusChanges, 1);
        // A failure always reports, even twice in a row, and keeps the record list.
        ProgramWide::sServiceURL = QStringLiteral("http://127.0.0.1:1/dnslogin3.asp");
        User().sDomainUserRecords = QStringLiteral("kept");
        QVERIFY(basDNS::GetIPAddress().isEmpty());
        QVERIFY(basDNS::GetIPAddress().isEmpty());
        QCOMPARE(User().sDomainUserRecords, QStringLiteral("kept"));
        QCOMPARE(m_window.caption, QStringLiteral("Not Connected with Server"));
        QCOMPARE(m_window.colour, StatusColour::NotConnected);
        QCOMPARE(m_window.tray, (QList<bool>{true, false, false}));
        QCOMPARE(m_window.statusChanges, 3);
    }

    // A failed exchange ends in the empty reply, and the next goes through:
    // the deadline covers the whole exchange (a service that never answers,
    // one that trickles its reply a byte at a time), and a certificate is
    // refused until its CA is trusted.
    void failedExchange_endsEmpty_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::newRow("silent") << "delay";
        QTest::newRow("one byte every 100 ms") << "trickle";
        QTest::newRow("untrusted certificate") << "certificate";
    }
    void failedExchange_endsEmpty()
    {
        QFETCH(QString, fault);
        const bool https = fault == QLatin1String("certificate");
        useService(https, !https);
        if (!https) {
            QVERIFY(fault == QLatin1String("trickle") ? m_service.setNextTrickle(100)
                                                      : m_service.setNextDelay(30000));
            basDNS::SetTransferTimeout(800);
        }
        const QString query = QStringLiteral("?FXN=GetIPAddress&Usr=acme");
        QCOMPARE(basDNS::OpenRequest(query), QString());
        useService(https);
        QVERIFY(basDNS::IsSuccess(basDNS::OpenRequest(query)));
    }

    void malformedReply_isTrappedAndWindowEnabledAgain()
    {
        TestSeams seams;
        useService(false);
        logIn(QStringLiteral("acme"), QStringLiteral("acme"));
        User().sDomainUserRecords = QStringLiteral("kept");
        QVERIFY(m_service.setNextReply(QStringLiteral("SUCCESS</p>DomainUserRecords:a;;A;;@;;1")));
        QString host;
        QVERIFY(!basDNS::DNSTickler(QStringLiteral("acme.test"), host, basDNS::RecordAdd,
                                    QStringLiteral("A"), QStringLiteral("192.0.2.5"), true, true));
        QCOMPARE(seams.messages.size(), 1);
        QVERIFY(seams.messages[0].text.startsWith(
            QStringLiteral("basDNS.DNSTickler()\rError # 5 was generated by ")));
        QCOMPARE(User().sDomainUserRecords, QStringLiteral("kept"));
        QCOMPARE(m_window.enabledCalls, (QList<bool>{false, true}));

        // The address query passes over the same fault and still reads the address.
        QVERIFY(m_service.setNextReply(
            QStringLiteral("SUCCESS</p>IPAddress:198.51.100.1</p>DomainUserRecords:x")));
        QCOMPARE(basDNS::GetIPAddress(), QStringLiteral("198.51.100.1"));
        QCOMPARE(User().sDomainUserRecords, QStringLiteral("kept"));
        QCOMPARE(seams.messages.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestProtocol)
#include "tst_protocol.moc"
