#pragma once

#include <QList>
#include <QPointer>
#include <QVector>

class QWidget;

// Keeps registered controls anchored while their window is resized: each
// control follows the change of the container's size since Create() by its
// rule (1 left, 2 top, 4 width, 8 height; sums combine). All lengths are
// twips. Controls parked off-screen (left at or below -37500) are left alone.
class CSizer
{
public:
    enum Rule { MoveRight = 1, MoveDown = 2, GrowWidth = 4, GrowHeight = 8 };

    // Records the container (a window, or a widget inside one), its present
    // size as the reference, and the minimum size (0: none).
    void Create(QWidget *container, int minHeight = 0, int minWidth = 0);
    // Registers a control with its rule and present geometry.
    void Add(QWidget *child, int rule);
    // Places every registered control for the container's present size; does
    // nothing while the parent window is minimised. The window calls it from
    // its resize handling.
    void Resize();

    int Capacity() const { return static_cast<int>(m_rule.size()) - 1; }
    int Count() const { return static_cast<int>(m_children.size()); }

private:
    void grow();

    QPointer<QWidget> m_container;
    QPointer<QWidget> m_parentForm;
    int m_refHeight = 0;
    int m_refWidth = 0;
    qint16 m_minHeight = 0;
    qint16 m_minWidth = 0;
    QList<QPointer<QWidget>> m_children;
    // 1-based like the registration index; element 0 is unused.
    QVector<qint16> m_rule;
    QVector<int> m_left, m_top, m_height, m_width;
};
