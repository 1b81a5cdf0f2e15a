#include "document/packedvertices.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "document/lineshape.h"

namespace vorlen {

namespace {

constexpr double farthest = 2e6; // pixels

/// True when all numbers are thousandths, which are written then. A number that has decimals of a thousandth is the
/// nearest one to its decimal text, and so is the quotient.
bool toThousandths(const double* numbers, std::size_t size, std::int32_t* thousandths) {
    bool good = true;
    for (std::size_t k = 0; k < size && good;) {
        const std::size_t end = std::min(size, k + 64); // at a time, without a branch between
        for (; k < end; ++k) {
            const bool isNear = std::abs(numbers[k]) <= farthest;
            const double scaled = isNear ? numbers[k] * 1000 : 0;
            thousandths[k] = static_cast<std::int32_t>(scaled + std::copysign(0.5, scaled));
            const double back = thousandths[k] / 1000.0;
            good &= isNear & (back == numbers[k]) & (std::signbit(back) == std::signbit(numbers[k]));
        }
    }
    return good;
}

/// The coordinates of vertices that lie one after the other.
template <class T>
auto reader(const T* coordinates) {
    return [coordinates](int i, int axis) { return coordinates[2 * std::ptrdiff_t(i) + axis]; };
}

/// As lineshape::isClockwise(), in whole numbers, without rounding as far as the sums stay below 2^64: coordinates lie
/// within 2^31, so that a term fits.
bool isClockwiseLine(const std::int32_t* coordinates, int n) {
    long double area = 0;
    std::int64_t x = coordinates[2 * std::ptrdiff_t(n) - 2], y = coordinates[2 * std::ptrdiff_t(n) - 1];
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const std::int64_t nextX = coordinates[2 * i], nextY = coordinates[2 * i + 1];
        area += static_cast<long double>(x * nextY - nextX * y);
        x = nextX;
        y = nextY;
    }
    return area < 0;
}

/// Vertices the other way round.
template <class T>
void reverseVertices(T* coordinates, int n) {
    for (int i = 0, j = n - 1; i < j; ++i, --j)
        std::swap_ranges(coordinates + 2 * std::ptrdiff_t(i), coordinates + 2 * std::ptrdiff_t(i) + 2,
                         coordinates + 2 * std::ptrdiff_t(j));
}

} // namespace

PackedVertices::PackedVertices(const double* coordinates, int n) : __size(std::max(0, n)) {
    const std::size_t size = 2 * std::size_t(__size);
    if (size == 0)
        return;
    __thousandths = std::make_unique_for_overwrite<std::int32_t[]>(size);
    if (!toThousandths(coordinates, size, __thousandths.get())) {
        __thousandths.reset();
        __numbers = std::make_unique_for_overwrite<double[]>(size);
        std::copy_n(coordinates, size, __numbers.get());
    }
}

PackedVertices::PackedVertices(const PackedVertices& other) : __size(other.__size) {
    const std::size_t size = 2 * std::size_t(__size);
    if (other.__thousandths) {
        __thousandths = std::make_unique_for_overwrite<std::int32_t[]>(size);
        std::copy_n(other.__thousandths.get(), size, __thousandths.get());
    } else if (other.__numbers) {
        __numbers = std::make_unique_for_overwrite<double[]>(size);
        std::copy_n(other.__numbers.get(), size, __numbers.get());
    }
}

PackedVertices::PackedVertices(PackedVertices&& other) noexcept
    : __size(std::exchange(other.__size, 0)), __thousandths(std::move(other.__thousandths)),
      __numbers(std::move(other.__numbers)) {
}

PackedVertices& PackedVertices::operator=(PackedVertices other) noexcept {
    __size = std::exchange(other.__size, 0);
    __thousandths = std::move(other.__thousandths);
    __numbers = std::move(other.__numbers);
    return *this;
}

bool PackedVertices::isClockwise() const {
    if (__size < 3)
        return false;
    return __thousandths ? isClockwiseLine(__thousandths.get(), __size)
                         : lineshape::isClockwise(__size, reader(__numbers.get()));
}

void PackedVertices::findBounds(double (&x)[2], double (&y)[2]) const {
    if (!__thousandths)
        return lineshape::findBounds(__size, reader(__numbers.get()), x, y);
    std::int32_t columns[2], rows[2];
    lineshape::findBounds(__size, reader(__thousandths.get()), columns, rows);
    for (int k = 0; k < 2; ++k) {
        x[k] = columns[k] / 1000.0;
        y[k] = rows[k] / 1000.0;
    }
}

void PackedVertices::reverse() {
    if (__thousandths)
        reverseVertices(__thousandths.get(), __size);
    else if (__numbers)
        reverseVertices(__numbers.get(), __size);
}

void PackedVertices::clear() {
    *this = PackedVertices();
}

} // namespace vorlen
