#include "normalization/blocksearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numerics/widevectors.h"

namespace vorlen {

namespace {

constexpr double slack = 1.0001; // for rounding
constexpr int leastCells = 4;    // a block of fewer gains nothing
constexpr int mostRank = 32;     // above it the lists of distances cost more than descents
constexpr std::size_t lanes = 4; // places that are worked on together

} // namespace

template <class T>
double BlockSearch<T>::Known::boundAt(const Place& other) const {
    double squared = 0;
    for (std::size_t a = 0; a < 3; ++a)
        squared += (double(place[a]) - double(other[a])) * (double(place[a]) - double(other[a]));
    return distance + std::sqrt(squared);
}

template <class T>
BlockSearch<T>::BlockSearch(const NearestSearch<T>& tree, int rank)
    : __tree(tree), __rank(rank), __most(128 + 8 * std::min(rank, mostRank)),
      __near(3 * std::size_t(__most + 1)), __last{{}, std::numeric_limits<double>::infinity()}, __middle(__last) {
}

/// Nothing is within reach when rounding was greater than the slack: then all are looked at.
template <class T>
T BlockSearch<T>::findOne(const Place& place, double reach) const {
    const T square = __tree.kthSquaredDistance(place.data(), __rank, T(reach * reach));
    if (std::isfinite(square))
        return square;
    return __tree.kthSquaredDistance(place.data(), __rank, std::numeric_limits<T>::infinity());
}

/// places: of lanes cells; within: squares of distances within which there are k points.
template <class T>
void BlockSearch<T>::findNear(int size, const Place* places, const T* within, T* squared) const {
    using Lanes = typename widevectors::Pack<T, int(lanes * sizeof(T))>::Type;
    Lanes list[mostRank], at[3], worst;
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        worst[lane] = within[lane];
        for (std::size_t a = 0; a < 3; ++a)
            at[a][lane] = places[lane][a];
    }
    std::fill(list, list + __rank, worst);
    const T* const x = __near.data();
    const T* const y = x + __most + 1;
    const T* const z = y + __most + 1;
    for (int i = 0; i < size; ++i) {
        const Lanes dx = x[i] - at[0], dy = y[i] - at[1], dz = z[i] - at[2];
        Lanes next = dx * dx + dy * dy + dz * dz;
        const auto takes = next < list[__rank - 1];
        if (!(takes[0] | takes[1] | takes[2] | takes[3]))
            continue;
        // Without branches: each lane keeps the smallest of its distances, ascending.
        for (int r = 0; r < __rank; ++r) {
            const Lanes kept = list[r];
            list[r] = next < kept ? next : kept;
            next = next < kept ? kept : next;
        }
    }
    for (std::size_t lane = 0; lane < lanes; ++lane)
        squared[lane] = list[__rank - 1][lane];
}

/// The points that may count at any of the places; more than __most when there are too many to gain by it.
template <class T>
int BlockSearch<T>::collect(const Place* places, int count) {
    if (count < leastCells || __rank > mostRank)
        return __most + 1;
    Place lower = places[0], upper = places[0], middle;
    for (std::size_t a = 0; a < 3; ++a) {
        for (int i = 1; i < count; ++i) {
            lower[a] = std::min(lower[a], places[i][a]);
            upper[a] = std::max(upper[a], places[i][a]);
        }
        middle[a] = T((double(lower[a]) + double(upper[a])) / 2);
    }
    const double distance = std::sqrt(double(findOne(middle, __middle.boundAt(middle) * slack)));
    __middle = {middle, distance};
    const double reach = __middle.boundAt(lower) * slack;
    if (!std::isfinite(distance) || reach > 2 * distance)
        return __most + 1;
    return __tree.within(lower.data(), upper.data(), T(reach * reach), __most, __near.data());
}

template <class T>
void BlockSearch<T>::find(const Place* places, int count, T* squared) {
    const int near = collect(places, count);
    if (near > __most) {
        for (int i = 0; i < count; ++i) {
            squared[i] = findOne(places[i], __last.boundAt(places[i]) * slack);
            __last = {places[i], std::sqrt(double(squared[i]))};
        }
        return;
    }
    for (int first = 0; first < count; first += int(lanes)) {
        Place four[lanes];
        T within[lanes], found[lanes];
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            four[lane] = places[std::min(first + int(lane), count - 1)];
            const double reach = __middle.boundAt(four[lane]) * slack;
            within[lane] = T(reach * reach);
        }
        findNear(near, four, within, found);
        for (int i = first; i < std::min(first + int(lanes), count); ++i) {
            const std::size_t lane = std::size_t(i - first);
            squared[i] = found[lane] < within[lane] ? found[lane] : findOne(places[i], std::sqrt(double(within[lane])));
        }
    }
    __last = __middle;
}

template class BlockSearch<float>;
template class BlockSearch<double>;

} // namespace vorlen
