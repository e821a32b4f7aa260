#include "Seams.h"

#include "Foreground.h"

#include <QElapsedTimer>
#include <QThread>
#include <cstdio>

namespace Seams {
namespace {

// Without a window system the built-in message box only tells stderr and
// answers with the default button.
Answer consoleMessageBox(const QString &text, Buttons buttons, const QString &title)
{
    std::fprintf(stderr, "[%s] %s\n", qPrintable(title), qPrintable(text));
    return buttons == Buttons::YesNo ? Answer::Yes : Answer::Ok;
}

void consoleShellOpen(const QUrl &url)
{
    std::fprintf(stderr, "open: %s\n", qPrintable(url.toString()));
}

struct Installed
{
    MessageBoxFn messageBox = consoleMessageBox;
    ClockFn clock = [] { return QDateTime::currentDateTime(); };
    std::function<qint64()> steady = [] {
        static const QElapsedTimer since = [] {
            QElapsedTimer timer;
            timer.start();
            return timer;
        }();
        return since.elapsed();
    };
    SleepFn sleep = [](int ms) { QThread::msleep(static_cast<unsigned long>(ms)); };
    ShellOpenFn shellOpen = consoleShellOpen;
};

Installed &installed()
{
    static Installed seams;
    return seams;
}

} // namespace

QString DefaultTitle()
{
    return QStringLiteral("Veltrio");
}

Answer MsgBox(const QString &text, Buttons buttons, const QString &title)
{
    // The box waits for a person: background work waits until it closes.
    const Foreground::Scope box;
    return installed().messageBox(text, buttons, title);
}

QDateTime Now()
{
    return installed().clock();
}

qint64 SteadyMs()
{
    return installed().steady();
}

void Sleep(int milliseconds)
{
    installed().sleep(milliseconds);
}

void ShellOpen(const QUrl &url)
{
    installed().shellOpen(url);
}

void setMessageBox(MessageBoxFn fn)
{
    installed().messageBox = std::move(fn);
}

void setClock(ClockFn fn)
{
    installed().clock = std::move(fn);
    installed().steady = [] { return installed().clock().toMSecsSinceEpoch(); };
}

void setSleep(SleepFn fn)
{
    installed().sleep = std::move(fn);
}

void setShellOpen(ShellOpenFn fn)
{
    installed().shellOpen = std::move(fn);
}

void reset()
{
    installed() = Installed{};
}

} // namespace Seams
