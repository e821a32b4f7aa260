// The refresh engine on its own: a port that records what the engine hands
// its host, no window, and veltrio-service answering over HTTP.
#include "ExchangeQueue.h"
#include "Foreground.h"
#include "RefreshEngine.h"
#include "RegistryStore.h"
#include "RuntimeError.h"
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

// The host as the engine sees it: answers from its fields, keeps what it is
// told.
class FakePort : public RefreshPort
{
public:
    QString RefreshRateText() const override { return rate; }
    bool AutoIPTicked() const override { return autoIP; }
    bool UserInAnotherPanel() const override { return otherPanel; }
    QString RecordList() const override { return records; }
    QString FreeAddress() const override { return freeAddress; }
    void ShowCheckTime(const QString &caption) override { checkTimes.append(caption); }
    void ShowAddress(const QString &address) override { addresses.append(address); }
    void ShowResult(const CheckResult &result) override { results.append(result); }
    void Report(const OutcomeText &text) override { summaries.append(text.summary); }

    QString rate = u"10"_s;
    bool autoIP = true;
    bool otherPanel = false;
    QString records;
    QString freeAddress;
    QStringList checkTimes;
    QStringList addresses;
    QList<CheckResult> results;
    QStringList summaries;
};

const QString kOld = u"203.0.113.7"_s;
const QString kNew = u"198.51.100.50"_s;
// The own-domains account's automatic marks: its mail record, and its shop's
// port relay with it.
const QString kMailAuto = u"ACME.TEST;;A;;MAIL;;203.0.113.7~~"_s;
const QString kShopAuto = u"ACME-SHOP.TEST;;PORT RELAY;;SHOP;;HTTP://203.0.113.7:8080/SHOP~~"_s;
const RecordArgs kMail{u"acme.test"_s, u"mail"_s, u"A"_s, QString()};

} // namespace

class TestRefreshEngine : public QObject
{
    Q_OBJECT

    std::optional<ServiceProcess> m_service;
    std::optional<QTemporaryDir> m_dir;
    std::optional<TestSeams> m_seams;
    FakePort m_port;
    std::unique_ptr<RefreshEngine> m_engine;

