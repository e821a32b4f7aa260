// The bare Qt programs the benchmarks measure veltrio-dns against; built for
// the benchmarks only, linked with Qt Widgets alone.
//
//   bench_bare_window hello          a QMainWindow titled "hello" with one label,
//                                    shown; runs until it is ended
//   bench_bare_window idle SECONDS   a QMainWindow with a QTreeView, shown, then
//                                    hidden as in the tray, with one 10 s QTimer;
//                                    after SECONDS prints its wake-ups and ends
//   bench_bare_window rows COUNT     a QMainWindow with a QTreeView showing COUNT
//                                    records of the benchmarks' list (kept as
//                                    one string, rows as views into it); prints
//                                    "shown" once painted, runs until ended
#include "BenchModel.h"
#include "BenchProc.h"
#include "BenchRecords.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QTimer>
#include <QTreeView>
#include <cstdio>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    const QString mode = args.value(0);
    QMainWindow window;

    if (mode == QLatin1String("hello")) {
        window.setWindowTitle(QStringLiteral("hello"));
        window.setCentralWidget(new QLabel(QStringLiteral("Hello"), &window));
        window.show();
        return app.exec();
    }

    if (mode == QLatin1String("idle")) {
        const int seconds = args.value(1).toInt();
        window.setWindowTitle(QStringLiteral("idle"));
        window.setCentralWidget(new QTreeView(&window));
        window.show();
        QTimer tick;
        tick.start(10000);
        QTimer::singleShot(0, &window, &QWidget::hide);
        Bench::WakeUps before;
        QTimer::singleShot(500, [&] {
            before = Bench::wakeUps();
            QTimer::singleShot(seconds * 1000, [&] {
                const Bench::WakeUps used = Bench::wakeUps() - before;
                std::printf("wakeups voluntary=%lld nonvoluntary=%lld scheduled=%lld hidden=%d\n",
                            used.voluntary, used.nonvoluntary, used.scheduled,
                            window.isHidden() ? 1 : 0);
                std::fflush(stdout);
                app.quit();
            });
        });
        return app.exec();
    }

    if (mode == QLatin1String("rows")) {
        const int count = args.value(1).toInt();
        window.setWindowTitle(QStringLiteral("rows"));
        auto *view = new QTreeView(&window);
        view->setRootIsDecorated(false);
        view->setUniformRowHeights(true);
        view->setModel(new Bench::RecordModel(Bench::recordList(count)));
        window.setCentralWidget(view);
        window.resize(600, 470);
        window.show();
        QTimer::singleShot(0, [&] {
            view->viewport()->repaint();
            std::printf("shown %d\n", view->model()->rowCount());
            std::fflush(stdout);
        });
        return app.exec();
    }

    std::fprintf(stderr, "usage: bench_bare_window hello | idle SECONDS | rows COUNT\n");
    return 2;
}
