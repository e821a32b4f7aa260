// veltrio-dnsd: the Veltrio Dynamic DNS client's service mode, with no window.

#include "ExchangeQueue.h"
#include "ProgramOptions.h"
#include "ServiceMode.h"
#include "SignalWatcher.h"
#include "Version.h"

#include <QCoreApplication>
#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    Version::NameTheProgram();

    const ProgramOptions options =
        ProgramOptions::Parse(QCoreApplication::arguments(), ProgramOptions::Program::ServiceMode);
    if (options.action != ProgramOptions::Action::Run)
        return options.Report() == 0 ? 0 : ServiceMode::SettingsUnusable;
    try {
        options.Apply();
    } catch (const std::exception &e) {
        std::fprintf(stderr, "Cannot use the configuration: %s\n", e.what());
        return ServiceMode::SettingsUnusable;
    }

    if (options.history)
        return ServiceMode::PrintHistory();

    const ServiceMode::Mode mode = options.once    ? ServiceMode::Mode::Once
                                   : options.check ? ServiceMode::Mode::Check
                                                   : ServiceMode::Mode::Run;
    ServiceMode service(mode, options.everySeconds);
    service.SetOnChangeCommand(options.onChange);
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::stopRequested, &service, &ServiceMode::Stop);
    QObject::connect(&watcher, &SignalWatcher::reloadRequested, &service, &ServiceMode::Reload);
    QObject::connect(&service, &ServiceMode::finished, &app, &QCoreApplication::exit);

    int status = 0;
    try {
        const std::optional<int> done = service.Start();
        status = done ? *done : app.exec();
    } catch (const std::exception &e) {
        std::fprintf(stderr, "veltrio-dnsd: %s\n", e.what());
        status = ServiceMode::CommandFailed;
    }
    // The exchanges already asked for still go out (the add after its
    // delete) if the service answers within a short grace; then they end,
    // and what did not go out stays owed in the journal.
    ExchangeQueue &queue = ExchangeQueue::Instance();
    if (!queue.Drain(ServiceMode::StopGraceMs))
        queue.AbortAll();
    return status;
}
