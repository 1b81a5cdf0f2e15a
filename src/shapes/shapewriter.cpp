#include "shapes/shapewriter.h"

#include <charconv>
#include <ostream>
#include <type_traits>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr int newStreamPrecision = 6;

} // namespace

ShapeWriter::ShapeWriter(std::ostream& stream) : __stream(stream), __precision(int(stream.precision())) {
}

void ShapeWriter::record(int value) {
    text("# ");
    number(value);
    newLine();
}

template <class T>
void ShapeWriter::number(T value) {
    char digits[128];
    if constexpr (std::is_floating_point_v<T>) {
        const auto result = __precision == newStreamPrecision
                                ? std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general)
                                : std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general,
                                                std::min(__precision, 40));
        __text.append(digits, result.ptr);
    } else {
        __text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    }
}

void ShapeWriter::finish(const std::string& where) {
    if (!handOn())
        throw FileWriteError(where, "Cannot write the shape");
}

/// False when the stream takes no more. Its exception mask stays as it is.
bool ShapeWriter::handOn() {
    const std::ios_base::iostate mask = __stream.exceptions();
    const auto restoreMask = [&] {
        // A mask that covers the present state would throw here what is reported already.
        try {
            __stream.exceptions(mask);
        } catch (const std::ios_base::failure&) {
        }
    };
    try {
        __stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
        __stream.write(__text.data(), std::streamsize(__text.size()));
    } catch (const std::ios_base::failure&) {
        restoreMask();
        return false;
    }
    __text.clear();
    restoreMask();
    return true;
}

template void ShapeWriter::number<int>(int);
template void ShapeWriter::number<unsigned int>(unsigned int);
template void ShapeWriter::number<float>(float);
template void ShapeWriter::number<double>(double);
template void ShapeWriter::number<long double>(long double);

} // namespace vorlen
