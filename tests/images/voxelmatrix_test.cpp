#include "images/volumes/voxelmatrix.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

template <class Error, class Action>
void expectFailure(Action action, const char* where, const char* what) {
    try {
        action();
        FAIL() << "nothing thrown, expected: " << what;
    } catch (const Error& error) {
        EXPECT_EQ(error.getWhere(), where);
        EXPECT_EQ(error.getWhat(), what);
    }
}

Vector<int> sizes(std::initializer_list<int> values) {
    Vector<int> result(static_cast<unsigned int>(values.size()));
    int i = 0;
    for (const int value : values)
        result[i++] = value;
    return result;
}

} // namespace

TEST(VoxelCalibration, isOneMetreOnAllAxesAtFirstAndKeepsTheOrderHeightWidthDepth) {
    VoxelCalibration calibration;
    EXPECT_EQ(calibration.getLengthUnit().getScale(), 0);
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_EQ(calibration.getVoxelSize()[axis], 1.0f);
    calibration.setVoxelHeight(2.0f);
    calibration.setVoxelWidth(3.0f);
    calibration.setVoxelDepth(4.0f);
    EXPECT_EQ(calibration.getVoxelSize()[0], 2.0f);
    EXPECT_EQ(calibration.getVoxelSize()[1], 3.0f);
    EXPECT_EQ(calibration.getVoxelSize()[2], 4.0f);
}

TEST(VoxelCalibration, refusesASizeOfOtherThanThreeValuesAndStays) {
    VoxelCalibration calibration;
    expectFailure<SizeError>([&] { calibration.setVoxelSize(Vector<float>(2)); },
                             "void VoxelCalibration::setVoxelSize(const Vector<float>&)",
                             "Size vector does not contain three values as expected");
    EXPECT_EQ(calibration.getVoxelSize().getSize(), 3);
}

TEST(VoxelMatrix, addressesRowColumnPlane) {
    const VoxelMatrix<int> volume = numberedVolume<int>(2, 3, 4);
    EXPECT_EQ(volume(1, 2, 3), 312);
    EXPECT_EQ(volume[3][1][2], 312);
    EXPECT_EQ(volume.getSize(), sizes({2, 3, 4}));
    EXPECT_EQ(volume.getSize(2), 3);
    EXPECT_TRUE(volume.contains(1, 2, 3));
    EXPECT_FALSE(volume.contains(2, 0, 0));
    EXPECT_FALSE(volume.contains(0, 3, 0));
    EXPECT_FALSE(volume.contains(0, 0, -1));
    expectFailure<ValueError>([&] { volume.getSize(0); }, "unsigned int VoxelMatrix<T>::getSize(...) const",
                              "Invalid argument value (neither 1, 2 or 3)");
}

TEST(VoxelMatrix, settingTheSameSizeKeepsTheContents) {
    VoxelMatrix<float> volume = numberedVolume<float>(2, 3, 2);
    volume.setSize(sizes({2, 3, 2}));
    EXPECT_EQ(volume(1, 2, 1), 112.0f);
    volume.setSize(3, 2, 2);
    EXPECT_EQ(volume[1].getSize1(), 3);
    EXPECT_EQ(volume[1].getSize2(), 2);
    volume.setSize(3, 2, -1);
    EXPECT_EQ(volume.getSize3(), 0);
    EXPECT_THROW(volume.setSize(sizes({1, 2})), SizeError);
}

