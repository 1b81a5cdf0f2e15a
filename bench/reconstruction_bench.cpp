#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

#include "images/regions/distancetransform.h"
#include "images/volumes/voxelmatrix.h"
#include "inputs.h"
#include "reconstruction/branchingsurface.h"
#include "reconstruction/curvestacktriangulation.h"
#include "reconstruction/marchingcubes.h"
#include "reconstruction/sectionfield.h"
#include "shapes/curvestack.h"

namespace vorlen {

namespace {

/// Wavy contours of n vertices on 10 levels, each a little larger than the one below.
CurveStack<double> contours(int n) {
    CurveStack<double> stack(3, 0, 0, 0, 0, false);
    for (int level = 0; level < 10; ++level) {
        const std::vector<int> points = inputs::contour(n, 4000 + 40 * level, 0.1 * level);
        Curve<double> curve(3, n, n, 1, false);
        for (int k = 0; k < n; ++k) {
            curve[k][0] = points[std::size_t(2 * k)];
            curve[k][1] = points[std::size_t(2 * k + 1)];
            curve[k][2] = 20.0 * level;
        }
        stack.append(static_cast<const Vertices<double>&>(curve));
    }
    stack.detach();
    return stack;
}

template <int method>
void tiling(benchmark::State& state) {
    const CurveStack<double> stack = contours(int(state.range(0)));
    for (auto _ : state) {
        CurveStackTriangulation<double> tiler(stack, method);
        benchmark::DoNotOptimize(tiler.getTriMesh().getNumTriangles());
    }
}

/// Area of a triangle by the cross product of two sides.
double area(const Vector<double>& a, const Vector<double>& b, const Vector<double>& c) {
    const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    return 0.5 * std::hypot(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]);
}

/// The plain dynamic program over a full table of costs, without the triangles.
void plainOptimal(benchmark::State& state) {
    const CurveStack<double> stack = contours(int(state.range(0)));
    for (auto _ : state) {
        double sum = 0;
        for (int level = 1; level < stack.getHeight(); ++level) {
            const Curve<double>&upper = stack[level], &lower = stack[level - 1];
            int s = 0, t = 0;
            upper.closestPoints(lower, s, t);
            const int n = upper.getNumVertices(), m = lower.getNumVertices();
            const auto u = [&](int i) -> const Vector<double>& { return upper[(s + i) % n]; };
            const auto l = [&](int j) -> const Vector<double>& { return lower[(t + j) % m]; };
            std::vector<std::vector<double>> cost(std::size_t(n + 1), std::vector<double>(std::size_t(m + 1)));
            for (int i = 0; i <= n; ++i)
                for (int j = 0; j <= m; ++j) {
                    double best = i + j == 0 ? 0 : 1e300;
                    if (i > 0)
                        best = cost[std::size_t(i - 1)][std::size_t(j)] + area(u(i - 1), u(i), l(j));
                    if (j > 0)
                        best = std::min(best, cost[std::size_t(i)][std::size_t(j - 1)] + area(l(j - 1), l(j), u(i)));
                    cost[std::size_t(i)][std::size_t(j)] = best;
                }
            sum += cost[std::size_t(n)][std::size_t(m)];
        }
        benchmark::DoNotOptimize(sum);
    }
}

/// The closest pair by comparing all, which is what a plain greedy tiler spends its time on.
void plainAlignment(benchmark::State& state) {
    const CurveStack<double> stack = contours(int(state.range(0)));
    for (auto _ : state) {
        double sum = 0;
        for (int level = 1; level < stack.getHeight(); ++level) {
            double least = 1e300;
            for (int i = 0; i < stack[level].getNumVertices(); ++i)
                for (int j = 0; j < stack[level - 1].getNumVertices(); ++j)
                    least = std::min(least, stack[level][i].sdistance(stack[level - 1][j]));
            sum += least;
        }
        benchmark::DoNotOptimize(sum);
    }
}

} // namespace

/// Ten parts of 40 vertices on each section of 512 x 512, which move; every third section two of them are one.
std::vector<SectionParts> sectionsOfParts(int count) {
    std::vector<SectionParts> sections;
    for (int s = 0; s < count; ++s) {
        SectionParts section(8.0 * s);
        for (int part = 0; part < 10; ++part) {
            const bool joined = s % 3 == 2 && part % 2 == 0;
            if (s % 3 == 2 && part % 2 == 1)
                continue;
            const double x = 60 + 95 * (part % 5) + 8 * std::sin(0.2 * s) + (joined ? 20 : 0);
            const double y = 150 + 200 * (part / 5) + 8 * std::cos(0.3 * s);
            std::vector<PlanePoint> points;
            for (int k = 0; k < 40; ++k) {
                const double angle = 0.15707963267948966 * k;
                points.push_back({x + (joined ? 45 : 24) * std::cos(angle), y + 24 * std::sin(angle)});
            }
            section.add(std::move(points));
        }
        section.build();
        sections.push_back(std::move(section));
    }
    return sections;
}

