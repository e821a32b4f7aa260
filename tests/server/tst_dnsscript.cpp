#include "AccountBook.h"
#include "DnsScript.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

// The local service's script, for what the client relies on and its own tests
// cannot show: the record list the service keeps between requests follows
// every change. The password keeps its "+" and is sent with its blank as %20.
namespace {

const QByteArray accounts = R"({"accounts": [
 {"user": "bob", "password": "a+b c", "firstName": "Bob", "lastName": "Own",
  "domains": ["bob.example", "shop.example"], "subDomain": "", "recordTypes": ["A", "CNAME", "MX"],
  "userLevel": "5", "expirationDate": "1/2/2031",
  "records": [{"domain": "bob.example", "type": "A", "name": "@", "address": "192.0.2.5"}]}
]})";

QString valueOf(const QString &reply, const QString &name)
{
    const qsizetype at = reply.indexOf(name);
    return at < 0 ? QString() : reply.mid(at + name.size()).section(QStringLiteral("</p"), 0, 0);
}

} // namespace

class TestDnsScript : public QObject
{
    Q_OBJECT

private slots:
    // The list is asked for first, so that a kept one is there to go stale;
    // after each change every reply that carries it (the command's own, the
    // address query's, the login's) must show the records as they are now.
    void recordList_followsEveryChange()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("accounts.json")));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(accounts) == accounts.size());
        file.close();
        AccountBook book;
        QString error;
        QVERIFY2(book.load(file.fileName(), dir.filePath(QStringLiteral("state.json")), &error),
                 qPrintable(error));
        DnsScript script(book, [] { return QDate(2026, 6, 29); });
        const auto ask = [&](const QString &query) {
            return script.answer(query, QStringLiteral("192.0.2.77"));
        };
        const QString label = QStringLiteral("DomainUserRecords:");
        const auto listOf = [&](const char *query) {
            return valueOf(ask(QLatin1String(query)), label);
        };
        const char *address = "FXN=GetIPAddress&Usr=bob";
        const char *login = "FXN=login&Usr=bob&Pwd=a+b%20c";
        const QString bob = QStringLiteral("bob.example;;A;;@;;192.0.2.5");
        const QString bobWww = bob + QStringLiteral("~~bob.example;;A;;www;;198.51.100.1");
        QCOMPARE(listOf(address), bob);
        QCOMPARE(listOf(login), bob);
        for (const auto &[verb, list] : {std::pair{"RECORDADD", bobWww}, {"RECORDDELETE", bob}}) {
            const QString reply =
                ask(QStringLiteral("FXN=DNSTickler&Usr=bob&Pwd=a+b%20c&Domain=bob.example"
                                   "&RecordType=A&IPAddress=198.51.100.1&Cname=www&DNSCommand=") +
                    QLatin1String(verb));
            QVERIFY2(reply.startsWith(QLatin1String("SUCCESS</p>")), qPrintable(reply));
            QCOMPARE(valueOf(reply, label), list);
            QCOMPARE(listOf(address), list);
            QCOMPARE(listOf(login), list);
        }
    }
};

QTEST_GUILESS_MAIN(TestDnsScript)
#include "tst_dnsscript.moc"
