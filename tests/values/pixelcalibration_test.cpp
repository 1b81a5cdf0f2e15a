#include "values/pixelcalibration.h"

#include <gtest/gtest.h>

namespace vorlen {

namespace {

TEST(PixelCalibration, isASquareUnitPixelByDefault) {
    const PixelCalibration calibration;
    EXPECT_EQ(calibration.getPixelWidth(), 1.0f);
    EXPECT_EQ(calibration.getPixelHeight(), 1.0f);
    EXPECT_EQ(calibration.getAspectRatio(), 1.0f);
    EXPECT_TRUE(calibration.isDefaultPixelWidth());
    EXPECT_TRUE(calibration.isDefaultPixelHeight());
    EXPECT_TRUE(calibration.isDefaultAspectRatio());
    EXPECT_EQ(calibration.getLengthUnit().getScale(), 0);
}

TEST(PixelCalibration, aSetterClearsItsOwnDefaultOnly) {
    PixelCalibration calibration;
    calibration.setPixelHeight(1.0f);
    EXPECT_TRUE(calibration.isDefaultPixelWidth());
    EXPECT_FALSE(calibration.isDefaultPixelHeight());
    EXPECT_TRUE(calibration.isDefaultAspectRatio());
}

TEST(PixelCalibration, equalityLooksAtTheThreeNumbersOnly) {
    PixelCalibration a, b;
    b.setPixelWidth(1.0f);
    b.setLengthUnit(LengthUnit(-6));
    EXPECT_EQ(a, b);
    b.setAspectRatio(2.0f);
    EXPECT_FALSE(a == b);
}

TEST(PixelCalibration, diagonalIsPythagorean) {
    PixelCalibration calibration;
    calibration.setPixelWidth(3);
    calibration.setPixelHeight(4);
    EXPECT_FLOAT_EQ(calibration.pixelDiagonal(), 5);
}

// A value of 0 stands for one that is not given.
struct Completion {
    float width, height, aspect;
    float completeWidth, completeHeight, completeAspect;
    bool changes;
};

class PixelCalibrationCompletion : public testing::TestWithParam<Completion> {};

TEST_P(PixelCalibrationCompletion, fillsInWhatFollowsFromTheRest) {
    const Completion& c = GetParam();
    PixelCalibration calibration;
    if (c.width != 0)
        calibration.setPixelWidth(c.width);
    if (c.height != 0)
        calibration.setPixelHeight(c.height);
    if (c.aspect != 0)
        calibration.setAspectRatio(c.aspect);
    EXPECT_EQ(calibration.compute(), c.changes);
    EXPECT_FLOAT_EQ(calibration.getPixelWidth(), c.completeWidth);
    EXPECT_FLOAT_EQ(calibration.getPixelHeight(), c.completeHeight);
    EXPECT_FLOAT_EQ(calibration.getAspectRatio(), c.completeAspect);
    EXPECT_FALSE(calibration.compute()) << "complete already";
}

INSTANTIATE_TEST_SUITE_P(Cases, PixelCalibrationCompletion,
                         testing::Values(Completion{2, 3, 0, 2, 3, 1.5f, true}, Completion{2, 0, 0, 2, 2, 1, true},
                                         Completion{0, 3, 0, 3, 3, 1, true}, Completion{0, 0, 2, 1, 2, 2, true},
                                         Completion{3, 0, 2, 3, 6, 2, true}, Completion{0, 6, 2, 3, 6, 2, true},
                                         Completion{2, 3, 7, 2, 3, 7, false}, Completion{0, 0, 0, 1, 1, 1, false}));

TEST(PixelCalibration, aZeroToDivideByLeavesEverything) {
    PixelCalibration noWidth;
    noWidth.setPixelWidth(0);
    noWidth.setPixelHeight(2);
    EXPECT_FALSE(noWidth.compute());
    EXPECT_EQ(noWidth.getAspectRatio(), 1.0f);
    PixelCalibration noAspect;
    noAspect.setAspectRatio(0);
    noAspect.setPixelHeight(2);
    EXPECT_FALSE(noAspect.compute());
    EXPECT_EQ(noAspect.getPixelWidth(), 1.0f);
}

} // namespace

} // namespace vorlen
