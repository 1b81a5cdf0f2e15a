#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

#include "numerics/widevectors.h"

namespace vorlen {

/// The steps of tiling a band between two closed contours, apart from what is made of its triangles. Contours are plain
/// numbers: the coordinates of one vertex after the other, space of them each.
namespace BandTiling {

template <class T>
inline T squaredDistance(const T* p, const T* q, int space) {
    T sum = 0;
    for (int k = 0; k < space; ++k)
        sum += (p[k] - q[k]) * (p[k] - q[k]);
    return sum;
}

/// Brings the centroid of the contour's area, or of its line where the area vanishes, to the origin of the plane.
template <class T>
void centre(T* points, int size, int space) {
    if (size == 0 || space < 2)
        return;
    const T origin[2] = {points[0], points[1]};
    T area = 0, areaX = 0, areaY = 0, length = 0, lengthX = 0, lengthY = 0;
    for (int k = 0; k < size; ++k) {
        const T* const p = points + std::size_t(k) * space;
        const T* const q = points + std::size_t(k + 1 < size ? k + 1 : 0) * space;
        const T px = p[0] - origin[0], py = p[1] - origin[1], qx = q[0] - origin[0], qy = q[1] - origin[1];
        const T product = px * qy - qx * py, side = std::sqrt((qx - px) * (qx - px) + (qy - py) * (qy - py));
        area += product;
        areaX += product * (px + qx) / 3;
        areaY += product * (py + qy) / 3;
        length += side;
        lengthX += side * (px + qx) / 2;
        lengthY += side * (py + qy) / 2;
    }
    T x = origin[0], y = origin[1];
    // A figure-8 or a line drawn there and back has no area to speak of, and its quotient would lie anywhere.
    if (std::abs(area) > T(1e-3) * length * length) {
        x += areaX / area;
        y += areaY / area;
    } else if (length > 0) {
        x += lengthX / length;
        y += lengthY / length;
    }
    for (int k = 0; k < size; ++k) {
        points[std::size_t(k) * space] -= x;
        points[std::size_t(k) * space + 1] -= y;
    }
}

/// The closest pair of vertices of two contours, which have some: of equal pairs the one with the lowest position on
/// the first, then the lowest on the second. Keeps its memory from call to call.
template <class T>
class ClosestPair {
public:
    int first = 0, second = 0;

    void find(const T* a, int n, const T* b, int m, int space) {
        first = second = 0;
        constexpr int mostPairs = 1 << 13; // above that the sweep has less to do
        if (m <= mostPairs / std::max(n, 1))
            lookAtAll(a, n, b, m, space);
        else
            sweep(a, n, b, m, space);
    }

private:
    /// Row by row of distances, several of them formed at once.
    void lookAtAll(const T* a, int n, const T* b, int m, int space) {
        const auto size = static_cast<std::size_t>(m);
        __axes.resize(size * std::size_t(space));
        for (std::size_t k = 0; k < size; ++k)
            for (int axis = 0; axis < space; ++axis)
                __axes[std::size_t(axis) * size + k] = b[k * std::size_t(space) + std::size_t(axis)];
        __row.resize(size);
        const T* const row = __row.data();
        T best = squaredDistance(a, b, space);
        for (int i = 0; i < n; ++i) {
            const T* const p = a + std::size_t(i) * std::size_t(space);
            const T least = space == 3 ? fillRow<3>(p, size, space) : fillRow<0>(p, size, space);
            if (!(least < best))
                continue;
            for (std::size_t k = 0; k < size; ++k)
                if (row[k] < best) {
                    best = row[k];
                    first = i;
                    second = int(k);
                }
        }
    }

    /// Distances of p from all vertices of the second contour; the least of them. A known number of axes is told when
    /// this is compiled, else it is 0.
    template <int known>
    T fillRow(const T* at, std::size_t size, int space) {
        using Pack = widevectors::Pack<T, 16>;
        using Lanes = typename Pack::Type;
        constexpr auto lanes = static_cast<std::size_t>(Pack::lanes);
        const int numAxes = known > 0 ? known : space;
        T copy[std::size_t(known) + 1]; // which no one writes to meanwhile
        std::copy_n(at, known, copy);
        const T* const p = known > 0 ? copy : at;
        const T* const axes = __axes.data();
        T* const row = __row.data();
        const auto distance = [&](std::size_t k) {
            T sum = 0;
            for (int axis = 0; axis < numAxes; ++axis) {
                const T way = p[axis] - axes[std::size_t(axis) * size + k];
                sum += way * way;
            }
            return sum;
        };
        const T start = distance(0);
        Lanes least = Lanes{} + start;
        std::size_t k = 0;
        for (; k + lanes <= size; k += lanes) {
            Lanes sum = {};
            for (int axis = 0; axis < numAxes; ++axis) {
                Lanes there;
                widevectors::load(there, axes + std::size_t(axis) * size + k);
                const Lanes way = p[axis] - there;
                sum += way * way;
            }
            widevectors::store(row + k, sum);
            least = sum < least ? sum : least;
        }
        T of[lanes];
        widevectors::store(of, least);
        for (; k < size; ++k) {
            row[k] = distance(k);
            of[0] = row[k] < of[0] ? row[k] : of[0];
        }
        return *std::min_element(of, of + lanes);
    }

