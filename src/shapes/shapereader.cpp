#include "shapes/shapereader.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <istream>
#include <iterator>
#include <type_traits>

#include "numerics/exception.h"

namespace vorlen {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

template <class T>
T parseWide(const char* text) {
    if constexpr (std::is_same_v<T, float>)
        return std::strtof(text, nullptr);
    else if constexpr (std::is_same_v<T, double>)
        return std::strtod(text, nullptr);
    else
        return std::strtold(text, nullptr);
}

} // namespace

ShapeReader::ShapeReader(std::istream& stream, const std::string& where) : __stream(stream), __where(where) {
    if (!stream.good())
        throw FileReadError(__where, "Cannot read the shape");
    __start = stream.tellg();
    if (__start >= 0 && stream.seekg(0, std::ios::end)) {
        const long long size = stream.tellg();
        stream.seekg(__start);
        // A directory or a device may name any size; nothing of it is read then.
        if (size > __start && size - __start < (1LL << 40)) {
            __text.resize(std::size_t(size - __start));
            stream.read(__text.data(), std::streamsize(__text.size()));
            __text.resize(std::size_t(stream.gcount()));
        }
    } else {
        stream.clear();
        __start = -1;
        __text.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    if (stream.bad())
        throw FileReadError(__where, "Cannot read the shape");
    __next = __text.data();
    __end = __next + __text.size();
}

void ShapeReader::raiseFormat(const std::string& what) const {
    throw FileFormatError(__where, what);
}

void ShapeReader::raiseShort() const {
    throw FileReadError(__where, "The shape description ends too early");
}

void ShapeReader::skipBlanks() {
    while (__next != __end && isBlank(*__next))
        ++__next;
}

bool ShapeReader::atEnd() {
    skipBlanks();
    return __next == __end;
}

int ShapeReader::record() {
    if (atEnd())
        raiseShort();
    if (*__next != '#')
        raiseFormat("Invalid shape description: a record \"# number\" is missing");
    ++__next;
    return number<int>();
}

int ShapeReader::count(int numbersPerItem) {
    const int n = record();
    if (n < 0)
        raiseFormat("Invalid shape description: a count is negative");
    if (numbersPerItem < 1 && n > 0)
        raiseFormat("Invalid shape description: vertices without coordinates");
    // Every number takes a character and a separator, but for the last one's.
    if (static_cast<long long>(n) * numbersPerItem > (__end - __next + 1) / 2)
        raiseShort();
    return n;
}

int ShapeReader::space() {
    const int space = record();
    if (space < 0 || space > 1024)
        raiseFormat("Invalid shape description: the space dimension is out of range");
    return space;
}

template <class T>
T ShapeReader::number() {
    skipBlanks();
    if (__next == __end)
        raiseShort();
    // A plus sign is taken, as by the streams, but not one in front of another sign.
    const char* first = *__next == '+' && __next + 1 != __end && __next[1] != '-' ? __next + 1 : __next;
    T value{};
    auto result = std::from_chars(first, __end, value);
    if constexpr (std::is_floating_point_v<T>) {
        if (result.ec == std::errc::result_out_of_range) {
            // Too small for T is as good as 0, too large is no number.
            value = parseWide<T>(std::string(first, result.ptr).c_str());
            result.ec = std::errc();
        }
        if (result.ec == std::errc() && !std::isfinite(value))
            raiseFormat("Invalid shape description: a coordinate is not finite");
    }
    if (result.ec != std::errc() || (result.ptr != __end && !isBlank(*result.ptr)))
        raiseFormat("Invalid shape description: a number is malformed");
    __next = result.ptr;
    return value;
}

void ShapeReader::finish() {
    if (__start >= 0) {
        __stream.clear();
        __stream.seekg(__start + (__next - __text.data()));
    }
}

template int ShapeReader::number<int>();
template unsigned int ShapeReader::number<unsigned int>();
template float ShapeReader::number<float>();
template double ShapeReader::number<double>();
template long double ShapeReader::number<long double>();

} // namespace vorlen
