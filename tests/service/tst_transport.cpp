#include "Transport.h"

#include <QTest>

using namespace Qt::StringLiterals;

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
        QTest::newRow("parameters as written")
            << u"?Usr=a&Pwd=p&w=d+/:?@"_s << "?Usr=a&Pwd=p&w=d+/:?@"_ba;
        QTest::newRow("blank, hash, control") << u"?pwd=a b#c\td"_s << "?pwd=a%20b%23c%09d"_ba;
        QTest::newRow("non-ASCII as UTF-8") << u"?usr=J\u00f6rg"_s << "?usr=J%C3%B6rg"_ba;
        QTest::newRow("stray percent, escape kept")
            << u"?pwd=100%&x=%26"_s << "?pwd=100%25&x=%26"_ba;
        QTest::newRow("never raw in a URL") << u"?pwd=\"<>{|}"_s << "?pwd=%22%3C%3E%7B%7C%7D"_ba;
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
