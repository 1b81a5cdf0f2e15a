#include <gtest/gtest.h>

#include "editing/actions/vrlinsertvertexaction.h"
#include "editing/actions/vrlitemappendpointsaction.h"
#include "editing/actions/vrlitemattributesaction.h"
#include "editing/actions/vrlitemconversionaction.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/actions/vrlitemdeletionaction.h"
#include "editing/actions/vrlitemselectionattributesaction.h"
#include "editing/actions/vrlitemselectionconversionaction.h"
#include "editing/actions/vrlitemverticeschangeaction.h"
#include "editing/actions/vrlmodeldeletionaction.h"
#include "editing/actions/vrlmovevertexaction.h"
#include "editing/actions/vrlremoveselectionaction.h"
#include "editing/actions/vrlremovevertexaction.h"
#include "editing/actions/vrlselectionaction.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "support/documentmaker.h"
#include "support/eventrecorder.h"
#include "support/fixedsource.h"

namespace vorlen {

namespace {

using Points = std::vector<std::pair<int, int>>;
using Names = std::vector<std::string>;

/// Three slices with a polygon model, two models of points, and one item of each on the second slice.
class VRLActionsTest : public ::testing::Test {
protected:
    VRLActionsTest()
        : polygons(addModel(stack, "polygons")), points(addModel(stack, "points", PolypointPrimitive)),
          others(addModel(stack, "others", PolypointPrimitive)) {
        stack.setDefaultSliceSpacing(5);
        addSlices(stack, 3);
        for (int i = 0; i < 3; ++i)
            stack.getSlice(i).setImageSource(FixedSource(50, 50));
        polygon = &addItem(polygons, stack.getSlice(1), {{0, 0}, {10, 0}, {10, 10}});
        cloud = &addItem(points, stack.getSlice(1), {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}});
    }

    void push(VRLAction* action) {
        EditStep step(*stack.history());
        step.apply(std::unique_ptr<VRLAction>(action));
        step.commit();
    }

    /// Everything about the items: model, slice, vertices, selected ones, colour of their own, order on the slice.
    std::string state() const {
        std::string text;
        for (int i = 0; i < stack.getNumSlices(); ++i) {
            const StackSlice& slice = stack.getSlice(i);
            text += slice.getName() + ":";
            for (int k = 0; k < slice.getNumItems(); ++k) {
                const ModelItem& item = slice.getItem(k);
                bool listed = false;
                for (int m = 0; m < item.getModel()->getNumItems(); ++m)
                    listed = listed || &item.getModel()->getItem(m) == &item;
                text += " " + item.getModel()->getName() + (listed ? "" : "!") + "(";
                for (int v = 0; v < item.getSize(); ++v)
                    text += std::to_string(item.getVertices()[v][0]) + "," + std::to_string(item.getVertices()[v][1]) +
                            (item.getSelection().isSelected(v) ? "* " : " ");
                text += item.getProperties().definesColor() ? "c)" : ")";
            }
            text += "\n";
        }
        for (int i = 0; i < stack.getNumModels(); ++i)
            text += stack.getModel(i).getName() + " " + std::to_string(stack.getModel(i).getNumItems()) + "\n";
        return text;
    }

    /// Applies the action, undoes and redoes it, and expects the same states and events each time. Actions on single
    /// vertices do not bring the selection back.
    void expectReversible(VRLAction* action, const Names& applied, const Names& reverted) {
        const std::string before = state();
        EventRecorder recorder;
        push(action);
        const auto relevant = [&recorder] {
            Names names = recorder.take();
            std::erase(names, "stackModify");
            std::erase(names, "batchEnd"); // undo and redo are batches
            return names;
        };
        EXPECT_EQ(relevant(), applied);
        const std::string after = state();
        EXPECT_NE(after, before);
        const bool modifies = applied != Names{"itemSelect"}; // what is selected is in no file
        for (int round = 0; round < 2; ++round) {
            stack.setModified(false);
            stack.history()->undo();
            EXPECT_EQ(stack.isModified(), modifies);
            EXPECT_EQ(relevant(), reverted);
            EXPECT_EQ(state(), before);
            stack.setModified(false);
            stack.history()->redo();
            EXPECT_EQ(stack.isModified(), modifies);
            EXPECT_EQ(relevant(), applied);
            EXPECT_EQ(state(), after);
        }
    }

