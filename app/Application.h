#pragma once

#include <QApplication>

class frmMain;

// The program's application object: names the program for its settings and
// folders, and is the top level for errors. A run-time error (or any other
// exception) that no procedure trapped reaches notify(); it is reported in a
// message box and the program ends with exit code 1.
class Application : public QApplication
{
    Q_OBJECT

public:
    Application(int &argc, char **argv);

    bool notify(QObject *receiver, QEvent *event) override;

    // Sets the names that settings, folders and window titles use:
    // "VeltrioDNS" by "Veltrio", shown as "Veltrio".
    static void SetNames();

    // How the main window's load ended.
    enum class StartUp { Started, Exited, Failed };
    // Runs the main window's load, which runs before the event loop: an
    // error that leaves it gets the report an event handler's would. A
    // start-up that ends with neither a window nor Exit (the load trapped an
    // error) is logged and fails; the program then ends instead of running
    // on with no window.
    static StartUp LoadMainWindow(frmMain &main);
};
