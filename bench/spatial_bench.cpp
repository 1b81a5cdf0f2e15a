#include "shapes/kdtree.h"
#include "shapes/trimesh.h"
#include "shapes/trimeshinterior.h"

#include <benchmark/benchmark.h>

#include <nanoflann.hpp>

#include <cmath>
#include <memory>
#include <vector>

namespace vorlen {

namespace {

constexpr int numPoints = 1000000;
constexpr int numQueries = 10000;

/// Evenly spread fractions: the multiples of an irrational number, without their whole parts.
float spread(long long i, double step) {
    const double x = double(i) * step;
    return float(x - std::floor(x));
}

/// Points in a box of 1000 by 1000 by 400.
Vertices<float>& points() {
    static const std::unique_ptr<Vertices<float>> vertices = [] {
        auto result = std::make_unique<Vertices<float>>(3, numPoints, numPoints, numPoints);
        for (int i = 0; i < numPoints; i++) {
            Vector<float>& point = (*result)[i];
            point[0] = 1000 * spread(i, 0.8191725133961645);
            point[1] = 1000 * spread(i, 0.6710436067037893);
            point[2] = 400 * spread(i, 0.5497004779019703);
        }
        return result;
    }();
    return *vertices;
}

Vector<float> query(int i) {
    Vector<float> point(3);
    point[0] = 1000 * spread(i, 0.7548776662466927);
    point[1] = 1000 * spread(i, 0.5698402909980532);
    point[2] = 400 * spread(i, 0.6180339887498949);
    return point;
}

/// The same points for the reference, in one array.
struct PointCloud {
    std::vector<float> coordinates;

    PointCloud() {
        for (int i = 0; i < numPoints; i++)
            coordinates.insert(coordinates.end(), points()[i].begin(), points()[i].end());
    }
    std::size_t kdtree_get_point_count() const { return coordinates.size() / 3; }
    float kdtree_get_pt(std::size_t i, std::size_t axis) const { return coordinates[3 * i + axis]; }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }
};

using ReferenceTree =
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<float, PointCloud>, PointCloud, 3, unsigned int>;

const PointCloud& cloud() {
    static const PointCloud result;
    return result;
}

const ReferenceTree& referenceTree() {
    static const ReferenceTree tree(3, cloud());
    return tree;
}

KDTree<float>& tree() {
    static KDTree<float> result;
    if (!result.getShape()) {
        result.setShape(points());
        result.build();
    }
    return result;
}

void build(benchmark::State& state) {
    points();
    for (auto _ : state) {
        KDTree<float> tree;
        tree.setShape(points());
        tree.build();
        benchmark::DoNotOptimize(tree);
    }
}

void buildReference(benchmark::State& state) {
    cloud();
    for (auto _ : state) {
        const ReferenceTree tree(3, cloud());
        const ReferenceTree* built = &tree; // has constant members, so that it cannot be marked as changed itself
        benchmark::DoNotOptimize(built);
        benchmark::ClobberMemory();
    }
}

void nearest1(benchmark::State& state) {
    const KDTree<float>& searched = tree();
    for (auto _ : state)
        for (int i = 0; i < numQueries; i++)
            benchmark::DoNotOptimize(searched.nearestVertex(query(i))[0]);
}

void nearestReference(benchmark::State& state, int k) {
    const ReferenceTree& searched = referenceTree();
    std::vector<unsigned int> indexes(k);
    std::vector<float> distances(k);
    for (auto _ : state) {
        for (int i = 0; i < numQueries; i++) {
            searched.knnSearch(query(i).data(), k, indexes.data(), distances.data());
            benchmark::DoNotOptimize(distances[0]);
        }
    }
}

void nearest10(benchmark::State& state) {
    const KDTree<float>& searched = tree();
    Vertices<float> nearest;
    for (auto _ : state) {
        for (int i = 0; i < numQueries; i++) {
            searched.nearestVertices(nearest, query(i), 10);
            benchmark::DoNotOptimize(nearest.getIndex(0));
        }
    }
}

/// Ball about the origin of the given numbers of rings and points on each.
TriMesh<float> ball(int rings, int width) {
    const double pi = 3.14159265358979323846;
    const int size = rings * width + 2;
    TriMesh<float> mesh(3, size, size, size);
    for (int r = 0; r < rings; r++) {
        const double polar = pi * (r + 1) / (rings + 1);
        for (int c = 0; c < width; c++) {
            const double angle = 2 * pi * c / width;
            Vector<float>& vertex = mesh[r * width + c];
            vertex[0] = float(100 * std::sin(polar) * std::cos(angle));
            vertex[1] = float(100 * std::sin(polar) * std::sin(angle));
            vertex[2] = float(100 * std::cos(polar));
        }
    }
    for (int pole = 0; pole < 2; pole++) {
        Vector<float>& vertex = mesh[rings * width + pole];
        vertex.setZeros();
        vertex[2] = pole ? -100 : 100;
    }
    for (int c = 0; c < width; c++) {
        const int next = (c + 1) % width;
        mesh.addTriangle(rings * width, c, next);
        mesh.addTriangle(rings * width + 1, (rings - 1) * width + next, (rings - 1) * width + c);
        for (int r = 1; r < rings; r++) {
            mesh.addTriangle((r - 1) * width + c, r * width + c, r * width + next);
            mesh.addTriangle((r - 1) * width + c, r * width + next, (r - 1) * width + next);
        }
    }
    return mesh;
}

Vector<float> ballQuery(int i) {
    Vector<float> point(3);
    point[0] = 200 * spread(i, 0.7548776662466927) - 100;
    point[1] = 200 * spread(i, 0.5698402909980532) - 100;
    point[2] = 200 * spread(i, 0.6180339887498949) - 100;
    return point;
}

/// The prepared form against the one-off form, on as many triangles as state.range(0) rings give (200 on a ring). Its
/// time for a point should grow far slower than the number of triangles.
void contains(benchmark::State& state) {
    const TriMesh<float> mesh = ball(int(state.range(0)), 100);
    const TriMeshInterior<float> interior(mesh);
    int i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(interior.contains(ballQuery(i++ % 1000)));
}

void containsReference(benchmark::State& state) {
    const TriMesh<float> mesh = ball(int(state.range(0)), 100);
    int i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(mesh.contains(ballQuery(i++ % 1000)));
}

} // namespace

BENCHMARK(build)->Name("kdtree_build/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK(buildReference)->Name("kdtree_build/reference")->Unit(benchmark::kMillisecond);
BENCHMARK(nearest1)->Name("kdtree_nearest1/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(nearestReference, one, 1)->Name("kdtree_nearest1/reference")->Unit(benchmark::kMillisecond);
BENCHMARK(nearest10)->Name("kdtree_nearest10/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(nearestReference, ten, 10)->Name("kdtree_nearest10/reference")->Unit(benchmark::kMillisecond);
BENCHMARK(contains)->Name("trimesh_contains/vorlen")->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(containsReference)
    ->Name("trimesh_contains/reference")
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Unit(benchmark::kMicrosecond);

} // namespace vorlen
