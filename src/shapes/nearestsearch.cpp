#include "shapes/nearestsearch.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

#include "shapes/vertices.h"

namespace vorlen {

namespace {

/// Below this number of points, looking at all is faster than a further division.
constexpr int leafSize = 12;

/// Point under way to its leaf, with its coordinates beside it; Space 0 stands for any dimension.
template <class T, int Space>
struct TreeItem {
    T coordinates[Space];
    int number;
};

template <class T>
struct TreeItem<T, 0> {
    const T* coordinates;
    int number;
};

/// Undefined coordinates have no order.
template <class T>
T ordered(T x) {
    return x == x ? x : std::numeric_limits<T>::max();
}

/// The nearest so far, of equal ones that of the lowest number.
template <class D>
class NearestOne {
public:
    NearestOne(const int* numbers, int excluded) : __numbers(numbers), __excluded(excluded) {}

    /// An equal distance may be that of a lower number.
    bool takes(D squared) const { return squared <= __squared; }
    void add(D squared, int position) {
        const int number = __numbers[position];
        if (number == __excluded || (squared == __squared && number >= __number))
            return;
        __squared = squared;
        __number = number;
    }
    D squared() const { return __squared; }
    /// -1 as long as nothing is nearer than infinitely far.
    int number() const { return __number; }

private:
    const int* __numbers;
    int __excluded;
    D __squared = std::numeric_limits<D>::infinity();
    int __number = -1;
};

/// The k nearest so far, by increasing distance; equal ones in the order in which they came.
template <class D>
class NearestMany {
public:
    NearestMany(D* squared, int* positions, int k) : __squared(squared), __positions(positions), __size(k) {}

    bool takes(D squared) const { return squared < __worst; }
    void add(D squared, int position) {
        int place = __filled < __size ? __filled++ : __size - 1;
        for (; place > 0 && __squared[place - 1] > squared; place--) {
            __squared[place] = __squared[place - 1];
            __positions[place] = __positions[place - 1];
        }
        __squared[place] = squared;
        __positions[place] = position;
        if (__filled == __size)
            __worst = __squared[__size - 1];
    }
    int filled() const { return __filled; }

private:
    D* __squared;
    int* __positions;
    int __size;
    int __filled = 0;
    D __worst = std::numeric_limits<D>::infinity();
};

/// The k smallest squared distances so far, ascending, of those up to a bound.
template <class D>
class NearestDistances {
public:
    NearestDistances(D* squared, int k, D bound) : __squared(squared), __size(k), __bound(bound) {}

    bool takes(D squared) const { return squared <= __bound; }
    void add(D squared, int /*position*/) {
        int place = __filled < __size ? __filled++ : __size - 1;
        for (; place > 0 && __squared[place - 1] > squared; place--)
            __squared[place] = __squared[place - 1];
        __squared[place] = squared;
        if (__filled == __size)
            __bound = __squared[__size - 1];
    }
    D last() const { return __filled == __size ? __squared[__size - 1] : std::numeric_limits<D>::infinity(); }

private:
    D* __squared;
    int __size;
    int __filled = 0;
    D __bound;
};

/// Descent from the root towards a point. offsets holds, for each axis, the squared distance from the point to the
/// cell along this axis: added up in the order in which distances are, their sum is never above the distance of a
/// point in the cell, rounding included, so that no nearest point is passed over.
template <class T, int Space, class Node, class Collector>
class Descent {
public:
    using D = typename NearestSearch<T>::Distance;

    Descent(const Node* nodes, const T* points, const T* point, int space, D* offsets, Collector& collector)
        : __nodes(nodes), __points(points), __point(point), __space(space), __offsets(offsets), __collector(collector) {
    }

