#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "images/filters/parallelwork.h"
#include "normalization/groupstatistic.h"
#include "normalization/permutationtest.h"
#include "normalization/relabelling.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

using Rows = std::vector<std::vector<float>>;

std::vector<int> twoGroups(int first, int second) {
    std::vector<int> groups(std::size_t(first), 0);
    groups.insert(groups.end(), std::size_t(second), 1);
    return groups;
}

/// Noise that neighbouring places share, as smoothed maps do.
Rows noise(int numSpecimens, int numPlaces, unsigned int seed) {
    std::mt19937 random(seed);
    std::normal_distribution<float> normal;
    Rows rows;
    rows.resize(std::size_t(numSpecimens));
    for (std::vector<float>& row : rows) {
        row.resize(std::size_t(numPlaces));
        float value = normal(random);
        for (float& place : row) {
            value = 0.8f * value + 0.6f * normal(random);
            place = value + 5;
        }
    }
    return rows;
}

double mean(const Rows& rows, const std::vector<int>& dealing, int group, std::size_t place) {
    double sum = 0;
    int n = 0;
    for (std::size_t s = 0; s < rows.size(); ++s)
        if (dealing[s] == group) {
            sum += double(rows[s][place]);
            ++n;
        }
    return sum / n;
}

double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

TEST(Relabelling, listsAllWaysOnceOrDrawsThemWhereverItIsCut) {
    const Relabelling all({0, 1, 0, 1, 0, 1}, 20, 1);
    EXPECT_TRUE(all.isExact());
    const std::vector<std::vector<int>> dealings = all.dealings(0, 20);
    EXPECT_EQ(dealings.front(), (std::vector<int>{0, 1, 0, 1, 0, 1}));
    EXPECT_EQ(std::set<std::vector<int>>(dealings.begin(), dealings.end()).size(), 20u);

    const Relabelling drawn(twoGroups(10, 10), 500, 7);
    EXPECT_FALSE(drawn.isExact());
    const std::vector<std::vector<int>> whole = drawn.dealings(0, 500);
    std::vector<double> share(20, 0);
    for (const std::vector<int>& dealing : whole) {
        EXPECT_EQ(std::count(dealing.begin(), dealing.end(), 1), 10);
        for (std::size_t s = 0; s < 20; ++s)
            share[s] += dealing[s] / 500.0;
    }
    for (const double each : share)
        EXPECT_NEAR(each, 0.5, 0.1); // more than four standard deviations
    for (const Relabelling* list : {&all, &drawn}) {
        std::vector<std::vector<int>> pieces;
        for (std::uint64_t first = 0; first < list->getNumber(); first += 7) {
            const auto piece = list->dealings(first, std::min<std::uint64_t>(7, list->getNumber() - first));
            pieces.insert(pieces.end(), piece.begin(), piece.end());
        }
        EXPECT_EQ(pieces, list == &all ? dealings : whole);
    }
    EXPECT_EQ(Relabelling::numWays({2, 2, 3}), 210u);
    EXPECT_EQ(Relabelling::numWays({500, 500}), std::numeric_limits<std::uint64_t>::max());
    EXPECT_THROW(Relabelling({0, 0, 0}, 10, 1), UsageError);
    EXPECT_THROW(Relabelling({0, 2, 2}, 10, 1), UsageError);
    EXPECT_THROW(all.dealings(15, 6), RangeError);
}

