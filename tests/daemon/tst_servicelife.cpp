// veltrio-dnsd run as a service is run: stopped while the service hangs,
// left running while the service goes away and comes back, on settings it
// cannot write, checking as soon as it has logged in, and reloaded.
#include "ServiceModeTest.h"

#include "StatusFiles.h"

#ifndef Q_OS_WIN
#include <csignal>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

class tst_ServiceLife : public ServiceModeTest
{
    Q_OBJECT

    // SIGTERM, Ctrl-Break on Windows; kill -9 where neither reaches it.
    static void stop(QProcess &process)
    {
        if (!DnsdRun::askToEnd(process))
            process.kill();
        QVERIFY(process.waitForFinished(10000));
    }

private slots:
    void init()
    {
        QVERIFY(startService());
        m_dnsd.emplace(m_dir->path());
        saveLogin(u"acme"_s);
        markAutomatic();
    }
    void cleanup() { tearDown(); }

    // A login or commands that hang do not hold a stop; what did not go out
    // stays owed.
    void stop_whileTheServiceHangs_endsWithinTenSeconds_data()
    {
        QTest::addColumn<QString>("hanging");
        QTest::newRow("the login") << u"fxn=login"_s;
        QTest::newRow("the record commands") << u"DNSCommand="_s;
    }
    void stop_whileTheServiceHangs_endsWithinTenSeconds()
    {
        QFETCH(QString, hanging);
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextFault(u"delay?ms=120000&times=0"_s, hanging));
        QProcess run;
        QVERIFY(m_dnsd->start(run, {}));
        QVERIFY(QTest::qWaitFor([&] { return m_service->requests().join(u'\n').contains(hanging); },
                                20000));
        if (!DnsdRun::askToEnd(run)) {
            run.kill();
            QSKIP(DnsdRun::kNoCtrlBreak);
        }
        QVERIFY2(run.waitForFinished(10000), "still running 10 s after SIGTERM");
        QCOMPARE(run.exitCode(), 0);
        QCOMPARE(owed(u"acme"_s).contains(kNew), hanging.startsWith(u"DNS"_s));
    }

    // Said (line, log, status file) when it starts failing and when it ends.
    void unreachableService_saidOnceEachWay()
    {
        QProcess run;
        QVERIFY(m_dnsd->start(run, {u"--every"_s, u"5"_s}));
        QString output;
        QVERIFY2(said(run, output, u"public address"_s), qPrintable(output));
        QVERIFY(m_service->setNextFault(u"status?code=503&times=0"_s, u"GetIPAddress"_s));
        QVERIFY2(said(run, output, u"acme: the service does not answer"_s), qPrintable(output));
        const int failing = sent("FXN=GetIPAddress").size();
        QVERIFY(
            QTest::qWaitFor([&] { return sent("FXN=GetIPAddress").size() >= failing + 2; }, 20000));
        const auto status = StatusFile::Read(u"acme"_s);
        QVERIFY(status && status->summary == u"No answer from the service"_s);
        QVERIFY(m_service->clearFault());
        QVERIFY2(said(run, output, u"acme: the service answers again"_s), qPrintable(output));
        QCOMPARE(output.count(u"does not answer"_s), 1);
        QCOMPARE(m_dnsd->dailyLogs().count(u"does not answer"_s), 1);
        stop(run);
    }

    // Settings it cannot write: nothing is replaced, and the line says why.
    void readOnlySettings_sayWhy()
    {
#ifdef Q_OS_WIN
        QSKIP("a read-only settings folder is made with a Unix mount namespace or mode here");
#else
        QVERIFY(m_service->setPublicIp(kNew));
        // The settings alone in a folder that becomes read-only.
        const QString folder = m_dir->filePath(u"settings"_s);
        QVERIFY(QDir().mkpath(folder));
        RegistryStore::SetFile(folder + u"/settings.ini"_s);
        writeValues(kInit, {{"Port", QString::number(m_service->httpPort())}});
        saveLogin(u"acme"_s);
        markAutomatic();
        if (::geteuid() == 0) {
            // Root writes anywhere but in a read-only mount of its own.
            m_dnsd->setWrapper({u"unshare"_s, u"--map-root-user"_s, u"--mount"_s, u"sh"_s, u"-c"_s,
                                u"mount --bind \"$0\" \"$0\" && mount -o remount,bind,ro \"$0\" && "
                                "exec \"$@\""_s,
                                folder});
        } else {
            QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        }
        const DnsdRun::Result result = runOnce();
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner);
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.output.contains(u"acme: The settings could not be written"_s) &&
                     result.output.contains(RegistryStore::File()),
                 qPrintable(result.output));
        QVERIFY(sent().isEmpty());
#endif
    }

    // After a reboot the address has most likely moved. An editor may leave
    // the settings empty at a SIGHUP: it goes on with those it has.
    void firstCheck_followsTheLogin_reloadReadsTheSettings()
    {
        QVERIFY(m_service->setPublicIp(kNew));
        QProcess run;
        QVERIFY(m_dnsd->start(run, {}));
        QString output;
        QVERIFY2(said(run, output, u"mail.acme.test set to 198.51.100.50"_s, 10000),
                 qPrintable(output));
        QVERIFY2(output.contains(u"3 automatic record(s): a check now, then every 60 s"_s),
                 qPrintable(output));
#ifndef Q_OS_WIN
        writeValues(kInit, {{ "RefreshRate", u"90"_s }});
        ::kill(static_cast<pid_t>(run.processId()), SIGHUP);
        QVERIFY2(said(run, output, u"every 90 s"_s), qPrintable(output));

        QFile file(RegistryStore::File());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.close();
        ::kill(static_cast<pid_t>(run.processId()), SIGHUP);
        QVERIFY2(said(run, output, u"going on with the settings read before"_s),
                 qPrintable(output));
        QTest::qWait(500);
        QCOMPARE(run.state(), QProcess::Running);
#endif
        stop(run);
    }
};

QTEST_MAIN(tst_ServiceLife)
#include "tst_servicelife.moc"
