#include "images/filters/maxfilter.h"
#include "images/filters/minfilter.h"

#include <algorithm>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "support/countingmonitor.h"
#include "support/failures.h"
#include "support/vectors.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

// One line by definition: masked elements stay, the others take the best of the unmasked of their clipped window.
template <class T>
std::vector<T> bests(const std::vector<T>& line, const std::vector<T>& mask, int halfSize, bool greatest) {
    const int n = static_cast<int>(line.size());
    const int h = std::min(halfSize, n);
    std::vector<T> result = line;
    for (int i = 0; i < n; ++i)
        for (int q = std::max(0, i - h); mask[std::size_t(i)] != T(0) && q < n && q <= i + h; ++q)
            if (mask[std::size_t(q)] != T(0))
                result[std::size_t(i)] = greatest ? std::max(result[std::size_t(i)], line[std::size_t(q)])
                                                  : std::min(result[std::size_t(i)], line[std::size_t(q)]);
    return result;
}

template <class T>
VoxelMatrix<T> byDefinition(VoxelMatrix<T> volume, const VoxelMatrix<T>* mask, int h, bool greatest, int axes,
                            int first = 0) {
    const int order[3] = {1, 0, 2};
    for (int step = first; step < first + axes; ++step)
        replaceLines(volume, mask, order[step], [&](const std::vector<T>& line, const std::vector<T>& masks) {
            return bests(line, masks, h, greatest);
        });
    return volume;
}

template <class Filter, class T>
void expectDefinition(const VoxelMatrix<T>& volume, const VoxelMatrix<T>& mask, int h, bool greatest) {
    Filter filter;
    filter.setHalfSize(h);
    VoxelMatrix<T> filtered = volume;
    filter.apply(filtered);
    EXPECT_TRUE(filtered == byDefinition(volume, static_cast<const VoxelMatrix<T>*>(nullptr), h, greatest, 3)) << h;
    PixelMatrix<T> plane = volume[0];
    filter.apply(plane);
    EXPECT_TRUE(plane == byDefinition(volume, static_cast<const VoxelMatrix<T>*>(nullptr), h, greatest, 2)[0]) << h;
    filtered = volume;
    filter.apply(filtered, mask);
    EXPECT_TRUE(filtered == byDefinition(volume, &mask, h, greatest, 3)) << "masked " << h;
    const auto within = byDefinition(volume, static_cast<const VoxelMatrix<T>*>(nullptr), h, greatest, 2);
    filtered = volume;
    filter.setPlaneHalfSize(1);
    filter.apply(filtered);
    EXPECT_TRUE(filtered == byDefinition(within, static_cast<const VoxelMatrix<T>*>(nullptr), 1, greatest, 1, 2)) << h;
    plane = volume[0];
    filter.setMask(mask[0]);
    filter.apply(plane);
    EXPECT_TRUE(plane == byDefinition(volume, &mask, h, greatest, 2)[0]) << "masked " << h;
}

template <class T>
class MinMaxFilter : public testing::Test {};

using FilterTypes = testing::Types<short, unsigned short, int, unsigned int, float, double, long double>;
TYPED_TEST_SUITE(MinMaxFilter, FilterTypes);

} // namespace

// Sizes below, at and above the window's length and its multiples, one beyond a block of columns; half sizes that are
// greater than the data.
TYPED_TEST(MinMaxFilter, equalsTheDefinitionWithAndWithoutMask) {
    for (const auto& [rows, columns, planes] : {std::tuple(1, 1, 1), std::tuple(3, 7, 2), std::tuple(8, 5, 9),
                                                std::tuple(23, 30, 4), std::tuple(5, 1100, 1)}) {
        const auto volume = randomVolume<TypeParam>(rows, columns, planes, 7, 0, 200);
        const auto mask = randomVolume<TypeParam>(rows, columns, planes, 8, 0, 2);
        for (const int h : {1, 2, 3, 10, std::numeric_limits<int>::max()}) {
            expectDefinition<MinFilter<TypeParam>>(volume, mask, h, false);
            expectDefinition<MaxFilter<TypeParam>>(volume, mask, h, true);
        }
    }
}

