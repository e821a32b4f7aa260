#include "SignalWatcher.h"

#include <QMetaObject>

#include <atomic>
#include <windows.h>

// Windows has no signals to end a console program: Ctrl-C, Ctrl-Break,
// closing the console window, logging off and shutting down reach it as
// console control events instead, each on a thread of its own that the
// system starts for the handler. The handler posts the stop to the event
// loop and lets the program end there; nothing asks for a reload (to read
// the settings again, the program is restarted).

namespace {

std::atomic<SignalWatcher *> g_watcher = nullptr;

BOOL WINAPI onControl(DWORD event)
{
    SignalWatcher *watcher = g_watcher.load();
    if (!watcher)
        return FALSE; // the default: the process ends at once
    QMetaObject::invokeMethod(watcher, &SignalWatcher::stopRequested, Qt::QueuedConnection);
    switch (event) {
    case CTRL_C_EVENT:
    case CTRL_BREAK_EVENT:
        return TRUE;
    default:
        // The console is closing, or the session ends: the process ends as
        // soon as this handler returns, so it does not return. The program
        // finishes its exchanges and exits while this thread waits (Windows
        // allows a few seconds for it).
        Sleep(INFINITE);
        return TRUE;
    }
}

} // namespace

SignalWatcher::SignalWatcher(QObject *parent) : QObject(parent)
{
    g_watcher = this;
    SetConsoleCtrlHandler(onControl, TRUE);
}

SignalWatcher::~SignalWatcher()
{
    SetConsoleCtrlHandler(onControl, FALSE);
    g_watcher = nullptr;
}
