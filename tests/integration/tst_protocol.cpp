#include "MainWindowPort.h"
#include "RecordList.h"
#include "ServiceConfig.h"
#include "ServiceProcess.h"
#include "TestSeams.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QStandardPaths>
#include <QTcpServer>
#include <QTest>

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

// A port nothing listens on: one a server just gave back.
quint16 closedPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost, 0);
    return server.serverPort();
}

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
    void cleanupTestCase()
    {
        basErr::SetLogFolder(QString());
        SetConfig(ServiceConfig::Defaults());
    }
    void init()
    {
        // Qt's schannel backend hands the extra CAs to the chain check as a
        // store imported from PKCS#12; Wine's import takes no certificate
        // without its key, so there the extra CA is never used.
        const bool extraCa =
            qstrcmp(QTest::currentDataTag(), "https") == 0 ||
            qstrcmp(QTest::currentTestFunction(), "untrustedCertificate_isRefused") == 0;
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
    void cleanup()
    {
        RegisterMainWindow(nullptr);
        basDNS::SetTransferTimeout(60000);
    }

    void login_replyParsed_data() { addTransportColumn(); }
    void login_replyParsed()
    {
        QFETCH(bool, https);
        useService(https);
        const QString reply = basDNS::OpenRequest(QStringLiteral("?fxn=login&usr=acme&pwd=acme"));
        QCOMPARE(basDNS::GetReplyValue(reply, QStringLiteral("DNS LOGIN:")),
                 QStringLiteral("SUCCESS"));
        QCOMPARE(basDNS::GetReplyValue(reply, QStringLiteral("FirstName:")), QStringLiteral("Ada"));
        QCOMPARE(basDNS::GetReplyValue(reply, QStringLiteral("IPAddress:")),
                 QStringLiteral("127.0.0.1"));
        const QStringList pieces =
            RecordList::Split(basDNS::GetReplyValue(reply, QStringLiteral("DomainUserRecords:")));
        QVERIFY(pieces.contains(QStringLiteral("acme.test;;A;;mail;;203.0.113.7")));
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
        QCOMPARE(m_service.requests(), QStringList{query.arg(basDNS::RecordAdd)});
        QCOMPARE(seams.messages.size(), 1);
        QCOMPARE(seams.messages[0].text,
                 QStringLiteral("Transaction Complete:\nIP Set for Name:@ IPAddress:") + address);
        QCOMPARE(seams.messages[0].title, QStringLiteral("Veltrio"));
        QCOMPARE(User().sIPAddress, address);
        QVERIFY(RecordList::Split(User().sDomainUserRecords).contains(piece));
        QVERIFY(m_service.stateRecords(QStringLiteral("acme")).contains(piece));
        QCOMPARE(ProgramWide::sAutoIPList,
                 QStringLiteral("ACME.TEST;;A;;@;;") + address + QStringLiteral("~~"));

        m_service.clearRequests();
        QVERIFY(basDNS::DNSTickler(QStringLiteral("acme.test"), host, basDNS::RecordDelete,
                                   QStringLiteral("A"), address, true, false));
        QCOMPARE(m_service.requests(), QStringList{query.arg(basDNS::RecordDelete)});
        QCOMPARE(seams.messages.size(), 2);
        QCOMPARE(seams.messages[1].text,
                 QStringLiteral("Transaction Complete:\nIP Removed for Name:@ IPAddress:") +
                     address);
        QCOMPARE(User().sIPAddress, address);
        QVERIFY(!RecordList::Split(User().sDomainUserRecords).contains(piece));
        QVERIFY(RecordList::Split(User().sDomainUserRecords)
                    .contains(QStringLiteral("acme.test;;A;;mail;;203.0.113.7")));
        QVERIFY(!m_service.stateRecords(QStringLiteral("acme")).contains(piece));
        QCOMPARE(ProgramWide::sAutoIPList, QString());
    }

    void ticklerAdvanced_freeSubDomain()
    {
        TestSeams seams;
        useService(false);
        logIn(QStringLiteral("demo"), QStringLiteral("demo"));
        User().bVeltrioOnly = true;
        const QString domain = QStringLiteral("dyn.veltrio.test");

        QString host;
        QVERIFY(basDNS::DNSTicklerAdvanced(domain, host, basDNS::RecordAdd, QStringLiteral("A"),
                                           QStringLiteral("192.0.2.9"), true));
        QCOMPARE(host, QStringLiteral("@"));
        QCOMPARE(m_service.requests(),
                 QStringList{QStringLiteral(
                     "FXN=DNSTicklerAdvanced&Usr=demo&Pwd=demo&Cname=@.demo&Domain=dyn.veltrio.test"
                     "&DNSCommand=RECORDADD&RecordType=A&IPAddress=192.0.2.9")});
        QVERIFY(RecordList::Split(User().sDomainUserRecords)
                    .contains(QStringLiteral("dyn.veltrio.test;;A;;demo;;192.0.2.9")));
        QVERIFY(basDNS::DNSTicklerAdvanced(domain, host, basDNS::RecordDelete, QStringLiteral("A"),
                                           QStringLiteral("192.0.2.9"), true));
        QVERIFY(!RecordList::Split(User().sDomainUserRecords)
                     .contains(QStringLiteral("dyn.veltrio.test;;A;;demo;;192.0.2.9")));

        User().sPassword = QStringLiteral("wrong");
        host = QStringLiteral("www");
        QVERIFY(!basDNS::DNSTicklerAdvanced(domain, host, basDNS::RecordAdd, QStringLiteral("A"),
                                            QStringLiteral("192.0.2.9"), true));
        QCOMPARE(
            seams.texts(),
            (QStringList{QStringLiteral("Transaction Complete:\n@.demo.dyn.veltrio.test Set"),
                         QStringLiteral("Transaction Complete:\n@.demo.dyn.veltrio.test Removed"),
                         QStringLiteral("Could not Set www.demo.dyn.veltrio.test Invalid user "
                                        "name or password")}));
        QCOMPARE(seams.messages[2].title, QStringLiteral("Veltrio"));
        QCOMPARE(m_window.caption, QStringLiteral("Not Connected with Server"));
        // A free account's commands never touch the auto-IP list.
        QCOMPARE(ProgramWide::sAutoIPList, QString());
    }

    void tickler_failure_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("message");
        QTest::newRow("set") << basDNS::RecordAdd
                             << "Could not Set IP.  Invalid user name or password";
        QTest::newRow("remove") << basDNS::RecordDelete
                                << "Could not Remove IP.  Invalid user name or password";
    }
    void tickler_failure()
    {
        QFETCH(QString, command);
        QFETCH(QString, message);
        TestSeams seams;
        useService(false);
        logIn(QStringLiteral("acme"), QStringLiteral("not the password"));
        User().sDomainUserRecords = QStringLiteral("kept;;A;;@;;1.2.3.4");
        m_window.colour = StatusColour::Connected;
        QString host = QStringLiteral("www");
        QVERIFY(!basDNS::DNSTickler(QStringLiteral("acme.test"), host, command, QStringLiteral("A"),
                                    QStringLiteral("192.0.2.5"), true, true));
        QCOMPARE(seams.texts(), QStringList{message});
        QCOMPARE(seams.messages[0].title, Seams::DefaultTitle());
        QCOMPARE(m_window.caption, QStringLiteral("Not Connected with Server"));
        QCOMPARE(m_window.colour, StatusColour::NotConnected);
        QCOMPARE(m_window.tray, QList<bool>{false});
        QCOMPARE(m_window.enabledCalls, (QList<bool>{false, true}));
        QCOMPARE(User().sDomainUserRecords, QStringLiteral("kept;;A;;@;;1.2.3.4"));
        QCOMPARE(ProgramWide::sAutoIPList, QString());
    }

    // Parameters go out as they are held: a password with "&", "=" or a
    // blank splits the query, and the service sees exactly that.
    void queryOnTheWire_isNotEscaped()
    {
        TestSeams seams;
        useService(false);
        logIn(QStringLiteral("acme"), QStringLiteral("p&ss=w rd"));
        QString host = QStringLiteral("ftp");
        basDNS::DNSTickler(QStringLiteral("acme.test"), host, basDNS::RecordDelete,
                           QStringLiteral("CNAME"), QStringLiteral("acme.test"), false, false);
        QCOMPARE(m_service.requests(),
                 QStringList{QStringLiteral(
                     "FXN=DNSTickler&Usr=acme&Pwd=p&ss=w%20rd&Cname=ftp&Domain=acme.test"
                     "&DNSCommand=RECORDDELETE&RecordType=CNAME&IPAddress=acme.test")});
        QVERIFY(seams.messages.isEmpty());
    }

    void getIPAddress_followsAddressChange_data() { addTransportColumn(); }
    void getIPAddress_followsAddressChange()
    {
        QFETCH(bool, https);
        useService(https);
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
        const QString service = ProgramWide::sServiceURL;
        const QString nowhere =
            QStringLiteral("http://127.0.0.1:%1/dnslogin3.asp").arg(closedPort());

        // Dark red: a success turns it green and tells the tray.
        QVERIFY(!basDNS::GetIPAddress().isEmpty());
        QCOMPARE(m_window.caption, QStringLiteral("Connected"));
        QCOMPARE(m_window.colour, StatusColour::Connected);
        QCOMPARE(m_window.tray, QList<bool>{true});
        // Already green: nothing changes.
        QVERIFY(!basDNS::GetIPAddress().isEmpty());
        QCOMPARE(m_window.statusChanges, 1);
        QCOMPARE(m_window.tray.size(), 1);
        // A failure always reports, even twice in a row, and keeps the record list.
        ProgramWide::sServiceURL = nowhere;
        User().sDomainUserRecords = QStringLiteral("kept");
        QVERIFY(basDNS::GetIPAddress().isEmpty());
        QVERIFY(basDNS::GetIPAddress().isEmpty());
        QCOMPARE(User().sDomainUserRecords, QStringLiteral("kept"));
        QCOMPARE(m_window.caption, QStringLiteral("Not Connected with Server"));
        QCOMPARE(m_window.colour, StatusColour::NotConnected);
        QCOMPARE(m_window.tray, (QList<bool>{true, false, false}));
        QCOMPARE(m_window.statusChanges, 3);
        // Any colour but dark red stays on success.
        m_window.colour = 0;
        ProgramWide::sServiceURL = service;
        QVERIFY(!basDNS::GetIPAddress().isEmpty());
        QCOMPARE(m_window.colour, 0);
        QCOMPARE(m_window.statusChanges, 3);
        // Without a main window the outcome shows nowhere and nothing breaks.
        RegisterMainWindow(nullptr);
        QVERIFY(!basDNS::GetIPAddress().isEmpty());
    }

    // The deadline covers the whole exchange: a service that never answers
    // and one that trickles its reply a byte at a time both end in the
    // empty reply of a failed transfer, and the next request goes through.
    void slowService_endsAtTheDeadline_data()
    {
        QTest::addColumn<bool>("trickle");
        QTest::newRow("silent") << false;
        QTest::newRow("one byte every 100 ms") << true;
    }
    void slowService_endsAtTheDeadline()
    {
        QFETCH(bool, trickle);
        useService(false);
        QVERIFY(trickle ? m_service.setNextTrickle(100) : m_service.setNextDelay(30000));
        basDNS::SetTransferTimeout(800);
        QCOMPARE(basDNS::OpenRequest(QStringLiteral("?FXN=GetIPAddress&Usr=acme")), QString());
        QVERIFY(
            basDNS::IsSuccess(basDNS::OpenRequest(QStringLiteral("?FXN=GetIPAddress&Usr=acme"))));
    }

    // Requests go through the proxy the environment names, as other programs'
    // do: the service itself stands in as the proxy for a host name that
    // resolves nowhere.
    void systemProxy_isUsed()
    {
#ifdef Q_OS_WIN
        QSKIP("Windows' system proxy is the one of its Internet Options, not http_proxy");
#endif
        const QByteArray saved = qgetenv("http_proxy");
        qputenv("http_proxy",
                QStringLiteral("http://127.0.0.1:%1").arg(m_service.httpPort()).toLatin1());
        ProgramWide::sServiceURL = QStringLiteral("http://update.veltrio.test/dnslogin3.asp");
        const QString reply = basDNS::OpenRequest(QStringLiteral("?FXN=GetIPAddress&Usr=acme"));
        if (saved.isNull())
            qunsetenv("http_proxy");
        else
            qputenv("http_proxy", saved);
        QVERIFY(basDNS::IsSuccess(reply));
        QCOMPARE(m_service.requests(), QStringList{QStringLiteral("FXN=GetIPAddress&Usr=acme")});
    }

    void untrustedCertificate_isRefused()
    {
        useService(true, false);
        QCOMPARE(basDNS::OpenRequest(QStringLiteral("?fxn=login&usr=acme&pwd=acme")), QString());
        QVERIFY(m_service.requests().isEmpty());
        // The same service is reached once its CA is trusted.
        useService(true, true);
        QVERIFY(
            basDNS::IsSuccess(basDNS::OpenRequest(QStringLiteral("?FXN=GetIPAddress&Usr=acme"))));
        // And refused again when it no longer is.
        useService(true, false);
        QCOMPARE(basDNS::OpenRequest(QStringLiteral("?FXN=GetIPAddress&Usr=acme")), QString());
    }

    // One address query, the request the client repeats most.
    void benchmark_addressQuery_data()
    {
        addTransportColumn();
    }
    void benchmark_addressQuery()
    {
        QFETCH(bool, https);
        useService(https);
        logIn(QStringLiteral("acme"), QStringLiteral("acme"));
        QString address;
        QBENCHMARK
        {
            address = basDNS::GetIPAddress();
        }
        QCOMPARE(address, QStringLiteral("127.0.0.1"));
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
        QCOMPARE(seams.messages[0].title, QStringLiteral("Error"));
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
