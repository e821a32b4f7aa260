#include "ProgramOptions.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using Action = ProgramOptions::Action;

class TestProgramOptions : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_config;

private slots:
    void initTestCase()
    {
        m_config = m_dir.filePath(QStringLiteral("veltrio.conf"));
        QFile file(m_config);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Service]\nHttpHost=update.test\n");
    }

    void parse_data()
    {
        // Arguments separated by blanks; "CONF" stands for a configuration file that exists.
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("action");
        QTest::addColumn<QString>("message"); // a piece of it
        QTest::newRow("nothing") << "" << int(Action::Run) << "";
        QTest::newRow("all three")
            << "--config CONF --settings s.ini --log-dir logs" << int(Action::Run) << "";
        QTest::newRow("help") << "--help" << int(Action::ShowHelp) << "--settings";
        QTest::newRow("help beside a mistake")
            << "--bogus -h" << int(Action::ShowHelp) << "--log-dir";
        QTest::newRow("unknown option") << "--bogus" << int(Action::Fail) << "bogus";
        QTest::newRow("missing value") << "--settings" << int(Action::Fail) << "settings";
        QTest::newRow("missing config file") << "--config /nonexistent/veltrio.conf"
                                             << int(Action::Fail) << "/nonexistent/veltrio.conf";
        QTest::newRow("stray argument") << "extra" << int(Action::Fail) << "extra";
    }
    void parse()
    {
        QFETCH(QString, arguments);
        QFETCH(int, action);
        QFETCH(QString, message);
        const QStringList list = QStringList{QStringLiteral("veltrio-dns")} +
                                 arguments.replace(QStringLiteral("CONF"), m_config)
                                     .split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const ProgramOptions options = ProgramOptions::Parse(list);
        QCOMPARE(int(options.action), action);
        QVERIFY2(options.message.contains(message), qPrintable(options.message));
    }
};

QTEST_GUILESS_MAIN(TestProgramOptions)
#include "tst_programoptions.moc"