    // The session of a demo account, its stored marks, and the engine started
    // on it.
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
        m_port.freeAddress = u"192.0.2.1"_s;
        m_engine = std::make_unique<RefreshEngine>(m_port);
        m_engine->Start();
    }
    // The engine as a new process of the program finds it: what the last one
    // left in the settings, nothing else.
    void restart()
    {
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
    // The record commands the service received, as "delete mail.acme.test A
    // 203.0.113.7".
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
    // The service's record of that name, as "name=address"; empty when it
    // holds none.
    QString atService(const QString &user, const QString &name) const
    {
        for (const QString &record : m_service->stateRecords(user)) {
            if (record.section(u";;"_s, 2, 2) == name)
                return name + u'=' + record.section(u";;"_s, 3);
        }
        return QString();
    }
    // A record command of the user's, straight to the service.
    bool command(const QString &verb, const QString &address)
    {
        bool done = false;
        basDNS::PostTickler(kMail.domain, kMail.host, verb, kMail.recordType, address,
                            m_engine.get(), [&done](const basDNS::CommandReply &) { done = true; });
        return QTest::qWaitFor([&done] { return done; });
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

    // A check is due when the ticks reach the rate; a free account that is
    // not automatic only shows the time of each.
    void dueChecks_data()
    {
        QTest::addColumn<QString>("rate");
        QTest::addColumn<int>("ticks");
        QTest::addColumn<int>("checks");
        QTest::newRow("every tick at 10 s") << u"10"_s << 3 << 3;
        QTest::newRow("below 10 s") << u"5"_s << 2 << 2;
        QTest::newRow("every third tick at 30 s") << u"30"_s << 7 << 3;
        QTest::newRow("one in six at 60 s") << u"60"_s << 6 << 1;
    }
    void dueChecks()
    {
        QFETCH(QString, rate);
        QFETCH(int, ticks);
        QFETCH(int, checks);
        start(u"demo"_s);
        m_port.autoIP = false;
        m_port.rate = rate;
        for (int i = 0; i < ticks; ++i)
            m_engine->Tick();
        QCOMPARE(m_port.checkTimes.size(), checks);
        QCOMPARE(m_service->requests(), QStringList());
        // A rate that is no number is not caught here.
        m_port.rate = u"abc"_s;
        QVERIFY_THROWS_EXCEPTION(RuntimeError, m_engine->Tick());
    }

    // One check against the service at kOld (or moved to kNew): what it sends,
    // what it reports, and the marks and free address it leaves.
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
        const QString mailAtNew = QString(kMailAuto).replace(kOld, kNew);
        const QString shopAtNew =
            QString(kShopAuto).replace(kOld, kNew).replace(u"HTTP://"_s, u"http://"_s);
        QTest::newRow("free, moved") << u"demo"_s << QString() << kNew << false
                                     << QStringList{u"delete demo.dyn.veltrio.test A 192.0.2.1"_s,
                                                    u"add demo.dyn.veltrio.test A "_s + kNew}
                                     << u"Updated 1 record"_s << QString() << kNew;
        QTest::newRow("free, at the address already")
            << u"demo"_s << QString() << u"192.0.2.1"_s << false << QStringList() << QString()
            << QString() << u"192.0.2.1"_s;
        QTest::newRow("own domains, only the marked rows")
            << u"acme"_s << kMailAuto + kShopAuto << kNew << false
            << QStringList{u"delete mail.acme.test A "_s + kOld, u"add mail.acme.test A "_s + kNew,
                           u"delete shop.acme-shop.test PORT RELAY Http://203.0.113.7:8080/shop"_s,
                           u"add shop.acme-shop.test PORT RELAY http://198.51.100.50:8080/shop"_s}
            << u"Updated 2 records"_s << mailAtNew + shopAtNew << QString();
        QTest::newRow("own domains, unchanged address")
            << u"acme"_s << kMailAuto << kOld << false << QStringList() << QString() << kMailAuto
            << QString();
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
        QCOMPARE(m_port.checkTimes, QStringList{u"11/22/26 2:05:09 pm"_s});
        if (badReply) {
            // Never acted on: nothing shown but the rejection.
            QCOMPARE(m_port.addresses, QStringList());
            QCOMPARE(m_port.results.size(), 0);
            QCOMPARE(stored().autoIPList.toUpper(), marksAfter);
            return;
        }
        QCOMPARE(m_port.addresses, QStringList{publicIp});
        QCOMPARE(m_port.results.size(), 1);
        const CheckResult &shown = m_port.results[0];
        QCOMPARE(shown.autoIPList.toUpper(), marksAfter.toUpper());
        QCOMPARE(shown.freeAddress, freeAfter);
        QCOMPARE(shown.freeRecordReplaced, user == "demo"_L1 && !commands.isEmpty());
        QVERIFY(shown.records.has_value());
        // The list the results show is the service's after the commands.
        for (const QString &record : m_service->stateRecords(user))
            QVERIFY2(shown.records->contains(record, Qt::CaseInsensitive), qPrintable(record));
        const AccountState saved = stored();
        QCOMPARE(saved.autoIPList.toUpper(), marksAfter.toUpper());
        QCOMPARE(saved.freeAddress, freeAfter);
        QCOMPARE(saved.replaces.size(), 0);
    }

    // A marked record with a field longer than any record holds came from no
    // real service: it is never sent. (The host's list: the reply's own
    // leaves such a record out as it is read.)
    void recordBeyondTheLimits_isLeftAlone()
    {
        const QString name(300, u'x');
        start(u"acme"_s, kMailAuto + u"ACME.TEST;;A;;"_s + name.toUpper() + u";;203.0.113.7~~"_s);
        m_port.records =
            u"acme.test;;A;;mail;;203.0.113.7~~acme.test;;A;;"_s + name + u";;203.0.113.7"_s;
        QVERIFY(m_service->setNextReply(u"SUCCESS</p>IPAddress:198.51.100.50</p>"_s));
        QVERIFY(runCheck());
        QCOMPARE(sent(), (QStringList{u"delete mail.acme.test A "_s + kOld,
                                      u"add mail.acme.test A "_s + kNew}));
    }

    // A refused add after an accepted delete is owed: written ahead, shown,
    // and sent at the next check, at the address of that check, also by a
    // program started again in between.
    void failedAdd_isOwedUntilAccepted_data()
    {
        QTest::addColumn<bool>("restarted");
        QTest::newRow("next check") << false;
        QTest::newRow("after a restart") << true;
    }
    void failedAdd_isOwedUntilAccepted()
    {
        QFETCH(bool, restarted);
        start(u"acme"_s, kMailAuto);
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextReply(u"Error:Busy, try later</p>"_s, u"RECORDADD"_s));
        QVERIFY(runCheck());
        QCOMPARE(sent(), (QStringList{u"delete mail.acme.test A "_s + kOld,
                                      u"add mail.acme.test A "_s + kNew}));
        QCOMPARE(m_port.summaries, QStringList{u"Pending: mail.acme.test"_s});
        QCOMPARE(atService(u"acme"_s, u"mail"_s), QString());
        QCOMPARE(stored().replaces.size(), 1);
        QCOMPARE(stored().autoIPList, kMailAuto);
        if (restarted)
            restart();
        const QString newer = u"198.51.100.60"_s;
        QVERIFY(m_service->setPublicIp(newer));
        QVERIFY(runCheck());
        QCOMPARE(sent(), QStringList{u"add mail.acme.test A "_s + newer});
        QCOMPARE(atService(u"acme"_s, u"mail"_s), u"mail="_s + newer);
        QCOMPARE(stored().replaces.size(), 0);
        QCOMPARE(stored().autoIPList.toUpper(), QString(kMailAuto).replace(kOld, newer));
    }

    // The user's own command on the record of an owed replace ends it: the
    // next check does not add a second record beside the user's.
    void userChange_endsTheOwedReplace()
    {
        start(u"acme"_s, kMailAuto);
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextReply(u"Error:Busy, try later</p>"_s, u"RECORDADD"_s));
        QVERIFY(runCheck());
        QCOMPARE(stored().replaces.size(), 1);
        QVERIFY(command(basDNS::RecordAdd, u"192.0.2.99"_s));
        RecordArgs made = kMail;
        made.address = u"192.0.2.99"_s;
        m_engine->RecordChangedByUser(made, kMailAuto, QString());
        QCOMPARE(stored(), (AccountState{QString(), QString(), {}}));
        QVERIFY(runCheck());
        QCOMPARE(sent(), QStringList());
        QCOMPARE(atService(u"acme"_s, u"mail"_s), u"mail=192.0.2.99"_s);
    }

    // A check that found nothing to do does not read the rows again while
    // they stay as they are; a row the user moved since, still automatic, is
    // sent at the next check, at the same address.
    void rowMovedSinceAQuietCheck_isSent()
    {
        start(u"acme"_s, kMailAuto);
        QVERIFY(runCheck());
        QCOMPARE(sent(), QStringList());
        QVERIFY(command(basDNS::RecordDelete, kOld));
        QVERIFY(command(basDNS::RecordAdd, u"192.0.2.77"_s));
        const QString moved = QString(kMailAuto).replace(kOld, u"192.0.2.77"_s);
        m_engine->RecordChangedByUser(kMail, kMailAuto, moved);
        QVERIFY(runCheck());
        QCOMPARE(sent(), (QStringList{u"delete mail.acme.test A 192.0.2.77"_s,
                                      u"add mail.acme.test A "_s + kOld}));
    }

    // A reply that lacks the record list changes no mark and shows no list:
    // the address query's (the host's list is gone by), and a check's add
    // (the add is owed, the mark stays where the service has the record).
    void replyWithoutRecordList_changesNoMark_data()
    {
        QTest::addColumn<QString>("match");
        QTest::newRow("address query") << u"GetIPAddress"_s;
        QTest::newRow("the check's add") << u"RECORDADD"_s;
    }
    void replyWithoutRecordList_changesNoMark()
    {
        QFETCH(QString, match);
        start(u"acme"_s, kMailAuto);
        const bool add = match == "RECORDADD"_L1;
        if (add) {
            QVERIFY(m_service->setPublicIp(kNew));
            QVERIFY(m_service->setNextReply(u"SUCCESS</p>"_s, match));
        } else {
            m_port.records = u"acme.test;;A;;mail;;203.0.113.7"_s;
            QVERIFY(m_service->setNextReply(u"SUCCESS</p>IPAddress:203.0.113.7</p>"_s, match));
        }
        QVERIFY(runCheck());
        QCOMPARE(m_port.results.size(), 1);
        QCOMPARE(m_port.results[0].autoIPList, kMailAuto);
        QCOMPARE(stored().autoIPList, kMailAuto);
        QCOMPARE(m_port.results[0].records.has_value(), add);
        QCOMPARE(stored().replaces.size(), add ? 1 : 0);
    }

    // A due check waits while the user is at work, and runs once that ends;
    // one that was stopped meanwhile never runs.
    void dueWhileTheUserWorks_runsAfterwards_data()
    {
        QTest::addColumn<bool>("stopped");
        QTest::newRow("runs after") << false;
        QTest::newRow("stopped meanwhile") << true;
    }
    void dueWhileTheUserWorks_runsAfterwards()
    {
        QFETCH(bool, stopped);
        start(u"acme"_s, kMailAuto);
        QVERIFY(m_service->setPublicIp(kNew));
        m_service->clearRequests();
        {
            Foreground::Scope atWork;
            m_engine->Tick();
            m_engine->Tick();
            QTest::qWait(100);
            QVERIFY(!m_engine->Idle());
            QCOMPARE(m_port.checkTimes, QStringList());
            if (stopped)
                m_engine->Stop();
        }
        QVERIFY(QTest::qWaitFor(
            [this] { return m_engine->Idle() && ExchangeQueue::Instance().IsIdle(); }));
        QTest::qWait(100);
        QCOMPARE(m_port.checkTimes.size(), stopped ? 0 : 1);
        QCOMPARE(sent().size(), stopped ? 0 : 2);
    }

    // Stopped while its delete waits for the service: the add still follows
    // and the journal still settles, but nothing more is shown.
    void stopDuringAReplace_finishesItQuietly()
    {
        start(u"acme"_s, kMailAuto);
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextDelay(500, u"RECORDDELETE"_s));
        m_engine->CheckNow();
        QVERIFY(QTest::qWaitFor([this] { return !stored().replaces.isEmpty(); }));
        m_engine->Stop();
        QVERIFY(QTest::qWaitFor([] { return ExchangeQueue::Instance().IsIdle(); }));
        QTest::qWait(100);
        QCOMPARE(atService(u"acme"_s, u"mail"_s), u"mail="_s + kNew);
        QCOMPARE(stored().replaces.size(), 0);
        QCOMPARE(stored().autoIPList, QString(kMailAuto).replace(kOld, kNew));
        QCOMPARE(m_port.results.size(), 0);
        QCOMPARE(m_port.summaries, QStringList());
    }
};

QTEST_GUILESS_MAIN(TestRefreshEngine)
#include "tst_refreshengine.moc"
