#include "numerics/randomgenerator.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "numerics/exception.h"
#include "numerics/recommendedrandomengine.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

// Hands out given numbers in turn.
class ScriptedEngine : public RandomEngine {
public:
    explicit ScriptedEngine(const std::vector<double>& values) : __values(values) {}
    long init(long seed) override { return seed; }
    long uniformL() override { return 0; }
    double uniformLF() override { return __values[__next++ % __values.size()]; }

private:
    std::vector<double> __values;
    std::size_t __next = 0;
};

} // namespace

// The expected words come from the same recurrence in arbitrary precision integers, reduced by hand to 64 bits.
TEST(RandomEngine, givesTheSequenceOfItsSeed) {
    RecommendedRandomEngine engine;
    EXPECT_EQ(1, engine.init(1));
    for (const std::uint64_t expected :
         {17925598777506749664u, 7585103483612287758u, 11728924528140059023u, 8886250160819003593u})
        EXPECT_EQ(expected, engine.uniformLL());
    engine.init(12345);
    for (const std::uint64_t expected :
         {16199849379344951119u, 17329134056577114601u, 15547011825899341289u, 2523521290266754271u})
        EXPECT_EQ(expected, engine.uniformLL());
    engine.init(1);
    for (const long expected : {822109982, 399587820, 112363264})
        EXPECT_EQ(expected, engine.uniformL());
    engine.init(1);
    EXPECT_DOUBLE_EQ(17925598777506749664.0 * 5.421011e-20, engine.uniformLF());
    EXPECT_GT(engine.init(0), 1000000);
}

TEST(RandomGenerator, uniformNumbersFillTheirRangesEvenly) {
    RandomGenerator random;
    random.init(3);
    std::vector<int> counts(10, 0);
    for (int i = 0; i < 20000; ++i) {
        const long x = random.uniformL(-4, 5);
        ASSERT_TRUE(x >= -4 && x <= 5);
        ++counts[static_cast<std::size_t>(x + 4)];
        const double y = random.uniformLF(2, 3);
        ASSERT_TRUE(y >= 2 && y <= 3.000001);
    }
    for (const int count : counts)
        EXPECT_NEAR(2000, count, 250); // six standard deviations
}

TEST(RandomGenerator, wholeNumbersStayInRangeWhenTheEngineReachesOne) {
    RandomGenerator random;
    random.setRandomEngine(new ScriptedEngine({1.0000001})); // owned by the generator
    EXPECT_EQ(6, random.uniformL(7));
    EXPECT_EQ(5, random.uniformL(-4, 5));
    EXPECT_EQ(0, random.uniformL(0));
    EXPECT_EQ(2, random.draw(vectorOf({0u, 0u, 0u})));
    EXPECT_EQ(1, random.draw(vectorOf({2u, 3u, 0u})));
    EXPECT_THROW(random.setRandomEngine(nullptr), UsageError);
}

TEST(RandomGenerator, gaussianGivesTwoValuesForEachAcceptedPair) {
    RandomGenerator random;
    random.setRandomEngine(new ScriptedEngine({1.0, 1.0, 0.75, 0.6})); // the first pair lies outside the circle
    const double f = std::sqrt(-2 * std::log(0.29) / 0.29);            // a = 0.5, b = 0.2
    EXPECT_NEAR(0.2 * f, random.gaussian(), 1e-12);
    EXPECT_NEAR(0.5 * f, random.gaussian(), 1e-12);
    EXPECT_NEAR(10 + 3 * 0.2 * f, random.gaussian(10, 3), 1e-12);
    EXPECT_NEAR(2 * 0.5 * f, random.gaussian(2), 1e-12);
}

TEST(RandomGenerator, aSeedRepeatsItsSequenceEvenWithAGaussianValueInStore) {
    RandomGenerator random;
    random.init(7);
    EXPECT_NEAR(0.439182326327828, random.gaussian(), 1e-12); // computed apart, in Python
    random.init(7);
    EXPECT_NEAR(0.439182326327828, random.gaussian(), 1e-12);
    EXPECT_NEAR(1.6554416453684393, random.gaussian(), 1e-12);
}

TEST(RandomGenerator, gaussianAndPoissonHaveTheirMoments) {
    RandomGenerator random;
    random.init(11);
    const int n = 20000;
    double sum = 0;
    double squares = 0;
    double events = 0;
    for (int i = 0; i < n; ++i) {
        const double x = random.gaussian(5, 2);
        sum += x;
        squares += (x - 5) * (x - 5);
        events += random.poisson(3.5f);
    }
    EXPECT_NEAR(5, sum / n, 0.08);
    EXPECT_NEAR(4, squares / n, 0.25);
    EXPECT_NEAR(3.5, events / n, 0.08);
    EXPECT_EQ(0, random.poisson(0));
}

TEST(RandomGenerator, poissonCountsTheFactorsAboveTheLimit) {
    RandomGenerator random;
    random.setRandomEngine(new ScriptedEngine({0.9, 0.9, 0.5, 0.1}));
    // exp(-1) = 0.368: products 0.9, 0.81, 0.405, 0.0405.
    EXPECT_EQ(3, random.poisson(1));
}

TEST(RandomGenerator, drawFollowsTheWeights) {
    RandomGenerator random;
    random.init(5);
    std::vector<int> counts(3, 0);
    for (int i = 0; i < 8000; ++i)
        ++counts[static_cast<std::size_t>(random.draw(vectorOf({1u, 0u, 3u})))];
    EXPECT_NEAR(2000, counts[0], 250);
    EXPECT_EQ(0, counts[1]);
    std::vector<int> even(2, 0);
    for (int i = 0; i < 2000; ++i)
        ++even[static_cast<std::size_t>(random.draw(vectorOf({0u, 0u})))];
    EXPECT_NEAR(1000, even[0], 140);
    const unsigned int big = 4000000000u; // the sum exceeds 32 bits
    int second = 0;
    for (int i = 0; i < 1000; ++i)
        second += random.draw(vectorOf({big, big}));
    EXPECT_NEAR(500, second, 100);
    EXPECT_THROW(random.draw(Vector<unsigned int>()), SizeError);
}

} // namespace vorlen
