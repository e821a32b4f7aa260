// The refresh's rules one by one: what resends a row, the up-time caption,
// the due ticks, and the journal reconciled with the service's record list.
#include "DueCounter.h"
#include "RefreshRules.h"
#include "ReplacePlan.h"
#include "basDNS.h"

#include <QTest>

using namespace Qt::StringLiterals;
using RefreshRules::GridRow;
using RefreshRules::RecordArgs;
Q_DECLARE_METATYPE(GridRow)

namespace {

QString text(const RecordArgs &a)
{
    return QStringList{a.domain, a.host, a.recordType, a.address}.join(u'|');
}

const QString kIp = u"198.51.100.9"_s;

RecordArgs mail(const QString &address)
{
    return {u"acme.test"_s, u"mail"_s, u"A"_s, address};
}

QString listOf(const QList<RecordArgs> &records)
{
    QString list;
    for (const RecordArgs &r : records)
        list +=
            r.domain + u";;"_s + r.recordType + u";;"_s + r.host + u";;"_s + r.address + u"~~"_s;
    return list;
}

QString requestsText(const QList<ReplacePlan::Request> &requests)
{
    QStringList words;
    for (const ReplacePlan::Request &r : requests)
        words << (r.command == basDNS::RecordAdd ? u"add "_s : u"delete "_s) + r.record.address;
    return words.join(u", "_s);
}

} // namespace

class TestRefreshRules : public QObject
{
    Q_OBJECT

private slots:
    // The host and URL forms the window tests do not reach.
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

    void upTimeCaption_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("caption");
        QTest::newRow("start") << qint64(0) << u"0 Days  00:00:00"_s;
        QTest::newRow("2 days 5:07:09")
            << qint64(2 * 86400 + 5 * 3600 + 7 * 60 + 9) << u"2 Days  05:07:09"_s;
    }
    void upTimeCaption()
    {
        QFETCH(qint64, seconds);
        QTEST(RefreshRules::UpTimeCaption(seconds), "caption");
    }

    void refreshTimer_checksOnDueTicks_data()
    {
        QTest::addColumn<QString>("rate");
        QTest::addColumn<QList<int>>("checks"); // ticks 1..16 that check
        QTest::newRow("10") << u"10"_s
                            << QList<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
        QTest::newRow("30") << u"30"_s << QList<int>{3, 5, 7, 9, 11, 13, 15};
        QTest::newRow("75") << u"75"_s << QList<int>{8, 15};
    }
    void refreshTimer_checksOnDueTicks()
    {
        QFETCH(QString, rate);
        DueCounter timer;
        QList<int> checked;
        for (int tick = 1; tick <= 16; ++tick) {
            if (timer.Tick(rate))
                checked.append(tick);
        }
        QTEST(checked, "checks");
    }

    // One replace of mail from .1 to .2, the public address now kIp.
    void reconcile_data()
    {
        QTest::addColumn<QString>("listed"); // the addresses of mail the service lists
        QTest::addColumn<QString>("owed");   // the requests still owed afterwards
        QTest::addColumn<QString>("marked"); // the address the mark is on
        QTest::newRow("new listed: done") << u"198.51.100.2"_s << u""_s << u"198.51.100.2"_s;
        QTest::newRow("both listed: the delete is owed")
            << u"198.51.100.1 198.51.100.2"_s << u"delete 198.51.100.1"_s << u"198.51.100.2"_s;
        QTest::newRow("old listed: the replace is owed, at today's address")
            << u"198.51.100.1"_s << u"delete 198.51.100.1, add 198.51.100.9"_s << u"198.51.100.1"_s;
        QTest::newRow("neither: the add is owed, at today's address")
            << u""_s << u"add 198.51.100.9"_s << u"198.51.100.1"_s;
        QTest::newRow("old already at today's address: nothing owed")
            << u"198.51.100.9"_s << u""_s << u"198.51.100.9"_s;
    }
    void reconcile()
    {
        QFETCH(QString, listed);
        QFETCH(QString, owed);
        QFETCH(QString, marked);
        // The last row's old record sits at today's address already.
        const QString old = listed == kIp ? kIp : u"198.51.100.1"_s;
        AccountState state{ReplaceJournal::KeyOf(mail(old)),
                           QString(),
                           {{mail(old), mail(u"198.51.100.2"_s), true}}};
        QList<RecordArgs> records;
        for (const QString &address : listed.split(u' ', Qt::SkipEmptyParts))
            records << mail(address);
        const ReplacePlan::Listed list(listOf(records));
        ReplacePlan::Reconcile(state, list, kIp, false);
        QCOMPARE(requestsText(ReplacePlan::Requests(state.replaces, &list)), owed);
        QCOMPARE(state.autoIPList.toUpper(), ReplaceJournal::KeyOf(mail(marked)));
    }

    // A field longer than any record holds: no real service sent it.
    void automaticRows_leaveOutRecordsBeyondTheLimits()
    {
        const QString list = listOf({mail(kIp), {u"acme.test"_s, QString(300, u'x'), u"A"_s, kIp}});
        bool complete = true;
        const QList<RefreshRules::GridRow> rows =
            ReplacePlan::AutomaticRows(list, list.toUpper(), &complete);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0].host, u"mail"_s);
        QVERIFY(!complete);
    }

    // Rows the journal has are left to it; one record is added once.
    void forRows_leavesJournalledRecords()
    {
        const QString list = listOf({mail(u"198.51.100.1"_s), mail(u"198.51.100.3"_s)});
        const QString marks = ReplaceJournal::KeyOf(mail(u"198.51.100.1"_s)) +
                              ReplaceJournal::KeyOf(mail(u"198.51.100.3"_s));
        const QList<Replace> journal{{mail(u"198.51.100.1"_s), mail(kIp), true}};
        const QList<Replace> added =
            ReplacePlan::ForRows(ReplacePlan::AutomaticRows(list, marks), kIp, journal);
        QCOMPARE(added.size(), 1);
        QCOMPARE(added[0].old.address, u"198.51.100.3"_s);
        QCOMPARE(requestsText(ReplacePlan::Requests(journal + added, nullptr)),
                 u"delete 198.51.100.1, add 198.51.100.9, delete 198.51.100.3"_s);
    }
};

QTEST_GUILESS_MAIN(TestRefreshRules)
#include "tst_refreshrules.moc"
