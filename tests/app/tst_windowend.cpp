// The real veltrio-dns, ended without its close after its own timer moved an
// automatic record: by SIGTERM, and by the X server going away at the end
// of a session. Either way the next start finds the record marked.
//
// Both programs run at once (each with its own service, settings and
// runtime folder): the first check comes a rate (60 s) after the start.
#include "MainWindowTest.h"

#include <QProcess>

#ifndef Q_OS_WIN
#include <csignal>
#endif

using namespace Qt::StringLiterals;

namespace {

const QString kMailNewAuto = u"ACME.TEST;;A;;MAIL;;198.51.100.50~~"_s;

// One client and everything it runs on.
struct Client
{
    QString name;
    QTemporaryDir dir;
    ServiceProcess service;
    QProcess xserver;
    QProcess program;

    QString settings() const { return dir.filePath(u"settings.ini"_s); }
};

#ifndef Q_OS_WIN
void signal(QProcess &process, int number)
{
    const qint64 pid = process.processId();
    if (pid > 0 && process.state() == QProcess::Running)
        ::kill(static_cast<pid_t>(pid), number);
}
#endif

} // namespace

class TestWindowEnd : public MainWindowTest
{
    Q_OBJECT

    // Starts veltrio-dns on the client's settings, with the saved login of
    // acme and its mail record automatic; under an X server of its own when
    // display is given.
    bool start(Client &c, const QString &display)
    {
        if (!c.service.start(ServiceProcess::HttpOnly, kOld))
            return false;
        RegistryStore::SetFile(c.settings());
        writeValues(kInit, {{"bSaveLogin", 1},
                            {"Username", u"acme"_s},
                            {"Password", u"acme"_s},
                            {"Port", QString::number(c.service.httpPort())},
                            {"RefreshRate", u"60"_s}});
        writeValues(userKey(u"acme"_s), {{"AutoIPs", kMailAuto}});
        QFile config(c.dir.filePath(u"veltrio.conf"_s));
        if (!config.open(QIODevice::WriteOnly) ||
            config.write("[Service]\nHttpHost=127.0.0.1\n") < 0)
            return false;
        config.close();

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"VELTRIO_RUNTIME_DIR"_s, c.dir.filePath(u"runtime"_s));
        if (display.isEmpty()) {
            env.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        } else {
            c.xserver.start(u"Xvfb"_s, {display, u"-screen"_s, u"0"_s, u"1024x768x24"_s});
            if (!c.xserver.waitForStarted(5000))
                return false;
            QTest::qWait(1000);
            env.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
            env.insert(u"DISPLAY"_s, display);
        }
        c.program.setProcessEnvironment(env);
        c.program.setProcessChannelMode(QProcess::MergedChannels);
        c.program.start(qEnvironmentVariable("VELTRIO_CLIENT_BIN"),
                        {u"--settings"_s, c.settings(), u"--config"_s,
                         c.dir.filePath(u"veltrio.conf"_s), u"--log-dir"_s,
                         c.dir.filePath(u"Logs"_s)});
        if (!c.program.waitForStarted(5000))
            return false;
        // The login is done once the service has seen it; then the address
        // moves.
        return QTest::qWaitFor([&] { return !c.service.requests().isEmpty(); }, 20000) &&
               c.service.setPublicIp(kNew);
    }

    static bool mailMoved(Client &c)
    {
        return c.service.stateRecords(u"acme"_s).contains(u"acme.test;;A;;mail;;"_s + kNew);
    }

    QString marks(Client &c)
    {
        RegistryStore::SetFile(c.settings());
        return readValue(userKey(u"acme"_s), "AutoIps").toUpper();
    }

private slots:
    void init() { QVERIFY2(startService(), qPrintable(m_service->errorString())); }
    void cleanup() { tearDown(); }

    void endedWithoutClose_afterAReplace_keepsTheMark()
    {
#ifdef Q_OS_WIN
        QSKIP("the ends of a Linux desktop session: SIGTERM and an X server gone");
#else
        QVERIFY2(QFileInfo::exists(qEnvironmentVariable("VELTRIO_CLIENT_BIN")),
                 "VELTRIO_CLIENT_BIN names no veltrio-dns");
        QVERIFY2(!QStandardPaths::findExecutable(u"Xvfb"_s).isEmpty(),
                 "Xvfb is needed (scripts/setup installs it)");
        Client terminated, sessionEnd;
        terminated.name = u"SIGTERM"_s;
        sessionEnd.name = u"X server gone"_s;
        QVERIFY(start(terminated, QString()));
        QVERIFY(start(sessionEnd, u":73"_s));

        // The first due check of each moves the record.
        QVERIFY(QTest::qWaitFor([&] { return mailMoved(terminated) && mailMoved(sessionEnd); },
                                100000));
        // What it writes comes with the replies (a moment for them).
        QTest::qWait(2000);
        signal(terminated.program, SIGTERM);
        signal(sessionEnd.xserver, SIGTERM);
        for (Client *c : {&terminated, &sessionEnd}) {
            QVERIFY2(c->program.waitForFinished(15000), qPrintable(c->name));
            signal(c->xserver, SIGKILL);
            c->xserver.waitForFinished(5000);
        }

        for (Client *c : {&terminated, &sessionEnd}) {
            QVERIFY2(marks(*c).contains(kMailNewAuto), qPrintable(c->name + u": "_s + marks(*c)));
            QCOMPARE(readValue(userKey(u"acme"_s), "Replaces"), QString());
        }
        // The next start shows the record automatic.
        RegistryStore::SetFile(terminated.settings());
        m_service.reset();
        m_service = std::make_unique<ServiceProcess>();
        writeValues(kInit, {{"Port", QString::number(terminated.service.httpPort())}});
        frmMain &w = *startWithSavedLogin(u"acme"_s);
        const int mail = rowNamed(w, u"mail"_s);
        QVERIFY(mail >= 0);
        QCOMPARE(w.lvDomainUser->model()->index(mail, 4).data().toString(), u"Yes"_s);
#endif
    }
};

QTEST_MAIN(TestWindowEnd)
#include "tst_windowend.moc"
