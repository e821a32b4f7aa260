// veltrio-dnsd, the real program, against veltrio-service: what --once and
// --check do and how they end, a program ended between a delete and its
// add, and a window and the service mode on one account.
#include "ServiceModeTest.h"

#include "AddressHistory.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString kMailOld = u"mail=203.0.113.7"_s;
const QString kMailNew = u"mail=198.51.100.50"_s;
const QString kThird = u"198.51.100.70"_s;

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
        const auto row = [](const char *tag, const char *user, const char *setUp, int exitCode,
                            const char *said, const QString &record) {
            QTest::newRow(tag) << QString::fromUtf8(user) << QString::fromUtf8(setUp) << exitCode
                               << QString::fromUtf8(said) << record;
        };
        row("address changed", "acme", "new address", 0, "mail.acme.test set to 198.51.100.50",
            kMailNew);
        row("free sub-domain", "demo", "new address", 0,
            "demo.dyn.veltrio.test points at 198.51.100.50", u"demo=198.51.100.50"_s);
        row("--check prints and changes nothing", "acme", "check", 0,
            "mail.acme.test A 203.0.113.7", kMailOld);
        row("add refused", "acme", "refuse add", 1, "Could not Set IP for mail.acme.test", {});
        row("connection closed after the add", "acme", "close after add", 1,
            "Still to add, at every check: mail.acme.test", kMailNew);
        row("wrong password", "acme", "wrong password", 2, "Invalid Username or Password.",
            kMailOld);
        row("expired account", "expired", "", 2, "Your Account has expired", {});
        row("service stopped", "acme", "stop service", 3, "Error contacting server.", {});
        row("garbled login reply", "acme", "garbled login", 3,
            "acme: the service's login reply could not be read", {});
        row("record commands hang", "acme", "hang", 3, "acme: the run did not end within 6 s", {});
        row("no saved login", "acme", "no saved login", 4, "No saved login", kMailOld);
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
        QVERIFY(stateNames(QStringLiteral("acme")).contains(kMailOld));
    }

    // The on-change command runs once after a check that changed records,
    // with the account, both addresses and every record's outcome in its
    // environment and, where its words ask for them, its arguments; never
    // through a shell, whatever a host name holds. A check that changes
    // nothing runs nothing.
    void onChange_runsOnceForACheckThatChangedRecords_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("given"); // the setting, the option, or both
        QTest::addColumn<QString>("setUp");
        QTest::addColumn<QString>("records");
        const QString acme = u"mail.acme.test A ok\nshop.acme-shop.test PORT RELAY ok\n"
                             "acme-shop.test A ok"_s;
        const auto row = [](const char *tag, const char *user, const char *given, const char *setUp,
                            const QString &records) {
            QTest::newRow(tag) << QString::fromUtf8(user) << QString::fromUtf8(given)
                               << QString::fromUtf8(setUp) << records;
        };
        row("own domains, the setting", "acme", "setting", "", acme);
        row("free sub-domain, the option over the setting", "demo", "both", "",
            u"demo.dyn.veltrio.test A ok"_s);
        row("add refused", "acme", "option", "refuse add",
            QString(acme).replace(u"mail.acme.test A ok"_s, u"mail.acme.test A failed: Busy"_s));
        row("shell characters in a host name", "acme", "option", "odd host",
            acme + u"\n$(touch PWNED).acme.test A ok"_s);
    }
    void onChange_runsOnceForACheckThatChangedRecords()
    {
#ifdef Q_OS_WIN
        QSKIP("the command of the test is a shell script");
#endif
        QFETCH(QString, user);
        QFETCH(QString, given);
        QFETCH(QString, setUp);
        QFETCH(QString, records);
        saveLogin(user);
        markAutomatic();
        if (setUp == "odd host"_L1) {
            const QString host = u"$(touch PWNED)"_s;
            QVERIFY(m_service->addRecord(user, u"acme.test"_s, host, u"192.0.2.9"_s));
            writeValues(userKey(user),
                        {{"AutoIPs", readValue(userKey(user), "AutoIPs") + u"ACME.TEST;;A;;"_s +
                                         host.toUpper() + u";;192.0.2.9~~"_s}});
        }
        const QString hook = writeHook(
            "hook", "out=\"$0.out\"\n"
                    "printf '%s|%s|%s|%s\\n' \"$VELTRIO_ACCOUNT\" \"$VELTRIO_OLD_ADDRESS\" "
                    "\"$VELTRIO_NEW_ADDRESS\" \"$#\" >> \"$out\"\n"
                    "printf '%s\\n%s\\n' \"$VELTRIO_RECORDS\" \"$1\" >> \"$out\"\n"
                    "echo \"hook saw $VELTRIO_NEW_ADDRESS\"");
        const QString command = hook + u" {records}"_s;
        const QString setting = given == "setting"_L1 ? command
                                : given == "both"_L1  ? u"/bin/false"_s
                                                      : QString();
        writeValues(userKey(user), {{"OnChange", setting}});
        QStringList options{u"--once"_s};
        if (given != "setting"_L1)
            options << u"--on-change"_s << command;
        // A first run brings the records to the old address.
        QCOMPARE(m_dnsd->run(options).exitCode, 0);
        QFile::remove(hook + u".out"_s);

        QVERIFY(m_service->setPublicIp(kNew));
        if (setUp == "refuse add"_L1)
            QVERIFY(m_service->setNextReply(u"Error: Busy</p>"_s, u"RECORDADD&RecordType=A"_s));
        const DnsdRun::Result run = m_dnsd->run(options);
        QCOMPARE(run.exitCode, setUp == "refuse add"_L1 ? 1 : 0);
        const QString ran = QStringList{user, kOld, kNew, u"1"_s}.join(u'|') + u'\n' + records +
                            u'\n' + records + u'\n';
        QCOMPARE(QString::fromUtf8(contentsOf(hook + u".out"_s)), ran);
        const QString ended =
            u"the on-change command %1 exited with 0: hook saw %2"_s.arg(hook, kNew);
        QVERIFY2(run.output.contains(ended), qPrintable(run.output));
        QVERIFY2(m_dnsd->dailyLogs().contains(ended), qPrintable(m_dnsd->dailyLogs()));
        QVERIFY(!QFile::exists(u"PWNED"_s));
        if (setUp == "refuse add"_L1)
            return;
        QCOMPARE(m_dnsd->run(options).exitCode, 0);
        QCOMPARE(QString::fromUtf8(contentsOf(hook + u".out"_s)), ran);
    }

    // A command that hangs holds neither the refresh nor the next check: it
    // is ended at its time limit with whatever it started, then the change
    // that came meanwhile has its run.
    void onChange_hangingCommand_endedAtItsLimit()
    {
#ifdef Q_OS_WIN
        QSKIP("the command of the test is a shell script");
#endif
        saveLogin(u"acme"_s);
        markAutomatic();
        const QString hook = writeHook("hang", "echo \"hook for $VELTRIO_NEW_ADDRESS\"\n"
                                               "sleep 120 &\n"
                                               "echo $! >> \"$0.pids\"\n"
                                               "wait");
        const QString pids = hook + u".pids"_s;
        QVERIFY(m_service->setPublicIp(kNew));
        qputenv("VELTRIO_ON_CHANGE_LIMIT_MS", "15000");
        QProcess run;
        QVERIFY(m_dnsd->start(run, {u"--every"_s, u"5"_s, u"--on-change"_s, hook}));
        qunsetenv("VELTRIO_ON_CHANGE_LIMIT_MS");
        QString output;
        QVERIFY(QTest::qWaitFor([&] { return QFile::exists(pids); }, 20000));
        QVERIFY(m_service->setPublicIp(kThird));
        QVERIFY2(said(run, output, u"mail.acme.test set to 198.51.100.70"_s), qPrintable(output));
        QVERIFY2(!output.contains(u"was ended"_s), qPrintable(output));
        const QString ended = u"the on-change command %1 did not end within 15 s and was ended: "
                              "hook for 198.51.100.50"_s.arg(hook);
        QVERIFY2(said(run, output, ended), qPrintable(output));
        QVERIFY(QTest::qWaitFor([&] { return contentsOf(pids).count('\n') == 2; }, 10000));
        QVERIFY(DnsdRun::askToEnd(run));
        QVERIFY(run.waitForFinished(10000));
        QCOMPARE(run.exitCode(), 0);
        QVERIFY(m_dnsd->dailyLogs().contains(ended));
        // Nothing the commands started outlives them.
        const auto gone = [](const QByteArray &pid) {
            const QByteArray stat = contentsOf("/proc/"_L1 + QLatin1String(pid) + "/stat"_L1);
            return stat.isEmpty() || stat.contains(") Z ");
        };
        for (const QByteArray &pid : contentsOf(pids).trimmed().split('\n'))
            QTRY_VERIFY2(gone(pid), pid.constData());
    }

    // The history keeps its newest 500 entries; a kill -9 half-way through
    // its write leaves the file as it was; --history prints what it reads.
    void history_survivesAKillInItsWrite_keepsTheNewest500()
    {
        saveLogin(u"acme"_s);
        markAutomatic();
        QFile file(AddressHistory::FileOf(u"acme"_s));
        QByteArray kept;
        for (int i = 0; i < 500; ++i) {
            const QString address = i == 499 ? kOld : u"192.0.2.%1"_s.arg(i % 250);
            kept += u"{\"time\":\"entry %1\",\"new\":\"%2\"}\n"_s.arg(i).arg(address).toUtf8();
        }
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(kept) == kept.size());
        file.close();
        QVERIFY(m_service->setPublicIp(kNew));
        const QString hold = m_dir->filePath(u"hold"_s);
        qputenv("VELTRIO_HISTORY_WRITE_HOLD", QFile::encodeName(hold));
        QProcess killed;
        QVERIFY(m_dnsd->start(killed, {u"--once"_s}));
        qunsetenv("VELTRIO_HISTORY_WRITE_HOLD");
        QVERIFY(QTest::qWaitFor([&] { return QFile::exists(hold); }, 20000));
        killed.kill();
        QVERIFY(killed.waitForFinished(10000));
        QCOMPARE(contentsOf(file.fileName()), kept);

        QVERIFY(m_service->setPublicIp(kThird));
        QCOMPARE(m_dnsd->run({u"--once"_s}).exitCode, 0);
        QVERIFY(file.open(QIODevice::Append) && file.write("{\"time\":\"half") > 0);
        file.close();
        const DnsdRun::Result printed = m_dnsd->run({u"--history"_s});
        QCOMPARE(printed.exitCode, 0);
        const QStringList lines = printed.output.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 500);
        QCOMPARE(lines.first(), u"entry 1 (none) -> 192.0.2.1: nothing replaced"_s);
        QVERIFY2(lines.last().endsWith(u"Z 203.0.113.7 -> 198.51.100.70: mail.acme.test A ok, "
                                       "acme-shop.test A ok, shop.acme-shop.test PORT RELAY ok"_s),
                 qPrintable(lines.last()));
    }
};

QTEST_MAIN(tst_ServiceMode)
#include "tst_servicemode.moc"
