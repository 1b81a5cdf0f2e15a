#include "images/filters/derichegradient.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <mutex>
#include <type_traits>
#include <utility>
#include <vector>

#include "images/filters/parallelwork.h"
#include "images/filters/stepprogress.h"
#include "numerics/exception.h"
#include "numerics/widevectors.h"

namespace vorlen {

namespace {

template <class T>
struct Coefficients {
    T a0, a1, a2, a3, b1, b2, scale;
};

// y = a0 x0 + a1 x1 + b2 y2 + b1 y1, without the first term where a0 is 0. The last product comes last, since it is the
// one for which the next step waits.
template <bool hasFirst, class V, class T>
VORLEN_INLINED void recur(const V& x0, const V& x1, const V& y1, const V& y2, T a0, T a1, T b1, T b2, V& y) {
    V sum = a1 * x1;
    if constexpr (hasFirst)
        sum = sum + a0 * x0;
    sum = sum + b2 * y2;
    y = sum + b1 * y1;
}

// A step of the causal part for count lines side by side: all pointers to different rows.
template <class T, bool hasFirst>
void causalStep(const T* x0, const T* x1, const T* y1, const T* y2, T* y, T a0, T a1, T b1, T b2, int count) {
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        const auto step = [=](int c, auto type) VORLEN_INLINED_LAMBDA {
            typename decltype(type)::type x, before, last, lastButOne, sum;
            widevectors::load(x, x0 + c);
            widevectors::load(before, x1 + c);
            widevectors::load(last, y1 + c);
            widevectors::load(lastButOne, y2 + c);
            recur<hasFirst>(x, before, last, lastButOne, a0, a1, b1, b2, sum);
            widevectors::store(y + c, sum);
        };
        using Pack = widevectors::Pack<T, decltype(bytes)::value>;
        int c = 0;
        for (; c + Pack::lanes <= count; c += Pack::lanes)
            step(c, std::type_identity<typename Pack::Type>());
        for (; c < count; ++c)
            step(c, std::type_identity<T>());
    });
}

// A step of the anticausal part, which ends the work on the row x0: the samples ahead, x1 and x2, and the parts ahead,
// z1 and z2, move on by a row.
template <class T, bool hasSecond>
void anticausalStep(T* x0, const T* y, T* x1, T* x2, T* z1, T* z2, T a2, T a3, T b1, T b2, T scale, int count) {
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        const auto step = [=](int c, auto type) VORLEN_INLINED_LAMBDA {
            typename decltype(type)::type x, next, nextButOne, last, lastButOne, causal, z;
            widevectors::load(x, x0 + c);
            widevectors::load(causal, y + c);
            widevectors::load(next, x1 + c);
            widevectors::load(nextButOne, x2 + c);
            widevectors::load(last, z1 + c);
            widevectors::load(lastButOne, z2 + c);
            recur<hasSecond>(nextButOne, next, last, lastButOne, a3, a2, b1, b2, z);
            causal = (causal + z) * scale;
            widevectors::store(x0 + c, causal);
            // The rows two ahead are not needed any more; the callers exchange the pointers.
            widevectors::store(x2 + c, x);
            widevectors::store(z2 + c, z);
        };
        using Pack = widevectors::Pack<T, decltype(bytes)::value>;
        int c = 0;
        for (; c + Pack::lanes <= count; c += Pack::lanes)
            step(c, std::type_identity<typename Pack::Type>());
        for (; c < count; ++c)
            step(c, std::type_identity<T>());
    });
}

// Lines that are filtered at once in registers.
template <class T>
constexpr int together = static_cast<int>(64 / sizeof(T));

