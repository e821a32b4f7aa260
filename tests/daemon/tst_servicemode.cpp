// veltrio-dnsd, the real program, against veltrio-service: what --once and
// --check do and how they end, a program ended between a delete and its
// add, and a window and the service mode on one account.
#include "ServiceModeTest.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString kMailOld = u"mail=203.0.113.7"_s;
const QString kMailNew = u"mail=198.51.100.50"_s;

} // namespace

class tst_ServiceMode : public ServiceModeTest
{
    Q_OBJECT

private slots:
    void init()
    {
        QVERIFY(startService());
        m_dnsd.emplace(m_dir->path());
    }
    void cleanup() { tearDown(); }

    void once_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("setUp");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("said");
        QTest::addColumn<QString>("record"); // name=address the user's records hold after

        QTest::newRow("address changed") << u"acme"_s << u"new address"_s << 0
                                         << u"mail.acme.test set to 198.51.100.50"_s << kMailNew;
        QTest::newRow("free sub-domain")
            << u"demo"_s << u"new address"_s << 0
            << u"demo.dyn.veltrio.test points at 198.51.100.50"_s << u"demo=198.51.100.50"_s;
        QTest::newRow("--check prints and changes nothing")
            << u"acme"_s << u"check"_s << 0 << u"mail.acme.test A 203.0.113.7"_s << kMailOld;
        QTest::newRow("add refused") << u"acme"_s << u"refuse add"_s << 1
                                     << u"Could not Set IP for mail.acme.test"_s << QString();
        QTest::newRow("connection closed after the add")
            << u"acme"_s << u"close after add"_s << 1
            << u"Still to add, at every check: mail.acme.test"_s << kMailNew;
        QTest::newRow("wrong password") << u"acme"_s << u"wrong password"_s << 2
                                        << u"Invalid Username or Password."_s << kMailOld;
        QTest::newRow("expired account")
            << u"expired"_s << QString() << 2 << u"Your Account has expired"_s << QString();
        QTest::newRow("service stopped")
            << u"acme"_s << u"stop service"_s << 3 << u"Error contacting server."_s << QString();
        QTest::newRow("garbled login reply")
            << u"acme"_s << u"garbled login"_s << 3
            << u"acme: the service's login reply could not be read"_s << QString();
        QTest::newRow("record commands hang")
            << u"acme"_s << u"hang"_s << 3 << u"acme: the run did not end within 6 s"_s
            << QString();
        QTest::newRow("no saved login")
            << u"acme"_s << u"no saved login"_s << 4 << u"No saved login"_s << kMailOld;
    }
    void once()
    {
        QFETCH(QString, user);
        QFETCH(QString, setUp);
        QFETCH(int, exitCode);
        QFETCH(QString, said);
        QFETCH(QString, record);

        saveLogin(user, setUp == "wrong password"_L1 ? u"wrong"_s : QString());
        if (setUp == "no saved login"_L1)
            writeValues(kInit, {{"bSaveLogin", 0}});
        writeValues(userKey(u"acme"_s), {{"AutoIPs", kMailAuto}});
        writeValues(userKey(u"demo"_s), {{"bAutoIP", 1}});
        if (!setUp.isEmpty())
            QVERIFY(m_service->setPublicIp(kNew));
        if (setUp == "refuse add"_L1)
            QVERIFY(m_service->setNextReply(u"Error: Refused</p>"_s, u"RECORDADD"_s));
        if (setUp == "close after add"_L1)
            QVERIFY(m_service->setNextFault(u"close?acted=1"_s, u"RECORDADD"_s));
        if (setUp == "stop service"_L1)
            m_service->stop();
        if (setUp == "garbled login"_L1)
            QVERIFY(m_service->setNextReply(u"DNS LOGIN:SUCCESS"_s, u"fxn=login"_s));
        if (setUp == "hang"_L1) {
            // The run's deadline is 1.5 exchanges (6 s), whatever the number of records.
            m_dnsd.emplace(m_dir->path(), 4);
            markAutomatic();
            QVERIFY(m_service->setNextFault(u"delay?ms=120000&times=0"_s, u"DNSCommand="_s));
        }

        QElapsedTimer running;
        running.start();
        const DnsdRun::Result run = m_dnsd->run({setUp == "check"_L1 ? u"--check"_s : u"--once"_s});
        QVERIFY2(running.elapsed() < 15000, qPrintable(run.output)); // the hang row's deadline: 6 s
        QVERIFY2(run.output.contains(said), qPrintable(run.output));
        QCOMPARE(run.exitCode, exitCode);
        if (setUp != "stop service"_L1)
            verifySentOnce(run.output);
        if (!record.isEmpty())
            QVERIFY2(stateNames(user).contains(record), qPrintable(stateNames(user).join(u' ')));
        if (setUp == "check"_L1)
            QCOMPARE(m_service->requests().size(), 1); // the login
        const bool unsent = setUp == "refuse add"_L1 || setUp == "hang"_L1;
        if (unsent || setUp == "garbled login"_L1)
            QVERIFY2(m_dnsd->dailyLogs().contains(said), qPrintable(m_dnsd->dailyLogs()));
        if (unsent) // owed to the next run, which sends it
            QVERIFY(!owed(u"acme"_s).isEmpty());
        if (setUp == "refuse add"_L1) {
            QCOMPARE(runOnce().exitCode, 0);
            QVERIFY(stateNames(u"acme"_s).contains(kMailNew));
        }
        // The password never shows: not in a line, not in the log.
        for (const QString &text : {run.output, m_dnsd->dailyLogs()})
            QVERIFY2(!text.contains("pwd="_L1, Qt::CaseInsensitive), qPrintable(text));
    }

    // Stopped between a delete and its add: the add still goes out.
    void endedBetweenDeleteAndAdd_addGoesOut()
    {
        saveLogin(u"acme"_s);
        writeValues(userKey(u"acme"_s), {{"AutoIPs", kMailAuto}});
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextDelay(2000, u"RECORDADD"_s));
        QProcess run;
        QVERIFY(m_dnsd->start(run, {u"--once"_s}));
        QVERIFY(QTest::qWaitFor([&] { return !sent("DNSCommand=RECORDDELETE").isEmpty(); }, 20000));
        QTest::qWait(500);
        QVERIFY(!stateNames(u"acme"_s).join(u' ').contains("mail="_L1));
        if (!DnsdRun::askToEnd(run))
            QSKIP(DnsdRun::kNoCtrlBreak);
        QVERIFY(run.waitForFinished(20000));
        QVERIFY(stateNames(u"acme"_s).contains(kMailNew));
        QVERIFY2(marks(u"acme"_s).contains(u"ACME.TEST;;A;;MAIL;;198.51.100.50"_s),
                 qPrintable(readValue(userKey(u"acme"_s), "AutoIps")));
        QVERIFY(owed(u"acme"_s).isEmpty());
    }

    void windowAndServiceMode_onlyOneSendsChecks()
    {
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        QVERIFY(check(w));

        QProcess service;
        QVERIFY(m_dnsd->start(service, {}));
        QString output;
        QVERIFY2(said(service, output, u"refreshing"_s), qPrintable(output));

        // The service mode's first check waited for the window to let go.
        QVERIFY(check(w));
        QTRY_COMPARE(w.lblLastRefresh->text(), u"Refreshed by the service"_s);
        QVERIFY2(said(service, output, u"public address"_s), qPrintable(output));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 2);

        // The window shows what a one-off check did and sends nothing itself.
        QVERIFY(m_service->setPublicIp(kNew));
        QCOMPARE(runOnce().exitCode, 0);
        for (int i = 0; i < 3; ++i)
            QVERIFY(check(w));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 3);
        const auto mailAddress = [&w] {
            const int mail = rowNamed(w, u"mail"_s);
            return mail < 0 ? QString() : w.lvDomainUser->model()->index(mail, 3).data().toString();
        };
        QTRY_COMPARE(mailAddress(), kNew);
        QVERIFY2(w.lblLastRefresh->toolTip().contains("set to"_L1),
                 qPrintable(w.lblLastRefresh->toolTip()));

        // Once the service mode ends, the window checks again.
        if (!DnsdRun::askToEnd(service))
            QSKIP(DnsdRun::kNoCtrlBreak);
        QVERIFY(service.waitForFinished(10000));
        QVERIFY(m_service->setPublicIp(kOld));
        QVERIFY(check(w));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 4);
        QVERIFY(stateNames(u"acme"_s).contains(kMailOld));
    }
};

QTEST_MAIN(tst_ServiceMode)
#include "tst_servicemode.moc"
