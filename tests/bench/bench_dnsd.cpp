// What veltrio-dnsd costs while it waits: its resident memory after a minute
// logged in to an account of ten records, and how often it wakes up between
// two checks (every thread's context switches), against veltrio-service.
#include "BenchSession.h"

#include <QDir>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTest>

namespace {

// A number of the process's status file, in its unit ("VmRSS:" in kB).
qint64 statusValue(qint64 pid, const char *name, const QString &file = QString())
{
    QFile status(file.isEmpty() ? QStringLiteral("/proc/%1/status").arg(pid) : file);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(name))
            return line.mid(qstrlen(name)).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

// Context switches of every thread of the process: each is a wake-up.
qint64 contextSwitches(qint64 pid)
{
    qint64 total = 0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString file = tasks.filePath(task + QStringLiteral("/status"));
        total += statusValue(pid, "voluntary_ctxt_switches:", file) +
                 statusValue(pid, "nonvoluntary_ctxt_switches:", file);
    }
    return total;
}

} // namespace

class bench_Dnsd : public QObject
{
    Q_OBJECT

private slots:
    void idle()
    {
        ServiceProcess service;
        QVERIFY(service.start(ServiceProcess::HttpOnly, QStringLiteral("203.0.113.7")));
        // Ten records: the demo account's six and four more.
        QNetworkAccessManager network;
        for (int i = 0; i < 4; ++i) {
            const QUrl url(service.scriptUrl().toString() +
                           QStringLiteral("?FXN=DNSTickler&Usr=acme&Pwd=acme&Cname=host%1&Domain="
                                          "acme.test&DNSCommand=RECORDADD&RecordType=A&IPAddress="
                                          "203.0.113.7")
                               .arg(i));
            QNetworkReply *reply = network.get(QNetworkRequest(url));
            QVERIFY(QTest::qWaitFor([reply] { return reply->isFinished(); }));
            QVERIFY(reply->readAll().contains("SUCCESS"));
            reply->deleteLater();
        }

        QTemporaryDir dir;
        const QString settings = dir.filePath(QStringLiteral("settings.ini"));
        RegistryStore::SetFile(settings);
        Bench::writeSavedLogin(service, QStringLiteral("acme"));
        RegistryStore store;
        store.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\Init"));
        // The longest rate: the first check comes after two minutes.
        store.WriteValue(QStringLiteral("RefreshRate"), 120, RegistryStore::Number);
        store.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\acme"));
        store.WriteValue(QStringLiteral("AutoIPs"),
                         QStringLiteral("acme.test;;A;;mail;;203.0.113.7~~"), RegistryStore::Text);
        QFile config(dir.filePath(QStringLiteral("veltrio.conf")));
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write("[Service]\nHttpHost=127.0.0.1\n");
        config.close();

        QProcess dnsd;
        dnsd.setProcessChannelMode(QProcess::MergedChannels);
        dnsd.start(qEnvironmentVariable("VELTRIO_DNSD_BIN"),
                   {QStringLiteral("--config"), config.fileName(), QStringLiteral("--settings"),
                    settings, QStringLiteral("--log-dir"), dir.filePath(QStringLiteral("logs"))});
        QVERIFY(dnsd.waitForStarted());
        const qint64 pid = dnsd.processId();
        QString output;
        QVERIFY(QTest::qWaitFor(
            [&] {
                output += QString::fromLocal8Bit(dnsd.readAll());
                return output.contains(QLatin1String("refreshing"));
            },
            20000));
        const qint64 before = contextSwitches(pid);
        QTest::qWait(60000);
        const qint64 rssKb = statusValue(pid, "VmRSS:");
        QTest::qWait(55000);
        const qint64 wakeUps = contextSwitches(pid) - before;
        QVERIFY(dnsd.state() == QProcess::Running);
        QVERIFY(rssKb > 0);
        dnsd.terminate();
        QVERIFY(dnsd.waitForFinished(10000));
        QCOMPARE(dnsd.exitCode(), 0);

        std::printf("veltrio-dnsd, logged in to an account of 10 records:\n"
                    "  resident memory after 60 s: %.1f MB (goal: at most 20 MB)\n"
                    "  wake-ups of all its threads in the 115 s before its first check: %lld "
                    "(the 10 s tick alone: 11)\n",
                    rssKb / 1024.0, wakeUps);
    }
};

QTEST_GUILESS_MAIN(bench_Dnsd)
#include "bench_dnsd.moc"
