#include "reconstruction/spotdistances.h"

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/documentmaker.h"

namespace vorlen {

namespace {

/// Slices at 0, 10, 20, 30 with a square of side 20 on each ("cell"), which is resampled with its corners.
void makeCell(Stack& stack) {
    stack.setDefaultSliceSpacing(10);
    addSlices(stack, 4);
    Model& cell = addModel(stack, "cell");
    for (int k = 0; k < 4; ++k)
        addItem(cell, stack.getSlice(k), {{0, 0}, {20, 0}, {20, 20}, {0, 20}});
}

std::string refusal(const Stack& stack) {
    try {
        spotDistances(stack, "cell", "spots");
    } catch (const UsageError& error) {
        return error.getWhat();
    }
    return "";
}

} // namespace

TEST(SpotDistances, areThoseToTheWallsSliceBySlice) {
    Stack stack;
    makeCell(stack);
    Model& spots = addModel(stack, "spots", PolypointPrimitive);
    addItem(spots, stack.getSlice(3), {{10, 10}}); // level with the rim: there are no caps
    addItem(spots, stack.getSlice(1), {{10, 10}, {25, 7}, {-3, -4}, {20, 3}, {14, 5}});
    const double expected[] = {10, 5, 5, 0, 5, 10}; // by hand
    const std::vector<double> found = spotDistances(stack, "cell", "spots");
    ASSERT_EQ(found.size(), 6u);
    for (std::size_t k = 0; k < 6; ++k)
        EXPECT_NEAR(found[k], expected[k], 1e-9) << k;
}

// A surface through both outlines of a slice in turn would pass by a spot between them at a distance of 0.
TEST(SpotDistances, areThoseToTheNearerOfSeveralParts) {
    Stack stack;
    makeCell(stack);
    for (int k = 0; k < 4; ++k)
        addItem(stack.getModel(0), stack.getSlice(k), {{120, 0}, {140, 0}, {140, 20}, {120, 20}});
    Model& spots = addModel(stack, "spots", PolypointPrimitive);
    addItem(spots, stack.getSlice(1), {{60, 10}, {80, 10}, {125, 10}});
    const double expected[] = {40, 40, 5}; // by hand
    const std::vector<double> found = spotDistances(stack, "cell", "spots");
    ASSERT_EQ(found.size(), 3u);
    for (std::size_t k = 0; k < 3; ++k)
        EXPECT_NEAR(found[k], expected[k], 1e-9) << k;
}

TEST(SpotDistances, tellWhatIsMissing) {
    Stack stack;
    EXPECT_EQ(refusal(stack), "It has no model \"cell\"");
    makeCell(stack);
    EXPECT_EQ(refusal(stack), "It has no model \"spots\"");
    Model& spots = addModel(stack, "spots", PolypointPrimitive);
    EXPECT_EQ(refusal(stack), "Its model \"spots\" has no points");
    addItem(spots, stack.getSlice(0), {{1, 1}});
    EXPECT_EQ(refusal(stack), "");
    stack.getModel(0).getProperties().setGeometry(PolypointPrimitive);
    EXPECT_EQ(refusal(stack), "Its model \"cell\" has no surface to measure from: points have no surface");
    stack.getModel(0).getProperties().setGeometry(PolygonPrimitive);
    for (int k = 0; k < 4; ++k)
        stack.getModel(0).getItem(k).setVertices(makeVertices({}));
    EXPECT_EQ(refusal(stack), "Its model \"cell\" has no surface to measure from: it has no contours");
}

} // namespace vorlen
