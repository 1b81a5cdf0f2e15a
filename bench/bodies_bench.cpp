#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "compare.h"
#include "inputs.h"
#include "shapes/bodyskeleton.h"
#include "shapes/meshdistance.h"
#include "shapes/pixelsteps.h"
#include "shapes/surfacedistances.h"
#include "shapes/trimesh.h"
#include "shapes/voxelbody.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr int onRing = 100;

/// A ball about (x, 0, 0) of so many rings with 100 vertices each: 200 triangles a ring.
TriMesh<double> ballMesh(int rings, double radius, double x = 0) {
    const int n = rings * onRing + 2;
    TriMesh<double> mesh(3, n, n, 2 * rings * onRing);
    const auto set = [&](int i, double a, double b, double c) {
        mesh[i][0] = x + radius * a;
        mesh[i][1] = radius * b;
        mesh[i][2] = radius * c;
    };
    const auto number = [](int ring, int k) { return static_cast<unsigned int>(ring * onRing + k % onRing); };
    std::vector<Vector<unsigned int>> triangles;
    triangles.reserve(2 * std::size_t(rings * onRing));
    const auto add = [&](unsigned int a, unsigned int b, unsigned int c) {
        Vector<unsigned int> triangle(3);
        triangle[0] = a;
        triangle[1] = b;
        triangle[2] = c;
        triangles.push_back(triangle);
    };
    const auto top = static_cast<unsigned int>(n - 2), bottom = static_cast<unsigned int>(n - 1);
    set(n - 2, 0, 0, 1);
    set(n - 1, 0, 0, -1);
    for (int ring = 0; ring < rings; ++ring)
        for (int k = 0; k < onRing; ++k) {
            const double polar = pi * (ring + 1) / (rings + 1), around = 2 * pi * k / onRing;
            set(ring * onRing + k, std::sin(polar) * std::cos(around), std::sin(polar) * std::sin(around),
                std::cos(polar));
            if (ring == 0)
                add(top, number(0, k), number(0, k + 1));
            if (ring + 1 == rings) {
                add(bottom, number(ring, k + 1), number(ring, k));
                continue;
            }
            add(number(ring, k), number(ring + 1, k), number(ring, k + 1));
            add(number(ring, k + 1), number(ring + 1, k), number(ring + 1, k + 1));
        }
    mesh.setTriangles(triangles);
    return mesh;
}

/// Within the cube around the ball, twice as wide.
std::array<double, 3> spot(int i) {
    std::array<double, 3> place = {};
    for (std::size_t axis = 0; axis < 3; ++axis)
        place[axis] = 400 * double(inputs::unit(3U * std::uint32_t(i) + std::uint32_t(axis))) - 200;
    return place;
}

/// A spot's closest point by the tree of boxes, against a look at all triangles, on state.range(0) rings.
void closest(benchmark::State& state) {
    const MeshDistance mesh(ballMesh(int(state.range(0)), 100));
    int i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(mesh.closest(spot(i++ % 1000)).distance);
}

void closestReference(benchmark::State& state) {
    const TriMesh<double> mesh = ballMesh(int(state.range(0)), 100);
    Vector<double> place(3), found(3);
    int i = 0;
    for (auto _ : state) {
        const std::array<double, 3> at = spot(i++ % 1000);
        for (int axis = 0; axis < 3; ++axis)
            place[axis] = at[std::size_t(axis)];
        benchmark::DoNotOptimize(mesh.closestPoint(place, found));
    }
}

/// 21,000 spots on 10,000 triangles, the tree included: at most 0.2 s.
void closestOfAll(benchmark::State& state) {
    const TriMesh<double> ball = ballMesh(50, 100);
    for (auto _ : state) {
        const MeshDistance mesh(ball);
        double sum = 0;
        for (int i = 0; i < 21000; ++i)
            sum += mesh.closest(spot(i)).distance;
        benchmark::DoNotOptimize(sum);
    }
}

/// All distances of two balls side by side, against the closest points of their corners alone.
void distances(benchmark::State& state) {
    const MeshDistance one(ballMesh(int(state.range(0)), 100)), other(ballMesh(int(state.range(0)), 50, 200));
    for (auto _ : state)
        benchmark::DoNotOptimize(SurfaceDistances(one, other).hausdorff);
}

void distancesReference(benchmark::State& state) {
    const TriMesh<double> one = ballMesh(int(state.range(0)), 100), other = ballMesh(int(state.range(0)), 50, 200);
    for (auto _ : state) {
        double greatest = 0;
        for (const auto& [from, to] : {std::pair(&one, &other), std::pair(&other, &one)}) {
            const MeshDistance tree(*to);
            for (int i = 0; i < from->getNumVertices(); ++i)
                greatest = std::max(greatest, tree.closest({(*from)[i][0], (*from)[i][1], (*from)[i][2]}).distance);
        }
        benchmark::DoNotOptimize(greatest);
    }
}

constexpr double ballVolume = 4 * pi / 3 * 1e6;

void voxels(benchmark::State& state) {
    const TriMesh<double> mesh = ballMesh(50, 100);
    for (auto _ : state)
        benchmark::DoNotOptimize(VoxelBody(mesh, ballVolume, int(state.range(0))).getNumVoxels());
}

