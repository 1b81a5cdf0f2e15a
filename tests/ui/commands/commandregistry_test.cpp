#include "ui/commands/chosenkeys.h"
#include "ui/commands/commandregistry.h"
#include "ui/commands/mnemonics.h"

#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include "numerics/exception.h"
#include "support/commands.h"

namespace vorlen {

namespace {

class CommandRegistryTest : public ::testing::Test {
protected:
    CommandRegistryTest() {
        commands.add({
            {.id = "a.open", .text = "Open", .tip = "Open a file", .icon = "fileopen", .keys = "Ctrl+O"},
            {.id = "a.redo", .text = "Redo", .keys = "Ctrl+R; Ctrl+Shift+Z", .whileLocked = true},
            {.id = "a.show", .text = "Show", .checkable = true},
            {.id = "a.later", .text = "Later", .planned = true},
        });
    }

    std::string enabled() const {
        std::string ids;
        for (const auto& command : commands.commands())
            ids += command->action().isEnabled() ? std::string(command->info().id) + ' ' : "";
        return ids;
    }

    QWidget window;
    CommandRegistry commands{window};
    int done = 0;
};

} // namespace

TEST_F(CommandRegistryTest, refusesAnIdOrAKeyThatIsTaken) {
    for (const CommandInfo& info :
         {CommandInfo{.id = "a.open"}, CommandInfo{.id = "b", .keys = "Ctrl+Shift+Z"},
          CommandInfo{.id = "b", .keys = "Ctrl+N; Ctrl+O"}, CommandInfo{.id = "b", .keys = "Ctrl+Nonsense"}})
        EXPECT_THROW(commands.add(info), ProgramError) << info.keys;
    EXPECT_EQ(commands.commands().size(), 4u);
    EXPECT_EQ(commands.find("b"), nullptr);
    EXPECT_THROW(commands.command("b"), ProgramError);
    EXPECT_THROW(commands.bind("b", [] {}), ProgramError);
}

TEST_F(CommandRegistryTest, enablesByWorkConditionAndLock) {
    bool sensible = false;
    commands.update();
    EXPECT_EQ(enabled(), "");
    commands.bind("a.open", [] {}).enableWhen([&sensible] { return sensible; });
    commands.bind("a.redo", [] {}).enableWhen([&sensible] { return sensible; });
    commands.bind("a.show", [] {});
    commands.bind("a.later", [] {}); // its time has not come
    commands.update();
    EXPECT_EQ(enabled(), "a.show ");
    sensible = true;
    commands.update("a.open");
    EXPECT_EQ(enabled(), "a.open a.show ");
    commands.setLocked(true);
    EXPECT_EQ(enabled(), "a.redo ");
    commands.update("a.open");
    EXPECT_EQ(enabled(), "a.redo ");
    sensible = false;
    commands.setLocked(false);
    EXPECT_EQ(enabled(), "a.show ");
}

TEST_F(CommandRegistryTest, actionsCarryWhatTheCommandTells) {
    const QAction& open = commands.action("a.open");
    EXPECT_EQ(open.text(), "Open");
    EXPECT_EQ(open.toolTip(), "Open a file (Ctrl+O)");
    EXPECT_EQ(open.statusTip(), "Open a file");
    EXPECT_FALSE(open.icon().isNull());
    EXPECT_EQ(commands.action("a.redo").shortcuts(),
              (QList<QKeySequence>{QKeySequence("Ctrl+R"), QKeySequence("Ctrl+Shift+Z")}));
    EXPECT_EQ(commands.action("a.redo").toolTip(), "Redo");
    EXPECT_TRUE(commands.action("a.show").isCheckable());
    EXPECT_TRUE(commands.action("a.show").shortcuts().isEmpty());
}

TEST_F(CommandRegistryTest, keysThatTheUserHasChosenHoldAtOnceAndInLaterWindows) {
    ChosenKeys& keys = ChosenKeys::instance();
    const CommandInfo info = commands.command("a.open").info();
    const QAction& open = commands.action("a.open");
    commands.setWindow("First");
    keys.choose("First", info, "Ctrl+Shift+P; F2");
    EXPECT_EQ(open.shortcuts(), (QList<QKeySequence>{QKeySequence("Ctrl+Shift+P"), QKeySequence("F2")}));
    EXPECT_EQ(open.toolTip(), "Open a file (Ctrl+Shift+P)");
    QWidget other;
    CommandRegistry later(other), elsewhere(other);
    later.setWindow("First");
    later.add(info);
    EXPECT_EQ(later.action("a.open").shortcuts(), open.shortcuts());
    EXPECT_THROW(later.add(CommandInfo{.id = "b", .keys = "Ctrl+O"}),
                 ProgramError);                      // the sheet is wrong whatever was chosen
    later.add(CommandInfo{.id = "c", .keys = "F2"}); // a sheet knows of no choice
    elsewhere.setWindow("Second");
    elsewhere.add(info);
    EXPECT_EQ(elsewhere.action("a.open").shortcut(), QKeySequence("Ctrl+O"));
    keys.choose("First", info, "");
    EXPECT_TRUE(open.shortcuts().isEmpty());
    EXPECT_EQ(open.toolTip(), "Open a file");
    EXPECT_TRUE(keys.isChosen("First", info));
    keys.choose("First", info, "Ctrl+O");
    EXPECT_FALSE(keys.isChosen("First", info));
    keys.choose("First", info, "F2");
    keys.reset("First", info);
    EXPECT_EQ(open.shortcut(), QKeySequence("Ctrl+O"));
}

TEST_F(CommandRegistryTest, theRunnerCarriesTheWorkOut) {
    commands.bind("a.open", [this] { ++done; });
    trigger(commands, "a.open"); // not enabled yet
    EXPECT_EQ(done, 0);
    commands.update();
    trigger(commands, "a.open");
    EXPECT_EQ(done, 1);
    std::string told;
    commands.setRunner([&told](const Command& command) {
        told = command.info().id;
        command.work()();
    });
    trigger(commands, "a.open");
    EXPECT_EQ(done, 2);
    EXPECT_EQ(told, "a.open");
}

TEST_F(CommandRegistryTest, fillsMenusAndToolBarsInOrder) {
    QMenuBar bar;
    QMenu files("Show");
    bool some = false;
    commands.command("a.show").setMenu(files).enableWhen([&some] { return some; });
    const CommandMenu layout = {"File", {"a.redo", commandSeparator, "a.show"}};
    QMenu& menu = commands.addMenu(bar, layout);
    EXPECT_EQ(menu.title(), "&File");
    ASSERT_EQ(menu.actions().size(), 3);
    EXPECT_EQ(menu.actions()[0], &commands.action("a.redo"));
    EXPECT_TRUE(menu.actions()[1]->isSeparator());
    EXPECT_EQ(menu.actions()[2]->menu(), &files);
    commands.update();
    EXPECT_FALSE(files.isEnabled());
    some = true;
    commands.update();
    EXPECT_TRUE(files.isEnabled() && isEnabled(commands, "a.show"));
    QToolBar toolBar;
    commands.fill(toolBar, layout);
    EXPECT_EQ(toolBar.actions().size(), 3);
    EXPECT_THROW(commands.fill(toolBar, {"", {"b"}}), ProgramError);
}

// The letters of the last entries are the first choice of others, which have to move: one along a chain.
TEST(Mnemonics, anEntryMovesForOneThatHasNoOtherLetter) {
    QMenu menu;
    for (const char* text : {"abc", "bc", "c", "ba"})
        menu.addAction(text);
    giveMnemonics(menu.actions());
    QStringList texts;
    for (const QAction* const action : menu.actions())
        texts += action->text();
    EXPECT_EQ(texts.filter("&").size(), 3) << texts.join(' ').toStdString(); // of three letters
    EXPECT_EQ(texts[2], "&c");
    QMenu other;
    for (const char* text : {"ad", "ab", "a"})
        other.addAction(text);
    giveMnemonics(other.actions());
    EXPECT_EQ(other.actions()[0]->text(), "a&d");
    EXPECT_EQ(other.actions()[1]->text(), "a&b");
    EXPECT_EQ(other.actions()[2]->text(), "&a");
}

TEST(Mnemonics, eachEntryOfAMenuHasALetterOfItsOwn) {
    QMenu menu;
    for (const char* text : {"Save stack", "Save stack as...", "S&kip", "Find && replace", "a", "A", "[Center]"})
        menu.addAction(text);
    menu.addSeparator();
    giveMnemonics(menu.actions());
    QStringList texts;
    for (const QAction* const action : menu.actions())
        texts += action->text();
    EXPECT_EQ(texts, (QStringList{"&Save stack", "Sa&ve stack as...", "S&kip", "&Find && replace", "&a", "A",
                                  "[&Center]", ""}));
    giveMnemonics(menu.actions());
    EXPECT_EQ(menu.actions()[0]->text(), "&Save stack");
}

} // namespace vorlen
