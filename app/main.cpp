// veltrio-dns: the Veltrio Dynamic DNS client.

#include "Application.h"
#include "ExchangeQueue.h"
#include "ProgramOptions.h"
#include "UiSeams.h"
#include "Windows.h"
#include "frmAbout.h"
#include "frmLogin.h"
#include "frmMain.h"

int main(int argc, char *argv[])
{
    // Help and the version need no window system: they are answered on a
    // machine without a display too. Everything else is read once Qt has taken its own options
    // (-platform, -style, ...) off the command line.
    if (ProgramOptions::AnswersWithoutDisplay(argc, argv)) {
        QCoreApplication commandLine(argc, argv);
        return ProgramOptions::Parse(QCoreApplication::arguments()).Report();
    }
    Application app(argc, argv);
    const ProgramOptions options = ProgramOptions::Parse(QCoreApplication::arguments());
    if (options.action != ProgramOptions::Action::Run)
        return options.Report();
    options.Apply();
    UiSeams::Install();
    frmLogin::SetAboutBox(&frmAbout::ShowModal);

    // The program starts at the main window: it logs in (the saved login or
    // the login window) and fills itself. Leaving the login window with Exit
    // leaves no window, and the program ends there.
    auto *main = new frmMain;
    int status = 0;
    switch (Application::LoadMainWindow(*main)) {
    case Application::StartUp::Started:
        status = app.exec();
        break;
    case Application::StartUp::Exited:
        break;
    case Application::StartUp::Failed:
        status = 1;
        break;
    }
    // An exchange already asked for still goes out (the add after a delete)
    // if the service answers within a short grace; what does not go out by
    // then stays owed in the refresh's journal for the next start.
    ExchangeQueue &queue = ExchangeQueue::Instance();
    if (!queue.Drain(5000))
        queue.AbortAll();
    return status;
}
