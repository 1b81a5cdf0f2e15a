#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "numerics/exception.h"
#include "shapes/bodyskeleton.h"
#include "shapes/meshdistance.h"
#include "shapes/pointextents.h"
#include "shapes/voxelbody.h"
#include "support/testmeshes.h"

namespace vorlen {

namespace {

using Place = std::array<double, 3>;

struct Brick {
    Place lower, upper;
};

/// Bricks that may touch but not overlap: what is inside two faces in one place is counted twice, which cuts nothing.
TriMesh<double> bricksMesh(const std::vector<Brick>& bricks) {
    std::vector<Vector<double>> vertices;
    std::vector<Vector<unsigned int>> triangles;
    const TriMesh<double> cube = cubeMesh<double>(1);
    for (const Brick& brick : bricks) {
        const auto first = static_cast<unsigned int>(vertices.size());
        for (int i = 0; i < 8; ++i) {
            Vector<double> corner(3);
            for (std::size_t axis = 0; axis < 3; ++axis)
                corner[int(axis)] = cube[i][int(axis)] > 0 ? brick.upper[axis] : brick.lower[axis];
            vertices.push_back(corner);
        }
        for (unsigned int i = 0; i < cube.getNumTriangles(); ++i) {
            const auto& corners = cube.getTriangleIndexes(i);
            triangles.push_back(vectorOf<unsigned int>({first + corners[0], first + corners[1], first + corners[2]}));
        }
    }
    return meshOf<double>(vertices, triangles);
}

/// Tubes round a circle: n times m vertices.
TriMesh<double> ringMesh(int n, int m, double radius, double tube) {
    std::vector<Vector<double>> vertices;
    std::vector<Vector<unsigned int>> triangles;
    const auto number = [n, m](int i, int j) { return static_cast<unsigned int>(i % n * m + j % m); };
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < m; ++j) {
            const double a = 6.283185307179586 * i / n, b = 6.283185307179586 * j / m;
            const double r = radius + tube * std::cos(b);
            vertices.push_back(vectorOf<double>({r * std::cos(a), r * std::sin(a), tube * std::sin(b)}));
            triangles.push_back(vectorOf<unsigned int>({number(i, j), number(i + 1, j), number(i, j + 1)}));
            triangles.push_back(vectorOf<unsigned int>({number(i + 1, j), number(i + 1, j + 1), number(i, j + 1)}));
        }
    return meshOf<double>(vertices, triangles);
}

/// Turned about two axes, off all others.
Place turned(const Place& place) {
    const double x = 0.8 * place[0] - 0.6 * place[1], y = 0.6 * place[0] + 0.8 * place[1], z = place[2];
    return {x, 0.28 * y - 0.96 * z, 0.96 * y + 0.28 * z};
}

} // namespace

TEST(PointExtents, ofATurnedBoxAreItsOwn) {
    std::vector<Place> corners;
    for (const double x : {-3.0, 3.0})
        for (const double y : {-1.5, 1.5})
            for (const double z : {-1.0, 1.0})
                corners.push_back(turned({x, y, z}));
    const PointExtents extents(corners);
    EXPECT_NEAR(extents.largestFeret, 7, 1e-12);
    EXPECT_NEAR(extents.smallestFeret, 2, 0.01);
    EXPECT_GE(extents.smallestFeret, 2 - 1e-9);
    const Place sides = {6, 3, 2};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(extents.orientedSides[axis], sides[axis], 0.02) << axis;
        double most = 0;
        for (const Place& corner : corners)
            most = std::max(most, corner[axis]);
        EXPECT_EQ(extents.upper[axis], most);
        EXPECT_EQ(extents.lower[axis], -most);
    }
    const PointExtents none((std::vector<Place>()));
    EXPECT_EQ(none.largestFeret, 0);
    EXPECT_EQ(none.orientedSides, Place());
    const PointExtents one({{1, 2, 3}, {1, 2, 3}});
    EXPECT_EQ(one.largestFeret, 0);
    EXPECT_EQ(one.upper, (Place{1, 2, 3}));
}

// Clouds whose middle is not that of their reach: the pair that lies farthest apart may be of two points near to it.
TEST(PointExtents, findTheGreatestDistanceOfAllPairs) {
    for (unsigned int seed = 0; seed < 25; ++seed) {
        std::mt19937 random(seed);
        std::normal_distribution<double> spread(0, 1);
        std::vector<Place> points;
        for (int k = 0; k < 60; ++k)
            points.push_back({spread(random), spread(random), std::floor(2 * spread(random))});
        points.push_back({4 * spread(random), 4 * spread(random), 9});
        double greatest = 0;
        for (const Place& a : points)
            for (const Place& b : points)
                greatest = std::max(greatest, std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]));
        const PointExtents extents(points);
        EXPECT_NEAR(extents.largestFeret, greatest, 1e-12) << seed;
        EXPECT_LE(extents.smallestFeret, extents.orientedSides[2]) << seed;
    }
}

