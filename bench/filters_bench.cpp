#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "compare.h"
#include "images/filters/derichegradient.h"
#include "images/filters/gaussianfilter.h"
#include "images/filters/isotropyfilter.h"
#include "images/filters/meanfilter.h"
#include "images/filters/medianfilter.h"
#include "images/filters/minfilter.h"
#include "images/filters/parallelwork.h"
#include "images/filters/sumfilter.h"
#include "images/filters/voxelmatrixerosion.h"
#include "images/rasters/image.h"
#include "images/regions/thresholding.h"
#include "inputs.h"

namespace vorlen {

// Every reference is the definition, an element at a time, on one block of memory. The first argument is the size: rows
// of an image, planes of a volume; it doubles in the second case, to show how the cost grows.
namespace {

// One block of memory: element (i, j, k) at (k * rows + i) * columns + j.
struct Block {
    Block(int numRows, int numColumns, int numPlanes)
        : rows(numRows), columns(numColumns), planes(numPlanes),
          values(std::size_t(numRows) * std::size_t(numColumns) * std::size_t(numPlanes)) {}
    std::size_t at(int i, int j, int k) const {
        return (std::size_t(k) * std::size_t(rows) + std::size_t(i)) * std::size_t(columns) + std::size_t(j);
    }
    int rows, columns, planes;
    std::vector<float> values;
};

const VoxelMatrix<float>& volume(int rows, int columns, int planes) {
    static VoxelMatrix<float> made;
    if (made.getSize1() != rows || made.getSize2() != columns || made.getSize3() != planes) {
        made.setSize(rows, columns, planes);
        for (int k = 0; k < planes; ++k)
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < columns; ++j)
                    made(i, j, k) = inputs::blobs(i, j, k);
    }
    return made;
}

Block block(int rows, int columns, int planes) {
    Block made(rows, columns, planes);
    made.values = inputs::volume(rows, columns, planes);
    return made;
}

template <class Filter>
void filterVolume(benchmark::State& state, Filter& filter, int side) {
    const VoxelMatrix<float>& source = volume(side, side, int(state.range(0)));
    VoxelMatrix<float> work = source;
    for (auto _ : state) {
        state.PauseTiming();
        work = source;
        state.ResumeTiming();
        filter.apply(work);
        benchmark::DoNotOptimize(work[0][0].data());
    }
}

template <class Filter>
void filterImage(benchmark::State& state, Filter filter) {
    const PixelMatrix<float>& source = volume(int(state.range(0)), int(state.range(0)), 1)[0];
    PixelMatrix<float> work = source;
    for (auto _ : state) {
        state.PauseTiming();
        work = source;
        state.ResumeTiming();
        filter(work);
        benchmark::DoNotOptimize(work[0].data());
    }
}

// Calls the work on the elements of a window, clipped to the volume.
template <class Work>
void overWindow(const Block& b, int i, int j, int k, int h, Work work) {
    for (int c = std::max(k - h, 0); c <= std::min(k + h, b.planes - 1); ++c)
        for (int a = std::max(i - h, 0); a <= std::min(i + h, b.rows - 1); ++a)
            for (int q = std::max(j - h, 0); q <= std::min(j + h, b.columns - 1); ++q)
                work(b.values[b.at(a, q, c)], a - i, q - j, c - k);
}

// Lines of one axis go through a function of (line, length, result).
template <class Filter>
void alongLines(Block& b, int axis, Filter filter) {
    const int size[3] = {b.rows, b.columns, b.planes};
    const int first = (axis + 1) % 3, second = (axis + 2) % 3;
    const auto length = std::size_t(size[axis]);
    std::vector<float> line(length), result(length);
    int at[3];
    for (at[first] = 0; at[first] < size[first]; ++at[first])
        for (at[second] = 0; at[second] < size[second]; ++at[second]) {
            for (at[axis] = 0; at[axis] < size[axis]; ++at[axis])
                line[std::size_t(at[axis])] = b.values[b.at(at[0], at[1], at[2])];
            filter(line, result);
            for (at[axis] = 0; at[axis] < size[axis]; ++at[axis])
                b.values[b.at(at[0], at[1], at[2])] = result[std::size_t(at[axis])];
        }
}

void medianVolume(benchmark::State& state) {
    MedianFilter<float> filter;
    filter.setHalfSize(int(state.range(1)));
    filterVolume(state, filter, 256);
}
void plainMedianVolume(benchmark::State& state) {
    const Block source = block(256, 256, int(state.range(0)));
    const int h = int(state.range(1));
    Block target = source;
    std::vector<float> window;
    for (auto _ : state) {
        for (int k = h; k < source.planes - h; ++k)
            for (int i = h; i < source.rows - h; ++i)
                for (int j = h; j < source.columns - h; ++j) {
                    window.clear();
                    overWindow(source, i, j, k, h, [&](float value, int, int, int) { window.push_back(value); });
                    const auto middle = window.begin() + std::ptrdiff_t(window.size() / 2);
                    std::nth_element(window.begin(), middle, window.end());
                    target.values[target.at(i, j, k)] = *middle;
                }
        benchmark::DoNotOptimize(target.values.data());
    }
}

void medianImage(benchmark::State& state) {
    MedianFilter<float> filter;
    filter.setHalfSize(int(state.range(1)));
    filterImage(state, [&](PixelMatrix<float>& work) { filter.apply(work); });
}
void plainMedianImage(benchmark::State& state) {
    const Block source = block(int(state.range(0)), int(state.range(0)), 1);
    const int h = int(state.range(1));
    Block target = source;
    std::vector<float> window;
    for (auto _ : state) {
        for (int i = h; i < source.rows - h; ++i)
            for (int j = h; j < source.columns - h; ++j) {
                window.clear();
                overWindow(source, i, j, 0, h, [&](float value, int, int, int) { window.push_back(value); });
                const auto middle = window.begin() + std::ptrdiff_t(window.size() / 2);
                std::nth_element(window.begin(), middle, window.end());
                target.values[target.at(i, j, 0)] = *middle;
            }
        benchmark::DoNotOptimize(target.values.data());
    }
}

void gaussian(benchmark::State& state) {
    GaussianFilter<float> filter(float(state.range(1)));
    filterVolume(state, filter, 256);
}
void plainGaussian(benchmark::State& state) {
    const float sigma = float(state.range(1));
    const int half = 2 * int(state.range(1));
    std::vector<float> kernel;
    float total = 0.0f;
    for (int q = -half; q <= half; ++q)
        kernel.push_back(std::exp(-0.5f * float(q * q) / (sigma * sigma)));
    for (const float weight : kernel)
        total += weight;
    for (float& weight : kernel)
        weight /= total;
    const Block source = block(256, 256, int(state.range(0)));
    Block work = source;
    for (auto _ : state) {
        state.PauseTiming();
        work = source;
        state.ResumeTiming();
        for (const int axis : {1, 0, 2})
            alongLines(work, axis, [&](const std::vector<float>& line, std::vector<float>& result) {
                const int n = int(line.size());
                for (int i = 0; i < n; ++i) {
                    float sum = 0.0f;
                    for (int q = -half; q <= half; ++q)
                        if (i + q >= 0 && i + q < n)
                            sum += line[std::size_t(i + q)] * kernel[std::size_t(q + half)];
                    result[std::size_t(i)] = sum;
                }
            });
        benchmark::DoNotOptimize(work.values.data());
    }
}

void minimum(benchmark::State& state) {
    MinFilter<float> filter;
    filter.setHalfSize(int(state.range(1)));
    filterVolume(state, filter, 256);
}
void plainMinimum(benchmark::State& state) {
    const int h = int(state.range(1));
    const Block source = block(256, 256, int(state.range(0)));
    Block work = source;
    for (auto _ : state) {
        state.PauseTiming();
        work = source;
        state.ResumeTiming();
        for (const int axis : {1, 0, 2})
            alongLines(work, axis, [&](const std::vector<float>& line, std::vector<float>& result) {
                const int n = int(line.size());
                for (int i = 0; i < n; ++i) {
                    float least = line[std::size_t(i)];
                    for (int q = std::max(i - h, 0); q <= std::min(i + h, n - 1); ++q)
                        least = std::min(least, line[std::size_t(q)]);
                    result[std::size_t(i)] = least;
                }
            });
        benchmark::DoNotOptimize(work.values.data());
    }
}

void boxSum(benchmark::State& state) {
    SumFilter<float> filter;
    filter.setHalfSize(int(state.range(1)));
    filterVolume(state, filter, 256);
}
void plainBoxSum(benchmark::State& state) {
    const int h = int(state.range(1));
    const Block source = block(256, 256, int(state.range(0)));
    Block work = source;
    for (auto _ : state) {
        state.PauseTiming();
        work = source;
        state.ResumeTiming();
        for (const int axis : {1, 0, 2})
            alongLines(work, axis, [&](const std::vector<float>& line, std::vector<float>& result) {
                const int n = int(line.size());
                for (int i = 0; i < n; ++i) {
                    const bool whole = i >= h && i < n - h;
                    float sum = 0.0f;
                    for (int q = -h; q <= h; ++q)
                        sum += line[std::size_t(whole ? i + q : i)];
                    result[std::size_t(i)] = sum;
                }
            });
        benchmark::DoNotOptimize(work.values.data());
    }
}

Image byteImage(int side) {
    Image image(side, side, 8);
    for (int i = 0; i < side; ++i)
        for (int j = 0; j < side; ++j)
            image.getPixels()[i][j] = static_cast<unsigned char>(inputs::blobs(i, j, 0));
    return image;
}

void meanImage(benchmark::State& state) {
    const Image source = byteImage(int(state.range(0)));
    MeanFilter filter;
    filter.setHalfSize(int(state.range(1)));
    Image work;
    for (auto _ : state) {
        state.PauseTiming();
        work = source;
        state.ResumeTiming();
        filter.apply(work);
        benchmark::DoNotOptimize(work.getData());
    }
}
void plainMeanImage(benchmark::State& state) {
    const int side = int(state.range(0)), h = int(state.range(1)), window = 2 * h + 1;
    const Image source = byteImage(side);
    Image work = source;
    std::vector<int> sums(std::size_t(side) * std::size_t(side));
    const auto at = [side](int i, int j) { return std::size_t(i) * std::size_t(side) + std::size_t(j); };
    for (auto _ : state) {
        for (int i = 0; i < side; ++i)
            for (int j = 0; j < side; ++j) {
                const bool whole = j >= h && j < side - h;
                int sum = 0;
                for (int q = -h; q <= h; ++q)
                    sum += source.getPixels()[i][whole ? j + q : j];
                sums[at(i, j)] = sum;
            }
        for (int i = 0; i < side; ++i)
            for (int j = 0; j < side; ++j) {
                const bool whole = i >= h && i < side - h;
                int sum = 0;
                for (int q = -h; q <= h; ++q)
                    sum += sums[at(whole ? i + q : i, j)];
                work.getPixels()[i][j] = static_cast<unsigned char>(sum / (window * window));
            }
        benchmark::DoNotOptimize(work.getData());
    }
}

void gradientNorm(benchmark::State& state) {
    DericheGradient<float> gradient(1.0f);
    filterImage(state, [&](PixelMatrix<float>& work) { gradient.apply(work); });
}

// The recursion on one line, as it is written down.
void recursion(const std::vector<float>& x, std::vector<float>& result, const float (&a)[4], float b1, float b2,
               float scale) {
    const int n = int(x.size());
    std::vector<float> z(x.size() + 2, 0.0f);
    for (int i = 0; i < n; ++i)
        result[std::size_t(i)] = a[0] * x[std::size_t(i)] + (i > 0 ? a[1] * x[std::size_t(i - 1)] : 0.0f) +
                                 (i > 0 ? b1 * result[std::size_t(i - 1)] : 0.0f) +
                                 (i > 1 ? b2 * result[std::size_t(i - 2)] : 0.0f);
    for (int i = n - 1; i >= 0; --i)
        z[std::size_t(i)] = (i + 1 < n ? a[2] * x[std::size_t(i + 1)] : 0.0f) +
                            (i + 2 < n ? a[3] * x[std::size_t(i + 2)] : 0.0f) + b1 * z[std::size_t(i + 1)] +
                            b2 * z[std::size_t(i + 2)];
    for (int i = 0; i < n; ++i)
        result[std::size_t(i)] = (result[std::size_t(i)] + z[std::size_t(i)]) * scale;
}

void plainGradientNorm(benchmark::State& state) {
    const float e = std::exp(-1.0f), k = std::pow(1.0f - e, 4.0f) / (1.0f + 2.0f * e - e * e);
    const float derivative[4] = {0.0f, 1.0f, -1.0f, 0.0f}, smoothing[4] = {k, 0.0f, 2.0f * e * k, -e * e * k};
    const float b1 = 2.0f * e, b2 = -e * e, scale = -(1.0f - e) * (1.0f - e);
    const Block source = block(int(state.range(0)), int(state.range(0)), 1);
    Block h = source, v = source;
    const auto derive = [&](const std::vector<float>& line, std::vector<float>& result) {
        recursion(line, result, derivative, b1, b2, scale);
    };
    const auto smooth = [&](const std::vector<float>& line, std::vector<float>& result) {
        recursion(line, result, smoothing, b1, b2, 1.0f);
    };
    for (auto _ : state) {
        h = source;
        v = source;
        alongLines(h, 1, derive);
        alongLines(h, 0, smooth);
        alongLines(v, 1, smooth);
        alongLines(v, 0, derive);
        for (std::size_t p = 0; p < v.values.size(); ++p)
            v.values[p] = std::sqrt(h.values[p] * h.values[p] + v.values[p] * v.values[p]);
        benchmark::DoNotOptimize(v.values.data());
    }
}

void thinning(benchmark::State& state) {
    const int side = int(state.range(0));
    const PixelMatrix<float>& source = volume(side, side, 1)[0];
    DericheGradient<float> gradient(1.0f);
    PixelMatrix<float> h = source, v = source;
    gradient.hGradient(h);
    gradient.vGradient(v);
    PixelMatrix<float> work;
    for (auto _ : state) {
        state.PauseTiming();
        work = h;
        state.ResumeTiming();
        gradient.fineNonmaxSuppression(work, v);
        benchmark::DoNotOptimize(work[0].data());
    }
}
void plainThinning(benchmark::State& state) {
    const int side = int(state.range(0));
    const PixelMatrix<float>& source = volume(side, side, 1)[0];
    DericheGradient<float> gradient(1.0f);
    PixelMatrix<float> h = source, v = source, norm = source;
    gradient.hGradient(h);
    gradient.vGradient(v);
    PixelMatrix<float> result;
    for (auto _ : state) {
        gradient.norm(norm, h, v);
        result = norm;
        for (int i = 1; i + 1 < side; ++i)
            for (int j = 1; j + 1 < side; ++j) {
                const float g = norm(i, j);
                if (g == 0.0f)
                    continue;
                const float dx = h(i, j) / g, dy = v(i, j) / g, ax = std::abs(dx), ay = std::abs(dy);
                const int sx = dx >= 0.0f ? 1 : -1, sy = dy >= 0.0f ? 1 : -1;
                const auto probe = [&](int s) {
                    return (1 - ax) * (1 - ay) * g + ax * (1 - ay) * norm(i, j + s * sx) +
                           (1 - ax) * ay * norm(i + s * sy, j) + ax * ay * norm(i + s * sy, j + s * sx);
                };
                if (probe(1) >= g || probe(-1) > g)
                    result(i, j) = 0.0f;
            }
        benchmark::DoNotOptimize(result[0].data());
    }
}

void isotropy(benchmark::State& state) {
    IsotropyFilter<float> filter;
    filter.setHalfSize(int(state.range(1)));
    filterVolume(state, filter, 96);
}
void plainIsotropy(benchmark::State& state) {
    const Block source = block(96, 96, int(state.range(0)));
    const int h = int(state.range(1));
    Block target = source;
    for (auto _ : state) {
        for (int k = 0; k < source.planes; ++k)
            for (int i = 0; i < source.rows; ++i)
                for (int j = 0; j < source.columns; ++j) {
                    double s = 0, x = 0, y = 0, z = 0, xx = 0, yy = 0, zz = 0, xy = 0, xz = 0, yz = 0;
                    overWindow(source, i, j, k, h, [&](double m, int a, int b, int c) {
                        s += m;
                        x += m * a;
                        y += m * b;
                        z += m * c;
                        xx += m * a * a;
                        yy += m * b * b;
                        zz += m * c * c;
                        xy += m * a * b;
                        xz += m * a * c;
                        yz += m * b * c;
                    });
                    x /= s;
                    y /= s;
                    z /= s;
                    xx = xx / s - x * x;
                    yy = yy / s - y * y;
                    zz = zz / s - z * z;
                    xy = xy / s - x * y;
                    xz = xz / s - x * z;
                    yz = yz / s - y * z;
                    const double determinant =
                        xx * (yy * zz - yz * yz) - xy * (xy * zz - yz * xz) + xz * (xy * yz - yy * xz);
                    target.values[target.at(i, j, k)] = float(determinant * std::pow(3.0 / (xx + yy + zz), 3.0));
                }
        benchmark::DoNotOptimize(target.values.data());
    }
}

VoxelMatrix<float> ellipsoid(int r) {
    VoxelMatrix<float> element(2 * r + 1, 2 * r + 1, 2 * r + 1);
    for (int c = -r; c <= r; ++c)
        for (int a = -r; a <= r; ++a)
            for (int b = -r; b <= r; ++b) {
                const int d = a * a + b * b + c * c;
                element(a + r, b + r, c + r) =
                    d > r * r ? 0.0f : 200.0f * std::sqrt(1.0f - float(d) / float((r + 1) * (r + 1)));
            }
    return element;
}

void erosion(benchmark::State& state) {
    VoxelMatrixErosion<float> filter;
    filter.setStructElt(ellipsoid(int(state.range(1))));
    filterVolume(state, filter, 96);
}
void plainErosion(benchmark::State& state) {
    const Block source = block(96, 96, int(state.range(0)));
    const int r = int(state.range(1));
    const VoxelMatrix<float> element = ellipsoid(r);
    Block target = source;
    for (auto _ : state) {
        for (int k = 0; k < source.planes; ++k)
            for (int i = 0; i < source.rows; ++i)
                for (int j = 0; j < source.columns; ++j) {
                    float least = 1e30f;
                    overWindow(source, i, j, k, r, [&](float value, int a, int b, int c) {
                        least = std::min(least, value - element(a + r, b + r, c + r));
                    });
                    target.values[target.at(i, j, k)] = least;
                }
        benchmark::DoNotOptimize(target.values.data());
    }
}

// Filters of a volume of 160^3 with two threads, beside one thread as the reference.
template <class Filter>
void compareThreads(const std::string& name, const Filter& filter) {
    for (const int threads : {2, 1}) {
        const auto run = [own = Filter(filter), threads](benchmark::State& state) mutable {
            ParallelWork::setThreads(threads);
            filterVolume(state, own, int(state.range(0)));
            ParallelWork::setThreads(0);
        };
        benchmark::RegisterBenchmark((name + (threads == 2 ? "/vorlen" : "/reference")).c_str(), run)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Arg(160);
    }
}

// The usual way of a volume to its regions.
struct Pipeline {
    void apply(VoxelMatrix<float>& work) {
        GaussianFilter<float>(1.0f).apply(work);
        MedianFilter<float>().apply(work);
        MinFilter<float>().apply(work);
        Thresholding<float> threshold;
        threshold.setThreshold(127.0f);
        threshold.apply(work);
    }
};

void compareAllThreads() {
    MedianFilter<float> median;
    compareThreads("two_threads_median", median);
    median.setHalfSize(2);
    compareThreads("two_threads_median_wide", median);
    compareThreads("two_threads_gaussian", GaussianFilter<float>(2.0f));
    MinFilter<float> least;
    least.setHalfSize(3);
    compareThreads("two_threads_minimum", least);
    SumFilter<float> sum;
    sum.setHalfSize(3);
    compareThreads("two_threads_box_sum", sum);
    sum.setBallMode(true);
    compareThreads("two_threads_ball_sum", sum);
    IsotropyFilter<float> isotropic;
    isotropic.setHalfSize(3);
    compareThreads("two_threads_isotropy", isotropic);
    compareThreads("two_threads_gradient_norm", DericheGradient<float>(1.0f));
    compareThreads("two_threads_pipeline", Pipeline());
}

/// Each kernel beside its reference, at two sizes; and at a second radius where the cost should not depend on it.
[[maybe_unused]] const bool registered = [] {
    compare("median_3d", medianVolume, plainMedianVolume, {{64, 1}, {128, 1}});
    compare("median_3d_wide", medianVolume, plainMedianVolume, {{8, 2}, {16, 2}});
    compare("median_2d", medianImage, plainMedianImage, {{512, 1}, {512, 2}, {512, 5}, {1024, 5}});
    compare("gaussian", gaussian, plainGaussian, {{64, 2}, {128, 2}, {64, 8}});
    compare("minimum", minimum, plainMinimum, {{64, 3}, {128, 3}, {64, 20}});
    compare("box_sum", boxSum, plainBoxSum, {{64, 3}, {128, 3}, {64, 20}});
    compare("mean_8bit", meanImage, plainMeanImage, {{4096, 5}, {8192, 5}, {4096, 40}});
    compare("gradient_norm", gradientNorm, plainGradientNorm, {{2048}, {4096}});
    compare("edge_thinning", thinning, plainThinning, {{1024}, {2048}});
    compare("isotropy", isotropy, plainIsotropy, {{16, 3}, {32, 3}});
    compare("erosion", erosion, plainErosion, {{16, 3}, {32, 3}});
    compareAllThreads();
    return true;
}();

} // namespace

} // namespace vorlen
