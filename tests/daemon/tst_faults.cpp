// An address change through the real veltrio-dnsd --once with a seeded
// fault at a seeded request, then clean runs and a second change: nothing
// may be lost, twice, or owed. VELTRIO_FAULT_SEEDS runs that many seeds (24)
// from VELTRIO_FAULT_FIRST_SEED (1); scripts/faults runs any number.
#include "ServiceModeTest.h"

#include <QRandomGenerator>

using namespace Qt::StringLiterals;

class tst_Faults : public ServiceModeTest
{
    Q_OBJECT

    static int setting(const char *name, int fallback)
    {
        bool ok = false;
        const int value = qEnvironmentVariableIntValue(name, &ok);
        return ok ? value : fallback;
    }

    // Runs --once with the fault armed; kills it when the fault is a kill.
    void faultyRun(QRandomGenerator &rng, const QString &kind, int skip, QString &said)
    {
        QProcess run;
        if (kind == u"kill at random"_s) {
            QVERIFY(m_dnsd->start(run, {u"--once"_s}));
            QTest::qWait(static_cast<int>(rng.bounded(80)));
            run.kill();
        } else if (kind.startsWith(u"kill"_s) || kind.startsWith(u"term"_s)) {
            // Ended while the request hangs at the service, acted on or not.
            const bool acted = kind.endsWith(u"after acting"_s);
            QVERIFY(m_service->setNextFault(u"delay?ms=4000&acted=%1"_s.arg(acted ? 1 : 0),
                                            QString(), skip));
            QVERIFY(m_dnsd->start(run, {u"--once"_s}));
            QVERIFY(QTest::qWaitFor([&] { return m_service->requests().size() > skip; }, 10000));
            if (!kind.startsWith(u"term"_s))
                run.kill();
            else if (run.state() == QProcess::Running && !DnsdRun::askToEnd(run))
                QSKIP(DnsdRun::kNoCtrlBreak);
        } else {
            QVERIFY(m_service->setNextFault(kind, QString(), skip));
            QVERIFY(m_dnsd->start(run, {u"--once"_s}));
        }
        said = DnsdRun::finish(run, 30000).output;
        QVERIFY(m_service->clearFault());
    }

private slots:
    void init()
    {
        QVERIFY(startService());
        // A short deadline: a reply later than it is a lost reply.
        m_dnsd.emplace(m_dir->path(), 1);
    }
    void cleanup()
    {
        if (QTest::currentTestFailed())
            qWarning("replay it: VELTRIO_FAULT_FIRST_SEED=%s VELTRIO_FAULT_SEEDS=1 %s",
                     QTest::currentDataTag() + 5,
                     qPrintable(QCoreApplication::applicationFilePath()));
        tearDown();
    }

    void seededFault_nothingLost_data()
    {
        QTest::addColumn<quint32>("seed");
        const int first = setting("VELTRIO_FAULT_FIRST_SEED", 1);
        const int count = setting("VELTRIO_FAULT_SEEDS", 24);
        for (int seed = first; seed < first + count; ++seed)
            QTest::newRow(qPrintable(u"seed %1"_s.arg(seed))) << quint32(seed);
    }
    void seededFault_nothingLost()
    {
        QFETCH(quint32, seed);
        QRandomGenerator rng(seed);
        static const QStringList kinds = {u"close?acted=0"_s,
                                          u"close?acted=1"_s,
                                          u"drop"_s,
                                          u"status?code=503"_s,
                                          u"reply?text=Error:Busy</p>"_s,
                                          u"reply?text=SUCCESS</p>"_s,
                                          u"delay?ms=1500&acted=1"_s,
                                          u"delay?ms=1500"_s,
                                          u"kill before acting"_s,
                                          u"kill after acting"_s,
                                          u"term before acting"_s,
                                          u"term after acting"_s,
                                          u"kill at random"_s};
        const QString user = rng.bounded(2) ? u"acme"_s : u"demo"_s;
        const QString kind = kinds[rng.bounded(kinds.size())];
        // Among a run's requests: the login, the free sub-domain's two at
        // start-up, the address query, a delete and an add per record.
        const int skip = static_cast<int>(rng.bounded(user == u"acme"_s ? 8 : 6));
        const QString first = u"198.51.100.%1"_s.arg(10 + rng.bounded(100));
        const QString second = u"198.51.100.%1"_s.arg(110 + rng.bounded(100));
        qInfo("seed %u: %s, %s at request %d, %s then %s", seed, qPrintable(user), qPrintable(kind),
              skip + 1, qPrintable(first), qPrintable(second));

        saveLogin(user);
        markAutomatic();
        QCOMPARE(runOnce().exitCode, 0);
        verifyAt(user, kOld);

        QVERIFY(m_service->setPublicIp(first));
        m_service->clearRequests();
        QString said;
        faultyRun(rng, kind, skip, said);
        verifySentOnce(said);
        for (int run = 0; run < 3; ++run) {
            m_service->clearRequests();
            const DnsdRun::Result clean = runOnce();
            verifySentOnce(said + clean.output);
            said += clean.output;
            if (clean.exitCode == 0)
                break;
        }
        verifyAt(user, first);

        QVERIFY(m_service->setPublicIp(second));
        const DnsdRun::Result last = runOnce();
        QVERIFY2(last.exitCode == 0, qPrintable(said + last.output));
        verifyAt(user, second);
    }
};

QTEST_MAIN(tst_Faults)
#include "tst_faults.moc"
