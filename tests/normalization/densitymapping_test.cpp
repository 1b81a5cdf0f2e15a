#include "normalization/densitymapping.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <random>

#include <gtest/gtest.h>

#include "images/files/imagefile.h"
#include "images/files/imagereader.h"
#include "images/files/nrrdwriter.h"
#include "images/filters/parallelwork.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/bandwidthrule.h"
#include "normalization/boundedkerneldensityestimator.h"
#include "normalization/boundedpoissondensityestimator.h"
#include "normalization/clippedball.h"
#include "normalization/maplattice.h"
#include "normalization/points.h"
#include "numerics/exception.h"
#include "shapes/grid.h"
#include "shapes/quadmesh.h"
#include "shapes/trimesh.h"
#include "support/temporaryfolder.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

BoundingBox<float> cube(float low, float high) {
    return BoundingBox<float>(vectorOf<float>({low, low, low}), vectorOf<float>({high, high, high}));
}

/// A tube of square section, from low to high in x and y and over the whole height.
QuadMesh<float> pillar(float low, float high, float top) {
    QuadMesh<float> mesh(3, 3, 4);
    for (int level = 0; level < 3; ++level)
        for (int c = 0; c < 4; ++c) {
            mesh[level][c][0] = c == 0 || c == 3 ? low : high;
            mesh[level][c][1] = c < 2 ? low : high;
            mesh[level][c][2] = float(level) / 2 * top * 1.01f - 0.005f * top;
        }
    mesh.buildCaps();
    return mesh;
}

/// Mean of the map over the layer next to the faces of the box, and over what lies deeper than a third of it.
std::pair<double, double> facesAndMiddle(const VoxelMatrix<float>& map) {
    double faces = 0, middle = 0;
    int numFaces = 0, numMiddle = 0;
    const int n = map.getSize1();
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            for (int k = 0; k < n; ++k) {
                const int nearest = std::min({i, j, k, n - 1 - i, n - 1 - j, n - 1 - k});
                if (nearest == 0) {
                    faces += double(map(i, j, k));
                    ++numFaces;
                } else if (nearest >= n / 3) {
                    middle += double(map(i, j, k));
                    ++numMiddle;
                }
            }
    return {faces / numFaces, middle / numMiddle};
}

} // namespace

TEST(MapLattice, cellsAndNodesFillTheSameBox) {
    const BoundingBox<float> box(vectorOf<float>({10, 0, -3}), vectorOf<float>({110, 50, -3}));
    const Vector<int> size = vectorOf<int>({10, 5, 1});
    const MapLattice<float> cells(MapLayout::Cells, box, size), nodes(MapLayout::Nodes, box, size);
    EXPECT_FLOAT_EQ(cells.position(0, 0), 15);
    EXPECT_FLOAT_EQ(cells.position(0, 9), 105);
    EXPECT_FLOAT_EQ(nodes.position(0, 0), 10);
    EXPECT_FLOAT_EQ(nodes.position(0, 9), 110);
    EXPECT_FLOAT_EQ(nodes.steps()[0], 100.0f / 9);
    EXPECT_FLOAT_EQ(nodes.position(2, 0), -3);
    EXPECT_FLOAT_EQ(cells.position(2, 0), -3);
    VoxelMatrix<float> map(10, 5, 1);
    map.fill(2);
    // An axis without width counts as 1 wide.
    EXPECT_NEAR(cells.integral(map), 2 * 100 * 50, 1e-6);
    EXPECT_NEAR(nodes.integral(map), 2 * 100 * 50, 1e-2);
    for (const MapLattice<float>* lattice : {&cells, &nodes}) {
        for (int i = 0; i < 10; ++i)
            for (int j = 0; j < 5; ++j)
                map(i, j, 0) = 3 * lattice->position(0, i) - lattice->position(1, j);
        EXPECT_NEAR(lattice->valueAt(map, vectorOf<float>({41.5f, 17, -3})), 3 * 41.5 - 17, 1e-3);
        EXPECT_NEAR(lattice->index(0, lattice->position(0, 4)), 4, 1e-6);
    }
    EXPECT_THROW(cells.valueAt(VoxelMatrix<float>(10, 5, 2), vectorOf<float>({0, 0, 0})), SizeError);
}

TEST(MapLattice, aFlatPatternLiesInTheMiddleOfItsGridAndTooFineOnesAreRefused) {
    const BoundingBox<float> flat(vectorOf<float>({0, 0, 70}), vectorOf<float>({20, 31, 70}));
    for (const MapLayout layout : {MapLayout::Cells, MapLayout::Nodes}) {
        const Grid<float> grid = gridAround(flat, 2.0f, layout);
        EXPECT_EQ(grid.getSize()[0], 10);
        EXPECT_EQ(grid.getSize()[1], 16);
        EXPECT_EQ(grid.getSize()[2], 1);
        EXPECT_FLOAT_EQ(MapLattice<float>(layout, grid.getBoundingBox(), grid.getSize()).position(2, 0), 70);
    }
    EXPECT_THROW(gridAround(flat, 0.0f, MapLayout::Cells), ValueError);
    EXPECT_THROW(gridAround(cube(0, 1), 1e-5f, MapLayout::Cells), ValueError);
    EXPECT_THROW(gridAround(cube(0, INFINITY), 1.0f, MapLayout::Cells), ValueError);
}

