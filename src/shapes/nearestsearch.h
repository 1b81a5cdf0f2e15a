#pragma once

#include <cstddef>
#include <type_traits>
#include <vector>

namespace vorlen {

template <class T>
class Vertices;

/// Tree of points that finds those nearest to a point: what KDTree and all nearest-neighbour operations of shapes
/// search in.
///
/// The points are halved at the median of the axis along which they extend most until a few are left, a leaf. The shape
/// of the tree follows from the number of points alone, so that a node is only an axis and the two ends of the gap
/// between its halves; coordinates are copied in the order of the leaves. Building takes O(n log n), a query O(log n)
/// for well spread points, and memory is the coordinates and an int for each point. Queries compare squared distances,
/// never a root. Source: J. H. Friedman, J. L. Bentley, R. A. Finkel, An algorithm for finding best matches in
/// logarithmic expected time, 1977; S. Arya, D. M. Mount, Algorithms for fast vector quantization, 1993, for the
/// distance to a cell.
///
/// Distances are formed in the type of the coordinates, as Vector::sdistance() does, in double for int. A distance that
/// is no number counts as infinite. Instantiated for int, float, double and long double.
template <class T>
class NearestSearch {
public:
    using Distance = std::conditional_t<std::is_integral_v<T>, double, T>;

    /// No points.
    NearestSearch() = default;

    /// coordinates: n points of space numbers each, one after the other, numbered in this order from 0.
    NearestSearch(const T* coordinates, int n, int space);

    /// The vertices of the list, numbered as on their server.
    explicit NearestSearch(const Vertices<T>& vertices);

    int getSize() const { return int(__numbers.size()); }
    int getSpace() const { return __space; }

    /// Number of the nearest point but the excluded one (-1 for none), and its squared distance; -1 without any. Of
    /// several at the same distance the lowest number wins, as in a comparison with all in order.
    int nearest(const T* point, int excluded, Distance& squaredDistance) const;

    /// Writes the numbers of the k nearest points, the nearest first; of several at the same distance any. k is within
    /// 0 and getSize().
    void nearest(const T* point, int k, int* numbers) const;

    /// Squared distance to the k-th nearest point, k from 1 to getSize(). Only points within the square of a distance
    /// are looked for, which saves time when the caller knows such a bound; infinity when there are fewer than k.
    Distance kthSquaredDistance(const T* point, int k, Distance withinSquared) const;

    /// Writes the coordinates of the points within a distance of a box, lower and upper of its corners, in any order:
    /// one row of most + 1 numbers for each axis. Returns the number of points, or most + 1, with any of them written,
    /// when there are more than most. Several searches close to each other can then go through these points alone.
    int within(const T* lower, const T* upper, Distance withinSquared, int most, T* coordinates) const;

private:
    /// The two halves along the axis: the first ends at low, the second begins at high.
    struct Node {
        T low;
        T high;
        int axis;
    };

    template <class RowOf>
    void build(const RowOf& rowOf);
    template <int Space, class RowOf>
    void buildTree(const RowOf& rowOf);
    template <class Item>
    void split(std::size_t node, Item* items, int count, int space);
    template <int Space, class Collector>
    void search(Collector& collector, const T* point) const;
    template <class Collector>
    void search(Collector& collector, const T* point) const;
    template <int Space>
    int searchBox(const T* lower, const T* upper, Distance withinSquared, int most, T* coordinates) const;

    int __space = 0;
    /// Children of node n are 2n + 1 and 2n + 2.
    std::vector<Node> __nodes;
    /// Numbers and coordinates of the points, in the order of the leaves.
    std::vector<int> __numbers;
    std::vector<T> __points;
    std::vector<T> __lower;
    std::vector<T> __upper;
};

} // namespace vorlen
