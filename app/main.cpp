// veltrio-dns: the Veltrio Dynamic DNS client.

#include "Application.h"
#include "ProgramOptions.h"
#include "UiSeams.h"
#include "Version.h"
#include "frmAbout.h"
#include "frmLogin.h"

int main(int argc, char *argv[])
{
    Application app(argc, argv);
    const ProgramOptions options = ProgramOptions::Parse(QCoreApplication::arguments());
    if (options.action != ProgramOptions::Action::Run)
        return options.Report();
    options.Apply();
    UiSeams::Install();
    frmLogin::SetAboutBox(&frmAbout::ShowModal);

    // Until the main window takes over the start, the program is its login
    // window, and it ends when that window closes.
    auto *login = new frmLogin;
    login->setWindowTitle(Version::LoginCaption());
    login->show();
    return app.exec();
}
