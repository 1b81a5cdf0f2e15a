#include "reconstruction/marchingcubes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "progress/progressmonitor.h"
#include "reconstruction/randomfields.h"
#include "support/plainmarchingcubes.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

using Mesh = TriMesh<float>;

/// What is wrong with the mesh as a surface, empty when nothing is: every edge has two triangles that run along it in
/// opposite directions, and the triangles at a vertex are one fan around it. Edges of which isBorder(a, b) is true may
/// have one triangle. Vertices without triangles are wrong too.
template <class IsBorder>
std::string faults(const Mesh& mesh, IsBorder isBorder) {
    std::vector<std::uint64_t> edges;
    const auto key = [](std::uint64_t a, std::uint64_t b) { return a << 32 | b; };
    std::vector<std::vector<std::pair<unsigned int, unsigned int>>> fans(std::size_t(mesh.getNumVertices()));
    for (unsigned int n = 0; n < mesh.getNumTriangles(); ++n) {
        const Vector<unsigned int>& t = mesh.getTriangleIndexes(n);
        if (t[0] == t[1] || t[1] == t[2] || t[2] == t[0])
            return "a triangle has a vertex twice";
        for (int k = 0; k < 3; ++k) {
            edges.push_back(key(t[k], t[(k + 1) % 3]));
            fans[t[k]].push_back({t[(k + 1) % 3], t[(k + 2) % 3]});
        }
    }
    std::sort(edges.begin(), edges.end());
    if (std::adjacent_find(edges.begin(), edges.end()) != edges.end())
        return "two triangles run along an edge in one direction";
    bool open = false;
    for (const std::uint64_t edge : edges) {
        const auto a = std::uint32_t(edge >> 32), b = std::uint32_t(edge);
        if (std::binary_search(edges.begin(), edges.end(), key(b, a)))
            continue;
        if (!isBorder(int(a), int(b)))
            return "an edge has one triangle";
        open = true;
    }
    for (const auto& fan : fans) {
        if (fan.empty())
            return "a vertex has no triangle";
        const std::map<unsigned int, unsigned int> next(fan.begin(), fan.end());
        // Back to the first one, if there is a border.
        unsigned int first = fan[0].first;
        for (std::size_t step = 0; open && step < fan.size(); ++step)
            for (const auto& [from, to] : fan)
                if (to == first)
                    first = from;
        std::size_t length = 0;
        unsigned int at = first;
        do {
            at = next.at(at);
            ++length;
        } while (at != first && next.count(at) != 0);
        if (length != fan.size())
            return "the triangles at a vertex are more than one fan";
    }
    return "";
}

std::string faults(const Mesh& mesh) {
    return faults(mesh, [](int, int) { return false; });
}

/// Vertices minus edges plus triangles of a closed surface: 2 for a ball, 0 for a ring, the sum over the pieces.
int eulerCharacteristic(const Mesh& mesh) {
    return mesh.getNumVertices() - int(mesh.getNumTriangles()) / 2;
}

int numPieces(const Mesh& mesh) {
    std::vector<unsigned int> parent(std::size_t(mesh.getNumVertices()));
    std::iota(parent.begin(), parent.end(), 0u);
    const auto find = [&](unsigned int n) {
        while (parent[n] != n)
            n = parent[n] = parent[parent[n]];
        return n;
    };
    for (unsigned int n = 0; n < mesh.getNumTriangles(); ++n) {
        const Vector<unsigned int>& t = mesh.getTriangleIndexes(n);
        parent[find(t[0])] = find(t[1]);
        parent[find(t[1])] = find(t[2]);
    }
    int pieces = 0;
    for (unsigned int n = 0; n < parent.size(); ++n)
        pieces += find(n) == n;
    return pieces;
}

/// Euler characteristic of the inside as a body, from its voxels, their neighbours, squares and cubes. Where the
/// surface is smooth at the scale of the voxels, that of its surface is twice this number.
template <class T>
int eulerCharacteristicOfBody(const VoxelMatrix<T>& volume, T level) {
    int sum = 0;
    for (int i = 0; i < volume.getSize1(); ++i)
        for (int j = 0; j < volume.getSize2(); ++j)
            for (int k = 0; k < volume.getSize3(); ++k)
                for (int axes = 0; axes < 8; ++axes) {
                    bool full = true;
                    for (int corner = 0; corner < 8; ++corner) {
                        const int a = i + (corner & axes & 1), b = j + ((corner & axes) >> 1 & 1),
                                  c = k + ((corner & axes) >> 2 & 1);
                        full = full && volume.contains(a, b, c) && volume(a, b, c) >= level;
                    }
                    const bool odd = axes == 1 || axes == 2 || axes == 4 || axes == 7;
                    sum += full ? (odd ? -1 : 1) : 0;
                }
    return sum;
}

