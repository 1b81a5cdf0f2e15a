#include "document/packedvertices.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>

#include "document/lineshape.h"

namespace vorlen {

namespace {

constexpr double farthest = 2e6; // pixels

/// True when all numbers are whole pixels that fit. A zero with a sign is none, as it would lose it.
bool toPixels(const double* numbers, std::size_t size, std::int16_t* pixels) {
    bool good = true;
    for (std::size_t k = 0; k < size && good;) {
        const std::size_t end = std::min(size, k + 64); // at a time, without a branch between
        for (; k < end; ++k) {
            const double number = std::abs(numbers[k]) <= 32767 ? numbers[k] : 0;
            pixels[k] = static_cast<std::int16_t>(number);
            good &= (pixels[k] == numbers[k]) & ((pixels[k] < 0) == std::signbit(numbers[k]));
        }
    }
    return good;
}

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
template <class T, class Read = T>
auto reader(const T* coordinates) {
    return [coordinates](int i, int axis) { return Read(coordinates[2 * std::ptrdiff_t(i) + axis]); };
}

/// As lineshape::isClockwise(), in whole numbers, without rounding: of pixels, whose terms are below 2^32, in whole
/// sums, of thousandths, which lie within 2^31, so that a term fits, as far as the sums stay below 2^64.
template <class T>
bool isClockwiseLine(const T* coordinates, int n) {
    std::conditional_t<sizeof(T) == 2, std::int64_t, long double> area = 0;
    std::int64_t x = coordinates[2 * std::ptrdiff_t(n) - 2], y = coordinates[2 * std::ptrdiff_t(n) - 1];
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const std::int64_t nextX = coordinates[2 * i], nextY = coordinates[2 * i + 1];
        area += static_cast<decltype(area)>(x * nextY - nextX * y);
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

std::size_t PackedVertices::numBytes() const {
    const std::size_t one = __form == Form::Pixels        ? sizeof(std::int16_t)
                            : __form == Form::Thousandths ? sizeof(std::int32_t)
                                                          : sizeof(double);
    return 2 * std::size_t(__size) * one;
}

template <class T>
T* PackedVertices::allocate(Form form) {
    __form = form;
    __block.reset(); // what was tried before
    __block = std::make_unique_for_overwrite<std::byte[]>(numBytes());
    return as<T>();
}

PackedVertices::PackedVertices(const double* coordinates, int n) : __size(std::max(0, n)) {
    const std::size_t size = 2 * std::size_t(__size);
    if (size == 0 || toPixels(coordinates, size, allocate<std::int16_t>(Form::Pixels)) ||
        toThousandths(coordinates, size, allocate<std::int32_t>(Form::Thousandths)))
        return;
    std::copy_n(coordinates, size, allocate<double>(Form::Numbers));
}

PackedVertices::PackedVertices(const PackedVertices& other) : __size(other.__size), __form(other.__form) {
    if (!other.__block)
        return;
    __block = std::make_unique_for_overwrite<std::byte[]>(numBytes());
    std::copy_n(other.__block.get(), numBytes(), __block.get());
}

PackedVertices::PackedVertices(PackedVertices&& other) noexcept
    : __size(std::exchange(other.__size, 0)), __form(other.__form), __block(std::move(other.__block)) {
}

PackedVertices& PackedVertices::operator=(PackedVertices other) noexcept {
    __size = other.__size;
    __form = other.__form;
    __block = std::move(other.__block);
    return *this;
}

bool PackedVertices::isClockwise() const {
    if (__size < 3)
        return false;
    if (const std::int16_t* pixels = getPixels())
        return isClockwiseLine(pixels, __size);
    if (const std::int32_t* thousandths = getThousandths())
        return isClockwiseLine(thousandths, __size);
    return lineshape::isClockwise(__size, reader(as<double>()));
}

void PackedVertices::findBounds(double (&x)[2], double (&y)[2]) const {
    if (__form == Form::Numbers)
        return lineshape::findBounds(__size, reader(as<double>()), x, y);
    std::int32_t columns[2], rows[2];
    const bool whole = __form == Form::Pixels;
    if (whole)
        lineshape::findBounds(__size, reader<std::int16_t, std::int32_t>(as<std::int16_t>()), columns, rows);
    else
        lineshape::findBounds(__size, reader(as<std::int32_t>()), columns, rows);
    for (int k = 0; k < 2; ++k) {
        x[k] = whole ? columns[k] : columns[k] / 1000.0;
        y[k] = whole ? rows[k] : rows[k] / 1000.0;
    }
}

void PackedVertices::reverse() {
    if (!__block)
        return;
    switch (__form) {
    case Form::Pixels:
        return reverseVertices(as<std::int16_t>(), __size);
    case Form::Thousandths:
        return reverseVertices(as<std::int32_t>(), __size);
    case Form::Numbers:
        return reverseVertices(as<double>(), __size);
    }
}

void PackedVertices::clear() {
    *this = PackedVertices();
}

} // namespace vorlen
