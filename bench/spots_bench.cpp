#include <algorithm>
#include <cmath>
#include <cstdint>

#include <benchmark/benchmark.h>

#include "compare.h"
#include "images/volumes/voxelmatrix.h"
#include "inputs.h"
#include "progress/progresssubject.h"
#include "spots/spotfilters.h"
#include "spots/spotlabels.h"
#include "spots/spotprogress.h"
#include "spots/spotsuggestion.h"

namespace vorlen {

namespace {

constexpr int side = 512, radius = 3;

/// Ten round spots for each plane, at random places, in a noisy ground.
VoxelMatrix<float> madeVolume(int planes) {
    VoxelMatrix<float> volume(side, side, planes);
    std::uint32_t n = 0;
    for (int k = 0; k < planes; ++k)
        for (int i = 0; i < side; ++i)
            for (int j = 0; j < side; ++j)
                volume[k][i][j] = 40 + 20 * inputs::unit(n++);
    for (int spot = 0; spot < 10 * planes; ++spot) {
        const int row = int(inputs::unit(n++) * side), column = int(inputs::unit(n++) * side);
        const int plane = int(inputs::unit(n++) * float(planes));
        for (int k = std::max(0, plane - 5); k <= std::min(planes - 1, plane + 5); ++k)
            for (int i = std::max(0, row - 5); i <= std::min(side - 1, row + 5); ++i)
                for (int j = std::max(0, column - 5); j <= std::min(side - 1, column + 5); ++j) {
                    const int d = (i - row) * (i - row) + (j - column) * (j - column) + (k - plane) * (k - plane);
                    volume[k][i][j] += 150 * std::exp(-float(d) / 8);
                }
    }
    return volume;
}

/// The whole run, from the volume to the measured spots, with the settings that are proposed.
void findThem(benchmark::State& state) {
    const int planes = int(state.range(0));
    const VoxelMatrix<float> grey = madeVolume(planes);
    const VRLSpotExtractionConfig config;
    SpotLabels found;
    for (auto _ : state) {
        ProgressSubject subject;
        SpotProgress progress(subject, numSpotFilters(config) + 1);
        VoxelMatrix<float> filtered = grey;
        filterSpotVolume(filtered, config, progress);
        findSpots(filtered, 40, config, found, progress);
        measureSpots(grey, found);
        benchmark::DoNotOptimize(found.spots.data());
    }
    state.counters["spots"] = double(found.spots.size());
}

/// The least or the greatest value within the ball, voxel by voxel.
template <class Better>
void byTheBall(const VoxelMatrix<float>& from, VoxelMatrix<float>& to, Better better) {
    const int planes = from.getSize3();
    for (int k = 0; k < planes; ++k)
        for (int i = 0; i < side; ++i)
            for (int j = 0; j < side; ++j) {
                float best = from[k][i][j];
                for (int c = std::max(-radius, -k); c <= std::min(radius, planes - 1 - k); ++c)
                    for (int a = std::max(-radius, -i); a <= std::min(radius, side - 1 - i); ++a) {
                        const float* const row = from[k + c][i + a].data();
                        const int reach = radius * radius - a * a - c * c;
                        for (int b = std::max(-radius, -j); b <= std::min(radius, side - 1 - j); ++b)
                            if (b * b <= reach)
                                best = better(best, row[j + b]);
                    }
                to[k][i][j] = best;
            }
}

/// One of the filters alone, a flat opening by the ball, as it is defined.
void openByDefinition(benchmark::State& state) {
    const VoxelMatrix<float> grey = madeVolume(int(state.range(0)));
    VoxelMatrix<float> eroded(grey), opened(grey);
    for (auto _ : state) {
        byTheBall(
            grey, eroded, [](float a, float b) { return std::min(a, b); });
        byTheBall(eroded, opened, [](float a, float b) { return std::max(a, b); });
        benchmark::DoNotOptimize(opened[0][0].data());
    }
}

/// What the images say of noise and spots.
void lookAtThem(benchmark::State& state) {
    const VoxelMatrix<float> grey = madeVolume(int(state.range(0)));
    SpotSuggestion suggestion;
    for (auto _ : state) {
        ProgressSubject subject;
        SpotProgress progress(subject, 1);
        lookForSpots(grey, suggestion, progress);
        benchmark::DoNotOptimize(suggestion.radius);
    }
    state.counters["spots"] = suggestion.numSeen;
}

/// The mean of the voxels around one, with the weights of a Gauss filter along an axis.
float gaussAlong(const VoxelMatrix<float>& volume, int axis, int i, int j, int k, float deviation) {
    const int half = int(std::ceil(2 * deviation));
    float sum = 0, weights = 0;
    for (int a = -half; a <= half; ++a) {
        const int row = axis == 0 ? i + a : i, column = axis == 1 ? j + a : j, plane = axis == 2 ? k + a : k;
        const float weight = std::exp(-float(a * a) / (2 * deviation * deviation));
        weights += weight;
        if (volume.contains(row, column, plane))
            sum += weight * volume(row, column, plane);
    }
    return sum / weights;
}

/// The Gauss filters of one scale after the other, of as many voxels as are looked at in a large volume, as they are
/// defined: no more than what the search for blobs begins with.
void scalesByDefinition(benchmark::State& state) {
    constexpr int boxSide = 84, numBoxesAcross = 4, numScales = 9;
    const VoxelMatrix<float> grey = madeVolume(int(state.range(0)));
    const int planes = std::min(boxSide, grey.getSize3());
    for (auto _ : state)
        for (int box = 0; box < numBoxesAcross * (grey.getSize3() > 128 ? 2 : 1); ++box)
            for (int scale = 0; scale < numScales; ++scale) {
                VoxelMatrix<float> from = grey.copy(0, boxSide - 1, 0, boxSide - 1, 0, planes - 1), to(from);
                for (int axis = 0; axis < 3; ++axis) {
                    for (int k = 0; k < planes; ++k)
                        for (int i = 0; i < boxSide; ++i)
                            for (int j = 0; j < boxSide; ++j)
                                to(i, j, k) = gaussAlong(from, axis, i, j, k, 0.75f * std::pow(1.26f, float(scale)));
                    from.swap(to);
                }
                benchmark::DoNotOptimize(from[0][0].data());
            }
}

[[maybe_unused]] const bool registered = [] {
    compare("spots", findThem, openByDefinition, {{25}, {100}});
    compare("spotsuggestion", lookAtThem, scalesByDefinition, {{25}, {100}});
    return true;
}();

} // namespace

} // namespace vorlen
