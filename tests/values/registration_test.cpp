#include "values/registration.h"

#include <cmath>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

TEST(Registration, isNullUntilOneOfThreeIsSet) {
    EXPECT_TRUE(Registration().isNull());
    EXPECT_FALSE(Registration(1, 0, 0).isNull());
    EXPECT_FALSE(Registration(0, -1, 0).isNull());
    Registration turned;
    turned.setRotationAngle(0.5f);
    EXPECT_FALSE(turned.isNull());
}

TEST(Registration, addsAndSubtractsFieldByField) {
    EXPECT_EQ(Registration(1, 2, 30) + Registration(10, -20, 40), Registration(11, -18, 70));
    EXPECT_EQ(Registration(1, 2, 30) - Registration(10, -20, 10), Registration(-9, 22, 20));
}

TEST(Registration, anglesComeOutWithinOneTurn) {
    EXPECT_EQ((Registration(0, 0, 350) + Registration(0, 0, 20)).getRotationAngle(), 10);
    EXPECT_EQ((Registration(0, 0, 10) - Registration(0, 0, 20)).getRotationAngle(), 350);
    EXPECT_EQ((Registration(0, 0, 180) + Registration(0, 0, 180)).getRotationAngle(), 0);
    EXPECT_LT((Registration(0, 0, 0) - Registration(0, 0, 1e-6f)).getRotationAngle(), 360);
}

TEST(Registration, keepsDecimalsOfPixelsAndAnAngleWithinOneTurn) {
    EXPECT_EQ(Registration(0.25, -1.5, 0) + Registration(0.5, 0.25, 0), Registration(0.75, -1.25, 0));
    EXPECT_FALSE(Registration(0.125, 0, 0).isNull());
    EXPECT_EQ(Registration(0, 0, -7.5f).getRotationAngle(), 352.5f);
    EXPECT_EQ((Registration(0, 0, 700) + Registration(0, 0, 200)).getRotationAngle(), 180);
    Registration turned;
    turned.setRotationAngle(-725);
    EXPECT_EQ(turned.getRotationAngle(), 355);
    for (const float nothing : {-1e-9f, -0.0f, 360.0f, -360.0f, -720.0f}) {
        turned.setRotationAngle(nothing);
        EXPECT_EQ(turned.getRotationAngle(), 0) << nothing;
        EXPECT_FALSE(std::signbit(turned.getRotationAngle())) << nothing;
    }
    EXPECT_TRUE(turned.isFinite());
    EXPECT_FALSE(Registration(0, std::nan(""), 0).isFinite());
    EXPECT_FALSE(Registration(0, 0, INFINITY).isFinite());
}

} // namespace

} // namespace vorlen
