#include "reconstruction/sectioninterpolation.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

std::vector<PlanePoint> circleAt(double x, double y, double radius) {
    std::vector<PlanePoint> points;
    constexpr int number = 180;
    points.reserve(number);
    for (int k = 0; k < number; ++k)
        points.push_back({x + radius * std::cos(2 * M_PI * k / number), y + radius * std::sin(2 * M_PI * k / number)});
    return points;
}

SectionParts sectionOf(double height, const std::vector<std::vector<PlanePoint>>& outlines) {
    SectionParts parts(height);
    for (const auto& outline : outlines)
        parts.add(outline);
    parts.build();
    return parts;
}

/// Areas of the outlines, holes below 0, and their middles along X, in ascending order.
std::vector<std::pair<double, double>> measured(const std::vector<std::vector<PlanePoint>>& outlines) {
    std::vector<std::pair<double, double>> found;
    for (const auto& outline : outlines) {
        const SectionRing ring(outline);
        found.emplace_back(ring.area, ring.centroid.x);
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace

TEST(SectionInterpolation, discsMoveAndGrowHolesAndAll) {
    const SectionParts lower = sectionOf(0, {circleAt(0, 0, 20), circleAt(0, 0, 8)});
    const SectionParts upper = sectionOf(1, {circleAt(30, -12, 30), circleAt(30, -12, 12)});
    const SectionInterpolation between(lower, upper, 0.5);
    for (const double share : {0.0, 0.25, 0.5, 1.0}) {
        const auto found = measured(between.outlinesAt(share));
        ASSERT_EQ(found.size(), 2u) << share;
        const double outer = 20 + 10 * share, inner = 8 + 4 * share;
        EXPECT_NEAR(found[0].first, -M_PI * inner * inner, 0.03 * M_PI * inner * inner) << share;
        EXPECT_NEAR(found[1].first, M_PI * outer * outer, 0.01 * M_PI * outer * outer) << share;
        EXPECT_NEAR(found[1].second, 30 * share, 0.3) << share;
    }
}

TEST(SectionInterpolation, aDiscSplitsInTwoOnTheWayAndNothingGivesNothing) {
    const SectionParts trunk = sectionOf(0, {circleAt(0, 0, 30)});
    const SectionParts branches = sectionOf(1, {circleAt(-22, 0, 14), circleAt(22, 0, 14)});
    const SectionInterpolation between(trunk, branches, 0.5);
    EXPECT_EQ(between.outlinesAt(0.1).size(), 1u);
    const auto apart = measured(between.outlinesAt(0.95));
    ASSERT_EQ(apart.size(), 2u);
    EXPECT_NEAR(apart[0].first, apart[1].first, 2);
    EXPECT_NEAR(std::abs(apart[0].second), 22, 1);

    EXPECT_TRUE(SectionInterpolation(trunk, sectionOf(1, {}), 0.5).outlinesAt(0.5).empty());
    // A lattice is not made finer than memory bears.
    const auto coarse = measured(SectionInterpolation(trunk, trunk, 1e-5).outlinesAt(0.5));
    ASSERT_EQ(coarse.size(), 1u);
    EXPECT_NEAR(coarse[0].first, M_PI * 900, 5);
}

} // namespace vorlen
