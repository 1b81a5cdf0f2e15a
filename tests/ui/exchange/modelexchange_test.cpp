#include "ui/exchange/vrlmodelexchangedialog.h"

#include <memory>
#include <string>
#include <vector>

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "support/dialogdriver.h"
#include "support/documentmaker.h"
#include "support/fixedsource.h"
#include "support/modalscript.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/models/vrlstacklistwidget.h"

namespace vorlen {

namespace {

using Names = std::vector<std::string>;

/// The dialog on the open stacks "A", with the models "Cortex" and "Nuclei", and "B", with a "Cortex" of its own.
class ModelExchangeDialogTest : public ::testing::Test {
protected:
    ModelExchangeDialogTest() : a(open("A", 2)), b(open("B", 2)) {
        addItem(addModel(a, "Cortex"), a.getSlice(0), {{1, 1}, {9, 1}, {9, 9}});
        addItem(addModel(a, "Nuclei", PolypointPrimitive), a.getSlice(1), {{4, 4}, {5, 5}});
        addItem(addModel(b, "Cortex"), b.getSlice(1), {{2, 2}, {3, 2}, {3, 3}});
    }
    ~ModelExchangeDialogTest() override {
        dialog.reset();
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    }

    static VRLStack& open(const char* name, int numSlices) {
        auto* const stack = new VRLStack;
        stack->setName(name);
        addSlices(*stack, numSlices);
        VRLStackServer::stackServer.addStack(*stack);
        return *stack;
    }

    void show() {
        dialog = std::make_unique<VRLModelExchangeDialog>();
        dialog->resize(560, 460);
        dialog->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    }

    QListWidget& stacks(int side) {
        return *dialog->findChildren<VRLStackListWidget*>()[side]->findChild<QListWidget*>();
    }
    VRLModelListWidget& models(int side) { return *dialog->findChildren<VRLModelListWidget*>()[side]; }
    QPushButton& send(int side) { return button(*dialog, side == 0 ? ">" : "<"); }
    QPushButton& pushed(const char* text) { return button(*dialog, text); }

    /// A click on the entry, as the user does.
    static void choose(QListWidget& list, const std::string& text, Qt::KeyboardModifiers modifiers = {}) {
        const auto found = list.findItems(QString::fromStdString(text), Qt::MatchExactly);
        ASSERT_EQ(found.size(), 1) << text;
        QTest::mouseClick(list.viewport(), Qt::LeftButton, modifiers, list.visualItemRect(found[0]).center());
    }
    void chooseStacks(const char* left, const char* right) {
        choose(stacks(0), left);
        choose(stacks(1), right);
    }

    /// The enabled state of both model lists, ">" and "<".
    std::vector<bool> state() {
        EXPECT_EQ(models(0).isEnabled(), models(1).isEnabled());
        return {models(0).isEnabled(), send(0).isEnabled(), send(1).isEnabled()};
    }
    std::vector<bool> undoState() { return {pushed("Undo").isEnabled(), pushed("Redo").isEnabled()}; }

    static Names namesOf(const VRLStack& stack) {
        Names names;
        for (int i = 0; i < stack.getNumModels(); ++i)
            names.push_back(stack.getModel(i).getName());
        return names;
    }
    static Names listed(const QListWidget& list) {
        QCoreApplication::processEvents();
        Names names;
        for (int i = 0; i < list.count(); ++i)
            names.push_back(list.item(i)->text().toStdString());
        return names;
    }
    QString notice() { return control<QLabel>(*dialog, "Notice").text(); }

