#include "images/filters/windowextremum.h"

#include <algorithm>
#include <utility>

#include "numerics/widevectors.h"

namespace vorlen {

namespace {

// Of a NaN and a number b is taken, unless careful.
template <bool greatest, bool careful, class T>
VORLEN_INLINED T better(T a, T b) {
    const T best = greatest ? (a > b ? a : b) : (a < b ? a : b);
    if constexpr (careful)
        return a != a ? a : best;
    else
        return best;
}

// target[j] = the better of a[j] and b[j].
template <bool greatest, bool careful, class T>
void combine(const T* __restrict a, const T* __restrict b, T* __restrict target, int count) {
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 0; j < count; ++j)
            target[j] = better<greatest, careful>(a[j], b[j]);
    });
}

// The same where a masked element of b counts as neutral.
template <bool greatest, bool careful, class T>
void combineMasked(const T* __restrict a, const T* __restrict b, const T* __restrict mask, T* __restrict target,
                   int count, T neutral) {
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 0; j < count; ++j)
            target[j] = better<greatest, careful>(a[j], mask[j] != T(0) ? b[j] : neutral);
    });
}

// The best of the present segment so far takes in the line that enters; together with the best of the rest of the
// segment before it is the result.
template <bool greatest, bool careful, class T>
void step(T* __restrict running, const T* __restrict entering, const T* __restrict rest, T* __restrict target,
          int count) {
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 0; j < count; ++j) {
            const T best = better<greatest, careful>(running[j], entering[j]);
            running[j] = best;
            target[j] = better<greatest, careful>(best, rest[j]);
        }
    });
}

// Keeps the elements whose mask is 0.
template <class T>
void copyWhere(const T* __restrict mask, const T* __restrict source, T* __restrict target, int count) {
    widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 0; j < count; ++j)
            target[j] = mask[j] != T(0) ? source[j] : target[j];
    });
}

} // namespace

template <class T, bool greatest>
bool WindowExtremum<T, greatest>::holdsNaN(const T* values, int count) {
    int found = 0;
    for (int j = 0; j < count; ++j)
        found |= values[j] != values[j];
    return found != 0;
}

template <class T, bool greatest>
bool WindowExtremum<T, greatest>::holdsNaN(const PixelMatrix<T>& matrix) {
    bool found = false;
    for (int i = 0; std::is_floating_point_v<T> && !found && i < matrix.getSize1(); ++i)
        found = holdsNaN(matrix[i].data(), matrix.getSize2());
    return found;
}

template <class T, bool greatest>
void WindowExtremum<T, greatest>::line(const T* from, T* to, const T* mask, int n, int h) {
    if constexpr (std::is_floating_point_v<T>)
        __careful ? __line<true>(from, to, mask, n, h) : __line<false>(from, to, mask, n, h);
    else
        __line<false>(from, to, mask, n, h);
}

template <class T, bool greatest>
template <bool careful>
void WindowExtremum<T, greatest>::__line(const T* from, T* to, const T* mask, int n, int h) {
    if (n < 1)
        return;
    h = std::clamp(h, 0, n - 1);
    const auto padded = static_cast<std::size_t>(n) + 2 * static_cast<std::size_t>(h);
    if (__first.size() < padded)
        __first.resize(padded);
    if (__second.size() < padded)
        __second.resize(padded);
    T* a = __first.data();
    T* b = __second.data();
    std::fill_n(a, h, neutral());
    if (mask == nullptr)
        std::copy_n(from, n, a + h);
    else
        for (int j = 0; j < n; ++j)
            a[h + j] = mask[j] != T(0) ? from[j] : neutral();
    std::fill_n(a + h + n, h, neutral());
    // a[j] is the best of [j, j + length) of the padded line.
    const long long window = 2 * static_cast<long long>(h) + 1;
    long long length = 1;
    auto valid = static_cast<long long>(padded);
    while (2 * length <= window) {
        valid -= length;
        combine<greatest, careful>(static_cast<const T*>(a), static_cast<const T*>(a + length), b,
                                   static_cast<int>(valid));
        std::swap(a, b);
        length *= 2;
    }
    const T* const second = a + (window - length);
    if (mask == nullptr) {
        combine<greatest, careful>(static_cast<const T*>(a), second, to, n);
        return;
    }
    combine<greatest, careful>(static_cast<const T*>(a), second, b, n);
    for (int j = 0; j < n; ++j)
        to[j] = mask[j] != T(0) ? b[j] : from[j];
}

// As many columns as keep the two segments in the second-level cache.
template <class T, bool greatest>
int WindowExtremum<T, greatest>::__blockWidth(int h) const {
    constexpr long long cacheBytes = 128 * 1024;
    const long long segment =
        std::min<long long>(2 * static_cast<long long>(h) + 1, static_cast<long long>(__lines.size()));
    const long long width = cacheBytes / (2 * std::max<long long>(segment, 1) * static_cast<long long>(sizeof(T)));
    return static_cast<int>(std::clamp<long long>(width, 64, 1024));
}

