#include "reconstruction/spaceplace.h"

#include <gtest/gtest.h>

#include "support/documentmaker.h"

namespace vorlen {

/// Three slices 10 apart, of pixels of 2 x 4, the second shifted by 3 columns and 5 rows and the third turned by 90
/// degrees.
TEST(SpacePlaceTest, leadsFromPixelsToSpaceAndBack) {
    Stack stack;
    stack.setDefaultSliceSpacing(10);
    addSlices(stack, 3);
    PixelCalibration calibration;
    calibration.setPixelWidth(2);
    calibration.setPixelHeight(4);
    for (int i = 0; i < 3; ++i)
        stack.getSlice(i).setPixelCalibration(calibration);
    stack.getSlice(1).setRegistration(Registration(3, 5, 0));
    stack.getSlice(2).setRegistration(Registration(0, 0, 90));

    // Slices without an image are seen from their first pixel.
    EXPECT_EQ(spacePlaceOf(stack, stack.getSlice(0), {7, 1}), (SpacePlace{14, -4, 0, 0}));
    EXPECT_EQ(spacePlaceOf(stack, stack.getSlice(1), {7, 1}), (SpacePlace{20, -24, 10, 1}));
    for (int i = 0; i < 3; ++i) {
        const auto place = spacePlaceOf(stack, stack.getSlice(i), {7.25, 1.5});
        ASSERT_TRUE(place);
        const auto pixel = pixelUnder(stack, stack.getSlice(i), *place);
        ASSERT_TRUE(pixel);
        EXPECT_NEAR(pixel->x, 7.25, 1e-9);
        EXPECT_NEAR(pixel->y, 1.5, 1e-9);
    }
    // From one slice to another: back by the shift.
    const auto pixel = pixelUnder(stack, stack.getSlice(1), {14, -4, 0});
    ASSERT_TRUE(pixel);
    EXPECT_NEAR(pixel->x, 4, 1e-9);
    EXPECT_NEAR(pixel->y, -4, 1e-9);

    EXPECT_EQ(nearestSlice(stack, {0, 0, 14.9}), 1);
    EXPECT_EQ(nearestSlice(stack, {0, 0, 15}), 1); // the first of two
    EXPECT_EQ(nearestSlice(stack, {0, 0, 1e9}), 2);
    EXPECT_EQ(nearestSlice(Stack(), {}), -1);
    EXPECT_EQ(nearestSlice(stack, {0, 0, 15, 2}), 2);
    EXPECT_EQ(nearestSlice(stack, {0, 0, 14, 2}), 1); // others have come between
    stack.setDefaultSliceSpacing(0);
    EXPECT_EQ(nearestSlice(stack, {0, 0, 0, 2}), 2);
    EXPECT_FALSE(spacePlaceOf(stack, StackSlice(), {0, 0}));
    EXPECT_FALSE(pixelUnder(stack, StackSlice(), {}));
}

} // namespace vorlen
