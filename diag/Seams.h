#pragma once

#include <QDateTime>
#include <QString>
#include <QUrl>
#include <functional>

// Every side effect that a test must see or stop goes through one of these.
// The program installs the real ones at start-up (message boxes and the
// shell's Open live in the widget layer); tests install recorders.
namespace Seams {

enum class Buttons { Ok, YesNo };
enum class Answer { Ok, Yes, No };

using MessageBoxFn =
    std::function<Answer(const QString &text, Buttons buttons, const QString &title)>;
using ClockFn = std::function<QDateTime()>;
using SleepFn = std::function<void(int milliseconds)>;
using ShellOpenFn = std::function<void(const QUrl &url)>;

// The program's default title for message boxes.
QString DefaultTitle();

// A modal message box. Yes is the default button of a Yes/No question.
Answer MsgBox(const QString &text, Buttons buttons = Buttons::Ok,
              const QString &title = DefaultTitle());
// The present local date and time.
QDateTime Now();
// Milliseconds on a steady clock from an arbitrary start: lengths of time
// without reading the local time (and the time zone). A clock set with
// setClock() drives it too, so that time moves as the test moves it.
qint64 SteadyMs();
// Waits, blocking the caller.
void Sleep(int milliseconds);
// Opens a web page in the user's browser.
void ShellOpen(const QUrl &url);

void setMessageBox(MessageBoxFn fn);
void setClock(ClockFn fn);
void setSleep(SleepFn fn);
void setShellOpen(ShellOpenFn fn);
// Back to the built-in behaviour of every seam.
void reset();

} // namespace Seams
