#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// The command line of veltrio-dns and of its service mode veltrio-dnsd:
//   --config FILE    service hosts (default: veltrio.conf beside the program,
//                    then in the user's config folder)
//   --settings FILE  the settings file (default: the registry on Windows, an
//                    INI file in the user's config folder elsewhere)
//   --log-dir DIR    the folder of the daily error logs
//   --help, --version
// and for veltrio-dnsd only:
//   --once           one check, then exit
//   --check          log in, print the automatic records, change nothing
//   --every SECONDS  check every SECONDS instead of at the refresh rate
//   --on-change CMD  the command after a check that changed records,
//                    instead of the account's "OnChange" setting
//   --history        print the saved login's address history and exit
struct ProgramOptions
{
    enum class Action { Run, ShowHelp, ShowVersion, Fail };
    enum class Program { Window, ServiceMode };

    Action action = Action::Run;
    QString configFile;
    QString settingsFile;
    QString logDir;
    bool once = false;
    bool check = false;
    int everySeconds = 0;            // 0: the account's refresh rate
    std::optional<QString> onChange; // nullopt: the account's setting
    bool history = false;
    // The help text (ShowHelp), the version line (ShowVersion) or what was
    // wrong (Fail).
    QString message;

    // Whether the raw command line asks only for words, answered without a
    // window system: help ("-h", "--help", "-?", "--help-all") or the
    // version ("-v", "--version").
    static bool AnswersWithoutDisplay(int argc, char **argv);

    // Reads the arguments (the program's name first).
    static ProgramOptions Parse(const QStringList &arguments, Program program = Program::Window);

    // Puts the options in force: the service configuration, the settings
    // store's file and the log folder.
    void Apply() const;

    // For ShowHelp, ShowVersion and Fail: prints the message (help and version
    // to standard output, errors to standard error) and returns the exit code,
    // 0 or 2.
    int Report() const;
};
