#include "MainWindowPort.h"

namespace {
MainWindowPort *registered = nullptr;
}

MainWindowPort *MainWindow()
{
    return registered;
}

void SetMainWindow(MainWindowPort *window)
{
    registered = window;
}
