#include "editing/operations/placeslice.h"

#include <cmath>

#include <gtest/gtest.h>

#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "support/documentmaker.h"

namespace vorlen {

namespace {

/// Six registered slices, each with pixels of another size and shape.
class PlaceSliceTest : public ::testing::Test {
protected:
    PlaceSliceTest() {
        addSlices(stack, 6);
        const Registration registrations[] = {{},          {12.5, -3, 20}, {-7, 30.25, 340},
                                              {4, 4, 181}, {0, 9, 0},      {100, 1, 90.5f}};
        for (int i = 0; i < 6; ++i) {
            PixelCalibration calibration;
            calibration.setPixelWidth(1 + 0.25f * float(i));
            calibration.setPixelHeight(2 - 0.125f * float(i));
            stack.getSlice(i).setPixelCalibration(calibration);
            stack.getSlice(i).setRegistration(registrations[i]);
        }
        for (int i = 0; i < 6; ++i)
            places.push_back(placeOf(i));
    }

    /// Where the middle and a point 100 pixels to the right of it lie.
    std::vector<double> placeOf(int i) {
        stack.updateReconstruction();
        const Vector<float> middle = stack.getReconstruction().toWorld(i, 0, 0);
        const Vector<float> right = stack.getReconstruction().toWorld(i, 100, 0);
        return {double(middle[0]), double(middle[1]), double(right[0]), double(right[1])};
    }
    void expectStays(int i) {
        const std::vector<double> now = placeOf(i);
        for (std::size_t k = 0; k < 4; ++k)
            EXPECT_NEAR(now[k], places[std::size_t(i)][k], 0.01) << "slice " << i;
    }
    bool stays(int i) { return std::abs(placeOf(i)[0] - places[std::size_t(i)][0]) < 0.01; }

    VRLStack stack;
    std::vector<std::vector<double>> places;
};

} // namespace

TEST_F(PlaceSliceTest, whatLiesBehindTheLastFollowerStaysInSpace) {
    ASSERT_TRUE(placeSlice(stack, 2, Registration(50, -20, 75), 3));
    EXPECT_EQ(stack.getSlice(2).getRegistration(), Registration(50, -20, 75));
    EXPECT_EQ(stack.getSlice(3).getRegistration(), Registration(4, 4, 181));
    EXPECT_FALSE(stays(2));
    EXPECT_FALSE(stays(3));
    for (const int i : {0, 1, 4, 5})
        expectStays(i);
    EXPECT_EQ(stack.getLastRegisteredSlice(), "s2");
    stack.history()->undo();
    EXPECT_EQ(stack.getLastRegisteredSlice(), "");
    EXPECT_EQ(stack.getSlice(4).getRegistration(), Registration(0, 9, 0));
    EXPECT_FALSE(stack.history()->isUndoable()); // it was one step
}

TEST_F(PlaceSliceTest, lockedSlicesKeepTheirRegistrationAndGoAlong) {
    const std::vector<bool> locked = {false, false, false, true, true, false};
    ASSERT_TRUE(placeSlice(stack, 2, Registration(50, -20, 75), 2, locked));
    EXPECT_EQ(stack.getSlice(3).getRegistration(), Registration(4, 4, 181));
    EXPECT_EQ(stack.getSlice(4).getRegistration(), Registration(0, 9, 0));
    expectStays(5);
    EXPECT_EQ(placeSlice(stack, 3, Registration(), 5, locked).getReason(), "Slice \"s3\" is locked");
}

TEST_F(PlaceSliceTest, refusesWhatThereIsNotAndLeavesNoStepWithoutAChange) {
    EXPECT_FALSE(placeSlice(stack, 6, Registration(), 6));
    EXPECT_FALSE(placeSlice(stack, 2, Registration(), 1));
    EXPECT_FALSE(placeSlice(stack, -1, Registration(), 2));
    EXPECT_FALSE(placeSlice(stack, 2, Registration(std::nan(""), 0, 0), 2));
    EXPECT_THROW(placedRegistrations(stack, 2, Registration(), 6), RangeError);
    EXPECT_TRUE(placeSlice(stack, 2, stack.getSlice(2).getRegistration(), 2));
    EXPECT_FALSE(stack.history()->isUndoable());
    EXPECT_FALSE(stack.isModified());
}

} // namespace vorlen
