#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

#include "inputs.h"
#include "reconstruction/curvestacktriangulation.h"
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
