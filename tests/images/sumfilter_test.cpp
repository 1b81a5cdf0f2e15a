#include "images/filters/sumfilter.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/countingmonitor.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

int pattern(int i, int j, int k) {
    return (37 * i + 101 * j + 53 * k + i * j) % 97;
}

// Sums of one line by definition: the window where it fits, else the element times its length.
template <class T>
std::vector<T> lineSums(const std::vector<T>& line, int h) {
    const int n = static_cast<int>(line.size());
    std::vector<T> result(line.size());
    for (int i = 0; i < n; ++i) {
        T sum = T(0);
        for (int q = -h; q <= h; ++q)
            sum = static_cast<T>(sum + line[static_cast<std::size_t>(i < h || i >= n - h ? i : i + q)]);
        result[static_cast<std::size_t>(i)] = sum;
    }
    return result;
}

// The filter by definition, one axis after the other.
template <class T>
VoxelMatrix<T> sumsByDefinition(VoxelMatrix<T> volume, int h, int axes) {
    const int size[3] = {volume.getSize1(), volume.getSize2(), volume.getSize3()};
    const int order[3] = {1, 0, 2};
    for (int step = 0; step < axes; ++step) {
        const int axis = order[step], b = (axis + 1) % 3, c = (axis + 2) % 3;
        int at[3];
        for (at[b] = 0; at[b] < size[b]; ++at[b])
            for (at[c] = 0; at[c] < size[c]; ++at[c]) {
                std::vector<T> line;
                for (at[axis] = 0; at[axis] < size[axis]; ++at[axis])
                    line.push_back(volume(at[0], at[1], at[2]));
                line = lineSums(line, h);
                for (at[axis] = 0; at[axis] < size[axis]; ++at[axis])
                    volume(at[0], at[1], at[2]) = line[static_cast<std::size_t>(at[axis])];
            }
    }
    return volume;
}

template <class T>
class SumFilterOf : public testing::Test {};

using FilterTypes = testing::Types<short, unsigned short, int, unsigned int, float, double, long double>;
TYPED_TEST_SUITE(SumFilterOf, FilterTypes);

} // namespace

// Sizes around the window's, around the eight rows taken together and beyond the width of a block of columns.
TYPED_TEST(SumFilterOf, equalsTheDefinitionOnMatricesAndVolumes) {
    for (const auto& [rows, columns, planes] : {std::tuple(1, 1, 1), std::tuple(3, 3, 3), std::tuple(7, 4, 2),
                                                std::tuple(9, 23, 8), std::tuple(17, 5, 11), std::tuple(12, 2100, 1)})
        for (const int h : {0, 1, 2, 3, 5, 25}) { // 97 * 51^3 is exact in float
            const auto volume = volumeOf<TypeParam>(rows, columns, planes, pattern);
            SumFilter<TypeParam> filter;
            filter.setHalfSize(h);
            auto summed = volume;
            filter.apply(summed);
            EXPECT_TRUE(summed == sumsByDefinition(volume, h, 3))
                << rows << " " << columns << " " << planes << " " << h;
            PixelMatrix<TypeParam> plane = volume[0];
            filter.apply(plane);
            EXPECT_TRUE(plane == sumsByDefinition(volume, h, 2)[0]) << rows << " " << columns << " " << h;
        }
}

