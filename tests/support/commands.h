#pragma once

#include <map>
#include <set>
#include <string>

#include <QAction>
#include <QWidget>

#include <gtest/gtest.h>

#include "ui/commands/commandregistry.h"

namespace vorlen {

inline bool isEnabled(const CommandRegistry& commands, const char* id) {
    return commands.action(id).isEnabled();
}

/// As a click on its entry does: nothing when it is disabled.
inline void trigger(const CommandRegistry& commands, const char* id) {
    commands.action(id).trigger();
}

/// The registry of a shown window against its sheet: all commands are there and, but for planned ones, bound; the
/// menus name no others; and no key is that of two actions of the window, whoever made them.
inline void expectSound(const QWidget& window, const CommandRegistry& commands, const CommandSheet& sheet) {
    EXPECT_EQ(commands.commands().size(), sheet.commands.size());
    for (const CommandInfo& info : sheet.commands)
        EXPECT_NE(commands.command(info.id).isBound(), info.planned) << info.id;
    for (const CommandMenu& menu : sheet.menus)
        for (const std::string entry : menu.entries)
            EXPECT_TRUE(entry == commandSeparator || sheet.find(entry) != nullptr) << entry;
    std::map<std::string, std::set<const QAction*>> users;
    for (const QAction* action : window.findChildren<QAction*>())
        for (const QKeySequence& key : action->shortcuts())
            users[key.toString().toStdString()].insert(action);
    for (const auto& [key, actions] : users)
        EXPECT_EQ(actions.size(), 1u) << key << ": " << (*actions.begin())->text().toStdString();
}

} // namespace vorlen
