#include "normalization/cohortwarp.h"

#include <gtest/gtest.h>

#include <cmath>

#include "normalization/fusionreport.h"
#include "numerics/exception.h"
#include "support/madecohort.h"

namespace vorlen {

namespace {

Point3 bent(const Point3& p) {
    return {p[0] + 0.1 * p[1] * p[1], p[1] - 0.05 * p[0], p[2] + 3 + 0.02 * p[0] * p[2]};
}

/// Points in a box of 4, carried by a smooth map, each missed by noise.
ControlPairs madePairs(int n, double noise, std::uint64_t seed = 4) {
    MadeNumbers numbers(seed);
    ControlPairs pairs;
    for (int k = 0; k < n; ++k) {
        const Point3 p = {numbers.within(2), numbers.within(2), numbers.within(2)};
        Point3 q = bent(p);
        for (double& x : q) {
            x += noise * numbers.normal();
        }
        pairs.add(p, q);
    }
    return pairs;
}

double distance(const Point3& a, const Point3& b) {
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

/// Root mean square error at points that the warp wasn't fitted on.
double errorElsewhere(const CohortWarp& warp) {
    double sum = 0;
    const ControlPairs truth = madePairs(200, 0, 99);
    for (std::size_t k = 0; k < truth.from.size(); ++k) {
        sum += std::pow(distance(warp(truth.from[k]), truth.to[k]), 2) / 200;
    }
    return std::sqrt(sum);
}

} // namespace

TEST(CohortWarp, aTipOfOneVertexIsOneControlPoint) {
    ControlPairs pairs = madePairs(60, 0);
    const Point3 tip = {0, 0, 2.5};
    for (int k = 0; k < 20; ++k) {
        pairs.add(tip, {0.1 * k, 0, 3}); // their mean is 0.95
    }
    const auto warp = CohortWarp::spline(pairs, 0);
    EXPECT_EQ(warp->getQuality().controls, 61);
    EXPECT_LT(distance((*warp)(tip), {0.95, 0, 3}), 1e-9);
    EXPECT_LT(distance((*warp)(pairs.from[7]), pairs.to[7]), 1e-9);
    EXPECT_EQ(CohortWarp::polynomial(pairs, 2)->getQuality().controls, 61);
}

// The leave-one-out errors are told without fitting again; here all the warps are fitted.
TEST(CohortWarp, leaveOneOutIsThatOfTheWarpsOfAllOthers) {
    const ControlPairs pairs = madePairs(30, 0.1);
    for (const int method : {0, 1, 2}) {
        const auto fit = [&](const ControlPairs& some) {
            return method == 2 ? CohortWarp::polynomial(some, 2) : CohortWarp::spline(some, 0);
        };
        double sum = 0;
        for (std::size_t left = 0; left < pairs.from.size(); ++left) {
            ControlPairs others;
            for (std::size_t k = 0; k < pairs.from.size(); ++k) {
                if (k != left) {
                    others.add(pairs.from[k], pairs.to[k]);
                }
            }
            sum += std::pow(distance((*fit(others))(pairs.from[left]), pairs.to[left]), 2) / 30;
        }
        EXPECT_NEAR(fit(pairs)->getQuality().leaveOneOut, std::sqrt(sum), 1e-6) << method;
    }
}

TEST(CohortWarp, smoothingIsChosenByTheNoise) {
    const auto exact = CohortWarp::spline(madePairs(120, 0));
    EXPECT_LT(exact->getQuality().smoothing, 0.1);
    EXPECT_LT(exact->getQuality().errorAfter, 0.02);
    const ControlPairs noisy = madePairs(120, 0.3);
    const auto chosen = CohortWarp::spline(noisy), through = CohortWarp::spline(noisy, 0);
    EXPECT_GT(chosen->getQuality().smoothing, 0);
    EXPECT_LT(errorElsewhere(*chosen), 0.7 * errorElsewhere(*through));
    EXPECT_LT(chosen->getQuality().leaveOneOut, through->getQuality().leaveOneOut);
}

// High degrees fit what they are given, and tell that they don't fit the rest.
TEST(CohortWarp, polynomialsOfHighDegreeAreFoundOut) {
    const ControlPairs pairs = madePairs(240, 0.2);
    const auto plain = CohortWarp::polynomial(pairs, 2), wild = CohortWarp::polynomial(pairs, 9);
    EXPECT_LT(wild->getQuality().errorAfter, plain->getQuality().errorAfter);
    EXPECT_GT(wild->getQuality().leaveOneOut, 5 * plain->getQuality().leaveOneOut);
    EXPECT_EQ(plain->foldedShare({-2, -2, -2}, {2, 2, 2}), 0);
    EXPECT_GT(wild->foldedShare({-2, -2, -2}, {2, 2, 2}), 0.05);
    EXPECT_LT(errorElsewhere(*plain), 0.2);
}

TEST(CohortWarp, halfOfAMirroringMapFolds) {
    ControlPairs pairs;
    for (int k = 0; k < 125; ++k) {
        const Point3 p = {k % 5 - 2.0, k / 5 % 5 - 2.0, k / 25 - 2.0};
        pairs.add(p, {p[0] * p[0] / 2, p[1], p[2]});
    }
    EXPECT_NEAR(CohortWarp::polynomial(pairs, 2)->foldedShare({-2, -2, -2}, {2, 2, 2}), 0.5, 1e-9);
    ControlPairs flat;
    for (int k = 0; k < 25; ++k) {
        flat.add({double(k % 5), double(k / 5), 1}, {double(k % 5), double(k / 5), 2});
    }
    EXPECT_THROW(CohortWarp::spline(flat), MathError);
}

TEST(FusionReport, outliersAreFarFromTheOthers) {
    using Flags = std::vector<bool>;
    EXPECT_EQ(FusionReport::outlying({1, 1.1, 0.9, 4, 1.05}), (Flags{false, false, false, true, false}));
    EXPECT_EQ(FusionReport::outlying({1, 1.1, 0.9, 1.3, 1.05}), Flags(5, false));
    EXPECT_EQ(FusionReport::outlying({1, 1, 9}), Flags(3, false)) << "three tell nothing";
    EXPECT_EQ(FusionReport::outlying({1, -1, 1.1, 9, 0.9, 1}), (Flags{false, false, false, true, false, false}));
    FusionReport report;
    report.specimens.resize(4);
    for (SpecimenReport& specimen : report.specimens)
        specimen.pixel = 0.5;
    EXPECT_EQ(report.outlyingResiduals({0.01, 0.011, 0.01, 0.24}), Flags(4, false)) << "what rounding to pixels makes";
    EXPECT_EQ(report.outlyingResiduals({0.01, 0.011, 0.01, 0.26}), (Flags{false, false, false, true}));
    report.specimens[3].pixel = 2; // outlined more coarsely
    EXPECT_EQ(report.outlyingResiduals({0.01, 0.011, 0.01, 0.26}), Flags(4, false));
}

} // namespace vorlen