    void visit(std::size_t node, int first, int count) {
        const int space = Space ? Space : __space;
        if (count <= leafSize) {
            const T* coordinates = __points + std::size_t(first) * std::size_t(space);
            for (int i = first; i < first + count; i++, coordinates += space) {
                D squared = 0;
                for (int k = 0; k < space; k++) {
                    const D d = D(coordinates[k]) - D(__point[k]);
                    squared += d * d;
                }
                if (__collector.takes(squared))
                    __collector.add(squared, i);
            }
            return;
        }
        const Node& split = __nodes[node];
        const int half = count / 2;
        const D toLow = D(__point[split.axis]) - D(split.low);
        const D toHigh = D(__point[split.axis]) - D(split.high);
        const bool left = toLow + toHigh < 0;
        if (left)
            visit(2 * node + 1, first, half);
        else
            visit(2 * node + 2, first + half, count - half);
        const D kept = __offsets[split.axis];
        __offsets[split.axis] = left ? toHigh * toHigh : toLow * toLow;
        D squared = 0;
        for (int k = 0; k < space; k++)
            squared += __offsets[k];
        if (__collector.takes(squared)) {
            if (left)
                visit(2 * node + 2, first + half, count - half);
            else
                visit(2 * node + 1, first, half);
        }
        __offsets[split.axis] = kept;
    }

private:
    const Node* __nodes;
    const T* __points;
    const T* __point;
    int __space;
    D* __offsets;
    Collector& __collector;
};

/// Descent from the root to all leaves that come near a box; offsets as in Descent.
template <class T, int Space, class Node>
class BoxDescent {
public:
    using D = typename NearestSearch<T>::Distance;

    BoxDescent(const Node* nodes, const T* points, const T* lower, const T* upper, int space, D within, int most,
               T* found)
        : __nodes(nodes), __points(points), __lower(lower), __upper(upper), __space(space), __within(within),
          __most(most), __found(found) {}

    void visit(std::size_t node, int first, int count, D* offsets) {
        if (__size > __most)
            return;
        if (count <= leafSize)
            return collect(first, count);
        const Node& split = __nodes[node];
        const int half = count / 2;
        const D kept = offsets[split.axis];
        if (reaches(D(__lower[split.axis]) - D(split.low), split.axis, offsets))
            visit(2 * node + 1, first, half, offsets);
        offsets[split.axis] = kept;
        if (reaches(D(split.high) - D(__upper[split.axis]), split.axis, offsets))
            visit(2 * node + 2, first + half, count - half, offsets);
        offsets[split.axis] = kept;
    }

    int found() const { return __size; }

private:
    /// Whether the half that is this far off along the axis, overlapping when negative, may hold a point.
    bool reaches(D distance, int axis, D* offsets) const {
        if (distance > 0)
            offsets[axis] = std::max(offsets[axis], distance * distance);
        D squared = 0;
        for (int k = 0; k < (Space ? Space : __space); k++)
            squared += offsets[k];
        return squared <= __within;
    }

    void collect(int first, int count) {
        const int space = Space ? Space : __space;
        const T* point = __points + std::size_t(first) * std::size_t(space);
        for (int i = 0; i < count; i++, point += space) {
            D squared = 0;
            for (int k = 0; k < space; k++) {
                const D below = D(__lower[k]) - D(point[k]), above = D(point[k]) - D(__upper[k]);
                const D d = std::max(D(0), std::max(below, above));
                squared += d * d;
            }
            // Written in any case: there is room for one more, and a branch here would be mispredicted often.
            for (int k = 0; k < space; k++)
                __found[std::size_t(k) * std::size_t(__most + 1) + std::size_t(__size)] = point[k];
            __size += squared <= __within ? 1 : 0;
            if (__size > __most)
                return;
        }
    }