template <class T>
VoxelMatrix<T> randomVolume(std::mt19937& random, FieldKind kind, int size1, int size2, int size3) {
    return volumeOf<T>(size1, size2, size3,
                       [&](int i, int j, int k) { return T(randomValue(random, kind, (i + j + k) % 2 == 0)); });
}

void expectSameMesh(const Mesh& expected, const Mesh& mesh) {
    ASSERT_EQ(expected.getNumVertices(), mesh.getNumVertices());
    ASSERT_EQ(expected.getNumTriangles(), mesh.getNumTriangles());
    for (int n = 0; n < mesh.getNumVertices(); ++n)
        for (int k = 0; k < 3; ++k)
            ASSERT_NEAR(expected[n][k], mesh[n][k], 1e-5) << n;
    for (unsigned int n = 0; n < mesh.getNumTriangles(); ++n)
        for (int k = 0; k < 3; ++k)
            ASSERT_EQ(expected.getTriangleIndexes(n)[k], mesh.getTriangleIndexes(n)[k]) << n;
}

VoxelMatrix<float> ball(int size, double radius) {
    const double centre = (size - 1) / 2.0;
    return volumeOf<float>(
        size, size, size, [=](int i, int j, int k) { return radius - std::hypot(i - centre, j - centre, k - centre); });
}

/// Distance into a ring about the centre, in the plane of the axes u and v; w is the third coordinate.
double ring(double u, double v, double w, double radius, double thickness) {
    return thickness - std::hypot(std::hypot(u, v) - radius, w);
}

} // namespace

// Every way of choosing values, on volumes in which each position is at the border or next to it.
TEST(MarchingCubes, closedSurfacesOfRandomVolumesHaveNoGapsAndMeetEachSubCase) {
    std::mt19937 random(11);
    std::map<TilingTable, std::set<int>> met;
    MarchingCubes<double> cubes;
    for (int n = 0; n < 14000; ++n) {
        const FieldKind kind = FieldKind(n % numFieldKinds);
        const VoxelMatrix<double> volume = randomVolume<double>(random, kind, 3, 3, 3);
        const Mesh mesh = cubes.buildMesh(volume, 0, true);
        ASSERT_EQ("", faults(mesh)) << n;
        for (int v = 0; v < mesh.getNumVertices(); ++v)
            for (int k = 0; k < 3; ++k)
                ASSERT_TRUE(mesh[v][k] >= 0 && mesh[v][k] <= 2) << n;
        if (kind == FieldKind::Broken)
            continue; // the plain form takes voxels as they are
        const PlainMarchingCubes<double> plain(volume, 0, true);
        for (int position = 0; position < 64; ++position) {
            const auto cube = plain.cube(position / 16 - 1, position / 4 % 4 - 1, position % 4 - 1);
            if (cube.code() != 0 && cube.code() != 255) {
                const auto tiling = cube.tiling(MarchingCubesTables::instance());
                met[tiling.table].insert(tiling.entry);
            }
        }
    }
    using enum TilingTable;
    EXPECT_EQ(42u, met.size());
    const std::map<TilingTable, std::size_t> entries = {
        {Tiling7_2, 3},    {Tiling7_3, 3},  {Tiling13_2, 6},   {Tiling13_2_, 6},  {Tiling13_3, 12},
        {Tiling13_3_, 12}, {Tiling13_4, 4}, {Tiling13_5_1, 4}, {Tiling13_5_2, 4}, {Tiling13_5_2_, 4}};
    for (const auto& [table, count] : entries)
        EXPECT_EQ(count, met[table].size()) << int(table);
}

TEST(MarchingCubes, largerRandomVolumesHaveNoGapsAndEqualThePlainForm) {
    std::mt19937 random(5);
    constexpr int sizes[][3] = {{2, 2, 2}, {9, 6, 40}, {4, 33, 70}, {17, 5, 31}, {3, 12, 32}, {6, 1, 65}, {5, 4, 1}};
    for (const auto& size : sizes) {
        for (int kind = 0; kind < numFieldKinds; ++kind) {
            const VoxelMatrix<double> volume = randomVolume<double>(random, FieldKind(kind), size[0], size[1], size[2]);
            for (const bool closed : {true, false}) {
                SCOPED_TRACE(testing::Message() << size[0] << " x " << size[1] << " x " << size[2] << ", kind " << kind
                                                << (closed ? " closed" : " open"));
                const Mesh mesh = MarchingCubes<double>().buildMesh(volume, 0, closed);
                if (std::min({size[0], size[1], size[2]}) == 1 && !closed) {
                    EXPECT_EQ(0, mesh.getNumVertices());
                    continue;
                }
                // An open surface ends on the volume's border only: both ends of the edge are on one side of it.
                const auto isBorder = [&](int a, int b) {
                    bool border = false;
                    for (int k = 0; k < 3; ++k)
                        for (const float side : {0.0f, float(size[k] - 1)})
                            border = border || (mesh[a][k] == side && mesh[b][k] == side);
                    return border && !closed;
                };
                EXPECT_EQ("", faults(mesh, isBorder));
                if (FieldKind(kind) != FieldKind::Broken)
                    expectSameMesh(PlainMarchingCubes<double>(volume, 0, closed).mesh(), mesh);
            }
        }
    }
}

