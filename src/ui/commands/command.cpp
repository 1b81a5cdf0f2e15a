#include "ui/commands/command.h"

#include <QAction>
#include <QMenu>

#include "ui/commands/chosenkeys.h"
#include "ui/icons/vrlicons.h"

namespace vorlen {

QList<QKeySequence> shortcutsOf(const QString& keys) {
    return keys.isEmpty() ? QList<QKeySequence>() : QKeySequence::listFromString(keys);
}

Command::Command(const CommandInfo& info, QObject& owner) : __info(info) {
    __action = std::make_unique<QAction>(info.text, &owner);
    __action->setObjectName(info.id);
    __action->setCheckable(info.checkable);
    __action->setEnabled(false);
    setIcon(info.icon);
    __action->setStatusTip(info.tip);
    applyKeys();
    QObject::connect(&ChosenKeys::instance(), &ChosenKeys::changed, __action.get(), [this] { applyKeys(); });
}

void Command::setWindow(const QString& window) {
    __window = window;
    applyKeys();
}

void Command::applyKeys() {
    const QString tip = __info.tip;
    const auto keys = shortcutsOf(ChosenKeys::instance().keysOf(__window, __info));
    if (keys != __action->shortcuts())
        __action->setShortcuts(keys);
    if (!tip.isEmpty())
        __action->setToolTip(keys.isEmpty() ? tip : tip + " (" + keys[0].toString(QKeySequence::NativeText) + ")");
}

Command::~Command() = default;

Command& Command::setWork(Work work) {
    __work = std::move(work);
    return *this;
}

Command& Command::setMenu(QMenu& menu) {
    __action->setMenu(&menu);
    return *this;
}

Command& Command::enableWhen(Condition condition) {
    __condition = std::move(condition);
    return *this;
}

bool Command::isBound() const {
    return __work != nullptr || __action->menu<QMenu*>() != nullptr;
}

void Command::setIcon(const QString& name) {
    if (!name.isEmpty())
        __action->setIcon(VRLIcons::icon(name));
}

void Command::update(bool locked) {
    const bool enabled =
        isBound() && !__info.planned && (!locked || __info.whileLocked) && (__condition == nullptr || __condition());
    if (auto* const menu = __action->menu<QMenu*>())
        menu->setEnabled(enabled);
    __action->setEnabled(enabled);
}

} // namespace vorlen
