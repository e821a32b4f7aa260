#include "RefreshTimer.h"
#include "RuntimeError.h"

#include <QTest>
#include <limits>

class TestRefreshTimer : public QObject
{
    Q_OBJECT

private slots:
    void tick_checksOnDueTicks_data()
    {
        QTest::addColumn<QString>("rate");
        QTest::addColumn<QList<int>>("checks"); // ticks 1..24 that check
        QList<int> everyTick;
        for (int tick = 1; tick <= 24; ++tick)
            everyTick.append(tick);
        QTest::newRow("10") << "10" << everyTick;
        QTest::newRow("30") << "30" << QList<int>{3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23};
        QTest::newRow("60") << "60" << QList<int>{6, 11, 16, 21};
        QTest::newRow("75") << "75" << QList<int>{8, 15, 22};
        QTest::newRow("120") << "120" << QList<int>{12, 23};
    }
    void tick_checksOnDueTicks()
    {
        QFETCH(QString, rate);
        QFETCH(QList<int>, checks);
        RefreshTimer timer;
        QList<int> checked;
        for (int tick = 1; tick <= 24; ++tick) {
            if (timer.Tick(rate))
                checked.append(tick);
        }
        QCOMPARE(checked, checks);
    }

    void tick_raisesUncaughtError_data()
    {
        QTest::addColumn<qint32>("ticks");
        QTest::addColumn<QString>("rate");
        QTest::addColumn<int>("number");
        const qint32 most = std::numeric_limits<qint32>::max();
        QTest::newRow("rate not a number") << 0 << "sixty" << ErrorNumber::TypeMismatch;
        QTest::newRow("rate empty") << 3 << "" << ErrorNumber::TypeMismatch;
        QTest::newRow("count past 32 bits") << most << "1e12" << ErrorNumber::Overflow;
    }
    void tick_raisesUncaughtError()
    {
        QFETCH(qint32, ticks);
        QFETCH(QString, rate);
        QFETCH(int, number);
        RefreshTimer timer(ticks);
        try {
            timer.Tick(rate);
            QFAIL("no error raised");
        } catch (const RuntimeError &e) {
            QCOMPARE(e.number(), number);
        }
        QCOMPARE(timer.Ticks(), ticks);
    }
};

QTEST_GUILESS_MAIN(TestRefreshTimer)
#include "tst_refreshtimer.moc"
