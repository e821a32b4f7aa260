// The whole way of a changed record list to the screen, on the offscreen
// platform: the reply's bytes decoded, the reply taken into the session
// (basDNS::ApplyTicklerReply), the grid filled (FillDomainUserGrid) and its
// view painted. Beside it, a bare QTreeWidget in a QMainWindow doing the
// least of the same: the bytes decoded, the list cut out and split, one
// item per record, painted. Every round is a change: two replies that differ
// in one record take turns.
//
// The run fails when a round did not reach the screen: the grid shows the
// wrong record or the view was not painted.
#include "BenchRecords.h"
#include "TestSeams.h"
#include "frmMain.h"

#include "RegistryStore.h"
#include "basDNS.h"
#include "basErr.h"
#include "clsUser.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>
#include <QTreeWidget>
#include <cstdio>

namespace {

// The reply to a record command, as veltrio-service words it.
QByteArray ticklerReply(const QString &list)
{
    return (QStringLiteral("SUCCESS</p>DomainUserRecords:") + list +
            QStringLiteral("</p>Transaction Complete:IP Set</p>IPAddress:10.0.0.1</p>"))
        .toUtf8();
}

// Counts the paint events a widget gets.
class PaintCounter : public QObject
{
public:
    int paints = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            ++paints;
        return false;
    }
};

struct Timings
{
    std::vector<double> wall, cpu;
    void add(const QElapsedTimer &timer, double cpuStart)
    {
        wall.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        cpu.push_back(Bench::processCpuMs() - cpuStart);
    }
};

} // namespace

class BenchGridPath : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    static int rounds(int count) { return count >= 100000 ? 6 : count >= 10000 ? 16 : 40; }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        RegistryStore::SetFile(m_dir.filePath(QStringLiteral("settings.ini")));
        basErr::SetLogFolder(m_dir.filePath(QStringLiteral("Logs")));
    }

    void replyToScreen_data()
    {
        QTest::addColumn<int>("count");
        QTest::newRow("1000") << 1000;
        QTest::newRow("10000") << 10000;
        QTest::newRow("100000") << 100000;
    }
    void replyToScreen()
    {
        QFETCH(int, count);
        const Bench::Records records = Bench::makeRecords(count);
        // The second reply moves the first record elsewhere.
        const QString firstAddress = records.rows[0][3];
        const QString movedAddress = QStringLiteral("192.0.2.99");
        const QString firstRecord = records.rows[0].mid(0, 4).join(QStringLiteral(";;"));
        QVERIFY(records.list.startsWith(firstRecord + QStringLiteral("~~")));
        const QString changed = records.rows[0].mid(0, 3).join(QStringLiteral(";;")) +
                                QStringLiteral(";;") + movedAddress +
                                records.list.mid(firstRecord.size());
        const QByteArray replies[] = {ticklerReply(records.list), ticklerReply(changed)};
        const QString addresses[] = {firstAddress, movedAddress};

        // --- veltrio-dns ----------------------------------------------------------
        Timings veltrio;
        {
            TestSeams seams;
            ProgramWide::Reset();
            ProgramWide::sAutoIPList = records.autoList;
            frmMain w;
            w.ShowFrame(QStringLiteral("Grid"));
            w.show();
            QVERIFY(QTest::qWaitForWindowExposed(&w));
            PaintCounter painted;
            w.lvDomainUser->viewport()->installEventFilter(&painted);
            for (int round = 0; round < rounds(count) + 1; ++round) {
                const QByteArray &bytes = replies[round % 2];
                const int paintsBefore = painted.paints;
                QElapsedTimer timer;
                timer.start();
                const double cpu = Bench::processCpuMs();
                const QString reply = QString::fromUtf8(bytes);
                QVERIFY(basDNS::ApplyTicklerReply(reply, records.rows[0][0], QStringLiteral("@"),
                                                  basDNS::RecordAdd, QStringLiteral("A"),
                                                  QStringLiteral("10.0.0.1"), false));
                w.FillDomainUserGrid();
                w.lvDomainUser->viewport()->repaint();
                if (round > 0) // the first round fills an empty grid
                    veltrio.add(timer, cpu);
                QCOMPARE(w.lvDomainUser->model()->rowCount(), count);
                QCOMPARE(w.lvDomainUser->model()->index(0, 3).data().toString(),
                         addresses[round % 2]);
                QVERIFY(painted.paints > paintsBefore);
            }
            QVERIFY(seams.messages.isEmpty());
        }

        // --- a bare QTreeWidget -------------------------------------------------------
        Timings bare;
        {
            QMainWindow window;
            auto *tree = new QTreeWidget(&window);
            tree->setColumnCount(5);
            tree->setUniformRowHeights(true);
            tree->setRootIsDecorated(false);
            window.setCentralWidget(tree);
            window.resize(600, 470);
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            PaintCounter painted;
            tree->viewport()->installEventFilter(&painted);
            const QString label = QStringLiteral("DomainUserRecords:");
            for (int round = 0; round < rounds(count) + 1; ++round) {
                const QByteArray &bytes = replies[round % 2];
                const int paintsBefore = painted.paints;
                QElapsedTimer timer;
                timer.start();
                const double cpu = Bench::processCpuMs();
                const QString reply = QString::fromUtf8(bytes);
                const qsizetype from = reply.indexOf(label) + label.size();
                const QStringView list =
                    QStringView(reply).sliced(from, reply.indexOf(u"</p", from) - from);
                QList<QTreeWidgetItem *> items;
                items.reserve(count);
                for (const QStringView piece : list.tokenize(u"~~")) {
                    QStringList cells;
                    for (const QStringView field : piece.tokenize(u";;"))
                        cells << field.toString();
                    items.append(new QTreeWidgetItem(cells));
                }
                tree->clear();
                tree->addTopLevelItems(items);
                tree->viewport()->repaint();
                if (round > 0)
                    bare.add(timer, cpu);
                QCOMPARE(tree->topLevelItemCount(), count);
                QCOMPARE(tree->topLevelItem(0)->text(3), addresses[round % 2]);
                QVERIFY(painted.paints > paintsBefore);
            }
        }

        std::printf("reply to painted grid, %d records, median of %d changes: veltrio-dns %.2f ms "
                    "(CPU %.2f ms), bare QTreeWidget %.2f ms (CPU %.2f ms), ratio %.2f\n",
                    count, rounds(count), Bench::median(veltrio.wall), Bench::median(veltrio.cpu),
                    Bench::median(bare.wall), Bench::median(bare.cpu),
                    Bench::median(veltrio.wall) / Bench::median(bare.wall));
        std::fflush(stdout);
    }
};

QTEST_MAIN(BenchGridPath)
#include "bench_gridpath.moc"
