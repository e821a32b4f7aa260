#include "AccountBook.h"
#include "DnsScript.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

// ann: free sub-domain account; bob: own domains at level 5.
const QByteArray accounts = R"({"accounts": [
 {"user": "ann", "password": "a+b c", "firstName": "Ann", "lastName": "Free",
  "subDomain": "dyn.example", "recordTypes": ["A", "CNAME", "MX"], "userLevel": "1",
  "expirationDate": "12/31/2030",
  "records": [{"domain": "dyn.example", "type": "A", "name": "ann", "address": "192.0.2.1"}]},
 {"user": "bob", "password": "pw", "firstName": "Bob", "lastName": "Own",
  "domains": ["bob.example", "shop.example"], "subDomain": "", "recordTypes": ["A", "CNAME", "MX"],
  "userLevel": "5", "expirationDate": "1/2/2031",
  "records": [{"domain": "bob.example", "type": "A", "name": "@", "address": "192.0.2.5"}]}
]})";

const QString bobRecord = QStringLiteral("bob.example;;A;;@;;192.0.2.5");

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString valueOf(const QString &reply, const QString &label)
{
    const qsizetype at = reply.indexOf(label);
    return at < 0 ? QString() : reply.mid(at + label.size()).section(QStringLiteral("</p"), 0, 0);
}

} // namespace

class TestDnsScript : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    std::unique_ptr<AccountBook> book;
    std::unique_ptr<DnsScript> script;

    QString accountsFile() const { return dir.filePath(QStringLiteral("accounts.json")); }
    QString stateFile() const { return dir.filePath(QStringLiteral("accounts.state.json")); }

    void load()
    {
        book = std::make_unique<AccountBook>();
        QString error;
        QVERIFY2(book->load(accountsFile(), stateFile(), &error), qPrintable(error));
        script = std::make_unique<DnsScript>(*book, [] { return QDate(2026, 6, 29); });
    }
    QString ask(const QString &query)
    {
        return script->answer(query, QStringLiteral("192.0.2.77"));
    }
    QString recordsOf(const QString &user)
    {
        return valueOf(ask(QStringLiteral("FXN=GetIPAddress&Usr=") + user),
                       QStringLiteral("DomainUserRecords:"));
    }