    void select(ModelItem& item, std::initializer_list<int> indices) {
        item.getSelection().set(false);
        for (int i : indices)
            item.getSelection().set(true, i, false);
    }

    VRLStack stack;
    Model& polygons;
    Model& points;
    Model& others;
    ModelItem* polygon;
    ModelItem* cloud;
};

Vector<double> at(int x, int y) {
    return point(x, y);
}

ModelItemProperties green() {
    ModelItemProperties properties;
    properties.setColor(0, 255, 0);
    return properties;
}

} // namespace

TEST_F(VRLActionsTest, verticesAreInsertedRemovedAndMoved) {
    polygon->getSelection().set(true);
    auto* insert = new VRLInsertVertexAction(*polygon);
    insert->setIndex(1);
    insert->setPoint(at(5, -3));
    expectReversible(insert, {"itemVertex"}, {"itemVertex"});
    EXPECT_EQ(coordinates(polygon->getVertices()), (Points{{0, 0}, {5, -3}, {10, 0}, {10, 10}}));
    EXPECT_TRUE(polygon->getSelection().isComplete());

    select(*cloud, {0});
    auto* insertPoint = new VRLInsertVertexAction(*cloud);
    insertPoint->setIndex(5);
    insertPoint->setPoint(at(9, 9));
    push(insertPoint);
    EXPECT_EQ(cloud->getSelection().getSize(), 2);
    EXPECT_TRUE(cloud->getSelection().isSelected(5));

    auto* move = new VRLMoveVertexAction(*polygon);
    move->setIndex(2);
    EXPECT_TRUE(move->isNull());
    move->setPoint(at(11, 1));
    EXPECT_FALSE(move->isNull());
    expectReversible(move, {"itemVertex"}, {"itemVertex"});
    EXPECT_EQ(stack.history()->getUndoDescription(false), "Move item vertex");

    polygon->getSelection().set(true);
    auto* remove = new VRLRemoveVertexAction(*polygon);
    remove->setIndex(0);
    expectReversible(remove, {"itemVertex"}, {"itemVertex"});
    EXPECT_EQ(polygon->getSize(), 3);
}

TEST_F(VRLActionsTest, verticesAreAppendedAndExchanged) {
    auto* append = new VRLItemAppendPointsAction(*cloud);
    Vertices<double> more = makeVertices({{7, 7}, {8, 8}});
    append->setVertices(more);
    more[0][0] = 99; // the action has a copy
    expectReversible(append, {"itemVertex"}, {"itemVertex"});
    EXPECT_EQ(coordinates(cloud->getVertices()).back(), (std::pair<int, int>{8, 8}));
    EXPECT_EQ(cloud->getVertices()[5][0], 7);

    polygon->getSelection().set(true);
    auto* exchange = new VRLItemVerticesChangeAction(*polygon);
    exchange->setVertices(makeVertices({{1, 1}, {2, 2}}));
    expectReversible(exchange, {"itemVertex"}, {"itemVertex"});
    EXPECT_TRUE(polygon->getSelection().isComplete());
}

TEST_F(VRLActionsTest, selectionsChangeAndSelectedVerticesGo) {
    select(*cloud, {1, 3});
    auto* selection = new VRLSelectionAction(*cloud);
    EXPECT_TRUE(selection->isNull());
    ModelItemSelection all = cloud->getSelection();
    all.set(true);
    selection->setSelection(all);
    expectReversible(selection, {"itemSelect"}, {"itemSelect"});

    select(*cloud, {1, 3});
    expectReversible(new VRLRemoveSelectionAction(*cloud), {"itemVertex"}, {"itemVertex"});
    EXPECT_EQ(coordinates(cloud->getVertices()), (Points{{1, 1}, {3, 3}, {5, 5}}));
    select(*cloud, {2});
    auto* reverse = new VRLRemoveSelectionAction(*cloud);
    reverse->setReverseMode(true);
    expectReversible(reverse, {"itemVertex"}, {"itemVertex"});
    EXPECT_EQ(coordinates(cloud->getVertices()), (Points{{5, 5}}));
}

