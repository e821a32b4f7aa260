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
        QTest::addColumn<QString>("query");
        QTest::addColumn<QByteArray>("sent");
        QTest::newRow("parameters unescaped")
            << "?Usr=a&Pwd=p&w=d+/:?@" << QByteArray("?Usr=a&Pwd=p&w=d+/:?@");
        QTest::newRow("blank, hash, control")
            << "?pwd=a b#c\td" << QByteArray("?pwd=a%20b%23c%09d");
        QTest::newRow("non-ASCII as UTF-8") << "?usr=J\u00f6rg" << QByteArray("?usr=J%C3%B6rg");
        QTest::newRow("stray percent, escape kept")
            << "?pwd=100%&x=%26" << QByteArray("?pwd=100%25&x=%26");
        QTest::newRow("characters no URL carries raw")
            << "?pwd=\"<>{|}" << QByteArray("?pwd=%22%3C%3E%7B%7C%7D");
    }
    void requestUrl()
    {
        QFETCH(QString, query);
        QFETCH(QByteArray, sent);
        const QString base = QStringLiteral("http://127.0.0.1:8080/dnslogin3.asp");
        const QUrl url = Transport::RequestUrl(base + query);
        QVERIFY(url.isValid());
        QCOMPARE(url.toEncoded(), base.toLatin1() + sent);
    }
};

QTEST_GUILESS_MAIN(TestTransport)
#include "tst_transport.moc"
