// Who sends an account's checks when windows and the service mode meet; the
// locks are files, so two in one process stand for two programs.
#include "AccountLocks.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using Role = AccountLocks::Role;
using Other = AccountLocks::Other;

class TestAccountLocks : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("VELTRIO_RUNTIME_DIR", m_dir.path().toLocal8Bit());
    }

    // The first one is at its check; what the second one may do.
    void secondOnTheSameAccount_data()
    {
        QTest::addColumn<Role>("first");
        QTest::addColumn<bool>("firstChecking");
        QTest::addColumn<Role>("second");
        QTest::addColumn<bool>("secondOpens");
        QTest::addColumn<bool>("secondRefreshes");
        QTest::addColumn<Other>("refreshedBy");

        QTest::newRow("two windows")
            << Role::Window << true << Role::Window << true << false << Other::Window;
        QTest::newRow("window beside a waiting service mode")
            << Role::ServiceMode << false << Role::Window << true << false << Other::ServiceMode;
        QTest::newRow("second service mode") << Role::ServiceMode << false << Role::ServiceMode
                                             << false << false << Other::ServiceMode;
        QTest::newRow("one-off check beside a waiting service mode")
            << Role::ServiceMode << false << Role::OneCheck << true << true << Other::Nobody;
    }
    void secondOnTheSameAccount()
    {
        QFETCH(Role, first);
        QFETCH(bool, firstChecking);
        QFETCH(Role, second);
        QFETCH(bool, secondOpens);
        QFETCH(bool, secondRefreshes);
        QFETCH(Other, refreshedBy);

        AccountLocks a(first);
        QVERIFY(a.Open(QStringLiteral("Acme")));
        QVERIFY(a.MayRefresh());
        if (!firstChecking)
            a.CheckDone();
        // Names match without regard to case.
        AccountLocks b(second);
        QCOMPARE(b.Open(QStringLiteral("acme")), secondOpens);
        if (secondOpens)
            QCOMPARE(b.MayRefresh(), secondRefreshes);
        QCOMPARE(b.RefreshedBy(), refreshedBy);
        // Another account is free all the same.
        AccountLocks other(second);
        QVERIFY(other.Open(QStringLiteral("demo")));
        QVERIFY(other.MayRefresh());
    }

    // A killed service mode's lock is taken over (--once's: tst_faults).
    void lockOfAGoneProcess_isTakenOver()
    {
        // This test program, asked for its options: it ends at once.
        QProcess gone;
        gone.start(QCoreApplication::applicationFilePath(), {QStringLiteral("-help")});
        QVERIFY(gone.waitForStarted());
        const qint64 pid = gone.processId();
        QVERIFY(gone.waitForFinished());
        QFile lock(AccountLocks::FileOf(QStringLiteral("acme"), QStringLiteral(".service.lock")));
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.write(QByteArray::number(pid) + "\nveltrio-dnsd\n\n");
        lock.close();

        QCOMPARE(AccountLocks::ServiceModeRuns(QStringLiteral("acme")), false);
        AccountLocks r(Role::ServiceMode);
        QVERIFY(r.Open(QStringLiteral("acme")));
        QVERIFY(r.MayRefresh());
    }
};

QTEST_GUILESS_MAIN(TestAccountLocks)
#include "tst_accountlocks.moc"
