#pragma once

#include <QObject>
#include <functional>

// The user's work in progress: a command waiting for the service, a modal
// box, the login window, a pop-up menu. Each of them holds a Scope while it
// runs; background work never starts inside one (timer events still arrive
// through the nested event loops these run) but waits until the last scope
// has closed and control is back in the event loop.
namespace Foreground {

class Scope
{
public:
    Scope();
    ~Scope();
    Scope(const Scope &) = delete;
    Scope &operator=(const Scope &) = delete;
};

// Whether a scope is open.
bool Busy();

// Runs fn once no scope is open, from the event loop (never from inside the
// caller), unless context is gone by then. Several waiting calls run in the
// order they were made.
void WhenIdle(QObject *context, std::function<void()> fn);

} // namespace Foreground