/// The ball by its formula, and the squared distances axis by axis, each place against all others of its line.
void voxelsReference(benchmark::State& state) {
    const double size = std::cbrt(ballVolume / double(state.range(0)));
    const int n = int(std::ceil(200 / size)) + 2;
    const auto at = [n](int x, int y, int z) {
        return (std::size_t(z) * std::size_t(n) + std::size_t(y)) * std::size_t(n) + std::size_t(x);
    };
    std::vector<int> squares(std::size_t(n) * std::size_t(n) * std::size_t(n)), line(static_cast<std::size_t>(n));
    const double middle = (n - 1) / 2.0;
    for (auto _ : state) {
        for (int z = 0; z < n; ++z)
            for (int y = 0; y < n; ++y)
                for (int x = 0; x < n; ++x)
                    squares[at(x, y, z)] = size * std::hypot(x - middle, y - middle, z - middle) < 100 ? 3 * n * n : 0;
        for (const int axis : {0, 1, 2})
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j) {
                    const std::size_t first = axis == 0 ? at(0, i, j) : axis == 1 ? at(i, 0, j) : at(i, j, 0);
                    const std::size_t step = axis == 0   ? 1
                                             : axis == 1 ? std::size_t(n)
                                                         : std::size_t(n) * std::size_t(n);
                    for (int k = 0; k < n; ++k) {
                        int least = std::numeric_limits<int>::max();
                        for (int l = 0; l < n; ++l)
                            least = std::min(least, squares[first + std::size_t(l) * step] + (k - l) * (k - l));
                        line[std::size_t(k)] = least;
                    }
                    for (int k = 0; k < n; ++k)
                        squares[first + std::size_t(k) * step] = line[std::size_t(k)];
                }
        benchmark::DoNotOptimize(squares.data());
    }
}

/// A ball of so many voxels.
void skeleton(benchmark::State& state) {
    const VoxelBody body(ballMesh(50, 100), ballVolume, int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(BodySkeleton(body).length);
}

/// The same body peeled to nothing, whether that parts it or not: a look at all neighbours of all voxels in each round.
void skeletonReference(benchmark::State& state) {
    const VoxelBody body(ballMesh(50, 100), ballVolume, int(state.range(0)));
    const int n = body.getNumVoxels();
    std::vector<int> neighbours;
    for (const int x : {-1, 0, 1})
        for (const int y : {-1, 0, 1})
            for (const int z : {-1, 0, 1})
                neighbours.push_back(x * body.getStep(0) + y * body.getStep(1) + z * body.getStep(2));
    for (auto _ : state) {
        std::vector<char> inside(static_cast<std::size_t>(n));
        for (int i = 0; i < n; ++i)
            inside[std::size_t(i)] = body.isInside(i);
        int left = 1;
        while (left > 0) {
            left = 0;
            std::vector<char> next = inside;
            for (int i = 0; i < n; ++i) {
                if (inside[std::size_t(i)] == 0)
                    continue;
                bool keeps = true;
                for (const int way : neighbours)
                    keeps = keeps && i + way >= 0 && i + way < n && inside[std::size_t(i + way)] != 0;
                next[std::size_t(i)] = keeps;
                left += keeps;
            }
            inside.swap(next);
        }
        benchmark::DoNotOptimize(inside.data());
    }
}

/// A circle in whole pixels, with a vertex at each of its pixels.
std::vector<std::pair<int, int>> digitalCircle(double radius) {
    std::vector<std::pair<int, int>> pixels;
    const int n = int(20 * radius);
    for (int k = 0; k < n; ++k) {
        const double angle = 2 * pi * k / n;
        const std::pair pixel(int(std::lround(radius * std::cos(angle))), int(std::lround(radius * std::sin(angle))));
        if (pixels.empty() || (pixel != pixels.back() && pixel != pixels.front()))
            pixels.push_back(pixel);
    }
    return pixels;
}

void pixelSteps(benchmark::State& state) {
    const auto pixels = digitalCircle(double(state.range(0)));
    const int n = int(pixels.size());
    Vertices<double> outline(2, n, n, 1);
    for (int i = 0; i < n; ++i) {
        outline[i][0] = pixels[std::size_t(i)].first;
        outline[i][1] = pixels[std::size_t(i)].second;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(withoutPixelSteps(outline, true).getNumVertices());
}

/// Chords as long as all pixels between lie within half a pixel of them, each tried anew from its start.
void pixelStepsReference(benchmark::State& state) {
    const auto pixels = digitalCircle(double(state.range(0)));
    for (auto _ : state) {
        std::size_t numChords = 0;
        for (std::size_t first = 0; first + 1 < pixels.size(); ++numChords) {
            std::size_t last = first + 1;
            for (bool fits = true; fits && last + 1 < pixels.size(); last += fits) {
                const int dx = pixels[last + 1].first - pixels[first].first;
                const int dy = pixels[last + 1].second - pixels[first].second;
                for (std::size_t k = first + 1; fits && k <= last; ++k)
                    fits = 2 * std::abs((pixels[k].first - pixels[first].first) * dy -
                                        (pixels[k].second - pixels[first].second) * dx) <=
                           std::max(std::abs(dx), std::abs(dy));
            }
            first = last;
        }
        benchmark::DoNotOptimize(numChords);
    }
}

[[maybe_unused]] const bool registered = [] {
    compare("mesh_closest", closest, closestReference, {{5}, {50}, {500}});
    benchmark::RegisterBenchmark("mesh_closest_21000/vorlen", closestOfAll)->Unit(benchmark::kMillisecond);
    compare("surface_distances", distances, distancesReference, {{5}, {50}});
    compare("voxel_body", voxels, voxelsReference, {{12500}, {100000}});
    compare("body_skeleton", skeleton, skeletonReference, {{12500}, {100000}});
    compare("pixel_steps", pixelSteps, pixelStepsReference, {{100}, {1000}});
    return true;
}();

} // namespace

} // namespace vorlen
