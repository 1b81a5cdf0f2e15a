#include "ui/commands/shortcutsdialog.h"

#include <QAction>
#include <QCheckBox>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

#include <gtest/gtest.h>

#include "ui/commands/chosenkeys.h"
#include "ui/commands/commandregistry.h"
#include "ui/commands/commandsheet.h"

namespace vorlen {

namespace {

const CommandSheet sheet = {
    "Main window",
    {
        {.id = "save", .text = "Save stack", .tip = "To its file", .keys = "Ctrl+S"},
        {.id = "close", .text = "Close all", .tip = "Close all stacks"},
        {.id = "later", .text = "Later", .planned = true},
        {.id = "next", .text = "Next slice", .icon = "up"},
    },
    {{"File", {"save", commandSeparator, "close"}}, {"Process", {"later"}}, {"Tool bar", {"save", "next"}}},
};

class ShortcutsDialogTest : public ::testing::Test {
protected:
    ShortcutsDialogTest() {
        ChosenKeys::instance().resetAll();
        dialog->addSheet(sheet);
        dialog->addSheet({"Slice editor", {{.id = "up", .text = "[stepUp]", .keys = "Up"}}, {{"View", {"up"}}}});
    }
    ~ShortcutsDialogTest() override {
        delete dialog;
        ChosenKeys::instance().resetAll();
    }

    void mark(const char* command) {
        auto& list = *dialog->findChild<QTreeWidget*>();
        const auto rows = list.findItems(command, Qt::MatchExactly | Qt::MatchRecursive);
        ASSERT_EQ(rows.size(), 1) << command;
        list.setCurrentItem(rows[0]);
    }
    QPushButton& button(const char* name) { return *dialog->findChild<QPushButton*>(name); }
    void type(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        auto& field = *dialog->findChild<QKeySequenceEdit*>();
        if (modifiers.testFlag(Qt::ControlModifier))
            QTest::keyPress(&field, Qt::Key_Control, modifiers);
        QTest::keyClick(&field, key, modifiers);
    }
    std::string conflict() { return dialog->findChild<QLabel*>("shortcut.conflict")->text().toStdString(); }

    /// What is shown, line by line, with its keys.
    QStringList lines() const {
        QStringList texts;
        for (QTreeWidgetItemIterator it(dialog->findChild<QTreeWidget*>(), QTreeWidgetItemIterator::NotHidden); *it;
             ++it)
            texts += ((*it)->text(0) + ' ' + (*it)->text(1)).trimmed();
        return texts;
    }

    QPointer<ShortcutsDialog> dialog = new ShortcutsDialog;
};

} // namespace

TEST_F(ShortcutsDialogTest, listsEachCommandOnceUnderItsWindowAndMenu) {
    EXPECT_EQ(lines(), (QStringList{"Main window", "File", "Save stack Ctrl+S", "Close all", "Tool bar", "Next slice",
                                    "Slice editor", "View", "Step up Up"}));
}

TEST_F(ShortcutsDialogTest, leavesWhatHasAllWordsOfTheSearch) {
    const auto found = [this](const char* text) {
        dialog->setFilter(text);
        return lines();
    };
    EXPECT_EQ(found("STACK file"), (QStringList{"Main window", "File", "Save stack Ctrl+S", "Close all"}));
    EXPECT_EQ(found("ctrl+s"), (QStringList{"Main window", "File", "Save stack Ctrl+S"}));
    EXPECT_EQ(found("slice"),
              (QStringList{"Main window", "Tool bar", "Next slice", "Slice editor", "View", "Step up Up"}));
    EXPECT_TRUE(found("nowhere").isEmpty());
    EXPECT_EQ(dialog->findChild<QLabel*>()->text(), "No command matches.");
    dialog->findChild<QCheckBox*>()->setChecked(true);
    EXPECT_EQ(found(""),
              (QStringList{"Main window", "File", "Save stack Ctrl+S", "Slice editor", "View", "Step up Up"}));
}

TEST_F(ShortcutsDialogTest, aKeyIsChangedAtOnceAndTheNextOneBeginsAnew) {
    dialog->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
    QWidget window;
    CommandRegistry commands(window);
    commands.setWindow("Main window");
    commands.add(sheet.commands);
    EXPECT_FALSE(button("shortcut.change").isEnabled());
    mark("Next slice");
    EXPECT_FALSE(button("shortcut.none").isEnabled());
    type(Qt::Key_K);
    type(Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(dialog->findChild<QKeySequenceEdit*>()->keySequence(), QKeySequence("Ctrl+N"));
    EXPECT_EQ(conflict(), "");
    QTest::mouseClick(&button("shortcut.change"), Qt::LeftButton);
    EXPECT_TRUE(lines().contains("Next slice Ctrl+N"));
    EXPECT_EQ(commands.action("next").shortcut(), QKeySequence("Ctrl+N"));
    dialog->setFilter("ctrl+n"); // it is found by its new key
    EXPECT_TRUE(lines().contains("Next slice Ctrl+N"));
    EXPECT_FALSE(button("shortcut.change").isEnabled()); // it has that key
    QTest::mouseClick(&button("shortcut.reset"), Qt::LeftButton);
    EXPECT_TRUE(commands.action("next").shortcuts().isEmpty());
    EXPECT_FALSE(button("shortcut.resetAll").isEnabled());
    dialog->setFilter("");
    mark("Save stack");
    QTest::mouseClick(&button("shortcut.none"), Qt::LeftButton);
    EXPECT_TRUE(commands.action("save").shortcuts().isEmpty());
    EXPECT_TRUE(lines().contains("Save stack"));
}

TEST_F(ShortcutsDialogTest, aKeyThatIsTakenIsToldOfAndCanBeTakenOver) {
    const CommandSheet part = {
        "Tools", {{.id = "tool", .text = "Tool", .keys = "T; Y"}}, {{"All", {"tool"}}}, "Main window"};
    dialog->addSheet(part);
    dialog->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
    mark("Next slice");
    type(Qt::Key_Up); // of a window of its own
    EXPECT_EQ(conflict(), "");
    type(Qt::Key_T);
    EXPECT_EQ(conflict(), "T is the key of \"Tool\" (Tools). To take it over leaves that command without it.");
    EXPECT_EQ(button("shortcut.change").text(), "Take over");
    QTest::mouseClick(&button("shortcut.change"), Qt::LeftButton);
    EXPECT_TRUE(lines().contains("Next slice T"));
    EXPECT_TRUE(lines().contains("Tool Y")); // its other key stays
    EXPECT_EQ(conflict(), "");
    QTest::mouseClick(&button("shortcut.resetAll"), Qt::LeftButton);
    EXPECT_TRUE(lines().contains("Next slice"));
    EXPECT_TRUE(lines().contains("Tool T; Y"));
}

TEST_F(ShortcutsDialogTest, returnInTheSearchKeepsItOpenAndEscapeClosesIt) {
    dialog->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
    QTest::keyClick(dialog->findChild<QLineEdit*>(), Qt::Key_Return);
    EXPECT_TRUE(dialog->isVisible());
    QTest::keyClick(dialog->findChild<QLineEdit*>(), Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(dialog, nullptr);
}

} // namespace vorlen
