// veltrio-dnsd run as a service is run: stopped while the service hangs,
// run once against a silent service, left running while the service goes
// away and comes back, on settings it cannot write, reloaded while an editor
// has the settings file empty, and checking as soon as it has logged in.
#include "ServiceModeTest.h"

#include "StatusFiles.h"

#include <QElapsedTimer>

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
            DnsdRun::kill(process);
    }

    // Reads what the running program printed until it holds part.
    static bool said(QProcess &process, QString &output, const QString &part, int ms = 20000)
    {
        return QTest::qWaitFor(
            [&] {
                output += QString::fromLocal8Bit(process.readAll());
                return output.contains(part);
            },
            ms);
    }

    // Every record command hangs at the service, the address has moved.
    void hangCommands()
    {
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(m_service->setNextFault(u"delay?ms=120000&times=0"_s, u"DNSCommand="_s));
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

    // SIGTERM while record commands hang: it ends within 10 s, and the
    // replaces that did not go out stay owed.
    void stop_whileCommandsHang_endsWithinTenSeconds()
    {
        hangCommands();
        QProcess run;
        QVERIFY(m_dnsd->start(run, {}));
        QVERIFY(QTest::qWaitFor([&] { return !sent("DNSCommand=").isEmpty(); }, 20000));
        QElapsedTimer stopping;
        stopping.start();
        if (!DnsdRun::askToEnd(run)) {
            DnsdRun::kill(run);
            QSKIP(DnsdRun::kNoCtrlBreak);
        }
        QVERIFY2(run.waitForFinished(10000), "still running 10 s after SIGTERM");
        QVERIFY(stopping.elapsed() < 10000);
        QCOMPARE(run.exitCode(), 0);
        QVERIFY(owed(u"acme"_s).contains(u"198.51.100.50"_s));
    }

    // --once against a service that takes record commands and never
    // answers: one deadline for the run (1.5 exchanges' time), whatever the
    // number of records; what it could not send stays owed.
    void once_silentService_endsWithinItsDeadline()
    {
        m_dnsd.emplace(m_dir->path(), 4); // the run's deadline: 6 s
        hangCommands();
        QElapsedTimer running;
        running.start();
        const DnsdRun::Result run = m_dnsd->run({u"--once"_s});
        QVERIFY2(running.elapsed() < 15000, qPrintable(run.output));
        QCOMPARE(run.exitCode, 3);
        QVERIFY2(run.output.contains(u"acme: the run did not end within 6 s"_s),
                 qPrintable(run.output));
        QVERIFY(m_dnsd->dailyLogs().contains(u"did not end within"_s));
        QVERIFY(!owed(u"acme"_s).isEmpty());
    }

    // The service stops answering: one line (and the log, and the status
    // file) when it starts failing, one when it answers again; none between.
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
        QVERIFY(run.waitForFinished(10000));
    }

    // Settings it can read but not write: no record is replaced, and the
    // line says why, with the file.
    void readOnlySettings_sayWhy()
    {
#ifdef Q_OS_WIN
        QSKIP("a read-only settings folder is made with a Unix mount namespace or mode here");
#else
        QVERIFY(m_service->setPublicIp(kNew));
        // The settings alone in a folder that becomes read-only; the logs
        // elsewhere.
        const QString folder = m_dir->filePath(u"settings"_s);
        QVERIFY(QDir().mkpath(folder));
        RegistryStore::SetFile(folder + u"/settings.ini"_s);
        writeValues(kInit, {{"Port", QString::number(m_service->httpPort())}});
        saveLogin(u"acme"_s);
        markAutomatic();
        if (::geteuid() == 0) {
            // Root writes anywhere: the folder is read-only in a mount
            // namespace of the run's own.
            m_dnsd->setWrapper({u"unshare"_s, u"--map-root-user"_s, u"--mount"_s, u"sh"_s, u"-c"_s,
                                u"mount --bind \"$0\" \"$0\" && mount -o remount,bind,ro \"$0\" && "
                                "exec \"$@\""_s,
                                folder});
        } else {
            QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        }
        const DnsdRun::Result result = m_dnsd->run({u"--once"_s});
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner);
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.output.contains(u"acme: The settings could not be written"_s) &&
                     result.output.contains(RegistryStore::File()),
                 qPrintable(result.output));
        QVERIFY(sent().isEmpty());
#endif
    }

    // SIGHUP while an editor has the settings file empty: it goes on with the
    // settings it has, and says so.
    void reload_emptySettings_keepsRunning()
    {
#ifdef Q_OS_WIN
        QSKIP("Windows has no reload: a restart reads the settings");
#else
        QProcess run;
        QVERIFY(m_dnsd->start(run, {}));
        QString output;
        QVERIFY2(said(run, output, u"refreshing"_s), qPrintable(output));
        QFile file(RegistryStore::File());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.close();
        ::kill(static_cast<pid_t>(run.processId()), SIGHUP);
        QVERIFY2(said(run, output, u"going on with the settings read before"_s),
                 qPrintable(output));
        QTest::qWait(500);
        QCOMPARE(run.state(), QProcess::Running);
        stop(run);
        QVERIFY(run.waitForFinished(10000));
        QCOMPARE(run.exitCode(), 0);
#endif
    }

    // The first check follows the login; the line says when the next come.
    void firstCheck_followsTheLogin()
    {
        QVERIFY(m_service->setPublicIp(kNew));
        QProcess run;
        QVERIFY(m_dnsd->start(run, {}));
        QString output;
        QVERIFY2(said(run, output, u"mail.acme.test set to 198.51.100.50"_s, 10000),
                 qPrintable(output));
        QVERIFY2(output.contains(u"3 automatic record(s): a check now, then every 60 s"_s),
                 qPrintable(output));
        stop(run);
        QVERIFY(run.waitForFinished(10000));
    }
};

QTEST_MAIN(tst_ServiceLife)
#include "tst_servicelife.moc"