TEST(VoxelMatrix, copiesAreDeepAndTakeTheCalibrationAlong) {
    VoxelMatrix<short> volume = numberedVolume<short>(2, 2, 2);
    VoxelCalibration calibration;
    calibration.setVoxelDepth(5.0f);
    volume.setVoxelCalibration(calibration);
    VoxelMatrix<short> copy(volume), assigned;
    assigned = volume;
    volume(0, 0, 0) = 7;
    EXPECT_EQ(copy(0, 0, 0), 0);
    EXPECT_EQ(assigned(0, 0, 0), 0);
    EXPECT_EQ(assigned.getVoxelCalibration().getVoxelDepth(), 5.0f);
    VoxelMatrix<short> other(1, 1, 1);
    other(0, 0, 0) = 9;
    other.swap(copy);
    EXPECT_EQ(copy(0, 0, 0), 9);
    EXPECT_EQ(other.getSize(), sizes({2, 2, 2}));
    EXPECT_EQ(other.getVoxelCalibration().getVoxelDepth(), 5.0f);
}

TEST(VoxelMatrix, equalityLooksAtSizesAndElementsButNotAtTheCalibration) {
    VoxelMatrix<float> a = numberedVolume<float>(2, 2, 2), b(a);
    VoxelCalibration calibration;
    calibration.setVoxelWidth(3.0f);
    b.setVoxelCalibration(calibration);
    EXPECT_TRUE(a == b);
    b(1, 1, 1) += 1.0f;
    EXPECT_TRUE(a != b);
    EXPECT_FALSE(a == numberedVolume<float>(2, 2, 1));
    a(0, 0, 0) = std::numeric_limits<float>::quiet_NaN();
    b = a;
    EXPECT_TRUE(a == a);
    EXPECT_FALSE(a == b);
}

TEST(VoxelMatrix, fillReadsAnElementOfItsOwnBeforeItIsOverwritten) {
    VoxelMatrix<int> volume = numberedVolume<int>(2, 2, 2);
    volume.fill(volume(1, 1, 0));
    EXPECT_EQ(volume.range()[0], 11);
    EXPECT_EQ(volume.range()[1], 11);
    volume.setOnes();
    EXPECT_EQ(volume(1, 0, 1), 1);
    volume.setZeros();
    EXPECT_EQ(volume(1, 0, 1), 0);
    volume.fill(-3);
    volume.apply([](int value) { return value * value; });
    EXPECT_EQ(volume(0, 1, 1), 9);
}

TEST(VoxelMatrix, reverseExchangesPlanesOnly) {
    VoxelMatrix<int> volume = numberedVolume<int>(2, 2, 3);
    volume.reverse();
    EXPECT_EQ(volume(1, 0, 0), 210);
    EXPECT_EQ(volume(1, 0, 1), 110);
    EXPECT_EQ(volume(1, 0, 2), 10);
}

TEST(VoxelMatrix, pasteAndCopyAreEachOthersInverse) {
    VoxelMatrix<int> volume(4, 5, 6);
    volume.setZeros();
    const VoxelMatrix<int> block = numberedVolume<int>(2, 3, 4);
    volume.paste(1, 2, 2, block);
    EXPECT_EQ(volume(2, 4, 5), 312);
    EXPECT_EQ(volume(0, 2, 2), 0);
    EXPECT_TRUE(volume.copy(1, 2, 2, 4, 2, 5) == block);
    EXPECT_EQ(volume.copy(1, 0, 0, 4, 0, 5).getSize1(), 0);
    for (const auto& place : {sizes({3, 2, 2}), sizes({1, 3, 2}), sizes({1, 2, 3}), sizes({-1, 0, 0})})
        expectFailure<SizeError>([&] { volume.paste(place[0], place[1], place[2], block); },
                                 "void Matrix<T>::paste(...)", "Cannot paste block at specified position");
    EXPECT_THROW(volume.copy(0, 4, 0, 0, 0, 0), SizeError);
    EXPECT_THROW(volume.copy(0, 0, -1, 0, 0, 0), SizeError);
}

TEST(VoxelMatrix, catRunsOverPlanesThenRowsThenColumns) {
    const Vector<int> all = numberedVolume<int>(2, 3, 2).cat();
    ASSERT_EQ(all.getSize(), 12);
    EXPECT_EQ(all[1], 1);
    EXPECT_EQ(all[3], 10);
    EXPECT_EQ(all[6], 100);
    EXPECT_EQ(all[11], 112);
    EXPECT_EQ(VoxelMatrix<int>().cat().getSize(), 0);
}

