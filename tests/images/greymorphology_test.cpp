#include "images/filters/voxelmatrixdilatation.h"
#include "images/filters/voxelmatrixerosion.h"

#include <algorithm>
#include <limits>

#include <gtest/gtest.h>

#include "support/countingmonitor.h"
#include "support/failures.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

// Smallest difference, or greatest sum, over the voxels under the element that lie inside, held to the range of T.
template <class T>
VoxelMatrix<T> byDefinition(const VoxelMatrix<T>& volume, const VoxelMatrix<T>& element, bool dilation) {
    VoxelMatrix<T> result = volume;
    const int h1 = element.getSize1() / 2, h2 = element.getSize2() / 2, h3 = element.getSize3() / 2;
    for (int k = 0; k < volume.getSize3(); ++k)
        for (int i = 0; i < volume.getSize1(); ++i)
            for (int j = 0; j < volume.getSize2(); ++j) {
                long double best = dilation ? -1e30L : 1e30L;
                for (int c = 0; c < element.getSize3(); ++c)
                    for (int a = 0; a < element.getSize1(); ++a)
                        for (int b = 0; b < element.getSize2(); ++b) {
                            if (!volume.contains(i + a - h1, j + b - h2, k + c - h3))
                                continue;
                            const long double value = volume(i + a - h1, j + b - h2, k + c - h3);
                            best = dilation ? std::max(best, value + element(a, b, c))
                                            : std::min(best, value - element(a, b, c));
                        }
                result(i, j, k) = static_cast<T>(
                    std::clamp<long double>(best, std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max()));
            }
    return result;
}

template <class T>
class GreyMorphologyOf : public testing::Test {};

using FilterTypes = testing::Types<short, unsigned short, int, unsigned int, float, double, long double>;
TYPED_TEST_SUITE(GreyMorphologyOf, FilterTypes);

} // namespace

// Asymmetric elements of different sizes on the axes, greater than the volume on some, and flat ones.
TYPED_TEST(GreyMorphologyOf, equalsTheDefinition) {
    for (const auto& [rows, columns, planes] : {std::tuple(1, 1, 1), std::tuple(4, 3, 5), std::tuple(8, 40, 3)})
        for (const auto& [a, b, c] : {std::tuple(1, 1, 1), std::tuple(3, 1, 5), std::tuple(3, 7, 3)})
            for (const int high : {0, 30}) {
                const auto volume = randomVolume<TypeParam>(rows, columns, planes, 3, 0, 100);
                auto element = randomVolume<TypeParam>(a, b, c, 9, 0, high);
                if (high == 0)
                    element.fill(TypeParam(5)); // flat
                VoxelMatrixErosion<TypeParam> erosion;
                erosion.setStructElt(element);
                auto eroded = volume;
                erosion.apply(eroded);
                EXPECT_TRUE(eroded == byDefinition(volume, element, false)) << rows << " " << a << b << c << high;
                VoxelMatrixDilatation<TypeParam> dilatation;
                dilatation.setStructElt(element);
                auto dilated = volume;
                dilatation.apply(dilated);
                EXPECT_TRUE(dilated == byDefinition(volume, element, true)) << rows << " " << a << b << c << high;
            }
}

// The sums leave the range of T in one place and the border must not be taken for its greatest value.
TYPED_TEST(GreyMorphologyOf, staysWithinTheRangeOfIntegers) {
    if constexpr (std::is_integral_v<TypeParam>) {
        const TypeParam low = std::numeric_limits<TypeParam>::lowest(), high = std::numeric_limits<TypeParam>::max();
        for (const bool flat : {true, false}) {
            auto volume = volumeOf<TypeParam>(1, 3, 1, [&](int, int, int) { return 0; });
            volume(0, 0, 0) = low;
            volume(0, 1, 0) = low;
            volume(0, 2, 0) = high;
            VoxelMatrix<TypeParam> element(1, 3, 1);
            element.fill(TypeParam(10));
            if (!flat)
                element(0, 0, 0) = TypeParam(9);
            VoxelMatrixErosion<TypeParam> erosion;
            erosion.setStructElt(element);
            auto eroded = volume;
            erosion.apply(eroded);
            EXPECT_TRUE(eroded == byDefinition(volume, element, false));
            EXPECT_EQ(eroded(0, 0, 0), low);
            VoxelMatrixDilatation<TypeParam> dilatation;
            dilatation.setStructElt(element);
            dilatation.apply(volume);
            EXPECT_EQ(volume(0, 2, 0), high);
            EXPECT_EQ(volume(0, 0, 0), static_cast<TypeParam>(low + 10));
        }
    }
}

