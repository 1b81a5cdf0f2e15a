#include <cmath>

#include <gtest/gtest.h>

#include "truth/solids.h"

namespace vorlen {

// What a user gets from outlines on whole and on decimal pixels, against bodies of known measures: 50 sections, pixels
// that are not square on a turned body, and sections so close that bodies part on one of them in a single point.
TEST(Truth, measuresHoldForBodiesOfAnyShape) {
    for (const Solid& solid : knownSolids())
        for (const Drawing& drawing : {Drawing{}, Drawing{50, 0.002, 1, 0, DrawnVertices::Decimals},
                                       Drawing{50, 0.002, 1.5, 0.5}, Drawing{100, 0.002, 1, 0, DrawnVertices::Decimals}})
            for (const Truth& truth : measuredAndTrue(solid, drawing)) {
                const bool isDecimal = drawing.vertices == DrawnVertices::Decimals;
                const double bound = truth.measure == "volume" ? 0.005 : 0.01;
                // Chords are shorter than arcs, and steps of pixels longer than the line.
                if (truth.measure != "length of the outlines" || isDecimal) {
                    EXPECT_LT(std::fabs(truth.error()), bound)
                        << solid.name << ", " << truth.measure << " by " << truth.estimator << ", " << drawing.sections
                        << " sections, pixels 1 to " << drawing.aspect << (isDecimal ? ", decimal" : "");
                }
            }
}

// Twice as many sections leave half the error at most, but for the grain of the pixels.
TEST(Truth, errorsFallAsTheSpacingDoes) {
    for (const Solid& solid : knownSolids()) {
        const auto coarse = measuredAndTrue(solid, {16, 0.001, 1, 0}), fine = measuredAndTrue(solid, {32, 0.001, 1, 0});
        for (const std::size_t k : {std::size_t(0), std::size_t(2)})
            EXPECT_LT(std::fabs(fine[k].error()), std::fabs(coarse[k].error()) / 2 + 0.003)
                << solid.name << ", " << fine[k].measure;
    }
}

} // namespace vorlen
