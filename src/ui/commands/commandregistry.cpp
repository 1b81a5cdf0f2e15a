#include "ui/commands/commandregistry.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>

#include "numerics/exception.h"
#include "ui/commands/mnemonics.h"

namespace vorlen {

Command& CommandRegistry::add(const CommandInfo& info) {
    const auto refuse = [&info](const std::string& reason) {
        throw ProgramError("Command& CommandRegistry::add(const CommandInfo&)",
                           std::string("The command \"") + info.id + "\" " + reason);
    };
    if (find(info.id) != nullptr)
        refuse("is there already");
    for (const QKeySequence& key : shortcutsOf(info.keys)) {
        if (key.isEmpty() || key[0].key() == Qt::Key_unknown)
            refuse("has a shortcut that is no key");
        for (const auto& other : __commands)
            if (other->action().shortcuts().contains(key))
                refuse("has the shortcut of \"" + std::string(other->info().id) + "\"");
    }
    __commands.push_back(std::make_unique<Command>(info, __owner));
    Command& command = *__commands.back();
    QObject::connect(&command.action(), &QAction::triggered, &command.action(), [this, &command] { run(command); });
    return command;
}

void CommandRegistry::add(const std::vector<CommandInfo>& infos) {
    for (const CommandInfo& info : infos)
        add(info);
}

Command& CommandRegistry::bind(const QString& id, Command::Work work) {
    return command(id).setWork(std::move(work));
}

Command* CommandRegistry::find(const QString& id) const {
    for (const auto& command : __commands)
        if (id == QLatin1String(command->info().id))
            return command.get();
    return nullptr;
}

Command& CommandRegistry::command(const QString& id) const {
    if (Command* const found = find(id))
        return *found;
    throw ProgramError("Command& CommandRegistry::command(const QString&) const",
                       "There is no command \"" + id.toStdString() + "\"");
}

void CommandRegistry::setLocked(bool locked) {
    __locked = locked;
    update();
}

void CommandRegistry::update() {
    for (const auto& command : __commands)
        command->update(__locked);
}

void CommandRegistry::update(const QString& id) {
    command(id).update(__locked);
}

void CommandRegistry::fill(QWidget& bar, const CommandMenu& menu) const {
    for (const char* entry : menu.entries) {
        if (entry != std::string_view(commandSeparator)) {
            bar.addAction(&action(entry));
            continue;
        }
        auto* const line = new QAction(&bar);
        line->setSeparator(true);
        bar.addAction(line);
    }
    if (qobject_cast<QMenu*>(&bar) != nullptr)
        giveMnemonics(bar.actions());
}

QMenu& CommandRegistry::addMenu(QMenuBar& bar, const CommandMenu& menu) const {
    QMenu& added = *bar.addMenu(menu.title);
    added.setToolTipsVisible(true);
    fill(added, menu);
    giveMnemonics(bar.actions());
    return added;
}

void CommandRegistry::run(const Command& command) const {
    if (!command.work())
        return;
    if (__runner)
        __runner(command);
    else
        command.work()();
}

} // namespace vorlen
