#include "values/registration.h"

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

TEST(Registration, anAngleIsCorrectedByOneTurnOnly) {
    EXPECT_EQ((Registration(0, 0, 700) + Registration(0, 0, 200)).getRotationAngle(), 540);
}

} // namespace

} // namespace vorlen
