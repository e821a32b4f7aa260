// What a refill of the record grid costs: FillDomainUserGrid over a record
// list with a third of the records automatic, against inserting the same
// rows into a bare QTreeWidget that does nothing else.
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

namespace {

struct Records
{
    QString list;     // the service's record list
    QString autoList; // every third record, as the auto-IP list holds it
    QList<QStringList> rows;
};

Records makeRecords(int count)
{
    Records r;
    QStringList pieces;
    pieces.reserve(count);
    const QString types[] = {QStringLiteral("A"), QStringLiteral("CNAME"), QStringLiteral("MX")};
    for (int i = 0; i < count; ++i) {
        const QString domain = QStringLiteral("zone%1.example").arg(i % 97);
        const QString type = types[i % 3];
        const QString name = QStringLiteral("host%1").arg(i);
        const QString address =
            QStringLiteral("10.%1.%2.%3").arg(i / 65536).arg(i / 256 % 256).arg(i % 256);
        pieces << domain + QStringLiteral(";;") + type + QStringLiteral(";;") + name +
                      QStringLiteral(";;") + address;
        if (i % 3 == 0)
            r.autoList += (domain + QStringLiteral(";;") + type + QStringLiteral(";;") + name +
                           QStringLiteral(";;") + address + QStringLiteral("~~"))
                              .toUpper();
        r.rows << QStringList{domain, type, name, address,
                              i % 3 == 0 ? QStringLiteral("Yes") : QStringLiteral("No")};
    }
    r.list = pieces.join(QStringLiteral("~~"));
    return r;
}

} // namespace

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
        Program::sAutoIPList = records.autoList;
        // One round untimed, so that both benchmarks run on a warm heap.
        w.FillDomainUserGrid();
        QBENCHMARK
        {
            // Every round is a change, as after an address change.
            w.sLastRecords.clear();
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