    VRLStack& a;
    VRLStack& b;
    std::unique_ptr<VRLModelExchangeDialog> dialog;
};

} // namespace

TEST_F(ModelExchangeDialogTest, leadsThroughItsStatesAndSendsBothWays) {
    show();
    EXPECT_EQ(dialog->windowTitle(), "Model transfer");
    EXPECT_EQ(state(), (std::vector{false, false, false}));
    choose(stacks(0), "A");
    EXPECT_EQ(state(), (std::vector{false, false, false}));
    EXPECT_EQ(listed(models(0)), (Names{"Cortex", "Nuclei"}));
    choose(stacks(1), "B");
    EXPECT_EQ(state(), (std::vector{true, false, false}));
    choose(models(1), "Cortex");
    EXPECT_EQ(state(), (std::vector{true, false, true}));
    choose(models(0), "Nuclei");
    EXPECT_EQ(state(), (std::vector{true, true, false}));
    EXPECT_TRUE(models(1).selectedModels().empty());
    EXPECT_EQ(undoState(), (std::vector{false, false}));

    pushed(">").click();
    EXPECT_EQ(namesOf(b), (Names{"Cortex", "Nuclei"}));
    EXPECT_EQ(listed(models(1)), (Names{"Cortex", "Nuclei"}));
    EXPECT_EQ(b.getModel(1).getItem(0).getSlice(), &b.getSlice(1));
    EXPECT_TRUE(b.isModified());
    EXPECT_FALSE(a.history()->isUndoable());
    EXPECT_EQ(undoState(), (std::vector{true, false}));
    pushed("Undo").click();
    EXPECT_EQ(namesOf(b), (Names{"Cortex"}));
    EXPECT_EQ(listed(models(1)), (Names{"Cortex"}));
    EXPECT_EQ(undoState(), (std::vector{false, true}));
    pushed("Redo").click();
    EXPECT_EQ(namesOf(b), (Names{"Cortex", "Nuclei"}));
    EXPECT_EQ(undoState(), (std::vector{true, false}));
    // The other way, and taken back from the other stack.
    QCoreApplication::processEvents();
    ModalScript script;
    script.thenClick("Duplicate");
    choose(models(1), "Cortex");
    pushed("<").click();
    EXPECT_EQ(namesOf(a), (Names{"Cortex", "Nuclei", "Cortex (copy)"}));
    pushed("Undo").click();
    pushed("Undo").click();
    EXPECT_EQ(namesOf(a), (Names{"Cortex", "Nuclei"}));
    EXPECT_EQ(namesOf(b), (Names{"Cortex"}));
    EXPECT_EQ(undoState(), (std::vector{false, true}));
    // A stack that is closed takes its transfers along.
    VRLStackServer::stackServer.removeStack(b);
    EXPECT_EQ(state(), (std::vector{false, false, false}));
    EXPECT_EQ(undoState(), (std::vector{false, true})); // that of A
}

TEST_F(ModelExchangeDialogTest, refusesStacksThatDoNotGoTogether) {
    open("Short", 1);
    open("Other", 2).getSlice(1).setImageSource(FixedSource(7, 9));
    show();
    ModalScript script;
    chooseStacks("A", "A"); // without a message
    EXPECT_TRUE(stacks(1).selectedItems().empty());
    EXPECT_EQ(state(), (std::vector{false, false, false}));
    EXPECT_TRUE(script.seen.empty());
    script.thenClick("OK");
    script.thenClick("OK");
    choose(stacks(1), "Short");
    EXPECT_TRUE(stacks(1).selectedItems().empty());
    EXPECT_TRUE(listed(models(1)).empty());
    choose(stacks(1), "Other");
    ASSERT_EQ(script.seen.size(), 2u);
    EXPECT_NE(script.seen[0].find("Stack size error:\n\nStacks Short and A have different sizes"), std::string::npos)
        << script.seen[0];
    EXPECT_NE(script.seen[1].find("Image size error.\n\nStacks Other and A have slices with different image sizes"),
              std::string::npos)
        << script.seen[1];
    choose(stacks(1), "B");
    EXPECT_EQ(state(), (std::vector{true, false, false}));
}

TEST_F(ModelExchangeDialogTest, asksForEachNameThatIsTakenOrOnceForAll) {
    addItem(addModel(b, "Nuclei", PolypointPrimitive), b.getSlice(0), {{7, 7}});
    show();
    chooseStacks("A", "B");
    choose(models(0), "Cortex");
    choose(models(0), "Nuclei", Qt::ControlModifier);
    {
        ModalScript script;
        script.thenClick("Cancel");
        script.thenClick("Append");
        pushed(">").click();
        EXPECT_EQ(script.seen, (Names{"Action for Cortex", "Action for Nuclei"}));
    }
    EXPECT_EQ(b.getModel(0).getItem(0).getSlice(), &b.getSlice(1)); // left out
    ASSERT_EQ(b.getModel(1).getNumItems(), 2);
    {
        ModalScript script;
        script.then([](QWidget& asked) {
            asked.findChild<QCheckBox*>()->setChecked(true);
            ModalScript::click(asked, "Replace");
        });
        pushed(">").click();
    }
    // Replaced by one step, and the old ones brought back by one.
    ASSERT_EQ(b.getNumModels(), 2);
    EXPECT_EQ(b.getModel(0).getItem(0).getSlice(), &b.getSlice(0));
    EXPECT_EQ(b.getModel(1).getNumItems(), 1);
    pushed("Undo").click();
    ASSERT_EQ(b.getNumModels(), 2);
    EXPECT_EQ(b.getModel(0).getItem(0).getSlice(), &b.getSlice(1));
    EXPECT_EQ(b.getModel(1).getNumItems(), 2);
    {
        ModalScript script;
        script.thenReject();
        script.thenReject();
        pushed(">").click(); // nothing is left to do, without a message
    }
    EXPECT_EQ(b.getModel(1).getNumItems(), 2);
}

TEST_F(ModelExchangeDialogTest, warnsOfOtherPlacesInSpaceAndKeepsThemOnRequest) {
    b.getSlice(0).setRegistration(Registration(3, -2, 0));
    show();
    QCheckBox& world = *dialog->findChild<QCheckBox*>();
    EXPECT_FALSE(world.isEnabled());
    chooseStacks("A", "B");
    EXPECT_TRUE(notice().contains("Warning") && notice().contains("registration of their slices"))
        << notice().toStdString();
    ASSERT_TRUE(world.isEnabled());
    const auto sent = [&] {
        ModalScript script;
        script.thenClick("Replace");
        choose(models(0), "Cortex");
        pushed(">").click();
        return coordinates(b.getModel(b.getNumModels() - 1).getItem(0).getVertices());
    };
    EXPECT_EQ(sent(), coordinates(a.getModel(0).getItem(0).getVertices()));
    pushed("Undo").click();
    QCoreApplication::processEvents();
    world.click();
    EXPECT_NE(sent(), coordinates(a.getModel(0).getItem(0).getVertices()));
    if (const QString pictures = qEnvironmentVariable("VORLEN_PICTURES"); !pictures.isEmpty())
        dialog->grab().save(pictures + "/transfer.png");
    // The window comes back as it was left.
    const QSize size(611, 507);
    dialog->resize(size);
    QCoreApplication::processEvents();
    EXPECT_EQ(QSettings().value("modelTransferDialog/size").toSize(), size);
    pushed("Close").click();
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(VRLModelExchangeDialog().size(), size);
}

} // namespace vorlen
