// What the window costs while it sits hidden in the tray: the main window,
// logged in to veltrio-service (refresh rate 120 s, so no check falls in the
// measured time), hidden as the tray menu's Hide does, for 60 s
// (BENCH_SECONDS). Counted are the context switches and the times its
// threads were scheduled (summed over all threads, from /proc), and the
// timer events delivered, per timer. Beside it, at the same time, a bare
// hidden QMainWindow with one 10 s QTimer (bench_bare_window idle) counts
// the same.
//
// The run fails when the refresh timer did not tick while hidden, the window
// did not stay hidden, or the bare program did not report.
#include "BenchProc.h"
#include "BenchSession.h"
#include "TestSeams.h"
#include "frmMain.h"

#include "ExchangeQueue.h"
#include "RefreshEngine.h"
#include "Windows.h"

#include <QComboBox>
#include <QEventLoop>
#include <QHash>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <cstdio>

namespace {

const int kSeconds =
    qEnvironmentVariableIsSet("BENCH_SECONDS") ? qEnvironmentVariableIntValue("BENCH_SECONDS") : 60;

// Counts the timer events of the whole program, per receiver.
class TimerCounter : public QObject
{
public:
    bool counting = false;
    QHash<QString, int> ticks; // by the receiver's class and name
    int total = 0;
    static QString name(const QObject *receiver)
    {
        return QString::fromLatin1(receiver->metaObject()->className()) + QLatin1Char(' ') +
               receiver->objectName();
    }
    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        if (counting && event->type() == QEvent::Timer) {
            ++ticks[name(receiver)];
            ++total;
        }
        return false;
    }
};

void runFor(int milliseconds)
{
    // An event loop that sleeps until its one timer: QTest::qWait would wake
    // every few milliseconds and count itself.
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

class BenchIdle : public QObject
{
    Q_OBJECT

private slots:
    void hiddenInTray()
    {
        TestSeams seams;
        QTemporaryDir dir;
        ServiceProcess service;
        QVERIFY2(service.start(), qPrintable(service.errorString()));
        Bench::prepareSavedLogin(dir, service, QStringLiteral("acme"), {},
                                 {{QStringLiteral("RefreshRate"), QStringLiteral("120")}});
        QPointer<frmMain> window = new frmMain;
        frmMain &w = *window;
        w.Form_Load();
        QVERIFY(w.Started());
        QCOMPARE(w.cboRefreshRate->currentText(), QStringLiteral("120"));
        w.mnuPopupHide_Click();
        QVERIFY(!w.isVisible());
        runFor(1000);

        QProcess bare;
        // What it says on stderr would wake this process too.
        bare.setStandardErrorFile(QProcess::nullDevice());
        bare.start(QStringLiteral(BENCH_BARE_WINDOW),
                   {QStringLiteral("idle"), QString::number(kSeconds)});
        QVERIFY2(bare.waitForStarted(10000), qPrintable(bare.errorString()));

        TimerCounter timers;
        qApp->installEventFilter(&timers);
        timers.counting = true;
        const QMap<QString, qint64> threadsBefore = Bench::switchesByThread();
        const Bench::WakeUps before = Bench::wakeUps();
        runFor(kSeconds * 1000);
        const Bench::WakeUps used = Bench::wakeUps() - before;
        QStringList byThread;
        const QMap<QString, qint64> threadsAfter = Bench::switchesByThread();
        for (auto it = threadsAfter.cbegin(); it != threadsAfter.cend(); ++it) {
            if (it.key() == QLatin1String("QtTest Watchdog"))
                continue;
            const qint64 n = it.value() - threadsBefore.value(it.key());
            if (n > 0)
                byThread << QStringLiteral("%1 %2").arg(it.key()).arg(n);
        }
        timers.counting = false;
        qApp->removeEventFilter(&timers);

        QVERIFY(!w.isVisible());
        const int autoTicks = timers.ticks.value(TimerCounter::name(w.tmrAuto));
        const int timesTicks = timers.ticks.value(TimerCounter::name(w.tmrTimes));
        QVERIFY2(autoTicks >= kSeconds / 10 - 1, "the refresh timer did not tick while hidden");
        QVERIFY(service.requests().filter(QStringLiteral("GetIPAddress")).isEmpty());

        QVERIFY2(bare.waitForFinished(kSeconds * 1000 + 30000), "the bare program did not end");
        const QString said = QString::fromUtf8(bare.readAllStandardOutput());
        const QRegularExpressionMatch m =
            QRegularExpression(
                QStringLiteral("voluntary=(\\d+) nonvoluntary=(\\d+) scheduled=(\\d+) hidden=1"))
                .match(said);
        QVERIFY2(m.hasMatch(), qPrintable(QStringLiteral("bench_bare_window said: ") + said));

        QStringList others;
        for (auto it = timers.ticks.cbegin(); it != timers.ticks.cend(); ++it) {
            if (it.key() != TimerCounter::name(w.tmrAuto) &&
                it.key() != TimerCounter::name(w.tmrTimes))
                others << QStringLiteral("%1: %2").arg(it.key().trimmed()).arg(it.value());
        }
        std::printf("hidden in the tray for %d s:\n", kSeconds);
        std::printf("  veltrio-dns:  %lld voluntary + %lld involuntary context switches, "
                    "scheduled %lld times; timer events %d (tmrAuto %d, tmrTimes %d%s%s)\n",
                    used.voluntary, used.nonvoluntary, used.scheduled, timers.total, autoTicks,
                    timesTicks, others.isEmpty() ? "" : ", ",
                    qPrintable(others.join(QStringLiteral(", "))));
        std::printf("    by thread: %s\n", qPrintable(byThread.join(QStringLiteral(", "))));
        std::printf("  bare hidden QMainWindow, one 10 s QTimer (baseline): %s voluntary + %s "
                    "involuntary context switches, scheduled %s times\n",
                    qPrintable(m.captured(1)), qPrintable(m.captured(2)),
                    qPrintable(m.captured(3)));
        std::fflush(stdout);

        delete window;
        qDeleteAll(Windows::Loaded());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ExchangeQueue::Instance().Drain(10000);
    }
};

QTEST_MAIN(BenchIdle)
#include "bench_idle.moc"
