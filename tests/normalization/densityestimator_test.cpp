#include "normalization/histogramdensityestimator.h"
#include "normalization/poissondensityestimator.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "images/volumes/voxelmatrix.h"
#include "normalization/points.h"
#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/grid.h"
#include "shapes/quadmesh.h"
#include "shapes/vertexstack.h"
#include "support/failures.h"
#include "support/recordingmonitor.h"
#include "support/testmeshes.h"

namespace vorlen {

namespace {

template <class T>
BoundingBox<T> boxOf(std::initializer_list<T> lower, std::initializer_list<T> upper) {
    return BoundingBox<T>(vectorOf<T>(lower), vectorOf<T>(upper));
}

/// Runs the estimator, and gives what it writes to the standard output.
template <class T>
std::string computeQuietly(DensityEstimator<T>& estimator, VoxelMatrix<T>& matrix, const BoundingBox<T>& box) {
    testing::internal::CaptureStdout();
    estimator.compute(matrix, box);
    return testing::internal::GetCapturedStdout();
}

/// Density at node x from its definition: all distances, sorted.
double poissonByBruteForce(const std::vector<Vertices<double>>& patterns, int rank, const Vector<double>& x) {
    double volumes = 0;
    for (const Vertices<double>& pattern : patterns) {
        std::vector<double> distances;
        for (int i = 0; i < pattern.getSize(); ++i)
            distances.push_back(pattern[i].distance(x));
        std::sort(distances.begin(), distances.end());
        volumes += 4 * M_PI / 3 * std::pow(distances[std::size_t(rank - 1)], 3);
    }
    return (rank * double(patterns.size()) - 1) / volumes;
}

/// A closed tube of square section, 2 wide about the axis (x, y), from z = 0 to 4.
QuadMesh<float> tube(float x, float y) {
    QuadMesh<float> mesh(3, 5, 4);
    for (int level = 0; level < 5; ++level)
        for (int c = 0; c < 4; ++c) {
            mesh[level][c][0] = x + (c == 0 || c == 3 ? -1.f : 1.f);
            mesh[level][c][1] = y + (c < 2 ? -1.f : 1.f);
            mesh[level][c][2] = float(level);
        }
    mesh.buildCaps();
    return mesh;
}

} // namespace

// Cells of 1 by 2 by 3 in a box of 2 by 2 by 6; the counts are by hand.
TEST(HistogramDensityEstimator, countsThePointsOfEachCellWithItsFaces) {
    const BoundingBox<float> box = boxOf<float>({10, 0, -3}, {12, 2, 3});
    Vertices<float> points(3, 0, 8, 8);
    points.append(vectorOf<float>({10, 0, -3})); // lower corner
    points.append(vectorOf<float>({12, 2, 3}));  // upper corner: last cell
    points.append(vectorOf<float>({11, 1, 0}));  // on inner faces: the cells above
    points.append(vectorOf<float>({10.9f, 1, -0.1f}));
    points.append(vectorOf<float>({12.1f, 1, 1})); // outside
    points.append(vectorOf<float>({11, 1, std::nanf("")}));
    VertexStack<float> stack(3, 2, 1, 2, 2);
    stack[0][0] = vectorOf<float>({11.5f, 1, 2});
    stack[1][0] = vectorOf<float>({11.5f, 1, -2});
    HistogramDensityEstimator<float> estimator;
    estimator.setShapes({&points, &stack, &points}); // the same shape again does not count
    EXPECT_EQ(2u, estimator.getShapes().size());
    VoxelMatrix<float> map(2, 1, 2);
    map.fill(99);
    RecordingMonitor monitor;
    estimator.addMonitor(monitor);
    estimator.compute(map, box);
    EXPECT_EQ(2, map(0, 0, 0));
    EXPECT_EQ(0, map(0, 0, 1));
    EXPECT_EQ(1, map(1, 0, 0));
    EXPECT_EQ(3, map(1, 0, 1));
    EXPECT_EQ((std::vector<std::string>{"started Applying masks onto density map", "0/2", "1/2", "finished "}),
              monitor.heard);

    estimator.removeShape(points);
    estimator.compute(map, box);
    EXPECT_EQ(0, map(0, 0, 0));
    EXPECT_EQ(1, map(1, 0, 0));
}

TEST(HistogramDensityEstimator, putsThePointsOfAFlatBoxInItsFirstLayerAndCountsNothingWithoutCells) {
    Vertices<double> points = randomPoints<double>(3, 50, 0, 1, 3);
    for (int i = 0; i < points.getSize(); ++i)
        points[i][2] = 5;
    HistogramDensityEstimator<double> estimator;
    estimator.addShape(points);
    VoxelMatrix<double> map(2, 2, 3);
    estimator.compute(map, points.boundingBox());
    double sum = 0;
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j)
            sum += map(i, j, 0);
    EXPECT_EQ(50, sum);
    VoxelMatrix<double> empty(2, 0, 3);
    estimator.compute(empty, points.boundingBox());
}

