#include "images/rasters/pixelmatrix.h"
#include "registration/principalaxesimageregistration.h"

#include <benchmark/benchmark.h>

#include "inputs.h"

#include <cmath>

namespace vorlen {

namespace {

PixelMatrix<float> image(int n, int plane) {
    PixelMatrix<float> matrix(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            matrix[i][j] = inputs::blobs(i, j, plane);
    return matrix;
}

void registration(benchmark::State& state) {
    const PixelMatrix<float> source = image(int(state.range(0)), 0), target = image(int(state.range(0)), 7);
    PrincipalAxesImageRegistration<float> registration;
    registration.setSource(source);
    registration.setTarget(target);
    for (auto _ : state) {
        registration.run();
        benchmark::DoNotOptimize(registration.translation()[0]);
    }
}

/// Angle and centre of the masses from the sums that define them.
double angleByDefinition(const PixelMatrix<float>& matrix, double* center) {
    double total = 0, a = 0, b = 0, d = 0;
    center[0] = center[1] = 0;
    for (int i = 0; i < matrix.getSize1(); ++i) {
        for (int j = 0; j < matrix.getSize2(); ++j) {
            total += matrix(i, j);
            center[0] += double(i) * matrix(i, j);
            center[1] += double(j) * matrix(i, j);
        }
    }
    center[0] /= total;
    center[1] /= total;
    for (int i = 0; i < matrix.getSize1(); ++i) {
        for (int j = 0; j < matrix.getSize2(); ++j) {
            a += (i - center[0]) * (i - center[0]) * matrix(i, j);
            b += (i - center[0]) * (j - center[1]) * matrix(i, j);
            d += (j - center[1]) * (j - center[1]) * matrix(i, j);
        }
    }
    return 0.5 * std::atan2(2 * b, a - d);
}

void registrationReference(benchmark::State& state) {
    const PixelMatrix<float> source = image(int(state.range(0)), 0), target = image(int(state.range(0)), 7);
    for (auto _ : state) {
        double sourceCenter[2], targetCenter[2];
        const double angle = angleByDefinition(target, targetCenter) - angleByDefinition(source, sourceCenter);
        benchmark::DoNotOptimize(angle);
        benchmark::DoNotOptimize(targetCenter[0] - sourceCenter[0]);
    }
}

} // namespace

BENCHMARK(registration)->Name("image_registration/vorlen")->Arg(1024)->Arg(2048)->Unit(benchmark::kMillisecond);
BENCHMARK(registrationReference)
    ->Name("image_registration/reference")
    ->Arg(1024)
    ->Arg(2048)
    ->Unit(benchmark::kMillisecond);

} // namespace vorlen
