#include "values/lengthunit.h"

#include <gtest/gtest.h>

namespace vorlen {

namespace {

TEST(LengthUnit, isTheMeterAtFirst) {
    const LengthUnit unit;
    EXPECT_EQ(unit.getScale(), 0);
    EXPECT_EQ(unit.name(), "meter");
    EXPECT_EQ(unit.symbol(), "m");
    EXPECT_EQ(unit.prefixName(), "");
    EXPECT_EQ(unit.prefixSymbol(), "");
}

TEST(LengthUnit, composesPrefixAndBase) {
    const LengthUnit micro(-6);
    EXPECT_EQ(micro.name(), "micrometer");
    EXPECT_EQ(micro.symbol(), "\xC2\xB5m");
    LengthUnit unit(-9);
    unit.setScale(3);
    EXPECT_EQ(unit.name(), "kilometer");
    EXPECT_EQ(unit.symbol(), "km");
}

TEST(LengthUnit, marksAScaleWithoutAPrefix) {
    const LengthUnit unit(-2);
    EXPECT_EQ(unit.prefixName(), "???");
    EXPECT_EQ(unit.symbol(), "???m");
}

TEST(LengthUnit, listsItsSeventeenUnitsInAscendingScale) {
    const std::vector<int> scales = LengthUnit::availableScales();
    ASSERT_EQ(scales.size(), 17u);
    for (int i = 0; i < 17; ++i)
        EXPECT_EQ(scales[std::size_t(i)], 3 * i - 24);
    const std::vector<std::string> names = LengthUnit::availableNames();
    const std::vector<std::string> symbols = LengthUnit::availableSymbols();
    ASSERT_EQ(names.size(), 17u);
    ASSERT_EQ(symbols.size(), 17u);
    EXPECT_EQ(names.front(), "yoptometer");
    EXPECT_EQ(names[8], "meter");
    EXPECT_EQ(names.back(), "yottameter");
    EXPECT_EQ(symbols[7], "mm");
    EXPECT_EQ(symbols[16], "Ym");
}

TEST(LengthUnit, comparesByScale) {
    EXPECT_EQ(LengthUnit(-6), LengthUnit(-6));
    EXPECT_FALSE(LengthUnit(-6) == LengthUnit(-9));
}

} // namespace

} // namespace vorlen
