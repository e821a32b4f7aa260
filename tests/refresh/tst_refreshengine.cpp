// The refresh engine on its own: a port that records what the engine hands
// its host, no window, and veltrio-service answering over HTTP.
#include "ExchangeQueue.h"
#include "RefreshEngine.h"
#include "RegistryStore.h"
#include "ServiceConfig.h"
#include "ServiceProcess.h"
#include "TestSeams.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QRegularExpression>
#include <QStandardPaths>

using namespace Qt::StringLiterals;
using RefreshRules::RecordArgs;

namespace {

// The host as the engine sees it: keeps what it is told.
class FakePort : public RefreshPort
{
public:
    QString RefreshRateText() const override { return u"10"_s; }
    bool AutoIPTicked() const override { return true; }
    bool UserInAnotherPanel() const override { return otherPanel; }
    QString RecordList() const override { return QString(); }
    QString FreeAddress() const override { return u"192.0.2.1"_s; }
    void ShowCheckTime(const QString &) override {}
    void ShowAddress(const QString &address) override { addresses.append(address); }
    void ShowResult(const CheckResult &result) override { results.append(result); }
    void Report(const OutcomeText &text) override { summaries.append(text.summary); }

    bool otherPanel = false;
    QStringList addresses;
    QList<CheckResult> results;
    QStringList summaries;
};

const QString kOld = u"203.0.113.7"_s;
const QString kNew = u"198.51.100.50"_s;
// The own-domains account's mail record, marked automatic.
const QString kMailAuto = u"ACME.TEST;;A;;MAIL;;203.0.113.7~~"_s;

} // namespace

class TestRefreshEngine : public QObject
{
    Q_OBJECT

    std::optional<ServiceProcess> m_service;
    std::optional<QTemporaryDir> m_dir;
    std::optional<TestSeams> m_seams;
    FakePort m_port;
    std::unique_ptr<RefreshEngine> m_engine;

    // The account's session and stored marks, and the engine started on it.
    void start(const QString &user, const QString &marks = QString())
    {
        User() = clsUser();
        User().sUsername = user;
        User().sPassword = user;
        User().bVeltrioOnly = user == "demo"_L1;
        if (User().bVeltrioOnly) {
            User().sSubDomain = u"dyn.veltrio.test"_s;
            User().sRecordType = u"A"_s;
        }
        ReplaceJournal::Save(user, {}, {marks, {}, {}});
        m_port = FakePort();
        m_engine = std::make_unique<RefreshEngine>(m_port);
        m_engine->Start();
    }
    // One check now, run to its end.
    bool runCheck()
    {
        m_service->clearRequests();
        m_engine->CheckNow();
        return QTest::qWaitFor(
            [this] { return m_engine->Idle() && ExchangeQueue::Instance().IsIdle(); });
    }
    // The record commands received, as "delete mail.acme.test A 203.0.113.7".
    QStringList sent()
    {
        static const QRegularExpression command(
            u"Cname=([^&]*)&Domain=([^&]*)&DNSCommand=RECORD(\\w+)&RecordType=([^&]*)"
            "&IPAddress=(.*)$"_s);
        QStringList words;
        for (const QString &query : m_service->requests()) {
            const QRegularExpressionMatch m = command.match(query);
            if (m.hasMatch())
                words << QStringList{m.captured(3).toLower(), m.captured(1) + u'.' + m.captured(2),
                                     m.captured(4), m.captured(5)}
                             .join(u' ')
                             .replace(u"%20"_s, u" "_s);
        }
        return words;
    }
    AccountState stored() const { return ReplaceJournal::Load(User().sUsername); }

private slots:
    void init()
    {
        QStandardPaths::setTestModeEnabled(true);
        ProgramWide::Reset();
        basDNS::SetTransferTimeout(60000);
        m_service.emplace();
        QVERIFY2(m_service->start(ServiceProcess::HttpOnly, kOld),
                 qPrintable(m_service->errorString()));
        ServiceConfig config = ServiceConfig::Defaults();
        config.httpHost = u"127.0.0.1"_s;
        SetConfig(config);
        ProgramWide::sServiceURL = basDNS::PlainURL(QString::number(m_service->httpPort()));
        m_dir.emplace();
        RegistryStore::SetFile(m_dir->filePath(u"settings.ini"_s));
        basErr::SetLogFolder(m_dir->filePath(u"Logs"_s));
        m_seams.emplace();
    }
    void cleanup()
    {
        m_engine.reset();
        ExchangeQueue::Instance().Drain(10000);
        m_service.reset();
        m_seams.reset();
    }

