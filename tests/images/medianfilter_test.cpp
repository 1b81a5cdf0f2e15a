#include "images/filters/medianfilter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "support/countingmonitor.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

// Sorts every whole window; NaN is greatest.
template <class T>
VoxelMatrix<T> byDefinition(const VoxelMatrix<T>& volume, int h, int planeHalf) {
    VoxelMatrix<T> result = volume;
    for (int k = planeHalf; k < volume.getSize3() - planeHalf; ++k)
        for (int i = h; i < volume.getSize1() - h; ++i)
            for (int j = h; j < volume.getSize2() - h; ++j) {
                std::vector<T> window;
                for (int c = -planeHalf; c <= planeHalf; ++c)
                    for (int a = -h; a <= h; ++a)
                        for (int b = -h; b <= h; ++b)
                            window.push_back(volume(i + a, j + b, k + c));
                std::sort(window.begin(), window.end(), [](T x, T y) { return x < y || (x == x && y != y); });
                result(i, j, k) = window[window.size() / 2];
            }
    return result;
}

template <class T>
bool same(const PixelMatrix<T>& a, const PixelMatrix<T>& b) {
    for (int i = 0; i < a.getSize1(); ++i)
        for (int j = 0; j < a.getSize2(); ++j)
            if (a(i, j) != b(i, j) && !(a(i, j) != a(i, j) && b(i, j) != b(i, j)))
                return false;
    return a.getSize() == b.getSize();
}

template <class T>
void expectDefinition(const VoxelMatrix<T>& volume, int h) {
    MedianFilter<T> filter;
    filter.setHalfSize(h);
    VoxelMatrix<T> filtered = volume;
    filter.apply(filtered);
    const VoxelMatrix<T> expected = byDefinition(volume, h, h);
    for (int k = 0; k < volume.getSize3(); ++k)
        ASSERT_TRUE(same(filtered[k], expected[k])) << h << " plane " << k;
    PixelMatrix<T> plane = volume[0];
    filter.apply(plane);
    ASSERT_TRUE(same(plane, byDefinition(volume, h, 0)[0])) << h;
}

template <class T>
class MedianFilterOf : public testing::Test {};

using FilterTypes = testing::Types<short, unsigned short, int, unsigned int, float, double, long double>;
TYPED_TEST_SUITE(MedianFilterOf, FilterTypes);

} // namespace

// Even and odd numbers of rows, columns around the width of a vector, many equal values and few; half sizes of the
// networks and of the histogram of ranks, with more than one of its blocks; sizes with one window and with none.
TYPED_TEST(MedianFilterOf, equalsTheMiddleOfTheSortedWindow) {
    for (const int high : {3, 30000}) {
        for (const int columns : {3, 4, 18, 37})
            for (const int rows : {3, 6, 9})
                for (const int h : {1, 2, 3})
                    expectDefinition(randomVolume<TypeParam>(rows, columns, 7, unsigned(columns), 0, high), h);
        expectDefinition(randomVolume<TypeParam>(40, 41, 5, 5, 0, high), 2);
        expectDefinition(randomVolume<TypeParam>(75, 80, 1, 5, 0, high), 4);
    }
}

TEST(MedianFilter, leavesTheBorderAndDataWithoutAWholeWindow) {
    PixelMatrix<int> matrix = matrixOf<int>({{9, 1, 2, 3}, {4, 0, 7, 8}, {5, 6, 9, 9}});
    MedianFilter<int> filter;
    filter.apply(matrix);
    // {9 1 2 4 0 7 5 6 9} and {1 2 3 0 7 8 6 9 9}
    EXPECT_TRUE(matrix == matrixOf<int>({{9, 1, 2, 3}, {4, 5, 6, 8}, {5, 6, 9, 9}}));
    for (const int h : {0, -3, 2, std::numeric_limits<int>::max()}) {
        const PixelMatrix<int> before = matrix;
        filter.setHalfSize(h);
        filter.apply(matrix);
        EXPECT_TRUE(matrix == before) << h;
        VoxelMatrix<int> volume = numberedVolume<int>(5, 5, 4);
        filter.apply(volume);
        EXPECT_TRUE(volume == numberedVolume<int>(5, 5, 4)) << h;
    }
    VoxelMatrix<int> none;
    filter.apply(none);
}

TEST(MedianFilter, appliesItselfAsOftenAsThereAreIterations) {
    const PixelMatrix<float> matrix = randomMatrix<float>(12, 14, 3, 0, 99);
    MedianFilter<float> filter;
    EXPECT_EQ(filter.getNumIterations(), 1);
    PixelMatrix<float> twice = matrix;
    filter.apply(twice);
    filter.apply(twice);
    CountingMonitor monitor;
    filter.addMonitor(monitor);
    filter.setNumIterations(2);
    PixelMatrix<float> iterated = matrix;
    filter.apply(iterated);
    EXPECT_TRUE(iterated == twice);
    EXPECT_EQ(monitor.started, 1);
    EXPECT_EQ(monitor.finished, 1);
    EXPECT_EQ(monitor.last, 20u); // ten inner rows, twice
    EXPECT_EQ(monitor.lastTotal, 20u);
    for (const int iterations : {0, -1}) {
        filter.setNumIterations(iterations);
        iterated = matrix;
        filter.apply(iterated);
        EXPECT_TRUE(iterated == matrix);
    }
}

TEST(MedianFilter, countsNaNAsGreatest) {
    auto volume = randomVolume<double>(9, 10, 5, 2, 0, 9);
    for (int j = 0; j < 10; ++j)
        volume(j % 9, j, j % 5) = NAN;
    for (int i = 0; i < 9; ++i)
        volume(i, 4, 0) = volume(i, 5, 0) = NAN; // windows of three columns with more NaN than numbers
    expectDefinition(volume, 1);
    expectDefinition(volume, 2);
}

TEST(MedianFilter, reportsTheRowsOfAVolume) {
    for (const int h : {1, 2}) {
        CountingMonitor monitor;
        MedianFilter<double> filter;
        filter.addMonitor(monitor);
        filter.setHalfSize(h);
        VoxelMatrix<double> volume = randomVolume<double>(9, 10, 7, 2, 0, 9);
        filter.apply(volume);
        EXPECT_EQ(monitor.last, unsigned((9 - 2 * h) * (7 - 2 * h)));
        EXPECT_EQ(monitor.lastTotal, monitor.last);
        EXPECT_EQ(monitor.finished, 1);
    }
}

} // namespace vorlen
