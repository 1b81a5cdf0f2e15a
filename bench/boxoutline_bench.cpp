#include <algorithm>
#include <cstddef>
#include <vector>

#include <benchmark/benchmark.h>

#include "images/rasters/image.h"
#include "images/regions/boxoutline.h"
#include "inputs.h"

namespace vorlen {

namespace {

constexpr int smoothing = 3;

// Blobs as an 8-bit grey image.
Image blobImage(int side) {
    Image image(side, side, 8);
    for (int i = 0; i < side; ++i)
        for (int j = 0; j < side; ++j)
            image.getPixels()[i][j] = static_cast<unsigned char>(std::clamp(inputs::blobs(i, j, 0), 0.0f, 255.0f));
    return image;
}

// What a change of the smoothing costs while a preview is shown.
void outlineInBox(benchmark::State& state) {
    const int side = int(state.range(0));
    const Image image = blobImage(side);
    Vector<int> low(2), high(2);
    low[0] = low[1] = 0;
    high[0] = high[1] = side - 1;
    int vertices = 0;
    for (auto _ : state) {
        const BoxOutline outline(image, BoundingBox<int>(low, high), smoothing);
        vertices = outline.find({.threshold = outline.getProposedThreshold()}).outline.getSize();
        benchmark::DoNotOptimize(vertices);
    }
    state.counters["vertices"] = vertices;
}

// The means alone, each from its window.
void meansByPixels(benchmark::State& state) {
    const int side = int(state.range(0));
    const Image image = blobImage(side);
    std::vector<int> means(std::size_t(side) * std::size_t(side));
    for (auto _ : state) {
        for (int i = smoothing; i < side - smoothing; ++i)
            for (int j = smoothing; j < side - smoothing; ++j) {
                int sum = 0;
                for (int k = i - smoothing; k <= i + smoothing; ++k)
                    for (int l = j - smoothing; l <= j + smoothing; ++l)
                        sum += image.getPixels()[k][l];
                means[std::size_t(i) * std::size_t(side) + std::size_t(j)] = sum;
            }
        benchmark::DoNotOptimize(means.data());
    }
}

} // namespace

BENCHMARK(outlineInBox)->Name("outline_in_box/vorlen")->Arg(512)->Arg(2048)->Unit(benchmark::kMillisecond);
BENCHMARK(meansByPixels)->Name("outline_in_box/reference")->Arg(512)->Arg(2048)->Unit(benchmark::kMillisecond);

} // namespace vorlen
