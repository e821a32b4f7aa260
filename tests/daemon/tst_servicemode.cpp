// veltrio-dnsd, the real program, against veltrio-service: what --once does
// and how it ends, a program killed between a delete and its add, and a
// window and the service mode on one account.
#include "MainWindowTest.h"

#include "PendingAdds.h"

#include <QDir>
#include <QProcess>
#include <QTest>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <csignal>
#endif

namespace {

const QString kMailOld = QStringLiteral("mail=203.0.113.7");
const QString kMailNew = QStringLiteral("mail=198.51.100.50");

} // namespace

class tst_ServiceMode : public MainWindowTest
{
    Q_OBJECT

    // What one run of the program printed and how it ended.
    struct Run
    {
        int exitCode = -1;
        QString output;
    };

    QString configFile() const { return m_dir->filePath(QStringLiteral("veltrio.conf")); }
    QString logFolder() const { return m_dir->filePath(QStringLiteral("dnsd-logs")); }

    void startDnsd(QProcess &process, const QStringList &options)
    {
        QFile config(configFile());
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write("[Service]\nHttpHost=127.0.0.1\nDefaultServerAddress=192.0.2.1\n");
        config.close();
        const QString binary = qEnvironmentVariable("VELTRIO_DNSD_BIN");
        QVERIFY2(QFileInfo(binary).isExecutable(), "VELTRIO_DNSD_BIN is not set");
        process.setProcessChannelMode(QProcess::MergedChannels);
#ifdef Q_OS_WIN
        // A process group of its own, so that a Ctrl-Break reaches it alone.
        process.setCreateProcessArgumentsModifier([](QProcess::CreateProcessArguments *arguments) {
            arguments->flags |= CREATE_NEW_PROCESS_GROUP;
        });
#endif
        process.start(binary, QStringList{QStringLiteral("--config"), configFile(),
                                          QStringLiteral("--settings"), RegistryStore::File(),
                                          QStringLiteral("--log-dir"), logFolder()} +
                                  options);
        QVERIFY(process.waitForStarted());
    }

    Run runDnsd(const QStringList &options)
    {
        QProcess process;
        startDnsd(process, options);
        if (!process.waitForFinished(90000))
            process.kill();
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromLocal8Bit(process.readAll())};
    }

    QString dailyLogs() const
    {
        QString text;
        const QDir folder(logFolder());
        for (const QString &name : folder.entryList(QDir::Files)) {
            QFile file(folder.filePath(name));
            if (file.open(QIODevice::ReadOnly))
                text += QString::fromLocal8Bit(file.readAll());
        }
        return text;
    }

    // Asks the program to end, as a service manager or a person does: SIGTERM,
    // on Windows the console's Ctrl-Break. False only under Wine, which
    // sends no console control event (GenerateConsoleCtrlEvent fails there).
    static bool askToEnd(QProcess &process)
    {
#ifdef Q_OS_WIN
        return GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, DWORD(process.processId())) ||
               !HelperProcess::underWine();
#else
        process.terminate();
        return true;
#endif
    }
    static constexpr const char *kNoCtrlBreak =
        "Wine sends no console control event: GenerateConsoleCtrlEvent fails there";

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
    }
    void cleanup()
    {
        tearDown();
    }

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
            << "new address" << 0 << "demo.dyn.veltrio.test set to 198.51.100.50"
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

        const Run run = runDnsd({QStringLiteral("--once")});
        QVERIFY2(run.output.contains(said), qPrintable(run.output));
        QCOMPARE(run.exitCode, exitCode);
        // The service writes its state file at the first change.
        const QStringList held =
            m_service->stateRecords(user).isEmpty() ? QStringList{kMailOld} : stateNames(user);
        if (!record.isEmpty())
            QVERIFY2(held.contains(record), qPrintable(held.join(u' ')));
        if (setUp == QLatin1String("refuse add")) {
            // The add is owed, and the next check sends it again.
            QCOMPARE(PendingAdds::Read(QStringLiteral("acme")).size(), 1);
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
            const Run second = runDnsd({QStringLiteral("--once")});
            QCOMPARE(second.exitCode, 0);
            QVERIFY2(stateNames(QStringLiteral("acme")).contains(kMailNew),
                     qPrintable(second.output));
        }
        QVERIFY(PendingAdds::Read(QStringLiteral("acme")).isEmpty());
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

        // The window leaves the checks to the service mode.
        QVERIFY(check(w));
        QTRY_COMPARE(w.lblLastRefresh->text(), QStringLiteral("Refreshed by the service"));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 1);

        // A one-off check while the service mode waits for its next one; the
        // window shows what it did and sends nothing itself.
        QVERIFY(m_service->setPublicIp(kNew));
        const Run once = runDnsd({QStringLiteral("--once")});
        QCOMPARE(once.exitCode, 0);
        QCOMPARE(sent("FXN=GetIPAddress").size(), 2);
        for (int i = 0; i < 3; ++i)
            QVERIFY(check(w));
        QCOMPARE(sent("FXN=GetIPAddress").size(), 2);
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
        QCOMPARE(sent("FXN=GetIPAddress").size(), 3);
        QVERIFY(stateNames(QStringLiteral("acme")).contains(kMailOld));
    }

    void check_printsTheAutomaticRecordsAndChangesNothing()
    {
        writeValues(kInit, {{"bSaveLogin", 1},
                            {"Username", QStringLiteral("acme")},
                            {"Password", QStringLiteral("acme")}});
        writeValues(userKey(QStringLiteral("acme")), {{"AutoIPs", kMailAuto}});
        QVERIFY(m_service->setPublicIp(kNew));
        m_service->clearRequests();
        const Run run = runDnsd({QStringLiteral("--check")});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.output.contains(QLatin1String("mail.acme.test A 203.0.113.7")),
                 qPrintable(run.output));
        QVERIFY(sent().isEmpty());
        QCOMPARE(m_service->requests().size(), 1); // the login
    }
};

QTEST_MAIN(tst_ServiceMode)
#include "tst_servicemode.moc"