TEST_F(VRLActionsTest, itemsComeAndGoAsTheSameObjects) {
    auto* item = new ModelItem;
    item->setModel(&polygons);
    item->setSlice(&stack.getSlice(2));
    item->setVertices(makeVertices({{3, 3}, {4, 4}, {5, 3}}));
    expectReversible(new VRLItemCreationAction(*item), {"itemCreate"}, {"itemDelete"});
    EXPECT_EQ(&stack.getSlice(2).getItem(0), item);
    EXPECT_EQ(stack.getLastSegmentedSlice(), "s2");

    auto* deletion = new VRLItemDeletionAction(*item);
    VRLItemDeletionAction same(*item), another(*polygon);
    const VRLAction& present = *deletion;
    EXPECT_TRUE(present == same);
    EXPECT_TRUE(present != another);
    expectReversible(deletion, {"itemDelete"}, {"itemCreate"});
    stack.history()->undo();
    EXPECT_EQ(&stack.getSlice(2).getItem(0), item);
}

TEST_F(VRLActionsTest, detachedItemsDieWithTheStepsThatHoldThem) {
    // The sanitizers tell whether an item leaks or dies twice.
    auto* item = new ModelItem;
    item->setModel(&polygons);
    item->setSlice(&stack.getSlice(0));
    push(new VRLItemCreationAction(*item));
    stack.history()->undo();
    push(new VRLItemDeletionAction(*polygon));
    EXPECT_FALSE(stack.history()->isRedoable());
    stack.destroyHistory();
    EXPECT_EQ(polygons.getNumItems(), 0);
}

TEST_F(VRLActionsTest, attributesOfAWholeItemAndOfSelectedPoints) {
    auto* whole = new VRLItemSelectionAttributesAction(*polygon);
    whole->setProperties(green());
    expectReversible(whole, {"itemAttribute"}, {"itemAttribute"});

    select(*cloud, {1, 2, 4});
    auto* part = new VRLItemSelectionAttributesAction(*cloud);
    part->setProperties(green());
    expectReversible(part, {"itemCreate", "itemVertex", "itemAttribute"},
                     {"itemVertex", "itemDelete", "itemAttribute"});
    EXPECT_EQ(coordinates(cloud->getVertices()), (Points{{2, 2}, {3, 3}, {5, 5}}));
    EXPECT_TRUE(cloud->getProperties().definesColor());
    ASSERT_EQ(points.getNumItems(), 2);
    EXPECT_EQ(coordinates(points.getItem(1).getVertices()), (Points{{1, 1}, {4, 4}}));
    EXPECT_FALSE(points.getItem(1).getProperties().definesColor());

    select(*cloud, {0});
    VRLItemAttributesAction plain(*cloud);
    EXPECT_THROW(plain.apply(), ProgramError);
}

TEST_F(VRLActionsTest, aWholeItemIsConvertedAndGetsItsOldLookBack) {
    polygon->setProperties(green());
    Model& more = addModel(stack, "more");
    auto* conversion = new VRLItemConversionAction(*polygon);
    conversion->setModel(more);
    expectReversible(conversion, {"itemConvert"}, {"itemConvert"});
    EXPECT_EQ(polygon->getModel(), &more);
    VRLItemConversionAction nowhere(*polygon);
    nowhere.apply();
    EXPECT_EQ(polygon->getModel(), &more);
}

