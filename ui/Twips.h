#pragma once

#include <QRect>

class QWidget;

// Lengths in the window layouts are twips (1/1440 inch). This is the one
// conversion to pixels: 15 twips a pixel at 96 dpi, scaled by the screen's
// logical DPI.
namespace Twips {

// Logical dots per inch used by the conversion (96 without a screen).
double Dpi();
int ToPixels(int twips);
int FromPixels(int pixels);
QRect ToPixels(int left, int top, int width, int height);

// Geometry of a widget (relative to its parent) in twips.
int Left(const QWidget *w);
int Top(const QWidget *w);
int Width(const QWidget *w);
int Height(const QWidget *w);

// Moves and sizes a widget, all four lengths in twips (a negative size is
// taken as 0).
void Move(QWidget *w, int left, int top, int width, int height);

} // namespace Twips
