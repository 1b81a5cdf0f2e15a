#include "editing/operations/copyoperations.h"

#include <cmath>

#include "editing/operationfixture.h"
#include "editing/operations/itemoperations.h"
#include "reconstruction/stackreconstruction.h"
#include "support/testimages.h"

namespace vorlen {

namespace {

const Points outline = {{90, 30}, {90, 70}, {40, 70}, {40, 30}}; // counter-clockwise, as contours are kept

} // namespace

class CopyOperationsTest : public OperationTest {
protected:
    /// Slices 1 to 4 with images of 160 x 120 pixels.
    CopyOperationsTest() {
        for (int i = 0; i < 4; ++i)
            addImage(TestImages::uniform(160, 120, 8, 100));
    }

    std::vector<std::pair<double, double>> onlyItemOn(int rank) {
        StackSlice& on = stack.getSlice(rank);
        EXPECT_EQ(on.getNumItems(), 1) << rank;
        if (on.getNumItems() != 1)
            return {};
        return decimals(on.getItem(0).getVertices());
    }
};

TEST_F(CopyOperationsTest, whatIsSelectedIsCopiedAsOneStepAndTheCopiesAreSelected) {
    StackSlice& from = stack.getSlice(1);
    ModelItem& contour = addItem(polygon, from, outline);
    ModelItem& points = addItem(dots, from, {{5, 6}, {7, 8}, {9, 10}});
    addItem(other, from, outline);
    select(contour, {0, 2}); // contours go as a whole
    select(points, {1});
    addItem(dots, stack.getSlice(2), {{1, 1}});
    expectStep([&] { return copySelectionAround(stack, from, 5, 2); });
    EXPECT_EQ(stack.getSlice(0).getNumItems(), 2);
    for (const int i : {2, 3}) {
        const StackSlice& on = stack.getSlice(i);
        ASSERT_EQ(on.getNumItems(), 2) << i;
        const int contourAt = i == 2 ? 1 : 0;
        EXPECT_EQ(verticesOf(on.getItem(contourAt)), outline);
        EXPECT_EQ(on.getItem(contourAt).getModel(), &polygon);
    }
    EXPECT_EQ(verticesOf(stack.getSlice(2).getItem(0)), (Points{{1, 1}, {7, 8}})); // the points that were there
    EXPECT_EQ(stack.getSlice(4).getNumItems(), 0);
    history().undo();
    EXPECT_TRUE(copySelectionAround(stack, from, 0, 1));
    EXPECT_EQ(stack.getSlice(2).getItem(0).getSelection().getSize(), 1);
    EXPECT_TRUE(stack.getSlice(2).getItem(1).getSelection().isComplete());
}

TEST_F(CopyOperationsTest, copiesLieWhereTheRegistrationsAndPixelSizesPutThem) {
    StackSlice& from = stack.getSlice(1);
    StackSlice& to = stack.getSlice(3);
    from.setRegistration(Registration(4, -3, 20));
    stack.getSlice(2).setRegistration(Registration(-7, 2, 0));
    to.setRegistration(Registration(10, 5, 90));
    for (StackSlice* const each : {&from, &to}) {
        each->getPixelCalibration().setPixelWidth(each == &to ? 0.5f : 1);
        each->getPixelCalibration().setPixelHeight(each == &to ? 0.25f : 1);
    }
    ModelItem& contour = addItem(polygon, from, outline);
    select(contour, {0});
    expectStep([&] { return copySelection(stack, from, {&to, &to, &from}); });
    const auto found = onlyItemOn(3);
    ASSERT_EQ(found.size(), outline.size());
    const StackReconstruction<double> space(stack);
    for (std::size_t k = 0; k < outline.size(); ++k) {
        const Vector<double> before = space.toWorld(1, outline[k].first, outline[k].second);
        const Vector<double> after = space.toWorld(3, found[k].first, found[k].second);
        EXPECT_LE(std::hypot(after[0] - before[0], after[1] - before[1]), 0.0005) << "half a thousandth of a pixel";
    }
}

TEST_F(CopyOperationsTest, whatCannotBeCopiedIsRefused) {
    StackSlice& from = stack.getSlice(1);
    expectRefusal([&] { return copySelectionAround(stack, from, 1, 1); }, "Nothing is selected that could be copied");
    ModelItem& contour = addItem(polygon, from, outline);
    select(contour, {0});
    expectRefusal([&] { return copySelectionAround(stack, from, 0, 0); }, "There is no other slice to copy to");
    stack.getSlice(2).getPixelCalibration().setPixelWidth(0);
    expectRefusal([&] { return copySelectionAround(stack, from, 1, 1); },
                  "The size of a pixel is not known on slice image2");
}

TEST_F(CopyOperationsTest, slicesWhereAnOutlineOfTheModelStandsAlreadyAreKnown) {
    StackSlice& from = stack.getSlice(2);
    select(addItem(polygon, from, outline), {0});
    select(addItem(dots, from, {{5, 6}}), {0});
    StackSlice& fifth = addImage(TestImages::uniform(160, 120, 8, 100));
    addItem(dots, stack.getSlice(1), {{50, 50}});                                    // a point
    addItem(other, stack.getSlice(1), outline);                                      // of another model
    addItem(polygon, stack.getSlice(1), {{30, 10}, {30, 20}, {10, 20}, {10, 10}});   // elsewhere
    addItem(polygon, stack.getSlice(3), {{70, 40}, {70, 50}, {60, 50}, {60, 40}});   // within it
    addItem(polygon, stack.getSlice(4), {{100, 20}, {100, 80}, {30, 80}, {30, 20}}); // around it
    addItem(polygon, fifth, {{60, 50}, {60, 90}, {20, 90}, {20, 50}});               // crosses it
    EXPECT_EQ(outlinedAlready(stack, from), (std::vector<bool>{false, false, false, true, true, true}));
    // In space, not by pixels.
    stack.getSlice(3).setRegistration(Registration(200, 0, 0));
    fifth.setRegistration(Registration(-200, 0, 0));          // back again
    stack.getSlice(4).getPixelCalibration().setPixelWidth(0); // nobody knows
    EXPECT_EQ(outlinedAlready(stack, from), (std::vector<bool>{false, false, false, false, false, true}));
}

TEST_F(CopyOperationsTest, whatWasCopiedIsPastedWhereItLiesInSpace) {
    StackSlice& from = stack.getSlice(1);
    StackSlice& to = stack.getSlice(3);
    ModelItem& contour = addItem(polygon, from, outline);
    ModelItem& points = addItem(dots, from, {{5, 6}, {7, 8}});
    select(contour, {0});
    select(points, {1});
    to.setRegistration(Registration(10, 5, 0));
    const std::vector<CopiedItem> copied = copiedSelection(stack, from);
    const StackReconstruction<double> space(stack);
    const Vector<double> before = space.toWorld(1, outline[0].first, outline[0].second);
    ASSERT_TRUE(deleteItem(stack, contour)); // what was copied stays
    expectStep([&] { return pasteItems(stack, to, copied); });
    ASSERT_EQ(to.getNumItems(), 2);
    EXPECT_EQ(to.getItem(1).getSize(), 1);
    const Vector<double> after =
        space.toWorld(3, double(to.getItem(0).getVertices()[0][0]), double(to.getItem(0).getVertices()[0][1]));
    EXPECT_NEAR(before[0], after[0], 0.51);
    EXPECT_NEAR(before[1], after[1], 0.51);
    EXPECT_NE(decimals(to.getItem(0).getVertices()), decimals(makeVertices(outline))); // for it is shifted
    to.getPixelCalibration().setPixelWidth(0); // without a size, at the same pixels
    ASSERT_TRUE(pasteItems(stack, to, copied));
    EXPECT_EQ(verticesOf(to.getItem(2)), outline);
}

TEST_F(CopyOperationsTest, whatWasCopiedGoesIntoAnotherStackThatHasItsModels) {
    ModelItem& contour = addItem(polygon, stack.getSlice(1), outline);
    select(contour, {0});
    const std::vector<CopiedItem> copied = copiedSelection(stack, stack.getSlice(1));
    VRLStack second;
    second.addSlice(new StackSlice);
    StackSlice& to = second.getSlice(0);
    EXPECT_EQ(pasteItems(second, to, copied).getReason(), "This stack has no model Polygon of that kind");
    addModel(second, "Polygon");
    EXPECT_TRUE(pasteItems(second, to, copied));
    EXPECT_EQ(to.getNumItems(), 1);
    EXPECT_EQ(pasteItems(second, to, {}).getReason(), "Nothing was copied that could be pasted");
}

TEST_F(CopyOperationsTest, theOutlinesOfTheNeighboursLieWhereTheyAreInSpace) {
    addItem(polygon, stack.getSlice(1), outline);
    addItem(dots, stack.getSlice(3), {{5, 6}});
    addItem(dots, stack.getSlice(4), {{50, 60}});
    const std::vector<NeighbourOutline> near = neighbourOutlines(stack, stack.getSlice(2));
    ASSERT_EQ(near.size(), 2U);
    EXPECT_EQ(near[0].model, &polygon);
    EXPECT_TRUE(near[0].before);
    ASSERT_EQ(near[0].points.size(), outline.size());
    EXPECT_NEAR(near[0].points[1].y, outline[1].second, 1e-9);
    EXPECT_FALSE(near[1].before);
    stack.getSlice(2).setRegistration(Registration(4, 0, 0));
    EXPECT_NEAR(std::abs(neighbourOutlines(stack, stack.getSlice(2))[0].points[1].x - outline[1].first), 4, 1e-9);
}

} // namespace vorlen
