#pragma once

#include <vector>

#include "shapes/shapearithmetic.h"

namespace vorlen {

/// Nearest of n points, with the results of a comparison with all of them in order: of several at the same distance the
/// lowest rank wins. Distances that are no numbers count as infinite.
///
/// A tree of median splits with small leaves over a copy of the coordinates; n log n to build, about log n a query.
template <class T>
class NearestSearch {
public:
    using Wide = WideCoordinate<T>;
    /// Distances are formed in the type of the coordinates, as Vector::sdistance() does, in double for int.
    using Distance = std::conditional_t<std::is_integral_v<T>, double, T>;

    /// coordinates: n points of space numbers each, one after the other.
    NearestSearch(const T* coordinates, int n, int space);

    /// Rank of the nearest point but the excluded rank (-1 for none), and its squared distance; -1 without any.
    int nearest(const T* point, int excluded, Distance& squaredDistance) const;

private:
    struct Node {
        int first;
        int last;
        int axis; // -1 for a leaf
        int right;
        Distance split;
    };

    int build(int first, int last, const std::vector<Distance>& source);
    void search(int node, const Distance* point, int excluded, int& best, Distance& bestDistance) const;

    int __space;
    std::vector<int> __ranks;
    std::vector<Distance> __points; // in the order of __ranks
    std::vector<Node> __nodes;
};

} // namespace vorlen
