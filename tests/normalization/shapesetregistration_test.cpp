#include "normalization/shapesetregistration.h"

#include <gtest/gtest.h>

#include <limits>

#include "normalization/shapemaker.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

template <class T>
void moveAll(ShapeSet<T>& set, const Motion<T>& motion) {
    for (int i = 0; i < set.getSize(); ++i) {
        if (set[i]) {
            move(*set[i], motion);
        }
    }
}

template <class T>
Motion<T> motionOf(const ShapeSetRegistration<T>& registration) {
    return {registration.getRotationMatrix(), registration.getTranslationVector()};
}

} // namespace

TEST(ShapeSetRegistration, leavesASetThatIsItsOwnTargetAlone) {
    const auto set = specimen<double>();
    const std::vector<double> before = coordinatesOf(*(*set)[0]);
    ShapeSetRegistration<double> registration;
    registration.apply(*set, *set);
    EXPECT_EQ(before, coordinatesOf(*(*set)[0]));
    EXPECT_TRUE(registration.getDynamics().empty());
    EXPECT_EQ(0, rotationDefect(registration.getRotationMatrix()));
    EXPECT_EQ(vectorOf<double>({0, 0, 0}), registration.getTranslationVector());
}

// The followers go along, the first vertices of the levels are found again, and the motion told is the motion made.
TEST(ShapeSetRegistration, bringsAMovedAndTurnedSetBackWithItsFollowers) {
    std::mt19937 random(5);
    for (int trial = 0; trial < 20; ++trial) {
        const auto target = specimen<double>(6, 16, true);
        const auto moving = specimen<double>(6, 16, true);
        moveAll(*moving, randomMotion<double>(random, 3, 200));
        for (int k : {0, 2}) {
            auto& mesh = dynamic_cast<QuadMesh<double>&>(*(*moving)[k]);
            turn(mesh, (3 * trial) % 16);
            turn(mesh.getBeginCap(), (3 * trial) % 16);
            turn(mesh.getEndCap(), (3 * trial) % 16);
        }
        const auto points = specimen<double>(); // a follower in its first place
        Vertices<double> follower(dynamic_cast<const Vertices<double>&>(*(*moving)[1]));
        follower.detach();
        ShapeSetRegistration<double> registration;
        registration.apply(*moving, *target);
        ASSERT_TRUE(registration.isConverged());
        EXPECT_LT(registration.getDynamics().size(), 12u);
        EXPECT_LT(registration.getDynamics().back(), 1e-10f);
        EXPECT_LT(greatestDifference(coordinatesOf(*(*points)[1]), coordinatesOf(*(*moving)[1])), 1e-9);
        move(follower, motionOf(registration));
        EXPECT_LT(greatestDifference(coordinatesOf(follower), coordinatesOf(*(*moving)[1])), 1e-9);
        EXPECT_LT(rotationDefect(registration.getRotationMatrix()), 1e-12);
    }
}

TEST(ShapeSetRegistration, endsAtTheLeastDistanceOfUnlikeSetsAndNeverRaisesTheSquaredError) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 10; ++trial) {
        const auto target = specimen<float>();
        const auto moving = specimen<float>();
        for (int k : {0, 2}) {
            jitter(*(*moving)[k], 1.5, random);
        }
        moveAll(*moving, motionOf<float>(0.1 * trial, 0.2, -0.15 * trial, 10, 20, -30));
        ShapeSetRegistration<float> registration;
        registration.apply(*moving, *target);
        const std::vector<float>& dynamics = registration.getDynamics();
        ASSERT_GE(dynamics.size(), 2u);
        EXPECT_LE(dynamics.back(), dynamics.front());
        // Noise of 1.5 along each axis, less the 6 degrees of freedom of 576 coordinates.
        EXPECT_NEAR(1.5 * std::sqrt(3.0), dynamics.back(), 0.25);
        // A second registration finds nothing left to do.
        const std::vector<float> before = coordinatesOf(*(*moving)[0]);
        registration.apply(*moving, *target);
        EXPECT_LT(greatestDifference(before, coordinatesOf(*(*moving)[0])), 2e-5);
    }
}

// Far from the origin the distance of single precision never stands still to the sixth digit.
TEST(ShapeSetRegistration, endsWhereRoundingKeepsTheDistanceMoving) {
    std::mt19937 random(2);
    for (int trial = 0; trial < 10; ++trial) {
        const auto target = specimen<float>();
        const auto moving = specimen<float>();
        for (OwnedSet<float>* set : {target.get(), moving.get()}) {
            moveAll(*set, motionOf<float>(0.3 * (set == moving.get()), 0, 0, 1e5, -3e4, 2e5));
        }
        jitter(*(*moving)[0], 0.02, random);
        ShapeSetRegistration<float> registration;
        registration.apply(*moving, *target);
        EXPECT_TRUE(registration.isConverged());
        EXPECT_LT(registration.getDynamics().size(), 10u);
        EXPECT_LT(registration.getDynamics().back(), 0.1f);
    }
}

TEST(ShapeSetRegistration, refusesSetsWithoutCorrespondingReferencesAndMovesNothing) {
    const auto target = specimen<float>();
    const auto expectRefusal = [&](auto error, std::unique_ptr<OwnedSet<float>> moving) {
        std::vector<float> before;
        for (int i = 0; i < moving->getSize(); ++i) {
            const std::vector<float> c = coordinatesOf(*(*moving)[i]);
            before.insert(before.end(), c.begin(), c.end());
        }
        ShapeSetRegistration<float> registration;
        EXPECT_THROW(registration.apply(*moving, *target), decltype(error));
        std::vector<float> after;
        for (int i = 0; i < moving->getSize(); ++i) {
            const std::vector<float> c = coordinatesOf(*(*moving)[i]);
            after.insert(after.end(), c.begin(), c.end());
        }
        std::sort(before.begin(), before.end()); // a turn of the levels is no motion
        std::sort(after.begin(), after.end());
        EXPECT_EQ(before, after);
    };
    auto followers = std::make_unique<OwnedSet<float>>();
    followers->add(bumpyTube<float>(6, 16, 20), false);
    expectRefusal(UsageError(), std::move(followers));
    expectRefusal(SizeError(), specimen<float>(6, 15));
    expectRefusal(ProgramError(), specimen<float>(6, 16, true));
    auto fewer = std::make_unique<OwnedSet<float>>();
    fewer->add(bumpyTube<float>(6, 16, 20), true);
    expectRefusal(SizeError(), std::move(fewer));
}

} // namespace vorlen
