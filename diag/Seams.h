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
// Whether the clock is not the system's (a test set its own). Code that
// measures a length of time on a steady clock of its own, to spare reading
// the local time, reads Now() instead while this is so.
bool ClockReplaced();
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
