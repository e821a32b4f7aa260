#include "Windows.h"

#include <QApplication>
#include <QPointer>
#include <QString>
#include <QWidget>

// The program's own windows are the top-level widgets whose object name
// starts with "frm" (message boxes, menus and pop-ups are not among them).
// Their order is the order in which this module first saw them; a window
// registers itself on creation with Windows::Track so that the order is the
// order of loading.
//
// Unloading closes the window (its close check runs) and deletes it once
// control is back in the event loop: the unload is usually asked for by one
// of the window's own controls, which must not vanish under its own handler.
// A window waiting for deletion no longer counts as loaded.

namespace Windows {
namespace {

const char *const kUnloaded = "veltrioUnloaded";

QList<QPointer<QWidget>> &seen()
{
    static QList<QPointer<QWidget>> windows;
    return windows;
}

bool isProgramWindow(const QWidget *w)
{
    return w && w->isWindow() && w->objectName().startsWith(QLatin1String("frm"));
}

bool isLoaded(const QWidget *w)
{
    return w && !w->property(kUnloaded).toBool();
}

void noteNewWindows()
{
    auto &windows = seen();
    windows.removeAll(QPointer<QWidget>());
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (isProgramWindow(w) && !windows.contains(w))
            windows.append(w);
    }
}

} // namespace

void Track(QWidget *window)
{
    if (window && !seen().contains(window))
        seen().append(window);
}

QList<QWidget *> Loaded()
{
    noteNewWindows();
    QList<QWidget *> loaded;
    for (const QPointer<QWidget> &w : std::as_const(seen())) {
        if (isLoaded(w))
            loaded.append(w.data());
    }
    return loaded;
}

QWidget *Find(const QString &objectName)
{
    for (QWidget *w : Loaded()) {
        if (w->objectName().compare(objectName, Qt::CaseInsensitive) == 0)
            return w;
    }
    return nullptr;
}

bool Unload(QWidget *window)
{
    if (!isLoaded(window))
        return true;
    const QPointer<QWidget> guard(window);
    if (!window->close())
        return false;
    Release(guard);
    return true;
}

void Release(QWidget *window)
{
    if (!isLoaded(window))
        return;
    window->setProperty(kUnloaded, true);
    window->deleteLater();
}

} // namespace Windows
