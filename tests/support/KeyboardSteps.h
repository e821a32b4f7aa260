#pragma once

#include <QAction>
#include <QApplication>
#include <QTest>
#include <QWidget>
#include <functional>

// A person at the keyboard, for the window tests.
namespace KeyboardSteps {

// The focused control's name (a combo box's for its text box).
inline QString FocusName()
{
    QWidget *focus = QApplication::focusWidget();
    if (focus && focus->objectName().isEmpty() && focus->parentWidget())
        focus = focus->parentWidget();
    return focus ? focus->objectName() : QString();
}

// Runs steps separated by ";": click NAME, focus NAME, type NAME=TEXT, key
// Return|Enter|Escape|Delete|Space, menu NAME; others go to other(action, arg).
inline void Run(QWidget *window, const QString &steps,
                const std::function<void(const QString &, const QString &)> &other = {})
{
    using namespace Qt::StringLiterals;
    for (const QString &step : steps.split(u';', Qt::SkipEmptyParts)) {
        const QString action = step.trimmed().section(u' ', 0, 0);
        const QString arg = step.trimmed().section(u' ', 1);
        if (action == "key"_L1) {
            const Qt::Key key = arg == "Return"_L1   ? Qt::Key_Return
                                : arg == "Enter"_L1  ? Qt::Key_Enter
                                : arg == "Escape"_L1 ? Qt::Key_Escape
                                : arg == "Delete"_L1 ? Qt::Key_Delete
                                                     : Qt::Key_Space;
            QWidget *focus = QApplication::focusWidget();
            QVERIFY2(focus, qPrintable(step));
            QTest::keyClick(focus, key, key == Qt::Key_Enter ? Qt::KeypadModifier : Qt::NoModifier);
        } else if (action == "menu"_L1) {
            auto *entry = window->findChild<QAction *>(arg);
            QVERIFY2(entry, qPrintable(step));
            entry->trigger();
        } else if (action == "click"_L1 || action == "focus"_L1 || action == "type"_L1) {
            auto *control = window->findChild<QWidget *>(arg.section(u'=', 0, 0));
            QVERIFY2(control, qPrintable(step));
            if (action == "click"_L1) {
                QTest::mouseClick(control, Qt::LeftButton);
                continue;
            }
            control->setFocus();
            if (action == "type"_L1) {
                QWidget *box = QApplication::focusWidget();
                QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
                QTest::keyClicks(box, arg.section(u'=', 1));
            }
        } else {
            QVERIFY2(other, qPrintable(step));
            other(action, arg);
        }
    }
}

// The controls Tab visits from the focused one round to it; each must be
// seen whole inside panel.
inline QString TabChain(QWidget *panel)
{
    QStringList visited;
    for (int i = 0; i < 30; ++i) {
        QWidget *focus = QApplication::focusWidget();
        if (!focus || (!visited.isEmpty() && FocusName() == visited.first()))
            break;
        visited << FocusName();
        if (!panel->isAncestorOf(focus) || !focus->isVisible() ||
            !panel->rect().contains(QRect(focus->mapTo(panel, QPoint(0, 0)), focus->size())))
            visited.last() += QStringLiteral(" (outside)");
        QTest::keyClick(focus, Qt::Key_Tab);
    }
    return visited.join(u',');
}

} // namespace KeyboardSteps
