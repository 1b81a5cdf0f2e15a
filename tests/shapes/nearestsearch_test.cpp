#include "shapes/nearestsearch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

/// Rank of the nearest point by a comparison with all in order, distances that are no numbers being infinite.
template <class T>
int plainNearest(const std::vector<T>& points, int space, const T* query, int excluded, double& best) {
    int rank = -1;
    best = std::numeric_limits<double>::infinity();
    for (int i = 0; i < int(points.size()) / space; ++i) {
        typename NearestSearch<T>::Distance sum = 0;
        for (int k = 0; k < space; ++k) {
            using D = typename NearestSearch<T>::Distance;
            const D difference = D(points[std::size_t(i * space + k)]) - D(query[k]);
            sum += difference * difference;
        }
        const double squared = std::isnan(sum) ? std::numeric_limits<double>::infinity() : double(sum);
        if (i != excluded && (rank < 0 || squared < best)) {
            rank = i;
            best = squared;
        }
    }
    return rank;
}

/// Coordinates of few values give many equal distances; holes are undefined coordinates.
template <class T>
void compareWithAll(int space, int n, int numValues, bool holes = false) {
    std::mt19937 random(static_cast<unsigned int>(n + space));
    std::uniform_int_distribution<int> value(0, numValues - 1);
    std::vector<T> points;
    for (int i = 0; i < n * space; ++i)
        points.push_back(holes && i % 5 == 0 ? std::numeric_limits<T>::quiet_NaN() : T(value(random)));
    const NearestSearch<T> search(points.data(), n, space);
    for (int i = 0; i < n; ++i) {
        const T* query = points.data() + i * space;
        for (const int excluded : {-1, i}) {
            double best = 0;
            typename NearestSearch<T>::Distance found = 0;
            ASSERT_EQ(search.nearest(query, excluded, found), plainNearest(points, space, query, excluded, best));
            ASSERT_EQ(double(found), best);
        }
    }
}

} // namespace

TEST(NearestSearch, findsTheLowestOfTheNearestAsAComparisonWithAllDoes) {
    for (const int n : {1, 2, 12, 13, 200, 700}) {
        compareWithAll<float>(3, n, 4);
        compareWithAll<double>(2, n, 1000000);
        compareWithAll<int>(2, n, 12);
        compareWithAll<float>(5, n, 2);
        compareWithAll<double>(3, n, 1); // all at one place
        compareWithAll<float>(3, n, 50, true);
        compareWithAll<double>(2, n, 9, true);
    }
}

TEST(NearestSearch, collectsThePointsWithinADistanceOfABox) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> value(0, 10);
    constexpr int size = 500;
    for (const int space : {2, 3}) {
        std::vector<float> points(std::size_t(size) * std::size_t(space));
        for (float& x : points)
            x = value(random);
        const NearestSearch<float> search(points.data(), size, space);
        const float lower[] = {4, 5, -2}, upper[] = {7, 5, 3};
        std::vector<std::vector<float>> expected;
        for (int i = 0; i < size; ++i) {
            const float* point = points.data() + std::size_t(i) * std::size_t(space);
            float squared = 0;
            for (int k = 0; k < space; ++k) {
                const float d = std::max(0.f, std::max(lower[k] - point[k], point[k] - upper[k]));
                squared += d * d;
            }
            if (squared <= 2.25f)
                expected.emplace_back(point, point + space);
        }
        const int count = int(expected.size());
        ASSERT_GT(count, 10);
        std::vector<float> found(std::size_t(space) * std::size_t(count + 1));
        ASSERT_EQ(search.within(lower, upper, 2.25f, count, found.data()), count);
        std::vector<std::vector<float>> reached;
        for (int i = 0; i < count; ++i) {
            reached.emplace_back();
            for (int k = 0; k < space; ++k)
                reached.back().push_back(found[std::size_t(k * (count + 1) + i)]);
        }
        std::sort(expected.begin(), expected.end());
        std::sort(reached.begin(), reached.end());
        EXPECT_EQ(reached, expected);
        EXPECT_EQ(search.within(lower, upper, 2.25f, count - 1, found.data()),
                  count); // one more than there is room for
    }
}

TEST(NearestSearch, ofNoPointsFindsNone) {
    float squared = 0;
    const float query[] = {1, 2, 3};
    EXPECT_EQ(NearestSearch<float>().nearest(query, -1, squared), -1);
    EXPECT_EQ(NearestSearch<float>(query, 0, 3).nearest(query, -1, squared), -1);
    EXPECT_EQ(NearestSearch<float>(query, 1, 3).nearest(query, 0, squared), -1);
    EXPECT_EQ(squared, std::numeric_limits<float>::infinity());
}

} // namespace vorlen
