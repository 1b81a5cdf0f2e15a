#pragma once

#include <memory>
#include <vector>

#include <QString>

#include "ui/commands/command.h"

class QMenu;
class QMenuBar;
class QObject;
class QWidget;

namespace vorlen {

/// The commands of one window, found by their ids. Several parts of a window can add theirs to the same one.
///
/// The registry is a member of its owner and goes before it. A command that is asked for and not there is a
/// ProgramError.
class CommandRegistry {
public:
    using Runner = std::function<void(const Command&)>;

    explicit CommandRegistry(QObject& owner) : __owner(owner) {}

    /// The window of the commands' sheet, by which the user's choice of keys is found. Those that are there already and
    /// those that come later have it.
    void setWindow(const QString& window);

    CommandRegistry(const CommandRegistry&) = delete;
    CommandRegistry& operator=(const CommandRegistry&) = delete;

    /// Throws ProgramError, and adds nothing, when the id or one of the keys belongs to another command of the sheet
    /// already, whatever keys the user has chosen.
    Command& add(const CommandInfo& info);
    void add(const std::vector<CommandInfo>& infos);

    /// Gives a command its work.
    Command& bind(const QString& id, Command::Work work);

    Command* find(const QString& id) const;
    Command& command(const QString& id) const;
    QAction& action(const QString& id) const { return command(id).action(); }
    const std::vector<std::unique_ptr<Command>>& commands() const { return __commands; }

    /// What carries the work of a command out when the user gives it, as to tell of failures; without one the work is
    /// called as it is.
    void setRunner(Runner runner) { __runner = std::move(runner); }

    /// While something is drawn or edited only those commands are enabled that allow for it.
    void setLocked(bool locked);
    bool isLocked() const { return __locked; }

    /// Enables the commands that make sense now: all, or one.
    void update();
    void update(const QString& id);

    /// Adds the entries to a menu or a tool bar.
    void fill(QWidget& bar, const CommandMenu& menu) const;
    /// A new menu at the end of the bar.
    QMenu& addMenu(QMenuBar& bar, const CommandMenu& menu) const;

private:
    void run(const Command& command) const;

    QObject& __owner;
    QString __window;
    std::vector<std::unique_ptr<Command>> __commands;
    Runner __runner;
    bool __locked = false;
};

} // namespace vorlen
