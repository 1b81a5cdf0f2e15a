#include "shapes/kdtree.h"

#include "numerics/elementtype.h"
#include "shapes/vertexstack.h"

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

namespace vorlen {

namespace {

/// Below this number of vertices, looking at all is faster than a further division.
constexpr int leafSize = 12;

/// Type of squared distances: those of int coordinates would overflow an int.
template <class T>
using Squared = std::conditional_t<std::is_same_v<T, int>, double, T>;

/// Vertex under way to its leaf, with its coordinates beside it; Space 0 stands for any dimension.
template <class T, int Space>
struct TreeItem {
    T coordinates[Space];
    int index;
};

template <class T>
struct TreeItem<T, 0> {
    const T* coordinates;
    int index;
};

/// Undefined coordinates have no order.
template <class T>
T ordered(T x) {
    return x == x ? x : std::numeric_limits<T>::max();
}

template <class D>
class NearestOne {
public:
    D worst() const { return __squared; }
    void add(D squared, int position) {
        __squared = squared;
        __position = position;
    }
    int position() const { return __position; }

private:
    D __squared = std::numeric_limits<D>::infinity();
    int __position = 0;
};

/// The k nearest so far, by increasing distance; equal ones in the order in which they came.
template <class D>
class NearestMany {
public:
    NearestMany(D* squared, int* positions, int k) : __squared(squared), __positions(positions), __size(k) {}

    D worst() const { return __worst; }
    void add(D squared, int position) {
        int place = __filled < __size ? __filled++ : __size - 1;
        for (; place > 0 && __squared[place - 1] > squared; place--) {
            __squared[place] = __squared[place - 1];
            __positions[place] = __positions[place - 1];
        }
        __squared[place] = squared;
        __positions[place] = position;
        if (__filled == __size) {
            __worst = __squared[__size - 1];
        }
    }
    int filled() const { return __filled; }

private:
    D* __squared;
    int* __positions;
    int __size;
    int __filled = 0;
    D __worst = std::numeric_limits<D>::infinity();
};

/// Descent from the root towards a point. offsets holds, for each axis, the squared distance from the point to the
/// cell along this axis: added up in the order in which distances are, their sum is never above the distance of a
/// vertex in the cell, rounding included, so that no nearest vertex is passed over.
template <class T, int Space, class Node, class Collector>
class Descent {
public:
    using D = Squared<T>;

    Descent(const Node* nodes, const T* points, const T* point, int space, D* offsets, Collector& collector)
        : __nodes(nodes), __points(points), __point(point), __space(space), __offsets(offsets), __collector(collector) {
    }

