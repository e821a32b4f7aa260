#pragma once

#include <QCursor>
#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <QString>

// The program's pictures, drawn in code: the picture buttons ("ButtonUp",
// "ButtonDwn"), the logo, the tray icons and the link cursor.
namespace Icons {

QPixmap Picture(const QString &resourceName, const QSize &size);
QPixmap Logo(const QSize &size);
QIcon TrayOn();  // the service answered
QIcon TrayOff(); // the service could not be reached
QIcon Application();
QCursor Hand();

} // namespace Icons
