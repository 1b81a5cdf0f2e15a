#include "ui/commands/shortcutsdialog.h"

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QTest>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

#include <gtest/gtest.h>

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
        dialog->addSheet(sheet);
        dialog->addSheet({"Slice editor", {{.id = "up", .text = "[stepUp]", .keys = "Up"}}, {{"View", {"up"}}}});
    }
    ~ShortcutsDialogTest() override { delete dialog; }

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
