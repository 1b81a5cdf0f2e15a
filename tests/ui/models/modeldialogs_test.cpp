#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

#include "editing/actions/vrlitemattributesaction.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "support/dialogdriver.h"
#include "support/documentmaker.h"
#include "support/eventrecorder.h"
#include "ui/models/vrlmodeldialog.h"
#include "ui/models/vrlmodeldialogmediator.h"
#include "ui/models/vrlmodelitemdialog.h"
#include "ui/models/vrlmodelitempropertieseditor.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/models/vrlmodelnameeditor.h"
#include "ui/models/vrlmodelpropertieseditor.h"

namespace vorlen {

namespace {

using Names = std::vector<std::string>;

/// Keeps the old properties that come with the events.
class PropertiesRecorder : public VRLEventClient {
public:
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override {
        models.push_back(event.getModel());
        oldProperties.push_back(event.getOldProperties());
        oldItemProperties.push_back(event.getOldItemProperties());
    }
    std::vector<Model*> models;
    std::vector<ModelProperties> oldProperties;
    std::vector<ModelItemProperties> oldItemProperties;
};

/// Counts the items of a deleted model, and those on a slice, when the event comes.
class DeletionRecorder : public VRLEventClient {
public:
    explicit DeletionRecorder(const StackSlice& slice) : __slice(slice) {}
    void modelDeleteEvent(VRLModelDeleteEvent& event) override {
        numItems.push_back(event.getModel()->getNumItems());
        numItemsOnSlice.push_back(__slice.getNumItems());
    }
    std::vector<int> numItems, numItemsOnSlice;

private:
    const StackSlice& __slice;
};

/// The dialog on a stack of 3 slices with the models "a" and "b": equal but for line width and visibility.
class VRLModelDialogTest : public ::testing::Test {
protected:
    VRLModelDialogTest() {
        stack.setName("brain");
        addSlices(stack, 3);
        b.getItemProperties().setLineWidth(4);
        b.getItemProperties().setRenderingVisibility(false);
        dialog.setStack(stack);
        dialog.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&dialog));
        recorder.take();
    }

    void select(std::initializer_list<int> rows) {
        const QSignalBlocker blocker(&list);
        list.clearSelection();
        for (const int row : rows)
            list.item(row)->setSelected(true);
        dialog.getMediator().modelSelectionChange();
    }

    void click(const char* text) { QTest::mouseClick(&button(dialog, text), Qt::LeftButton); }

    void typeName(const QString& text) {
        name.selectAll();
        QTest::keyClicks(&name, text);
    }

    Names rows() const {
        Names names;
        for (int row = 0; row < list.count(); ++row)
            names.push_back(list.item(row)->text().toStdString());
        return names;
    }

    /// List, name, geometry, other model properties, item properties; New, Delete, Apply, Cancel: + for enabled.
    std::string state() const {
        std::string text;
        const auto add = [&text](const QWidget& widget) { text += widget.isEnabled() ? '+' : '-'; };
        add(list);
        add(name);
        add(control<QComboBox>(dialog, "Geometry"));
        add(opacity);
        add(lineWidth);
        text += ' ';
        for (const char* label : {"New", "Delete", "Apply", "Cancel"})
            add(button(dialog, label));
        return text;
    }

    bool cleared() const {
        return name.text().isEmpty() &&
               dialog.findChild<VRLModelPropertiesEditor*>()->properties() == ModelProperties() &&
               dialog.findChild<VRLModelItemPropertiesEditor*>()->properties() == ModelItemProperties();
    }

    VRLStack stack;
    Model& a = addModel(stack, "a");
    Model& b = addModel(stack, "b");
    VRLModelDialog dialog;
    VRLModelListWidget& list = *dialog.findChild<VRLModelListWidget*>();
    QLineEdit& name = control<QLineEdit>(dialog, "Model name");
    QSpinBox& opacity = control<QSpinBox>(dialog, "Surface opacity");
    QSpinBox& lineWidth = control<QSpinBox>(dialog, "Line width");
    EventRecorder recorder;
};

class VRLModelItemDialogTest : public ::testing::Test {
protected:
    VRLModelItemDialogTest() {
        addSlices(stack, 1);
        dialog.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    }

    ModelItem& makeItem(MPrimitive geometry) {
        model.getProperties().setGeometry(geometry);
        return addItem(model, stack.getSlice(0), {{0, 0}, {5, 0}, {5, 5}, {0, 5}});
    }

