#pragma once

#include <functional>
#include <memory>

#include <QKeySequence>
#include <QList>
#include <QString>

#include "ui/commands/commandsheet.h"

class QAction;
class QMenu;
class QObject;

namespace vorlen {

/// The shortcuts of a list as that of CommandInfo; none of an empty one.
QList<QKeySequence> shortcutsOf(const QString& keys);

/// A command of an open window: its part of the sheet, what it does in this window, and when it can be used. Menus,
/// tool bars and buttons show the QAction behind it.
///
/// Its keys are those that the user has chosen (ChosenKeys), and follow the choice. A command without work is never
/// enabled. Nothing is enabled before the first update.
class Command {
public:
    using Work = std::function<void()>;
    using Condition = std::function<bool()>;

    /// The action becomes a child of the owner, so that it is found there, and goes with this.
    Command(const CommandInfo& info, QObject& owner);
    ~Command();

    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    const CommandInfo& info() const { return __info; }
    QString text() const { return __info.text; }
    QAction& action() const { return *__action; }

    Command& setWork(Work work);
    const Work& work() const { return __work; }

    /// The entry opens this menu instead of doing something. The menu is seen, not owned.
    Command& setMenu(QMenu& menu);

    /// Without a condition it can always be used.
    Command& enableWhen(Condition condition);

    /// Whether it does something or opens a menu.
    bool isBound() const;

    void setIcon(const QString& name);

    /// The window of its sheet, by which the user's choice of keys is found; without one the keys are the sheet's.
    void setWindow(const QString& window);

    /// Enables it or not, by its condition and by whether the window is locked.
    void update(bool locked);

private:
    void applyKeys();

    CommandInfo __info;
    QString __window;
    std::unique_ptr<QAction> __action;
    Work __work;
    Condition __condition;
};

} // namespace vorlen
