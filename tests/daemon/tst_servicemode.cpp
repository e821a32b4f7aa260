// veltrio-dnsd, the real program, against veltrio-service: what --once does
// and how it ends, a program killed between a delete and its add, and a
// window and the service mode on one account.
#include "ServiceModeTest.h"

#include "AddressHistory.h"

#include <QDir>
#include <QProcess>
#include <QTest>

#ifndef Q_OS_WIN
#include <csignal>
#endif

namespace {

const QString kMailOld = QStringLiteral("mail=203.0.113.7");
const QString kMailNew = QStringLiteral("mail=198.51.100.50");
const QString kMailNewAuto = QStringLiteral("ACME.TEST;;A;;MAIL;;198.51.100.50~~");
const QString kThird = QStringLiteral("198.51.100.70");

} // namespace

using namespace Qt::StringLiterals;

class tst_ServiceMode : public ServiceModeTest
{
    Q_OBJECT

    static bool waitForOutput(QProcess &process, QString &output, const QString &part)
    {
        return QTest::qWaitFor(
            [&] {
                output += QString::fromLocal8Bit(process.readAll());
                return output.contains(part);
            },
            20000);
    }

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
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("setUp");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("said");
        QTest::addColumn<QString>("record"); // name=address the user's records hold after

        QTest::newRow("address changed")
            << "acme"
            << "acme"
            << "new address" << 0 << "mail.acme.test set to 198.51.100.50" << kMailNew;
        QTest::newRow("address unchanged") << "acme"
                                           << "acme"
                                           << "" << 0 << "check done" << kMailOld;
        QTest::newRow("free sub-domain")
            << "demo"
            << "demo"
            << "new address" << 0 << "demo.dyn.veltrio.test points at 198.51.100.50"
            << "demo=198.51.100.50";
        QTest::newRow("add refused") << "acme"
                                     << "acme"
                                     << "refuse add" << 1 << "Could not Set IP for mail.acme.test"
                                     << "";
        QTest::newRow("wrong password")
            << "acme"
            << "wrong"
            << "new address" << 2 << "Invalid Username or Password." << kMailOld;
        QTest::newRow("expired account") << "expired"
                                         << "expired"
                                         << "" << 2 << "Your Account has expired"
                                         << "";
        QTest::newRow("service stopped") << "acme"
                                         << "acme"
                                         << "stop service" << 3 << "Error contacting server."
                                         << "";
        QTest::newRow("garbled login reply")
            << "acme"
            << "acme"
            << "garbled login" << 3 << "acme: the service's login reply could not be read"
            << "";
        QTest::newRow("no saved login") << "acme"
                                        << "acme"
                                        << "no saved login" << 4 << "No saved login" << kMailOld;
    }
    void once()
    {
        QFETCH(QString, user);
        QFETCH(QString, password);
        QFETCH(QString, setUp);
        QFETCH(int, exitCode);
        QFETCH(QString, said);
        QFETCH(QString, record);

        writeValues(kInit, {{"bSaveLogin", setUp == QLatin1String("no saved login") ? 0 : 1},
                            {"Username", user},
                            {"Password", password}});
        writeValues(userKey(QStringLiteral("acme")), {{"AutoIPs", kMailAuto}});
        writeValues(userKey(QStringLiteral("demo")), {{"bAutoIP", 1}});
        if (setUp != QLatin1String(""))
            QVERIFY(m_service->setPublicIp(kNew));
        if (setUp == QLatin1String("refuse add"))
            QVERIFY(m_service->setNextReply(QStringLiteral("Error: Refused</p>"),
                                            QStringLiteral("RECORDADD")));
        if (setUp == QLatin1String("stop service"))
            m_service->stop();
        if (setUp == QLatin1String("garbled login"))
            QVERIFY(m_service->setNextReply(QStringLiteral("DNS LOGIN:SUCCESS"),
                                            QStringLiteral("fxn=login")));

        const DnsdRun::Result run = runDnsd({QStringLiteral("--once")});
        QVERIFY2(run.output.contains(said), qPrintable(run.output));
        QCOMPARE(run.exitCode, exitCode);
        const QStringList held = stateNames(user);
        if (!record.isEmpty())
            QVERIFY2(held.contains(record), qPrintable(held.join(u' ')));
        if (setUp == QLatin1String("garbled login"))
            QVERIFY(dailyLogs().contains(said));
        if (setUp == QLatin1String("refuse add")) {
            // The add is owed, and the next check sends it again.
            QVERIFY(!owed(QStringLiteral("acme")).isEmpty());
            QVERIFY(dailyLogs().contains(said));
            QCOMPARE(runDnsd({QStringLiteral("--once")}).exitCode, 0);
            QVERIFY(stateNames(QStringLiteral("acme")).contains(kMailNew));
        }
        // The password never shows: not in a line, not in the log.
        for (const QString &text : {run.output, dailyLogs()})
            QVERIFY2(!text.contains(QLatin1String("pwd="), Qt::CaseInsensitive), qPrintable(text));
    }

    // Ended while an add waits at the service, after its delete went
    // through: SIGTERM (Ctrl-Break on Windows) lets the add go out before the
    // program ends; after a kill -9 the journal has it, and the next run
    // adds it.
    void endedBetweenDeleteAndAdd_recordComesBack_data()
    {
        QTest::addColumn<bool>("asked"); // asked to end, or killed
        QTest::addColumn<bool>("presentAtExit");
        QTest::newRow("SIGTERM") << true << true;
        QTest::newRow("SIGKILL") << false << false;
    }
    void endedBetweenDeleteAndAdd_recordComesBack()
    {
        QFETCH(bool, asked);
        QFETCH(bool, presentAtExit);
        writeValues(kInit, {{"bSaveLogin", 1},
                            {"Username", QStringLiteral("acme")},
                            {"Password", QStringLiteral("acme")}});
        writeValues(userKey(QStringLiteral("acme")), {{"AutoIPs", kMailAuto}});
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextDelay(presentAtExit ? 2000 : 30000, QStringLiteral("RECORDADD")));

        QProcess first;
        startDnsd(first, {QStringLiteral("--once")});
        // The delete is done; its add waits at the service.
        QVERIFY(QTest::qWaitFor([&] { return !sent("DNSCommand=RECORDDELETE").isEmpty(); }, 20000));
        QTest::qWait(500);
        QVERIFY(!stateNames(QStringLiteral("acme")).join(u' ').contains(QLatin1String("mail=")));
        if (!asked)
            first.kill();
        else if (!askToEnd(first))
            QSKIP(kNoCtrlBreak);
        QVERIFY(first.waitForFinished(20000));

        QCOMPARE(stateNames(QStringLiteral("acme")).contains(kMailNew), presentAtExit);
        if (!presentAtExit) {
            const DnsdRun::Result second = runDnsd({QStringLiteral("--once")});
            QCOMPARE(second.exitCode, 0);
            QVERIFY2(stateNames(QStringLiteral("acme")).contains(kMailNew),
                     qPrintable(second.output));
        }
        // The mark moved with the record, whatever ended the program.
        QVERIFY2(marks(QStringLiteral("acme")).contains(kMailNewAuto),
                 qPrintable(readValue(userKey(QStringLiteral("acme")), "AutoIps")));
        QVERIFY(owed(QStringLiteral("acme")).isEmpty());
    }

    // One record command of a check fails the way the world makes it fail;
    // then come runs with nothing failing, and a second change of the
    // address. No record is missing, twice or left at an old address, every
    // automatic record keeps its mark, nothing stays owed, and no command
    // reaches the service twice in one run.
    void faultOnACommand_nothingLost_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("fault");  // an admin fault of veltrio-service, or empty
        QTest::addColumn<QString>("match");  // the request it strikes
        QTest::addColumn<bool>("moveFirst"); // the address moves again before the next run

        const QString freeDelete = QStringLiteral("RECORDDELETE&RecordType=A&IPAddress=") + kOld;
        const QString freeAdd = QStringLiteral("RECORDADD&RecordType=A&IPAddress=") + kNew;
        const QString add = QStringLiteral("RECORDADD");
        const QString remove = QStringLiteral("RECORDDELETE");
        QTest::newRow("free sub-domain, nothing fails")
            << "demo" << QString() << QString() << false;
        QTest::newRow("free sub-domain, delete refused")
            << "demo"
            << "reply?text=Error:Busy</p>" << freeDelete << false;
        QTest::newRow("free sub-domain, delete answered 503")
            << "demo"
            << "status?code=503" << freeDelete << false;
        QTest::newRow("free sub-domain, add's reply cut") << "demo"
                                                          << "drop" << freeAdd << false;
        QTest::newRow("add's reply cut") << "acme"
                                         << "drop" << add << false;
        QTest::newRow("connection closed after the add") << "acme"
                                                         << "close?acted=1" << add << false;
        QTest::newRow("add's reply past the deadline") << "acme"
                                                       << "delay?ms=3000&acted=1" << add << false;
        QTest::newRow("add answered without the record list")
            << "acme"
            << "reply?text=SUCCESS</p>" << add << false;
        QTest::newRow("delete answered without the record list")
            << "acme"
            << "reply?text=SUCCESS</p>" << remove << false;
        QTest::newRow("connection closed before the delete") << "acme"
                                                             << "close?acted=0" << remove << false;
        QTest::newRow("connection closed after the delete") << "acme"
                                                            << "close?acted=1" << remove << false;
        QTest::newRow("add refused, the address moves before the next run")
            << "acme"
            << "reply?text=Error:Busy</p>" << add << true;
    }
    void faultOnACommand_nothingLost()
    {
        QFETCH(QString, user);
        QFETCH(QString, fault);
        QFETCH(QString, match);
        QFETCH(bool, moveFirst);
        m_dnsd.emplace(m_dir->path(), 2);
        saveLogin(user);
        markAutomatic();
        // The free sub-domain's record where the last run left it.
        QCOMPARE(runDnsd({QStringLiteral("--once")}).exitCode, 0);
        verifyAt(user, kOld);

        QVERIFY(m_service->setPublicIp(kNew));
        if (!fault.isEmpty())
            QVERIFY(m_service->setNextFault(fault, match));
        m_service->clearRequests();
        const DnsdRun::Result faulty = runDnsd({QStringLiteral("--once")});
        verifySentOnce(faulty.output);
        QString address = kNew;
        if (moveFirst) {
            address = QStringLiteral("198.51.100.60");
            QVERIFY(m_service->setPublicIp(address));
        }
        for (int run = 0; run < 3; ++run) {
            m_service->clearRequests();
            const DnsdRun::Result clean = runDnsd({QStringLiteral("--once")});
            verifySentOnce(clean.output);
            if (clean.exitCode == 0)
                break;
        }
        verifyAt(user, address);

        QVERIFY(m_service->setPublicIp(kThird));
        QCOMPARE(runDnsd({QStringLiteral("--once")}).exitCode, 0);
        verifyAt(user, kThird);
    }

    void windowAndServiceMode_onlyOneSendsChecks()
    {
        frmMain &w = startDue("acme", {{"AutoIPs", kMailAuto}});
        QVERIFY(check(w));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 1);

        QProcess service;
        startDnsd(service, {});
        QString output;
        QVERIFY2(waitForOutput(service, output, QStringLiteral("refreshing")), qPrintable(output));

        // The window leaves the checks to the service mode, whose first
        // check, held back while the window had them, follows.
        QVERIFY(check(w));
        QTRY_COMPARE(w.lblLastRefresh->text(), QStringLiteral("Refreshed by the service"));
        QVERIFY2(waitForOutput(service, output, QStringLiteral("public address")),
                 qPrintable(output));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 2);

        // A one-off check while the service mode waits for its next one; the
        // window shows what it did and sends nothing itself.
        QVERIFY(m_service->setPublicIp(kNew));
        const DnsdRun::Result once = runDnsd({QStringLiteral("--once")});
        QCOMPARE(once.exitCode, 0);
        QCOMPARE(sent("FXN=GetIPAddress").size(), 3);
        for (int i = 0; i < 3; ++i)
            QVERIFY(check(w));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 3);
        QVERIFY(stateNames(QStringLiteral("acme")).contains(kMailNew));
        const auto mailAddress = [&w] {
            const int mail = rowNamed(w, QStringLiteral("mail"));
            return mail < 0 ? QString() : w.lvDomainUser->model()->index(mail, 3).data().toString();
        };
        QTRY_COMPARE(mailAddress(), kNew);
        QVERIFY2(w.lblLastRefresh->toolTip().contains(QLatin1String("set to")),
                 qPrintable(w.lblLastRefresh->toolTip()));

        // SIGHUP reads the settings again; on Windows a restart does.
        writeValues(kInit, {{"RefreshRate", QStringLiteral("90")}});