    void click(const char* text) { QTest::mouseClick(&button(dialog, text), Qt::LeftButton); }

    /// Defaults, Apply, Cancel.
    std::string state() const {
        std::string text;
        for (const char* name : {"Defaults", "Apply", "Cancel"})
            text += button(dialog, name).isEnabled() ? '+' : '-';
        return text;
    }

    VRLStack stack;
    Model& model = addModel(stack, "m");
    VRLModelItemDialog dialog;
    QSpinBox& lineWidth = control<QSpinBox>(dialog, "Line width");
};

} // namespace

TEST_F(VRLModelDialogTest, everyStateEnablesWhatItShould) {
    EXPECT_EQ(dialog.windowTitle(), "Models for stack \"brain\"");
    EXPECT_EQ(rows(), Names({"a", "b"}));
    EXPECT_EQ(state(), "+---- +---");
    EXPECT_TRUE(cleared());

    click("New");
    EXPECT_EQ(state(), "-++++ --++");
    EXPECT_EQ(name.text(), "Model 3");
    opacity.setValue(3); // an edit leaves the creation what it is
    EXPECT_EQ(state(), "-++++ --++");
    click("Cancel");
    EXPECT_EQ(state(), "+---- +---");
    EXPECT_TRUE(cleared());

    select({0});
    EXPECT_EQ(state(), "++-++ -+--");
    EXPECT_EQ(name.text(), "a");
    opacity.setValue(100);
    EXPECT_EQ(state(), "-+-++ --++");
    click("Cancel");
    EXPECT_EQ(state(), "++-++ -+--");
    EXPECT_EQ(opacity.value(), 255);
    typeName("x");
    EXPECT_EQ(state(), "-+-++ --++");
    click("Apply");
    EXPECT_EQ(state(), "++-++ -+--");

    select({0, 1});
    EXPECT_EQ(state(), "+--++ -+--");
    EXPECT_EQ(name.text(), "");
    lineWidth.setValue(2);
    EXPECT_EQ(state(), "---++ --++");
    click("Cancel");
    select({});
    EXPECT_EQ(state(), "+---- +---");
    EXPECT_TRUE(cleared());
}

TEST_F(VRLModelDialogTest, aNewModelTakesWhatWasEnteredAndDefaultsForTheRest) {
    click("New");
    typeName("  left   lobe ");
    opacity.setValue(-1); // left blank
    lineWidth.setValue(7);
    control<QComboBox>(dialog, "Geometry").setCurrentIndex(1);
    click("Apply");
    ASSERT_EQ(stack.getNumModels(), 3);
    const Model& model = stack.getModel(2);
    EXPECT_EQ(model.getName(), "left lobe");
    EXPECT_EQ(model.getProperties().getGeometry(), PolylinePrimitive);
    EXPECT_EQ(model.getProperties().getSurfaceOpacity(), 255);
    EXPECT_FALSE(model.getProperties().hasBeginCapFlag());
    EXPECT_EQ(model.getItemProperties().getLineWidth(), 7);
    EXPECT_EQ(rows(), Names({"a", "b", "left lobe"}));
    EXPECT_TRUE(stack.isModified());
    EXPECT_EQ(recorder.take().front(), "stackModify");
    EXPECT_EQ(state(), "+---- +---");
    stack.history()->undo();
    EXPECT_EQ(stack.getNumModels(), 2);
    EXPECT_EQ(rows(), Names({"a", "b"}));
    stack.history()->redo();
    EXPECT_EQ(&stack.getModel(2), &model);
    EXPECT_EQ(rows(), Names({"a", "b", "left lobe"}));
}

TEST_F(VRLModelDialogTest, namesMustBeGivenAndBeTheOnlyOnes) {
    b.setName("Model 3");
    click("New");
    EXPECT_EQ(name.text(), "Model 3"); // proposed by number, and taken
    {
        Answers answers({"OK", "OK"});
        click("Apply");
        typeName(" ");
        click("Apply");
        EXPECT_EQ(answers.titles[0], "Vorlen");
        EXPECT_EQ(answers.texts[0], "Error: duplicate identifier.\n\n   A model named Model 3 already exists in this "
                                    "stack.\n   Please enter another model name.");
        EXPECT_EQ(answers.texts[1],
                  "Error: missing identifier.\n\n   The model name is empty.\n   Please enter a model name.");
    }
    EXPECT_EQ(state(), "-++++ --++");
    EXPECT_EQ(stack.getNumModels(), 2);
    click("Cancel");

    select({0});
    typeName("Model  3");
    {
        Answers answers({"OK"});
        click("Apply");
    }
    EXPECT_EQ(a.getName(), "a");
    EXPECT_EQ(state(), "-+-++ --++");
    EXPECT_FALSE(stack.isModified());
    EXPECT_TRUE(recorder.take().empty());
}

