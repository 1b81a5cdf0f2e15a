#include "document/modelitemowner.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "document/stacksliceselectioninfo.h"
#include "support/documentmaker.h"

namespace vorlen {

namespace {

std::vector<const ModelItem*> items(const ModelItemOwner& owner) {
    std::vector<const ModelItem*> list;
    for (int i = 0; i < owner.getNumItems(); ++i)
        list.push_back(&owner.getItem(i));
    return list;
}

class ModelItemOwnerTest : public testing::Test {
protected:
    ModelItemOwnerTest() { addSlices(stack, 4); }

    Stack stack;
    Model& model = addModel(stack, "model");
    Model& other = addModel(stack, "other", PolypointPrimitive);
};

TEST_F(ModelItemOwnerTest, anItemIsListedOnceInEachOfTwo) {
    ModelItem& item = addItem(model, stack.getSlice(1));
    item.attach();
    model.addItem(item);
    EXPECT_EQ(model.getNumItems(), 1);
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 1);
    item.detachFromSlice();
    EXPECT_EQ(stack.getSlice(1).getNumItems(), 0);
    EXPECT_EQ(model.getNumItems(), 1);
    item.detach();
    item.detach();
    EXPECT_EQ(model.getNumItems(), 0);
    EXPECT_EQ(item.getModel(), &model);
    item.attach();
    EXPECT_EQ(&stack.getSlice(1).getItem(0), &item);
}

TEST_F(ModelItemOwnerTest, removalKeepsTheOrderOfTheRest) {
    std::vector<const ModelItem*> expected;
    for (int i = 0; i < 4; ++i)
        expected.push_back(&addItem(model, stack.getSlice(0)));
    ModelItem& second = model.getItem(1);
    second.detach();
    expected.erase(expected.begin() + 1);
    EXPECT_EQ(items(model), expected);
    EXPECT_EQ(items(stack.getSlice(0)), expected);
    delete &second;
}

TEST_F(ModelItemOwnerTest, settingTheModelLeavesTheOldOneWithoutJoiningTheNew) {
    ModelItem& item = addItem(model, stack.getSlice(0));
    item.setModel(&other);
    EXPECT_EQ(model.getNumItems(), 0);
    EXPECT_EQ(other.getNumItems(), 0);
    EXPECT_EQ(stack.getSlice(0).getNumItems(), 1);
    item.attachToModel();
    EXPECT_EQ(other.getNumItems(), 1);
}

TEST_F(ModelItemOwnerTest, aDeletedItemLeavesEveryListEvenThatOfAFormerSlice) {
    ModelItem& item = addItem(model, stack.getSlice(0));
    item.setSlice(&stack.getSlice(1));
    EXPECT_EQ(stack.getSlice(0).getNumItems(), 1);
    delete &item;
    EXPECT_EQ(stack.getSlice(0).getNumItems(), 0);
    EXPECT_EQ(model.getNumItems(), 0);
}

TEST_F(ModelItemOwnerTest, aDeletedSliceTakesItsItemsOutOfTheModels) {
    ModelItem& stays = addItem(model, stack.getSlice(0));
    addItem(model, stack.getSlice(1));
    addItem(other, stack.getSlice(1));
    stack.deleteSlice(1);
    EXPECT_EQ(items(model), std::vector<const ModelItem*>{&stays});
    EXPECT_EQ(other.getNumItems(), 0);
}

TEST_F(ModelItemOwnerTest, aDeletedModelTakesItsItemsOutOfTheSlices) {
    ModelItem& stays = addItem(model, stack.getSlice(0));
    addItem(other, stack.getSlice(0));
    addItem(other, stack.getSlice(3));
    stack.deleteModel(1);
    EXPECT_EQ(items(stack.getSlice(0)), std::vector<const ModelItem*>{&stays});
    EXPECT_EQ(stack.getSlice(3).getNumItems(), 0);
}

TEST_F(ModelItemOwnerTest, findsSelectedItems) {
    ModelItem& a = addItem(model, stack.getSlice(0), {{0, 0}});
    ModelItem& b = addItem(model, stack.getSlice(0), {{0, 0}, {1, 1}});
    ModelItem& c = addItem(other, stack.getSlice(0), {{0, 0}});
    EXPECT_EQ(stack.getSlice(0).getSelectedItem(), nullptr);
    EXPECT_TRUE(stack.getSlice(0).getSelectedItems().empty());
    b.getSelection().set(true, 1, false);
    c.getSelection().set(true);
    EXPECT_EQ(stack.getSlice(0).getSelectedItem(), &b);
    EXPECT_EQ(stack.getSlice(0).getSelectedItems(), (std::vector<ModelItem*>{&b, &c}));
    EXPECT_TRUE(a.getSelection().isEmpty());
}

TEST_F(ModelItemOwnerTest, selectionInfoCountsAndNamesTheGeometry) {
    ModelItem& a = addItem(model, stack.getSlice(0), {{0, 0}, {1, 1}});
    ModelItem& b = addItem(model, stack.getSlice(0), {{0, 0}, {1, 1}});
    ModelItem& c = addItem(other, stack.getSlice(0), {{0, 0}});
    StackSliceSelectionInfo info;
    EXPECT_TRUE(info.emptySelection());
    info.setSlice(&stack.getSlice(0));
    EXPECT_TRUE(info.emptySelection());
    EXPECT_EQ(info.selectionGeometry(), UnknownPrimitive);
    a.getSelection().set(true, 0, false);
    EXPECT_TRUE(info.emptySelection()) << "as of the last update";
    info.update();
    EXPECT_EQ(info.getNumSelectedItems(), 1);
    EXPECT_TRUE(info.partialSelection());
    EXPECT_FALSE(info.multipleSelection());
    EXPECT_EQ(info.selectionGeometry(), PolygonPrimitive);
    b.getSelection().set(true);
    info.update();
    EXPECT_TRUE(info.multipleSelection());
    EXPECT_EQ(info.getNumPartiallySelectedItems(), 1);
    EXPECT_TRUE(info.homogeneousSelection());
    c.getSelection().set(true);
    info.update();
    EXPECT_EQ(info.getNumSelectedItems(), 3);
    EXPECT_FALSE(info.homogeneousSelection());
    info.setSlice(&stack.getSlice(1));
    EXPECT_TRUE(info.emptySelection());
    EXPECT_FALSE(info.partialSelection());
}

TEST_F(ModelItemOwnerTest, aBuddyHasTheSameModelAndLook) {
    ModelItem& item = addItem(other, stack.getSlice(0));
    ModelItem& stranger = addItem(model, stack.getSlice(0));
    ModelItem& larger = addItem(other, stack.getSlice(0));
    larger.getProperties().setPointSize(9);
    EXPECT_EQ(stack.getSlice(0).buddyItem(item), nullptr);
    ModelItem& buddy = addItem(other, stack.getSlice(0));
    EXPECT_EQ(stack.getSlice(0).buddyItem(item), &buddy);
    EXPECT_EQ(stack.getSlice(0).buddyItem(buddy), &item);
    EXPECT_EQ(stack.getSlice(0).buddyItem(stranger), nullptr);
}

TEST_F(ModelItemOwnerTest, intersectionIsInOrderOfAddress) {
    std::vector<ModelItem*> expected;
    for (int i = 0; i < 6; ++i) {
        ModelItem& item = addItem(i % 2 == 0 ? model : other, stack.getSlice(i < 4 ? 0 : 1));
        if (i % 2 == 0 && i < 4)
            expected.push_back(&item);
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(model.intersection(stack.getSlice(0)), expected);
    EXPECT_EQ(stack.getSlice(0).intersection(model), expected);
    EXPECT_TRUE(model.intersection(other).empty());
}

TEST_F(ModelItemOwnerTest, sortExchangesTheFirstSmallestWithTheFirstUnsorted) {
    stack.setDefaultSliceSpacing(1);
    // Slices 2a 2b 1: the exchange puts 2a behind 2b.
    const ModelItem* a = &addItem(model, stack.getSlice(2));
    const ModelItem* b = &addItem(model, stack.getSlice(2));
    const ModelItem* c = &addItem(model, stack.getSlice(1));
    EXPECT_FALSE(model.isSorted());
    model.sort();
    EXPECT_EQ(items(model), (std::vector<const ModelItem*>{c, b, a}));
    EXPECT_TRUE(model.isSorted());
    EXPECT_TRUE(other.isSorted());
    other.sort();
    EXPECT_EQ(other.getNumItems(), 0);
}

/// The selection sort itself, on (position, item) pairs.
std::vector<const ModelItem*> selectionSorted(std::vector<std::pair<float, const ModelItem*>> list) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        std::size_t smallest = i;
        for (std::size_t j = i + 1; j < list.size(); ++j)
            if (list[j].first < list[smallest].first)
                smallest = j;
        std::swap(list[i], list[smallest]);
    }
    std::vector<const ModelItem*> sorted;
    for (const auto& [position, item] : list)
        sorted.push_back(item);
    return sorted;
}

