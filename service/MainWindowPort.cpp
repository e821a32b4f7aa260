#include "MainWindowPort.h"

namespace {
MainWindowPort *registered = nullptr;
}

MainWindowPort *RegisteredMainWindow()
{
    return registered;
}

void RegisterMainWindow(MainWindowPort *window)
{
    registered = window;
}