TEST(VoxelMatrix, arithmeticIsElementWise) {
    VoxelMatrix<unsigned char> a(1, 2, 1), b(1, 2, 1);
    a(0, 0, 0) = 250;
    a(0, 1, 0) = 6;
    b(0, 0, 0) = 10;
    b(0, 1, 0) = 3;
    a += b;
    EXPECT_EQ(a(0, 0, 0), 4); // 260 modulo 256
    a -= b;
    EXPECT_EQ(a(0, 0, 0), 250);
    a *= b;
    EXPECT_EQ(a(0, 1, 0), 18);
    a += 2;
    a -= 5;
    a *= 4;
    a /= 7;
    EXPECT_EQ(a(0, 1, 0), 8); // (18 + 2 - 5) * 4 / 7 = 60 / 7
    EXPECT_THROW(a /= 0, MathError);
    EXPECT_EQ(a(0, 1, 0), 8);
    VoxelMatrix<double> d(1, 1, 1);
    d.setOnes();
    d /= 0.0;
    EXPECT_TRUE(std::isinf(d(0, 0, 0)));
}

TEST(VoxelMatrix, arithmeticRefusesAnotherSize) {
    VoxelMatrix<float> a(2, 2, 2), b(2, 2, 1);
    const char what[] = "This matrix and matrix argument differ in size";
    expectFailure<SizeError>([&] { a += b; }, "void VoxelMatrix<T>::operator+=(const VoxelMatrix&)", what);
    expectFailure<SizeError>([&] { a -= b; }, "void VoxelMatrix<T>::operator-=(const VoxelMatrix&)", what);
    expectFailure<SizeError>([&] { a *= b; }, "void VoxelMatrix<T>::operator*=(const VoxelMatrix&)", what);
}

TEST(VoxelMatrix, histogramCountsAllPlanesOrThoseUnderTheMask) {
    const VoxelMatrix<int> volume = numberedVolume<int>(1, 3, 2); // 0 1 2, 100 101 102
    const Vector<unsigned int> counts = volume.histogram(0, 2, 3);
    EXPECT_EQ(counts[0], 2u);
    EXPECT_EQ(counts[1], 1u);
    EXPECT_EQ(counts[2], 3u);
    VoxelMatrix<int> mask(1, 3, 2);
    mask.setZeros();
    mask(0, 2, 0) = 5;
    mask(0, 0, 1) = -1;
    const Vector<unsigned int> masked = volume.histogram(0, 2, 3, mask);
    EXPECT_EQ(masked[0], 0u);
    EXPECT_EQ(masked[1], 1u);
    EXPECT_EQ(masked[2], 1u);
    expectFailure<SizeError>([&] { volume.histogram(0, 1, 2, VoxelMatrix<int>(1, 3, 1)); },
                             "Vectorui VoxelMatrix<T>::histogram(...)", "Incompatible mask size");
}

TEST(VoxelMatrix, rangeAndProjectionsLookAtEveryPlane) {
    VoxelMatrix<double> volume = numberedVolume<double>(2, 2, 3);
    volume(1, 0, 1) = -4.0;
    volume(0, 1, 0) = 900.0;
    EXPECT_EQ(volume.range()[0], -4.0);
    EXPECT_EQ(volume.range()[1], 900.0);
    EXPECT_EQ(volume.sum()[1][0], 10.0 - 4.0 + 210.0);
    EXPECT_EQ(volume.min()[1][0], -4.0);
    EXPECT_EQ(volume.max()[0][1], 900.0);
    EXPECT_EQ(volume.max()[1][1], 211.0);
}

