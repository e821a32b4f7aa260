#pragma once

#include <QList>
#include <QString>

class QWidget;

// The program's windows as a whole: which are loaded, and unloading them.
namespace Windows {

// Notes a new program window (object name "frm..."), so that Loaded() keeps
// the order of loading; the windows call it from their constructors. A
// window that does not is noted the first time Loaded() runs.
void Track(QWidget *window);
// The program's top-level windows that exist, in the order they were loaded.
QList<QWidget *> Loaded();
// Whether a loaded window of that object name exists (compared ignoring case).
QWidget *Find(const QString &objectName);
// Closes a window (running its close check) and deletes it; false when its
// close check refused.
bool Unload(QWidget *window);
// Counts a window that has closed as unloaded and deletes it once control is
// back in the event loop; a window that closes itself (its title bar's close
// button) calls it from its close event.
void Release(QWidget *window);

} // namespace Windows
