#include "shapes/surfacedistances.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "shapes/meshdistance.h"
#include "support/testmeshes.h"

namespace vorlen {

namespace {

TriMesh<double> movedMesh(TriMesh<double> mesh, double x, double scale = 1) {
    mesh.detach();
    for (int i = 0; i < mesh.getNumVertices(); ++i) {
        mesh[i][0] += x;
        for (int axis = 0; axis < 3; ++axis)
            mesh[i][axis] *= scale;
    }
    return mesh;
}

using Corners = std::array<std::array<double, 3>, 3>;

TriMesh<double> looseTriangles(const std::vector<Corners>& triangles) {
    std::vector<Vector<double>> vertices;
    std::vector<Vector<unsigned int>> numbers;
    vertices.reserve(3 * triangles.size());
    numbers.reserve(triangles.size());
    for (const Corners& triangle : triangles) {
        const auto first = static_cast<unsigned int>(vertices.size());
        for (const auto& corner : triangle)
            vertices.push_back(vectorOf<double>({corner[0], corner[1], corner[2]}));
        numbers.push_back(vectorOf<unsigned int>({first, first + 1, first + 2}));
    }
    return meshOf<double>(vertices, numbers);
}

SurfaceDistances between(const TriMesh<double>& first, const TriMesh<double>& second) {
    return {MeshDistance(first), MeshDistance(second)};
}

double leastOf(const TriMesh<double>& first, const TriMesh<double>& second) {
    const MeshDistance one(first), other(second);
    EXPECT_NEAR(one.least(other), other.least(one), 1e-12);
    return one.least(other);
}

} // namespace

// The mean distance of a sphere's places from a point at D is D + r^2 / (3 D) outside of it.
TEST(SurfaceDistances, areThoseOfBallsApartTouchingCrossingAndWithinEachOther) {
    const TriMesh<double> large = sphereMesh<double>(10, 4), small = sphereMesh<double>(5, 4);
    const SurfaceDistances apart = between(large, movedMesh(small, 20));
    EXPECT_NEAR(apart.least, 5, 1e-12);
    EXPECT_NEAR(apart.meanToSecond, 20 + 100.0 / 60 - 5, 0.02);
    EXPECT_NEAR(apart.meanToFirst, 20 + 25.0 / 60 - 10, 0.02);
    EXPECT_NEAR(apart.mean, (4 * 16.6667 + 10.4167) / 5, 0.02);
    EXPECT_NEAR(apart.farthestToSecond, 25, 1e-12);
    EXPECT_NEAR(apart.farthestToFirst, 15, 1e-12);
    EXPECT_EQ(apart.hausdorff, apart.farthestToSecond);

    const SurfaceDistances touching = between(movedMesh(small, 15), large);
    EXPECT_NEAR(touching.least, 0, 1e-12);
    EXPECT_NEAR(touching.farthestToSecond, 10, 1e-12);
    EXPECT_NEAR(touching.hausdorff, 20, 1e-12);

    // The distances of the places from the other centre are spread over [5, 15] by their size.
    const SurfaceDistances crossing = between(large, movedMesh(large, 5));
    EXPECT_NEAR(crossing.least, 0, 1e-12);
    EXPECT_NEAR(crossing.mean, 2.5, 0.01);
    EXPECT_NEAR(crossing.hausdorff, 5, 1e-12);

    const SurfaceDistances within = between(sphereMesh<double>(15, 4), large);
    EXPECT_NEAR(within.least, 5, 0.03);
    EXPECT_NEAR(within.mean, 5, 0.02);
    EXPECT_NEAR(within.hausdorff, 5, 0.01);

    const SurfaceDistances same = between(large, large);
    EXPECT_NEAR(same.mean, 0, 1e-12);
    EXPECT_NEAR(same.hausdorff, 0, 1e-12);
}

TEST(SurfaceDistances, doNotDependOnTheUnit) {
    const TriMesh<double> large = sphereMesh<double>(10, 2), small = sphereMesh<double>(5, 2);
    const SurfaceDistances plain = between(large, movedMesh(small, 8));
    for (const double scale : {1e-9, 1e-3, 1e9}) {
        const SurfaceDistances scaled = between(movedMesh(large, 0, scale), movedMesh(small, 8, scale));
        EXPECT_NEAR(scaled.least / scale, plain.least, 1e-9);
        EXPECT_NEAR(scaled.mean / scale, plain.mean, 1e-9);
        EXPECT_NEAR(scaled.hausdorff / scale, plain.hausdorff, 1e-9);
    }
}

// A square plate over its four cut-off corners: its middle is farthest from them, far from any vertex.
TEST(SurfaceDistances, findAFarthestPlaceThatIsNoVertex) {
    const TriMesh<double> plate =
        looseTriangles({{{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}}}, {{{0, 0, 0}, {10, 10, 0}, {0, 10, 0}}}});
    const TriMesh<double> cut = looseTriangles({{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}},
                                                {{{10, 0, 0}, {10, 1, 0}, {9, 0, 0}}},
                                                {{{10, 10, 0}, {9, 10, 0}, {10, 9, 0}}},
                                                {{{0, 10, 0}, {0, 9, 0}, {1, 10, 0}}}});
    const SurfaceDistances found = between(plate, cut);
    const double expected = 9 / std::sqrt(2.0);
    EXPECT_NEAR(found.hausdorff, expected, 2e-3 * expected);
    EXPECT_LE(found.hausdorff, expected + 1e-12);
    EXPECT_NEAR(found.farthestToFirst, 0, 1e-12);
    EXPECT_NEAR(found.least, 0, 1e-12);
}

