#include "ui/slices/toolmenus.h"

#include "ui/commands/commandregistry.h"
#include "ui/commands/mnemonics.h"
#include "ui/widgets/vrlmenu.h"

namespace vorlen {

/// A command has an action, or a menu of models.
struct ToolMenus::Entry {
    const ToolCommand* command;
    QAction* action = nullptr;
    std::unique_ptr<VRLMenu> menu;

    QAction* shown() const { return menu ? menu->menuAction() : action; }
};

ToolMenus::ToolMenus(CommandRegistry& commands, QObject* parent) : QObject(parent), __commands(commands) {
    for (const ToolCommand& command : toolCommands()) {
        Entry& entry = __entries.emplace_back();
        entry.command = &command;
        if (command.models != ToolModels::None) {
            entry.menu = std::make_unique<VRLMenu>(command.info.text);
            connect(entry.menu.get(), qOverload<const QString&>(&VRLMenu::triggered), this,
                    [this, &command](const QString& model) { emit chosen(command, model); });
        } else {
            commands.add(command.info)
                .setWork([this, &command] { emit chosen(command, QString()); })
                .enableWhen([this, &command] { return command.isEnabled(__selected); });
            entry.action = &commands.action(command.info.id);
            entry.action->setShortcutContext(Qt::WidgetShortcut);
        }
        if (command.menu == ToolMenu::Draw || command.menu == ToolMenu::Edit)
            menuOf(command.menu).addAction(entry.shown());
    }
    setSelection(StackSliceSelectionInfo());
}

ToolMenus::~ToolMenus() = default;

QMenu& ToolMenus::menuOf(ToolMenu place) {
    for (const auto& [each, menu] : __submenus)
        if (each == place)
            return *menu;
    return *__submenus.emplace_back(place, std::make_unique<QMenu>(toolMenuTitle(place))).second;
}

QList<QAction*> ToolMenus::getActions() const {
    QList<QAction*> actions;
    for (const Entry& entry : __entries)
        if (entry.action != nullptr)
            actions.append(entry.action);
    return actions;
}

void ToolMenus::setSelection(const StackSliceSelectionInfo& selected) {
    __selected = selected;
    for (const Entry& entry : __entries)
        if (entry.menu)
            entry.menu->setEnabled(entry.command->isEnabled(selected));
        else
            __commands.update(entry.command->info.id);
    for (const auto& [place, menu] : __submenus)
        menu->setEnabled(isToolMenuEnabled(place, selected));
}

void ToolMenus::showChosen(const QString& id) {
    for (const Entry& entry : __entries)
        if (entry.action != nullptr && entry.command->stays)
            entry.action->setChecked(id == entry.command->info.id);
}

std::unique_ptr<QMenu> ToolMenus::newContextMenu(const std::function<QStringList(ToolModels)>& names,
                                                 const std::function<const Model*(const QString&)>& find,
                                                 const QList<QPointer<QAction>>& others) {
    auto menu = std::make_unique<QMenu>();
    for (const auto& [place, submenu] : __submenus)
        menu->addMenu(submenu.get());
    for (Entry& entry : __entries) {
        if (entry.menu && entry.command->isEnabled(__selected))
            fill(entry, names(entry.command->models), find);
        if (entry.command->menu == ToolMenu::Top)
            menu->addAction(entry.shown());
    }
    giveMnemonics(menu->actions());
    for (const auto& [place, submenu] : __submenus)
        giveMnemonics(submenu->actions());
    for (const QPointer<QAction>& action : others)
        if (action)
            menu->addAction(action);
    return menu;
}

// A "&" in a name is no mark of a key; the data hold the name as it is.
void ToolMenus::fill(Entry& entry, const QStringList& names, const std::function<const Model*(const QString&)>& find) {
    entry.menu->clear();
    for (const QString& name : names) {
        QString text = name;
        text.replace("&", "&&");
        QAction* const action = entry.menu->addAction(text);
        action->setData(name);
        if (entry.command->offers) {
            const Model* const model = find(name);
            action->setEnabled(model != nullptr && entry.command->offers(*model, __selected));
        }
    }
    // What there is on the slice is chosen from also where there is nothing, to show just that.
    if (entry.command->models != ToolModels::OfSlice)
        entry.menu->setEnabled(!names.isEmpty());
}

} // namespace vorlen