// Both parts for that many lines side by side, element i of all of them at x + i * together; y is of the same size.
template <class T, bool hasFirst, bool hasSecond>
void filterBundle(T* x, T* y, int length, const Coefficients<T>& k) {
    const T a0 = k.a0, a1 = k.a1, a2 = k.a2, a3 = k.a3, b1 = k.b1, b2 = k.b2, scale = k.scale;
    widevectors::run([=](auto bytes) VORLEN_INLINED_LAMBDA {
        using Pack = widevectors::Pack<T, decltype(bytes)::value>;
        using V = typename Pack::Type;
        constexpr int packs = together<T> / Pack::lanes;
        V before[packs] = {}, y1[packs] = {}, y2[packs] = {};
        for (int i = 0; i < length; ++i) {
            // Where a0 is 0, a1 counts as 1 from the third element on.
            const T weight = !hasFirst && i >= 2 ? T(1) : a1;
            const std::ptrdiff_t at = std::ptrdiff_t(i) * together<T>;
            widevectors::unrolled<packs>([&](auto p) VORLEN_INLINED_LAMBDA {
                V present, sum;
                widevectors::load(present, x + at + p * Pack::lanes);
                recur<hasFirst>(present, before[p], y1[p], y2[p], a0, weight, b1, b2, sum);
                widevectors::store(y + at + p * Pack::lanes, sum);
                before[p] = present;
                y2[p] = y1[p];
                y1[p] = sum;
            });
        }
        V x1[packs] = {}, x2[packs] = {}, z1[packs] = {}, z2[packs] = {};
        for (int i = length - 1; i >= 0; --i) {
            const T weight = !hasSecond && i < length - 2 ? T(-1) : a2;
            const std::ptrdiff_t at = std::ptrdiff_t(i) * together<T>;
            widevectors::unrolled<packs>([&](auto p) VORLEN_INLINED_LAMBDA {
                V present, causal, z;
                widevectors::load(present, x + at + p * Pack::lanes);
                widevectors::load(causal, y + at + p * Pack::lanes);
                recur<hasSecond>(x2[p], x1[p], z1[p], z2[p], a3, weight, b1, b2, z);
                causal = (causal + z) * scale;
                widevectors::store(x + at + p * Pack::lanes, causal);
                x2[p] = x1[p];
                x1[p] = present;
                z2[p] = z1[p];
                z1[p] = z;
            });
        }
    });
}

template <class T>
void filterBundle(T* x, T* y, int length, const Coefficients<T>& k) {
    if (k.a0 != T(0))
        k.a3 != T(0) ? filterBundle<T, true, true>(x, y, length, k) : filterBundle<T, true, false>(x, y, length, k);
    else
        k.a3 != T(0) ? filterBundle<T, false, true>(x, y, length, k) : filterBundle<T, false, false>(x, y, length, k);
}

// Element j of row r to and from place j * count + r of the bundle.
template <class T, int count>
void interleave(T* const* rows, int first, int length, T* bundle) {
    const T* row[count];
    for (int r = 0; r < count; ++r)
        row[r] = rows[r] + first;
    widevectors::run([&](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 0; j < length; ++j)
            widevectors::unrolled<count>([&](auto r) VORLEN_INLINED_LAMBDA { bundle[j * count + r] = row[r][j]; });
    });
}

template <class T, int count>
void separate(const T* bundle, T* const* rows, int first, int length) {
    T* row[count];
    for (int r = 0; r < count; ++r)
        row[r] = rows[r] + first;
    widevectors::run([&](auto) VORLEN_INLINED_LAMBDA {
        for (int j = 0; j < length; ++j)
            widevectors::unrolled<count>([&](auto r) VORLEN_INLINED_LAMBDA { row[r][j] = bundle[j * count + r]; });
    });
}

// Memory of one thread, which grows as it is needed.
template <class T>
struct Work {
    std::vector<T> bundle, causal, state;
};

template <class T>
void filterRows(PixelMatrix<T>& matrix, const Coefficients<T>& k, Work<T>& work) {
    constexpr int count = together<T>;
    const int rows = matrix.getSize1();
    const int columns = matrix.getSize2();
    const auto width = static_cast<std::size_t>(columns);
    work.bundle.resize(width * count);
    work.causal.resize(width * count);
    work.state.resize(width);
    T* lines[count];
    for (int first = 0; first < rows; first += count) {
        for (int r = 0; r < count; ++r)
            lines[r] = first + r < rows ? matrix[first + r].data() : work.state.data();
        interleave<T, count>(lines, 0, columns, work.bundle.data());
        filterBundle(work.bundle.data(), work.causal.data(), columns, k);
        separate<T, count>(work.bundle.data(), lines, 0, columns);
    }
}