#ifdef Q_OS_WIN
        if (!askToEnd(service))
            QSKIP(kNoCtrlBreak);
        QVERIFY(service.waitForFinished(10000));
        QCOMPARE(service.exitCode(), 0);
        startDnsd(service, {});
        output.clear();
#else
        ::kill(static_cast<pid_t>(service.processId()), SIGHUP);
#endif
        QVERIFY2(waitForOutput(service, output, QStringLiteral("every 90 s")), qPrintable(output));

        // Once the service mode ends, the window checks again.
        QVERIFY(askToEnd(service));
        QVERIFY(service.waitForFinished(10000));
        QCOMPARE(service.exitCode(), 0);
        output += QString::fromLocal8Bit(service.readAll());
        QVERIFY2(output.contains(QLatin1String("stopping")), qPrintable(output));
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
        QTest::newRow("own domains, the setting") << "acme"
                                                  << "setting"
                                                  << "" << acme;
        QTest::newRow("free sub-domain, the option over the setting")
            << "demo"
            << "both"
            << ""
            << "demo.dyn.veltrio.test A ok";
        QTest::newRow("add refused")
            << "acme"
            << "option"
            << "refuse add"
            << QString(acme).replace(u"mail.acme.test A ok"_s, u"mail.acme.test A failed: Busy"_s);
        QTest::newRow("shell characters in a host name")
            << "acme"
            << "option"
            << "odd host" << acme + u"\n$(touch PWNED).acme.test A ok"_s;
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
            writeValues(userKey(user), {{"AutoIPs", kAcmeAuto + u"ACME.TEST;;A;;"_s +
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
        QCOMPARE(runDnsd(options).exitCode, 0);
        QFile::remove(hook + u".out"_s);

        QVERIFY(m_service->setPublicIp(kNew));
        if (setUp == "refuse add"_L1)
            QVERIFY(m_service->setNextReply(u"Error: Busy</p>"_s, u"RECORDADD&RecordType=A"_s));
        const DnsdRun::Result run = runDnsd(options);
        QCOMPARE(run.exitCode, setUp == "refuse add"_L1 ? 1 : 0);
        const QString ran = QStringList{user, kOld, kNew, u"1"_s}.join(u'|') + u'\n' + records +
                            u'\n' + records + u'\n';
        QCOMPARE(QString::fromUtf8(contentsOf(hook + u".out"_s)), ran);
        const QString ended =
            u"the on-change command %1 exited with 0: hook saw %2"_s.arg(hook, kNew);
        QVERIFY2(run.output.contains(ended), qPrintable(run.output));
        QVERIFY2(dailyLogs().contains(ended), qPrintable(dailyLogs()));
        QVERIFY(!QFile::exists(u"PWNED"_s));
        if (setUp == "refuse add"_L1)
            return;
        QCOMPARE(runDnsd(options).exitCode, 0);
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
        startDnsd(run, {u"--every"_s, u"5"_s, u"--on-change"_s, hook});
        qunsetenv("VELTRIO_ON_CHANGE_LIMIT_MS");
        QString output;
        QVERIFY(QTest::qWaitFor([&] { return QFile::exists(pids); }, 20000));
        QVERIFY(m_service->setPublicIp(kThird));
        QVERIFY2(waitForOutput(run, output, u"mail.acme.test set to 198.51.100.70"_s),
                 qPrintable(output));
        QVERIFY2(!output.contains(u"was ended"_s), qPrintable(output));
        const QString ended = u"the on-change command %1 did not end within 15 s and was ended: "
                              "hook for 198.51.100.50"_s.arg(hook);
        QVERIFY2(waitForOutput(run, output, ended), qPrintable(output));
        QVERIFY(QTest::qWaitFor([&] { return contentsOf(pids).count('\n') == 2; }, 10000));
        QVERIFY(askToEnd(run));
        QVERIFY(run.waitForFinished(10000));
        QCOMPARE(run.exitCode(), 0);
        QVERIFY(dailyLogs().contains(ended));
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
        startDnsd(killed, {u"--once"_s});
        qunsetenv("VELTRIO_HISTORY_WRITE_HOLD");
        QVERIFY(QTest::qWaitFor([&] { return QFile::exists(hold); }, 20000));
        DnsdRun::kill(killed);
        QVERIFY(killed.waitForFinished(10000));
        QCOMPARE(contentsOf(file.fileName()), kept);

        QVERIFY(m_service->setPublicIp(kThird));
        QCOMPARE(runDnsd({u"--once"_s}).exitCode, 0);
        QVERIFY(file.open(QIODevice::Append) && file.write("{\"time\":\"half") > 0);
        file.close();
        const DnsdRun::Result printed = runDnsd({u"--history"_s});
        QCOMPARE(printed.exitCode, 0);
        const QStringList lines = printed.output.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 500);
        QCOMPARE(lines.first(), u"entry 1 (none) -> 192.0.2.1: nothing replaced"_s);
        QVERIFY2(lines.last().endsWith(u"Z 203.0.113.7 -> 198.51.100.70: mail.acme.test A ok, "
                                       "acme-shop.test A ok, shop.acme-shop.test PORT RELAY ok"_s),
                 qPrintable(lines.last()));
    }

    void check_printsTheAutomaticRecordsAndChangesNothing()
    {
        writeValues(kInit, {{"bSaveLogin", 1},
                            {"Username", QStringLiteral("acme")},
                            {"Password", QStringLiteral("acme")}});
        writeValues(userKey(QStringLiteral("acme")), {{"AutoIPs", kMailAuto}});
        QVERIFY(m_service->setPublicIp(kNew));
        m_service->clearRequests();
        const DnsdRun::Result run = runDnsd({QStringLiteral("--check")});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.output.contains(QLatin1String("mail.acme.test A 203.0.113.7")),
                 qPrintable(run.output));
        QVERIFY(sent().isEmpty());
        QCOMPARE(m_service->requests().size(), 1); // the login
    }
};

QTEST_MAIN(tst_ServiceMode)
#include "tst_servicemode.moc"