TEST_F(ModelItemOwnerTest, sortGivesTheOrderOfASelectionSort) {
    std::mt19937 random(7);
    Stack many;
    addSlices(many, 12);
    many.setDefaultSliceSpacing(-2);
    many.getSlice(5).setAbsolutePosition(-3);
    many.getSlice(9).setRelativePosition(0);
    for (int round = 0; round < 20; ++round) {
        Model& shuffled = addModel(many, "m");
        std::vector<std::pair<float, const ModelItem*>> list;
        for (int i = 0; i < 40; ++i) {
            StackSlice& slice = many.getSlice(int(random() % 12));
            list.emplace_back(slice.getAbsolutePosition(), &addItem(shuffled, slice));
        }
        shuffled.sort();
        EXPECT_EQ(items(shuffled), selectionSorted(list));
        EXPECT_TRUE(shuffled.isSorted());
    }
}

TEST_F(ModelItemOwnerTest, sortSurvivesPositionsThatAreNoNumbers) {
    stack.getSlice(1).setAbsolutePosition(NAN);
    stack.getSlice(3).setAbsolutePosition(2);
    const ModelItem* none = &addItem(model, stack.getSlice(1));
    const ModelItem* third = &addItem(model, stack.getSlice(3));
    const ModelItem* first = &addItem(model, stack.getSlice(0));
    model.sort();
    EXPECT_EQ(items(model), (std::vector<const ModelItem*>{first, third, none}));
}

TEST_F(ModelItemOwnerTest, manyItemsCostNoMoreThanTheirNumber) {
    // Quadratic work on 200000 items would take minutes.
    const auto start = std::chrono::steady_clock::now();
    Stack large;
    addSlices(large, 2000);
    large.setDefaultSliceSpacing(1);
    Model& crowded = addModel(large, "crowded");
    for (int i = 0; i < 200000; ++i)
        addItem(crowded, large.getSlice((i * 7919) % 2000));
    crowded.sort();
    EXPECT_TRUE(crowded.isSorted());
    large.removeModel(crowded);
    EXPECT_EQ(large.getSlice(0).getNumItems(), 0);
    large.addModel(&crowded);
    EXPECT_EQ(large.getSlice(0).getNumItems(), 100);
    large.clear();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

} // namespace

} // namespace vorlen
