#include "ProgramOptions.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
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
        QTest::newRow("version") << "--settings s.ini --version" << int(Action::ShowVersion)
                                 << "veltrio-dns 1.0.";
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

    // Without any display, instead of aborting in the window system's plugin.
    void versionWithoutADisplay()
    {
        const QString client = qEnvironmentVariable("VELTRIO_CLIENT_BIN");
        QVERIFY2(QFile::exists(client), "VELTRIO_CLIENT_BIN names no program");
        QProcess program;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            env.remove(QLatin1String(name));
        program.setProcessEnvironment(env);
        program.start(client, {QStringLiteral("--version")});
        QVERIFY(program.waitForFinished(10000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QVERIFY(program.readAllStandardOutput().contains("veltrio-dns 1.0."));
    }
};

QTEST_GUILESS_MAIN(TestProgramOptions)
#include "tst_programoptions.moc"
