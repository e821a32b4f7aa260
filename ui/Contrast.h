#pragma once

#include <QColor>

class QPalette;
class QWidget;

// Text colours that stay readable on the desktop's palette. The windows'
// own colours (the green and red of the connection status, the link blue,
// the expiry notice's red, the wordmark's blue) are used as they are on a
// light palette; on a dark one (a window darker than its text) the same hue
// is drawn lighter, in the first tone that stands out from the window by
// at least MinimumRatio.
namespace Contrast {

// The usual floor for normal text.
inline constexpr double MinimumRatio = 4.5;

// Relative luminance, 0 (black) to 1 (white), of the sRGB colour.
double Luminance(const QColor &colour);
// Contrast ratio of two colours, 1 to 21.
double Ratio(const QColor &a, const QColor &b);
// Whether the palette's window is darker than its text.
bool IsDark(const QPalette &palette);
// colour on a light palette; on a dark one its readable lighter tone.
QColor Readable(const QColor &colour, const QPalette &palette);

// Draws the widget's text (its WindowText) in colour, or in the readable
// tone of it, now and whenever its palette changes, the desktop's included.
void KeepReadable(QWidget *widget, const QColor &colour);

} // namespace Contrast
