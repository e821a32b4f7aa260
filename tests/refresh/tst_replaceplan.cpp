// How a check decides what to send: the journal reconciled with the
// service's record list, and the requests that follow. The whole path runs
// against veltrio-service in tst_servicemode and tst_faults; these are the
// rules one by one.
#include "ReplacePlan.h"
#include "basDNS.h"

#include <QTest>

using namespace Qt::StringLiterals;
using RefreshRules::RecordArgs;

namespace {

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

class TestReplacePlan : public QObject
{
    Q_OBJECT

private slots:
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

    void reconcile_freeAddressFollowsTheListedRecord()
    {
        const RecordArgs old{u"dyn.test"_s, u"demo"_s, u"A"_s, u"198.51.100.1"_s};
        RecordArgs now = old;
        now.address = u"198.51.100.2"_s;
        AccountState state{QString(), old.address, {{old, now, true}}};
        ReplacePlan::Reconcile(state, ReplacePlan::Listed(listOf({now})), kIp, true);
        QCOMPARE(state.freeAddress, now.address);
        QVERIFY(state.replaces.isEmpty());
    }

    // An owed relay moves to today's address with its port and path.
    void reconcile_relayKeepsPortAndPath()
    {
        const RecordArgs old{u"shop.test"_s, u"shop"_s, u"PORT RELAY"_s,
                             u"Http://198.51.100.1:8080/x"_s};
        RecordArgs now = old;
        now.address = u"http://198.51.100.2:8080/x"_s;
        AccountState state{QString(), QString(), {{old, now, true}}};
        ReplacePlan::Reconcile(state, ReplacePlan::Listed(listOf({old})), kIp, false);
        QCOMPARE(state.replaces.value(0).now.address, u"http://198.51.100.9:8080/x"_s);
    }

    // A row the journal already takes care of is left to it, and two
    // replaces that end on one record add it once.
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

    // The user's change of the marks reaches the saved ones; what another
    // process changed meanwhile stays.
    void marksWithChanges()
    {
        const QString a = ReplaceJournal::KeyOf(mail(u"198.51.100.1"_s));
        const QString b = ReplaceJournal::KeyOf(mail(u"198.51.100.2"_s));
        const QString other = u"X.TEST;;A;;@;;192.0.2.5~~"_s;
        QCOMPARE(ReplaceJournal::MarksWithChanges(other + a, a, b), other + b);
        QCOMPARE(ReplaceJournal::MarksWithChanges(other, a.toLower(), a.toLower() + b), other + b);
    }
};

QTEST_MAIN(TestReplacePlan)
#include "tst_replaceplan.moc"
