#include "editing/journal/journalbytes.h"

#include <bit>
#include <limits>

#include "numerics/exception.h"

namespace vorlen {

void ByteWriter::number(std::uint64_t value) {
    for (; value >= 128; value >>= 7)
        __bytes += static_cast<char>(128 | (value & 127));
    __bytes += static_cast<char>(value);
}

/// The sign is the lowest bit, so that small negative numbers are short as well.
void ByteWriter::integer(std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    number(value < 0 ? ~(bits << 1) : bits << 1);
}

void ByteWriter::real(float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    for (int i = 0; i < 4; ++i)
        __bytes += static_cast<char>(bits >> (8 * i) & 255);
}

void ByteWriter::decimal(double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    for (int i = 0; i < 8; ++i)
        __bytes += static_cast<char>(bits >> (8 * i) & 255);
}

void ByteWriter::text(std::string_view value) {
    number(value.size());
    __bytes += value;
}

std::uint64_t ByteReader::number() {
    std::uint64_t value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
        if (__bytes.empty())
            fail("The journal ends within a number");
        const auto byte = static_cast<unsigned char>(__bytes.front());
        __bytes.remove_prefix(1);
        value |= static_cast<std::uint64_t>(byte & 127) << shift;
        if (byte < 128)
            return value;
    }
    fail("A number of the journal is too long");
}

std::int64_t ByteReader::integer() {
    const std::uint64_t bits = number();
    return static_cast<std::int64_t>((bits & 1) != 0 ? ~(bits >> 1) : bits >> 1);
}

int ByteReader::smallInteger() {
    const std::int64_t value = integer();
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max())
        fail("A number of the journal is too large");
    return static_cast<int>(value);
}

float ByteReader::real() {
    if (__bytes.size() < 4)
        fail("The journal ends within a number");
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 4; ++i)
        bits |= static_cast<std::uint32_t>(static_cast<unsigned char>(__bytes[i])) << (8 * i);
    __bytes.remove_prefix(4);
    return std::bit_cast<float>(bits);
}

double ByteReader::decimal() {
    if (__bytes.size() < 8)
        fail("The journal ends within a number");
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 8; ++i)
        bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(__bytes[i])) << (8 * i);
    __bytes.remove_prefix(8);
    return std::bit_cast<double>(bits);
}

std::string ByteReader::text() {
    const std::size_t length = count();
    std::string value(__bytes.substr(0, length));
    __bytes.remove_prefix(length);
    return value;
}

std::size_t ByteReader::count() {
    const std::uint64_t value = number();
    if (value > __bytes.size())
        fail("The journal ends within what it announces");
    return static_cast<std::size_t>(value);
}

void ByteReader::fail(const char* what) {
    throw FileFormatError("ByteReader", what);
}

} // namespace vorlen