TEST(VoxelMatrix, rangeAndProjectionsOfAnEmptyMatrixFail) {
    const VoxelMatrix<float> none, flat(0, 3, 2);
    expectFailure<SizeError>([&] { none.range(); }, "Vector<T> VoxelMatrix<T>::range() const", "This matrix is empty.");
    expectFailure<SizeError>([&] { none.sum(); }, "PixelMatrix<T> VoxelMatrix<T>::sum() const", "This matrix is empty");
    expectFailure<SizeError>([&] { none.min(); }, "PixelMatrix<T> VoxelMatrix<T>::min() const", "This matrix is empty");
    expectFailure<SizeError>([&] { none.max(); }, "PixelMatrix<T> VoxelMatrix<T>::max() const", "This matrix is empty");
    EXPECT_THROW(flat.range(), SizeError);
}

TEST(VoxelMatrix, conversionTruncatesTowardZeroAndDropsTheCalibration) {
    VoxelMatrix<float> volume(1, 2, 1);
    volume(0, 0, 0) = 2.9f;
    volume(0, 1, 0) = -2.9f;
    VoxelCalibration calibration;
    calibration.setVoxelDepth(8.0f);
    volume.setVoxelCalibration(calibration);
    const VoxelMatrix<int> converted = volume.toType<int>();
    EXPECT_EQ(converted(0, 0, 0), 2);
    EXPECT_EQ(converted(0, 1, 0), -2);
    EXPECT_EQ(converted.getVoxelCalibration().getVoxelDepth(), 1.0f);
}

// Values at and beyond the ends of the type that they go to.
TEST(VoxelMatrix, conversionStopsAtTheEndsOfTheType) {
    const double infinity = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> values = {300.7,         -1.5, 255.9,    -0.9,      2147483647.0, 2147483648.0,
                                        -2147483649.0, 1e30, infinity, -infinity, nan,          65536.0};
    const auto volume = volumeOf<double>(1, 12, 1, [&](int, int j, int) { return values[std::size_t(j)]; });
    const auto rowOf = [](const auto& converted) {
        std::vector<long long> row;
        for (int j = 0; j < 12; ++j)
            row.push_back(static_cast<long long>(converted(0, j, 0)));
        return row;
    };
    const long long most = 2147483647, least = -2147483648;
    EXPECT_EQ(rowOf(volume.toType<unsigned char>()),
              (std::vector<long long>{255, 0, 255, 0, 255, 255, 0, 255, 255, 0, 0, 255}));
    EXPECT_EQ(rowOf(volume.toType<int>()),
              (std::vector<long long>{300, -1, 255, 0, most, most, least, most, most, least, 0, 65536}));
    EXPECT_EQ(rowOf(volume.toType<unsigned int>()),
              (std::vector<long long>{300, 0, 255, 0, most, most + 1, 0, 4294967295, 4294967295, 0, 0, 65536}));
    EXPECT_EQ(rowOf(volume.toType<float>().toType<int>()),
              (std::vector<long long>{300, -1, 255, 0, most, most, least, most, most, least, 0, 65536}));
    EXPECT_EQ(rowOf(volume.toType<int>().toType<short>()),
              (std::vector<long long>{300, -1, 255, 0, 32767, 32767, -32768, 32767, 32767, -32768, 0, 32767}));
    EXPECT_EQ(rowOf(volume.toType<unsigned int>().toType<char>())[11], 127);
}

TEST(VoxelMatrix, dividesTheLeastIntegerByMinusOne) {
    VoxelMatrix<int> volume(1, 2, 1);
    volume(0, 0, 0) = std::numeric_limits<int>::min();
    volume(0, 1, 0) = 7;
    volume /= -1;
    EXPECT_EQ(volume(0, 0, 0), std::numeric_limits<int>::max());
    EXPECT_EQ(volume(0, 1, 0), -7);
    VoxelMatrix<short> narrow(1, 1, 1);
    narrow(0, 0, 0) = -32768;
    narrow /= short(-1);
    EXPECT_EQ(narrow(0, 0, 0), 32767);
    PixelMatrix<int> matrix(1, 1);
    matrix[0][0] = std::numeric_limits<int>::min();
    matrix /= -1;
    EXPECT_EQ(matrix[0][0], std::numeric_limits<int>::max());
}

