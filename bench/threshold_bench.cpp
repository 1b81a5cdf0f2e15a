#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "images/rasters/pixelmatrix.h"
#include "images/regions/componentlabelling.h"
#include "images/regions/isodatathresholding.h"
#include "images/regions/thresholding.h"
#include "images/volumes/voxelmatrix.h"
#include "inputs.h"
#include "shapes/curve.h"

namespace vorlen {

namespace {

constexpr int rows = 256, columns = 256;

// The smooth blobs above their 70th percentile; 0 below it.
std::vector<float> upperThird(int planes) {
    std::vector<float> values = inputs::volume(rows, columns, planes);
    std::vector<float> sorted = values;
    const auto rank = sorted.begin() + std::ptrdiff_t(0.7 * double(sorted.size()));
    std::nth_element(sorted.begin(), rank, sorted.end());
    const float threshold = *rank;
    for (float& value : values)
        value = value > threshold ? value : 0.0f;
    return values;
}

// Every voxel its own coin: many small regions that meet late.
std::vector<float> coins(int planes) {
    std::vector<float> values(std::size_t(rows) * columns * std::size_t(planes));
    for (std::size_t n = 0; n < values.size(); ++n)
        values[n] = inputs::unit(std::uint32_t(n)) < 0.3f ? 1.0f : 0.0f;
    return values;
}

template <std::vector<float> make(int)>
void label(benchmark::State& state) {
    const int planes = int(state.range(0));
    const std::vector<float> values = make(planes);
    VoxelMatrix<float> volume(rows, columns, planes);
    ComponentLabelling<float> labelling;
    for (auto _ : state) {
        state.PauseTiming();
        for (int k = 0; k < planes; ++k)
            for (int i = 0; i < rows; ++i)
                std::copy_n(values.data() + std::size_t(k * rows + i) * columns, columns, volume[k][i].data());
        state.ResumeTiming();
        labelling.apply(volume);
        benchmark::DoNotOptimize(volume[planes - 1][rows - 1][columns - 1]);
    }
    state.counters["regions"] = labelling.getNumLabels();
}

// From each voxel without a number a flood over its six neighbours.
template <std::vector<float> make(int)>
void flood(benchmark::State& state) {
    const int planes = int(state.range(0));
    const std::vector<float> values = make(planes);
    std::vector<int> labels(values.size());
    std::vector<std::size_t> front;
    int regions = 0;
    for (auto _ : state) {
        std::fill(labels.begin(), labels.end(), 0);
        regions = 0;
        for (std::size_t start = 0; start < values.size(); ++start) {
            if (values[start] == 0.0f || labels[start] != 0)
                continue;
            labels[start] = ++regions;
            front.push_back(start);
            while (!front.empty()) {
                const std::size_t n = front.back();
                front.pop_back();
                const int j = int(n % columns), i = int(n / columns % rows), k = int(n / columns / rows);
                const auto visit = [&](bool inside, std::size_t neighbour) {
                    if (inside && values[neighbour] != 0.0f && labels[neighbour] == 0) {
                        labels[neighbour] = regions;
                        front.push_back(neighbour);
                    }
                };
                visit(j > 0, n - 1);
                visit(j + 1 < columns, n + 1);
                visit(i > 0, n - columns);
                visit(i + 1 < rows, n + columns);
                visit(k > 0, n - std::size_t(rows) * columns);
                visit(k + 1 < planes, n + std::size_t(rows) * columns);
            }
        }
        benchmark::DoNotOptimize(labels.data());
    }
    state.counters["regions"] = regions;
}

// Blobs as an 8-bit grey image.
PixelMatrix<int> greyImage(int side) {
    PixelMatrix<int> image(side, side);
    for (int i = 0; i < side; ++i)
        for (int j = 0; j < side; ++j)
            image[i][j] = int(std::clamp(inputs::blobs(i, j, 0), 0.0f, 255.0f));
    return image;
}

template <class T>
void isodata(benchmark::State& state) {
    const int side = int(state.range(0));
    const PixelMatrix<int> grey = greyImage(side);
    PixelMatrix<T> image(side, side);
    for (int i = 0; i < side; ++i)
        std::copy(grey[i].begin(), grey[i].end(), image[i].begin());
    double threshold = 0;
    for (auto _ : state) {
        threshold = double(IsodataThresholding<T>().computeThreshold(image));
        benchmark::DoNotOptimize(threshold);
    }
    state.counters["threshold"] = threshold;
}

// Means of the two sides of the threshold, from the pixels themselves, until the threshold stays.
void isodataByPixels(benchmark::State& state) {
    const int side = int(state.range(0));
    const PixelMatrix<int> image = greyImage(side);
    int threshold = 0;
    for (auto _ : state) {
        int low = 255, high = 0;
        for (int i = 0; i < side; ++i)
            for (const int value : image[i]) {
                low = std::min(low, value);
                high = std::max(high, value);
            }
        threshold = (low + high) / 2;
        for (int before = -1; before != threshold;) {
            std::int64_t sums[2] = {}, counts[2] = {};
            for (int i = 0; i < side; ++i)
                for (const int value : image[i]) {
                    sums[value >= threshold] += value;
                    ++counts[value >= threshold];
                }
            before = threshold;
            threshold = int((double(sums[0]) / double(counts[0]) + double(sums[1]) / double(counts[1])) / 2);
        }
        benchmark::DoNotOptimize(threshold);
    }
    state.counters["threshold"] = threshold;
}

// Thresholds and keeps the border, on a square image.
void borders(benchmark::State& state) {
    const PixelMatrix<int> grey = greyImage(int(state.range(0)));
    PixelMatrix<int> image;
    Thresholding<int> thresholding;
    thresholding.setThreshold(127);
    for (auto _ : state) {
        state.PauseTiming();
        image = grey;
        state.ResumeTiming();
        thresholding.apply(image);
        thresholding.contours(image);
        benchmark::DoNotOptimize(image[0][0]);
    }
}

void bordersByPixels(benchmark::State& state) {
    const PixelMatrix<int> grey = greyImage(int(state.range(0)));
    const int side = grey.getSize1();
    PixelMatrix<int> image, mask(side, side);
    for (auto _ : state) {
        state.PauseTiming();
        image = grey;
        state.ResumeTiming();
        for (int i = 0; i < side; ++i)
            for (int j = 0; j < side; ++j)
                mask[i][j] = image[i][j] >= 127 ? 255 : 0;
        image = mask;
        for (int i = 1; i < side - 1; ++i)
            for (int j = 1; j < side - 1; ++j) {
                bool whole = true;
                for (int a = -1; a <= 1; ++a)
                    for (int b = -1; b <= 1; ++b)
                        whole = whole && mask[i + a][j + b] == 255;
                if (whole)
                    image[i][j] = 0;
            }
        benchmark::DoNotOptimize(image[0][0]);
    }
}

} // namespace

BENCHMARK(label<upperThird>)->Name("label_blobs/vorlen")->Arg(64)->Arg(128)->Unit(benchmark::kMillisecond);
BENCHMARK(flood<upperThird>)->Name("label_blobs/reference")->Arg(64)->Arg(128)->Unit(benchmark::kMillisecond);
BENCHMARK(label<coins>)->Name("label_noise/vorlen")->Arg(64)->Arg(128)->Unit(benchmark::kMillisecond);
BENCHMARK(flood<coins>)->Name("label_noise/reference")->Arg(64)->Arg(128)->Unit(benchmark::kMillisecond);
BENCHMARK(isodata<int>)->Name("isodata/vorlen")->Arg(2048)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(isodataByPixels)->Name("isodata/reference")->Arg(2048)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(isodata<float>)->Name("isodata_float/vorlen")->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(borders)->Name("borders/vorlen")->Arg(2048)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(bordersByPixels)->Name("borders/reference")->Arg(2048)->Arg(4096)->Unit(benchmark::kMillisecond);

} // namespace vorlen