// Against the share of points, on a fine lattice, that lie in both.
TEST(ClippedBall, isTheVolumeThatBallAndBoxShare) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> side(0.02, 1.6);
    for (int trial = 0; trial < 12; ++trial) {
        double below[3], above[3];
        for (int a = 0; a < 3; ++a) {
            below[a] = trial == 0 ? 2 : side(random);
            above[a] = trial == 0 ? 2 : side(random);
        }
        constexpr int n = 60;
        int inside = 0;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                for (int k = 0; k < n; ++k) {
                    const double p[3] = {-1 + (i + 0.5) * 2 / n, -1 + (j + 0.5) * 2 / n, -1 + (k + 0.5) * 2 / n};
                    bool within = p[0] * p[0] + p[1] * p[1] + p[2] * p[2] < 1;
                    for (int a = 0; a < 3; ++a)
                        within = within && p[a] > -below[a] && p[a] < above[a];
                    inside += within ? 1 : 0;
                }
        EXPECT_NEAR(clippedBallVolume(below, above, 1), inside * std::pow(2.0 / n, 3), 0.03) << trial;
    }
}

TEST(BandwidthRule, followsTheSpreadOfTheDataAndNotItsUnit) {
    std::mt19937 random(11);
    std::normal_distribution<double> normal(0, 3);
    std::vector<double> points(3 * 4000);
    std::generate(points.begin(), points.end(), [&] { return normal(random); });
    const double h = normalReferenceBandwidth(points, GaussianKernel);
    EXPECT_NEAR(h, 0.969 * 3 * std::pow(4000.0, -1.0 / 7), 0.03 * h);
    std::vector<double> small = points;
    for (double& x : small)
        x = x * 1e-6 + 4;
    EXPECT_NEAR(normalReferenceBandwidth(small, GaussianKernel), 1e-6 * h, 1e-8 * h);
    // A few far points widen it little.
    for (int i = 0; i < 30; ++i)
        points[std::size_t(i)] = 1000;
    EXPECT_NEAR(normalReferenceBandwidth(points, GaussianKernel), h, 0.05 * h);
    EXPECT_GT(normalReferenceBandwidth(points, EpanechnikovKernel), 1.5 * h);
    EXPECT_EQ(normalReferenceBandwidth(std::vector<double>{1, 2, 3, 1, 2, 3}, GaussianKernel), 0);
}

// Evenly spread points: the truth is even up to the faces, in the box and in what a mask leaves of it.
TEST(BoundedDensity, isEvenUpToTheFacesOfBoxAndMasks) {
    Vertices<float> points = randomPoints<float>(3, 30000, 0, 1, 17);
    QuadMesh<float> mask = pillar(0.25f, 0.75f, 1);
    for (const DensityMappingMethod method : {KernelMethod, PoissonMethod})
        for (const bool masked : {false, true}) {
            DensitySettings settings;
            settings.method = method;
            settings.bandwidth = 0.12f;
            settings.neighbourRank = 40;
            const std::vector<Shape<float>*> masks =
                masked ? std::vector<Shape<float>*>{&mask} : std::vector<Shape<float>*>();
            DensityMapping mapping(settings, {&points}, masks);
            Grid<float> grid;
            grid.setBoundingBox(cube(0, 1));
            grid.setSize(vectorOf<int>({16, 16, 16}));
            VoxelMatrix<float> map;
            const DensityReport report = mapping.compute(map, grid);
            SCOPED_TRACE(std::string(method == KernelMethod ? "kernel" : "Poisson") + (masked ? ", masked" : ""));
            const double total = method == KernelMethod ? 1 : masked ? 7500 : 30000;
            EXPECT_NEAR(report.integral, total, 0.02 * total);
            if (!masked) {
                const auto [faces, middle] = facesAndMiddle(map);
                EXPECT_NEAR(faces, total, 0.1 * total);
                EXPECT_NEAR(middle, total, 0.1 * total);
                EXPECT_NEAR(double(map(0, 0, 0)), total, 0.25 * total); // a corner, which hardly has points
                continue;
            }
            double beside = 0, edge = 0;
            for (int k = 0; k < 16; ++k)
                for (int j = 4; j < 12; ++j) {
                    beside += double(map(4, j, k)) / (8 * 16);
                    edge += double(map(3, j, k));
                }
            EXPECT_EQ(edge, 0);
            EXPECT_NEAR(beside, total / 0.25, 0.12 * total / 0.25);
        }
}

