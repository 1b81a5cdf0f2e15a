#include <cmath>

#include <gtest/gtest.h>

#include "truth/solids.h"

namespace vorlen {

namespace {

void expectBounds(const Solid& solid, const Drawing& drawing) {
    const bool isDecimal = drawing.vertices == DrawnVertices::Decimals;
    for (const Truth& truth : measuredAndTrue(solid, drawing)) {
        // On whole pixels chords are shorter than arcs, and steps of pixels longer than the line.
        const double bound = truth.measure == "volume"                                 ? 0.005
                             : truth.measure == "distance of the barycentre"           ? 0.0005
                             : truth.measure == "length of the outlines" && !isDecimal ? 0.02
                                                                                       : 0.01;
        EXPECT_LT(std::fabs(truth.error()), bound)
            << solid.name << ", " << truth.measure << " by " << truth.estimator << ", " << drawing.sections
            << " sections, pixels 1 to " << drawing.aspect << (isDecimal ? ", decimal" : "");
    }
}

} // namespace

// What a user gets from outlines on whole and on decimal pixels, against bodies of known measures: 50 sections, and
// pixels that are not square on a turned body.
TEST(Truth, measuresHoldForBodiesOfAnyShape) {
    for (const Solid& solid : knownSolids()) {
        expectBounds(solid, {});
        expectBounds(solid, {50, 0.002, 1.5, 0.5});
        expectBounds(solid, {50, 0.002, 1, 0, DrawnVertices::Decimals});
        // One of its sections has two limbs that touch in a point.
        if (solid.name == "Y-branch")
            expectBounds(solid, {100, 0.002, 1, 0, DrawnVertices::Decimals});
    }
}

// Twice as many sections leave half the error at most, but for what the chords of the outlines cut off.
TEST(Truth, errorsFallAsTheSpacingDoes) {
    constexpr DrawnVertices decimals = DrawnVertices::Decimals;
    for (const Solid& solid : knownSolids()) {
        const auto coarse = measuredAndTrue(solid, {16, 0.002, 1, 0, decimals});
        const auto fine = measuredAndTrue(solid, {32, 0.002, 1, 0, decimals});
        for (const std::size_t k : {std::size_t(0), std::size_t(2)})
            EXPECT_LT(std::fabs(fine[k].error()), std::fabs(coarse[k].error()) / 2 + 0.002)
                << solid.name << ", " << fine[k].measure;
    }
}

} // namespace vorlen
