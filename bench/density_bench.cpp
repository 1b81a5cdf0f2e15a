#include "images/volumes/voxelmatrix.h"
#include "normalization/boundedkerneldensityestimator.h"
#include "normalization/boundedpoissondensityestimator.h"
#include "normalization/groupstatistic.h"
#include "normalization/histogramdensityestimator.h"
#include "normalization/kerneldensityestimator.h"
#include "normalization/permutationtest.h"
#include "normalization/poissondensityestimator.h"
#include "shapes/boundingbox.h"
#include "shapes/vertices.h"

#include <benchmark/benchmark.h>

#include "inputs.h"

#include <algorithm>
#include <cmath>
#include <iostream>

namespace vorlen {

namespace {

constexpr int numPatterns = 3;
constexpr int gridSize = 40;
constexpr int rank = 10;
constexpr float bandwidth = 10;

/// Points of the cube of side 100.
std::vector<Vertices<float>> patterns(int size) {
    std::vector<Vertices<float>> result;
    for (int p = 0; p < numPatterns; ++p) {
        const std::vector<float> coordinates = inputs::points(size, std::uint32_t(p + 1));
        result.emplace_back(3, size, size, size);
        for (int i = 0; i < size; ++i)
            for (int a = 0; a < 3; ++a)
                result.back()[i][a] = 100 * coordinates[3 * std::size_t(i) + a];
    }
    return result;
}

BoundingBox<float> cube() {
    Vector<float> lower(3), upper(3);
    lower.fill(0);
    upper.fill(100);
    return BoundingBox<float>(lower, upper);
}

template <class Estimator>
void addAll(Estimator& estimator, std::vector<Vertices<float>>& shapes) {
    for (Vertices<float>& shape : shapes)
        estimator.addShape(shape);
}

void run(benchmark::State& state, DensityEstimator<float>& estimator, int size) {
    VoxelMatrix<float> map(size, size, size);
    std::streambuf* const output = std::cout.rdbuf(nullptr); // the estimator tells the mean distance
    for (auto _ : state) {
        estimator.compute(map, cube());
        benchmark::DoNotOptimize(map(1, 2, 3));
    }
    std::cout.rdbuf(output);
}

/// The node of these indices in the cube.
Vector<float> node(int i, int j, int k) {
    Vector<float> x(3);
    x[0] = 100.0f * float(i) / (gridSize - 1);
    x[1] = 100.0f * float(j) / (gridSize - 1);
    x[2] = 100.0f * float(k) / (gridSize - 1);
    return x;
}

/// Fills a map with a function of the node.
template <class Function>
void runReference(benchmark::State& state, Function function) {
    VoxelMatrix<float> map(gridSize, gridSize, gridSize);
    for (auto _ : state) {
        for (int k = 0; k < gridSize; ++k) {
            for (int i = 0; i < gridSize; ++i)
                for (int j = 0; j < gridSize; ++j)
                    map(i, j, k) = function(node(i, j, k));
        }
        benchmark::DoNotOptimize(map(1, 2, 3));
    }
}

void poisson(benchmark::State& state) {
    std::vector<Vertices<float>> shapes = patterns(int(state.range(0)));
    PoissonDensityEstimator<float> estimator;
    addAll(estimator, shapes);
    estimator.setNeighbourRank(rank);
    run(state, estimator, gridSize);
}

void poissonReference(benchmark::State& state) {
    const std::vector<Vertices<float>> shapes = patterns(int(state.range(0)));
    std::vector<float> squares;
    runReference(state, [&](const Vector<float>& x) {
        float volumes = 0;
        for (const Vertices<float>& shape : shapes) {
            squares.clear();
            for (int i = 0; i < shape.getSize(); ++i)
                squares.push_back(shape[i].sdistance(x));
            std::nth_element(squares.begin(), squares.begin() + rank - 1, squares.end());
            volumes += std::pow(squares[rank - 1], 1.5f);
        }
        return (rank * numPatterns - 1) * 0.75f / float(M_PI) / volumes;
    });
}

void kernels(benchmark::State& state, DensityKernel kernel) {
    std::vector<Vertices<float>> shapes = patterns(int(state.range(0)));
    KernelDensityEstimator<float> estimator;
    addAll(estimator, shapes);
    estimator.setKernel(kernel);
    estimator.setBandwidth(bandwidth);
    run(state, estimator, gridSize);
}

void gaussian(benchmark::State& state) {
    kernels(state, GaussianKernel);
}

void epanechnikov(benchmark::State& state) {
    kernels(state, EpanechnikovKernel);
}

/// function(squared distance in bandwidths), summed over all points.
template <class Function>
void kernelReference(benchmark::State& state, Function function) {
    const std::vector<Vertices<float>> shapes = patterns(int(state.range(0)));
    runReference(state, [&](const Vector<float>& x) {
        double sum = 0;
        for (const Vertices<float>& shape : shapes)
            for (int i = 0; i < shape.getSize(); ++i)
                sum += function(double(shape[i].sdistance(x)) / (bandwidth * bandwidth)) / shape.getSize();
        return float(sum / numPatterns);
    });
}

void gaussianReference(benchmark::State& state) {
    const double peak = std::pow(2 * M_PI * bandwidth * bandwidth, -1.5);
    kernelReference(state, [peak](double square) { return peak * std::exp(-square / 2); });
}

void epanechnikovReference(benchmark::State& state) {
    const double peak = 15 / (8 * M_PI * std::pow(bandwidth, 3));
    kernelReference(state, [peak](double square) { return square < 1 ? peak * (1 - square) : 0; });
}

void histogram(benchmark::State& state) {
    std::vector<Vertices<float>> shapes = patterns(int(state.range(0)));
    HistogramDensityEstimator<float> estimator;
    addAll(estimator, shapes);
    run(state, estimator, gridSize);
}

/// Corrected at the faces: points of each of the patterns, cells along a side.
template <class Estimator>
void bounded(benchmark::State& state) {
    std::vector<Vertices<float>> shapes = patterns(int(state.range(0)));
    Estimator estimator;
    addAll(estimator, shapes);
    run(state, estimator, int(state.range(1)));
}

constexpr int numSpecimens = 20;

std::vector<std::vector<float>> specimens(std::size_t numPlaces) {
    std::vector<std::vector<float>> values;
    values.reserve(numSpecimens);
    for (int s = 0; s < numSpecimens; ++s) {
        values.push_back(inputs::points(int(numPlaces / 3 + 1), std::uint32_t(s + 1)));
        values.back().resize(numPlaces);
    }
    return values;
}

/// Permutations of twenty specimens between two groups, in numbers of permutations and places.
void permutations(benchmark::State& state) {
    const auto statistic = newMeanStatistic(specimens(std::size_t(state.range(1))), {10, 10});
    std::vector<int> groups(numSpecimens, 0);
    std::fill(groups.begin() + numSpecimens / 2, groups.end(), 1);
    const Relabelling dealings(groups, std::uint64_t(state.range(0)), 1);
    PermutationTest test(*statistic, dealings);
    for (auto _ : state)
        benchmark::DoNotOptimize(test.maxima(0, dealings.getNumber()).statistics.data());
}

/// The sums over a group alone, a permutation after the other over all places.
void permutationReference(benchmark::State& state) {
    const std::vector<std::vector<float>> values = specimens(std::size_t(state.range(1)));
    std::vector<float> sums(values.front().size());
    for (auto _ : state)
        for (int p = 0; p < int(state.range(0)); ++p) {
            std::fill(sums.begin(), sums.end(), 0.0f);
            for (int s = 0; s < numSpecimens; ++s)
                if (s * 7 % 20 < 10)
                    for (std::size_t i = 0; i < sums.size(); ++i)
                        sums[i] += values[std::size_t(s)][i];
            benchmark::DoNotOptimize(sums.data());
        }
}

} // namespace

BENCHMARK(permutations)
    ->Name("permutations/vorlen")
    ->Args({200, 100000})
    ->Args({200, 1000000})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(permutationReference)->Name("permutations/reference")->Args({200, 100000})->Unit(benchmark::kMillisecond);
BENCHMARK(bounded<BoundedPoissonDensityEstimator<float>>)
    ->Name("density_bounded_poisson/vorlen")
    ->Args({2000, gridSize})
    ->Args({100000, 100})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(bounded<BoundedKernelDensityEstimator<float>>)
    ->Name("density_bounded_kernel/vorlen")
    ->Args({2000, gridSize})
    ->Args({100000, 100})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(poisson)->Name("density_poisson/vorlen")->Arg(1000)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(poissonReference)->Name("density_poisson/reference")->Arg(1000)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(gaussian)->Name("density_gaussian/vorlen")->Arg(1000)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(gaussianReference)->Name("density_gaussian/reference")->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(epanechnikov)->Name("density_epanechnikov/vorlen")->Arg(1000)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(epanechnikovReference)->Name("density_epanechnikov/reference")->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(histogram)->Name("density_histogram/vorlen")->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond);

} // namespace vorlen