// Lines across rows, for a block of count columns: line(i) is its part of row i. The causal part goes into memory of
// its own, row by row; the way back up ends each row.
template <class T, bool hasFirst, bool hasSecond, class Line>
void filterBlock(Line x, int rows, int count, const Coefficients<T>& k, Work<T>& work) {
    const auto width = static_cast<std::size_t>(count);
    work.causal.resize(static_cast<std::size_t>(rows) * width);
    work.state.assign(5 * width, T(0));
    T* const zeros = work.state.data();
    const auto y = [&](int i) { return work.causal.data() + static_cast<std::size_t>(i) * width; };
    for (int i = 0; i < rows; ++i)
        causalStep<T, hasFirst>(x(i), i > 0 ? x(i - 1) : zeros, i > 0 ? y(i - 1) : zeros, i > 1 ? y(i - 2) : zeros,
                                y(i), k.a0, !hasFirst && i >= 2 ? T(1) : k.a1, k.b1, k.b2, count);
    // Samples and parts one and two rows ahead.
    T* x1 = zeros + width;
    T* x2 = x1 + width;
    T* z1 = x2 + width;
    T* z2 = z1 + width;
    for (int i = rows - 1; i >= 0; --i) {
        anticausalStep<T, hasSecond>(x(i), y(i), x1, x2, z1, z2, !hasSecond && i < rows - 2 ? T(-1) : k.a2, k.a3, k.b1,
                                     k.b2, k.scale, count);
        std::swap(x1, x2);
        std::swap(z1, z2);
    }
}

// The same for all columns; line(i) is row i.
template <class T, class Line>
void filterAcross(Line line, int rows, int columns, const Coefficients<T>& k, Work<T>& work) {
    constexpr int width = static_cast<int>(256 / sizeof(T));
    for (int first = 0; first < columns; first += width) {
        const int count = std::min(width, columns - first);
        const auto x = [&](int i) { return line(i) + first; };
        if (k.a0 != T(0))
            k.a3 != T(0) ? filterBlock<T, true, true>(x, rows, count, k, work)
                         : filterBlock<T, true, false>(x, rows, count, k, work);
        else
            k.a3 != T(0) ? filterBlock<T, false, true>(x, rows, count, k, work)
                         : filterBlock<T, false, false>(x, rows, count, k, work);
    }
}

template <class T>
void filterColumns(PixelMatrix<T>& matrix, const Coefficients<T>& k, Work<T>& work) {
    filterAcross<T>([&](int i) { return matrix[i].data(); }, matrix.getSize1(), matrix.getSize2(), k, work);
}

// Across the planes, for the rows i of all.
template <class Planes, class T>
void filterPlanes(Planes& planes, int count, int i, const Coefficients<T>& k, Work<T>& work) {
    using Index = std::conditional_t<std::is_same_v<Planes, VoxelMatrix<T>>, int, std::size_t>;
    filterAcross<T>([&](int plane) { return planes[static_cast<Index>(plane)][i].data(); }, count,
                    planes[0][i].getSize(), k, work);
}

// What is not finite in a volume: taken out before the recursion carries it to the ends of all lines. Memory is needed
// only where there is such an element.
template <class T>
class Holes {
public:
    Holes(int rows, int columns, int planes) : __rows(rows), __columns(columns), __planes(planes) {}

    /// Puts 0 into the places of plane k. May run for several planes at once.
    void takeOut(PixelMatrix<T>& plane, int k) {
        for (int i = 0; i < __rows; ++i) {
            T* const values = plane[i].data();
            int found = 0;
            for (int j = 0; j < __columns; ++j)
                found |= !(values[j] - values[j] == T(0));
            if (found == 0)
                continue;
            std::call_once(__made, [this] {
                __marks.assign(std::size_t(__rows) * std::size_t(__columns) * std::size_t(__planes), 0);
            });
            unsigned char* const marks = row(i, k);
            for (int j = 0; j < __columns; ++j)
                if (!(values[j] - values[j] == T(0))) {
                    marks[j] = 1;
                    values[j] = T(0);
                }
        }
    }