std::vector<double> heightsOf(const std::vector<SectionParts>& sections) {
    std::vector<double> heights;
    for (const SectionParts& section : sections)
        heights.push_back(section.getHeight());
    return heights;
}

void branching(benchmark::State& state) {
    const std::vector<SectionParts> sections = sectionsOfParts(int(state.range(0)));
    for (auto _ : state) {
        const BranchingSurface surface(sections, heightsOf(sections), false);
        benchmark::DoNotOptimize(surface.build(SurfaceEnds(), 2).getNumTriangles());
    }
}

/// Distances over the whole of each section, eight planes between two sections by their means, one volume of all.
void plainBranching(benchmark::State& state) {
    constexpr int size = 512, between = 8;
    const std::vector<SectionParts> sections = sectionsOfParts(int(state.range(0)));
    for (auto _ : state) {
        const SectionLattice lattice;
        const LatticeBlock block{0, 0, size - 1, size - 1};
        VoxelMatrix<float> volume(size, size, between * (int(sections.size()) - 1) + 1);
        DistanceTransform transform;
        for (std::size_t s = 0; s < sections.size(); ++s) {
            PixelMatrix<float>& plane = volume[between * int(s)];
            plane.fill(-1e6F);
            for (const SectionPart& part : sections[s].getParts()) {
                const SectionField field(part, lattice, block, transform);
                for (int r = 0; r < size; ++r)
                    for (int c = 0; c < size; ++c)
                        plane[r][c] = std::max(plane[r][c], field.at(r, c));
            }
            for (int k = 1; s > 0 && k < between; ++k)
                for (int r = 0; r < size; ++r)
                    for (int c = 0; c < size; ++c)
                        volume[between * (int(s) - 1) + k][r][c] =
                            (float(between - k) * volume[between * (int(s) - 1)][r][c] + float(k) * plane[r][c]) /
                            between;
        }
        benchmark::DoNotOptimize(MarchingCubes<float>().buildMesh(volume, 0, true).getNumTriangles());
    }
}

std::vector<unsigned char> marksOf(int size) {
    std::vector<unsigned char> marks(std::size_t(size) * std::size_t(size));
    for (int k = 0; k < 8 * size; ++k)
        marks[(std::size_t(k) * 2654435761u) % marks.size()] = 1;
    return marks;
}

void distances(benchmark::State& state) {
    const int size = int(state.range(0));
    const std::vector<unsigned char> marks = marksOf(size);
    DistanceTransform transform;
    for (auto _ : state) {
        transform.run(size, size, marks);
        benchmark::DoNotOptimize(transform.getSquaredDistances().data());
    }
}

/// What the passes move, and nothing else: two sweeps over the columns, and the rows with two results.
void memoryPasses(benchmark::State& state) {
    const auto size = std::size_t(state.range(0)) * std::size_t(state.range(0));
    const std::vector<unsigned char> marks = marksOf(int(state.range(0)));
    std::vector<int> rows(size), nearest(size);
    std::vector<float> squares(size);
    for (auto _ : state) {
        for (std::size_t k = 0; k < size; ++k)
            rows[k] = marks[k];
        benchmark::ClobberMemory();
        for (std::size_t k = size; k-- > 0;)
            rows[k] += 1;
        benchmark::ClobberMemory();
        for (std::size_t k = 0; k < size; ++k) {
            squares[k] = float(rows[k]);
            nearest[k] = rows[k];
        }
        benchmark::DoNotOptimize(squares.data());
        benchmark::DoNotOptimize(nearest.data());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(branching)->Name("branchingSurface/vorlen")->Arg(5)->Arg(50)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(plainBranching)->Name("branchingSurface/reference")->Arg(5)->Unit(benchmark::kMillisecond);
BENCHMARK(distances)->Name("distanceTransform/vorlen")->Arg(512)->Arg(2048)->Unit(benchmark::kMillisecond);
BENCHMARK(memoryPasses)->Name("distanceTransform/reference")->Arg(512)->Arg(2048)->Unit(benchmark::kMillisecond);
BENCHMARK(tiling<2>)->Name("tilingByArcLength/vorlen")->Arg(500)->Arg(1000)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(plainAlignment)
    ->Name("tilingByArcLength/reference")
    ->Arg(500)
    ->Arg(1000)
    ->Arg(2000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(tiling<4>)->Name("tilingByLeastArea/vorlen")->Arg(500)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(plainOptimal)->Name("tilingByLeastArea/reference")->Arg(500)->Arg(1000)->Unit(benchmark::kMillisecond);

} // namespace vorlen