TEST(SumFilter, givesAWindowSumInTheCentreOfThreeByThreeAndMultiplesOnTheBorder) {
    PixelMatrix<int> matrix = matrixOf<int>({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    SumFilter<int>().apply(matrix);
    // Along rows: 3 6 9, 12 15 18, 21 24 27, where the middle column is the sum of its row; then along columns.
    EXPECT_TRUE(matrix == matrixOf<int>({{9, 18, 27}, {36, 45, 54}, {63, 72, 81}}));
    PixelMatrix<int> peak = matrixOf<int>({{1, 0, 0}, {0, 0, 0}, {0, 0, 0}});
    SumFilter<int>().apply(peak);
    EXPECT_TRUE(peak == matrixOf<int>({{9, 3, 0}, {3, 1, 0}, {0, 0, 0}}));
}

TEST(SumFilter, keepsAConstantConstantHoweverLargeTheWindow) {
    for (const int h : {1, 4, 30, 1000000000}) {
        VoxelMatrix<double> volume(6, 9, 5);
        volume.fill(2.0);
        SumFilter<double> filter;
        filter.setHalfSize(h);
        filter.apply(volume);
        const double side = 2.0 * h + 1.0;
        EXPECT_DOUBLE_EQ(volume.range()[0], 2.0 * side * side * side);
        EXPECT_DOUBLE_EQ(volume.range()[1], 2.0 * side * side * side);
    }
}

// A running sum in float would keep the rounding of the large element: 1e8 + 1 is 1e8 there.
TEST(SumFilter, forgetsALargeElementThatLeftTheWindow) {
    PixelMatrix<float> matrix(1, 40);
    matrix.setOnes();
    matrix[0][5] = 1e8f;
    SumFilter<float>().apply(matrix);
    for (int j = 8; j < 39; ++j)
        EXPECT_EQ(matrix[0][j], 9.0f) << j; // three along the row, and the single row times three
}

TEST(SumFilter, ballModeSumsTheDiscInsideTheMatrix) {
    PixelMatrix<int> matrix(9, 7);
    for (int i = 0; i < 9; ++i)
        for (int j = 0; j < 7; ++j)
            matrix[i][j] = pattern(i, j, 0);
    for (const int h : {0, 1, 2, 3, 50}) {
        SumFilter<int> filter;
        filter.setBallMode(true);
        filter.setHalfSize(h);
        PixelMatrix<int> summed = matrix;
        filter.apply(summed);
        Vector<int> rows, columns;
        NeighbourhoodFilter::initCircularNeighborhood(h, rows, columns);
        for (int i = 0; i < 9; ++i)
            for (int j = 0; j < 7; ++j) {
                int sum = 0;
                for (int n = 0; n < rows.getSize(); ++n)
                    if (matrix.contains(i + rows[n], j + columns[n]))
                        sum += matrix[i + rows[n]][j + columns[n]];
                ASSERT_EQ(summed[i][j], sum) << h << " " << i << " " << j;
            }
    }
}

TEST(SumFilter, ballModeSumsTheBallInsideTheVolume) {
    const VoxelMatrix<double> volume = volumeOf<double>(6, 7, 5, pattern);
    for (const int h : {0, 1, 2, 4}) {
        SumFilter<double> filter;
        filter.setBallMode(true);
        filter.setHalfSize(h);
        VoxelMatrix<double> summed = volume;
        filter.apply(summed);
        Vector<int> a, b, c;
        NeighbourhoodFilter::initSphericalNeighborhood(h, a, b, c);
        for (int k = 0; k < 5; ++k)
            for (int i = 0; i < 6; ++i)
                for (int j = 0; j < 7; ++j) {
                    double sum = 0.0;
                    for (int n = 0; n < a.getSize(); ++n)
                        if (volume.contains(i + a[n], j + b[n], k + c[n]))
                            sum += volume(i + a[n], j + b[n], k + c[n]);
                    ASSERT_EQ(summed(i, j, k), sum) << h << " " << i << " " << j << " " << k;
                }
    }
}

TEST(SumFilter, wrapsIntegersAroundAndLeavesEmptyMatricesAlone) {
    PixelMatrix<short> matrix(1, 1);
    matrix[0][0] = 20000;
    SumFilter<short>().apply(matrix);
    EXPECT_EQ(matrix[0][0], static_cast<short>(180000 - 3 * 65536)); // nine times the element
    PixelMatrix<int> huge(1, 1);
    huge[0][0] = std::numeric_limits<int>::max();
    SumFilter<int>().apply(huge);
    EXPECT_EQ(huge[0][0], std::numeric_limits<int>::max() - 8); // -9 modulo 2^32 added to 2^31 times an odd number
    VoxelMatrix<int> none(0, 3, 2);
    SumFilter<int>().apply(none);
    EXPECT_EQ(none.getSize3(), 2);
}

TEST(SumFilter, reportsRisingProgressUpToTheWhole) {
    CountingMonitor monitor;
    SumFilter<float> filter;
    filter.addMonitor(monitor);
    PixelMatrix<float> matrix(20, 30);
    matrix.setOnes();
    filter.apply(matrix);
    EXPECT_EQ(monitor.started, 1);
    EXPECT_EQ(monitor.finished, 1);
    EXPECT_TRUE(monitor.rising);
    EXPECT_EQ(monitor.steps, 50);
    EXPECT_EQ(monitor.last, 1200u);
    EXPECT_EQ(monitor.lastTotal, 1200u);
}

TEST(NeighbourhoodFilter, listsOffsetsOfDiscAndBallInAscendingOrder) {
    Vector<int> a, b, c;
    NeighbourhoodFilter::initCircularNeighborhood(1, a, b);
    ASSERT_EQ(a.getSize(), 5);
    const int expected[5][2] = {{-1, 0}, {0, -1}, {0, 0}, {0, 1}, {1, 0}};
    for (int n = 0; n < 5; ++n) {
        EXPECT_EQ(a[n], expected[n][0]);
        EXPECT_EQ(b[n], expected[n][1]);
    }
    NeighbourhoodFilter::initCircularNeighborhood(5, a, b);
    EXPECT_EQ(a.getSize(), 81); // lattice points of the disc of radius 5, on its edge (3, 4)
    NeighbourhoodFilter::initSphericalNeighborhood(2, a, b, c);
    EXPECT_EQ(a.getSize(), 33);
    NeighbourhoodFilter::initCircularNeighborhood(-1, a, b);
    EXPECT_EQ(a.getSize(), 0);
}

TEST(NeighbourhoodFilter, refusesBallModeUnlessItIsAccepted) {
    NeighbourhoodFilter filter;
    EXPECT_EQ(filter.getHalfSize(), 1);
    try {
        filter.setBallMode(true);
        FAIL();
    } catch (const ProgramError& error) {
        EXPECT_EQ(error.getWhere(), "void NeighbourhoodFilter::setBallMode(const bool)");
        EXPECT_EQ(error.getWhat(), "This filter does not accept ball mode");
    }
    EXPECT_FALSE(filter.ballMode());
    filter.setBallMode(false);
    filter.setAcceptBallMode(true);
    filter.setBallMode(true);
    EXPECT_TRUE(filter.ballMode());
}

} // namespace vorlen