    bool isEmpty() const { return __marks.empty(); }

    /// Grows the places to squares, or cubes, of this half size.
    void grow(int reach) {
        for (int k = 0; k < __planes && !isEmpty(); ++k) {
            for (int i = 0; i < __rows; ++i)
                growLines([line = row(i, k)](int j) { return line + j; }, __columns, 1, reach);
            growLines([this, k](int i) { return row(i, k); }, __rows, __columns, reach);
        }
        for (int i = 0; i < __rows && !isEmpty() && __planes > 1; ++i)
            growLines([this, i](int k) { return row(i, k); }, __planes, __columns, reach);
    }

    void putNaN(PixelMatrix<T>& plane, int k) const {
        for (int i = 0; i < __rows && !isEmpty(); ++i) {
            T* const values = plane[i].data();
            const unsigned char* const marks = row(i, k);
            for (int j = 0; j < __columns; ++j)
                values[j] = marks[j] != 0 ? std::numeric_limits<T>::quiet_NaN() : values[j];
        }
    }

private:
    unsigned char* row(int i, int k) { return __marks.data() + place(i, k); }
    const unsigned char* row(int i, int k) const { return __marks.data() + place(i, k); }
    std::size_t place(int i, int k) const {
        return (std::size_t(k) * std::size_t(__rows) + std::size_t(i)) * std::size_t(__columns);
    }

    // Marks 1 are places. What lies near one, seen on the way there or back, becomes 2 at first, so that it counts for
    // none.
    template <class Line>
    void growLines(Line line, int length, int count, int reach) {
        const auto pass = [&](int i, unsigned char mark) {
            unsigned char* const marks = line(i);
            for (int c = 0; c < count; ++c) {
                int& since = __since[static_cast<std::size_t>(c)];
                since = marks[c] == 1 ? 0 : std::min(since + 1, reach + 1);
                if (marks[c] == 0 && since <= reach)
                    marks[c] = mark;
            }
        };
        __since.assign(static_cast<std::size_t>(count), reach + 1);
        for (int i = 0; i < length; ++i)
            pass(i, 2);
        __since.assign(static_cast<std::size_t>(count), reach + 1);
        for (int i = length - 1; i >= 0; --i)
            pass(i, 2);
        for (int i = 0; i < length; ++i)
            for (int c = 0; c < count; ++c)
                line(i)[c] = line(i)[c] != 0;
    }

    int __rows;
    int __columns;
    int __planes;
    std::once_flag __made;
    std::vector<unsigned char> __marks;
    std::vector<int> __since;
};

} // namespace

template <class T>
DericheGradient<T>::DericheGradient(float alpha) {
    if (!(alpha > 0.0f && std::isfinite(alpha)))
        throw ValueError("DericheGradient<T>::DericheGradient(const float)", "Alpha is not a positive number");
    // 1 - e and 1 - e^2 are formed without a difference, so that a small alpha keeps its digits.
    const long double a = alpha;
    const long double e = std::exp(-a);
    const long double rest = -std::expm1(-a);
    const long double k = rest * rest * rest * rest / (-std::expm1(-2 * a) + 2 * a * e);
    __d0 = T(0);
    __d1 = T(1);
    __d2 = T(-1);
    __d3 = T(0);
    __s0 = static_cast<T>(k);
    __s1 = static_cast<T>((a - 1) * e * k);
    __s2 = static_cast<T>((a + 1) * e * k);
    __s3 = static_cast<T>(-e * e * k);
    __b1 = static_cast<T>(2 * e);
    __b2 = static_cast<T>(-e * e);
    __derivativeScale = static_cast<T>(-rest * rest);
    __smoothingScale = T(1);
    const long double epsilon = Vector<T>::epsilon();
    long double reach = 1 / a;
    while ((a * reach + 1) * std::exp(-a * reach) >= epsilon)
        reach *= 1.01L;
    __reach = static_cast<int>(std::min(std::ceil(reach), 1e9L));
}

template <class T>
void DericheGradient<T>::gradient1(PixelMatrix<T>& matrix) {
    vGradient(matrix);
}

template <class T>
void DericheGradient<T>::gradient2(PixelMatrix<T>& matrix) {
    hGradient(matrix);
}

