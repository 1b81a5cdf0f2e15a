#pragma once

#include <array>
#include <vector>

#include "shapes/nearestsearch.h"

namespace vorlen {

/// Distances from the cells of a map to the k-th nearest point of a pattern, for a block of neighbouring cells at a
/// time.
///
/// The distance at the middle of a block bounds those at all its cells, since it changes by no more than the way
/// between two places. So one descent into the tree collects the points that may count, and each cell goes through
/// these alone, which keep to the cache and need hardly a branch. Where the k-th point is nearer than the corners of
/// the block, or many points lie about it, each cell is searched for by itself. The squares that come out are those of
/// NearestSearch::kthSquaredDistance() either way. Points are of space 3. Instantiated for float and double.
template <class T>
class BlockSearch {
public:
    using Place = std::array<T, 3>;

    /// The tree must outlive the search.
    BlockSearch(const NearestSearch<T>& tree, int rank);

    /// squared: squared distances of count places, which lie close to each other; infinite when there are fewer than
    /// k points. Which blocks came before makes no difference but in time.
    void find(const Place* places, int count, T* squared);

private:
    /// Of a place, by which those nearby are bounded.
    struct Known {
        Place place;
        double distance;

        double boundAt(const Place& other) const;
    };

    int collect(const Place* places, int count);
    T findOne(const Place& place, double reach) const;
    void findNear(int size, const Place* places, const T* within, T* squared) const;

    const NearestSearch<T>& __tree;
    int __rank;
    int __most;
    std::vector<T> __near; // coordinates of the points that were collected, a row for each axis
    Known __last;          // the last place
    Known __middle;        // of the last block
};

} // namespace vorlen
