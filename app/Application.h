#pragma once

#include <QApplication>

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
};
