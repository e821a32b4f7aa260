#include "Icons.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

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

QPixmap Picture(const QString &resourceName, const QSize &size)
{
    QPixmap pm(size.isEmpty() ? QSize(80, 24) : size);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    const bool down = resourceName == QLatin1String("ButtonDwn");
    QLinearGradient g(0, 0, 0, pm.height());
    g.setColorAt(0, down ? kBlueDark : kBlueLight);
    g.setColorAt(1, down ? kBlue : kBlueDark);
    p.setBrush(g);
    p.setPen(QPen(kBlueDark.darker(130), 1));
    p.drawRoundedRect(QRectF(pm.rect()).adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
    return pm;
}

QPixmap Logo(const QSize &size)
{
    QPixmap pm(size);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    const int side = std::min(size.width(), size.height());
    drawMark(p, QRectF(0, 0, side, side), kBlue);
    if (size.width() > side + 20) {
        QFont f = p.font();
        f.setBold(true);
        f.setPixelSize(std::max(10, side / 2));
        p.setFont(f);
        p.setPen(kBlueDark);
        p.drawText(QRectF(side + 6, 0, size.width() - side - 6, side),
                   Qt::AlignVCenter | Qt::AlignLeft, QStringLiteral("Veltrio"));
    }
    return pm;
}

static QIcon trayIcon(const QColor &fill)
{
    QIcon icon;
    for (int side : {16, 22, 24, 32, 48, 64}) {
        QPixmap pm(side, side);
        pm.fill(Qt::transparent);
        QPainter p(&pm);
        drawMark(p, QRectF(0, 0, side, side), fill);
        p.end();
        icon.addPixmap(pm);
    }
    return icon;
}

QIcon TrayOn()
{
    return trayIcon(QColor(0x1e, 0x8c, 0x3a));
}

QIcon TrayOff()
{
    return trayIcon(QColor(0xb0, 0x1e, 0x1e));
}

QIcon Application()
{
    return trayIcon(kBlue);
}

QCursor Hand()
{
    return QCursor(Qt::PointingHandCursor);
}

} // namespace Icons