TEST(PoissonDensityEstimator, isTheRatioOfRankAndVolumesOfItsDefinition) {
    std::vector<Vertices<double>> patterns;
    PoissonDensityEstimator<double> estimator;
    for (int p = 0; p < 3; ++p)
        patterns.push_back(randomPoints<double>(3, 20 + 30 * p, 0, 10, 100 + p));
    for (Vertices<double>& pattern : patterns)
        estimator.addShape(pattern);
    const BoundingBox<double> box = boxOf<double>({0, 1, 2}, {10, 9, 8});
    for (const int rank : {1, 4, 20}) {
        estimator.setNeighbourRank(rank);
        VoxelMatrix<double> map(4, 3, 5);
        const std::string output = computeQuietly<double>(estimator, map, box);
        double distances = 0;
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 3; ++j)
                for (int k = 0; k < 5; ++k) {
                    const Vector<double> node = vectorOf<double>({10 / 3. * i, 1 + 4. * j, 2 + 1.5 * k});
                    const double expected = poissonByBruteForce(patterns, rank, node);
                    EXPECT_NEAR(expected, map(i, j, k), 1e-10 * expected);
                    for (const Vertices<double>& pattern : patterns) {
                        std::vector<double> all;
                        for (int v = 0; v < pattern.getSize(); ++v)
                            all.push_back(pattern[v].distance(node));
                        std::sort(all.begin(), all.end());
                        distances += all[std::size_t(rank - 1)];
                    }
                }
        const std::string title = "Average distance to kth nearest neighbor: ";
        ASSERT_EQ(0u, output.find(title));
        EXPECT_NEAR(distances / (4 * 3 * 5 * 3), std::stod(output.substr(title.size())), 1e-4);
    }
}

TEST(PoissonDensityEstimator, hasItsLimitsAtPointsAndForASinglePattern) {
    Vertices<float> pattern(3, 2, 2, 2);
    pattern[0] = vectorOf<float>({0, 0, 0});
    pattern[1] = vectorOf<float>({2, 0, 0});
    PoissonDensityEstimator<float> estimator;
    estimator.addShape(pattern);
    VoxelMatrix<float> map(2, 1, 1); // nodes at (0, 0, 0) and (2, 0, 0)
    const BoundingBox<float> box = boxOf<float>({0, 0, 0}, {2, 5, 5});
    computeQuietly<float>(estimator, map, box);
    EXPECT_EQ(0, map(0, 0, 0)); // k m - 1 = 0, also on a point
    estimator.setNeighbourRank(2);
    computeQuietly<float>(estimator, map, box);
    EXPECT_FLOAT_EQ(0.75f / float(M_PI) / 8, map(1, 0, 0));

    Vertices<float> twin(pattern);
    estimator.addShape(twin);
    estimator.setNeighbourRank(1);
    computeQuietly<float>(estimator, map, box);
    EXPECT_EQ(std::numeric_limits<float>::infinity(), map(0, 0, 0));
}

TEST(PoissonDensityEstimator, reportsItsPlanesAndThenTheMasks) {
    Vertices<float> pattern = randomPoints<float>(3, 10, 0, 1, 4);
    PoissonDensityEstimator<float> estimator;
    estimator.addShape(pattern);
    RecordingMonitor monitor;
    estimator.addMonitor(monitor);
    VoxelMatrix<float> map(1, 2, 3);
    computeQuietly<float>(estimator, map, pattern.boundingBox());
    EXPECT_EQ((std::vector<std::string>{"started Poisson density estimation", "0/3", "1/3", "2/3", "finished ",
                                        "started Applying masks onto density map", "0/1", "finished "}),
              monitor.heard);
}