TEST_F(VRLModelDialogTest, editingOneModelRenamesItAndTellsWhatItWas) {
    PropertiesRecorder properties;
    const ModelProperties before = a.getProperties();
    const ModelItemProperties itemBefore = a.getItemProperties();
    select({0});
    typeName("z  z");
    opacity.setValue(10);
    control<QCheckBox>(dialog, "Begin cap").setCheckState(Qt::Checked);
    click("Apply");
    EXPECT_EQ(a.getName(), "z z");
    EXPECT_EQ(rows(), Names({"b", "z z"}));
    EXPECT_EQ(list.selectedModels(), Names({"z z"}));
    ModelProperties expected = before;
    expected.setSurfaceOpacity(10);
    expected.setBeginCapFlag(true);
    EXPECT_TRUE(a.getProperties() == expected);
    EXPECT_FALSE(a.getProperties().hasEndCapFlag());
    ASSERT_EQ(properties.models, std::vector<Model*>({&a}));
    EXPECT_TRUE(properties.oldProperties[0] == before);
    EXPECT_TRUE(properties.oldItemProperties[0] == itemBefore);
    EXPECT_EQ(recorder.take(), Names({"modelProperties", "stackModify"}));
    EXPECT_EQ(name.text(), "z z");
    stack.history()->undo();
    EXPECT_TRUE(a.getProperties() == before);
    EXPECT_EQ(rows(), Names({"a", "b"}));
    EXPECT_EQ(list.selectedModels(), Names({"a"}));
    EXPECT_EQ(name.text(), "a");
    EXPECT_EQ(opacity.value(), 255);
    stack.history()->redo();
    EXPECT_EQ(name.text(), "z z");
    // What is being entered stays.
    opacity.setValue(11);
    stack.history()->undo();
    EXPECT_EQ(rows(), Names({"a", "b"}));
    EXPECT_EQ(opacity.value(), 11);
    click("Cancel");
    EXPECT_EQ(opacity.value(), 255);
}

TEST_F(VRLModelDialogTest, severalModelsShowWhatTheyShareAndKeepWhatTheyDoNot) {
    select({0, 1});
    EXPECT_EQ(lineWidth.text(), " ");
    EXPECT_EQ(control<QCheckBox>(dialog, "Rendering visible").checkState(), Qt::PartiallyChecked);
    EXPECT_EQ(opacity.value(), 255);
    ModelItemProperties common;
    common.setColor(255, 0, 0);
    EXPECT_TRUE(dialog.findChild<VRLModelItemPropertiesEditor*>()->properties().intersection(common) == common);
    opacity.setValue(50);
    click("Apply");
    EXPECT_EQ(a.getProperties().getSurfaceOpacity(), 50);
    EXPECT_EQ(b.getProperties().getSurfaceOpacity(), 50);
    EXPECT_EQ(a.getItemProperties().getLineWidth(), 1);
    EXPECT_EQ(b.getItemProperties().getLineWidth(), 4);
    EXPECT_FALSE(b.getItemProperties().getRenderingVisibility());
    EXPECT_EQ(a.getName(), "a");
    EXPECT_EQ(recorder.take(), Names({"modelProperties", "stackModify", "modelProperties", "stackModify"}));
    stack.history()->undo(); // both at once
    EXPECT_EQ(b.getProperties().getSurfaceOpacity(), 255);
    EXPECT_EQ(opacity.value(), 255);
    EXPECT_FALSE(stack.history()->isUndoable());
}

TEST_F(VRLModelDialogTest, aModelWithoutItemsIsDeletedWithoutAQuestion) {
    Answers none({});
    select({0});
    click("Delete");
    ASSERT_EQ(stack.getNumModels(), 1);
    EXPECT_EQ(&stack.getModel(0), &b);
    EXPECT_EQ(rows(), Names({"b"}));
    EXPECT_EQ(state(), "+---- +---");
    EXPECT_TRUE(stack.isModified());
    EXPECT_EQ(recorder.take().front(), "stackModify");
}

