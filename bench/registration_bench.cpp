#include "images/rasters/pixelmatrix.h"
#include "registration/blockmatcher.h"
#include "registration/principalaxesimageregistration.h"
#include "registration/sectionaligner.h"

#include <benchmark/benchmark.h>

#include "inputs.h"
#include "processmemory.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

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

/// Something like tissue, at places between pixels as well.
float tissueAt(double x, double y) {
    float value = 127;
    for (int k = 1; k <= 24; ++k) {
        const double along = 0.35 * k * k, scale = 0.02 + 0.008 * k;
        value += float(14 * std::sin(scale * (x * std::cos(along) + y * std::sin(along)) + k));
    }
    return value;
}

SectionImage sectionAt(int n, const RigidMotion& motion) {
    SectionImage section{PixelMatrix<float>(n, n), 1, 1};
    const double scale = 1024.0 / n; // the same tissue at each size
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const PlanePoint place = motion.apply({scale * (j - 0.5 * n), scale * (i - 0.5 * n)});
            section.grey[i][j] = tissueAt(place.x, place.y);
        }
    return section;
}

/// A pair as a user has it: from two images to the motion.
void alignment(benchmark::State& state) {
    const int n = int(state.range(0));
    const SectionImage source = sectionAt(n, {0.05, 17, -9}), target = sectionAt(n, {});
    const auto match = [&] {
        const double pixel = SectionAligner::workingPixel(source);
        return SectionAligner::match(*SectionAligner::prepare(source, pixel), *SectionAligner::prepare(target, pixel),
                                     {});
    };
    forgetPeakMemory();
    const double before = processMemory("VmRSS:");
    match();
    constexpr double image = 4.0 * SectionAligner::workingSize * SectionAligner::workingSize / (1 << 20); // of floats
    state.counters["images_of_memory"] = (processMemory("VmHWM:") - before) / image;
    for (auto _ : state)
        benchmark::DoNotOptimize(match().motion.x);
}

/// A pair whose greys neither rise nor fall with each other, matched by mutual information.
void information(benchmark::State& state) {
    const int n = int(state.range(0));
    SectionImage source = sectionAt(n, {0.05, 17, -9});
    const SectionImage target = sectionAt(n, {});
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            source.grey[i][j] = 2 * std::abs(source.grey[i][j] - 127);
    for (auto _ : state) {
        const double pixel = SectionAligner::workingPixel(source);
        const SectionMatch match =
            SectionAligner::match(*SectionAligner::prepare(source, pixel), *SectionAligner::prepare(target, pixel), {},
                                  AlignmentMethod::MutualInformation);
        benchmark::DoNotOptimize(match.motion.x);
    }
}

/// The mutual information of such images of a quarter of the size in each direction, in 16 classes of equal width, at
/// every shift by whole pixels up to 8.
void informationReference(benchmark::State& state) {
    const int n = int(state.range(0)), m = n / 4;
    const PixelMatrix<float> source = sectionAt(m, {0.05, 17, -9}).grey, target = sectionAt(m, {}).grey;
    const auto classOf = [](float grey) { return std::size_t(std::clamp(int(grey / 16), 0, 15)); };
    for (auto _ : state) {
        double best = 0;
        for (int y = -8; y <= 8; ++y)
            for (int x = -8; x <= 8; ++x) {
                std::array<double, 256> both{};
                std::array<double, 16> first{}, second{};
                for (int i = 8; i < m - 8; ++i)
                    for (int j = 8; j < m - 8; ++j) {
                        const std::size_t a = classOf(target[i][j]);
                        const std::size_t b = classOf(2 * std::abs(source[i + y][j + x] - 127));
                        ++both[16 * a + b];
                        ++first[a];
                        ++second[b];
                    }
                double sum = 0;
                const double total = double(m - 16) * (m - 16);
                for (std::size_t k = 0; k < 256; ++k)
                    if (both[k] > 0)
                        sum += both[k] / total * std::log(both[k] * total / (first[k / 16] * second[k % 16]));
                best = std::max(best, sum);
            }
        benchmark::DoNotOptimize(best);
    }
}

/// The correlation of two images of a quarter of the size in each direction at every shift by whole pixels up to 8: one
/// of the many angles that a plain search looks at.
void alignmentReference(benchmark::State& state) {
    const int n = int(state.range(0)), m = n / 4;
    const PixelMatrix<float> source = sectionAt(m, {0.05, 17, -9}).grey, target = sectionAt(m, {}).grey;
    for (auto _ : state) {
        double best = 0;
        for (int y = -8; y <= 8; ++y)
            for (int x = -8; x <= 8; ++x) {
                double sum = 0;
                for (int i = 8; i < m - 8; ++i)
                    for (int j = 8; j < m - 8; ++j)
                        sum += target[i][j] * source[i + y][j + x];
                best = std::max(best, sum);
            }
        benchmark::DoNotOptimize(best);
    }
}

/// Blocks of a pair of sections, looked for 32 pixels about, as the first pass of bending does.
void blocks(benchmark::State& state) {
    const int n = int(state.range(0));
    const auto source = BlockMatcher::prepare(sectionAt(n, {0.01, 5, -3}), 1);
    const auto target = BlockMatcher::prepare(sectionAt(n, {}), 1);
    const ElasticField field(n, n, 32);
    for (auto _ : state)
        benchmark::DoNotOptimize(BlockMatcher::match({*source, field, {}}, {*target, field, {}}, 32, 2).size());
}

/// The sums of products alone for as many blocks and shifts, one by one.
void blocksReference(benchmark::State& state) {
    const int n = int(state.range(0)), m = n / 2;
    const PixelMatrix<float> source = sectionAt(m, {0.01, 5, -3}).grey, target = sectionAt(m, {}).grey;
    const auto productAt = [&](int row, int column, int down, int right) {
        float sum = 0;
        for (int i = -16; i <= 16; ++i)
            for (int j = -16; j <= 16; ++j)
                sum += target[row + i][column + j] * source[row + down + i][column + right + j];
        return sum;
    };
    for (auto _ : state) {
        float best = 0;
        for (int k = 0; k < (n / 32 + 1) * (n / 32 + 1); ++k)
            for (int shift = 0; shift < 33 * 33; ++shift)
                best = std::max(
                    best, productAt(33 + k * 7 % (m - 66), 33 + k * 11 % (m - 66), shift / 33 - 16, shift % 33 - 16));
        benchmark::DoNotOptimize(best);
    }
}

} // namespace

BENCHMARK(blocks)->Name("block_matching/vorlen")->Arg(512)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(blocksReference)->Name("block_matching/reference")->Arg(512)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(alignment)->Name("section_alignment/vorlen")->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(alignmentReference)->Name("section_alignment/reference")->Arg(1024)->Arg(4096)->Unit(benchmark::kMillisecond);
BENCHMARK(information)->Name("mutual_information/vorlen")->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(informationReference)->Name("mutual_information/reference")->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(registration)->Name("image_registration/vorlen")->Arg(1024)->Arg(2048)->Unit(benchmark::kMillisecond);
BENCHMARK(registrationReference)
    ->Name("image_registration/reference")
    ->Arg(1024)
    ->Arg(2048)
    ->Unit(benchmark::kMillisecond);

} // namespace vorlen
