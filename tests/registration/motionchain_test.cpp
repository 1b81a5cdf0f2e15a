#include "registration/motionchain.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr double size = 200;

/// Sections that lie anyhow: where each would have to go for the stack to be aligned.
std::vector<RigidMotion> truePlaces(int n) {
    std::mt19937 generator(11);
    std::uniform_real_distribution<double> some(-1, 1);
    std::vector<RigidMotion> places(1);
    for (int i = 1; i < n; ++i)
        places.push_back({3 * some(generator), 40 * some(generator), 40 * some(generator)});
    return places;
}

RigidMotion between(const std::vector<RigidMotion>& places, int target, int source) {
    return places[std::size_t(target)].inverse() * places[std::size_t(source)];
}

double farthest(const std::vector<RigidMotion>& places, const std::vector<RigidMotion>& truth) {
    double most = 0;
    for (std::size_t i = 0; i < places.size(); ++i)
        most = std::max(most, meanDistance(places[i], truth[i], size, size));
    return most;
}

TEST(MotionChain, findsThePlacesFromPairsAndOutvotesBadOnes) {
    const int n = 40;
    const std::vector<RigidMotion> truth = truePlaces(n);
    MotionChain chain(std::vector<RigidMotion>(std::size_t(n)), size);
    for (int i = 1; i < n; ++i)
        for (int d = 1; d <= 3 && d <= i; ++d) {
            const bool bad = (i == 12 && d == 1) || (i == 30 && d == 3); // off by 150 and by a half turn
            const RigidMotion off = i == 12 ? RigidMotion{0, 150, 0} : RigidMotion{3.1, 0, 0};
            chain.add({i - d, i, bad ? off * between(truth, i - d, i) : between(truth, i - d, i), 1.0 / d});
        }
    chain.solve();
    EXPECT_LT(farthest(chain.places(), truth), 0.05);
    EXPECT_NEAR(chain.disagreement(0), 0, 0.01);
}

// Errors of single steps, at random, would add up to the root of their number: here they don't.
TEST(MotionChain, pairsOverSeveralStepsHoldTheDriftDown) {
    const int n = 60;
    const std::vector<RigidMotion> truth(static_cast<std::size_t>(n));
    double drift[2] = {}; // of single steps, and of pairs over up to three
    for (unsigned int seed = 1; seed <= 10; ++seed)
        for (const int reach : {1, 3}) {
            std::mt19937 generator(seed);
            std::normal_distribution<double> noise(0, 1);
            MotionChain chain(truth, size);
            for (int i = 1; i < n; ++i)
                for (int d = 1; d <= 3 && d <= i; ++d) {
                    const RigidMotion measured{noise(generator) * 1e-3, noise(generator), noise(generator)};
                    if (d <= reach)
                        chain.add({i - d, i, measured, 1});
                }
            chain.solve();
            drift[reach / 3] += meanDistance(chain.places().back(), {}, size, size);
        }
    EXPECT_LT(drift[1], 0.6 * drift[0]);
}

// A round spot 60 off the middle is turned by anything about itself; the pair that knows better is less sure of shifts.
TEST(MotionChain, anglesFollowPairsThatTellThemAndSpotsStayWhereTheyAre) {
    const PlanePoint spot{60, 20};
    RigidMotion about{0.7, 0, 0};
    const PlanePoint turned = about.apply(spot);
    about.x = spot.x - turned.x;
    about.y = spot.y - turned.y;
    MotionChain chain(std::vector<RigidMotion>(3), size);
    chain.add({0, 1, about, 1, 1e-4, spot});
    chain.add({1, 2, about.inverse(), 1, 1e-4, spot});
    chain.add({0, 1, {0, 0.4, 0}, 0.1});
    chain.add({1, 2, {0, -0.4, 0}, 0.1});
    chain.solve();
    for (const int i : {1, 2}) {
        const RigidMotion& place = chain.places()[std::size_t(i)];
        EXPECT_NEAR(place.angle, 0, 2e-3) << i;
        const PlanePoint now = place.apply(spot);
        EXPECT_NEAR(std::hypot(now.x - spot.x, now.y - spot.y), 0, 0.1) << i;
    }
}

TEST(MotionChain, keptStepsGoWithTheSectionBefore) {
    const std::vector<RigidMotion> truth = truePlaces(6);
    std::vector<RigidMotion> before(6);
    before[3] = {0.1, 5, 6};
    before[4] = {0.2, 1, 2};
    MotionChain chain(before, size);
    chain.keepStep(3);
    for (const auto& [target, source] : {std::pair(0, 1), {1, 2}, {2, 5}})
        chain.add({target, source, between(truth, target, source), 1});
    chain.add({2, 3, {0.5, 9, 9}, 1}); // has no say: the step is kept
    chain.solve();
    const std::vector<RigidMotion>& places = chain.places();
    for (const int i : {0, 1, 2, 5})
        EXPECT_LT(meanDistance(places[std::size_t(i)], truth[std::size_t(i)], size, size), 1e-6) << i;
    // 3 is told to, and with 4 nothing is known to agree.
    for (const int i : {3, 4})
        EXPECT_LT(meanDistance(between(places, i - 1, i), between(before, i - 1, i), size, size), 1e-6) << i;
    EXPECT_THROW(chain.add({0, 6, {}, 1}), RangeError);
    EXPECT_THROW(chain.add({2, 2, {}, 1}), RangeError);
}

} // namespace

} // namespace vorlen