TEST_F(VRLModelDialogTest, theDeletionOfItemsIsAskedFor) {
    addItem(a, stack.getSlice(0), {{0, 0}, {1, 0}});
    addItem(a, stack.getSlice(1), {{0, 0}, {1, 0}});
    addItem(b, stack.getSlice(1), {{0, 0}, {1, 0}});
    {
        Answers answers({"Cancel", "Escape", "Delete"});
        select({0});
        click("Delete");
        select({0, 1});
        click("Delete");
        EXPECT_EQ(stack.getNumModels(), 2);
        EXPECT_EQ(stack.getSlice(1).getNumItems(), 2);
        EXPECT_FALSE(stack.isModified());
        EXPECT_EQ(state(), "+--++ -+--");
        DeletionRecorder deletions(stack.getSlice(1));
        click("Delete");
        EXPECT_EQ(deletions.numItems, std::vector<int>({2, 1}));
        EXPECT_EQ(deletions.numItemsOnSlice, std::vector<int>({2, 1}));
        EXPECT_EQ(answers.titles[0], "Confirm deletion");
        EXPECT_EQ(answers.defaults[0], "Delete");
        EXPECT_EQ(answers.texts[0], "Deleting model \"a\" will delete 2 item(s).");
        EXPECT_EQ(answers.texts[1], "Deleting models \"a, etc.\" will delete 3 item(s).");
    }
    EXPECT_EQ(stack.getNumModels(), 0);
    EXPECT_EQ(stack.getSlice(0).getNumItems(), 0);
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 0);
    EXPECT_TRUE(rows().empty());
    stack.history()->undo();
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 2);
    EXPECT_EQ(rows(), Names({"a", "b"}));
}

TEST_F(VRLModelDialogTest, undoBringsADeletedModelBackAndGoesOnToWhatWasBefore) {
    ModelItem& gone = addItem(a, stack.getSlice(0), {{0, 0}, {1, 0}});
    ModelItem& kept = addItem(b, stack.getSlice(0), {{0, 0}, {1, 0}});
    for (ModelItem* item : {&gone, &kept, &gone}) {
        EditStep step(*stack.history());
        auto action = std::make_unique<VRLItemAttributesAction>(*item);
        ModelItemProperties properties;
        properties.setLineWidth(9);
        action->setProperties(properties);
        step.apply(std::move(action));
        step.commit();
    }
    {
        Answers answers({"Delete"});
        select({0});
        click("Delete");
    }
    EXPECT_EQ(stack.getNumModels(), 1);
    stack.history()->undo();
    EXPECT_EQ(&stack.getModel(0), &a);
    EXPECT_EQ(&stack.getSlice(0).getItem(0), &gone);
    for (int step = 0; step < 3; ++step)
        stack.history()->undo();
    EXPECT_FALSE(gone.getProperties().definesLineWidth());
    EXPECT_FALSE(kept.getProperties().definesLineWidth());
    EXPECT_FALSE(stack.history()->isUndoable());
}

// A file may bring two models of one name, and names with runs of blanks.
TEST_F(VRLModelDialogTest, modelsOfOneNameAreToldApartAndOddNamesStay) {
    b.setName("a");
    Model& odd = addModel(stack, "odd  name");
    dialog.setStack(stack);
    ASSERT_EQ(rows(), Names({"a", "a", "odd  name"}));
    select({1});
    lineWidth.setValue(8);
    click("Apply");
    EXPECT_EQ(a.getItemProperties().getLineWidth(), 1);
    EXPECT_EQ(b.getItemProperties().getLineWidth(), 8);
    select({2});
    lineWidth.setValue(8);
    click("Apply");
    EXPECT_EQ(odd.getName(), "odd  name");
    EXPECT_EQ(odd.getItemProperties().getLineWidth(), 8);
    select({0, 1});
    click("Delete");
    ASSERT_EQ(stack.getNumModels(), 1);
    EXPECT_EQ(&stack.getModel(0), &odd);
}

TEST_F(VRLModelDialogTest, followsModelsThatComeAndGoElsewhere) {
    EventRecorder sender;
    Model& c = addModel(stack, "c");
    VRLModelCreateEvent creation(&c);
    sender.notifyEvent(creation);
    EXPECT_EQ(rows(), Names({"a", "b", "c"}));
    select({2});
    VRLModelDeleteEvent deletion(&c);
    sender.notifyEvent(deletion);
    stack.deleteModel(2);
    EXPECT_EQ(rows(), Names({"a", "b"}));
    EXPECT_EQ(state(), "+---- +---");
}

