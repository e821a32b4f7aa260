#include "PictureButton.h"

#include "Contrast.h"
#include "Icons.h"
#include "Twips.h"

#include <QEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>
#include <QStylePainter>

CaptionLabel::CaptionLabel(const QString &objectName, const QString &caption, QWidget *parent)
    : QLabel(caption, parent)
{
    setObjectName(objectName);
    setAlignment(Qt::AlignCenter);
    setCursor(Qt::PointingHandCursor);
}

void CaptionLabel::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        emit pressed();
    QLabel::mousePressEvent(event);
}

void CaptionLabel::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        emit released();
        if (rect().contains(event->position().toPoint()))
            emit clicked();
    }
    QLabel::mouseReleaseEvent(event);
}

void CaptionLabel::setKeyboardReachable(bool reachable)
{
    setFocusPolicy(reachable ? Qt::StrongFocus : Qt::NoFocus);
}

void CaptionLabel::keyPressEvent(QKeyEvent *event)
{
    if (focusPolicy() != Qt::NoFocus && !event->isAutoRepeat() &&
        (event->key() == Qt::Key_Space || event->key() == Qt::Key_Return ||
         event->key() == Qt::Key_Enter)) {
        event->accept();
        emit clicked();
        return;
    }
    QLabel::keyPressEvent(event);
}

void CaptionLabel::paintEvent(QPaintEvent *event)
{
    QLabel::paintEvent(event);
    if (!hasFocus())
        return;
    QStylePainter painter(this);
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.backgroundColor = palette().color(QPalette::Window);
    painter.drawPrimitive(QStyle::PE_FrameFocusRect, option);
}

LogoLabel::LogoLabel(const QString &objectName, QWidget *parent) : QLabel(parent)
{
    setObjectName(objectName);
    Contrast::KeepReadable(this, Icons::WordmarkColour());
}

void LogoLabel::paintEvent(QPaintEvent *event)
{
    QLabel::paintEvent(event);
    const QColor wordmark = palette().color(QPalette::WindowText);
    const qreal ratio = devicePixelRatioF();
    if (m_logo.isNull() || m_logo.deviceIndependentSize() != QSizeF(size()) ||
        m_logo.devicePixelRatio() != ratio || m_wordmark != wordmark) {
        m_logo = Icons::Logo(size(), wordmark, ratio);
        m_wordmark = wordmark;
    }
    QPainter painter(this);
    painter.drawPixmap(0, 0, m_logo);
}

void NameHelpPicture(QWidget *picture)
{
    picture->setAccessibleName(QStringLiteral("Help"));
    picture->setAccessibleDescription(
        picture->toolTip().isEmpty() ? QStringLiteral("Help for this panel.") : picture->toolTip());
    if (auto *acts = qobject_cast<CaptionLabel *>(picture))
        acts->setKeyboardReachable(true);
}

void MakeLink(CaptionLabel *label)
{
    QFont font = label->font();
    font.setUnderline(true);
    label->setFont(font);
    Contrast::KeepReadable(label, Icons::LinkColour());
    label->setCursor(Icons::Hand());
    label->setKeyboardReachable(true);
}

PictureButton::PictureButton(const QString &objectName, const QString &labelName,
                             const QString &caption, QWidget *parent)
    : QPushButton(parent), m_label(new CaptionLabel(labelName, caption, parent))
{
    setObjectName(objectName);
    setFlat(true);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    // Return and Enter click the button that has the focus, as Space does,
    // in any window: a window's own Return (its default action) is for keys
    // that no button took.
    setAutoDefault(true);
    // The caption is drawn by a label over the picture: a screen reader
    // hears it from the button itself.
    QString name = caption;
    name.remove(QLatin1Char('&'));
    setAccessibleName(name);
    setAccessibleDescription(name + QStringLiteral(" button"));
    setPicture(QStringLiteral("ButtonUp"));
    QFont font = m_label->font();
    font.setBold(true);
    m_label->setFont(font);
    // White on the picture in every state; a label fills no background of
    // its own. A palette, not a style sheet: a style sheet gives every
    // caption a style of its own, a cost paid at each window's start.
    QPalette palette = m_label->palette();
    palette.setColor(QPalette::WindowText, Qt::white);
    m_label->setPalette(palette);
    m_label->setAutoFillBackground(false);

    connect(this, &QPushButton::pressed, this, [this] { setPicture(QStringLiteral("ButtonDwn")); });
    connect(this, &QPushButton::released, this, [this] { setPicture(QStringLiteral("ButtonUp")); });
    connect(m_label, &CaptionLabel::pressed, this,
            [this] { setPicture(QStringLiteral("ButtonDwn")); });
    connect(m_label, &CaptionLabel::released, this,
            [this] { setPicture(QStringLiteral("ButtonUp")); });
}

void PictureButton::setPicture(const QString &resourceName)
{
    m_picture = resourceName;
    update();
}

void PictureButton::place(int left, int top, int width, int height)
{
    Twips::Move(this, left, top, width, height);
}

void PictureButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(rect(), Icons::Picture(m_picture, size(), devicePixelRatioF()));
    if (hasFocus()) {
        painter.setPen(QPen(Qt::white, 1, Qt::DotLine));
        painter.drawRoundedRect(rect().adjusted(3, 3, -4, -4), 3, 3);
    }
}

void PictureButton::followButton()
{
    m_label->setGeometry(geometry());
    m_label->setVisible(isVisible() || (!isHidden() && !parentWidget()->isVisible()));
    m_label->setEnabled(isEnabled());
    m_label->raise();
}

void PictureButton::moveEvent(QMoveEvent *event)
{
    QPushButton::moveEvent(event);
    followButton();
}

void PictureButton::resizeEvent(QResizeEvent *event)
{
    QPushButton::resizeEvent(event);
    followButton();
}

void PictureButton::showEvent(QShowEvent *event)
{
    QPushButton::showEvent(event);
    followButton();
}

void PictureButton::hideEvent(QHideEvent *event)
{
    QPushButton::hideEvent(event);
    if (isHidden())
        m_label->hide();
}

void PictureButton::changeEvent(QEvent *event)
{
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::EnabledChange)
        m_label->setEnabled(isEnabled());
}
