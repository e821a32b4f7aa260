#include "Contrast.h"

#include <QEvent>
#include <QPalette>
#include <QWidget>
#include <algorithm>
#include <cmath>

namespace Contrast {
namespace {

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

// Keeps its widget's text readable: the widget's palette is set again
// whenever it changes, which it does when the desktop's palette does.
class ReadableText : public QObject
{
public:
    ReadableText(QWidget *widget, const QColor &colour) : QObject(widget), m_colour(colour)
    {
        widget->installEventFilter(this);
    }

    void setColour(const QColor &colour)
    {
        m_colour = colour;
        apply();
    }

    void apply()
    {
        auto *widget = static_cast<QWidget *>(parent());
        QPalette palette = widget->palette();
        const QColor shown = Readable(m_colour, palette);
        if (palette.color(QPalette::Active, QPalette::WindowText) == shown &&
            palette.isBrushSet(QPalette::Active, QPalette::WindowText))
            return;
        palette.setColor(QPalette::WindowText, shown);
        widget->setPalette(palette);
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == parent() && event->type() == QEvent::PaletteChange)
            apply();
        return false;
    }

private:
    QColor m_colour;
};

} // namespace

double Luminance(const QColor &colour)
{
    const QColor rgb = colour.toRgb();
    return 0.2126 * linear(rgb.redF()) + 0.7152 * linear(rgb.greenF()) +
           0.0722 * linear(rgb.blueF());
}

double Ratio(const QColor &a, const QColor &b)
{
    const double la = Luminance(a), lb = Luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

bool IsDark(const QPalette &palette)
{
    return Luminance(palette.color(QPalette::Window)) <
           Luminance(palette.color(QPalette::WindowText));
}

QColor Readable(const QColor &colour, const QPalette &palette)
{
    if (!IsDark(palette))
        return colour;
    const QColor window = palette.color(QPalette::Window);
    const QColor hsl = colour.toHsl();
    // Lighter tones of the hue, in steps of 1/100 of the lightness scale;
    // white at the end stands out from any dark window.
    for (double lightness = hsl.lightnessF(); lightness < 1.0; lightness += 0.01) {
        const QColor tone =
            QColor::fromHslF(std::max(hsl.hslHueF(), 0.0f), hsl.hslSaturationF(), float(lightness))
                .toRgb();
        if (Ratio(tone, window) >= MinimumRatio)
            return tone;
    }
    return QColor(Qt::white);
}

void KeepReadable(QWidget *widget, const QColor &colour)
{
    ReadableText *keeper = nullptr;
    for (QObject *child : widget->children()) {
        if ((keeper = dynamic_cast<ReadableText *>(child)))
            break;
    }
    if (!keeper)
        keeper = new ReadableText(widget, colour);
    keeper->setColour(colour);
}

} // namespace Contrast
