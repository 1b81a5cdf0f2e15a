#include "normalization/polynomialwarp.h"
#include "normalization/thinplatesplinewarp2d.h"
#include "normalization/thinplatesplinewarp3d.h"
#include "shapes/vertices.h"

#include <benchmark/benchmark.h>

#include "inputs.h"

#include <cmath>

namespace vorlen {

namespace {

constexpr int numPoints = 100000;
constexpr int numCenters = 1500;

template <class T>
Vertices<T> cloud(int space, int n, std::uint32_t seed) {
    const std::vector<float> coordinates = inputs::points(n, seed);
    Vertices<T> vertices(space, n, n, n);
    for (int i = 0; i < n; ++i)
        for (int a = 0; a < space; ++a)
            vertices[i][a] = 100 * T(coordinates[3 * std::size_t(i) + a]);
    return vertices;
}

/// Every point of the cloud is moved by a smooth wave.
template <class T>
Vertices<T> bent(const Vertices<T>& points) {
    const int n = points.getSize();
    Vertices<T> result(points.getSpace(), n, n, n);
    for (int i = 0; i < n; ++i)
        for (int a = 0; a < points.getSpace(); ++a)
            result[i][a] = points[i][a] + 3 * std::sin(T(0.05) * points[i][(a + 1) % points.getSpace()]);
    return result;
}

template <class Warp, class T>
void fitSpline(benchmark::State& state, int space) {
    const Vertices<T> moving = cloud<T>(space, int(state.range(0)), 1);
    const Vertices<T> target = bent(moving);
    for (auto _ : state) {
        Warp warp;
        warp.fit(moving, target);
        benchmark::DoNotOptimize(warp);
    }
}

/// The system as it is defined, inverted and multiplied with the displacements.
Matrix<double> weightsByInverse(const RadialBasisFunctionWarp<double>& warp, const Vertices<double>& moving,
                                const Vertices<double>& target) {
    const int n = moving.getSize(), d = moving.getSpace(), q = n + d + 1;
    SquareMatrix<double> system(q);
    Matrix<double> wanted(q, d);
    system.fill(0);
    wanted.fill(0);
    for (int k = 0; k < n; ++k) {
        for (int l = 0; l < n; ++l)
            system(k, l) = k == l ? 0 : warp.rbf(moving[k], moving[l]);
        for (int a = 0; a < d; ++a) {
            system(k, n + a) = system(n + a, k) = moving[k][a];
            wanted(k, a) = target[k][a] - moving[k][a];
        }
        system(k, n + d) = system(n + d, k) = 1;
    }
    return (system.inverse() * wanted).transpose();
}

template <class Warp>
void fitSplineReference(benchmark::State& state, int space) {
    const Vertices<double> moving = cloud<double>(space, int(state.range(0)), 1);
    const Vertices<double> target = bent(moving);
    const Warp warp;
    for (auto _ : state)
        benchmark::DoNotOptimize(weightsByInverse(warp, moving, target));
}

template <class Warp, class T>
void applySpline(benchmark::State& state, int space) {
    const Vertices<T> moving = cloud<T>(space, int(state.range(0)), 1);
    Warp warp;
    warp.fit(moving, bent(moving));
    const Vertices<T> points = cloud<T>(space, numPoints, 2);
    for (auto _ : state)
        for (int i = 0; i < numPoints; ++i)
            benchmark::DoNotOptimize(warp.eval(points[i])[0]);
}

/// The sum as it is defined, a kernel at a time.
template <class Warp>
void applySplineReference(benchmark::State& state, int space) {
    const Vertices<double> moving = cloud<double>(space, int(state.range(0)), 1);
    const Warp warp;
    const Matrix<double> weights = weightsByInverse(warp, moving, bent(moving));
    const Vertices<double> points = cloud<double>(space, numPoints, 2);
    const int n = moving.getSize();
    for (auto _ : state) {
        for (int i = 0; i < numPoints; ++i) {
            Vector<double> v(points[i]);
            for (int a = 0; a < space; ++a) {
                v[a] = weights(a, n + space);
                for (int m = 0; m < space; ++m)
                    v[a] += weights(a, n + m) * points[i][m];
            }
            for (int k = 0; k < n; ++k) {
                const double kernel = warp.rbf(points[i], moving[k]);
                for (int a = 0; a < space; ++a)
                    v[a] += weights(a, k) * kernel;
            }
            benchmark::DoNotOptimize(v[0]);
        }
    }
}

void fitPolynomial(benchmark::State& state) {
    const Vertices<float> moving = cloud<float>(3, int(state.range(0)), 1);
    const Vertices<float> target = bent(moving);
    for (auto _ : state) {
        PolynomialWarp<float> warp;
        warp.setDegree(3);
        warp.fit(moving, target);
        benchmark::DoNotOptimize(warp);
    }
}

void applyPolynomial(benchmark::State& state) {
    const Vertices<float> moving = cloud<float>(3, numCenters, 1);
    PolynomialWarp<float> warp;
    warp.setDegree(3);
    warp.fit(moving, bent(moving));
    const Vertices<float> points = cloud<float>(3, numPoints, 2);
    for (auto _ : state) {
        for (int i = 0; i < numPoints; ++i) {
            Vector<float> v = points[i];
            warp.apply(v);
            benchmark::DoNotOptimize(v[0]);
        }
    }
}

/// The sum of all monomials of degree 3, by their powers.
void applyPolynomialReference(benchmark::State& state) {
    const Vertices<float> points = cloud<float>(3, numPoints, 2);
    const std::vector<double> coefficients = inputs::matrix(3, 20);
    for (auto _ : state) {
        for (int i = 0; i < numPoints; ++i) {
            Vector<float> v = points[i];
            for (int axis = 0; axis < 3; ++axis) {
                int term = 0;
                for (int a = 3; a >= 0; --a) {
                    for (int b = 3 - a; b >= 0; --b) {
                        for (int c = 3 - a - b; c >= 0; --c) {
                            float monomial = float(coefficients[20 * axis + term++]);
                            for (int e = 0; e < a; ++e)
                                monomial *= points[i][0];
                            for (int e = 0; e < b; ++e)
                                monomial *= points[i][1];
                            for (int e = 0; e < c; ++e)
                                monomial *= points[i][2];
                            v[axis] += monomial;
                        }
                    }
                }
            }
            benchmark::DoNotOptimize(v[0]);
        }
    }
}

void fit3d(benchmark::State& state) {
    fitSpline<ThinPlateSplineWarp3D<double>, double>(state, 3);
}

void fit3dReference(benchmark::State& state) {
    fitSplineReference<ThinPlateSplineWarp3D<double>>(state, 3);
}

void apply3d(benchmark::State& state) {
    applySpline<ThinPlateSplineWarp3D<double>, double>(state, 3);
}

void apply3dFloat(benchmark::State& state) {
    applySpline<ThinPlateSplineWarp3D<float>, float>(state, 3);
}

void apply3dReference(benchmark::State& state) {
    applySplineReference<ThinPlateSplineWarp3D<double>>(state, 3);
}

void apply2d(benchmark::State& state) {
    applySpline<ThinPlateSplineWarp2D<double>, double>(state, 2);
}

void apply2dReference(benchmark::State& state) {
    applySplineReference<ThinPlateSplineWarp2D<double>>(state, 2);
}

} // namespace

BENCHMARK(fit3d)->Name("tps3d_fit/vorlen")->Arg(750)->Arg(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(fit3dReference)->Name("tps3d_fit/reference")->Arg(750)->Arg(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(apply3d)->Name("tps3d_apply/vorlen")->Arg(750)->Arg(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(apply3dReference)->Name("tps3d_apply/reference")->Arg(750)->Arg(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(apply3dFloat)->Name("tps3d_apply_float/vorlen")->Arg(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(apply2d)->Name("tps2d_apply/vorlen")->Arg(750)->Arg(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(apply2dReference)->Name("tps2d_apply/reference")->Arg(750)->Arg(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(fitPolynomial)->Name("polynomialwarp_fit/vorlen")->Arg(750)->Arg(1500)->Unit(benchmark::kMillisecond);
BENCHMARK(applyPolynomial)->Name("polynomialwarp_apply/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK(applyPolynomialReference)->Name("polynomialwarp_apply/reference")->Unit(benchmark::kMillisecond);

} // namespace vorlen
