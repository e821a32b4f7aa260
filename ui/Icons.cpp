#include "Icons.h"

#include <QApplication>
#include <QFrame>
#include <QIconEngine>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>
#include <QProxyStyle>
#include <QStyleOption>

namespace Icons {
namespace {

const QColor kBlue(0x1f, 0x5f, 0xa8);
const QColor kBlueLight(0x4a, 0x8f, 0xdb);
const QColor kBlueDark(0x12, 0x3c, 0x70);

// A globe-like round badge with a signal arc: the product's mark.
void drawMark(QPainter &p, const QRectF &r, const QColor &fill)
{
    p.setRenderHint(QPainter::Antialiasing);
    QRadialGradient g(r.center() - QPointF(r.width() / 6, r.height() / 6), r.width() / 1.6);
    g.setColorAt(0, fill.lighter(150));
    g.setColorAt(1, fill);
    p.setBrush(g);
    p.setPen(QPen(fill.darker(160), std::max(1.0, r.width() / 24)));
    p.drawEllipse(r.adjusted(1, 1, -1, -1));
    p.setPen(QPen(Qt::white, std::max(1.5, r.width() / 12), Qt::SolidLine, Qt::RoundCap));
    p.setBrush(Qt::NoBrush);
    const QRectF inner =
        r.adjusted(r.width() * 0.28, r.height() * 0.28, -r.width() * 0.28, -r.height() * 0.28);
    // A "V" for Veltrio.
    QPainterPath v;
    v.moveTo(inner.left(), inner.top());
    v.lineTo(inner.center().x(), inner.bottom());
    v.lineTo(inner.right(), inner.top());
    p.drawPath(v);
}

} // namespace

QPixmap Picture(const QString &resourceName, const QSize &size, qreal pixelRatio)
{
    const QSize logical = size.isEmpty() ? QSize(80, 24) : size;
    QPixmap pm(logical * pixelRatio);
    pm.setDevicePixelRatio(pixelRatio);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    const bool down = resourceName == QLatin1String("ButtonDwn");
    QLinearGradient g(0, 0, 0, logical.height());
    g.setColorAt(0, down ? kBlueDark : kBlueLight);
    g.setColorAt(1, down ? kBlue : kBlueDark);
    p.setBrush(g);
    p.setPen(QPen(kBlueDark.darker(130), 1));
    p.drawRoundedRect(QRectF(QPointF(0, 0), QSizeF(logical)).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
    return pm;
}

QColor WordmarkColour()
{
    return kBlueDark;
}

QColor LinkColour()
{
    return kBlue;
}

QPixmap Logo(const QSize &size, const QColor &wordmark, qreal pixelRatio)
{
    QPixmap pm(size * pixelRatio);
    pm.setDevicePixelRatio(pixelRatio);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    const int side = std::min(size.width(), size.height());
    drawMark(p, QRectF(0, 0, side, side), kBlue);
    if (size.width() > side + 20) {
        QFont f = p.font();
        f.setBold(true);
        f.setPixelSize(std::max(10, side / 2));
        p.setFont(f);
        p.setPen(wordmark);
        p.drawText(QRectF(side + 6, 0, size.width() - side - 6, side),
                   Qt::AlignVCenter | Qt::AlignLeft, QStringLiteral("Veltrio"));
    }
    return pm;
}

namespace {

// An icon painted on request, at the size asked for: nothing is drawn
// before a window or the tray needs a pixmap of it. The pixmaps drawn are
// kept in the pixmap cache under the icon's name and size.
class PaintedIconEngine : public QIconEngine
{
public:
    using Painter = void (*)(QPainter &p, const QRectF &r, const QColor &colour);

    PaintedIconEngine(QString name, Painter paint, QColor colour)
        : m_name(std::move(name)), m_paint(paint), m_colour(colour)
    {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override
    {
        const int side = std::min(rect.width(), rect.height());
        painter->save();
        m_paint(*painter, QRectF(rect.x(), rect.y(), side, side), m_colour);
        painter->restore();
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        if (size.isEmpty())
            return QPixmap();
        const QString cacheKey = QStringLiteral("veltrio:%1:%2:%3x%4:%5")
                                     .arg(m_name)
                                     .arg(m_colour.rgba())
                                     .arg(size.width())
                                     .arg(size.height())
                                     .arg(int(mode));
        QPixmap pm;
        if (QPixmapCache::find(cacheKey, &pm))
            return pm;
        const QSize largest = availableSizes(mode, state).constLast();
        if (mode == QIcon::Normal && size.width() == size.height() &&
            size.width() < largest.width()) {
            // A window's icon is asked for at every listed size at once:
            // the smaller ones are the largest, drawn once, scaled down.
            pm = pixmap(largest, mode, state)
                     .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        } else {
            pm = QPixmap(size);
            pm.fill(Qt::transparent);
            QPainter p(&pm);
            paint(&p, QRect(QPoint(0, 0), size), mode, state);
        }
        // A disabled or selected icon looks as the style makes any other.
        if (mode != QIcon::Normal && qobject_cast<QApplication *>(QCoreApplication::instance())) {
            QStyleOption option;
            option.palette = QGuiApplication::palette();
            const QPixmap generated = QApplication::style()->generatedIconPixmap(mode, pm, &option);
            if (!generated.isNull())
                pm = generated;
        }
        QPixmapCache::insert(cacheKey, pm);
        return pm;
    }

    // The sizes a window system that wants a list (an X11 window icon) gets.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        return {QSize(16, 16), QSize(22, 22), QSize(24, 24),
                QSize(32, 32), QSize(48, 48), QSize(64, 64)};
    }

    QIconEngine *clone() const override { return new PaintedIconEngine(m_name, m_paint, m_colour); }
    QString key() const override { return QStringLiteral("VeltrioPainted"); }

private:
    QString m_name;
    Painter m_paint;
    QColor m_colour;
};

QIcon markIcon(const char *name, const QColor &fill)
{
    return QIcon(new PaintedIconEngine(QLatin1String(name), &drawMark, fill));
}

// The menu bar's "more" arrow: two chevrons pointing the way the hidden
// entries are, right (left in a right-to-left layout) or down.
void drawChevrons(QPainter &p, const QRectF &r, const QColor &colour, bool down)
{
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(
        QPen(colour, std::max(1.0, r.width() / 10), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    const QRectF box =
        r.adjusted(r.width() * 0.25, r.height() * 0.25, -r.width() * 0.25, -r.height() * 0.25);
    const bool left = !down && QGuiApplication::isRightToLeft();
    for (int i = 0; i < 2; ++i) {
        const qreal step = (down ? box.height() : box.width()) / 2 * i;
        QPainterPath chevron;
        if (down) {
            chevron.moveTo(box.left(), box.top() + step);
            chevron.lineTo(box.center().x(), box.top() + step + box.height() / 2);
            chevron.lineTo(box.right(), box.top() + step);
        } else {
            const qreal tip = left ? box.left() + step : box.left() + step + box.width() / 2;
            const qreal tail = left ? tip + box.width() / 2 : tip - box.width() / 2;
            chevron.moveTo(tail, box.top());
            chevron.lineTo(tip, box.center().y());
            chevron.lineTo(tail, box.bottom());
        }
        p.drawPath(chevron);
    }
}

// The line the base style draws round a panel, found by letting it draw
// one into a few pixels at a ratio of one.
QColor panelLine(const QStyle *base, const QStyleOption *option, const QWidget *widget)
{
    QImage probe(4, 4, QImage::Format_ARGB32_Premultiplied);
    probe.fill(Qt::transparent);
    QPainter p(&probe);
    QStyleOption small(*option);
    small.rect = probe.rect();
    base->drawPrimitive(QStyle::PE_Frame, &small, &p, widget);
    p.end();
    return probe.pixelColor(0, 2);
}

class ProgramStyleImpl : public QProxyStyle
{
public:
    using QProxyStyle::QProxyStyle;

    // At a fractional scale (1.25, 1.5) the base style's one-pixel panel
    // lines fall between device pixels and parts of them drop out. There
    // the same line is drawn as four strips of whole device pixels inside
    // the panel.
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        const QTransform toDevice = painter->deviceTransform();
        const qreal scale = toDevice.m11();
        if (element != PE_Frame || !qobject_cast<const QFrame *>(widget) ||
            widget->inherits("QComboBoxPrivateContainer") || scale == std::floor(scale) ||
            !toDevice.isAffine() || toDevice.m12() != 0 || toDevice.m21() != 0) {
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            return;
        }
        const QTransform toLogical = toDevice.inverted();
        const QRectF area = toDevice.mapRect(QRectF(option->rect));
        const qreal left = std::ceil(area.left() - 0.01), top = std::ceil(area.top() - 0.01);
        const qreal right = std::floor(area.right() + 0.01);
        const qreal bottom = std::floor(area.bottom() + 0.01);
        const qreal line = std::max<qreal>(1, std::round(scale));
        const QRectF strips[] = {
            QRectF(left, top, right - left, line), QRectF(left, bottom - line, right - left, line),
            QRectF(left, top, line, bottom - top), QRectF(right - line, top, line, bottom - top)};
        const QColor colour = panelLine(baseStyle(), option, widget);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing, false);
        for (const QRectF &strip : strips)
            painter->fillRect(toLogical.mapRect(strip), colour);
        painter->restore();
    }

    QIcon standardIcon(StandardPixmap which, const QStyleOption *option,
                       const QWidget *widget) const override
    {
        const QColor text = QGuiApplication::palette().color(QPalette::ButtonText);
        switch (which) {
        case SP_ToolBarHorizontalExtensionButton:
            return QIcon(new PaintedIconEngine(
                QStringLiteral("more-h"),
                [](QPainter &p, const QRectF &r, const QColor &c) { drawChevrons(p, r, c, false); },
                text));
        case SP_ToolBarVerticalExtensionButton:
            return QIcon(new PaintedIconEngine(
                QStringLiteral("more-v"),
                [](QPainter &p, const QRectF &r, const QColor &c) { drawChevrons(p, r, c, true); },
                text));
        default:
            return QProxyStyle::standardIcon(which, option, widget);
        }
    }
};

} // namespace

QPixmap Help(int side)
{
    // A white speech bubble with a blue question mark, as the style's own
    // question picture looks, drawn as lines rather than read from a file
    // or set in a font. Drawn once per size.
    side = std::max(side, 1);
    const qreal ratio = qGuiApp ? qGuiApp->devicePixelRatio() : 1.0;
    const QString cacheKey = QStringLiteral("veltrio:help:%1:%2").arg(side).arg(ratio);
    QPixmap pm;
    if (QPixmapCache::find(cacheKey, &pm))
        return pm;
    pm = QPixmap(QSize(side, side) * ratio);
    pm.setDevicePixelRatio(ratio);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(0, 0, side, side).adjusted(0.5, 0.5, -0.5, -0.5);
    const auto at = [&r](qreal x, qreal y) {
        return QPointF(r.left() + x * r.width(), r.top() + y * r.height());
    };
    const qreal w = r.width();
    // The tail, then the bubble over its root, then the tail's inside again
    // over the bubble's outline: one outline without joining the paths.
    const QPointF tail[] = {at(0.26, 0.62), at(0.2, 0.97), at(0.5, 0.74)};
    const QPen outline(QColor(0x50, 0x50, 0x50), std::max(1.0, w / 20));
    p.setPen(outline);
    p.setBrush(Qt::white);
    p.drawPolygon(tail, 3);
    p.drawEllipse(QRectF(at(0.04, 0.03), at(0.96, 0.8)));
    p.setPen(Qt::NoPen);
    const QPointF inside[] = {at(0.29, 0.62), at(0.23, 0.9), at(0.46, 0.72)};
    p.drawPolygon(inside, 3);

    const QColor blue(0x10, 0x20, 0xe0);
    QPainterPath hook;
    const QRectF bow(at(0.36, 0.13), QSizeF(0.28 * w, 0.24 * r.height()));
    hook.arcMoveTo(bow, 160);
    hook.arcTo(bow, 160, -220);
    hook.lineTo(at(0.5, 0.5));
    p.setPen(QPen(blue, std::max(1.5, w * 0.12), Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(hook);
    p.setPen(Qt::NoPen);
    p.setBrush(blue);
    p.drawEllipse(at(0.5, 0.64), w * 0.07, w * 0.07);
    p.end();
    QPixmapCache::insert(cacheKey, pm);
    return pm;
}

QIcon TrayOn()
{
    return markIcon("on", QColor(0x1e, 0x8c, 0x3a));
}

QIcon TrayOff()
{
    return markIcon("off", QColor(0xb0, 0x1e, 0x1e));
}

QIcon Application()
{
    return markIcon("application", kBlue);
}

QCursor Hand()
{
    return QCursor(Qt::PointingHandCursor);
}

QStyle *ProgramStyle(const QString &styleKey)
{
    return new ProgramStyleImpl(styleKey);
}

} // namespace Icons
