#include "shapes/grid.h"

#include "numerics/exception.h"
#include "shapes/masksurface.h"
#include "support/testmeshes.h"

#include <gtest/gtest.h>

namespace vorlen {

TEST(Grid, ofTwoCellsHasItsCentresAtTheirMiddles) {
    Grid<double> grid;
    EXPECT_FALSE(grid.isValid());
    grid.setBoundingBox(BoundingBox<double>(vectorOf<double>({0, 0, 0}), vectorOf<double>({2, 2, 2})));
    EXPECT_FALSE(grid.isValid());
    grid.setSize(vectorOf<int>({2, 2, 2}));
    ASSERT_TRUE(grid.isValid());
    EXPECT_EQ(grid.resolutions(), vectorOf<double>({1, 1, 1}));
    std::vector<Vector<double>> centers;
    grid.centers(centers);
    ASSERT_EQ(centers.size(), 3u);
    for (const Vector<double>& axis : centers) {
        EXPECT_EQ(axis, vectorOf<double>({0.5, 1.5}));
    }
}

TEST(Grid, centresStartFromTheBoxAndFollowEachAxis) {
    Grid<float> grid;
    grid.setBoundingBox(BoundingBox<float>(vectorOf<float>({10, -1}), vectorOf<float>({16, 1})));
    grid.setSize(vectorOf<int>({3, 1}));
    std::vector<Vector<float>> centers;
    grid.centers(centers);
    EXPECT_EQ(centers[0], vectorOf<float>({11, 13, 15}));
    EXPECT_EQ(centers[1], vectorOf<float>({0}));
    EXPECT_EQ(grid.resolutions(), vectorOf<float>({2, 2}));
}

TEST(Grid, adjustsItsBoxToAResolution) {
    Grid<double> grid;
    grid.setBoundingBox(BoundingBox<double>(vectorOf<double>({0, 0, 0}), vectorOf<double>({5, 4, 1})));
    grid.adjustToResolution(2);
    EXPECT_EQ(grid.getSize(), vectorOf<int>({3, 2, 1}));
    EXPECT_EQ(grid.resolutions(), vectorOf<double>({2, 2, 2}));
    EXPECT_EQ(grid.getBoundingBox().getVertex1(), vectorOf<double>({-0.5, 0, -0.5}));
}

TEST(Grid, refusesWhatMakesNoCells) {
    Grid<double> grid;
    std::vector<Vector<double>> centers;
    EXPECT_THROW(grid.centers(centers), UsageError);
    EXPECT_THROW(grid.resolutions(), UsageError);
    grid.setBoundingBox(BoundingBox<double>(vectorOf<double>({0}), vectorOf<double>({1})));
    EXPECT_THROW(grid.adjustToResolution(0), ValueError);
    EXPECT_THROW(grid.adjustToResolution(-1), ValueError);
}

TEST(MaskSurface, isAnInsideMaskUntilToldOtherwise) {
    MaskSurface<float> mask;
    EXPECT_TRUE(mask.isInsideMask());
    EXPECT_EQ(mask.getTriMesh(), nullptr);
    TriMesh<float> mesh = cubeMesh<float>(1);
    mask.setTriMesh(mesh);
    mask.setInsideMask(false);
    EXPECT_FALSE(mask.isInsideMask());
    EXPECT_EQ(mask.getTriMesh(), &mesh);
}

} // namespace vorlen
