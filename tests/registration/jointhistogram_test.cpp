#include "registration/jointhistogram.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

namespace vorlen {

TEST(JointHistogram, tellsByHandWhatGreysKnowOfEachOther) {
    JointHistogram histogram;
    EXPECT_EQ(histogram.count(), 0);
    EXPECT_EQ(histogram.mutualInformation(), 0);
    EXPECT_EQ(histogram.normalizedInformation(), 0);
    // Two classes each, that tell all of each other, in whichever order: the information is that of a coin.
    for (int i = 0; i < 100000; ++i)
        histogram.add(i % 2 == 0 ? 3.0f : 12.0f, i % 2 == 0 ? 15.0f : 0.0f);
    EXPECT_EQ(histogram.count(), 100000);
    EXPECT_NEAR(histogram.mutualInformation(), std::log(2), 0.002);
    EXPECT_NEAR(histogram.normalizedInformation(), 1, 0.003);
    EXPECT_NEAR(histogram.informationalCorrelation(), std::sqrt(0.75), 0.002);
    // Each with each: nothing is told.
    histogram.clear();
    for (int i = 0; i < 100000; ++i)
        histogram.add(i % 2 == 0 ? 3.0f : 12.0f, i / 2 % 2 == 0 ? 15.0f : 0.0f);
    EXPECT_NEAR(histogram.mutualInformation(), 0, 1e-6);
    EXPECT_NEAR(histogram.normalizedInformation(), 0, 1e-3);
    // Between two classes: half of the pixel in either. One half of 4, and 5 in the other: entropy of the first ln 2.
    histogram.clear();
    for (int i = 0; i < 1000; ++i)
        histogram.add(4.5f, 7.0f);
    EXPECT_NEAR(histogram.mutualInformation(), 0, 1e-6);
}

TEST(GreyClasses, keepTheirPlacesUnderAnyScaleThatKeepsTheOrder) {
    std::vector<float> values, bent;
    values.reserve(20000);
    bent.reserve(20000);
    for (int i = 0; i < 20000; ++i) {
        values.push_back(float(i % 1000));
        bent.push_back(std::sqrt(float(i % 1000)));
    }
    const GreyClasses classes(values), bentClasses(bent);
    constexpr float last = float(JointHistogram::numClasses - 1);
    for (const float value : {50.0f, 200.0f, 500.0f, 900.0f}) {
        EXPECT_NEAR(classes.of(value), last * value / 1000, 0.1); // equal parts
        EXPECT_NEAR(bentClasses.of(std::sqrt(value)), classes.of(value), 0.3);
    }
    EXPECT_EQ(classes.of(-1e9f), 0);
    EXPECT_EQ(classes.of(1e9f), last);
    // A ground that takes most of the image leaves the greys of the tissue most of the classes.
    std::vector<float> onGround(80000, 0.0f);
    for (int i = 0; i < 20000; ++i)
        onGround.push_back(100 + float(i % 100));
    const GreyClasses tissue(onGround);
    EXPECT_LT(tissue.of(99), 4);
    EXPECT_GT(tissue.of(200), 14);
    EXPECT_EQ(GreyClasses(std::vector<float>()).of(5), 0);
    EXPECT_EQ(GreyClasses(std::vector<float>(3, 7.0f)).of(7), 0);
}

} // namespace vorlen
