#include "images/files/orientedrows.h"

#include <cstring>

#include "images/files/samplesink.h"

namespace vorlen {

OrientedRows::OrientedRows(SampleSink& sink, int orientation, int width, int height, std::size_t pixelLength)
    : __sink(sink), __orientation(orientation >= 1 && orientation <= 8 ? orientation : 1), __width(width),
      __height(height), __pixelLength(pixelLength) {
}

unsigned char* OrientedRows::target(int row) {
    if (__orientation == 1)
        return __sink.rowTarget(row);
    return __orientation == 4 ? __sink.rowTarget(__height - 1 - row) : nullptr;
}

bool OrientedRows::put(int row, const unsigned char* samples) {
    const std::size_t length = std::size_t(__width) * __pixelLength;
    if (__orientation == 1 || __orientation == 4)
        return __sink.takeRow(__orientation == 1 ? row : __height - 1 - row, samples);
    if (__orientation <= 3) {
        __kept.resize(length);
        for (std::size_t j = 0; j < std::size_t(__width); ++j)
            std::memcpy(&__kept[length - (j + 1) * __pixelLength], samples + j * __pixelLength, __pixelLength);
        return __sink.takeRow(__orientation == 2 ? row : __height - 1 - row, __kept.data());
    }
    __kept.resize(length * std::size_t(__height));
    std::memcpy(&__kept[length * std::size_t(row)], samples, length);
    return ++__numKept < __height || putTurned();
}

/// A row of the turned picture is a column of the kept one.
bool OrientedRows::putTurned() {
    const bool columnsReversed = __orientation == 6 || __orientation == 7; // the first kept row is the last column
    const bool rowsReversed = __orientation == 7 || __orientation == 8;
    std::vector<unsigned char> turned(std::size_t(__height) * __pixelLength);
    for (int i = 0; i < __width; ++i) {
        for (int j = 0; j < __height; ++j) {
            const std::size_t from = std::size_t(columnsReversed ? __height - 1 - j : j) * std::size_t(__width) +
                                     std::size_t(rowsReversed ? __width - 1 - i : i);
            std::memcpy(&turned[std::size_t(j) * __pixelLength], &__kept[from * __pixelLength], __pixelLength);
        }
        if (!__sink.takeRow(i, turned.data()))
            return false;
    }
    return true;
}

} // namespace vorlen