    void visit(std::size_t node, int first, int count) {
        const int space = Space ? Space : __space;
        if (count <= leafSize) {
            const T* coordinates = __points + std::size_t(first) * space;
            for (int i = first; i < first + count; i++, coordinates += space) {
                D squared = 0;
                for (int k = 0; k < space; k++) {
                    const D d = D(coordinates[k]) - D(__point[k]);
                    squared += d * d;
                }
                if (squared < __collector.worst()) {
                    __collector.add(squared, i);
                }
            }
            return;
        }
        const Node& split = __nodes[node];
        const int half = count / 2;
        const D toLow = D(__point[split.axis]) - D(split.low);
        const D toHigh = D(__point[split.axis]) - D(split.high);
        const bool left = toLow + toHigh < 0;
        if (left) {
            visit(2 * node + 1, first, half);
        } else {
            visit(2 * node + 2, first + half, count - half);
        }
        const D kept = __offsets[split.axis];
        __offsets[split.axis] = left ? toHigh * toHigh : toLow * toLow;
        D squared = 0;
        for (int k = 0; k < space; k++) {
            squared += __offsets[k];
        }
        if (squared < __collector.worst()) {
            if (left) {
                visit(2 * node + 2, first + half, count - half);
            } else {
                visit(2 * node + 1, first, half);
            }
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

} // namespace

template <class T>
KDTree<T>::KDTree() = default;

template <class T>
KDTree<T>::~KDTree() = default;

template <class T>
void KDTree<T>::setShape(Shape<T>& shape) {
    const char* where = "void KDTree<T>::setShape(Shape<T>&)";
    if (shape.getNumVertices() == 0) {
        throw UsageError(where, "The shape is empty");
    }
    VertexServer<T>* server = shape.getServer();
    if (shape.isComposite()) {
        VertexStack<T>& stack = dynamic_cast<VertexStack<T>&>(shape);
        server = stack[0].getServer();
        for (int level = 1; level < stack.getHeight(); level++) {
            if (stack[level].getServer() != server) {
                throw UsageError(where, "The shape is indexed on several servers");
            }
        }
    }
    __shape = &shape;
    __server = server;
    __vertices.setServer(*server);
    __built = false;
}

template <class T>
void KDTree<T>::build() {
    const char* where = "void KDTree<T>::build()";
    if (!__shape) {
        throw UsageError(where, "The tree has no shape");
    }
    setShape(*__shape); // the shape may have changed its server, or lost its vertices
    const int size = __shape->getNumVertices();
    __vertices.setSize(size, false);
    if (const Vertices<T>* vertices = dynamic_cast<const Vertices<T>*>(__shape)) {
        for (int i = 0; i < size; i++) {
            __vertices.setIndex(i, vertices->getIndex(i));
        }
    } else {
        int i = 0;
        for (ConstVertexIterator<T> vertex(*__shape); vertex.current() && i < size; ++vertex) {
            __vertices.setIndex(i++, vertex.currentServerIndex());
        }
    }
    __space = __server->getSpace();

    std::size_t divisions = 1;
    for (int count = size; count > leafSize; count = (count + 1) / 2) {
        divisions *= 2;
    }
    __nodes.assign(divisions - 1, Node{});
    __points.resize(std::size_t(size) * __space);
    __lower.assign(__space, 0);
    __upper.assign(__space, 0);
    switch (__space) {
    case 2:
        __buildTree<2>();
        break;
    case 3:
        __buildTree<3>();
        break;
    default:
        __buildTree<0>();
    }
    __built = true;
}

template <class T>
template <int Space>
void KDTree<T>::__buildTree() {
    using Item = TreeItem<T, Space>;
    const int size = __vertices.getNumVertices();
    const int space = __space;
    std::vector<Item> items(size);
    std::vector<T> coordinates; // of the items that have no room for them
    if constexpr (Space == 0) {
        coordinates.resize(std::size_t(size) * space);
    }
    for (int i = 0; i < size; i++) {
        items[i].index = __vertices.getIndex(i);
        const T* source = (*__server)[items[i].index].data();
        if constexpr (Space == 0) {
            T* copy = coordinates.data() + std::size_t(i) * space;
            for (int k = 0; k < space; k++) {
                copy[k] = ordered(source[k]);
            }
            items[i].coordinates = copy;
        } else {
            for (int k = 0; k < Space; k++) {
                items[i].coordinates[k] = ordered(source[k]);
            }
        }
    }

    __split(0, items.data(), size, space);
    T* point = __points.data();
    for (int i = 0; i < size; i++, point += space) {
        __vertices.setIndex(i, items[i].index);
        for (int k = 0; k < space; k++) {
            point[k] = items[i].coordinates[k];
        }
    }
    for (int k = 0; k < space; k++) {
        __lower[k] = __upper[k] = __points[k];
        for (std::size_t i = k; i < __points.size(); i += space) {
            __lower[k] = std::min(__lower[k], __points[i]);
            __upper[k] = std::max(__upper[k], __points[i]);
        }
    }
}

template <class T>
template <class Item>
void KDTree<T>::__split(std::size_t node, Item* items, int count, int space) {
    if (count <= leafSize) {
        return;
    }
    // The bounds are needed here only, so that all calls may share the work vectors.
    T* lower = __lower.data();
    T* upper = __upper.data();
    for (int k = 0; k < space; k++) {
        lower[k] = upper[k] = items[0].coordinates[k];
    }
    for (int i = 1; i < count; i++) {
        for (int k = 0; k < space; k++) {
            const T x = items[i].coordinates[k];
            lower[k] = x < lower[k] ? x : lower[k];
            upper[k] = x > upper[k] ? x : upper[k];
        }
    }
    int axis = 0;
    for (int k = 1; k < space; k++) {
        if (Squared<T>(upper[k]) - Squared<T>(lower[k]) > Squared<T>(upper[axis]) - Squared<T>(lower[axis])) {
            axis = k;
        }
    }
    if (space == 0 || lower[axis] == upper[axis]) {
        axis = 0; // all at one place: any division will do
    }

    const int half = count / 2;
    const auto precedes = [axis](const Item& a, const Item& b) { return a.coordinates[axis] < b.coordinates[axis]; };
    std::nth_element(items, items + half, items + count, precedes);
    T low = items[0].coordinates[axis];
    for (int i = 1; i < half; i++) {
        low = std::max(low, items[i].coordinates[axis]);
    }
    __nodes[node] = Node{low, items[half].coordinates[axis], axis};
    __split(2 * node + 1, items, half, space);
    __split(2 * node + 2, items + half, count - half, space);
}

template <class T>
void KDTree<T>::__checkQuery(const Vector<T>& point, const char* where) const {
    if (!__built) {
        throw UsageError(where, "The tree has not been built");
    }
    if (point.getSize() != __space) {
        throw SizeError(where, "The two vectors have different sizes");
    }
}

template <class T>
template <int Space, class Collector>
void KDTree<T>::__search(Collector& collector, const Vector<T>& point) const {
    using D = Squared<T>;
    std::conditional_t<Space == 0, std::vector<D>, std::array<D, Space>> offsets;
    if constexpr (Space == 0) {
        offsets.resize(__space);
    }
    for (int k = 0; k < __space; k++) {
        const D x = point[k];
        const D outside = x < D(__lower[k]) ? x - D(__lower[k]) : x > D(__upper[k]) ? x - D(__upper[k]) : D(0);
        offsets[k] = outside * outside;
    }
    Descent<T, Space, Node, Collector> descent(__nodes.data(), __points.data(), point.data(), __space, offsets.data(),
                                               collector);
    descent.visit(0, 0, __vertices.getNumVertices());
}

template <class T>
template <class Collector>
void KDTree<T>::__search(Collector& collector, const Vector<T>& point) const {
    switch (__space) {
    case 2:
        return __search<2>(collector, point);
    case 3:
        return __search<3>(collector, point);
    default:
        return __search<0>(collector, point);
    }
}

template <class T>
Vector<T>& KDTree<T>::nearestVertex(const Vector<T>& point) const {
    __checkQuery(point, "Vector<T>& KDTree<T>::nearestVertex(const Vector<T>&) const");
    NearestOne<Squared<T>> nearest;
    __search(nearest, point);
    return (*__server)[__vertices.getIndex(nearest.position())];
}

template <class T>
void KDTree<T>::nearestVertices(Vertices<T>& out, const Vector<T>& point, int k) const {
    __checkQuery(point, "void KDTree<T>::nearestVertices(Vertices<T>&,const Vector<T>&,const int) const");
    using D = Squared<T>;
    constexpr int insideCapacity = 32;
    const int size = __vertices.getNumVertices();
    k = std::clamp(k, 0, size);

    D insideSquared[insideCapacity];
    int insidePositions[insideCapacity];
    std::vector<D> moreSquared(k > insideCapacity ? k : 0);
    std::vector<int> morePositions(k > insideCapacity ? k : 0);
    D* squared = k > insideCapacity ? moreSquared.data() : insideSquared;
    int* positions = k > insideCapacity ? morePositions.data() : insidePositions;
    int filled = 0;
    if (k > 0) {
        NearestMany<D> nearest(squared, positions, k);
        __search(nearest, point);
        filled = nearest.filled();
    }
    if (filled < k) {
        // What is left is infinitely far: in the order of the leaves.
        std::vector<bool> found(size, false);
        for (int i = 0; i < filled; i++) {
            found[positions[i]] = true;
        }
        for (int i = 0; filled < k; i++) {
            if (!found[i]) {
                positions[filled++] = i;
            }
        }
    }

    out.setServer(*__server);
    out.setSize(k, false);
    for (int i = 0; i < k; i++) {
        out.setIndex(i, __vertices.getIndex(positions[i]));
    }
}

template class KDTree<int>;
template class KDTree<float>;
template class KDTree<double>;
template class KDTree<long double>;

} // namespace vorlen