TEST_F(VRLModelDialogTest, closeEndsTheDialogAndWhatWasNotApplied) {
    click("New");
    click("Close");
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(stack.getNumModels(), 2);
    EXPECT_FALSE(stack.isModified());
}

TEST_F(VRLModelItemDialogTest, showsTheAttributesInForceAndTheModelUnchangeable) {
    ModelItem& item = makeItem(PolygonPrimitive);
    item.getProperties().setLineWidth(6);
    dialog.setItem(item);
    EXPECT_EQ(dialog.windowTitle(), "Properties");
    EXPECT_EQ(lineWidth.value(), 6);
    EXPECT_EQ(control<QSpinBox>(dialog, "Point size").value(), 3); // the model's
    EXPECT_EQ(control<QLineEdit>(dialog, "Model name").text(), "m");
    EXPECT_FALSE(control<QLineEdit>(dialog, "Model name").isEnabled());
    EXPECT_FALSE(control<QSpinBox>(dialog, "Surface opacity").isEnabled());
    EXPECT_EQ(state(), "+--");
}

TEST_F(VRLModelItemDialogTest, applyIsOneStepThatCanBeUndone) {
    ModelItem& item = makeItem(PolygonPrimitive);
    dialog.setItem(item);
    EXPECT_EQ(state(), "---");
    lineWidth.setValue(5);
    EXPECT_EQ(state(), "+++");
    EventRecorder recorder;
    click("Apply");
    EXPECT_EQ(recorder.take(), Names({"stackModify", "itemAttribute"}));
    ModelItemProperties own;
    own.setLineWidth(5);
    EXPECT_TRUE(item.getProperties() == own); // nothing else differs from the model
    EXPECT_EQ(state(), "+--");
    EXPECT_TRUE(stack.isModified());
    EXPECT_FALSE(stack.history()->isStepOpen());
    stack.history()->undo();
    EXPECT_FALSE(item.getProperties().definesAny());
    EXPECT_EQ(lineWidth.value(), 1);
    EXPECT_FALSE(stack.history()->isUndoable());
    stack.history()->redo();
    EXPECT_TRUE(item.getProperties() == own);
    EXPECT_EQ(lineWidth.value(), 5);
}

TEST_F(VRLModelItemDialogTest, cancelDefaultsAndOk) {
    ModelItem& item = makeItem(PolygonPrimitive);
    ModelItemProperties own;
    own.setColor(0, 0, 255);
    item.setProperties(own);
    dialog.setItem(item);
    lineWidth.setValue(5);
    click("Cancel");
    EXPECT_EQ(lineWidth.value(), 1);
    EXPECT_EQ(state(), "+--");
    click("Defaults");
    EXPECT_EQ(state(), "-++");
    EXPECT_TRUE(item.getProperties() == own); // until it is applied
    click("OK");
    EXPECT_FALSE(item.getProperties().definesAny()); // the model's own color is no color of the item's
    EXPECT_FALSE(dialog.isVisible());
    // Without a change, OK leaves no step.
    dialog.show();
    dialog.setItem(item);
    click("OK");
    stack.history()->undo();
    EXPECT_TRUE(item.getProperties() == own);
    EXPECT_FALSE(stack.history()->isUndoable());
}

TEST_F(VRLModelItemDialogTest, theSelectedPointsAreSplitOffAndComeBackWithUndo) {
    ModelItem& item = makeItem(PolypointPrimitive);
    item.getSelection().set(true, 1, true);
    dialog.setItem(item);
    lineWidth.setValue(5);
    click("Apply");
    ASSERT_EQ(model.getNumItems(), 2);
    EXPECT_EQ(coordinates(item.getVertices()), (std::vector<std::pair<int, int>>{{5, 0}}));
    EXPECT_EQ(item.getProperties().getLineWidth(), 5);
    stack.history()->undo();
    EXPECT_EQ(model.getNumItems(), 1);
    EXPECT_EQ(item.getSize(), 4);
    EXPECT_FALSE(item.getProperties().definesAny());
}

TEST_F(VRLModelItemDialogTest, letsGoOfAnItemThatIsDeleted) {
    ModelItem& item = makeItem(PolygonPrimitive);
    dialog.setItem(item);
    lineWidth.setValue(5);
    EXPECT_EQ(state(), "+++");
    VRLModelItemDeleteEvent event(&item);
    EventRecorder().notifyEvent(event);
    EXPECT_EQ(state(), "---");
    click("OK");
    EXPECT_FALSE(item.getProperties().definesAny());
}

} // namespace vorlen