TEST(MarchingCubes, allTypesGiveTheSurfaceOfTheSameNumbers) {
    std::mt19937 random(2);
    const VoxelMatrix<int> volume = volumeOf<int>(7, 8, 9, [&](int, int, int) { return int(random() % 9); });
    const Mesh expected = PlainMarchingCubes<int>(volume, 4, true).mesh();
    expectSameMesh(expected, MarchingCubes<int>().buildMesh(volume, 4, true));
    expectSameMesh(expected, MarchingCubes<float>().buildMesh(volume.toType<float>(), 4, true));
    expectSameMesh(expected, MarchingCubes<long double>().buildMesh(volume.toType<long double>(), 4, true));
    // Differences that an int cannot hold.
    VoxelMatrix<int> extreme = volumeOf<int>(2, 2, 2, [](int i, int, int) {
        return i == 0 ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    });
    const Mesh plane = MarchingCubes<int>().buildMesh(extreme, std::numeric_limits<int>::max(), false);
    ASSERT_EQ(4, plane.getNumVertices());
    EXPECT_EQ(1.0f, plane[0][0]);
}

TEST(MarchingCubes, solidsHaveTheEulerCharacteristicOfTheirShape) {
    MarchingCubes<float> cubes;
    const auto check = [&](const VoxelMatrix<float>& volume, float level, int expected, int pieces) {
        const Mesh mesh = cubes.buildMesh(volume, level, true);
        EXPECT_EQ("", faults(mesh));
        EXPECT_EQ(expected, eulerCharacteristic(mesh));
        EXPECT_EQ(pieces, numPieces(mesh));
        EXPECT_EQ(expected, 2 * eulerCharacteristicOfBody(volume, level));
    };
    {
        SCOPED_TRACE("ball");
        check(ball(24, 9.3), 0, 2, 1);
    }
    {
        SCOPED_TRACE("ring");
        check(
            volumeOf<float>(32, 30, 16, [](int i, int j, int k) { return ring(i - 15.2, j - 14.8, k - 7.7, 9, 3.5); }),
            0, 0, 1);
    }
    {
        SCOPED_TRACE("two linked rings");
        check(volumeOf<float>(50, 36, 36,
                              [](int i, int j, int k) {
                                  return std::max(ring(i - 17.2, j - 17.4, k - 17.7, 11, 3.3),
                                                  ring(i - 28.1, k - 17.7, j - 17.4, 11, 3.3));
                              }),
              0, 0, 2);
    }
    {
        // Where the box cuts it, the body has more and fewer handles than a whole period; their number is that of the
        // voxels' body, which shares nothing with the tables.
        SCOPED_TRACE("gyroid in a box");
        const double step = 2 * 3.14159265358979323846 / 31;
        const VoxelMatrix<float> volume = volumeOf<float>(32, 32, 32, [=](int i, int j, int k) {
            const double x = step * i + 0.3, y = step * j + 0.4, z = step * k + 0.5;
            return std::sin(x) * std::cos(y) + std::sin(y) * std::cos(z) + std::sin(z) * std::cos(x);
        });
        const Mesh mesh = cubes.buildMesh(volume, 0, true);
        EXPECT_EQ("", faults(mesh));
        EXPECT_EQ(2 * eulerCharacteristicOfBody(volume, 0.0f), eulerCharacteristic(mesh));
        EXPECT_LT(eulerCharacteristic(mesh), 2 * numPieces(mesh));
    }
}

// One inside voxel: its six neighbours' edges in the order of the directions, and a triangle in each octant.
TEST(MarchingCubes, aSingleVoxelIsAnOctahedronAndVerticesAreNumberedByDirection) {
    VoxelMatrix<float> volume(3, 3, 3);
    volume.fill(-1);
    volume(1, 1, 1) = 3;
    const Mesh mesh = MarchingCubes<float>().buildMesh(volume, 0, true);
    ASSERT_EQ(6, mesh.getNumVertices());
    EXPECT_EQ(8u, mesh.getNumTriangles());
    for (int n = 0; n < 6; ++n)
        for (int k = 0; k < 3; ++k)
            EXPECT_FLOAT_EQ(k == n / 2 ? (n % 2 == 0 ? 0.25f : 1.75f) : 1.0f, mesh[n][k]) << n << ' ' << k;
    EXPECT_EQ("", faults(mesh));
    // An octahedron with half axes of 3/4 has the volume 4/3 (3/4)^3; normals point to the inside.
    EXPECT_NEAR(-4.0 / 3 * 27 / 64, mesh.volume(), 1e-6);
    ASSERT_TRUE(mesh.hasNormals());
    EXPECT_GT(mesh.getNormal(0)[0], 0.99f);
}

