#include <cmath>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "images/filters/linearinterpolation.h"
#include "images/filters/matrixresize.h"
#include "images/filters/nearestinterpolation.h"
#include "images/filters/resizexform.h"
#include "images/rasters/colormap.h"
#include "images/rasters/image.h"
#include "images/rasters/pixelmatrix.h"
#include "images/volumes/volumeresize.h"
#include "numerics/exception.h"
#include "support/volumes.h"

namespace vorlen {

namespace {

Vector<int> sizes(std::initializer_list<int> values) {
    Vector<int> result(static_cast<unsigned int>(values.size()));
    int i = 0;
    for (const int value : values)
        result[i++] = value;
    return result;
}

template <class T>
PixelMatrix<T> resized(PixelMatrix<T> matrix, int rows, int columns, InterpolationMode mode, bool lowPass = false) {
    MatrixResize<T> resizer;
    resizer.setSize(sizes({rows, columns}));
    resizer.setInterpolationMode(mode);
    resizer.setLowPassFilteringEnabled(lowPass);
    resizer.apply(matrix);
    return matrix;
}

template <class T>
VoxelMatrix<T> resized(VoxelMatrix<T> volume, const Vector<int>& size, InterpolationMode mode, bool lowPass) {
    VolumeResize<T> resizer;
    resizer.setSize(size);
    resizer.setInterpolationMode(mode);
    resizer.setLowPassFilteringEnabled(lowPass);
    resizer.apply(volume);
    return volume;
}

template <class T>
class ResizeOf : public testing::Test {};

using RealTypes = testing::Types<float, double, long double>;
TYPED_TEST_SUITE(ResizeOf, RealTypes);

Image image8(int width, int height) {
    Image image(width, height, 8);
    for (int i = 0; i < height; ++i)
        for (int j = 0; j < width; ++j)
            image.getPixels()[i][j] = static_cast<unsigned char>(10 * i + j);
    return image;
}

} // namespace

TYPED_TEST(ResizeOf, matrixEnlargedLinearlyKeepsItsCornersAndMeansBetweenThem) {
    const auto result = resized(matrixOf<TypeParam>({{0, 4}, {8, 20}}), 3, 3, LinearInterpolationMode);
    EXPECT_TRUE(result == matrixOf<TypeParam>({{0, 2, 4}, {4, 8, 12}, {8, 14, 20}}));
}

TYPED_TEST(ResizeOf, matrixEnlargedByTheNearestTakesThePositionRoundedDown) {
    // Columns at j * 2 / 4: 0 0.5 1 1.5 2; rows at i * 1 / 2: 0 0.5 1.
    const auto result = resized(matrixOf<TypeParam>({{1, 2, 3}, {4, 5, 6}}), 3, 5, NearestInterpolationMode);
    EXPECT_TRUE(result == matrixOf<TypeParam>({{1, 1, 2, 2, 3}, {1, 1, 2, 2, 3}, {4, 4, 5, 5, 6}}));
}

TYPED_TEST(ResizeOf, matrixReducedReadsAtOldOverNew) {
    const auto row = matrixOf<TypeParam>({{0, 10, 20, 30, 40}});
    EXPECT_TRUE(resized(row, 1, 2, NearestInterpolationMode) == matrixOf<TypeParam>({{0, 20}}));
    EXPECT_TRUE(resized(row, 1, 2, LinearInterpolationMode) == matrixOf<TypeParam>({{0, 25}}));
    EXPECT_TRUE(resized(row, 1, 1, LinearInterpolationMode) == matrixOf<TypeParam>({{0}}));
}

TYPED_TEST(ResizeOf, matrixReducedThroughTheLowPassGivesMeans) {
    // Ratio 2.5 is s = 2: windows of 5, border elements stand for themselves; one row times 5 over 5.
    const auto row = matrixOf<TypeParam>({{0, 10, 20, 30, 50}});
    const auto result = resized(row, 1, 2, NearestInterpolationMode, true);
    EXPECT_EQ(result[0][0], TypeParam(0));
    EXPECT_NEAR(static_cast<double>(result[0][1]), 22.0, 1e-5); // (0 + 10 + 20 + 30 + 50) / 5
}

TYPED_TEST(ResizeOf, matrixThatGrowsAndShrinksDoesBoth) {
    const auto result = resized(matrixOf<TypeParam>({{0, 1, 2, 3}, {10, 11, 12, 13}}), 3, 2, LinearInterpolationMode);
    EXPECT_TRUE(result == matrixOf<TypeParam>({{0, 2}, {5, 7}, {10, 12}}));
}

TEST(MatrixResize, repeatsASingleElementAndDoesNotReadWhatIsNotThere) {
    PixelMatrix<double> one(1, 1);
    one[0][0] = 6.0;
    const PixelMatrix<double> result = resized(one, 3, 4, LinearInterpolationMode);
    EXPECT_EQ(result.range()[0], 6.0);
    EXPECT_EQ(result.range()[1], 6.0);
    const double infinity = std::numeric_limits<double>::infinity();
    const PixelMatrix<double> edge = resized(matrixOf<double>({{1.0, infinity}}), 1, 3, LinearInterpolationMode);
    EXPECT_EQ(edge[0][0], 1.0); // 0 times infinity must not come in
}

TEST(MatrixResize, refusesNothingToMakeOrNothingToStartFrom) {
    const PixelMatrix<float> some(2, 2);
    EXPECT_THROW(resized(some, 0, 2, NearestInterpolationMode), SizeError);
    EXPECT_THROW(resized(some, 3, -1, NearestInterpolationMode), SizeError);
    EXPECT_THROW(resized(PixelMatrix<float>(0, 2), 2, 2, NearestInterpolationMode), SizeError);
    EXPECT_EQ(resized(PixelMatrix<float>(0, 2), 0, 2, NearestInterpolationMode).getSize2(), 2);
    MatrixResize<float> resizer;
    EXPECT_THROW(resizer.setSize(sizes({1, 2, 3})), SizeError);
    EXPECT_FALSE(resizer.isLowPassFilteringEnabled());
    EXPECT_TRUE(VolumeResize<float>().isLowPassFilteringEnabled());
}

TEST(MatrixResize, halvesBlocksWithATruncatedMeanAndDropsTheOddLine) {
    PixelMatrix<unsigned char> matrix =
        matrixOf<unsigned char>({{1, 2, 200, 255, 9}, {3, 5, 255, 255, 9}, {7, 7, 7, 7, 7}});
    MatrixResize<float>().halve(matrix);
    EXPECT_TRUE(matrix == matrixOf<unsigned char>({{2, 241}})); // 11 / 4, 965 / 4
}

TEST(MatrixResize, cancelledHalvingStopsTheAveraging) {
    PixelMatrix<unsigned char> matrix = matrixOf<unsigned char>({{10, 20}, {30, 40}});
    MatrixResize<float> resizer;
    resizer.cancel();
    resizer.halve(matrix);
    EXPECT_TRUE(matrix == matrixOf<unsigned char>({{10}}));
}

TYPED_TEST(ResizeOf, volumeEnlargedReadsAtOldOverNewAndKeepsTheLastElement) {
    VoxelMatrix<TypeParam> line(1, 2, 1);
    line(0, 0, 0) = 0;
    line(0, 1, 0) = 8;
    const auto linear = resized(line, sizes({1, 4, 1}), LinearInterpolationMode, false);
    const TypeParam expected[4] = {0, 4, 8, 8}; // positions 0 0.5 1, and the last one
    for (int j = 0; j < 4; ++j)
        EXPECT_EQ(linear(0, j, 0), expected[j]);
    const auto nearest = resized(line, sizes({1, 5, 1}), NearestInterpolationMode, false);
    const TypeParam rounded[5] = {0, 0, 0, 8, 8}; // 0 0.4 0.8 1.2 1.6
    for (int j = 0; j < 5; ++j)
        EXPECT_EQ(nearest(0, j, 0), rounded[j]);
}

// A function linear in each index is reproduced exactly wherever the position lies inside.
TYPED_TEST(ResizeOf, volumeResizesEveryAxisAndItsVoxels) {
    auto volume = volumeOf<TypeParam>(4, 3, 2, [](int i, int j, int k) { return 64 * i + 8 * j + k; });
    VoxelCalibration calibration;
    calibration.setVoxelDepth(3.0f);
    volume.setVoxelCalibration(calibration);
    const auto enlarged = resized(volume, sizes({8, 6, 4}), LinearInterpolationMode, true);
    EXPECT_EQ(enlarged(3, 3, 1), TypeParam(64 * 1.5 + 8 * 1.5 + 0.5));
    EXPECT_EQ(enlarged(7, 5, 3), volume(3, 2, 1));
    EXPECT_EQ(enlarged.getVoxelCalibration().getVoxelDepth(), 1.5f);
    EXPECT_EQ(enlarged.getVoxelCalibration().getVoxelHeight(), 0.5f);
    const auto reduced = resized(volume, sizes({2, 3, 1}), NearestInterpolationMode, false);
    EXPECT_EQ(reduced.getSize(), sizes({2, 3, 1}));
    EXPECT_EQ(reduced(1, 2, 0), volume(2, 2, 0));
    EXPECT_EQ(reduced.getVoxelCalibration().getVoxelDepth(), 6.0f);
    EXPECT_EQ(reduced.getVoxelCalibration().getVoxelWidth(), 1.0f);
    const auto mixed = resized(volume, sizes({2, 3, 4}), LinearInterpolationMode, false);
    EXPECT_EQ(mixed(1, 2, 1), TypeParam(64 * 2 + 8 * 2 + 0.5));
    EXPECT_EQ(mixed.getVoxelCalibration().getVoxelHeight(), 2.0f);
    EXPECT_EQ(mixed.getVoxelCalibration().getVoxelDepth(), 1.5f);
}

TEST(VolumeResize, reducesThroughTheLowPassAndKeepsAConstant) {
    VoxelMatrix<double> volume(9, 8, 7);
    volume.fill(3.0);
    const auto reduced = resized(volume, sizes({3, 2, 7}), LinearInterpolationMode, true);
    EXPECT_NEAR(reduced.range()[0], 3.0, 1e-12);
    EXPECT_NEAR(reduced.range()[1], 3.0, 1e-12);
    EXPECT_THROW(resized(volume, sizes({3, 0, 7}), LinearInterpolationMode, true), SizeError);
    EXPECT_THROW(resized(VoxelMatrix<double>(), sizes({3, 1, 7}), LinearInterpolationMode, true), SizeError);
}

TEST(Interpolation, nearestRoundsHalfUpAndClamps) {
    const PixelMatrix<float> matrix = matrixOf<float>({{1, 2, 3}, {4, 5, 6}});
    const NearestInterpolation<float> nearest;
    EXPECT_EQ(nearest.eval(0.5f, 1.49f, matrix), 5.0f);
    EXPECT_EQ(nearest.eval(-5.0f, 1000.0f, matrix), 3.0f);
    EXPECT_EQ(nearest.eval(1e30f, -1e30f, matrix), 4.0f);
    EXPECT_EQ(nearest.eval(std::nanf(""), 2.0f, matrix), 3.0f);
    EXPECT_THROW(nearest.eval(0.0f, 0.0f, PixelMatrix<float>()), SizeError);
    const VoxelMatrix<float> volume = numberedVolume<float>(2, 3, 4);
    EXPECT_EQ(nearest.eval(0.6f, 1.6f, 2.6f, volume), 312.0f);
    EXPECT_THROW(nearest.eval(0.0f, 0.0f, 0.0f, VoxelMatrix<float>()), SizeError);
}

TEST(Interpolation, linearIsExactOnALinearFunctionAndNearestWhereTheCellIsNotComplete) {
    const VoxelMatrix<double> volume = numberedVolume<double>(3, 3, 3);
    const LinearInterpolation<double> linear;
    EXPECT_DOUBLE_EQ(linear.eval(0.25f, 1.5f, volume[0]), 4.0);
    EXPECT_DOUBLE_EQ(linear.eval(0.25f, 1.5f, 0.5f, volume), 54.0);
    EXPECT_EQ(linear.eval(2.0f, 0.4f, volume[0]), 20.0);
    EXPECT_EQ(linear.eval(0.4f, 2.2f, volume[0]), 2.0);
    EXPECT_EQ(linear.eval(-0.25f, 0.5f, volume[0]), 1.0);
    EXPECT_EQ(linear.eval(0.25f, 0.25f, 2.0f, volume), 200.0);
    EXPECT_EQ(linear.eval(std::nanf(""), 0.6f, volume[0]), 1.0);
    Vector<float> position(3);
    position[0] = 0.25f;
    position[1] = 1.5f;
    position[2] = 0.5f;
    EXPECT_DOUBLE_EQ(linear.eval(position, volume), 54.0);
    EXPECT_DOUBLE_EQ(linear.eval(position, volume[0]), 4.0);
}

TEST(ResizeXForm, fitsIntoABoxWithTheAspectKept) {
    ResizeXForm resizer(NearestInterpolationMode);
    resizer.setSize(40, 40);
    int width = 100, height = 50;
    resizer.convertSize(width, height);
    EXPECT_EQ(width, 40);
    EXPECT_EQ(height, 40);
    resizer.setAspectFriendly(true);
    width = 100, height = 50;
    resizer.convertSize(width, height);
    EXPECT_EQ(width, 40);
    EXPECT_EQ(height, 20);
    width = 30, height = 60;
    resizer.convertSize(width, height);
    EXPECT_EQ(width, 20);
    EXPECT_EQ(height, 40);
    width = 1000, height = 1;
    resizer.convertSize(width, height);
    EXPECT_EQ(width, 40);
    EXPECT_EQ(height, 1);
    EXPECT_THROW(resizer.setSize(-1, 3), SizeError);
}

TEST(ResizeXForm, picksWholePixelsOfEveryDepth) {
    for (const int depth : {8, 16, 24, 32}) {
        Image source(4, 3, depth);
        for (std::size_t b = 0; b < source.dataLength(); ++b)
            source.getData()[b] = static_cast<unsigned char>(b + 1);
        ResizeXForm resizer(NearestInterpolationMode);
        resizer.setSize(3, 5);
        Image target;
        resizer.apply(target, source);
        ASSERT_EQ(target.getWidth(), 3);
        ASSERT_EQ(target.getHeight(), 5);
        ASSERT_EQ(target.getDepth(), depth);
        const int rows[5] = {0, 0, 1, 1, 2}, columns[3] = {0, 1, 2}; // 3 i / 5 and 4 j / 3, rounded down
        const int bytes = source.bytesPerPixel();
        for (int i = 0; i < 5; ++i)
            for (int j = 0; j < 3; ++j)
                for (int b = 0; b < bytes; ++b)
                    ASSERT_EQ(target.getPixels()[i][j * bytes + b],
                              source.getPixels()[rows[i]][columns[j] * bytes + b]);
        resizer.apply(source);
        EXPECT_EQ(source.getHeight(), 5);
        EXPECT_TRUE(std::equal(target.getData(), target.getData() + target.dataLength(), source.getData()));
    }
}

TEST(ResizeXForm, pixelsOfAnImageOfAnotherSizeMeasureWhatTheyShow) {
    PixelCalibration calibration;
    calibration.setLengthUnit(LengthUnit(-6));
    calibration.setPixelWidth(0.5f); // and so high
    calibration.compute();
    Image image = image8(5, 4), resized;
    image.setPixelCalibration(calibration);
    const auto expectPixels = [&](float width, float height) {
        const PixelCalibration& now = resized.getHeader().getPixelCalibration();
        EXPECT_FLOAT_EQ(now.getPixelWidth(), width);
        EXPECT_FLOAT_EQ(now.getPixelHeight(), height);
        EXPECT_FLOAT_EQ(now.getAspectRatio(), height / width);
        EXPECT_EQ(now.getLengthUnit().getScale(), -6);
    };
    ResizeXForm resizer(NearestInterpolationMode);
    resizer.setSize(10, 2);
    resizer.apply(resized, image);
    expectPixels(0.25f, 1);
    resizer.halve(resized, image); // without the last column
    expectPixels(1, 1);
    resizer.setSize(5, 4);
    resizer.apply(resized, image);
    expectPixels(0.5f, 0.5f);
    resizer.setSize(1, 1);
    resizer.apply(image);
    resized.swap(image);
    expectPixels(2.5f, 2);
    Image unknown = image8(4, 4); // what nobody has told stays untold
    resizer.apply(unknown);
    EXPECT_TRUE(unknown.getHeader().getPixelCalibration().isDefaultPixelWidth());
    EXPECT_EQ(unknown.getHeader().getPixelCalibration().getPixelWidth(), 1.0f);
}

TEST(ResizeXForm, takesTheColormapOverAndDropsThatOfTheTarget) {
    Image indexed = image8(4, 4), plain = image8(4, 4), target = image8(2, 2);
    indexed.setGrayscale(100);
    ResizeXForm resizer(NearestInterpolationMode);
    resizer.setSize(2, 2);
    resizer.apply(target, indexed);
    ASSERT_TRUE(target.isIndexed());
    EXPECT_EQ(target.getColormap()->getSize(), 100);
    EXPECT_EQ(target.getPixels()[1][1], 22);
    resizer.apply(target, plain);
    EXPECT_FALSE(target.isIndexed());
}

TEST(ResizeXForm, leavesAnImageOfTheSameSizeAndAnyImageInLinearMode) {
    Image image = image8(4, 3);
    const unsigned char* const data = image.getData();
    ResizeXForm resizer(NearestInterpolationMode);
    resizer.setSize(4, 3);
    resizer.apply(image);
    EXPECT_EQ(image.getData(), data);
    EXPECT_EQ(image.getPixels()[2][3], 23);
    ResizeXForm linear(LinearInterpolationMode);
    linear.setSize(2, 2);
    linear.apply(image);
    EXPECT_EQ(image.getWidth(), 4);
    Image empty;
    EXPECT_THROW(resizer.apply(empty, Image(0, 0, 8)), SizeError);
}

TEST(ResizeXForm, halvesEveryChannelAndExpandsAColormapThatIsNotTheIdentity) {
    Image colour(5, 2, 24);
    for (std::size_t b = 0; b < colour.dataLength(); ++b)
        colour.getData()[b] = static_cast<unsigned char>(7 * b);
    Image target;
    ResizeXForm resizer(NearestInterpolationMode);
    resizer.halve(target, colour);
    ASSERT_EQ(target.getWidth(), 2);
    ASSERT_EQ(target.getHeight(), 1);
    for (int j = 0; j < 2; ++j)
        for (int c = 0; c < 3; ++c) {
            const auto at = [&](int i, int jj) { return int(colour.getPixels()[i][3 * jj + c]); };
            EXPECT_EQ(target.getPixels()[0][3 * j + c],
                      (at(0, 2 * j) + at(0, 2 * j + 1) + at(1, 2 * j) + at(1, 2 * j + 1)) / 4);
        }
    Image gray = image8(4, 2);
    resizer.halve(target, gray);
    EXPECT_EQ(target.getDepth(), 8);
    EXPECT_EQ(target.getPixels()[0][1], (2 + 3 + 12 + 13) / 4);
    gray.setGrayscale(256);
    resizer.halve(target, gray);
    EXPECT_EQ(target.getDepth(), 8);
    gray.setGrayscale(20); // a ramp in steps of 13.4
    resizer.halve(target, gray);
    EXPECT_EQ(target.getDepth(), 24);
    Image deep(5, 2, 16);
    for (std::size_t k = 0; k < 10; ++k) {
        const auto word = static_cast<unsigned short>(6000 * k);
        std::memcpy(deep.getData() + 2 * k, &word, 2);
    }
    resizer.halve(target, deep);
    ASSERT_EQ(target.getDepth(), 16);
    EXPECT_EQ(PixelMatrix<int>(target)[0][1], 6000 * (2 + 3 + 7 + 8) / 4);
    Image real;
    real.initReal(2, 2);
    for (int k = 0; k < 4; ++k)
        real.realRow(0)[k] = -0.5f * float(k);
    resizer.halve(target, real);
    ASSERT_TRUE(target.isReal());
    EXPECT_EQ(target.realRow(0)[0], -0.75f);
}

} // namespace vorlen