template <class T>
void DericheGradient<T>::hGradient(PixelMatrix<T>& matrix) {
    filter(matrix, true, false);
}

template <class T>
void DericheGradient<T>::vGradient(PixelMatrix<T>& matrix) {
    filter(matrix, false, true);
}

template <class T>
void DericheGradient<T>::gradient1(VoxelMatrix<T>& volume) {
    filter(volume, 1);
}

template <class T>
void DericheGradient<T>::gradient2(VoxelMatrix<T>& volume) {
    filter(volume, 2);
}

template <class T>
void DericheGradient<T>::gradient3(VoxelMatrix<T>& volume) {
    filter(volume, 3);
}

// The three gradients share what is done across the planes: the smoothing for the first two stays in the volume, the
// derivative for the third stands in another one. The rest is done plane by plane.
template <class T>
void DericheGradient<T>::apply(VoxelMatrix<T>& volume) {
    const int rows = volume.getSize1(), columns = volume.getSize2(), planes = volume.getSize3();
    if (rows == 0 || columns == 0 || planes == 0)
        return;
    ParallelWork work(*this, static_cast<unsigned long long>(planes) + static_cast<unsigned long long>(rows));
    std::vector<Work<T>> works(static_cast<std::size_t>(work.workers()));
    std::vector<PixelMatrix<T>> seconds(works.size());
    std::vector<PixelMatrix<T>> third(static_cast<std::size_t>(planes));
    Holes<T> holes(rows, columns, planes);
    const Coefficients<T> derivative = coefficients<Coefficients<T>>(true);
    const Coefficients<T> smoothing = coefficients<Coefficients<T>>(false);
    const auto acrossPlanes = [&](int i, int worker) {
        Work<T>& own = works[static_cast<std::size_t>(worker)];
        for (int k = 0; k < planes; ++k)
            third[static_cast<std::size_t>(k)][i] = volume[k][i];
        filterPlanes(volume, planes, i, smoothing, own);
        filterPlanes(third, planes, i, derivative, own);
    };
    const auto inPlane = [&](int k, int worker) {
        Work<T>& own = works[static_cast<std::size_t>(worker)];
        PixelMatrix<T>& second = seconds[static_cast<std::size_t>(worker)];
        PixelMatrix<T>& depth = third[static_cast<std::size_t>(k)];
        const auto filterPlane = [&](PixelMatrix<T>& plane, bool alongRows, bool alongColumns) {
            if (work.isCanceled())
                return;
            filterRows(plane, alongRows ? derivative : smoothing, own);
            filterColumns(plane, alongColumns ? derivative : smoothing, own);
        };
        second = volume[k];
        filterPlane(second, true, false);
        filterPlane(volume[k], false, true);
        filterPlane(depth, false, false);
        for (int i = 0; i < rows; ++i)
            this->normOfRow(volume[k][i].data(), second[i].data(), depth[i].data(), columns);
        holes.putNaN(volume[k], k);
    };
    this->notifyStarted("");
    // Memory for a whole volume takes its time: it is taken in parts as well.
    bool complete = work.run(planes, 0, [&](int k, int) {
        holes.takeOut(volume[k], k);
        third[static_cast<std::size_t>(k)].setSize(rows, columns);
    });
    holes.grow(__reach);
    complete = complete && work.run(rows, static_cast<unsigned long long>(rows), acrossPlanes) &&
               work.run(planes, static_cast<unsigned long long>(planes), inPlane);
    notifyEnd(*this, complete);
}