// Extreme values must not be mistaken for what lies beyond the border.
TYPED_TEST(MinMaxFilter, handlesTheEndsOfTheRange) {
    const TypeParam low = std::numeric_limits<TypeParam>::lowest(), high = std::numeric_limits<TypeParam>::max();
    Vector<TypeParam> out;
    MinFilter<TypeParam>().apply(vectorOf<TypeParam>({high, high, high, low}), out);
    EXPECT_EQ(out, vectorOf<TypeParam>({high, high, low, low}));
    MaxFilter<TypeParam>().apply(vectorOf<TypeParam>({low, low, low, high}), out);
    EXPECT_EQ(out, vectorOf<TypeParam>({low, low, high, high}));
}

TEST(MinFilter, clipsTheWindowAtTheEndsOfALine) {
    MinFilter<int> filter;
    filter.setHalfSize(2);
    Vector<int> out;
    filter.apply(vectorOf({5, 4, 9, 8, 7, 1, 6}), out);
    EXPECT_EQ(out, vectorOf({4, 4, 4, 1, 1, 1, 1}));
    // Masked: 1 is not seen, and stays itself.
    filter.apply(vectorOf({5, 4, 9, 8, 7, 1, 6}), out, vectorOf({1, 1, 1, 1, 1, 0, 1}));
    EXPECT_EQ(out, vectorOf({4, 4, 4, 4, 6, 1, 6}));
    Vector<int> same = vectorOf({3, 1, 2});
    filter.apply(same, same);
    EXPECT_EQ(same, vectorOf({1, 1, 1}));
}

TEST(MinFilter, leavesDataWithoutWindowOrElementsAlone) {
    MinFilter<float> filter;
    filter.setHalfSize(0);
    VoxelMatrix<float> volume = randomVolume<float>(4, 5, 3, 1, 0, 9);
    const VoxelMatrix<float> before = volume;
    filter.apply(volume);
    EXPECT_TRUE(volume == before);
    filter.setHalfSize(2);
    VoxelMatrix<float> none(0, 4, 2);
    filter.apply(none);
    Vector<float> out = vectorOf({1.0f});
    filter.apply(Vector<float>(), out);
    EXPECT_EQ(out.getSize(), 0);
}

TEST(MinFilter, refusesAMaskOfAnotherSizeAndChangesNothing) {
    PixelMatrix<float> matrix = randomMatrix<float>(4, 5, 1, 0, 9);
    const PixelMatrix<float> before = matrix;
    const PixelMatrix<float> mask(4, 4);
    MinFilter<float> filter;
    EXPECT_THROW(filter.apply(matrix, mask), SizeError);
    EXPECT_TRUE(matrix == before);
    Vector<float> out;
    EXPECT_THROW(filter.apply(Vector<float>(3), out, Vector<float>(2)), SizeError);
    filter.setMask(mask);
    EXPECT_THROW(filter.apply(matrix), SizeError);
    filter.unsetMask();
    EXPECT_NO_THROW(filter.apply(matrix));
}

TEST(MaxFilter, reportsEachLineAndRefusesBallMode) {
    CountingMonitor monitor;
    MaxFilter<double> filter;
    filter.addMonitor(monitor);
    VoxelMatrix<double> volume = randomVolume<double>(4, 5, 3, 1, 0, 9);
    filter.apply(volume);
    EXPECT_EQ(monitor.started, 1);
    EXPECT_EQ(monitor.finished, 1);
    EXPECT_EQ(monitor.steps, 20 + 12 + 15);
    EXPECT_EQ(monitor.lastTotal, 47u);
    EXPECT_EQ(monitor.last, 47u);
    EXPECT_TRUE(monitor.rising);
    EXPECT_THROW(filter.setBallMode(true), ProgramError);
}

} // namespace vorlen
