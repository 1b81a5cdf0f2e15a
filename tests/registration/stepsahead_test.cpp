#include "registration/stepsahead.h"

#include <cmath>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

double distance(const StepsAhead::Triple& a, const StepsAhead::Triple& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

// Steps that fall short by seven tenths and more.
TEST(StepsAhead, comesToTheEndInFewSteps) {
    const StepsAhead::Triple end{3, -2, 5};
    StepsAhead ahead;
    StepsAhead::Triple place{0, 0, 0}, slow = place;
    const auto stepAt = [&end](const StepsAhead::Triple& at) {
        return StepsAhead::Triple{0.3 * (end[0] - at[0]), 0.2 * (end[1] - at[1]), 0.1 * (end[2] - at[2])};
    };
    for (int k = 0; k < 8; ++k) {
        place = ahead.after(place, stepAt(place));
        const StepsAhead::Triple step = stepAt(slow);
        slow = {slow[0] + step[0], slow[1] + step[1], slow[2] + step[2]};
    }
    EXPECT_GT(distance(slow, end), 2);
    EXPECT_LT(distance(place, end), 0.05);
}

TEST(StepsAhead, goesNeitherBackNorFarBeyondAStep) {
    const StepsAhead::Triple start{1, 1, 1}, step{1, 0, 0};
    StepsAhead same; // nothing tells where the end is
    EXPECT_EQ(same.after(start, step), (StepsAhead::Triple{2, 1, 1}));
    EXPECT_LE(distance(same.after({2, 1, 1}, step), {2, 1, 1}), 5 + 1e-9);
    StepsAhead longer; // each is longer than the one before: the end would lie behind
    longer.after(start, step);
    EXPECT_EQ(longer.after({2, 1, 1}, {2, 0, 0}), (StepsAhead::Triple{4, 1, 1}));
    StepsAhead ended;
    ended.after(start, {0, 0, 0});
    EXPECT_EQ(ended.after(start, {0, 0, 0}), start);
}

} // namespace

} // namespace vorlen
