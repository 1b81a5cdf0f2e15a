#include "registration/rigidmotion.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

constexpr double degree = 3.14159265358979323846 / 180;

std::vector<PointPair> pairsMovedBy(const RigidMotion& motion, const std::vector<PlanePoint>& places) {
    std::vector<PointPair> pairs;
    for (const PlanePoint& place : places)
        pairs.push_back({place, motion.apply(place)});
    return pairs;
}

// By hand: a quarter turn takes (1, 0) to (0, 1), as y points down.
TEST(RigidMotion, turnsThenMovesAndChains) {
    const RigidMotion motion{90 * degree, 10, 20};
    const PlanePoint point = motion.apply({1, 0});
    EXPECT_NEAR(point.x, 10, 1e-12);
    EXPECT_NEAR(point.y, 21, 1e-12);
    const RigidMotion other{-30 * degree, 3, -4};
    for (const PlanePoint& place : {PlanePoint{0, 0}, {5, -7}}) {
        const PlanePoint chained = (motion * other).apply(place), direct = motion.apply(other.apply(place));
        EXPECT_NEAR(std::hypot(chained.x - direct.x, chained.y - direct.y), 0, 1e-12);
        const PlanePoint back = motion.inverse().apply(motion.apply(place));
        EXPECT_NEAR(std::hypot(back.x - place.x, back.y - place.y), 0, 1e-12);
    }
    EXPECT_NEAR(meanDistance({}, {0, 3, 4}, 100, 50), 5, 1e-12);
}

// Shifts are counted in the slice's own pixels, which need not be square.
TEST(RigidMotion, isWhatARegistrationSaysInPixels) {
    const Registration registration(15, -2.5, 350);
    const RigidMotion motion = motionOf(registration, 0.5, 2);
    EXPECT_DOUBLE_EQ(motion.x, 7.5);
    EXPECT_DOUBLE_EQ(motion.y, -5);
    EXPECT_EQ(registrationOf(motion, 0.5, 2), registration);
    EXPECT_EQ(registrationOf({-1e-9, 1e-9, -1e-9}, 1, 1), Registration());
    EXPECT_EQ(registrationOf(motionOf({1, 2, 3}, 0, std::nan("")), -1, INFINITY), Registration(1, 2, 3));
}

TEST(RigidMotion, theLeastSquaresFitFindsAKnownMotionAndTheMeanOfDisagreeingOnes) {
    const RigidMotion known{25 * degree, -3, 8};
    const RigidMotion found = fitRigid(pairsMovedBy(known, {{0, 0}, {10, 0}, {3, 7}}));
    EXPECT_NEAR(meanDistance(known, found, 100, 100), 0, 1e-9);
    EXPECT_NEAR(fitRigid({{{1, 1}, {3, 1}}, {{1, 1}, {5, 1}}}).x, 3, 1e-12); // of one position: no turn
    EXPECT_NEAR(fitRigid({{{1, 1}, {3, 1}}, {{1, 1}, {5, 1}}}, {3, 1}).x, 2.5, 1e-12);
    EXPECT_EQ(fitRigid({}).x, 0);
}

TEST(RigidMotion, landmarksAreFittedWithoutTheOneThatIsBad) {
    const RigidMotion known{-40 * degree, 120, 35};
    for (const std::size_t n : {3u, 4u, 7u}) {
        const std::vector<PlanePoint> all = {{0, 0}, {100, 10}, {-50, 80}, {60, -70}, {-90, -20}, {30, 40}, {80, 90}};
        std::vector<PointPair> pairs =
            pairsMovedBy(known, std::vector<PlanePoint>(all.begin(), all.begin() + std::ptrdiff_t(n)));
        for (std::size_t i = 0; i < n; ++i) // clicks are never exact
            pairs[i].target.x += i % 2 == 0 ? 0.4 : -0.4;
        const LandmarkFit good = fitLandmarks(pairs, 3);
        EXPECT_EQ(std::count(good.used.begin(), good.used.end(), true), std::ptrdiff_t(n));
        EXPECT_LT(meanDistance(good.motion, known, 200, 200), 1) << n;
        pairs[1].target.y += 60;
        const LandmarkFit fit = fitLandmarks(pairs, 3);
        ASSERT_EQ(fit.residuals.size(), n);
        for (std::size_t i = 0; i < n; ++i)
            EXPECT_EQ(fit.used[i], i != 1) << n;
        EXPECT_NEAR(fit.residuals[1], 60, 3) << n;
        EXPECT_LT(fit.rms, 0.5) << n;
        EXPECT_LT(meanDistance(fit.motion, known, 200, 200), 2) << n;
    }
    EXPECT_TRUE(fitLandmarks({}, 1).residuals.empty());
    EXPECT_NEAR(fitLandmarks({{{1, 2}, {4, 6}}}, 1).motion.y, 4, 1e-12);
}

} // namespace

} // namespace vorlen
