#include "images/regions/thresholding.h"

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "images/rasters/pixelmatrix.h"
#include "images/regions/isodatathresholding.h"
#include "images/volumes/voxelmatrix.h"
#include "support/failures.h"
#include "support/recordingmonitor.h"
#include "support/vectors.h"
#include "support/volumes.h"

namespace vorlen {

TEST(Thresholding, countsAValueOnTheThresholdAsAbove) {
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    const auto matrix = matrixOf<float>({{9.5f, 10.0f, 10.5f}, {-1e30f, 1e30f, notANumber}});
    Thresholding<float> thresholding;
    PixelMatrix<float> all = matrix;
    thresholding.apply(all); // the threshold is 0 at first
    EXPECT_TRUE(all == matrixOf<float>({{255, 255, 255}, {0, 255, 255}}));
    thresholding.setThreshold(10.0f);
    thresholding.setForeground(3.0f);
    thresholding.setBackground(-4.0f);
    PixelMatrix<float> above = matrix, below = matrix;
    thresholding.apply(above);
    EXPECT_TRUE(above == matrixOf<float>({{-4, 3, 3}, {-4, 3, 3}}));
    thresholding.setForegroundIsAbove(false);
    thresholding.apply(below);
    EXPECT_TRUE(below == matrixOf<float>({{3, -4, -4}, {3, -4, -4}}));
}

TEST(Thresholding, binarizesVolumesAndReportsTheFirstIndex) {
    VoxelMatrix<int> volume = numberedVolume<int>(2, 3, 4);
    RecordingMonitor monitor;
    Thresholding<int> thresholding;
    thresholding.addMonitor(monitor);
    thresholding.setThreshold(111);
    thresholding.apply(volume);
    EXPECT_TRUE(volume ==
                volumeOf<int>(2, 3, 4, [](int i, int j, int k) { return 100 * k + 10 * i + j >= 111 ? 255 : 0; }));
    PixelMatrix<int> plane = volume[0];
    PixelMatrix<int> rows(3, 1);
    rows.setZeros();
    thresholding.apply(rows);
    EXPECT_EQ(monitor.heard, (std::vector<std::string>{"started ", "1/2", "2/2", "finished ", "started ", "1/3", "2/3",
                                                       "3/3", "finished "}));
}

TEST(Thresholding, masksALevelExactly) {
    const double next = std::nextafter(0.1, 1.0);
    auto matrix = matrixOf<double>({{0.1, next, -0.1, 0.1}});
    Thresholding<double>().levelSetMask(matrix, 0.1);
    EXPECT_TRUE(matrix == matrixOf<double>({{255, 0, 0, 255}}));
    VoxelMatrix<double> volume = numberedVolume<double>(2, 2, 2);
    Thresholding<double>().levelSetMask(volume, 101);
    EXPECT_TRUE(volume ==
                volumeOf<double>(2, 2, 2, [](int i, int j, int k) { return i == 0 && j == 1 && k == 1 ? 255 : 0; }));
}

TEST(Thresholding, keepsTheOutlineOfARectangleAndTheRingOfAFullImage) {
    PixelMatrix<int> matrix(7, 8);
    matrix.setZeros();
    for (int i = 1; i < 6; ++i)
        for (int j = 2; j < 7; ++j)
            matrix[i][j] = 255;
    Thresholding<int>().contours(matrix);
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 8; ++j) {
            const bool inside = i >= 1 && i < 6 && j >= 2 && j < 7;
            EXPECT_EQ(matrix[i][j], inside && (i == 1 || i == 5 || j == 2 || j == 6) ? 255 : 0) << i << " " << j;
        }
    matrix.fill(255);
    Thresholding<int>().contours(matrix);
    PixelMatrix<int> ring(7, 8);
    ring.setZeros();
    ring.fillBorder(255);
    EXPECT_TRUE(matrix == ring);
}

TEST(Thresholding, findsContoursByTheirDefinition) {
    std::mt19937 engine(5);
    for (const double density : {0.5, 0.9, 0.98})
        for (const int rows : {1, 2, 3, 4, 30}) {
            std::bernoulli_distribution isForeground(density);
            PixelMatrix<float> matrix(rows, 41);
            for (int i = 0; i < rows; ++i)
                for (float& value : matrix[i])
                    value = isForeground(engine) ? 255.0f : 17.0f;
            const PixelMatrix<float> before = matrix;
            Thresholding<float>().contours(matrix);
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < 41; ++j) {
                    bool whole = true;
                    for (int a = -1; a <= 1; ++a)
                        for (int b = -1; b <= 1; ++b)
                            whole = whole && before.contains(i + a, j + b) && before[i + a][j + b] == 255.0f;
                    ASSERT_EQ(matrix[i][j], whole ? 0.0f : before[i][j]) << density << " " << i << " " << j;
                }
        }
}

// Two peaks at 10 and 20: the mean of the means is 15. The third histogram moves from (0 + 12) / 2 = 6 to
// (0 + (9 * 8 + 1 * 12) / 10) / 2 = 4 and stays.
TEST(IsodataThresholding, findsTheThresholdOfHandMadeHistograms) {
    IsodataThresholding<int> isodata;
    Vector<unsigned int> histogram;
    histogram.setZeros(256);
    histogram[10] = 4;
    EXPECT_EQ(isodata.computeThreshold(histogram), 10u);
    histogram[20] = 900000000; // sums above 32 bits
    EXPECT_EQ(isodata.computeThreshold(histogram), 15u);
    EXPECT_EQ(isodata.computeThreshold(vectorOf({50u, 0u, 0u, 0u, 0u, 0u, 0u, 0u, 9u, 0u, 0u, 0u, 1u})), 4u);
    EXPECT_EQ(isodata.computeThreshold(vectorOf({0u, 7u, 9u})), 2u); // neighbours are told apart
    // From 1 to (0 + 1.01) / 2, which would leave no class below.
    EXPECT_EQ(isodata.computeThreshold(vectorOf({1000u, 99u, 1u})), 1u);
}