template <class T>
void DericheGradient<T>::recursiveFiltering1D(Vector<T>& x, const T& a0, const T& a1, const T& a2, const T& a3,
                                              const T& b1, const T& b2, const T& scale) const {
    const int n = x.getSize();
    __causal.setSize(n);
    __anticausal.setSize(n);
    T* const y = __causal.data();
    T* const z = __anticausal.data();
    const auto at = [n](const T* values, int i) { return i >= 0 && i < n ? values[i] : T(0); };
    for (int i = 0; i < n; ++i) {
        const T x0 = x[i], x1 = at(x.data(), i - 1), y1 = at(y, i - 1), y2 = at(y, i - 2);
        if (a0 != T(0))
            recur<true>(x0, x1, y1, y2, a0, a1, b1, b2, y[i]);
        else
            recur<false>(x0, x1, y1, y2, a0, i >= 2 ? T(1) : a1, b1, b2, y[i]);
    }
    for (int i = n - 1; i >= 0; --i) {
        const T x1 = at(x.data(), i + 1), x2 = at(x.data(), i + 2), z1 = at(z, i + 1), z2 = at(z, i + 2);
        if (a3 != T(0))
            recur<true>(x2, x1, z1, z2, a3, a2, b1, b2, z[i]);
        else
            recur<false>(x2, x1, z1, z2, a3, i < n - 2 ? T(-1) : a2, b1, b2, z[i]);
    }
    for (int i = 0; i < n; ++i)
        y[i] = (y[i] + z[i]) * scale;
    x.swap(__causal);
}

template <class T>
void DericheGradient<T>::apply(PixelMatrix<T>& matrix, const T& p0, const T& p1, const T& p2, const T& p3, const T& q0,
                               const T& q1, const T& q2, const T& q3, const T& b1, const T& b2, const T& scale1,
                               const T& scale2) const {
    if (matrix.getSize1() == 0 || matrix.getSize2() == 0)
        return;
    Work<T> work;
    filterRows(matrix, Coefficients<T>{p0, p1, p2, p3, b1, b2, scale1}, work);
    filterColumns(matrix, Coefficients<T>{q0, q1, q2, q3, b1, b2, scale2}, work);
}

template <class T>
template <class C>
C DericheGradient<T>::coefficients(bool derivative) const {
    return derivative ? C{__d0, __d1, __d2, __d3, __b1, __b2, __derivativeScale}
                      : C{__s0, __s1, __s2, __s3, __b1, __b2, __smoothingScale};
}

template <class T>
void DericheGradient<T>::filter(PixelMatrix<T>& matrix, bool alongRows, bool alongColumns) const {
    if (matrix.getSize1() == 0 || matrix.getSize2() == 0)
        return;
    Work<T> work;
    Holes<T> holes(matrix.getSize1(), matrix.getSize2(), 1);
    holes.takeOut(matrix, 0);
    filterRows(matrix, coefficients<Coefficients<T>>(alongRows), work);
    filterColumns(matrix, coefficients<Coefficients<T>>(alongColumns), work);
    holes.grow(__reach);
    holes.putNaN(matrix, 0);
}

template <class T>
void DericheGradient<T>::filter(VoxelMatrix<T>& volume, int index) {
    const int rows = volume.getSize1(), columns = volume.getSize2(), planes = volume.getSize3();
    if (rows == 0 || columns == 0 || planes == 0)
        return;
    ParallelWork work(*this, static_cast<unsigned long long>(planes) + static_cast<unsigned long long>(rows));
    std::vector<Work<T>> works(static_cast<std::size_t>(work.workers()));
    Holes<T> holes(rows, columns, planes);
    const auto acrossPlanes = [&](int i, int worker) {
        filterPlanes(volume, planes, i, coefficients<Coefficients<T>>(index == 3),
                     works[static_cast<std::size_t>(worker)]);
    };
    const auto inPlane = [&](int k, int worker) {
        filterRows(volume[k], coefficients<Coefficients<T>>(index == 2), works[static_cast<std::size_t>(worker)]);
        if (!work.isCanceled())
            filterColumns(volume[k], coefficients<Coefficients<T>>(index == 1),
                          works[static_cast<std::size_t>(worker)]);
        holes.putNaN(volume[k], k);
    };
    this->notifyStarted("");
    bool complete = work.run(planes, 0, [&](int k, int) { holes.takeOut(volume[k], k); });
    holes.grow(__reach);
    complete = complete && work.run(rows, static_cast<unsigned long long>(rows), acrossPlanes) &&
               work.run(planes, static_cast<unsigned long long>(planes), inPlane);
    notifyEnd(*this, complete);
}

template class DericheGradient<float>;
template class DericheGradient<double>;
template class DericheGradient<long double>;

} // namespace vorlen
