#include "Transport.h"

#include <QTest>

class TestTransport : public QObject
{
    Q_OBJECT

private slots:
    // What goes on the request line: the text as it stands, except what a
    // request line cannot carry.
    void requestUrl_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("encoded");
        const QString base = QStringLiteral("http://127.0.0.1:8080/dnslogin3.asp");
        QTest::newRow("parameters unescaped")
            << base + QStringLiteral("?FXN=DNSTickler&Usr=acme&Pwd=p&w=d&Cname=@&IPAddress=1.2.3.4")
            << QByteArray("http://127.0.0.1:8080/dnslogin3.asp"
                          "?FXN=DNSTickler&Usr=acme&Pwd=p&w=d&Cname=@&IPAddress=1.2.3.4");
        QTest::newRow("plus, slash, colon, question mark kept")
            << base + QStringLiteral("?a=+/:?;,$!'()*")
            << QByteArray("http://127.0.0.1:8080/dnslogin3.asp?a=+/:?;,$!'()*");
        QTest::newRow("blank") << base + QStringLiteral("?pwd=a b")
                               << QByteArray("http://127.0.0.1:8080/dnslogin3.asp?pwd=a%20b");
        QTest::newRow("hash") << base + QStringLiteral("?pwd=a#b")
                              << QByteArray("http://127.0.0.1:8080/dnslogin3.asp?pwd=a%23b");
        QTest::newRow("control character")
            << base + QStringLiteral("?pwd=a\tb\x7f")
            << QByteArray("http://127.0.0.1:8080/dnslogin3.asp?pwd=a%09b%7F");
        QTest::newRow("non-ASCII as UTF-8")
            << base + QStringLiteral("?usr=J\u00f6rg")
            << QByteArray("http://127.0.0.1:8080/dnslogin3.asp?usr=J%C3%B6rg");
        QTest::newRow("escape kept as written")
            << base + QStringLiteral("?pwd=%26b")
            << QByteArray("http://127.0.0.1:8080/dnslogin3.asp?pwd=%26b");
        QTest::newRow("stray percent, escape beside it kept")
            << base + QStringLiteral("?pwd=100%&x=%26%4")
            << QByteArray("http://127.0.0.1:8080/dnslogin3.asp?pwd=100%25&x=%26%254");
        QTest::newRow("characters no URL carries raw")
            << base + QStringLiteral("?pwd=\"<>\\^`{|}")
            << QByteArray("http://127.0.0.1:8080/dnslogin3.asp?pwd=%22%3C%3E%5C%5E%60%7B%7C%7D");
    }
    void requestUrl()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, encoded);
        const QUrl url = Transport::RequestUrl(text);
        QVERIFY(url.isValid());
        QCOMPARE(url.toEncoded(), encoded);
    }

    void get_invalidUrl_givesEmptyReply()
    {
        QCOMPARE(Transport::Get(QUrl(), 1000, QString()), QString());
        QCOMPARE(
            Transport::Get(Transport::RequestUrl(QStringLiteral("http://[::1/x")), 1000, QString()),
            QString());
    }
};

QTEST_GUILESS_MAIN(TestTransport)
#include "tst_transport.moc"