// The iteration on sums over the bins, anew each time: t becomes the mean of the two means, and never leaves the class
// below empty.
TEST(IsodataThresholding, agreesWithTheIterationOnPlainSums) {
    std::mt19937 engine(11);
    for (int trial = 0; trial < 300; ++trial) {
        const int bins = 2 + trial % 90;
        Vector<unsigned int> histogram;
        histogram.setZeros(bins);
        std::uniform_int_distribution<int> bin(0, bins - 1);
        std::geometric_distribution<unsigned int> count(trial % 3 == 0 ? 1e-6 : 0.1);
        for (int n = 0; n < 3 + trial % 20; ++n)
            histogram[bin(engine)] += count(engine) + 1;
        int first = 0, last = bins - 1;
        while (histogram[first] == 0)
            ++first;
        while (histogram[last] == 0)
            --last;
        int threshold = first == last ? first : std::max((first + last) / 2, first + 1);
        for (int before = -1; first < last && before != threshold;) {
            const auto mean = [&](int from, int to) {
                long double sum = 0, elements = 0;
                for (int k = from; k <= to; ++k) {
                    sum += static_cast<long double>(k) * histogram[k];
                    elements += histogram[k];
                }
                return sum / elements;
            };
            before = threshold;
            threshold =
                std::max(static_cast<int>((mean(first, threshold - 1) + mean(threshold, last)) * 0.5L), first + 1);
        }
        EXPECT_EQ(IsodataThresholding<float>().computeThreshold(histogram), static_cast<unsigned int>(threshold));
    }
}

TEST(IsodataThresholding, leavesNaNOut) {
    VoxelMatrix<float> volume = volumeOf<float>(4, 5, 2, [](int, int j, int) { return j < 3 ? 10 : 30; });
    const float threshold = IsodataThresholding<float>().computeThreshold(volume);
    for (const auto& [i, k] : {std::pair(0, 0), std::pair(3, 1), std::pair(2, 0)}) {
        volume(i, 0, k) = std::numeric_limits<float>::quiet_NaN();
        EXPECT_EQ(IsodataThresholding<float>().computeThreshold(volume), threshold);
        EXPECT_EQ(IsodataThresholding<float>().computeThreshold(volume[0]), threshold);
    }
    volume.fill(std::numeric_limits<float>::quiet_NaN());
    EXPECT_THROW(IsodataThresholding<float>().computeThreshold(volume), ValueError);
}

TEST(IsodataThresholding, returnsTheLowerEdgeOfTheBin) {
    const auto matrix = matrixOf<int>({{10, 10, 30}, {30, 10, 30}});
    VoxelMatrix<double> volume(2, 3, 1);
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 3; ++j)
            volume(i, j, 0) = matrix[i][j];
    EXPECT_EQ(IsodataThresholding<int>().computeThreshold(matrix), 20);
    EXPECT_EQ(IsodataThresholding<double>().computeThreshold(volume), 19.5);
    IsodataThresholding<double> wide;
    wide.setBins(-100.0, 4.0, 50); // 10 falls into bin 27, 30 into bin 32
    EXPECT_EQ(wide.computeThreshold(volume), -100.0 + 29 * 4.0);
    IsodataThresholding<int> huge;
    huge.setBins(-2000000000, 2000000000, 3);
    EXPECT_EQ(huge.computeThreshold(matrix), 0);
    const auto grey = matrixOf<float>({{77.0f, 77.0f}});
    EXPECT_EQ(IsodataThresholding<float>().computeThreshold(grey), 76.5f);
}

TEST(IsodataThresholding, appliesItsThreshold) {
    auto matrix = matrixOf<int>({{0, 1, 1}, {40, 41, 0}});
    IsodataThresholding<int> isodata;
    isodata.apply(matrix);
    EXPECT_EQ(isodata.getThreshold(), 20);
    EXPECT_TRUE(matrix == matrixOf<int>({{0, 0, 0}, {255, 255, 0}}));
    VoxelMatrix<int> binary = volumeOf<int>(3, 3, 3, [](int i, int j, int k) { return i == j && j == k; });
    const VoxelMatrix<int> before = binary;
    isodata.setForeground(1);
    isodata.apply(binary);
    EXPECT_TRUE(binary == before);
}

TEST(IsodataThresholding, refusesHistogramsThatCountNothing) {
    const std::string where = "unsigned int IsodataThresholding<T>::computeThreshold(const Vectorui&) const";
    const std::string what = "The histogram counts nothing";
    IsodataThresholding<float> isodata;
    isodata.setThreshold(4.0f);
    Vector<unsigned int> histogram;
    expectFailure<ValueError>([&] { isodata.computeThreshold(histogram); }, where, what);
    histogram.setZeros(256);
    expectFailure<ValueError>([&] { isodata.computeThreshold(histogram); }, where, what);
    PixelMatrix<float> none(0, 5);
    expectFailure<ValueError>([&] { isodata.apply(none); }, where, what);
    isodata.setBins(0, 1, 0);
    PixelMatrix<float> matrix = matrixOf<float>({{1.0f, 2.0f}});
    expectFailure<ValueError>([&] { isodata.apply(matrix); }, where, what);
    EXPECT_EQ(isodata.getThreshold(), 4.0f);
    EXPECT_TRUE(matrix == matrixOf<float>({{1.0f, 2.0f}}));
}

} // namespace vorlen