    // One check: what it sends and reports, and the marks and free address
    // it shows and leaves.
    void check_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("marks");
        QTest::addColumn<QString>("publicIp");
        QTest::addColumn<bool>("otherPanel");
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<QString>("summary"); // empty: no report
        QTest::addColumn<QString>("marksAfter");
        QTest::addColumn<QString>("freeAfter");
        QTest::newRow("free, at the address already")
            << u"demo"_s << QString() << u"192.0.2.1"_s << false << QStringList() << QString()
            << QString() << u"192.0.2.1"_s;
        QTest::newRow("own domains, only the marked rows")
            << u"acme"_s << kMailAuto << kNew << false
            << QStringList{u"delete mail.acme.test A "_s + kOld, u"add mail.acme.test A "_s + kNew}
            << u"Updated 1 record"_s << QString(kMailAuto).replace(kOld, kNew) << QString();
        QTest::newRow("own domains, the user in another panel")
            << u"acme"_s << kMailAuto << kNew << true << QStringList() << QString() << kMailAuto
            << QString();
        QTest::newRow("own domains, a reply that is no address")
            << u"acme"_s << kMailAuto << u"<script>"_s << false << QStringList()
            << u"Bad address reply ignored"_s << kMailAuto << QString();
    }
    void check()
    {
        QFETCH(QString, user);
        QFETCH(QString, marks);
        QFETCH(QString, publicIp);
        QFETCH(bool, otherPanel);
        QFETCH(QStringList, commands);
        QFETCH(QString, summary);
        QFETCH(QString, marksAfter);
        QFETCH(QString, freeAfter);
        const bool badReply = publicIp.startsWith(u'<');
        if (badReply)
            QVERIFY(m_service->setNextReply(u"SUCCESS</p>IPAddress:198.51.100.77<script></p>"_s));
        else
            QVERIFY(m_service->setPublicIp(publicIp));
        start(user, marks);
        m_port.otherPanel = otherPanel;
        QVERIFY(runCheck());
        QCOMPARE(sent(), commands);
        QCOMPARE(m_port.summaries, summary.isEmpty() ? QStringList() : QStringList{summary});
        const AccountState saved = stored();
        QCOMPARE(saved.autoIPList.toUpper(), marksAfter.toUpper());
        if (badReply) {
            // Never acted on: nothing shown but the rejection.
            QCOMPARE(m_port.addresses, QStringList());
            QCOMPARE(m_port.results.size(), 0);
            return;
        }
        QCOMPARE(saved.freeAddress, freeAfter);
        QCOMPARE(saved.replaces.size(), 0);
        QCOMPARE(m_port.results.size(), 1);
        const CheckResult &shown = m_port.results[0];
        QCOMPARE(shown.autoIPList.toUpper(), marksAfter.toUpper());
        QCOMPARE(shown.freeAddress, freeAfter);
        QCOMPARE(shown.freeRecordReplaced, user == "demo"_L1 && !commands.isEmpty());
        // The list the results show is the service's after the commands.
        QVERIFY(shown.records.has_value());
        for (const QString &record : m_service->stateRecords(user))
            QVERIFY2(shown.records->contains(record, Qt::CaseInsensitive), qPrintable(record));
    }

    // The user's command on an owed add's record ends it (no second record);
    // moved and still automatic, the row is sent at the next check.
    void userChange_endsTheOwedReplace()
    {
        start(u"acme"_s, kMailAuto);
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextReply(u"Error:Busy, try later</p>"_s, u"RECORDADD"_s));
        QVERIFY(runCheck());
        QCOMPARE(m_port.summaries, QStringList{u"Pending: mail.acme.test"_s});
        QCOMPARE(stored().replaces.size(), 1);
        QCOMPARE(stored().autoIPList, kMailAuto);

        const RecordArgs made{u"acme.test"_s, u"mail"_s, u"A"_s, u"192.0.2.99"_s};
        bool done = false;
        basDNS::PostTickler(made.domain, made.host, basDNS::RecordAdd, made.recordType,
                            made.address, m_engine.get(),
                            [&done](const basDNS::CommandReply &) { done = true; });
        QVERIFY(QTest::qWaitFor([&done] { return done; }));
        const QString moved = QString(kMailAuto).replace(kOld, made.address);
        m_engine->RecordChangedByUser(made, kMailAuto, moved);
        QCOMPARE(stored(), (AccountState{moved, QString(), {}}));
        QVERIFY(runCheck());
        QCOMPARE(sent(), (QStringList{u"delete mail.acme.test A 192.0.2.99"_s,
                                      u"add mail.acme.test A "_s + kNew}));
        QCOMPARE(m_service->stateRecords(u"acme"_s).filter(u";;mail;;"_s),
                 QStringList{u"acme.test;;A;;mail;;"_s + kNew});
    }
};

QTEST_GUILESS_MAIN(TestRefreshEngine)
#include "tst_refreshengine.moc"