private slots:
    void init()
    {
        QFile::remove(stateFile());
        QVERIFY(writeFile(accountsFile(), accounts));
        load();
    }

    void login_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("reply");
        const QString annReply = QStringLiteral(
            "DNS LOGIN:SUCCESS</p>FirstName:Ann</p>LastName:Free</p>Domains:</p>"
            "SubDomain:dyn.example</p>RecordTypes:A,CNAME,MX</p>ExpirationDate:12/31/2030</p>"
            "IPAddress:192.0.2.77</p>UserLevel:1</p>DomainUserRecords:dyn.example;;A;;ann;;"
            "192.0.2.1</p>");
        const QString failed =
            QStringLiteral("DNS LOGIN:FAIL</p>Error:Invalid user name or password</p>");
        QTest::newRow("free account, password decoded after splitting")
            << "fxn=login&usr=ann&pwd=a+b%20c" << annReply;
        QTest::newRow("own domains")
            << "fxn=login&usr=bob&pwd=pw"
            << QStringLiteral("DNS LOGIN:SUCCESS</p>FirstName:Bob</p>LastName:Own</p>"
                              "Domains:bob.example,shop.example</p>SubDomain:</p>"
                              "RecordTypes:A,CNAME,MX</p>ExpirationDate:1/2/2031</p>"
                              "IPAddress:192.0.2.77</p>UserLevel:5</p>DomainUserRecords:") +
                   bobRecord + QStringLiteral("</p>");
        QTest::newRow("wrong password") << "fxn=login&usr=bob&pwd=PW" << failed;
    }
    void login()
    {
        QFETCH(QString, query);
        QFETCH(QString, reply);
        QCOMPARE(ask(query), reply);
    }

    void tickler_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("query"); // after "&Usr=<user>&Pwd=..."
        QTest::addColumn<QString>("error"); // empty: success expected
        QTest::addColumn<QString>("records");
        const auto row = [](const char *tag, const char *user, const QString &query,
                            const char *error, const QString &records) {
            QTest::newRow(tag) << QString::fromLatin1(user) << query << QString::fromLatin1(error)
                               << records;
        };
        const auto q = [](const char *query) { return QString::fromLatin1(query); };
        const QString bobA = q("Cname=www&DNSCommand=RECORDADD&RecordType=A&IPAddress="
                               "198.51.100.1&Domain=");
        const QString annHost = q("dyn.example;;A;;ann;;192.0.2.1");

        row("delete ignores case", "bob",
            q("Cname=@&Domain=BOB.EXAMPLE&DNSCommand=recorddelete&RecordType=a&IPAddress=192.0.2."
              "5"),
            "", QString());
        row("port relay at level 5", "bob",
            q("Cname=shop&Domain=shop.example&DNSCommand=RECORDADD&RecordType=Port%20Relay"
              "&IPAddress=Http://192.0.2.7:8080/x"),
            "", bobRecord + q("~~shop.example;;PORT RELAY;;shop;;Http://192.0.2.7:8080/x"));
        row("free host record, empty domain", "ann",
            q("Cname=ann&Domain=&DNSCommand=RECORDADD&RecordType=A&IPAddress=192.0.2.2"), "",
            annHost + q("~~dyn.example;;A;;ann;;192.0.2.2"));
        row("advanced, domain is the user's host", "ann",
            q("FXN=DNSTicklerAdvanced&Cname=www.ann&Domain=ann.dyn.example"
              "&DNSCommand=RECORDADD&RecordType=CNAME&IPAddress=ann.dyn.example"),
            "", annHost + q("~~dyn.example;;CNAME;;www.ann;;ann.dyn.example"));

        row("wrong password", "bob", bobA + q("bob.example&Pwd=other"),
            "Invalid user name or password", bobRecord);
        row("type not in the list", "bob",
            q("Cname=t&Domain=bob.example&DNSCommand=RECORDADD&RecordType=TXT&IPAddress=x"),
            "Record type not allowed for this account", bobRecord);
    }
    void tickler()
    {
        QFETCH(QString, user);
        QFETCH(QString, query);
        QFETCH(QString, error);
        QFETCH(QString, records);
        const QString function =
            query.startsWith(QLatin1String("FXN=")) ? QString() : QStringLiteral("FXN=DNSTickler&");
        const QString password =
            user == QLatin1String("ann") ? QStringLiteral("a+b%20c") : QStringLiteral("pw");
        const QString reply = ask(function + query + QStringLiteral("&Usr=") + user +
                                  QStringLiteral("&Pwd=") + password);

        if (error.isEmpty()) {
            QVERIFY2(reply.startsWith(QLatin1String("SUCCESS</p>DomainUserRecords:")),
                     qPrintable(reply));
            QCOMPARE(valueOf(reply, QStringLiteral("DomainUserRecords:")), records);
        } else {
            QCOMPARE(reply, QStringLiteral("FAIL</p>Error:") + error + QStringLiteral("</p>"));
        }
        QCOMPARE(recordsOf(user), records);
    }

    // The record list the replies carry is kept between requests: after any
    // change, every reply that carries it (the command's own, the address
    // query's, the login's) must show the records as they are now. The list
    // is asked for first, so that a kept one is there to go stale.
    void recordList_followsEveryChange_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QStringList>("commands"); // after "FXN=", one after another
        QTest::addColumn<QStringList>("lists");    // the list after each command
        const QString bobQuery = QStringLiteral(
            "DNSTickler&Usr=bob&Pwd=pw&Domain=bob.example&RecordType=A&IPAddress=198.51.100.1"
            "&Cname=www&DNSCommand=");
        const QString annQuery =
            QStringLiteral("DNSTicklerAdvanced&Usr=ann&Pwd=a+b%20c&Domain=&RecordType=CNAME"
                           "&IPAddress=ann.dyn.example&Cname=www.ann&DNSCommand=");
        const QString bobWww = bobRecord + QStringLiteral("~~bob.example;;A;;www;;198.51.100.1");
        const QString annHost = QStringLiteral("dyn.example;;A;;ann;;192.0.2.1");
        const QString annWww =
            annHost + QStringLiteral("~~dyn.example;;CNAME;;www.ann;;ann.dyn.example");
        const QString add = QStringLiteral("RECORDADD");
        const QString remove = QStringLiteral("RECORDDELETE");

        QTest::newRow("add, then remove it")
            << "bob" << QStringList{bobQuery + add, bobQuery + remove}
            << QStringList{bobWww, bobRecord};
        QTest::newRow("advanced add, then remove it")
            << "ann" << QStringList{annQuery + add, annQuery + remove}
            << QStringList{annWww, annHost};
    }
    void recordList_followsEveryChange()
    {
        QFETCH(QString, user);
        QFETCH(QStringList, commands);
        QFETCH(QStringList, lists);
        const QString password =
            user == QLatin1String("ann") ? QStringLiteral("a+b%20c") : QStringLiteral("pw");
        const QString login =
            QStringLiteral("FXN=login&Usr=") + user + QStringLiteral("&Pwd=") + password;
        const QString label = QStringLiteral("DomainUserRecords:");
        QVERIFY(!recordsOf(user).isEmpty());
        QVERIFY(!valueOf(ask(login), label).isEmpty());
        for (qsizetype i = 0; i < commands.size(); ++i) {
            const QString reply = ask(QStringLiteral("FXN=") + commands[i]);
            QVERIFY2(reply.startsWith(QLatin1String("SUCCESS</p>")), qPrintable(reply));
            QCOMPARE(valueOf(reply, label), lists[i]);
            QCOMPARE(recordsOf(user), lists[i]);
            QCOMPARE(valueOf(ask(login), label), lists[i]);
        }
    }

    void getIPAddress_data()
    {
        QTest::addColumn<QString>("publicAddress");
        QTest::addColumn<QString>("peer");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("reply");
        const auto row = [](const char *tag, const char *fixed, const char *peer, const char *query,
                            const QString &reply) {
            QTest::newRow(tag) << QString::fromLatin1(fixed) << QString::fromLatin1(peer)
                               << QString::fromLatin1(query) << reply;
        };
        const auto success = [](const char *address) {
            return QStringLiteral("SUCCESS</p>IPAddress:") + QLatin1String(address) +
                   QStringLiteral("</p>DomainUserRecords:") + bobRecord + QStringLiteral("</p>");
        };
        const char *bob = "FXN=GetIPAddress&Usr=bob";
        row("IPv4-mapped peer", "", "::ffff:203.0.113.9", bob, success("203.0.113.9"));
        row("fixed public address", "203.0.113.50", "127.0.0.1", bob, success("203.0.113.50"));
    }
    void getIPAddress()
    {
        QFETCH(QString, publicAddress);
        QFETCH(QString, peer);
        QFETCH(QString, query);
        QFETCH(QString, reply);
        QVERIFY(script->setPublicAddress(publicAddress));
        QCOMPARE(script->answer(query, peer), reply);
    }

    void records_surviveRestart_andForeignUsersAreKept()
    {
        const QString www = QStringLiteral("FXN=DNSTickler&Usr=bob&Pwd=pw&Cname=www&Domain=bob"
                                           ".example&DNSCommand=%1&RecordType=A&IPAddress=1.2.3.4");
        ask(www.arg(QLatin1String("RECORDADD")));
        // A user the accounts file no longer lists keeps its entry.
        QByteArray json = readFile(stateFile());
        QVERIFY(
            writeFile(stateFile(), json.replace("\"records\": {", "\"records\": {\"gone\": [],")));
        load();
        QCOMPARE(recordsOf(QStringLiteral("bob")),
                 bobRecord + QStringLiteral("~~bob.example;;A;;www;;1.2.3.4"));
        ask(www.arg(QLatin1String("RECORDDELETE")));
        load();
        QCOMPARE(recordsOf(QStringLiteral("bob")), bobRecord);
        QVERIFY(readFile(stateFile()).contains("\"gone\""));
    }
};

QTEST_GUILESS_MAIN(TestDnsScript)
#include "tst_dnsscript.moc"
