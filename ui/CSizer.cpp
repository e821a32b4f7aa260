#include "CSizer.h"

#include "RuntimeError.h"
#include "Twips.h"

#include <QWidget>
#include <algorithm>
#include <limits>

namespace {

constexpr int InitialCapacity = 10;
// A hidden panel's controls are moved this far to the left; anything at or
// left of half of it counts as parked off-screen.
constexpr int ParkOffset = 75000;
constexpr int ParkedLimit = -ParkOffset / 2;
// Controls that follow the height end this much shorter than their stored
// height plus the change; kept on purpose, the layout was drawn with it.
constexpr int HeightAllowance = 15;

int checkedAdd(int a, int b)
{
    int sum = 0;
    if (__builtin_add_overflow(a, b, &sum))
        throw RuntimeError::Of(ErrorNumber::Overflow);
    return sum;
}

int checkedSub(int a, int b)
{
    int difference = 0;
    if (__builtin_sub_overflow(a, b, &difference))
        throw RuntimeError::Of(ErrorNumber::Overflow);
    return difference;
}

qint16 toInteger16(int value)
{
    if (value < std::numeric_limits<qint16>::min() || value > std::numeric_limits<qint16>::max())
        throw RuntimeError::Of(ErrorNumber::Overflow);
    return static_cast<qint16>(value);
}

bool isParked(int left)
{
    return left <= ParkedLimit;
}

// Turns drawing of a widget off for its lifetime, also when placing fails.
class DrawingFreeze
{
public:
    explicit DrawingFreeze(QWidget *widget) : m_widget(widget)
    {
        m_widget->setUpdatesEnabled(false);
    }
    ~DrawingFreeze()
    {
        if (m_widget)
            m_widget->setUpdatesEnabled(true);
    }
    DrawingFreeze(const DrawingFreeze &) = delete;
    DrawingFreeze &operator=(const DrawingFreeze &) = delete;

private:
    QPointer<QWidget> m_widget;
};

} // namespace

void CSizer::Create(QWidget *container, int minHeight, int minWidth)
{
    m_container = container;
    m_parentForm = container ? container->window() : nullptr;
    m_refHeight = container ? Twips::Height(container) : 0;
    m_refWidth = container ? Twips::Width(container) : 0;
    m_minHeight = toInteger16(minHeight);
    m_minWidth = toInteger16(minWidth);
    m_children.clear();
    // Index 0 is never used: children are numbered from 1.
    m_rule = QVector<qint16>(InitialCapacity + 1, 0);
    m_left = m_top = m_height = m_width = QVector<int>(InitialCapacity + 1, 0);
}

void CSizer::grow()
{
    const qsizetype size = Capacity() * 2 + 1;
    m_rule.resize(size);
    m_left.resize(size);
    m_top.resize(size);
    m_height.resize(size);
    m_width.resize(size);
}

void CSizer::Add(QWidget *child, int rule)
{
    if (!child)
        throw RuntimeError::Of(ErrorNumber::InvalidArgument);
    if (m_rule.isEmpty()) // Create has not sized the arrays yet
        throw RuntimeError::Of(ErrorNumber::SubscriptOutOfRange);
    const qint16 storedRule = toInteger16(rule);
    if (Count() >= Capacity())
        grow();
    m_children.append(child);
    const int n = Count();
    m_rule[n] = storedRule;
    m_top[n] = Twips::Top(child);
    m_height[n] = Twips::Height(child);
    m_width[n] = Twips::Width(child);
    const int left = Twips::Left(child);
    // A control registered on a hidden panel is remembered where it will
    // stand once the panel is shown.
    m_left[n] = isParked(left) ? left + ParkOffset : left;
}

void CSizer::Resize()
{
    if (!m_container || !m_parentForm)
        return;
    if (m_parentForm->windowState() & Qt::WindowMinimized)
        return;

    DrawingFreeze freeze(m_container);

    if (Twips::Height(m_container) < m_minHeight)
        m_container->resize(m_container->width(), Twips::ToPixels(m_minHeight));
    if (Twips::Width(m_container) < m_minWidth)
        m_container->resize(Twips::ToPixels(m_minWidth), m_container->height());

    const int dH = checkedSub(Twips::Height(m_container), m_refHeight);
    const int dW = checkedSub(Twips::Width(m_container), m_refWidth);

    for (int n = 1; n <= Count(); ++n) {
        QWidget *child = m_children.at(n - 1);
        if (!child) // destroyed since it was registered
            continue;
        int left = Twips::Left(child);
        if (isParked(left))
            continue;
        int top = Twips::Top(child);
        int width = Twips::Width(child);
        int height = Twips::Height(child);
        const int rule = m_rule.at(n);
        if (rule & MoveRight)
            left = std::max(checkedAdd(m_left.at(n), dW), 0);
        if (rule & MoveDown)
            top = std::max(checkedAdd(m_top.at(n), dH), 0);
        if (rule & GrowWidth)
            width = std::max(checkedAdd(m_width.at(n), dW), 0);
        // The allowance comes off after the clamp, so a control shorter
        // than it asks for a negative height; Twips::Move applies that as 0.
        if (rule & GrowHeight)
            height = std::max(checkedAdd(m_height.at(n), dH), 0) - HeightAllowance;
        Twips::Move(child, left, top, width, height);
    }
}
