#include "RecordList.h"
#include "RuntimeError.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestRecordList : public QObject
{
    Q_OBJECT

private slots:
    void split_emptyListHasNoRecords_trailingSeparatorAnEmptyOne()
    {
        QCOMPARE(RecordList::Split(QString()), QStringList());
        QCOMPARE(RecordList::Split(u"a~~b~~"_s), (QStringList{u"a"_s, u"b"_s, QString()}));
    }

    void fields_firstFourEmptyOnesKept_fewerRaise()
    {
        QCOMPARE(RecordList::Fields(u" d ;;MX;;@;;mail.d;;10"_s),
                 (QStringList{u" d "_s, u"MX"_s, u"@"_s, u"mail.d"_s}));
        QCOMPARE(RecordList::Fields(u";;;;;;"_s), QStringList(4));
        try {
            RecordList::Fields(u"d;;A;;www"_s);
            QFAIL("no error raised");
        } catch (const RuntimeError &e) {
            QCOMPARE(e.number(), ErrorNumber::SubscriptOutOfRange);
        }
    }
};

QTEST_GUILESS_MAIN(TestRecordList)
#include "tst_recordlist.moc"
