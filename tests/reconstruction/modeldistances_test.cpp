#include "reconstruction/modeldistances.h"

#include <gtest/gtest.h>

#include <cmath>

#include "numerics/exception.h"
#include "reconstruction/measurementtable.h"
#include "support/documentmaker.h"

namespace vorlen {

namespace {

/// Slices at 0, 10, 20, 30 mm. Two cubes of side 20, from 5 to 25 along the stack with their ends, 30 apart; a plane
/// that ends with its lines 30 beyond them; and three models without a surface.
struct ModelDistancesTest : ::testing::Test {
    ModelDistancesTest() {
        stack.setDefaultSliceSpacing(10);
        stack.setLengthUnit(LengthUnit(-3));
        addSlices(stack, 4);
        addCube("a", 0);
        addItem(addModel(stack, "dots", PolypointPrimitive), stack.getSlice(1), {{1, 2}, {3, 4}});
        addCube("b", 50);
        Model& plane = addModel(stack, "plane", PolylinePrimitive);
        for (const int slice : {1, 2})
            addItem(plane, stack.getSlice(slice), {{100, 0}, {100, 20}});
        addItem(addModel(stack, "line", PolylinePrimitive), stack.getSlice(1), {{0, 0}, {9, 9}});
        addModel(stack, "nothing");
    }

    void addCube(const char* name, int x) {
        Model& cube = addModel(stack, name);
        for (const int slice : {1, 2})
            addItem(cube, stack.getSlice(slice), {{x, 0}, {x + 20, 0}, {x + 20, 20}, {x, 20}});
    }

    Stack stack;
};

} // namespace

TEST_F(ModelDistancesTest, areThoseOfTheSurfacesAsTheyWere) {
    const ModelDistances distances(stack);
    while (stack.getNumModels() > 0)
        stack.deleteModel(0);
    ASSERT_EQ(distances.getNumSurfaces(), 3);
    EXPECT_EQ(distances.getName(1), "b");
    EXPECT_TRUE(distances.isClosed(0));
    EXPECT_FALSE(distances.isClosed(2));
    EXPECT_THROW(distances.measure(0, 3), RangeError);

    // Along x alone: the places of a lie at x from 0 to 20, 10 in the mean; the face of b at 50.
    const SurfaceDistances cubes = distances.measure(0, 1);
    EXPECT_NEAR(cubes.least, 30, 1e-9);
    EXPECT_NEAR(cubes.meanToSecond, 40, 1e-9);
    EXPECT_NEAR(cubes.meanToFirst, 40, 1e-9);
    EXPECT_NEAR(cubes.hausdorff, 50, 1e-9);
    // The plane reaches from 10 to 20 along the stack.
    const SurfaceDistances open = distances.measure(1, 2);
    EXPECT_NEAR(open.least, 30, 1e-9);
    EXPECT_NEAR(open.meanToFirst, 30, 1e-9);
    EXPECT_NEAR(open.farthestToFirst, 30, 1e-9);
    EXPECT_NEAR(open.farthestToSecond, std::hypot(50, 5), 1e-9);
    EXPECT_NEAR(open.hausdorff, std::hypot(50, 5), 1e-9);
}

TEST_F(ModelDistancesTest, tellWhoHasNoSurfaceAndWhy) {
    const ModelDistances distances(stack);
    std::string text;
    for (const ModelDistances::LeftOut& left : distances.getLeftOut())
        text += left.model + ": " + left.reason + ". ";
    EXPECT_EQ(text, "dots: points have no surface. line: it has one line only. nothing: it has no contours. ");
}

TEST_F(ModelDistancesTest, standInATableOfPairs) {
    ModelDistances distances(stack);
    const MeasurementTable all = MeasurementTable::ofDistances(distances);
    ASSERT_EQ(all.getNumRows(), 3);
    const std::vector<int> names = all.find({"First", "Second", "Surfaces", "Least", "Hausdorff"});
    ASSERT_EQ(names.size(), 5u);
    EXPECT_EQ(all.getColumns()[std::size_t(names[3])].unit, "mm");
    const char* const expected[][3] = {
        {"a", "b", "both closed"}, {"a", "plane", "second open"}, {"b", "plane", "second open"}};
    const double least[] = {30, 80, 30};
    for (int row = 0; row < 3; ++row) {
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_EQ(all.getText(row, names[k]), expected[row][k]) << row;
        EXPECT_NEAR(all.getValue(row, names[3]), least[row], 1e-9);
    }
    const MeasurementTable ofB = MeasurementTable::ofDistances(distances, 1);
    ASSERT_EQ(ofB.getNumRows(), 2);
    EXPECT_EQ(ofB.getText(0, names[0]) + ofB.getText(0, names[1]) + ofB.getText(1, names[1]), "baplane");
    distances.cancel();
    EXPECT_EQ(MeasurementTable::ofDistances(distances).getNumRows(), 0);
}

} // namespace vorlen
