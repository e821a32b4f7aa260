#include "Application.h"

#include "Icons.h"
#include "RuntimeError.h"
#include "Version.h"
#include "Windows.h"
#include "basErr.h"
#include "frmMain.h"

#include <QPointer>
#include <QStyle>

#include <cstdio>
#include <cstdlib>

Application::Application(int &argc, char **argv) : QApplication(argc, argv)
{
    SetNames();
    // Qt's own choice of style, with the standard icons a window needs
    // while it is made drawn in code (see Icons::ProgramStyle).
    setStyle(Icons::ProgramStyle(style()->name()));
    setWindowIcon(Icons::Application());
}

void Application::SetNames()
{
    Version::NameTheProgram();
}

namespace {

[[noreturn]] void endProgram(const RuntimeError &error)
{
    // An error while the report itself is up ends the program at once.
    static bool reporting = false;
    if (!reporting) {
        reporting = true;
        basErr::ReportUnhandled(error);
    }
    std::fflush(nullptr);
    // Nothing of the program may run after an unhandled error: no event loop
    // returns to the code that was waiting in it. Settings and logs are
    // written through at once, so nothing is left to save.
    std::_Exit(1);
}

} // namespace

Application::StartUp Application::LoadMainWindow(frmMain &main)
{
    const QPointer<frmMain> window(&main);
    try {
        main.Form_Load();
    } catch (const std::exception &e) {
        basErr::ReportUnhandled(RuntimeError::From(e));
        return StartUp::Failed;
    }
    if (Windows::Loaded().isEmpty())
        return StartUp::Exited;
    if (window && window->Started())
        return StartUp::Started;
    basErr::LogOnly(
        QStringLiteral("frmMain.form_load()"),
        RuntimeError(ErrorNumber::Internal, QStringLiteral("The start-up ended without a window; "
                                                           "the program ends.")));
    return StartUp::Failed;
}

bool Application::notify(QObject *receiver, QEvent *event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception &e) {
        endProgram(RuntimeError::From(e));
    } catch (...) {
        endProgram(RuntimeError(ErrorNumber::Internal, QStringLiteral("Unknown error")));
    }
}