TEST_F(VRLActionsTest, selectedPointsGoToTheirBuddyOrToANewItem) {
    // Without a buddy: a new item.
    select(*cloud, {0, 2, 4});
    auto* first = new VRLItemSelectionConversionAction(*cloud);
    EXPECT_EQ(first->description(false), "<Invalid item selection conversion action>");
    first->setModel(others);
    EXPECT_EQ(first->description(false), "Conversion to: others");
    expectReversible(first, {"itemCreate", "itemVertex"}, {"itemDelete", "itemVertex"});
    ASSERT_EQ(others.getNumItems(), 1);
    ModelItem& buddy = others.getItem(0);
    EXPECT_EQ(coordinates(buddy.getVertices()), (Points{{1, 1}, {3, 3}, {5, 5}}));
    EXPECT_EQ(coordinates(cloud->getVertices()), (Points{{2, 2}, {4, 4}}));

    // With one, and some selected: appended there.
    select(*cloud, {1});
    auto* second = new VRLItemSelectionConversionAction(*cloud);
    second->setModel(others);
    expectReversible(second, {"itemVertex", "itemVertex"}, {"itemVertex", "itemVertex"});
    EXPECT_EQ(buddy.getSize(), 4);

    // With one, and all selected: appended, and the item is gone.
    select(*cloud, {0});
    auto* third = new VRLItemSelectionConversionAction(*cloud);
    third->setModel(others);
    expectReversible(third, {"itemVertex", "itemDelete"}, {"itemVertex", "itemCreate"});
    EXPECT_EQ(buddy.getSize(), 5);
    EXPECT_EQ(points.getNumItems(), 0);
}

TEST_F(VRLActionsTest, allPointsWithoutABuddyMoveAsAnItem) {
    cloud->getSelection().set(true);
    auto* conversion = new VRLItemSelectionConversionAction(*cloud);
    conversion->setModel(others);
    expectReversible(conversion, {"itemConvert"}, {"itemConvert"});
    EXPECT_EQ(&others.getItem(0), cloud);
}

TEST_F(VRLActionsTest, anItemThatLooksUnlikeItsModelIsNoBuddy) {
    addItem(others, stack.getSlice(1), {{20, 20}}).setProperties(green());
    select(*cloud, {0});
    auto* conversion = new VRLItemSelectionConversionAction(*cloud);
    conversion->setModel(others);
    push(conversion);
    EXPECT_EQ(others.getNumItems(), 2);
}

TEST_F(VRLActionsTest, aModelLeavesWithItsItems) {
    expectReversible(new VRLModelDeletionAction(stack, points), {"modelDelete"}, {"modelCreate"});
    EXPECT_EQ(stack.findModel("points"), -1);
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 1);
}

TEST_F(VRLActionsTest, aSliceLeavesAndComesBackWithItsItems) {
    auto* deletion = new VRLSliceInsertionDeletionAction(stack.getSlice(1));
    deletion->setDeletionMode();
    deletion->setSlicePosition(1);
    expectReversible(deletion, {"sliceOut"}, {"sliceIn"});
    EXPECT_EQ(stack.history()->getUndoDescription(false), "Delete slice");
    EXPECT_EQ(polygons.getNumItems(), 0);
    EXPECT_EQ(stack.getReconstruction().getZMap().getSize(), 2);
    stack.history()->undo();
    EXPECT_EQ(polygons.getNumItems(), 1);
    EXPECT_EQ(stack.getReconstruction().getZMap().getSize(), 3);

    // The slices behind stand where they stood.
    EXPECT_EQ(stack.getAbsolutePositions(), (std::vector<double>{0, 5, 10}));
    EXPECT_TRUE(stack.getSlice(2).isDefaultRelativePosition());
    stack.history()->redo();
    EXPECT_EQ(stack.getAbsolutePositions(), (std::vector<double>{0, 10}));
    stack.history()->undo();

    auto* slice = new StackSlice;
    slice->setName("new");
    slice->setStack(&stack);
    auto* insertion = new VRLSliceInsertionDeletionAction(*slice);
    insertion->setSlicePosition(1);
    expectReversible(insertion, {"sliceIn"}, {"sliceOut"});
    EXPECT_EQ(stack.getAbsolutePositions(), (std::vector<double>{0, 5, 10, 15}));
    stack.history()->undo();
    EXPECT_EQ(stack.getAbsolutePositions(), (std::vector<double>{0, 5, 10}));
    EXPECT_TRUE(stack.getSlice(1).isDefaultRelativePosition());
}

} // namespace vorlen
