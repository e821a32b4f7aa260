// What a due check costs the client when nothing changed: the main window,
// logged in to veltrio-service with an account of 10,000 records (a third of
// them automatic, all at the public address already), runs the automatic
// refresh's check tick after tick; the service answers each with the
// address and the whole record list, and nothing is to be sent. Measured is
// the CPU time the client spends per check (the whole process, and its main
// thread), not the wait for the service, beside a bare QNetworkAccessManager
// GET of the same reply decoded to a QString: the floor of any client that
// reads the reply at all.
//
// The run fails when a check did not reach the service, sent anything, or
// the grid does not show the records.
#include "BenchRecords.h"
#include "BenchSession.h"
#include "ServiceProcess.h"
#include "TestSeams.h"
#include "frmMain.h"

#include "ExchangeQueue.h"
#include "RefreshEngine.h"
#include "Windows.h"
#include "clsUser.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <cstdio>

namespace {

constexpr int kRecords = 10000;
// More rounds for a profiler: BENCH_ROUNDS.
const int kRounds =
    qEnvironmentVariableIsSet("BENCH_ROUNDS") ? qEnvironmentVariableIntValue("BENCH_ROUNDS") : 25;
const QString kUser = QStringLiteral("bench");
const QString kAddress = QStringLiteral("203.0.113.7");

struct Cost
{
    std::vector<double> process, thread, wall;

    void print(const char *what) const
    {
        std::printf("  %-34s %7.3f ms CPU (main thread %7.3f ms), %7.3f ms wall\n", what,
                    Bench::median(process), Bench::median(thread), Bench::median(wall));
    }
};

// Runs fn (which starts the work and returns an event loop's exit condition)
// and measures it until the loop is left.
template <typename Start> bool measure(Cost &cost, QEventLoop &loop, Start start)
{
    bool timedOut = false;
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &loop, [&] {
        timedOut = true;
        loop.quit();
    });
    limit.start(30000);
    QElapsedTimer wall;
    wall.start();
    const double process = Bench::processCpuMs();
    const double thread = Bench::threadCpuMs();
    start();
    loop.exec();
    cost.process.push_back(Bench::processCpuMs() - process);
    cost.thread.push_back(Bench::threadCpuMs() - thread);
    cost.wall.push_back(static_cast<double>(wall.nsecsElapsed()) / 1e6);
    return !timedOut;
}

} // namespace

class BenchDueCheck : public QObject
{
    Q_OBJECT

private slots:
    void dueCheck_nothingChanged()
    {
        TestSeams seams;
        QTemporaryDir dir;
        ServiceProcess service;
        const Bench::Records records = Bench::makeRecords(kRecords, kAddress);
        QVERIFY(Bench::writeAccounts(service.accountsFile(), kUser, records));
        QVERIFY2(service.start(ServiceProcess::HttpOnly, kAddress),
                 qPrintable(service.errorString()));
        Bench::prepareSavedLogin(dir, service, kUser,
                                 {{QStringLiteral("AutoIPs"), records.autoList}});

        QPointer<frmMain> window = new frmMain;
        frmMain &w = *window;
        w.Form_Load();
        QVERIFY(w.Started());
        const QAbstractItemModel *grid = w.lvDomainUser->model();
        QCOMPARE(grid->rowCount(), kRecords);
        QCOMPARE(grid->match(grid->index(0, 4), Qt::DisplayRole, QStringLiteral("Yes"), -1).size(),
                 (kRecords + 2) / 3);
        w.cboRefreshRate->setCurrentText(QStringLiteral("10"));

        Cost check;
        int checks = 0;
        for (int round = 0; round < kRounds + 2; ++round) {
            QEventLoop loop;
            connect(&w.Engine(), &RefreshEngine::checkFinished, &loop, &QEventLoop::quit);
            Cost &into = check;
            QVERIFY2(measure(into, loop, [&] { w.tmrAuto_Timer(); }), "a check did not end");
            QVERIFY(ExchangeQueue::Instance().IsIdle());
            ++checks;
            if (round < 2) { // warming up
                check = {};
                service.clearRequests();
                checks = 0;
            }
        }
        QVERIFY(seams.messages.isEmpty());
        const QStringList sent = service.requests();
        QCOMPARE(sent.size(), checks);
        QCOMPARE(sent.filter(QStringLiteral("FXN=GetIPAddress")).size(), checks);
        QCOMPARE(grid->rowCount(), kRecords);
        QCOMPARE(w.lblIPAddress->text(), kAddress);

        // The floor: the same request and reply, decoded, nothing else.
        const QUrl url(service.scriptUrl().toString() + QStringLiteral("?FXN=GetIPAddress&Usr=") +
                       kUser);
        QNetworkAccessManager network;
        Cost bare;
        qsizetype replySize = 0;
        for (int round = 0; round < kRounds + 2; ++round) {
            QEventLoop loop;
            QString body;
            QNetworkReply *reply = nullptr;
            QVERIFY2(measure(bare, loop,
                             [&] {
                                 reply = network.get(QNetworkRequest(url));
                                 connect(reply, &QNetworkReply::finished, &loop, [&] {
                                     body = QString::fromUtf8(reply->readAll());
                                     loop.quit();
                                 });
                             }),
                     "the bare GET did not end");
            reply->deleteLater();
            QVERIFY(body.startsWith(QLatin1String("SUCCESS")));
            QVERIFY(body.contains(records.list));
            replySize = body.size();
            if (round < 2)
                bare = {};
        }

        std::printf("due check, nothing changed, %d records (reply %lld characters), median of "
                    "%d:\n",
                    kRecords, static_cast<long long>(replySize), kRounds);
        check.print("veltrio-dns check");
        bare.print("bare GET + decode (baseline)");
        std::printf("  the check's own work: %.3f ms CPU (main thread %.3f ms) beyond the bare "
                    "GET\n",
                    Bench::median(check.process) - Bench::median(bare.process),
                    Bench::median(check.thread) - Bench::median(bare.thread));
        std::fflush(stdout);
        delete window;
        qDeleteAll(Windows::Loaded());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ExchangeQueue::Instance().Drain(10000);
    }
};

QTEST_MAIN(BenchDueCheck)
#include "bench_duecheck.moc"