TEST(GroupStatistic, isStudentsAndFishersWithASpreadEnlargedByTheMedian) {
    const Rows rows = noise(9, 31, 3);
    const std::vector<int> observed = twoGroups(4, 5), other = {1, 0, 1, 0, 1, 0, 1, 0, 1};
    std::vector<double> spreads;
    for (std::size_t p = 0; p < 31; ++p) {
        double squares = 0;
        for (const auto& row : rows)
            squares += std::pow(double(row[p]) - mean(rows, std::vector<int>(9, 0), 0, p), 2);
        spreads.push_back(std::sqrt(squares / 8));
    }
    const double extra = medianOf(spreads);
    const auto statistic = newMeanStatistic(rows, {4, 5});
    for (const std::vector<int>& dealing : {observed, other}) {
        std::vector<float> out(31);
        statistic->evaluate(dealing, 0, 31, out.data());
        for (std::size_t p = 0; p < 31; ++p) {
            double within = 0;
            for (std::size_t s = 0; s < 9; ++s)
                within += std::pow(double(rows[s][p]) - mean(rows, dealing, dealing[s], p), 2);
            const double error = (std::sqrt(within / 7) + extra) * std::sqrt(1 / 4.0 + 1 / 5.0);
            EXPECT_NEAR(double(out[p]), (mean(rows, dealing, 1, p) - mean(rows, dealing, 0, p)) / error, 1e-4);
        }
        // Two groups as two of any number: t^2 is F but for the way in which the spread is enlarged.
        std::vector<float> cut(10);
        statistic->evaluate(dealing, 11, 21, cut.data());
        EXPECT_TRUE(std::equal(cut.begin(), cut.end(), out.begin() + 11));
    }
    const std::vector<int> three = {0, 0, 0, 1, 1, 1, 2, 2, 2};
    const auto ratio = newMeanStatistic(rows, {3, 3, 3});
    std::vector<float> out(31);
    ratio->evaluate(three, 0, 31, out.data());
    for (std::size_t p = 0; p < 31; ++p) {
        double within = 0, between = 0;
        const double all = mean(rows, std::vector<int>(9, 0), 0, p);
        for (std::size_t s = 0; s < 9; ++s) {
            within += std::pow(double(rows[s][p]) - mean(rows, three, three[s], p), 2);
            between += std::pow(mean(rows, three, three[s], p) - all, 2);
        }
        EXPECT_NEAR(double(out[p]), between / 2 / (within / 6 + extra * extra), 1e-3);
    }
}

// T^2 from its definition, by the inverse of the pooled covariance.
TEST(GroupStatistic, isHotellingsForDisplacements) {
    const Rows rows = noise(11, 3 * 5, 8);
    const std::vector<int> dealing = {1, 0, 1, 1, 0, 1, 0, 0, 1, 1, 0}; // 5 and 6
    const auto statistic = newDisplacementStatistic(rows, {5, 6});
    std::vector<float> out(5);
    statistic->evaluate(dealing, 0, 5, out.data());
    std::vector<double> traces;
    for (std::size_t p = 0; p < 5; ++p) {
        double trace = 0;
        for (std::size_t a = 0; a < 3; ++a)
            for (const auto& row : rows)
                trace += std::pow(double(row[3 * p + a]) - mean(rows, std::vector<int>(11, 0), 0, 3 * p + a), 2);
        traces.push_back(trace / 3);
    }
    const double extra = medianOf(traces);
    for (std::size_t p = 0; p < 5; ++p) {
        double s[3][4] = {}; // pooled covariance and difference, solved in place
        for (std::size_t a = 0; a < 3; ++a) {
            s[a][3] = mean(rows, dealing, 1, 3 * p + a) - mean(rows, dealing, 0, 3 * p + a);
            for (std::size_t b = 0; b < 3; ++b) {
                s[a][b] = a == b ? extra / 9 : 0;
                for (std::size_t k = 0; k < 11; ++k)
                    s[a][b] += (double(rows[k][3 * p + a]) - mean(rows, dealing, dealing[k], 3 * p + a)) *
                               (double(rows[k][3 * p + b]) - mean(rows, dealing, dealing[k], 3 * p + b)) / 9;
            }
        }
        const std::array difference = {s[0][3], s[1][3], s[2][3]};
        for (std::size_t a = 0; a < 3; ++a)
            for (std::size_t b = 0; b < 3; ++b)
                if (b != a) {
                    const double factor = s[b][a] / s[a][a];
                    for (std::size_t c = 0; c < 4; ++c)
                        s[b][c] -= factor * s[a][c];
                }
        double expected = 0;
        for (std::size_t a = 0; a < 3; ++a)
            expected += 30.0 / 11 * difference[a] * s[a][3] / s[a][a];
        EXPECT_NEAR(double(out[p]), expected, 1e-3 * expected);
    }
    EXPECT_THROW(newDisplacementStatistic(rows, {3, 4, 4}), UsageError);
    EXPECT_THROW(newMeanStatistic({{1}, {2}}, {1, 1}), UsageError);
    EXPECT_THROW(newMeanStatistic({{1}, {2}, {1, 2}}, {1, 2}), SizeError);
}