// Wherever the NaNs stand: in first place, in a whole row, in a whole plane.
TEST(VoxelMatrix, rangesAndHistogramsLeaveNaNOutAndCountIt) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int start = 0; start < 24; ++start)
        for (const int count : {1, 4, 12, 23}) {
            auto volume = volumeOf<double>(3, 4, 2, [](int i, int j, int k) { return 12 * k + 4 * i + j; });
            VoxelMatrix<double> mask(3, 4, 2);
            mask.setOnes();
            mask(0, 1, 0) = 0.0;
            std::vector<unsigned int> expected(30, 1), masked(30, 1);
            std::fill(expected.begin() + 24, expected.end(), 0u);
            std::fill(masked.begin() + 24, masked.end(), 0u);
            masked[1] = 0;
            for (int n = 0; n < count; ++n) {
                const int place = (start + n) % 24;
                volume(place % 12 / 4, place % 4, place / 12) = nan;
                expected[std::size_t(place)] = masked[std::size_t(place)] = 0;
            }
            EXPECT_EQ(volume.countNaN(), count);
            const auto first = std::find(expected.begin(), expected.end(), 1u) - expected.begin();
            const auto last = expected.rend() - std::find(expected.rbegin(), expected.rend(), 1u) - 1;
            EXPECT_EQ(volume.range()[0], double(first)) << start << " " << count;
            EXPECT_EQ(volume.range()[1], double(last)) << start << " " << count;
            const auto counts = volume.histogram(0, 1, 30), wide = volume.histogram(0, 1.5, 3);
            const auto maskedCounts = volume.histogram(0, 1, 30, mask);
            unsigned int all = 0;
            for (int bin = 0; bin < 30; ++bin) {
                EXPECT_EQ(counts[bin], expected[std::size_t(bin)]);
                EXPECT_EQ(maskedCounts[bin], masked[std::size_t(bin)]);
            }
            for (int bin = 0; bin < 3; ++bin)
                all += wide[bin];
            EXPECT_EQ(all, unsigned(24 - count));
            // Column by column over both planes.
            const PixelMatrix<double> least = volume.min(), greatest = volume.max();
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 4; ++j) {
                    const int below = 4 * i + j, above = below + 12;
                    const bool hasBelow = expected[std::size_t(below)] == 1,
                               hasAbove = expected[std::size_t(above)] == 1;
                    if (hasBelow || hasAbove) {
                        EXPECT_EQ(least[i][j], hasBelow ? below : above);
                        EXPECT_EQ(greatest[i][j], hasAbove ? above : below);
                    } else {
                        EXPECT_TRUE(std::isnan(least[i][j]) && std::isnan(greatest[i][j]));
                    }
                }
        }
    PixelMatrix<double> none(2, 2);
    none.fill(nan);
    EXPECT_TRUE(std::isnan(none.range()[0]) && std::isnan(none.range()[1]));
    EXPECT_EQ(none.countNaN(), 4);
    EXPECT_EQ(PixelMatrix<int>(2, 2).countNaN(), 0);
    EXPECT_THROW(none.countNaN(PixelMatrix<double>(1, 2)), SizeError);
}

TEST(VoxelMatrix, printNumbersThePlanes) {
    VoxelMatrix<int> volume(1, 1, 2);
    volume(0, 0, 0) = 4;
    volume(0, 0, 1) = 5;
    testing::internal::CaptureStdout();
    volume.print("Title");
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(text.find("Title\n-- Plane 0\n"), 0u);
    const std::size_t second = text.find("-- Plane 1\n");
    ASSERT_NE(second, std::string::npos);
    EXPECT_LT(text.find("4.00"), second);
    EXPECT_GT(text.find("5.00"), second);
}

} // namespace vorlen
