// What a refill of the record grid costs: FillDomainUserGrid over a record
// list with a third of the records automatic, against inserting the same
// rows into a bare QTreeWidget that does nothing else.
#include "BenchRecords.h"
#include "TestSeams.h"
#include "frmMain.h"

#include "RegistryStore.h"
#include "basErr.h"
#include "clsUser.h"

#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>
#include <QTreeWidget>

using Bench::makeRecords;
using Bench::Records;

class BenchGrid : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        RegistryStore::SetFile(m_dir.filePath(QStringLiteral("settings.ini")));
        basErr::SetLogFolder(m_dir.filePath(QStringLiteral("Logs")));
    }

    void fill_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("sorted");
        QTest::newRow("10000") << 10000 << false;
        QTest::newRow("10000 sorted") << 10000 << true;
        QTest::newRow("100000") << 100000 << false;
    }
    void fill()
    {
        QFETCH(int, count);
        QFETCH(bool, sorted);
        TestSeams seams;
        const Records records = makeRecords(count);
        frmMain w;
        w.SetSort(2, false, sorted);
        User().sDomainUserRecords = records.list;
        ProgramWide::sAutoIPList = records.autoList;
        // One round untimed, so that both benchmarks run on a warm heap.
        w.FillDomainUserGrid();
        // Every round is a change, as after an address change: the marks
        // alternate with an entry no record has.
        const QString marks[] = {records.autoList,
                                 records.autoList + QStringLiteral("NONE;;A;;@;;0~~")};
        int round = 0;
        QBENCHMARK
        {
            ProgramWide::sAutoIPList = marks[++round % 2];
            w.FillDomainUserGrid();
        }
        const QAbstractItemModel *grid = w.lvDomainUser->model();
        QCOMPARE(grid->rowCount(), count);
        QCOMPARE(grid->index(0, 4).data().toString(), records.rows[0][4]);
        QCOMPARE(grid->index(1, 4).data().toString(), records.rows[1][4]);
        QVERIFY(seams.messages.isEmpty());
    }

    void bareInsert_data()
    {
        QTest::addColumn<int>("count");
        QTest::newRow("10000") << 10000;
        QTest::newRow("100000") << 100000;
    }
    void bareInsert()
    {
        QFETCH(int, count);
        const Records records = makeRecords(count);
        QTreeWidget tree;
        tree.setColumnCount(5);
        tree.setUniformRowHeights(true);
        auto insert = [&] {
            tree.clear();
            QList<QTreeWidgetItem *> items;
            items.reserve(count);
            for (const QStringList &row : records.rows)
                items.append(new QTreeWidgetItem(row));
            tree.addTopLevelItems(items);
        };
        insert();
        QBENCHMARK
        {
            insert();
        }
        QCOMPARE(tree.topLevelItemCount(), count);
    }
};

QTEST_MAIN(BenchGrid)
#include "bench_grid.moc"
