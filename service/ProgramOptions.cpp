#include "ProgramOptions.h"

#include "RegistryStore.h"
#include "ServiceConfig.h"
#include "Version.h"
#include "basDNS.h"
#include "basErr.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <cstdio>

bool ProgramOptions::AnswersWithoutDisplay(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == "-h" || argument == "--help" || argument == "-?" ||
            argument == "--help-all" || argument == "-v" || argument == "--version")
            return true;
    }
    return false;
}

ProgramOptions ProgramOptions::Parse(const QStringList &arguments, Program program)
{
    const bool serviceMode = program == Program::ServiceMode;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        serviceMode
            ? QStringLiteral("Veltrio Dynamic DNS service mode: keeps the automatic records of the "
                             "saved login pointed at this machine, with no window.\n"
                             "Exit codes: 0 done, 1 a record command failed, 2 login refused or "
                             "account expired, 3 service unreachable or its reply unreadable, 4 "
                             "no saved login.")
            : QStringLiteral(
                  "Veltrio Dynamic DNS: keeps your DNS records pointed at this machine."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption config(
        QStringLiteral("config"),
        QStringLiteral("Service hosts from FILE instead of veltrio.conf."), QStringLiteral("FILE"));
    const QCommandLineOption settings(QStringLiteral("settings"),
                                      QStringLiteral("Keep the settings in the INI file FILE."),
                                      QStringLiteral("FILE"));
    const QCommandLineOption logDir(QStringLiteral("log-dir"),
                                    QStringLiteral("Write the daily error logs to DIR."),
                                    QStringLiteral("DIR"));
    parser.addOptions({config, settings, logDir});
    const QCommandLineOption once(QStringLiteral("once"),
                                  QStringLiteral("Check the public address once, bring the "
                                                 "automatic records to it, then exit."));
    const QCommandLineOption check(
        QStringLiteral("check"),
        QStringLiteral("Log in and print the automatic records; change nothing."));
    const QCommandLineOption every(
        QStringLiteral("every"),
        QStringLiteral("Check every SECONDS (5 to 86400) instead of at the account's refresh "
                       "rate."),
        QStringLiteral("SECONDS"));
    const QCommandLineOption onChange(
        QStringLiteral("on-change"),
        QStringLiteral("Run CMD (a program and its arguments, never through a shell) after each "
                       "check that changed records, instead of the account's OnChange "
                       "setting."),
        QStringLiteral("CMD"));
    const QCommandLineOption history(
        QStringLiteral("history"),
        QStringLiteral("Print the saved login's address history, oldest first, and exit."));
    if (serviceMode)
        parser.addOptions({once, check, every, onChange, history});

    ProgramOptions options;
    const bool parsed = parser.parse(arguments);
    if (parser.isSet(help) || parser.isSet(QStringLiteral("help-all"))) {
        options.action = Action::ShowHelp;
        options.message = parser.helpText();
        return options;
    }
    if (parser.isSet(version)) {
        options.action = Action::ShowVersion;
        options.message =
            QStringLiteral("%1 %2.%3\n")
                .arg(serviceMode ? QStringLiteral("veltrio-dnsd") : QStringLiteral("veltrio-dns"))
                .arg(Version::MajorMinor())
                .arg(Version::Revision());
        return options;
    }
    if (!parsed) {
        options.action = Action::Fail;
        options.message = parser.errorText();
        return options;
    }
    if (!parser.positionalArguments().isEmpty()) {
        options.action = Action::Fail;
        options.message = QStringLiteral("Unexpected argument: ") + parser.positionalArguments()[0];
        return options;
    }
    options.configFile = parser.value(config);
    if (!options.configFile.isEmpty() && !QFileInfo(options.configFile).isFile()) {
        options.action = Action::Fail;
        options.message =
            QStringLiteral("Cannot read the configuration file ") + options.configFile;
        return options;
    }
    if (serviceMode && parser.isSet(once) + parser.isSet(check) + parser.isSet(history) > 1) {
        options.action = Action::Fail;
        options.message = QStringLiteral("--once, --check and --history cannot be used together");
        return options;
    }
    if (serviceMode && parser.isSet(every)) {
        bool number = false;
        options.everySeconds = parser.value(every).toInt(&number);
        if (!number || options.everySeconds < 5 || options.everySeconds > 86400) {
            options.action = Action::Fail;
            options.message = QStringLiteral("--every takes a whole number of seconds from 5 "
                                             "to 86400");
            return options;
        }
    }
    options.once = serviceMode && parser.isSet(once);
    options.check = serviceMode && parser.isSet(check);
    options.history = serviceMode && parser.isSet(history);
    if (serviceMode && parser.isSet(onChange))
        options.onChange = parser.value(onChange);
    options.settingsFile = parser.value(settings);
    options.logDir = parser.value(logDir);
    return options;
}

void ProgramOptions::Apply() const
{
    SetConfig(
        ServiceConfig::Load(configFile.isEmpty() ? ServiceConfig::DefaultFile() : configFile));
    basDNS::SetTransferTimeout(Config().timeoutSeconds * 1000);
    RegistryStore::SetFile(settingsFile);
    basErr::SetLogFolder(logDir);
}

int ProgramOptions::Report() const
{
    switch (action) {
    case Action::ShowHelp:
    case Action::ShowVersion:
        std::fputs(qPrintable(message), stdout);
        return 0;
    case Action::Fail:
        std::fprintf(stderr, "%s\nTry --help.\n", qPrintable(message));
        return 2;
    case Action::Run:
        break;
    }
    return 0;
}
