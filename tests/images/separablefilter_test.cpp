#include "images/filters/separablefilter.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "images/filters/gaussianfilter.h"
#include "support/countingmonitor.h"
#include "support/failures.h"
#include "support/vectors.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

// The convolutions of Vector, which have tests of their own, line by line.
template <class T>
VoxelMatrix<T> byLines(VoxelMatrix<T> volume, const VoxelMatrix<T>* mask, const Vector<T> (&kernels)[3], int axes) {
    const int order[3] = {1, 0, 2};
    for (int step = 0; step < axes; ++step) {
        const Vector<T>& kernel = kernels[order[step]];
        if (kernel.getSize() == 0)
            continue;
        replaceLines(volume, mask, order[step], [&](std::vector<T>& line, std::vector<T>& masks) {
            const int n = static_cast<int>(line.size());
            const Vector<T> values = Vector<T>::view(line.data(), n);
            const Vector<T> result =
                mask != nullptr ? values.conv(kernel, Vector<T>::view(masks.data(), n)) : values.conv(kernel);
            return std::vector<T>(result.begin(), result.end());
        });
    }
    return volume;
}

template <class T>
void expectNear(const VoxelMatrix<T>& found, const VoxelMatrix<T>& expected, T tolerance) {
    ASSERT_TRUE(found.sameSizeAs(expected));
    for (int k = 0; k < found.getSize3(); ++k)
        for (int i = 0; i < found.getSize1(); ++i)
            for (int j = 0; j < found.getSize2(); ++j)
                ASSERT_LE(std::abs(found(i, j, k) - expected(i, j, k)), tolerance) << i << " " << j << " " << k;
}

template <class T>
VoxelMatrix<T> asVolume(const PixelMatrix<T>& matrix) {
    VoxelMatrix<T> volume(matrix.getSize1(), matrix.getSize2(), 1);
    volume[0] = matrix;
    return volume;
}

template <class T>
class SeparableFilterOf : public testing::Test {};

using RealTypes = testing::Types<float, double, long double>;
TYPED_TEST_SUITE(SeparableFilterOf, RealTypes);

} // namespace

// Asymmetric kernels of three lengths, so that no axis or direction can be exchanged; sizes below the kernel's and
// beyond a block of columns.
TYPED_TEST(SeparableFilterOf, convolvesEveryLineWithAndWithoutMask) {
    using T = TypeParam;
    const T tolerance = T(200) * Vector<T>::epsilon();
    Vector<T> odd(13), even(4);
    for (int q = 0; q < 13; ++q)
        odd[q] = T(q * q - 20) / T(100);
    even = vectorOf<T>({T(0.5), T(-1), T(2), T(0.25)});
    const Vector<T> kernels[3] = {vectorOf<T>({T(1), T(2), T(-0.5)}), odd, even};
    SeparableFilter<T> filter;
    filter.setKernel1(kernels[0]);
    filter.setKernel2(kernels[1]);
    filter.setKernel3(kernels[2]);
    for (const auto& [rows, columns, planes] :
         {std::tuple(1, 1, 1), std::tuple(2, 5, 3), std::tuple(17, 20, 9), std::tuple(6, 1100, 2)}) {
        const auto volume = randomVolume<T>(rows, columns, planes, 3, -9, 9);
        const auto mask = randomVolume<T>(rows, columns, planes, 4, 0, 2);
        auto filtered = volume;
        filter.apply(filtered);
        expectNear(filtered, byLines<T>(volume, nullptr, kernels, 3), tolerance);
        PixelMatrix<T> plane = volume[0];
        filter.apply(plane);
        expectNear(asVolume(plane), byLines<T>(asVolume(volume[0]), nullptr, kernels, 2), tolerance);
        filter.setMask(mask);
        filter.setMask(mask[0]);
        filtered = volume;
        filter.apply(filtered);
        expectNear(filtered, byLines<T>(volume, &mask, kernels, 3), tolerance);
        plane = volume[0];
        filter.apply(plane);
        const auto planeMask = asVolume(mask[0]);
        expectNear(asVolume(plane), byLines<T>(asVolume(volume[0]), &planeMask, kernels, 2), tolerance);
        filter.unsetMask();
    }
}

