#include "ProgramOptions.h"

#include <QTest>

using Action = ProgramOptions::Action;

class TestProgramOptions : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        // Arguments separated by blanks; "FILE" stands for a file that exists.
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("action");
        QTest::addColumn<QString>("message"); // a piece of it
        QTest::newRow("all three")
            << "--config FILE --settings s.ini --log-dir logs" << int(Action::Run) << "";
        QTest::newRow("help beside a mistake")
            << "--bogus -h" << int(Action::ShowHelp) << "--log-dir";
        QTest::newRow("unknown option") << "--bogus" << int(Action::Fail) << "bogus";
        QTest::newRow("missing config file") << "--config /nonexistent/veltrio.conf"
                                             << int(Action::Fail) << "/nonexistent/veltrio.conf";
        QTest::newRow("stray argument") << "extra" << int(Action::Fail) << "extra";
    }
    void parse()
    {
        QFETCH(QString, arguments);
        QFETCH(int, action);
        QFETCH(QString, message);
        arguments.replace(QStringLiteral("FILE"), QCoreApplication::applicationFilePath());
        const ProgramOptions options = ProgramOptions::Parse(
            QStringList{QStringLiteral("veltrio-dns")} + arguments.split(u' ', Qt::SkipEmptyParts));
        QCOMPARE(int(options.action), action);
        QVERIFY2(options.message.contains(message), qPrintable(options.message));
        if (arguments.contains(QLatin1String("--log-dir logs"))) {
            QCOMPARE(options.configFile, QCoreApplication::applicationFilePath());
            QCOMPARE(options.settingsFile, QStringLiteral("s.ini"));
            QCOMPARE(options.logDir, QStringLiteral("logs"));
        }
    }
};

QTEST_GUILESS_MAIN(TestProgramOptions)
#include "tst_programoptions.moc"
