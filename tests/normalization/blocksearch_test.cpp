#include "normalization/blocksearch.h"

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace vorlen {

namespace {

/// Points of the cube of side 10: every second one in a heap of this size, the others anywhere, or all on a grid.
template <class T>
std::vector<T> cubePoints(int n, double heap, bool grid) {
    std::mt19937 random(static_cast<unsigned int>(n));
    std::uniform_real_distribution<double> anywhere(0, 10), near(4, 4 + heap);
    std::vector<T> points;
    points.reserve(3 * std::size_t(n));
    for (int i = 0; i < n; ++i)
        for (int a = 0; a < 3; ++a)
            points.push_back(T(grid ? std::floor(anywhere(random)) : i % 2 ? near(random) : anywhere(random)));
    return points;
}

/// Blocks of cells, from much smaller to much larger than the distances of points, each against searches without bound.
template <class T>
void compareWithSingleSearches(const std::vector<T>& points, int rank) {
    const NearestSearch<T> tree(points.data(), int(points.size()) / 3, 3);
    for (const double step : {0.01, 0.3, 2.}) {
        BlockSearch<T> search(tree, rank);
        for (const int count : {16, 15, 7, 3, 1}) {
            for (double from = -1; from < 10; from += 2.5) {
                std::vector<std::array<T, 3>> places;
                for (int c = 0; c < count; ++c)
                    places.push_back({T(from + c / 8 * step), T(4 + c % 4 * step), T(from / 2 + c / 4 % 2 * step)});
                std::vector<T> squares(places.size());
                search.find(places.data(), count, squares.data());
                for (std::size_t c = 0; c < places.size(); ++c)
                    ASSERT_EQ(squares[c],
                              tree.kthSquaredDistance(places[c].data(), rank, std::numeric_limits<T>::infinity()))
                        << "step " << step << ", rank " << rank << ", cell " << c << " of " << count;
            }
        }
    }
}

} // namespace

TEST(BlockSearch, findsWhatASearchForEachCellFinds) {
    for (const int rank : {1, 10, 40}) {
        compareWithSingleSearches<float>(cubePoints<float>(3000, 10, false), rank);
        compareWithSingleSearches<float>(cubePoints<float>(3000, 0.05, false), rank); // a heap within a cell
        compareWithSingleSearches<double>(cubePoints<double>(1000, 2, true), rank);   // many at equal distances
        compareWithSingleSearches<float>(std::vector<float>(150, 5), rank);           // all at one place
    }
    compareWithSingleSearches<float>(cubePoints<float>(5, 10, false), 7); // fewer than k
}

} // namespace vorlen