// The lines are cut into segments of the window's length, so that a window covers the end of one segment and the
// beginning of the next. The bests of all ends of a segment are worked out backwards into a buffer before any line of
// the segment is replaced; the bests of its beginnings run along. Line i is replaced when line i + h has entered.
template <class T, bool greatest>
template <bool careful>
void WindowExtremum<T, greatest>::__acrossBlock(int offset, int count, int h) {
    const int n = static_cast<int>(__lines.size());
    if (n < 2)
        return;
    h = std::min(h, n - 1);
    const int window = 2 * h + 1;
    const auto width = static_cast<std::size_t>(count);
    const int slots = std::min(window, n);
    const std::size_t needed = width * static_cast<std::size_t>(slots);
    const bool masked = !__masks.empty();
    // __first: running best, a line of neutral elements, a masked line and a result; __second: two segments.
    if (__first.size() < 4 * width)
        __first.resize(4 * width);
    if (__second.size() < 2 * needed)
        __second.resize(2 * needed);
    T* const running = __first.data();
    T* const nothing = running + width;
    T* const visible = nothing + width;
    T* const result = visible + width;
    T* before = __second.data(); // ends of the segment before the present one
    T* present = before + needed;
    const auto slot = [&](T* segment, int place) { return segment + width * static_cast<std::size_t>(place); };
    std::fill_n(nothing, count, neutral());
    for (int start = 0; start - h < n; start += window) {
        const int filled = std::clamp(n - start, 0, window);
        for (int place = filled - 1; place >= 0; --place) {
            const T* const after = place + 1 < filled ? slot(present, place + 1) : nothing;
            const T* const values = __lines[static_cast<std::size_t>(start + place)] + offset;
            if (masked)
                combineMasked<greatest, careful>(after, values,
                                                 __masks[static_cast<std::size_t>(start + place)] + offset,
                                                 slot(present, place), count, neutral());
            else
                combine<greatest, careful>(after, values, slot(present, place), count);
        }
        std::fill_n(running, count, neutral());
        for (int place = 0; place < window; ++place) {
            const int last = start + place; // end of the window of line i
            const int i = last - h;
            if (i >= n)
                break;
            const T* entering = last < n ? __lines[static_cast<std::size_t>(last)] + offset : nothing;
            if (masked && last < n) {
                combineMasked<greatest, careful>(static_cast<const T*>(nothing), entering,
                                                 __masks[static_cast<std::size_t>(last)] + offset, visible, count,
                                                 neutral());
                entering = visible;
            }
            // The window begins at place + 1 of the segment before; at its end it is the present segment.
            const bool reachesBack = start > 0 && place + 1 < window;
            const T* const rest = reachesBack ? slot(before, place + 1) : nothing;
            T* const target = masked || i < 0 ? result : __lines[static_cast<std::size_t>(i)] + offset;
            step<greatest, careful>(running, entering, rest, target, count);
            if (masked && i >= 0)
                copyWhere(__masks[static_cast<std::size_t>(i)] + offset, static_cast<const T*>(result),
                          __lines[static_cast<std::size_t>(i)] + offset, count);
        }
        std::swap(before, present);
    }
}

template class WindowExtremum<short, false>;
template class WindowExtremum<unsigned short, false>;
template class WindowExtremum<int, false>;
template class WindowExtremum<unsigned int, false>;
template class WindowExtremum<float, false>;
template class WindowExtremum<double, false>;
template class WindowExtremum<long double, false>;
template class WindowExtremum<short, true>;
template class WindowExtremum<unsigned short, true>;
template class WindowExtremum<int, true>;
template class WindowExtremum<unsigned int, true>;
template class WindowExtremum<float, true>;
template class WindowExtremum<double, true>;
template class WindowExtremum<long double, true>;

// Called from the header.
template void WindowExtremum<short, false>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<short, true>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<unsigned short, false>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<unsigned short, true>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<int, false>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<int, true>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<unsigned int, false>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<unsigned int, true>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<float, false>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<float, false>::__acrossBlock<true>(int, int, int);
template void WindowExtremum<float, true>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<float, true>::__acrossBlock<true>(int, int, int);
template void WindowExtremum<double, false>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<double, false>::__acrossBlock<true>(int, int, int);
template void WindowExtremum<double, true>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<double, true>::__acrossBlock<true>(int, int, int);
template void WindowExtremum<long double, false>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<long double, false>::__acrossBlock<true>(int, int, int);
template void WindowExtremum<long double, true>::__acrossBlock<false>(int, int, int);
template void WindowExtremum<long double, true>::__acrossBlock<true>(int, int, int);

} // namespace vorlen
