#include "Foreground.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>
#include <vector>

namespace Foreground {
namespace {

struct Waiting
{
    QPointer<QObject> context;
    std::function<void()> fn;
};

int depth = 0;
std::vector<Waiting> waiting;
bool runQueued = false;

void runWaiting();

// The waiting calls run from the event loop once the caller has returned.
void queueRun()
{
    if (runQueued || waiting.empty() || !QCoreApplication::instance())
        return;
    runQueued = true;
    QTimer::singleShot(0, QCoreApplication::instance(), runWaiting);
}

void runWaiting()
{
    runQueued = false;
    // A call may open a scope (a box) or ask to wait again; what is left
    // waits for the next time the user's work ends.
    while (depth == 0 && !waiting.empty()) {
        Waiting next = std::move(waiting.front());
        waiting.erase(waiting.begin());
        if (next.context)
            next.fn();
    }
}

} // namespace

Scope::Scope()
{
    ++depth;
}

Scope::~Scope()
{
    if (--depth == 0)
        queueRun();
}

bool Busy()
{
    return depth > 0;
}

void WhenIdle(QObject *context, std::function<void()> fn)
{
    waiting.push_back({context, std::move(fn)});
    if (depth == 0)
        queueRun();
}

} // namespace Foreground