// A kernel far from all faces is the sum of its definition.
TEST(BoundedDensity, aKernelWithinTheBoxIsThatOfItsFormula) {
    Vertices<double> points(3, 2, 2, 2);
    points[0] = vectorOf<double>({10.3, 9.8, 10.1});
    points[1] = vectorOf<double>({12, 10, 9});
    BoundedKernelDensityEstimator<double> estimator;
    estimator.addShape(points);
    estimator.setBandwidth(1.5);
    VoxelMatrix<double> map(80, 80, 80);
    const BoundingBox<double> box(vectorOf<double>({0, 0, 0}), vectorOf<double>({20, 20, 20}));
    estimator.compute(map, box);
    const MapLattice<double> lattice = estimator.lattice(box, map.getSize());
    for (const auto& [i, j, k] : {std::array{40, 40, 40}, {44, 38, 37}, {36, 45, 41}}) {
        double expected = 0;
        for (int p = 0; p < 2; ++p) {
            double square = 0;
            for (const auto& [axis, index] : {std::pair{0, i}, {1, j}, {2, k}})
                square += std::pow((lattice.position(axis, index) - points[p][axis]) / 1.5, 2);
            expected += 0.5 * std::exp(-square / 2) / std::pow(1.5 * std::sqrt(2 * M_PI), 3);
        }
        EXPECT_NEAR(map(i, j, k), expected, 0.01 * expected);
    }
    EXPECT_THROW(estimator.setBandwidth(-1), ValueError);
}

TEST(DensityMapping, percentilesLeaveTheirShareOfThePointsBelow) {
    std::mt19937 random(23);
    std::normal_distribution<float> normal(0, 10);
    Vertices<float> points(3, 2000, 2000, 2000);
    for (int i = 0; i < 2000; ++i)
        points[i] = vectorOf<float>({normal(random), normal(random), normal(random)});
    for (const auto& [method, corrected] :
         {std::pair{KernelMethod, true}, {KernelMethod, false}, {PoissonMethod, true}, {PoissonMethod, false}}) {
        DensitySettings settings;
        settings.method = method;
        settings.corrected = corrected;
        DensityMapping mapping(settings, {&points}, {});
        const Grid<float> grid = mapping.grid(4);
        VoxelMatrix<float> map;
        testing::internal::CaptureStdout();
        mapping.compute(map, grid);
        testing::internal::GetCapturedStdout();
        const MapLattice<float> lattice = mapping.estimator().lattice(grid.getBoundingBox(), grid.getSize());
        for (const float percent : {10.0f, 50.0f, 90.0f}) {
            const float level = mapping.estimator().percentile(map, grid, percent);
            int below = 0;
            for (int i = 0; i < 2000; ++i)
                below += lattice.valueAt(map, points[i]) < level ? 1 : 0;
            EXPECT_NEAR(below / 20.0, double(percent), 1) << method << corrected;
        }
    }
}

namespace {

/// Compares the bits of planes with those of a map from this plane on.
void expectPlanes(const VoxelMatrix<float>& planes, const VoxelMatrix<float>& map, int first) {
    ASSERT_LE(first + planes.getSize3(), map.getSize3());
    for (int k = 0; k < planes.getSize3(); ++k)
        for (int i = 0; i < map.getSize1(); ++i)
            ASSERT_TRUE(std::equal(planes[k][i].data(), planes[k][i].data() + map.getSize2(), map[first + k][i].data()))
                << first + k << ' ' << i;
}

/// A map in so many blocks, the last one first, against the whole; also what is told of it.
void expectSameInBlocks(const DensitySettings& settings, const std::vector<Shape<float>*>& patterns,
                        const std::vector<Shape<float>*>& masks, int parts) {
    DensityMapping whole(settings, patterns, masks), concluding(settings, patterns, masks);
    const Grid<float> grid = whole.grid(0.7f);
    VoxelMatrix<float> map;
    const DensityReport expected = whole.compute(map, grid);
    std::vector<VoxelMatrix<float>> blocks(static_cast<std::size_t>(parts));
    std::vector<MapSums> sums(blocks.size());
    for (std::size_t b = blocks.size(); b-- > 0;) {
        DensityMapping mapping(settings, patterns, masks);
        sums[b] = mapping.computeBlock(
            blocks[b], grid,
            MapPlanes::part({static_cast<unsigned int>(b) + 1, static_cast<unsigned int>(parts)}, grid.getSize()[2]));
    }
    MapSums all;
    for (const MapSums& each : sums)
        all.append(each);
    DensityReport report;
    int next = 0;
    for (VoxelMatrix<float>& block : blocks) {
        concluding.finish(block, grid, all);
        expectPlanes(block, map, next);
        concluding.survey(report, block, next, grid);
        next += block.getSize3();
    }
    EXPECT_EQ(next, grid.getSize()[2]);
    concluding.addNotes(report);
    EXPECT_EQ(report.notes, expected.notes);
    EXPECT_EQ(report.least, expected.least);
    EXPECT_EQ(report.greatest, expected.greatest);
}

} // namespace

