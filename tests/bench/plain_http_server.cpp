// The least a QHttpServer can do: one route that answers every request with
// the bytes of a file, nothing else. The service benchmark runs it beside
// veltrio-service as the baseline.
//
//     plain_http_server PATH BODY-FILE
// listens on 127.0.0.1 with a free port and says so on its first line
// ("listening http 127.0.0.1:PORT"), as veltrio-service does.

#include <QCoreApplication>
#include <QFile>
#include <QHttpServer>
#include <QHttpServerResponse>
#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fprintf(stderr, "usage: plain_http_server PATH BODY-FILE\n");
        return 2;
    }
    QFile file(arguments.at(2));
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "plain_http_server: cannot read %s\n", qPrintable(arguments.at(2)));
        return 1;
    }
    const QByteArray body = file.readAll();

    QHttpServer server;
    server.route(arguments.at(1), [body] {
        return QHttpServerResponse(QByteArrayLiteral("text/html; charset=utf-8"), body);
    });
    const quint16 port = server.listen(QHostAddress::LocalHost, 0);
    if (port == 0) {
        std::fprintf(stderr, "plain_http_server: cannot listen\n");
        return 1;
    }
    std::printf("listening http 127.0.0.1:%u\n", unsigned(port));
    std::fflush(stdout);
    return app.exec();
}