TEST(MeshDistance, theLeastDistanceMayLieBetweenEdgesOrWithinTriangles) {
    // Two edges across each other, 2 apart.
    const TriMesh<double> down = looseTriangles({{{{-1, 0, 0}, {1, 0, 0}, {0, 0, -5}}}});
    const TriMesh<double> up = looseTriangles({{{{0, -1, 2}, {0, 1, 2}, {0, 0, 8}}}});
    EXPECT_NEAR(leastOf(down, up), 2, 1e-12);
    // A needle through the midst of a plate.
    const TriMesh<double> plate = looseTriangles({{{{0, 0, 0}, {10, 0, 0}, {0, 10, 0}}}});
    EXPECT_EQ(leastOf(plate, looseTriangles({{{{3, 3, -4}, {3.1, 3, 4}, {3, 3.1, 4}}}})), 0);
    // A corner over it, triangles in one plane, two that share an edge, and two without area.
    EXPECT_NEAR(leastOf(plate, looseTriangles({{{{3, 3, 1.5}, {3, 4, 9}, {4, 3, 9}}}})), 1.5, 1e-12);
    EXPECT_NEAR(leastOf(plate, looseTriangles({{{{-3, 1, 0}, {-3, 5, 0}, {-9, 1, 0}}}})), 3, 1e-12);
    EXPECT_NEAR(leastOf(plate, looseTriangles({{{{0, 0, 0}, {10, 0, 0}, {0, 0, 5}}}})), 0, 1e-12);
    EXPECT_NEAR(leastOf(looseTriangles({{{{0, 0, 0}, {4, 0, 0}, {2, 0, 0}}}}),
                        looseTriangles({{{{1, 3, 1}, {1, 3, 1}, {1, 3, 1}}}})),
                std::sqrt(10.0), 1e-12);
}

// Against all pairs of triangles, one by one.
TEST(MeshDistance, theLeastDistanceOfMeshesIsThatOfTheirTriangles) {
    const TriMesh<double> one = sphereMesh<double>(3, 1);
    for (const double away : {6.5, 9.0}) {
        const TriMesh<double> other = movedMesh(cubeMesh<double>(4), away);
        const auto single = [](const TriMesh<double>& mesh, unsigned int triangle) {
            Corners corners = {};
            for (std::size_t k = 0; k < 3; ++k)
                for (std::size_t axis = 0; axis < 3; ++axis)
                    corners[k][axis] = mesh[int(mesh.getTriangleIndexes(triangle)[int(k)])][int(axis)];
            return MeshDistance(looseTriangles({corners}));
        };
        double expected = 1e9;
        for (unsigned int i = 0; i < one.getNumTriangles(); ++i)
            for (unsigned int j = 0; j < other.getNumTriangles(); ++j)
                expected = std::min(expected, single(one, i).least(single(other, j)));
        EXPECT_NEAR(leastOf(one, other), expected, 1e-12);
    }
}

} // namespace vorlen
