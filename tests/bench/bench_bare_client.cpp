// The least a Qt client of the service does to show an account's records,
// built for the benchmarks only: a QMainWindow with a QTreeView, the record
// list fetched with one QNetworkAccessManager GET of the URL given (a login
// query), cut out of the reply and shown through the leanest model.
//
//   bench_bare_client URL   prints "shown N" once the N records are painted,
//                           then runs until it is ended
#include "BenchModel.h"

#include <QApplication>
#include <QMainWindow>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <QTreeView>
#include <cstdio>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const QUrl url(QCoreApplication::arguments().value(1));
    if (!url.isValid()) {
        std::fprintf(stderr, "usage: bench_bare_client URL\n");
        return 2;
    }
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("client"));
    auto *view = new QTreeView(&window);
    view->setRootIsDecorated(false);
    view->setUniformRowHeights(true);
    window.setCentralWidget(view);
    window.resize(600, 470);

    QNetworkAccessManager network;
    QNetworkReply *reply = network.get(QNetworkRequest(url));
    QObject::connect(reply, &QNetworkReply::finished, &window, [&] {
        const QString body = QString::fromUtf8(reply->readAll());
        reply->deleteLater();
        const QString label = QStringLiteral("DomainUserRecords:");
        const qsizetype from = body.indexOf(label);
        const qsizetype to = from < 0 ? -1 : body.indexOf(QStringLiteral("</p"), from);
        if (to < 0) {
            std::fprintf(stderr, "no record list in the reply\n");
            app.exit(1);
            return;
        }
        const qsizetype start = from + label.size();
        view->setModel(new Bench::RecordModel(body.mid(start, to - start)));
        window.show();
        QTimer::singleShot(0, [&] {
            view->viewport()->repaint();
            std::printf("shown %d\n", view->model()->rowCount());
            std::fflush(stdout);
        });
    });
    return app.exec();
}
