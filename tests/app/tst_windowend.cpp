// The real veltrio-dns ended by SIGTERM after its own first check (a rate, 60 s,
// after the start) moved an automatic record: the mark is kept.
#include "MainWindowTest.h"

#include <QProcess>

#ifndef Q_OS_WIN
#include <csignal>
#endif

using namespace Qt::StringLiterals;

class TestWindowEnd : public MainWindowTest
{
    Q_OBJECT

private slots:
    void init() { QVERIFY2(startService(), qPrintable(m_service->errorString())); }
    void cleanup() { tearDown(); }

    void terminatedAfterAReplace_keepsTheMark()
    {
#ifdef Q_OS_WIN
        QSKIP("SIGTERM ends a Linux desktop session's programs");
#else
        const QString client = qEnvironmentVariable("VELTRIO_CLIENT_BIN");
        QVERIFY2(QFileInfo::exists(client), "VELTRIO_CLIENT_BIN names no veltrio-dns");
        const QString settings = m_dir->filePath(u"settings.ini"_s);
        const QString config = m_dir->filePath(u"veltrio.conf"_s);
        writeValues(kInit, {{"bSaveLogin", 1},
                            {"Username", u"acme"_s},
                            {"Password", u"acme"_s},
                            {"RefreshRate", u"60"_s}});
        writeValues(userKey(u"acme"_s), {{"AutoIPs", kMailAuto}});
        QFile file(config);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.write("[Service]\nHttpHost=127.0.0.1\n") > 0);
        file.close();
        QProcess program;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"VELTRIO_RUNTIME_DIR"_s, m_dir->filePath(u"runtime"_s));
        env.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        program.setProcessEnvironment(env);
        program.start(client, {u"--settings"_s, settings, u"--config"_s, config, u"--log-dir"_s,
                               m_dir->filePath(u"Logs"_s)});
        QVERIFY(program.waitForStarted(5000));
        // The login is done once the service has seen it; then the address moves.
        QVERIFY(QTest::qWaitFor([&] { return !m_service->requests().isEmpty(); }, 20000));
        QVERIFY(m_service->setPublicIp(kNew));
        QVERIFY(QTest::qWaitFor([&] { return stateNames(u"acme"_s).contains(u"mail="_s + kNew); },
                                100000));
        // What it writes comes with the replies (a moment for them).
        QTest::qWait(2000);
        ::kill(static_cast<pid_t>(program.processId()), SIGTERM);
        QVERIFY(program.waitForFinished(15000));

        RegistryStore::SetFile(settings);
        const QString marks = readValue(userKey(u"acme"_s), "AutoIps").toUpper();
        QVERIFY2(marks.contains(u"ACME.TEST;;A;;MAIL;;198.51.100.50~~"_s), qPrintable(marks));
        QCOMPARE(readValue(userKey(u"acme"_s), "Replaces"), QString());
#endif
    }
};

QTEST_MAIN(TestWindowEnd)
#include "tst_windowend.moc"
