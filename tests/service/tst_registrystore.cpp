#include "RegistryStore.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString kInit = u"SOFTWARE\\Veltrio\\Init"_s;

QByteArray contents(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// A store on the key.
std::unique_ptr<RegistryStore> at(const QString &key)
{
    auto reg = std::make_unique<RegistryStore>();
    reg->SetKey(key);
    return reg;
}

} // namespace

class TestRegistryStore : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_file;

    void writeFile(const QByteArray &bytes)
    {
        QFile f(m_file);
        QVERIFY(f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size());
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init()
    {
        static int n = 0;
        m_file = m_dir.filePath(u"settings%1.ini"_s.arg(++n));
        RegistryStore::SetFile(m_file);
    }

    // Values come back as written, their names matched in any case. A file
    // that others may read (made by hand, or by an older program) is closed
    // to them by a write: it may receive the password.
    void roundTrip()
    {
#ifdef Q_OS_UNIX
        writeFile("[Init]\nPort=80\n");
        QVERIFY(QFile::setPermissions(m_file, QFile::ReadOwner | QFile::WriteOwner |
                                                  QFile::ReadGroup | QFile::ReadOther));
#endif
        const QString text = u"  Zoë p&w=\"x\";#[y]~~ ☃  "_s; // blanks, INI syntax, non-ASCII
        at(kInit)->WriteValue(u"Number"_s, u" 2.5 "_s, RegistryStore::Number); // rounds to even
        at(u"SOFTWARE\\Veltrio\\acme"_s)->WriteValue(u"AutoIPs"_s, u"old"_s, RegistryStore::Text);
        at(u"SOFTWARE\\Veltrio\\acme"_s)->WriteValue(u"AutoIps"_s, text, RegistryStore::Text);
        QCOMPARE(at(kInit)->ReadValue(u"Number"_s), u"2"_s);
        const auto reg = at(u"software\\veltrio\\ACME"_s);
        QCOMPARE(reg->ValueCount(), 1);
        QCOMPARE(reg->ReadValue(u"AUTOIPS"_s), text);
        QVERIFY(!contents(m_file).contains("old"));
#ifdef Q_OS_UNIX
        const auto others =
            QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QCOMPARE(QFile::permissions(m_file) & others, QFileDevice::Permissions());
#endif
    }

    void userNamesStayInTheirOwnSection_data()
    {
        QTest::addColumn<QString>("user");
        for (const char *user : {"a/b", "a\\b", "a%2Fb", "/Init", "  "})
            QTest::newRow(user) << QString::fromLatin1(user);
    }
    void userNamesStayInTheirOwnSection()
    {
        QFETCH(QString, user);
        const auto reg = at(u"SOFTWARE\\Veltrio\\"_s + user);
        reg->WriteValue(u"Col1/x"_s, u"mine"_s, RegistryStore::Text);
        for (const QString &other : {u"a"_s, u"b"_s, u"Init"_s, u"a/b"_s, u"a\\b"_s, u"a%2Fb"_s}) {
            if (other != user)
                QCOMPARE(at(u"SOFTWARE\\Veltrio\\"_s + other)->ValueCount(), 0);
        }
        QCOMPARE(reg->ValueCount(), 1);
        QCOMPARE(reg->ValueName(1), u"Col1/x"_s);
        QCOMPARE(reg->ReadValue(1), u"mine"_s);
    }

    // Values QSettings would rebuild as objects make the file unusable (the
    // serialized object rows were found by fuzzing); reading never creates it.
    void unusableContentReadsEmpty_data()
    {
        QTest::addColumn<QByteArray>("file"); // null: none exists
        QTest::addColumn<QString>("port");
        const auto row = [](const char *tag, const char *file, const char *port) {
            QTest::newRow(tag) << QByteArray(file) << QString::fromLatin1(port);
        };
        row("no file", nullptr, "");
        row("list", "[Init]\nPort=80, 8080\n", "");
        row("binary", "[Init]\nPort=@ByteArray(80)\n", "");
        row("serialized object", "[Init]\nPort=1400\nA=@Variant(\\0\\0\\0\\th=@V)\n", "");
        row("escaped", "[Init]\nPort=1400\nA=\\x40Variant(\\0\\0\\0\\th=@V)\n", "");
        row("escape of more than 16 bits",
            "[Init]\nPort=1400\nA=\\x10040Variant(\\0\\0\\0\\th=@V)\n", "");
        row("octal escape", "[Init]\nPort=1400\nA=\\200100Variant(\\0\\0\\0\\th=@V)\n", "");
        row("continued line", "[Init]\nPort=1400\nA=\\\n@Variant(\\0\\0\\0\\th=@V)\n", "");
        row("in a list", "[Init]\nPort=1400\nA=x, @Variant(\\0\\0\\0\\th=@V)\n", "");
        row("an @ inside a quoted text", "[Init]\nPort=1400\nPassword=\"x, @Variant(x)\"\n",
            "1400");
        row("an @ kept as text", "[Init]\nPort=1400\nA=@@Variant(x)\n", "1400");
        row("other values fine", "[Init]\nPort=1400\nX=1,2\n", "1400");
    }
    void unusableContentReadsEmpty()
    {
        QFETCH(QByteArray, file);
        if (!file.isNull())
            writeFile(file);
        QTEST(at(kInit)->ReadValue(u"Port"_s), "port");
        QCOMPARE(QFile::exists(m_file), !file.isNull());
        QCOMPARE(contents(m_file), file);
    }

    // Reads leave a broken file alone; the first write moves it aside and
    // starts a file of one section per key, readable by its owner only (it
    // holds the password) also after QSettings has rewritten it.
    void brokenFileMovedAsideByAWrite()
    {
        const QByteArray broken("[Init\nbSaveLogin=1\nPassword=secret\n");
        writeFile(broken);
        QCOMPARE(at(kInit)->ValueCount(), 0);
        QCOMPARE(contents(m_file), broken);
        at(kInit)->WriteValue(u"Port"_s, u"8080"_s, RegistryStore::Text);
        at(kInit)->WriteValue(u"bSSL"_s, 1, RegistryStore::Number);
        at(u"SOFTWARE\\Veltrio\\demo"_s)->WriteValue(u"MainLeft"_s, 2400, RegistryStore::Number);
        QByteArray written("[Init]\nPort=8080\nbSSL=1\n\n[demo]\nMainLeft=2400\n");
#ifdef Q_OS_WIN
        written.replace("\n", "\r\n"); // QSettings writes the platform's line ends
#endif
        QCOMPARE(contents(m_file), written);
        QCOMPARE(contents(m_file + u".broken"_s), broken);
#ifdef Q_OS_UNIX
        const auto mask = QFile::WriteOwner | QFile::ReadGroup | QFile::WriteGroup |
                          QFile::ReadOther | QFile::WriteOther;
        QCOMPARE(QFile::permissions(m_file) & mask, QFileDevice::Permissions(QFile::WriteOwner));
#endif
    }
};

QTEST_GUILESS_MAIN(TestRegistryStore)
#include "tst_registrystore.moc"
