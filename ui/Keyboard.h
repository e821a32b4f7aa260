#pragma once

#include <initializer_list>

class QKeyEvent;
class QWidget;

// What the windows share for a person at the keyboard.
namespace Keyboard {

// Return, or Enter on the keypad.
bool IsEnter(const QKeyEvent *event);
// Escape without a modifier.
bool IsEscape(const QKeyEvent *event);
// Puts the controls in this Tab order, one after the other.
void SetTabOrder(std::initializer_list<QWidget *> controls);
// Gives the focus to the first control of the panel that Tab reaches;
// false when it has none.
bool FocusFirst(QWidget *panel);

} // namespace Keyboard
