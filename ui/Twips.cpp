#include "Twips.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <algorithm>
#include <cmath>

namespace Twips {

double Dpi()
{
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        return screen->logicalDotsPerInchX();
    return 96.0;
}

int ToPixels(int twips)
{
    return static_cast<int>(std::lround(twips * Dpi() / 1440.0));
}

int FromPixels(int pixels)
{
    return static_cast<int>(std::lround(pixels * 1440.0 / Dpi()));
}

QRect ToPixels(int left, int top, int width, int height)
{
    return QRect(ToPixels(left), ToPixels(top), ToPixels(std::max(width, 0)),
                 ToPixels(std::max(height, 0)));
}

int Left(const QWidget *w)
{
    return FromPixels(w->x());
}

int Top(const QWidget *w)
{
    return FromPixels(w->y());
}

int Width(const QWidget *w)
{
    return FromPixels(w->width());
}

int Height(const QWidget *w)
{
    return FromPixels(w->height());
}

void Move(QWidget *w, int left, int top, int width, int height)
{
    w->setGeometry(ToPixels(left, top, width, height));
}

} // namespace Twips
