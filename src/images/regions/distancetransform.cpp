#include "images/regions/distancetransform.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "numerics/exception.h"
#include "numerics/widevectors.h"

// All that the versions for wide vectors compute are whole numbers, which fused operations do not round.

namespace vorlen {

namespace {

constexpr int noMark = -1;

/// A row without marks is this far away.
constexpr int faraway = 1 << 30;

/// Up to this size of a raster of square pixels all constants of parabolas are whole numbers below infinite<int>.
constexpr int mostForInt = 1 << 14;
/// And up to this size all squared distances are whole numbers that float holds.
constexpr int mostForFloat = 2896;

template <class C>
constexpr C infinite = std::is_integral_v<C> ? C(1 << 30) : std::numeric_limits<C>::infinity();

/// Results of a run of columns are written so many at a time, of which the next run overwrites those beyond its end.
constexpr std::size_t chunk = 8;

void fillRun(int* at, int* const end, int value) {
    do
        for (std::size_t k = 0; k < chunk; ++k)
            at[k] = value;
    while ((at += chunk) < end);
}

// What is said of each column by itself, of several at once. The plain forms, and the ones for rasters of square
// pixels, which are compiled for wider vectors too.

/// Constants of the parabolas over the columns of a row.
template <class C>
inline void findConstants(const int* __restrict nearestRow, int columns, int row, int rows, C scale,
                          C* __restrict constants) {
    for (int q = 0; q < columns; ++q) {
        const int rise = nearestRow[q] - row;
        const bool isFar = (rise >= rows) | (rise <= -rows);
        const C height = C(isFar ? 0 : rise);
        const C constant = scale * height * height + C(q) * C(q);
        constants[q] = isFar ? infinite<C> : constant;
    }
}

VORLEN_WIDE void findIntConstants(const int* __restrict nearestRow, int columns, int row, int rows,
                                  int* __restrict constants) {
    findConstants<int>(nearestRow, columns, row, rows, 1, constants);
}

/// Whether the points of the columns lie below the line between their neighbours; where they do not, the envelope has
/// them not.
template <class C>
inline void findLow(const C* __restrict constants, int columns, unsigned char* __restrict low) {
    for (int q = 0; q < columns; ++q)
        low[q] = constants[q] - constants[q - 1] < constants[q + 1] - constants[q] ? 1 : 0;
}

VORLEN_WIDE void findIntLow(const int* __restrict constants, int columns, unsigned char* __restrict low) {
    findLow<int>(constants, columns, low);
}

/// Numbers and squared distances of the elements of a row, from their marks' rows and columns.
template <class Real>
inline void findSquares(const int* __restrict markRow, const int* __restrict markColumn, int row, int columns,
                        Real scale, Real unit, float* __restrict squares, int* __restrict numbers) {
    for (int x = 0; x < columns; ++x) {
        const Real rise = Real(markRow[x] - row), way = Real(x - markColumn[x]);
        squares[x] = float(unit * (scale * rise * rise + way * way));
        numbers[x] = markRow[x] * columns + markColumn[x];
    }
}

VORLEN_WIDE void findFloatSquares(const int* __restrict markRow, const int* __restrict markColumn, int row, int columns,
                                  float* __restrict squares, int* __restrict numbers) {
    findSquares<float>(markRow, markColumn, row, columns, 1, 1, squares, numbers);
}

VORLEN_WIDE void findDownward(const unsigned char* __restrict marks, const int* __restrict above, int row, int columns,
                              int* __restrict here) {
    for (int c = 0; c < columns; ++c)
        here[c] = marks[c] != 0 ? row : above[c];
}

VORLEN_WIDE void findUpward(const unsigned char* __restrict marks, const int* __restrict above, int row, int columns,
                            int* __restrict below, int* __restrict nearest) {
    for (int c = 0; c < columns; ++c) {
        below[c] = marks[c] != 0 ? row : below[c];
        nearest[c] = below[c] - row < row - above[c] ? below[c] : above[c];
    }
}

} // namespace

DistanceTransform::DistanceTransform(double rowStep, double columnStep) : __rowStep(rowStep), __columnStep(columnStep) {
}

void DistanceTransform::run(int rows, int columns, const std::vector<unsigned char>& marks) {
    if (rows < 0 || columns < 0 || marks.size() != std::size_t(rows) * std::size_t(columns))
        throw SizeError("void DistanceTransform::run(int, int, const std::vector<unsigned char>&)",
                        "The raster has another size");
    __rows = rows;
    __columns = columns;
    __squares.resize(marks.size());
    __nearest.resize(marks.size());
    if (marks.empty())
        return;
    const auto width = static_cast<std::size_t>(columns);
    __below.assign(width, faraway);
    for (std::vector<int>* row : {&__nearestRow, &__runRow, &__runColumn})
        row->resize(width + chunk);
    __low.assign(width + chunk, 0);
    __hullColumn.resize(width);
    sweepDown(marks);
    const bool isSmall = __rowStep == __columnStep && rows <= mostForInt && columns <= mostForInt;
    for (int row = rows - 1; row >= 0; --row) {
        const std::size_t offset = std::size_t(row) * width;
        findUpward(marks.data() + offset, __nearest.data() + offset, row, columns, __below.data(), __nearestRow.data());
        if (isSmall)
            transformRow(row, __intConstants, __intHull);
        else
            transformRow(row, __constants, __hull);
    }
}

/// The nearest marks above, or at, each element.
void DistanceTransform::sweepDown(const std::vector<unsigned char>& marks) {
    const auto width = std::size_t(__columns);
    __nearestRow.assign(__nearestRow.size(), -faraway);
    for (int row = 0; row < __rows; ++row) {
        int* const here = __nearest.data() + std::size_t(row) * width;
        findDownward(marks.data() + std::size_t(row) * width, row > 0 ? here - width : __nearestRow.data(), row,
                     __columns, here);
    }
}

template <class C>
void DistanceTransform::transformRow(int row, std::vector<C>& constants, std::vector<C>& hull) {
    const int size = findEnvelope(row, constants, hull);
    const std::size_t offset = std::size_t(row) * std::size_t(__columns);
    if (size == 0) {
        std::fill_n(__squares.data() + offset, __columns, std::numeric_limits<float>::infinity());
        std::fill_n(__nearest.data() + offset, __columns, noMark);
        return;
    }
    for (int k = 0, x = 0; k < size && x < __columns; ++k) {
        const int q = __hullColumn[std::size_t(k)];
        int end = __columns;
        if (k + 1 < size) { // where both parabolas are equally low the left one counts
            const double last = double(hull[std::size_t(k) + 1] - hull[std::size_t(k)]) /
                                (2.0 * (__hullColumn[std::size_t(k) + 1] - q));
            end = last < 0 ? 0 : last >= __columns ? __columns : int(last) + 1;
        }
        if (end <= x)
            continue;
        fillRun(__runColumn.data() + x, __runColumn.data() + end, q);
        fillRun(__runRow.data() + x, __runRow.data() + end, __nearestRow[std::size_t(q)]);
        x = end;
    }
    float* const squares = __squares.data() + offset;
    int* const numbers = __nearest.data() + offset;
    const double unit = __columnStep * __columnStep;
    if (std::is_integral_v<C> && unit == 1 && std::max(__rows, __columns) <= mostForFloat)
        findFloatSquares(__runRow.data(), __runColumn.data(), row, __columns, squares, numbers);
    else
        findSquares(__runRow.data(), __runColumn.data(), row, __columns, __rowStep * __rowStep / unit, unit, squares,
                    numbers);
}

/// The parabola over column q in units of columns is height + (x - q)^2; with its constant, height + q^2, the lower
/// envelope is the lower hull of the points (q, constant). Its size.
template <class C>
int DistanceTransform::findEnvelope(int row, std::vector<C>& constants, std::vector<C>& hull) {
    const auto columns = std::size_t(__columns);
    constants.resize(columns + 2); // one more on either side
    hull.resize(columns);
    C* const own = constants.data() + 1;
    own[-1] = own[columns] = infinite<C>;
    // Most points lie above the line between their neighbours: they go at once.
    if constexpr (std::is_integral_v<C>) {
        findIntConstants(__nearestRow.data(), __columns, row, __rows, own);
        findIntLow(own, __columns, __low.data());
    } else {
        const double scale = __rowStep * __rowStep / (__columnStep * __columnStep);
        findConstants(__nearestRow.data(), __columns, row, __rows, scale, own);
        findLow(own, __columns, __low.data());
    }
    std::size_t size = 0;
    for (std::size_t first = 0; first < columns; first += chunk) {
        std::uint64_t left = 0;
        std::memcpy(&left, __low.data() + first, sizeof left);
        for (; left != 0; left &= left - 1) {
            const std::size_t place = std::size_t(std::countr_zero(left)) / 8;
            const std::size_t q = first + (std::endian::native == std::endian::little ? place : 7 - place);
            size = addToHull(own[q], int(q), hull, size);
        }
    }
    return int(size);
}

/// Takes those off that are nowhere the lowest any more.
template <class C>
std::size_t DistanceTransform::addToHull(C constant, int column, std::vector<C>& hull, std::size_t size) {
    using Product = std::conditional_t<std::is_integral_v<C>, std::int64_t, double>;
    while (size > 1) {
        const std::size_t a = size - 2, b = size - 1;
        const int before = __hullColumn[b] - __hullColumn[a], behind = column - __hullColumn[b];
        if (Product(hull[b] - hull[a]) * behind < Product(constant - hull[b]) * before)
            break;
        --size;
    }
    hull[size] = constant;
    __hullColumn[size] = column;
    return size + 1;
}

} // namespace vorlen
