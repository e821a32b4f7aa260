#include "DueCounter.h"
#include "RefreshRules.h"
#include "RuntimeError.h"

#include <QTest>
#include <limits>

using namespace Qt::StringLiterals;
using RefreshRules::GridRow;
Q_DECLARE_METATYPE(GridRow)

namespace {

QString text(const RefreshRules::RecordArgs &a)
{
    return QStringList{a.domain, a.host, a.recordType, a.address}.join(u'|');
}

} // namespace

class TestRefreshRules : public QObject
{
    Q_OBJECT

private slots:
    // The window tests cover plain rows and a relay with a port; these are
    // the host and URL forms they do not reach.
    void resendForRow_data()
    {
        QTest::addColumn<GridRow>("row");
        QTest::addColumn<QString>("sent"); // the remove, then the add
        QTest::newRow("Root host, lower-case yes")
            << GridRow{u"d.net"_s, u"Root"_s, u"MX"_s, u"10.0.0.1"_s, u"yes"_s}
            << u"d.net|@|MX|10.0.0.1 d.net|@|MX|10.0.0.2"_s;
        QTest::newRow("relay without port")
            << GridRow{u"d.net"_s, u"cam"_s, u"Port Relay"_s, u"HTTP://10.0.0.1/x"_s, u"Yes"_s}
            << u"d.net|cam|Port Relay|HTTP://10.0.0.1/x d.net|cam|Port Relay|http://10.0.0.2/x"_s;
    }
    void resendForRow()
    {
        QFETCH(GridRow, row);
        const auto resend = RefreshRules::ResendForRow(row, u"10.0.0.2"_s);
        QVERIFY(resend);
        QTEST(text(resend->remove) + u' ' + text(resend->add), "sent");
    }

    // An empty caption: the day count overflows.
    void upTimeCaption_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("caption");
        QTest::newRow("start") << qint64(0) << u"0 Days  00:00:00"_s;
        QTest::newRow("59 s") << qint64(59) << u"0 Days  00:00:59"_s;
        QTest::newRow("1 day") << qint64(86400) << u"1 Days  00:00:00"_s;
        QTest::newRow("2 days 5:07:09")
            << qint64(2 * 86400 + 5 * 3600 + 7 * 60 + 9) << u"2 Days  05:07:09"_s;
        QTest::newRow("last 16-bit day")
            << qint64(32767) * 86400 + 86399 << u"32767 Days  23:59:59"_s;
        QTest::newRow("past 16 bits") << qint64(32768) * 86400 << QString();
    }
    void upTimeCaption()
    {
        QFETCH(qint64, seconds);
        QFETCH(QString, caption);
        try {
            QCOMPARE(RefreshRules::UpTimeCaption(seconds), caption);
        } catch (const RuntimeError &e) {
            QVERIFY(caption.isEmpty());
            QCOMPARE(e.number(), ErrorNumber::Overflow);
        }
    }

    void refreshTimer_checksOnDueTicks_data()
    {
        QTest::addColumn<QString>("rate");
        QTest::addColumn<QList<int>>("checks"); // ticks 1..24 that check
        QList<int> everyTick;
        for (int tick = 1; tick <= 24; ++tick)
            everyTick.append(tick);
        QTest::newRow("10") << u"10"_s << everyTick;
        QTest::newRow("30") << u"30"_s << QList<int>{3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23};
        QTest::newRow("60") << u"60"_s << QList<int>{6, 11, 16, 21};
        QTest::newRow("75") << u"75"_s << QList<int>{8, 15, 22};
        QTest::newRow("120") << u"120"_s << QList<int>{12, 23};
    }
    void refreshTimer_checksOnDueTicks()
    {
        QFETCH(QString, rate);
        DueCounter timer;
        QList<int> checked;
        for (int tick = 1; tick <= 24; ++tick) {
            if (timer.Tick(rate))
                checked.append(tick);
        }
        QTEST(checked, "checks");
    }

    // Left to the caller; the count stays where it was.
    void refreshTimer_countPast32BitsOverflows()
    {
        const qint32 most = std::numeric_limits<qint32>::max();
        DueCounter timer(most);
        try {
            timer.Tick(u"1e12"_s);
            QFAIL("no error raised");
        } catch (const RuntimeError &e) {
            QCOMPARE(e.number(), ErrorNumber::Overflow);
        }
        // The count stayed at the top: the next tick overflows again.
        QVERIFY_THROWS_EXCEPTION(RuntimeError, timer.Tick(u"1e12"_s));
    }
};

QTEST_GUILESS_MAIN(TestRefreshRules)
#include "tst_refreshrules.moc"
