#pragma once

#include <QCursor>
#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <QString>

class QStyle;

// The program's pictures, drawn in code: the picture buttons ("ButtonUp",
// "ButtonDwn"), the logo, the help picture, the tray icons and the link
// cursor. Nothing is read from a file: no icon theme is parsed and no image
// plugin is loaded for them.
namespace Icons {

// Pictures of size (in logical pixels) drawn for a screen of pixelRatio
// device pixels to one.
QPixmap Picture(const QString &resourceName, const QSize &size, qreal pixelRatio = 1.0);
// The mark and the wordmark "Veltrio" beside it, in wordmark's colour.
QPixmap Logo(const QSize &size, const QColor &wordmark, qreal pixelRatio = 1.0);
QColor WordmarkColour();
// The colour of the windows' web links.
QColor LinkColour();
// A question mark in a speech bubble, side logical pixels square, drawn at
// the screens' highest pixel ratio.
QPixmap Help(int side);
// The mark in the program's colours. Drawn at the size asked for when it is
// asked for (the window system asks for a tray icon's size, or a window
// icon's few sizes), not beforehand.
QIcon TrayOn();  // the service answered
QIcon TrayOff(); // the service could not be reached
QIcon Application();
QCursor Hand();

// The style the program runs with: the one Qt chose (styleKey), except that
// the standard icons a window asks for while it is made (the menu bar's
// extension arrow, the question mark) are drawn here rather than looked up
// in the icon theme, which would parse the theme and load every image plugin
// on the way. The caller owns it (QApplication::setStyle takes it).
QStyle *ProgramStyle(const QString &styleKey);

} // namespace Icons