    const Node* __nodes;
    const T* __points;
    const T* __lower;
    const T* __upper;
    int __space;
    D __within;
    int __most;
    T* __found;
    int __size = 0;
};

} // namespace

template <class T>
NearestSearch<T>::NearestSearch(const T* coordinates, int n, int space) : __space(space), __numbers(std::size_t(n)) {
    std::iota(__numbers.begin(), __numbers.end(), 0);
    build([=](int i) { return coordinates + std::size_t(i) * std::size_t(space); });
}

template <class T>
NearestSearch<T>::NearestSearch(const Vertices<T>& vertices)
    : __space(vertices.getSpace()), __numbers(std::size_t(vertices.getNumVertices())) {
    for (int i = 0; i < getSize(); i++)
        __numbers[std::size_t(i)] = vertices.getIndex(i);
    build([&](int i) { return vertices[i].data(); });
}

/// rowOf(i) points to the coordinates of the point that is given as the i-th.
template <class T>
template <class RowOf>
void NearestSearch<T>::build(const RowOf& rowOf) {
    if (getSize() == 0 || __space == 0)
        return;
    std::size_t divisions = 1;
    for (int count = getSize(); count > leafSize; count = (count + 1) / 2)
        divisions *= 2;
    __nodes.assign(divisions - 1, Node{});
    __points.resize(__numbers.size() * std::size_t(__space));
    __lower.assign(std::size_t(__space), 0);
    __upper.assign(std::size_t(__space), 0);
    switch (__space) {
    case 2:
        return buildTree<2>(rowOf);
    case 3:
        return buildTree<3>(rowOf);
    default:
        return buildTree<0>(rowOf);
    }
}

template <class T>
template <int Space, class RowOf>
void NearestSearch<T>::buildTree(const RowOf& rowOf) {
    using Item = TreeItem<T, Space>;
    const int size = getSize();
    const std::size_t space = std::size_t(__space);
    std::vector<Item> items(__numbers.size());
    std::vector<T> coordinates; // of the items that have no room for them
    if constexpr (Space == 0)
        coordinates.resize(__points.size());
    for (int i = 0; i < size; i++) {
        Item& item = items[std::size_t(i)];
        item.number = __numbers[std::size_t(i)];
        const T* source = rowOf(i);
        if constexpr (Space == 0) {
            T* copy = coordinates.data() + std::size_t(i) * space;
            std::transform(source, source + space, copy, ordered<T>);
            item.coordinates = copy;
        } else {
            for (int k = 0; k < Space; k++)
                item.coordinates[k] = ordered(source[k]);
        }
    }

    split(0, items.data(), size, __space);
    T* point = __points.data();
    for (std::size_t i = 0; i < items.size(); i++, point += space) {
        __numbers[i] = items[i].number;
        for (std::size_t k = 0; k < space; k++)
            point[k] = items[i].coordinates[k];
    }
    for (std::size_t k = 0; k < space; k++) {
        __lower[k] = __upper[k] = __points[k];
        for (std::size_t i = k; i < __points.size(); i += space) {
            __lower[k] = std::min(__lower[k], __points[i]);
            __upper[k] = std::max(__upper[k], __points[i]);
        }
    }
}

template <class T>
template <class Item>
void NearestSearch<T>::split(std::size_t node, Item* items, int count, int space) {
    if (count <= leafSize)
        return;
    // The bounds are needed here only, so that all calls may share the work vectors.
    T* lower = __lower.data();
    T* upper = __upper.data();
    for (int k = 0; k < space; k++)
        lower[k] = upper[k] = items[0].coordinates[k];
    for (int i = 1; i < count; i++) {
        for (int k = 0; k < space; k++) {
            const T x = items[i].coordinates[k];
            lower[k] = x < lower[k] ? x : lower[k];
            upper[k] = x > upper[k] ? x : upper[k];
        }
    }
    int axis = 0; // of points at one place any will do
    for (int k = 1; k < space; k++)
        if (Distance(upper[k]) - Distance(lower[k]) > Distance(upper[axis]) - Distance(lower[axis]))
            axis = k;

    const int half = count / 2;
    const auto precedes = [axis](const Item& a, const Item& b) { return a.coordinates[axis] < b.coordinates[axis]; };
    std::nth_element(items, items + half, items + count, precedes);
    T low = items[0].coordinates[axis];
    for (int i = 1; i < half; i++)
        low = std::max(low, items[i].coordinates[axis]);
    __nodes[node] = Node{low, items[half].coordinates[axis], axis};
    split(2 * node + 1, items, half, space);
    split(2 * node + 2, items + half, count - half, space);
}

template <class T>
template <int Space, class Collector>
void NearestSearch<T>::search(Collector& collector, const T* point) const {
    std::conditional_t<Space == 0, std::vector<Distance>, std::array<Distance, std::size_t(Space)>> offsets;
    const std::size_t space = std::size_t(__space);
    if constexpr (Space == 0)
        offsets.resize(space);
    for (std::size_t k = 0; k < space; k++) {
        const Distance x = Distance(point[k]), lower = Distance(__lower[k]), upper = Distance(__upper[k]);
        const Distance outside = x < lower ? x - lower : x > upper ? x - upper : Distance(0);
        offsets[k] = outside * outside;
    }
    Descent<T, Space, Node, Collector> descent(__nodes.data(), __points.data(), point, __space, offsets.data(),
                                               collector);
    descent.visit(0, 0, getSize());
}

template <class T>
template <class Collector>
void NearestSearch<T>::search(Collector& collector, const T* point) const {
    if (__points.empty())
        return;
    switch (__space) {
    case 2:
        return search<2>(collector, point);
    case 3:
        return search<3>(collector, point);
    default:
        return search<0>(collector, point);
    }
}

template <class T>
int NearestSearch<T>::nearest(const T* point, int excluded, Distance& squaredDistance) const {
    NearestOne<Distance> found(__numbers.data(), excluded);
    search(found, point);
    squaredDistance = found.squared();
    if (found.number() >= 0)
        return found.number();
    // All are infinitely far.
    int lowest = -1;
    for (const int number : __numbers)
        if (number != excluded && (lowest < 0 || number < lowest))
            lowest = number;
    return lowest;
}

template <class T>
void NearestSearch<T>::nearest(const T* point, int k, int* numbers) const {
    constexpr int insideCapacity = 32;
    Distance inside[insideCapacity];
    std::vector<Distance> more(std::size_t(k > insideCapacity ? k : 0));
    int filled = 0;
    if (k > 0) { // numbers holds positions until all are found
        NearestMany<Distance> found(k > insideCapacity ? more.data() : inside, numbers, k);
        search(found, point);
        filled = found.filled();
    }
    if (filled < k) {
        // What is left is infinitely far: in the order of the leaves.
        std::vector<bool> taken(__numbers.size(), false);
        for (int i = 0; i < filled; i++)
            taken[std::size_t(numbers[i])] = true;
        for (int i = 0; filled < k; i++)
            if (!taken[std::size_t(i)])
                numbers[filled++] = i;
    }
    for (int i = 0; i < k; i++)
        numbers[i] = __numbers[std::size_t(numbers[i])];
}

template <class T>
typename NearestSearch<T>::Distance NearestSearch<T>::kthSquaredDistance(const T* point, int k,
                                                                         Distance withinSquared) const {
    constexpr int insideCapacity = 32;
    Distance inside[insideCapacity];
    std::vector<Distance> more(std::size_t(k > insideCapacity ? k : 0));
    NearestDistances<Distance> found(k > insideCapacity ? more.data() : inside, k, withinSquared);
    search(found, point);
    return found.last();
}

template <class T>
template <int Space>
int NearestSearch<T>::searchBox(const T* lower, const T* upper, Distance withinSquared, int most,
                                T* coordinates) const {
    std::vector<Distance> more(std::size_t(Space ? 0 : __space));
    Distance inside[Space ? Space : 1] = {};
    BoxDescent<T, Space, Node> descent(__nodes.data(), __points.data(), lower, upper, __space, withinSquared, most,
                                       coordinates);
    descent.visit(0, 0, getSize(), Space ? inside : more.data());
    return descent.found();
}

template <class T>
int NearestSearch<T>::within(const T* lower, const T* upper, Distance withinSquared, int most, T* coordinates) const {
    if (__points.empty())
        return 0;
    return __space == 3 ? searchBox<3>(lower, upper, withinSquared, most, coordinates)
                        : searchBox<0>(lower, upper, withinSquared, most, coordinates);
}

template class NearestSearch<int>;
template class NearestSearch<float>;
template class NearestSearch<double>;
template class NearestSearch<long double>;

} // namespace vorlen
