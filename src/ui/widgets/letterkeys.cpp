#include "ui/widgets/letterkeys.h"

#include <algorithm>

#include <QAction>
#include <QKeyEvent>
#include <QKeySequence>
#include <QWidget>

namespace vorlen {

LetterKeys::LetterKeys(QWidget& list, QWidget& owner) : QObject(&list), __owner(&owner) {
    list.installEventFilter(this);
}

bool LetterKeys::isKey(const QKeySequence& keys) const {
    const QList<QAction*> actions = __owner->actions();
    return std::any_of(actions.begin(), actions.end(),
                       [&keys](const QAction* action) { return action->shortcuts().contains(keys); });
}

// This event comes before the keys of actions are looked for, which depends on who has the keyboard.
bool LetterKeys::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::ShortcutOverride || __owner == nullptr || !__owner->isVisible())
        return QObject::eventFilter(watched, event);
    const auto& key = *static_cast<QKeyEvent*>(event);
    const bool isLetter = (key.modifiers() & ~Qt::ShiftModifier) == Qt::NoModifier && !key.text().isEmpty() &&
                          key.text().front().isPrint() && key.key() != Qt::Key_Space;
    if (!isLetter || !isKey(QKeySequence(key.keyCombination())))
        return QObject::eventFilter(watched, event);
    __owner->setFocus();
    return true;
}

} // namespace vorlen