TEST(PoissonDensityEstimator, refusesMoreNeighboursThanPointsAndEmptyPatterns) {
    Vertices<float> small = randomPoints<float>(3, 5, 0, 1, 5);
    Vertices<float> empty(3, 0, 0, 0);
    PoissonDensityEstimator<float> estimator;
    estimator.addShape(small);
    EXPECT_THROW(estimator.addShape(empty), UsageError);
    EXPECT_EQ(1u, estimator.getShapes().size());
    estimator.setNeighbourRank(6);
    EXPECT_THROW(estimator.setNeighbourRank(0), ValueError);
    VoxelMatrix<float> map(2, 2, 2);
    map.fill(7);
    expectFailure<UsageError>([&] { estimator.compute(map, small.boundingBox()); },
                              "void PoissonDensityEstimator<T>::compute(VoxelMatrix<T>&, const BoundingBox<T>&)",
                              "A point pattern has fewer points than the neighbour rank");
    EXPECT_THROW(estimator.compute(map, BoundingBox<float>()), SizeError);
    EXPECT_EQ(7, map(1, 1, 1));
    estimator.removeShape(small);
    estimator.compute(map, small.boundingBox()); // no pattern, no density
    EXPECT_EQ(0, map(1, 1, 1));
}

// Cells of 1 in a box of 8 by 8 by 8 around a tube of 2 by 2 by 4 (off the diagonals): those with their centre inside
// survive.
TEST(DensityEstimator, masksTheCellsWhoseCentresLieOnTheWrongSide) {
    QuadMesh<float> first = tube(3.1f, 2.95f), second = tube(4.1f, 2.95f);
    const BoundingBox<float> box = boxOf<float>({0, 0, 0}, {8, 8, 8});
    HistogramDensityEstimator<float> estimator;
    estimator.setMaskShapes({&first});
    VoxelMatrix<float> map(8, 8, 8);
    const auto countOnes = [&](int& wrong) {
        int count = 0;
        for (int i = 0; i < 8; ++i)
            for (int j = 0; j < 8; ++j)
                for (int k = 0; k < 8; ++k) {
                    count += map(i, j, k) == 1;
                    wrong += map(i, j, k) == 1 && !(i == 2 || i == 3);
                }
        return count;
    };
    map.fill(1);
    estimator.applyMasks(map, box);
    int wrong = 0;
    EXPECT_EQ(2 * 2 * 4, countOnes(wrong));
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(1, map(2, 3, 0));
    EXPECT_EQ(0, map(4, 3, 0));

    estimator.setMaskShapes({&second}); // both insides: what the tubes share
    map.fill(1);
    estimator.applyMasks(map, box);
    wrong = 0;
    EXPECT_EQ(1 * 2 * 4, countOnes(wrong));
    EXPECT_EQ(1, map(3, 2, 3));

    estimator.getMaskSurfaces()[0]->setInsideMask(false); // the second without the first
    map.fill(1);
    estimator.applyMasks(map, box);
    EXPECT_EQ(1, map(4, 2, 3));
    EXPECT_EQ(0, map(3, 2, 3));

    QuadMesh<float> open(3, 3, 4, 0, 0, true);
    EXPECT_THROW(estimator.setMaskShapes({&second, &open}), UsageError);
    EXPECT_EQ(2u, estimator.getMaskSurfaces().size());
    MaskSurface<float> unset;
    estimator.addMaskSurface(unset);
    EXPECT_THROW(estimator.applyMasks(map, box), UsageError);
}

// A map that rises by 1 from cell to cell along x: the density at a point is its place in cells less a half.
TEST(DensityEstimator, givesThePercentilesOfTheDensityAtThePoints) {
    VoxelMatrix<float> map(10, 3, 3);
    for (int i = 0; i < 10; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k)
                map(i, j, k) = float(i);
    Grid<float> grid;
    grid.setBoundingBox(boxOf<float>({0, 0, 0}, {20, 6, 6}));
    grid.setSize(map.getSize());
    Vertices<float> first(3, 0, 5, 5), second(3, 0, 5, 5);
    for (const float x : {2.f, 10.f, 6.f})
        first.append(vectorOf<float>({x, 2, 3}));
    for (const float x : {15.f, 8.f})
        second.append(vectorOf<float>({x, 3, 2}));
    HistogramDensityEstimator<float> estimator;
    estimator.setShapes({&first, &second});
    const Vector<float> result = estimator.percentiles(map, grid, vectorOf<float>({0, 50, 100}));
    EXPECT_FLOAT_EQ(0.5f, result[0]);
    EXPECT_FLOAT_EQ(3.5f, result[1]);
    EXPECT_FLOAT_EQ(7, result[2]);
    EXPECT_FLOAT_EQ(2.5f, estimator.percentile(map, grid, 25));

    grid.setSize(vectorOf<int>({10, 3, 2}));
    EXPECT_THROW(estimator.percentile(map, grid, 50), SizeError);
    grid.setSize(map.getSize());
    estimator.removeShape(first);
    estimator.removeShape(second);
    EXPECT_THROW(estimator.percentile(map, grid, 50), SizeError);
}

} // namespace vorlen