TEST(MeshDistance, isThatOfTheClosestTriangle) {
    const TriMesh<double> ball = sphereMesh<double>(2, 2);
    const MeshDistance tree(ball);
    EXPECT_EQ(tree.getNumTriangles(), 128);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> within(-4, 4);
    for (int k = 0; k < 200; ++k) {
        const Place place = {within(random), within(random), within(random)};
        const MeshDistance::Closest found = tree.closest(place);
        Vector<double> closest(3);
        const double expected = ball.closestPoint(vectorOf<double>({place[0], place[1], place[2]}), closest);
        EXPECT_NEAR(found.distance, expected, 1e-9);
        EXPECT_NEAR(std::hypot(found.point[0] - place[0], found.point[1] - place[1], found.point[2] - place[2]),
                    expected, 1e-9);
    }
    const MeshDistance cube(cubeMesh<float>(2));
    EXPECT_EQ(cube.closest({1, 1, 5}).point, (Place{1, 1, 2}));
    EXPECT_EQ(cube.closest({3, 3, 3}).point, (Place{2, 2, 2}));
    EXPECT_EQ(cube.closest({3, 1, 3}).point, (Place{2, 1, 2}));
    EXPECT_EQ(cube.closest({1, 1.5, 1}).distance, 0.5);
    EXPECT_THROW(MeshDistance(TriMesh<double>(3, 0, 0, 1)), UsageError);
    EXPECT_THROW(MeshDistance(TriMesh<double>(2, 3, 3, 1)), SizeError);
}

TEST(VoxelBody, thicknessIsThatOfTheLargestBallAtEachPlace) {
    const double volume = 4 * 3.14159265358979 / 3 * 1000;
    const VoxelBody ball(sphereMesh<double>(10, 4), volume, 8000);
    const double size = ball.getVoxelSize();
    int inside = 0;
    double deepest = 0;
    for (int voxel = 0; voxel < ball.getNumVoxels(); ++voxel) {
        inside += ball.isInside(voxel);
        deepest = std::max(deepest, ball.getDepth(voxel));
    }
    EXPECT_NEAR(inside, 8000, 200);
    EXPECT_NEAR(deepest, 10, size);
    EXPECT_NEAR(ball.getThickness().mean, 20 - size, size);
    EXPECT_NEAR(ball.getThickness().greatest, 20, 1.5 * size);
    // A thick plate with a thin one beside it: half and half.
    const VoxelBody plates(bricksMesh({{{0, 0, 0}, {40, 20, 8}}, {{0, 20, 0}, {40, 60, 4}}}), 2 * 6400, 20000);
    EXPECT_NEAR(plates.getThickness().greatest, 8, 1.5 * plates.getVoxelSize());
    EXPECT_NEAR(plates.getThickness().mean, 6, 0.1 * 6 + plates.getVoxelSize());
    // Nothing, and a flat thing.
    EXPECT_EQ(VoxelBody(TriMesh<double>(3, 0, 0, 1), 0, 1000).getNumVoxels(), 0);
    EXPECT_EQ(VoxelBody(bricksMesh({{{0, 0, 0}, {1, 1, 0}}}), 0, 1000).getThickness().mean, 0);
    EXPECT_THROW(VoxelBody(TriMesh<double>(2, 3, 3, 1), 1, 10), SizeError);
}

TEST(BodySkeleton, hasTheBranchesAndEndsOfTubes) {
    const BodySkeleton bar(VoxelBody(bricksMesh({{{0, 0, 0}, {60, 6, 6}}}), 2160, 8000));
    EXPECT_EQ(bar.numBranches, 1);
    EXPECT_EQ(bar.numEnds, 2);
    EXPECT_EQ(bar.numForks, 0);
    EXPECT_NEAR(bar.length, 60, 3);

    const BodySkeleton ring(VoxelBody(ringMesh(60, 20, 20, 4), 2 * 9.8696 * 20 * 16, 8000));
    EXPECT_EQ(ring.numBranches, 1);
    EXPECT_EQ(ring.numEnds, 0);
    EXPECT_NEAR(ring.length, 2 * 3.14159265 * 20, 3);

    // A letter T of three arms.
    const BodySkeleton letter(
        VoxelBody(bricksMesh({{{0, 0, 0}, {60, 6, 6}}, {{27, 6, 0}, {33, 46, 6}}}), 2160 + 1440, 10000));
    EXPECT_EQ(letter.numBranches, 3);
    EXPECT_EQ(letter.numEnds, 3);
    EXPECT_EQ(letter.numForks, 1);
    EXPECT_NEAR(letter.length, 60 + 43, 6);

    const BodySkeleton ball(VoxelBody(sphereMesh<double>(10, 3), 4188, 4000));
    EXPECT_EQ(ball.numBranches, 0);
    const BodySkeleton none(VoxelBody(TriMesh<double>(3, 0, 0, 1), 0, 1000));
    EXPECT_EQ(none.numBranches, 0);
    EXPECT_EQ(none.length, 0);
}

} // namespace vorlen
