// Who sends an account's checks when windows and the service mode meet on one
// machine. The locks are plain files, so two Refreshers in one process stand
// for two programs.
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
        QTest::newRow("window beside a checking service mode")
            << Role::ServiceMode << true << Role::Window << true << false << Other::ServiceMode;
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

    // A program killed while it held a lock leaves the file behind; the
    // next one takes it over.
    void lockOfAGoneProcess_isTakenOver_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<Role>("role");
        QTest::newRow("refresh lock") << ".refresh.lock" << Role::Window;
        QTest::newRow("service lock") << ".service.lock" << Role::ServiceMode;
    }
    void lockOfAGoneProcess_isTakenOver()
    {
        QFETCH(QString, suffix);
        QFETCH(Role, role);

        QProcess gone;
#ifdef Q_OS_WIN
        gone.start(QStringLiteral("cmd.exe"), {QStringLiteral("/c"), QStringLiteral("exit")});
#else
        gone.start(QStringLiteral("true"));
#endif
        QVERIFY(gone.waitForStarted());
        const qint64 pid = gone.processId();
        QVERIFY(gone.waitForFinished());
        QFile lock(AccountLocks::FileOf(QStringLiteral("acme"), suffix));
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.write(QByteArray::number(pid) + "\nveltrio-dnsd\n\n");
        lock.close();

        QCOMPARE(AccountLocks::ServiceModeRuns(QStringLiteral("acme")), false);
        AccountLocks r(role);
        QVERIFY(r.Open(QStringLiteral("acme")));
        QVERIFY(r.MayRefresh());
    }
};

QTEST_GUILESS_MAIN(TestAccountLocks)
#include "tst_accountlocks.moc"