    /// Along the first axis, past the vertices that are near enough on that axis only.
    void sweep(const T* a, int n, const T* b, int m, int space) {
        __order.resize(std::size_t(m));
        std::iota(__order.begin(), __order.end(), 0);
        const auto abscissa = [&](int k) { return b[std::size_t(k) * space]; };
        std::sort(__order.begin(), __order.end(), [&](int p, int q) { return abscissa(p) < abscissa(q); });
        T best = squaredDistance(a, b, space);
        for (int k = 0; k < n; ++k) {
            const T* const point = a + std::size_t(k) * space;
            int nearest = k == 0 ? 0 : -1;
            const auto consider = [&](int candidate) {
                const T along = point[0] - abscissa(candidate);
                if (along * along > best)
                    return false;
                const T distance = squaredDistance(point, b + std::size_t(candidate) * space, space);
                if (distance < best || (distance == best && nearest >= 0 && candidate < nearest)) {
                    best = distance;
                    nearest = candidate;
                }
                return true;
            };
            const auto middle = std::lower_bound(__order.begin(), __order.end(), point[0],
                                                 [&](int candidate, T value) { return abscissa(candidate) < value; });
            for (auto right = middle; right != __order.end() && consider(*right); ++right)
                ;
            for (auto left = middle; left != __order.begin() && consider(*(left - 1)); --left)
                ;
            if (nearest >= 0) {
                first = k;
                second = nearest;
            }
        }
    }

    std::vector<int> __order;
    std::vector<T> __axes, __row;
};

/// Walks along two contours a and b from their first to their last vertices by equal normalized arc length, the lengths
/// being those of the contours. Calls step(i, j, true) for the triangle of b's vertices j and j + 1 with a's vertex i,
/// step(i, j, false) for that of a's vertices i and i + 1 with b's vertex j. Keeps its memory from call to call.
template <class T>
class ArcLengthWalk {
public:
    template <class Step>
    void run(const T* a, int n, T lengthOfA, const T* b, int m, T lengthOfB, int space, Step&& step) {
        if (n == 0 || m == 0)
            return;
        measure(a, n, lengthOfA, space, __lower);
        measure(b, m, lengthOfB, space, __upper);
        const T* const lower = __lower.data();
        const T* const upper = __upper.data();
        int i = 0, j = 0;
        while (i < n - 1 && j < m - 1) {
            const bool advancesUpper = std::abs(lower[i + 1] - upper[j]) > std::abs(upper[j + 1] - lower[i]);
            step(i, j, advancesUpper);
            (advancesUpper ? j : i) += 1;
        }
        for (; j < m - 1; ++j)
            step(i, j, true);
        for (; i < n - 1; ++i)
            step(i, j, false);
    }

private:
    /// How far along the contour its vertices lie, as shares of the length.
    static void measure(const T* points, int size, T length, int space, std::vector<T>& shares) {
        shares.resize(std::size_t(size));
        shares[0] = 0;
        T walked = 0;
        for (int k = 1; k < size; ++k) {
            const T* const p = points + std::size_t(k) * space;
            walked += std::sqrt(squaredDistance(p, p - space, space));
            shares[std::size_t(k)] = walked / length;
        }
    }

    std::vector<T> __lower, __upper;
};

/// Whether the quadrilateral between the last and the first vertices of two contours is cut from a's first to b's last
/// one, the shorter diagonal, or the other way.
template <class T>
bool closesFromFirst(const T* a, int n, const T* b, int m, int space) {
    const T* const lastA = a + std::size_t(n - 1) * space;
    const T* const lastB = b + std::size_t(m - 1) * space;
    return squaredDistance(lastA, b, space) > squaredDistance(lastB, a, space);
}

} // namespace BandTiling

} // namespace vorlen