TEST(GreyMorphology, isNotReflectedAndHasItsOriginInTheCentre) {
    VoxelMatrix<float> volume(1, 5, 1), element(1, 3, 1);
    volume.setZeros();
    volume(0, 2, 0) = 10.0f;
    element.setZeros();
    element(0, 0, 0) = 4.0f; // under it lies the voxel before
    VoxelMatrixDilatation<float> dilatation;
    dilatation.setStructElt(element);
    dilatation.apply(volume);
    const float expected[5] = {0, 10, 10, 14, 4};
    for (int j = 0; j < 5; ++j)
        EXPECT_EQ(volume(0, j, 0), expected[j]) << j;
}

TEST(GreyMorphology, lowersAConstantVolumeByTheHeightUpToTheBorder) {
    VoxelMatrix<double> volume(4, 5, 6), element(3, 3, 3);
    volume.fill(7.0);
    element.fill(2.5);
    VoxelMatrixErosion<double> erosion;
    VoxelMatrix<double> unchanged = volume;
    erosion.apply(unchanged);
    EXPECT_TRUE(unchanged == volume); // without an element of its own
    erosion.setStructElt(element);
    EXPECT_EQ(erosion.getStructElt().getSize2(), 3);
    erosion.apply(volume);
    EXPECT_EQ(volume.range()[0], 4.5);
    EXPECT_EQ(volume.range()[1], 4.5);
    VoxelMatrix<double> none;
    erosion.apply(none);
}

TEST(GreyMorphology, refusesEmptyAndEvenElements) {
    VoxelMatrixErosion<int> erosion;
    VoxelMatrixDilatation<int> dilatation;
    const std::string ofErosion = "void VoxelMatrixErosion<T>::setStructElt(...)";
    const std::string ofDilatation = "void VoxelMatrixDilatation<T>::setStructElt(...)";
    const std::string empty = "Empty structuring element", even = "Structuring element with even size(s)";
    expectFailure<SizeError>([&] { erosion.setStructElt(VoxelMatrix<int>()); }, ofErosion, empty);
    expectFailure<SizeError>([&] { dilatation.setStructElt(VoxelMatrix<int>()); }, ofDilatation, empty);
    for (const auto& [a, b, c] : {std::tuple(2, 3, 3), std::tuple(3, 4, 3), std::tuple(3, 3, 6), std::tuple(0, 3, 3)}) {
        const VoxelMatrix<int> element = numberedVolume<int>(a, b, c);
        expectFailure<SizeError>([&] { erosion.setStructElt(element); }, ofErosion, even);
        expectFailure<SizeError>([&] { dilatation.setStructElt(element); }, ofDilatation, even);
    }
    EXPECT_EQ(erosion.getStructElt().getSize1(), 1);
}

TEST(GreyMorphology, reportsEachRowOfEachPlaneInPartsOfRowsTimesColumns) {
    for (const bool flat : {true, false}) {
        CountingMonitor monitor;
        VoxelMatrixErosion<float> erosion;
        VoxelMatrix<float> element = numberedVolume<float>(1, 3, 1);
        if (flat)
            element.setZeros();
        erosion.setStructElt(element);
        erosion.addMonitor(monitor);
        VoxelMatrix<float> volume = numberedVolume<float>(4, 5, 7);
        erosion.apply(volume);
        EXPECT_EQ(monitor.started, 1);
        EXPECT_EQ(monitor.finished, 1);
        EXPECT_EQ(monitor.steps, 28);
        EXPECT_EQ(monitor.last, 20u);
        EXPECT_EQ(monitor.lastTotal, 20u);
        EXPECT_TRUE(monitor.rising);
    }
}

} // namespace vorlen
