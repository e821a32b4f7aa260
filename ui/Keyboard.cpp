#include "Keyboard.h"

#include <QKeyEvent>
#include <QWidget>

namespace Keyboard {

bool IsEnter(const QKeyEvent *event)
{
    return event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
}

bool IsEscape(const QKeyEvent *event)
{
    return event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier;
}

void SetTabOrder(std::initializer_list<QWidget *> controls)
{
    QWidget *previous = nullptr;
    for (QWidget *control : controls) {
        if (previous)
            QWidget::setTabOrder(previous, control);
        previous = control;
    }
}

bool FocusFirst(QWidget *panel)
{
    // The window's Tab chain once round: the panel's first control in it
    // that takes the focus by Tab and is shown and usable.
    QWidget *window = panel->window();
    for (QWidget *w = window->nextInFocusChain(); w && w != window; w = w->nextInFocusChain()) {
        if (panel->isAncestorOf(w) && (w->focusPolicy() & Qt::TabFocus) &&
            w->isVisibleTo(panel->window()) && w->isEnabled() && !w->focusProxy()) {
            w->setFocus(Qt::TabFocusReason);
            return true;
        }
    }
    return false;
}

} // namespace Keyboard
