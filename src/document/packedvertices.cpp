#include "document/packedvertices.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vorlen {

namespace {

constexpr double farthest = 2e6; // pixels

/// A number that has decimals of a thousandth is the nearest one to its decimal text, and so is the quotient.
bool isThousandths(double coordinate) {
    if (!(std::abs(coordinate) <= farthest))
        return false;
    const double back = std::round(coordinate * 1000) / 1000;
    return back == coordinate && (coordinate != 0 || !std::signbit(coordinate));
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
    if (std::all_of(coordinates, coordinates + size, isThousandths)) {
        __thousandths = std::make_unique_for_overwrite<std::int32_t[]>(size);
        std::transform(coordinates, coordinates + size, __thousandths.get(),
                       [](double coordinate) { return static_cast<std::int32_t>(std::lround(coordinate * 1000)); });
    } else {
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
