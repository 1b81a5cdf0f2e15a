#include "shapes/selfcontact.h"

#include <cmath>
#include <random>
#include <utility>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

using Points = std::vector<std::pair<double, double>>;

std::optional<SelfContact> contactOf(const Points& points, bool closed) {
    std::vector<double> coordinates;
    coordinates.reserve(2 * points.size());
    for (const auto& [x, y] : points) {
        coordinates.push_back(x);
        coordinates.push_back(y);
    }
    return findSelfContact(coordinates, closed);
}

/// "crosses", "touches" or "simple".
std::string kindOf(const Points& points, bool closed = true) {
    const auto contact = contactOf(points, closed);
    return !contact ? "simple" : contact->crosses ? "crosses" : "touches";
}

int sideOf(const Points& p, std::size_t a, std::size_t b, std::size_t c) {
    const double turn = (p[b].first - p[a].first) * (p[c].second - p[a].second) -
                        (p[b].second - p[a].second) * (p[c].first - p[a].first);
    return turn > 0 ? 1 : turn < 0 ? -1 : 0;
}

bool isOn(const Points& p, std::size_t a, std::size_t b, std::size_t c) {
    const auto between = [](double u, double v, double w) { return std::min(u, v) <= w && w <= std::max(u, v); };
    return sideOf(p, a, b, c) == 0 && between(p[a].first, p[b].first, p[c].first) &&
           between(p[a].second, p[b].second, p[c].second);
}

/// By all pairs of edges of a polygon without doubled vertices: whether two cross within both, and whether two meet.
std::pair<bool, bool> byAllPairs(const Points& p) {
    const std::size_t n = p.size();
    bool crosses = false, meets = false;
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = i + 1; j < n; ++j) {
            const std::size_t a = i, b = (i + 1) % n, c = j, d = (j + 1) % n;
            crosses =
                crosses || (sideOf(p, a, b, c) * sideOf(p, a, b, d) < 0 && sideOf(p, c, d, a) * sideOf(p, c, d, b) < 0);
            const bool follows = b == c, leads = d == a;
            meets = meets || (isOn(p, a, b, c) && !follows) || (isOn(p, a, b, d) && !leads) ||
                    (isOn(p, c, d, a) && !leads) || (isOn(p, c, d, b) && !follows);
        }
    return {crosses, meets || crosses};
}

} // namespace

TEST(SelfContact, tellsCrossingsFromTouchesAndSimpleLines) {
    EXPECT_EQ(kindOf({{0, 0}, {10, 0}, {10, 10}, {0, 10}}), "simple");
    EXPECT_EQ(kindOf({{0, 0}, {0, 0}, {10, 0}, {10, 10}, {10, 10}, {0, 0}}), "simple") << "doubled vertices";
    EXPECT_EQ(kindOf({{0, 0}, {10, 10}, {10, 0}, {0, 10}}), "crosses");
    EXPECT_EQ(kindOf({{0, 0}, {10, 10}, {10, 0}, {0, 10}}, false), "crosses");
    EXPECT_EQ(kindOf({{0, 0}, {10, 0}, {10, 10}, {5, -1}}, false), "crosses");
    EXPECT_EQ(kindOf({{0, 0}, {10, 0}, {10, 10}, {5, 0}}, false), "touches") << "by its end";
    EXPECT_EQ(kindOf({{0, 0}, {5, 5}, {10, 10}, {10, 0}, {5, 5}, {0, 10}}), "crosses") << "at a vertex";
    EXPECT_EQ(kindOf({{0, 0}, {5, 5}, {10, 0}, {10, 10}, {5, 5}, {0, 10}}), "touches") << "at a vertex";
    EXPECT_EQ(kindOf({{0, 0}, {10, 0}, {10, 10}, {5, 0}, {0, 10}}), "touches") << "a vertex on an edge";
    EXPECT_EQ(kindOf({{0, 0}, {10, 0}, {10, 10}, {5, 0}, {3, -5}, {0, 10}}), "crosses") << "through a vertex";
    EXPECT_EQ(kindOf({{0, 0}, {10, 0}, {10, 10}, {10, 20}, {10, 10}, {0, 10}}), "touches") << "a spike";
    EXPECT_EQ(kindOf({{0, 0}, {10, 0}}, true), "simple");
    EXPECT_EQ(kindOf({}), "simple");
    const auto crossing = contactOf({{0, 0}, {10, 10}, {20, 20}, {20, 0}, {0, 10}}, true);
    ASSERT_TRUE(crossing);
    EXPECT_EQ(crossing->first, 0);
    EXPECT_EQ(crossing->second, 3);
    EXPECT_NEAR(crossing->x, 20. / 3, 1e-12);
    EXPECT_NEAR(crossing->y, 20. / 3, 1e-12);
}

// Small grids, so that vertices often meet; and outlines with one crossing far away.
TEST(SelfContact, agreesWithAllPairsOfEdges) {
    std::mt19937 random(7);
    int numSimple = 0, numTouching = 0;
    for (int round = 0; round < 4000; ++round) {
        const int n = 3 + int(random() % 9), side = 3 + int(random() % 12);
        Points points;
        while (int(points.size()) < n) {
            const std::pair<double, double> point(int(random() % unsigned(side)), int(random() % unsigned(side)));
            if (points.empty() || (point != points.back() && (int(points.size()) < n - 1 || point != points.front())))
                points.push_back(point);
        }
        const auto [crosses, meets] = byAllPairs(points);
        const std::string kind = kindOf(points);
        ASSERT_EQ(kind != "simple", meets) << "round " << round;
        if (crosses) {
            ASSERT_EQ(kind, "crosses") << "round " << round;
        }
        numSimple += kind == "simple";
        numTouching += kind == "touches";
    }
    EXPECT_GT(numSimple, 100);
    EXPECT_GT(numTouching, 100);
}

// A comb of long teeth, a square spiral and a star of long spikes: what a grid or boxes would be slow at. With their
// last vertex moved they cross.
TEST(SelfContact, findsTheOneCrossingOfAHundredThousandEdges) {
    constexpr int n = 100000;
    Points comb;
    comb.reserve(n + 2);
    for (int i = 0; i < n; ++i)
        comb.emplace_back(i, (i / 2) % 2 == 0 ? 0 : 100000);
    comb.emplace_back(n, -10);
    comb.emplace_back(0, -10);
    EXPECT_EQ(kindOf(comb), "simple");
    comb.back() = {0.5, 5};
    EXPECT_EQ(kindOf(comb), "crosses");

    Points spiral;
    spiral.reserve(n);
    for (int i = 0; i < n; ++i) {
        const int turn = i / 4;
        const double r = 2 * turn + 2;
        const double x[] = {r, r, -r, -r}, y[] = {-r + 2, r, r, -r};
        spiral.emplace_back(x[i % 4], y[i % 4]);
    }
    EXPECT_EQ(kindOf(spiral, false), "simple");
    spiral.emplace_back(0, 0);
    EXPECT_EQ(kindOf(spiral, false), "crosses");
}

} // namespace vorlen
