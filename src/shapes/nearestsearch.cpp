#include "shapes/nearestsearch.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace vorlen {

namespace {
constexpr int leafSize = 12;
}

template <class T>
NearestSearch<T>::NearestSearch(const T* coordinates, int n, int space) : __space(space), __ranks(std::size_t(n)) {
    std::iota(__ranks.begin(), __ranks.end(), 0);
    const std::size_t total = std::size_t(n) * std::size_t(space);
    std::vector<Distance> source(coordinates, coordinates + total);
    // Numbers without an order cannot be split at a median: one leaf then, that is a walk over all points.
    const bool ordered = std::all_of(source.begin(), source.end(), [](Distance x) { return x == x; });
    if (n > leafSize && space > 0 && ordered) {
        __nodes.reserve(std::size_t(n) / 2);
        build(0, n, source);
    } else {
        __nodes.push_back({0, n, -1, -1, 0});
    }
    __points.resize(total);
    for (int i = 0; i < n; ++i) {
        std::copy_n(source.data() + std::size_t(__ranks[i]) * space, space, __points.data() + std::size_t(i) * space);
    }
}

template <class T>
int NearestSearch<T>::build(int first, int last, const std::vector<Distance>& source) {
    const int node = int(__nodes.size());
    __nodes.push_back({first, last, -1, -1, 0});
    if (last - first <= leafSize) {
        return node;
    }
    const std::size_t space = std::size_t(__space);
    int axis = 0;
    Distance widest = -1;
    for (int k = 0; k < __space; ++k) {
        Distance low = source[std::size_t(__ranks[first]) * space + k];
        Distance high = low;
        for (int i = first + 1; i < last; ++i) {
            const Distance x = source[std::size_t(__ranks[i]) * space + k];
            low = std::min(low, x);
            high = std::max(high, x);
        }
        if (high - low > widest) {
            widest = high - low;
            axis = k;
        }
    }
    if (!(widest > 0)) {
        return node; // all points coincide: halving would never separate them
    }
    const int middle = first + (last - first) / 2;
    const auto begin = __ranks.begin();
    std::nth_element(begin + first, begin + middle, begin + last, [&](int a, int b) {
        return source[std::size_t(a) * space + axis] < source[std::size_t(b) * space + axis];
    });
    const Distance split = source[std::size_t(__ranks[middle]) * space + axis];
    build(first, middle, source);
    const int right = build(middle, last, source);
    __nodes[node].axis = axis;
    __nodes[node].right = right;
    __nodes[node].split = split;
    return node;
}

template <class T>
void NearestSearch<T>::search(int node, const Distance* point, int excluded, int& best, Distance& bestDistance) const {
    const Node& n = __nodes[node];
    if (n.axis < 0) {
        const Distance* q = __points.data() + std::size_t(n.first) * __space;
        for (int i = n.first; i < n.last; ++i, q += __space) {
            const int rank = __ranks[i];
            if (rank == excluded) {
                continue;
            }
            Distance d = 0;
            for (int k = 0; k < __space; ++k) {
                const Distance difference = point[k] - q[k];
                d += difference * difference;
            }
            if (!(d == d)) {
                d = std::numeric_limits<Distance>::infinity();
            }
            if (best < 0 || d < bestDistance || (d == bestDistance && rank < best)) {
                best = rank;
                bestDistance = d;
            }
        }
        return;
    }
    const Distance offset = point[n.axis] - n.split;
    const int near = offset < 0 ? node + 1 : n.right;
    const int far = offset < 0 ? n.right : node + 1;
    search(near, point, excluded, best, bestDistance);
    // An equal distance may hide a lower rank behind the plane, so only a greater one prunes.
    if (best < 0 || !(offset * offset > bestDistance)) {
        search(far, point, excluded, best, bestDistance);
    }
}

template <class T>
int NearestSearch<T>::nearest(const T* point, int excluded, Distance& squaredDistance) const {
    int best = -1;
    squaredDistance = std::numeric_limits<Distance>::infinity();
    if constexpr (std::is_same_v<T, Distance>) {
        search(0, point, excluded, best, squaredDistance);
    } else {
        const std::vector<Distance> wide(point, point + __space);
        search(0, wide.data(), excluded, best, squaredDistance);
    }
    return best;
}

template class NearestSearch<int>;
template class NearestSearch<float>;
template class NearestSearch<double>;
template class NearestSearch<long double>;

} // namespace vorlen
