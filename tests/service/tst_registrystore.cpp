#include "RegistryStore.h"
#include "RuntimeError.h"

#include <QFile>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class TestRegistryStore : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_file;

    static QByteArray contents(const QString &path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    void writeFile(const QByteArray &bytes)
    {
        QFile f(m_file);
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(bytes);
    }
    static void write(const QString &key, const QString &name, const QVariant &data,
                      RegistryStore::ValueType type = RegistryStore::Text)
    {
        RegistryStore reg;
        reg.SetKey(key);
        reg.WriteValue(name, data, type);
    }
    static QString read(const QString &key, const QString &name)
    {
        RegistryStore reg;
        reg.SetKey(key);
        return reg.ReadValue(name);
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
    }
    void init()
    {
        static int n = 0;
        m_file = m_dir.filePath(QStringLiteral("settings%1.ini").arg(++n));
        RegistryStore::SetFile(m_file);
    }
    void cleanupTestCase() { RegistryStore::SetFile(QString()); }

    void roundTrip_data()
    {
        QTest::addColumn<QVariant>("data");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("expected");
        QTest::newRow("text") << QVariant(QStringLiteral("acme")) << 0 << "acme";
        QTest::newRow("blanks kept") << QVariant(QStringLiteral("  pw  ")) << 0 << "  pw  ";
        QTest::newRow("query characters")
            << QVariant(QStringLiteral("p&w=\"x\";#[y]")) << 0 << "p&w=\"x\";#[y]";
        QTest::newRow("record list") << QVariant(QStringLiteral("A.TEST;;A;;@;;1.2.3.4~~")) << 0
                                     << "A.TEST;;A;;@;;1.2.3.4~~";
        QTest::newRow("non-ASCII") << QVariant(QStringLiteral("Zoë ☃")) << 0 << "Zoë ☃";
        QTest::newRow("number") << QVariant(1400) << 4 << "1400";
        QTest::newRow("numeric text as number") << QVariant(QStringLiteral(" 75 ")) << 4 << "75";
        QTest::newRow("fraction rounds to even") << QVariant(QStringLiteral("2.5")) << 4 << "2";
        QTest::newRow("flag") << QVariant(true) << 4 << "1";
    }
    void roundTrip()
    {
        QFETCH(QVariant, data);
        QFETCH(int, type);
        QFETCH(QString, expected);
        write(QStringLiteral("SOFTWARE\\Veltrio\\Init"), QStringLiteral("Value"), data,
              RegistryStore::ValueType(type));
        QCOMPARE(read(QStringLiteral("SOFTWARE\\Veltrio\\Init"), QStringLiteral("Value")),
                 expected);
    }

    void namesIgnoreCase()
    {
        const QString key = QStringLiteral("SOFTWARE\\Veltrio\\acme");
        write(key, QStringLiteral("AutoIPs"), QStringLiteral("old"));
        write(key, QStringLiteral("AutoIps"), QStringLiteral("new"));
        RegistryStore reg;
        reg.SetKey(QStringLiteral("software\\veltrio\\ACME"));
        QCOMPARE(reg.ValueCount(), 1);
        QCOMPARE(reg.ReadValue(QStringLiteral("AUTOIPS")), QStringLiteral("new"));
        QVERIFY(!contents(m_file).contains("old"));
    }

    void iniLayout()
    {
        write(QStringLiteral("SOFTWARE\\Veltrio\\Init"), QStringLiteral("bSSL"), 1,
              RegistryStore::Number);
        write(QStringLiteral("SOFTWARE\\Veltrio\\Init"), QStringLiteral("Port"),
              QStringLiteral("1400"));
        write(QStringLiteral("SOFTWARE\\Veltrio\\demo"), QStringLiteral("MainLeft"), 2400,
              RegistryStore::Number);
        const QByteArray text = contents(m_file);
        QVERIFY2(text.contains("[Init]\nPort=1400\nbSSL=1\n"), text.constData());
        QVERIFY2(text.contains("[demo]\nMainLeft=2400\n"), text.constData());
    }

    void userNamesStayInTheirOwnSection_data()
    {
        QTest::addColumn<QString>("user");
        QTest::newRow("slash") << "a/b";
        QTest::newRow("backslash") << "a\\b";
        QTest::newRow("escape lookalike") << "a%2Fb";
        QTest::newRow("leading separator") << "/Init";
        QTest::newRow("blanks") << "  ";
    }
    void userNamesStayInTheirOwnSection()
    {
        QFETCH(QString, user);
        const QString key = QStringLiteral("SOFTWARE\\Veltrio\\") + user;
        write(key, QStringLiteral("Col1/x"), QStringLiteral("mine"));
        for (const QString &other :
             {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("Init"),
              QStringLiteral("a/b"), QStringLiteral("a\\b"), QStringLiteral("a%2Fb")}) {
            if (other == user)
                continue;
            RegistryStore reg;
            reg.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\") + other);
            QCOMPARE(reg.ValueCount(), 0);
        }
        RegistryStore reg;
        reg.SetKey(key);
        QCOMPARE(reg.ValueCount(), 1);
        QCOMPARE(reg.ValueName(1), QStringLiteral("Col1/x"));
        QCOMPARE(reg.ReadValue(1), QStringLiteral("mine"));
    }

    void valuesByIndex()
    {
        const QString key = QStringLiteral("SOFTWARE\\Veltrio\\demo");
        const QStringList names{QStringLiteral("MainTop"), QStringLiteral("Col1"),
                                QStringLiteral("WindowState"), QStringLiteral("SortCol")};
        for (int i = 0; i < names.size(); ++i)
            write(key, names[i], i + 10, RegistryStore::Number);
        RegistryStore reg;
        reg.SetKey(key);
        QCOMPARE(reg.ValueCount(), names.size());
        QSet<QString> seen;
        for (int i = 1; i <= reg.ValueCount(); ++i) {
            seen.insert(reg.ValueName(i));
            QCOMPARE(reg.ReadValue(i), reg.ReadValue(reg.ValueName(i)));
        }
        QCOMPARE(seen, QSet<QString>(names.begin(), names.end()));
        QCOMPARE(reg.ValueName(0), QString());
        QCOMPARE(reg.ReadValue(names.size() + 1), QString());
    }

    void missingReadsEmpty()
    {
        RegistryStore reg;
        reg.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\nobody"));
        QCOMPARE(reg.ReadValue(QStringLiteral("Port")), QString());
        QCOMPARE(reg.ValueCount(), 0);
        QVERIFY(!QFile::exists(m_file)); // reading creates nothing
    }

    void unusableContentReadsEmpty_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("port");
        QTest::newRow("unclosed section") << QByteArray("[Init\nPort=1400\n") << "";
        QTest::newRow("list") << QByteArray("[Init]\nPort=80, 8080\n") << "";
        QTest::newRow("binary") << QByteArray("[Init]\nPort=@ByteArray(80)\n") << "";
        QTest::newRow("other values fine") << QByteArray("[Init]\nPort=1400\nX=1,2\n") << "1400";
    }
    void unusableContentReadsEmpty()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, port);
        writeFile(file);
        QCOMPARE(read(QStringLiteral("SOFTWARE\\Veltrio\\Init"), QStringLiteral("Port")), port);
        QCOMPARE(contents(m_file), file);
    }

    void brokenFileMovedAsideOnlyByAWrite()
    {
        const QByteArray broken("[Init\nbSaveLogin=1\nPassword=secret\n");
        writeFile(broken);
        {
            RegistryStore reg;
            reg.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\Init"));
            QCOMPARE(reg.ValueCount(), 0);
            QCOMPARE(reg.ReadValue(QStringLiteral("Password")), QString());
        }
        QCOMPARE(contents(m_file), broken);
        write(QStringLiteral("SOFTWARE\\Veltrio\\Init"), QStringLiteral("Port"),
              QStringLiteral("8080"));
        QCOMPARE(contents(m_file), QByteArray("[Init]\nPort=8080\n"));
        QCOMPARE(contents(m_file + QStringLiteral(".broken")), broken);
    }

    void newFileOwnerOnly()
    {
#ifdef Q_OS_UNIX
        write(QStringLiteral("SOFTWARE\\Veltrio\\Init"), QStringLiteral("Password"),
              QStringLiteral("pw"));
        const auto others =
            QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QCOMPARE(QFile::permissions(m_file) & others, QFileDevice::Permissions());
        QVERIFY(QFile::permissions(m_file) & QFile::WriteOwner);
        write(QStringLiteral("SOFTWARE\\Veltrio\\Init"), QStringLiteral("Username"),
              QStringLiteral("u"));
        QCOMPARE(QFile::permissions(m_file) & others, QFileDevice::Permissions());
#else
        QSKIP("POSIX file modes only");
#endif
    }
};

QTEST_GUILESS_MAIN(TestRegistryStore)
#include "tst_registrystore.moc"