// Without any difference 5% of all studies find one somewhere: 12 of 252 ways, as each p is a multiple of 2 / 252.
TEST(PermutationTest, findsNothingInNoiseButAsOftenAsItMay) {
    constexpr int numStudies = 500;
    int found = 0;
    for (int study = 0; study < numStudies; ++study) {
        const auto statistic = newMeanStatistic(noise(10, 24, 1000u + unsigned(study)), {5, 5});
        const Relabelling dealings(twoGroups(5, 5), 10000, 1);
        PermutationTest test(*statistic, dealings);
        const PermutationResult result = test.run();
        EXPECT_TRUE(result.exact);
        EXPECT_GE(result.least, 2.0 / 252 - 1e-9);
        found += result.least <= 0.05 ? 1 : 0;
    }
    const double expected = numStudies * 12.0 / 252;
    EXPECT_NEAR(found, expected, 3.3 * std::sqrt(expected * (1 - 12.0 / 252)));
}

// Few permutations leave a wide gap between the greatest maximum and the next ones; all that lies in it is significant.
TEST(PermutationTest, theCriticalStatisticPartsSignificantPlacesFromTheOthers) {
    Rows values = noise(8, 40, 3);
    for (std::size_t s = 4; s < 8; ++s)
        for (std::size_t p = 10; p < 15; ++p)
            values[s][p] += 9;
    const auto statistic = newMeanStatistic(values, {4, 4});
    const Relabelling dealings(twoGroups(4, 4), 1000, 1);
    const PermutationResult result = PermutationTest(*statistic, dealings).run();
    EXPECT_GE(std::count_if(result.p.begin(), result.p.end(), [](float p) { return p <= 0.05f; }), 3);
    for (std::size_t p = 0; p < result.p.size(); ++p)
        EXPECT_EQ(result.p[p] <= 0.05f, std::abs(result.statistic[p]) >= result.critical * 0.99999f) << p;
}

TEST(PermutationTest, findsAHotSpotWhereItIsWithTheSameBitsInAnyStretches) {
    constexpr int rows = 9, columns = 10, planes = 8;
    Rows values = noise(14, rows * columns * planes, 77);
    const auto place = [](int i, int j, int k) { return std::size_t((k * rows + i) * columns + j); };
    std::vector<bool> hot(values.front().size(), false);
    for (int i = 2; i < 5; ++i)
        for (int j = 5; j < 8; ++j)
            for (int k = 3; k < 6; ++k) {
                hot[place(i, j, k)] = true;
                for (std::size_t s = 7; s < 14; ++s)
                    values[s][place(i, j, k)] -= 6; // less in the second group
            }
    const auto statistic = newMeanStatistic(values, {7, 7});
    const Relabelling dealings(twoGroups(7, 7), 800, 5);
    PermutationTest test(*statistic, dealings);
    const PermutationResult plain = test.run();
    test.findClusters(1.5f, rows, columns, planes);
    const PermutationResult result = test.run();
    EXPECT_EQ(result.p, plain.p);
    int right = 0, wrong = 0;
    for (std::size_t p = 0; p < hot.size(); ++p) {
        right += hot[p] && result.p[p] <= 0.05f ? 1 : 0;
        wrong += !hot[p] && result.p[p] <= 0.05f ? 1 : 0;
        EXPECT_EQ(result.p[p] <= 0.05f, std::abs(result.statistic[p]) >= result.critical * 0.99999f);
    }
    EXPECT_GE(right, 25);
    EXPECT_EQ(wrong, 0);
    ASSERT_FALSE(result.clusters.empty());
    EXPECT_TRUE(hot[result.clusters[0].peakPlace]);
    EXPECT_LT(result.clusters[0].peak, 0);
    EXPECT_LE(result.clusters[0].p, 0.01);
    EXPECT_GE(result.clusters[0].numPlaces, 25u);

    // In three stretches, in another order, on other numbers of threads.
    const int threads = ParallelWork::getThreads();
    std::vector<PermutationMaxima> stretches;
    for (const auto& [first, count, numThreads] : {std::array{500, 300, 1}, {0, 100, 3}, {100, 400, 2}}) {
        ParallelWork::setThreads(numThreads);
        stretches.push_back(test.maxima(std::uint64_t(first), std::uint64_t(count)));
    }
    ParallelWork::setThreads(threads);
    const PermutationResult merged = test.conclude(stretches);
    EXPECT_EQ(merged.p, result.p);
    EXPECT_EQ(merged.clusters[0].p, result.clusters[0].p);
    stretches.pop_back();
    EXPECT_THROW(test.conclude(stretches), UsageError);
    EXPECT_THROW(test.findClusters(1, 2, 2, 2), SizeError);
    test.cancel();
    test.maxima(0, 10);
    EXPECT_TRUE(test.isCanceled());
}

} // namespace vorlen