TEST(SeparableFilter, runsKernel1DownTheColumnsAndKernel2AlongTheRows) {
    SeparableFilter<double> filter;
    filter.setVMask(vectorOf({1.0, 0.0, 0.0})); // moves a sample to the element before it
    filter.setHMask(vectorOf({0.0, 0.0, 2.0}));
    PixelMatrix<double> matrix = matrixOf<double>({{0, 0, 0}, {0, 1, 0}, {0, 0, 0}});
    filter.apply(matrix);
    EXPECT_TRUE(matrix == matrixOf<double>({{0, 0, 2}, {0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(filter.getKernel1(), vectorOf({1.0, 0.0, 0.0}));
    EXPECT_EQ(filter.getHMask(), vectorOf({0.0, 0.0, 2.0}));
    EXPECT_EQ(filter.kernel2D()[0][2], 2.0);
    EXPECT_EQ(filter.kernel2D().getSize1(), 3);
}

TEST(SeparableFilter, leavesLinesOfEmptyKernelsAndScales) {
    SeparableFilter<float> filter;
    PixelMatrix<float> matrix = matrixOf<float>({{1, 2}, {3, 4}});
    filter.apply(matrix);
    EXPECT_TRUE(matrix == matrixOf<float>({{1, 2}, {3, 4}}));
    filter.setDivideBy(4.0f);
    filter.apply(matrix);
    EXPECT_TRUE(matrix == matrixOf<float>({{0.25f, 0.5f}, {0.75f, 1.0f}}));
    filter.setMultiplyBy(8.0f);
    filter.apply(matrix);
    EXPECT_TRUE(matrix == matrixOf<float>({{2, 4}, {6, 8}}));
    VoxelMatrix<float> volume = numberedVolume<float>(2, 2, 2);
    filter.apply(volume);
    EXPECT_EQ(volume(1, 0, 1), 880.0f);
    PixelMatrix<float> none;
    filter.apply(none);
}

TEST(SeparableFilter, refusesAMaskOfAnotherSizeAndChangesNothing) {
    SeparableFilter<double> filter;
    filter.setKernel2(vectorOf({1.0, 1.0, 1.0}));
    PixelMatrix<double> matrix = matrixOf<double>({{1, 2, 3}});
    const PixelMatrix<double> mask(1, 2);
    filter.setMask(mask);
    expectFailure<SizeError>([&] { filter.apply(matrix); },
                             "Vector<T> Vector<T>::corr(const Vector&, const Vector&) const",
                             "The mask is not the same length as this vector");
    EXPECT_TRUE(matrix == matrixOf<double>({{1, 2, 3}}));
}

TEST(SeparableFilter, reportsAStepForEachLine) {
    CountingMonitor monitor;
    SeparableFilter<float> filter;
    filter.addMonitor(monitor);
    filter.setKernel1(vectorOf({1.0f}));
    VoxelMatrix<float> volume = numberedVolume<float>(4, 5, 3);
    filter.apply(volume);
    EXPECT_EQ(monitor.steps, 20 + 12 + 15);
    EXPECT_EQ(monitor.last, 47u);
    EXPECT_EQ(monitor.lastTotal, 47u);
    EXPECT_EQ(monitor.started, 1);
    EXPECT_EQ(monitor.finished, 1);
}

TEST(GaussianFilter, hasANormalisedKernelOfTwoSigmaOnEachSide) {
    GaussianFilter<double> filter(1.0);
    const Vector<double> kernel = filter.getKernel1();
    ASSERT_EQ(kernel.getSize(), 5);
    EXPECT_NEAR(kernel.sum(), 1.0, 1e-15);
    EXPECT_NEAR(kernel[3] / kernel[2], std::exp(-0.5), 1e-15);
    EXPECT_NEAR(kernel[0] / kernel[2], std::exp(-2.0), 1e-15);
    EXPECT_EQ(kernel, filter.getKernel2());
    EXPECT_EQ(kernel, filter.getKernel3());
    filter.setSigma(1.3); // 2.6 is rounded up
    EXPECT_EQ(filter.getKernel3().getSize(), 7);
    EXPECT_EQ(filter.getSigma(), 1.3);
    filter.setPlaneSigma(1.0);
    EXPECT_EQ(filter.getKernel3(), kernel);
    EXPECT_EQ(filter.getKernel1().getSize(), 7);
}

// A constant under a mask of ones stays, since the weight beyond the border comes back; without it the border darkens
// by the tail of the kernel on each axis.
TEST(GaussianFilter, keepsAConstantUnderAMaskAndLosesTheTailsWithout) {
    GaussianFilter<double> filter(1.5);
    VoxelMatrix<double> volume(9, 11, 8), mask(9, 11, 8);
    volume.fill(3.0);
    mask.setOnes();
    VoxelMatrix<double> filtered = volume;
    filter.setMask(mask);
    filter.apply(filtered);
    EXPECT_NEAR(filtered.range()[0], 3.0, 1e-14);
    EXPECT_NEAR(filtered.range()[1], 3.0, 1e-14);
    filter.unsetMask();
    filter.apply(volume);
    const Vector<double> kernel = filter.getKernel1();
    const double atBorder = kernel.copy(3, 6).sum();
    EXPECT_NEAR(volume(0, 5, 4), 3.0 * atBorder, 1e-14);
    EXPECT_NEAR(volume(0, 0, 0), 3.0 * std::pow(atBorder, 3), 1e-14);
    EXPECT_NEAR(volume(4, 5, 4), 3.0, 1e-14);
}

TEST(GaussianFilter, changesNothingAtSigmaZeroAndRefusesWhatIsNoSigma) {
    GaussianFilter<float> filter(0.0f);
    PixelMatrix<float> matrix = randomMatrix<float>(5, 6, 1, 0, 9);
    const PixelMatrix<float> before = matrix;
    filter.apply(matrix);
    EXPECT_TRUE(matrix == before);
    for (const float sigma : {-1.0f, 1e9f, NAN})
        EXPECT_THROW(filter.setSigma(sigma), ValueError);
    EXPECT_EQ(filter.getSigma(), 0.0f);
}

} // namespace vorlen