TEST(DensityMapping, anyNumberOfThreadsOrBlocksGivesTheSameBits) {
    Vertices<float> points = randomPoints<float>(3, 200, 0, 10, 3), others = randomPoints<float>(3, 150, 2, 9, 4);
    QuadMesh<float> mask = pillar(1, 8, 10);
    const int threads = ParallelWork::getThreads();
    for (const bool masked : {false, true})
        for (const bool corrected : {true, false})
            for (const DensityMappingMethod method : {KernelMethod, PoissonMethod, HistogramMethod}) {
                SCOPED_TRACE(std::to_string(method) + (corrected ? " corrected" : "") + (masked ? " masked" : ""));
                const std::vector<Shape<float>*> patterns = {&points, &others};
                const std::vector<Shape<float>*> masks =
                    masked ? std::vector<Shape<float>*>{&mask} : std::vector<Shape<float>*>();
                DensitySettings settings;
                settings.method = method;
                settings.corrected = corrected;
                settings.bandwidth = corrected ? 0.0f : 1.5f;
                settings.neighbourRank = 3;
                std::vector<VoxelMatrix<float>> maps(2);
                for (const int run : {0, 1}) {
                    ParallelWork::setThreads(run == 0 ? 1 : 4);
                    DensityMapping mapping(settings, patterns, masks);
                    mapping.compute(maps[std::size_t(run)], mapping.grid(0.7f));
                }
                expectPlanes(maps[0], maps[1], 0);
                for (const int parts : {2, 7, 40})
                    expectSameInBlocks(settings, patterns, masks, parts);
            }
    ParallelWork::setThreads(threads);
}

// What a block takes follows from its planes and those in its reach.
TEST(DensityMapping, aBlockTakesAPartOfTheMemory) {
    Vertices<float> points = randomPoints<float>(3, 100, 0, 10, 3);
    DensitySettings settings;
    settings.bandwidth = 0.2f;
    DensityMapping mapping(settings, {&points}, {});
    const Grid<float> grid = mapping.grid(0.1f);
    const int planes = grid.getSize()[2];
    const double whole = mapping.bytes(grid), tenth = mapping.bytes(grid, MapPlanes::part({5, 10}, planes));
    // A tenth of the planes twice, and 4.5 bandwidths, or 9 planes, to each side.
    EXPECT_NEAR(tenth / whole, (0.1 + 0.1 + 0.18) / 2, 0.02);
}

TEST(NrrdWriter, keepsThePlaceInSpaceForEveryReader) {
    const TemporaryFolder folder;
    VoxelMatrix<float> volume(3, 4, 2);
    for (int k = 0; k < 2; ++k)
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 4; ++j)
                volume(i, j, k) = float(i + 10 * j + 100 * k) + 0.5f;
    for (const NrrdEncoding encoding : {NrrdEncoding::Raw, NrrdEncoding::Gzip}) {
        const std::string file = folder.file(encoding == NrrdEncoding::Raw ? "a.nrrd" : "b.nrrd");
        saveNrrd(volume, vectorOf<float>({7, -8, 9.25f}), vectorOf<float>({0.5f, 0.25f, 2}), "um", encoding, file,
                 false);
        EXPECT_THROW(
            saveNrrd(volume, vectorOf<float>({7, -8, 9}), vectorOf<float>({1, 1, 1}), "", encoding, file, false),
            FileError);
        const std::string text = folder.read(encoding == NrrdEncoding::Raw ? "a.nrrd" : "b.nrrd");
        EXPECT_NE(text.find("space origin: (7,-8,9.25)\n"), std::string::npos);
        EXPECT_NE(text.find("space directions: (0.5,0,0) (0,0.25,0) (0,0,2)\n"), std::string::npos);
        const auto opened = ImageFile::open(file);
        ASSERT_EQ(opened->getNumPages(), 2);
        EXPECT_EQ(opened->getPage(1).width, 3); // x runs along the rows of the picture
        EXPECT_EQ(opened->getPage(1).height, 4);
        Image image;
        ImageReader().read(image, file, 1, 0);
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 4; ++j)
                EXPECT_EQ(image.realRow(j)[i], volume(i, j, 1));
    }
    EXPECT_THROW(saveNrrd(volume, vectorOf<float>({0, 0, 0}), vectorOf<float>({1, 0, 1}), "", NrrdEncoding::Raw,
                          folder.file("c.nrrd"), false),
                 ValueError);
}

} // namespace vorlen