TEST(MarchingCubes, surfacesThatMeetTheBorderCloseThroughItsVoxelsOrStopThere) {
    VoxelMatrix<float> volume(3, 4, 5);
    volume.fill(7);
    const Mesh box = MarchingCubes<float>().buildMesh(volume, 7, true);
    EXPECT_EQ("", faults(box));
    EXPECT_EQ(2, eulerCharacteristic(box));
    EXPECT_NEAR(-2.0 * 3 * 4, box.volume(), 1e-4);
    EXPECT_EQ(0, MarchingCubes<float>().buildMesh(volume, 7, false).getNumVertices());
    EXPECT_EQ(0, MarchingCubes<float>().buildMesh(volume, 7.5f, true).getNumVertices());
    EXPECT_EQ(0,
              MarchingCubes<float>().buildMesh(volume, std::numeric_limits<float>::quiet_NaN(), true).getNumVertices());
    for (const VoxelMatrix<float>& empty : {VoxelMatrix<float>(), VoxelMatrix<float>(3, 0, 2)})
        EXPECT_EQ(0, MarchingCubes<float>().buildMesh(empty, 0, true).getNumVertices());
}

TEST(MarchingCubes, voxelsOnTheLevelAreInsideAndTheSurfaceLiesOnThem) {
    const VoxelMatrix<float> volume = volumeOf<float>(4, 3, 3, [](int i, int, int) { return i; });
    const Mesh plane = MarchingCubes<float>().buildMesh(volume, 2, false);
    ASSERT_EQ(9, plane.getNumVertices());
    for (int n = 0; n < 9; ++n) {
        EXPECT_EQ(2.0f, plane[n][0]);
        EXPECT_EQ(1.0f, plane.getNormal(n)[0]);
    }
}

TEST(MarchingCubes, verticesBesideInfiniteVoxelsAndMissingOnesStandBetweenTheirNeighbours) {
    const float infinite = std::numeric_limits<float>::infinity(), largest = std::numeric_limits<float>::max();
    const auto crossing = [](float first, float second) {
        const VoxelMatrix<float> volume =
            volumeOf<float>(2, 2, 2, [=](int i, int, int) { return i == 0 ? first : second; });
        const Mesh mesh = MarchingCubes<float>().buildMesh(volume, 0, false);
        return mesh.getNumVertices() == 4 ? mesh[0][0] : -1.0f;
    };
    EXPECT_EQ(1.0f, crossing(infinite, -1));
    EXPECT_EQ(0.0f, crossing(1, -infinite));
    EXPECT_EQ(0.5f, crossing(-infinite, infinite));
    EXPECT_EQ(0.5f, crossing(largest, -largest));
    EXPECT_EQ(0.75f, crossing(3, std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(0.25f, crossing(-1e-30f, 3e-30f));
}

TEST(MarchingCubes, monitorsHearOfEachLayerAndCanStopTheWork) {
    struct Monitor : ProgressMonitor {
        using ProgressMonitor::subjectCanceled;
        using ProgressMonitor::subjectFinished;
        using ProgressMonitor::subjectProgressed;
        void subjectProgressed(unsigned int current, unsigned int total) override {
            steps.push_back(current);
            EXPECT_EQ(9u, total);
            if (stop && current == 3)
                subject->cancel();
        }
        void subjectFinished(const std::string&) override { ++finished; }
        void subjectCanceled(const std::string&) override { ++canceled; }
        ProgressSubject* subject = nullptr;
        bool stop = false;
        std::vector<unsigned int> steps;
        int finished = 0, canceled = 0;
    };
    MarchingCubes<float> cubes;
    Monitor monitor;
    monitor.subject = &cubes;
    cubes.addMonitor(monitor);
    const VoxelMatrix<float> volume = ball(10, 3);
    EXPECT_GT(cubes.buildMesh(volume, 0, false).getNumTriangles(), 0u);
    EXPECT_EQ(std::vector<unsigned int>({1, 2, 3, 4, 5, 6, 7, 8, 9}), monitor.steps);
    EXPECT_EQ(1, monitor.finished);
    monitor.stop = true;
    EXPECT_EQ(0, cubes.buildMesh(volume, 0, false).getNumVertices());
    EXPECT_EQ(1, monitor.canceled);
    EXPECT_EQ(12u, monitor.steps.size());
}

} // namespace vorlen
