#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace vorlen {

/// Even spacing along a chain of points, on plain arrays: n points of space numbers each.
///
/// Positions that rounding pushes past the end stay at the end; a chain of length 0 gives its first point. One root for
/// each input point, one interpolation for each output point.
namespace ArcLength {

/// Length of the chain up to each point; one more entry, with the closing segment, for a closed chain.
template <class W>
void cumulate(const W* points, int n, int space, bool closed, std::vector<W>& lengths) {
    lengths.resize(std::size_t(n) + (closed ? 1 : 0));
    lengths[0] = 0;
    for (int k = 1; k < int(lengths.size()); ++k) {
        const W* p = points + std::size_t(k - 1) * space;
        const W* q = points + std::size_t(k < n ? k : 0) * space;
        W squares = 0;
        for (int a = 0; a < space; ++a)
            squares += (q[a] - p[a]) * (q[a] - p[a]);
        lengths[k] = lengths[k - 1] + std::sqrt(squares);
    }
}

/// The point at position target of the segment that ends at point `end`, which may be n for the closing one.
template <class W>
void interpolate(const W* points, int n, int space, const std::vector<W>& lengths, int end, W target, W* out) {
    const W* p = points + std::size_t(end - 1) * space;
    const W* q = points + std::size_t(end < n ? end : 0) * space;
    const W width = lengths[end] - lengths[end - 1];
    const W t = width > 0 ? std::clamp((target - lengths[end - 1]) / width, W(0), W(1)) : W(0);
    for (int a = 0; a < space; ++a)
        out[a] = p[a] + t * (q[a] - p[a]);
}

/// m points from the first to the last; n and m are at least 1. lengths is working storage.
template <class W>
void resampleOpen(const W* points, int n, int space, W* out, int m, std::vector<W>& lengths) {
    const W* last = points + std::size_t(n - 1) * space;
    std::copy(last, last + space, out + std::size_t(m - 1) * space);
    std::copy(points, points + space, out);
    if (m < 3)
        return;
    cumulate(points, n, space, false, lengths);
    const W step = lengths[n - 1] / W(m - 1);
    int end = std::min(1, n - 1);
    for (int k = 1; k < m - 1; ++k) {
        const W target = W(k) * step;
        while (end < n - 1 && !(lengths[end] > target))
            ++end;
        if (end > 0)
            interpolate(points, n, space, lengths, end, target, out + std::size_t(k) * space);
        else
            std::copy(points, points + space, out + std::size_t(k) * space);
    }
}

/// m points around the closed chain, the first one its first; n and m are at least 1.
template <class W>
void resampleClosed(const W* points, int n, int space, W* out, int m, std::vector<W>& lengths) {
    std::copy(points, points + space, out);
    if (m < 2)
        return;
    cumulate(points, n, space, true, lengths);
    const W step = lengths[n] / W(m);
    int end = 1;
    for (int k = 1; k < m; ++k) {
        const W target = W(k) * step;
        while (end < n && lengths[end] < target)
            ++end;
        interpolate(points, n, space, lengths, end, target, out + std::size_t(k) * space);
    }
}

} // namespace ArcLength

} // namespace vorlen
