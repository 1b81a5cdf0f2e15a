#include "images/files/samplecoding.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace vorlen {

namespace {

/// Calls with the number of each sample and its bits, the highest first in each byte.
template <class Call>
void forPackedBits(const unsigned char* packed, std::size_t count, int bits, Call&& call) {
    unsigned __int128 window = 0; // the last bytes read
    int available = 0;
    for (std::size_t i = 0; i < count; ++i) {
        while (available < bits) {
            window = window << 8 | *packed++;
            available += 8;
        }
        available -= bits;
        const std::uint64_t mask = bits == 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << bits) - 1;
        call(i, static_cast<std::uint64_t>(window >> available) & mask);
    }
}

std::uint32_t tripleAt(const unsigned char* bytes) {
    if constexpr (std::endian::native == std::endian::little)
        return static_cast<std::uint32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16);
    return static_cast<std::uint32_t>(bytes[2] | bytes[1] << 8 | bytes[0] << 16);
}

/// Of a float of fewer bits: all ones in the exponent stand for infinity and what is no number, none for fractions
/// without the leading one.
float smallFloat(std::uint32_t bits, int exponentBits, int fractionBits) {
    const std::uint32_t fraction = bits & ((1u << fractionBits) - 1);
    const int exponent = static_cast<int>(bits >> fractionBits & ((1u << exponentBits) - 1));
    const int bias = (1 << (exponentBits - 1)) - 1;
    float value;
    if (exponent == (1 << exponentBits) - 1)
        value = fraction == 0 ? std::numeric_limits<float>::infinity() : std::numeric_limits<float>::quiet_NaN();
    else if (exponent == 0)
        value = std::ldexp(static_cast<float>(fraction), 1 - bias - fractionBits);
    else
        value = std::ldexp(static_cast<float>(fraction | 1u << fractionBits), exponent - bias - fractionBits);
    return bits >> (exponentBits + fractionBits) & 1 ? -value : value;
}

} // namespace

SampleStorage storageOf(const ValueType& type) {
    using enum SampleStorage;
    if (type.kind == ValueType::Real)
        return type.bits == 64 ? F64 : F32;
    const bool isSigned = type.kind == ValueType::Signed;
    if (type.bits <= 8)
        return isSigned ? I8 : U8;
    if (type.bits <= 16)
        return isSigned ? I16 : U16;
    if (type.bits <= 32)
        return isSigned ? I32 : U32;
    return isSigned ? I64 : U64;
}

float halfToFloat(std::uint16_t half) {
    return smallFloat(half, 5, 10);
}

float tripleToFloat(std::uint32_t triple) {
    return smallFloat(triple, 7, 16);
}

void unpackSamples(const unsigned char* packed, std::size_t count, const ValueType& type, void* target,
                   std::size_t targetStep) {
    withSampleType(
        storageOf(type),
        [&](auto typed) {
            using Sample = decltype(typed);
            Sample* to = static_cast<Sample*>(target);
            const int bits = type.bits;
            if (static_cast<std::size_t>(bits) == 8 * sizeof(Sample)) {
                if (targetStep == 1)
                    std::memcpy(to, packed, count * sizeof(Sample));
                else
                    for (std::size_t i = 0; i < count; ++i)
                        std::memcpy(to + i * targetStep, packed + i * sizeof(Sample), sizeof(Sample));
            } else if (type.kind == ValueType::Real) {
                for (std::size_t i = 0; i < count; ++i, to += targetStep) {
                    std::uint16_t half;
                    std::memcpy(&half, packed + 2 * i, bits == 16 ? 2 : 0);
                    *to = static_cast<Sample>(bits == 16 ? halfToFloat(half) : tripleToFloat(tripleAt(packed + 3 * i)));
                }
            } else {
                // The sign goes up to the highest bit and comes back with copies of itself.
                const int rest = type.kind == ValueType::Signed ? 64 - bits : 0;
                const auto put = [&](std::size_t i, std::uint64_t value) {
                    to[i * targetStep] = rest > 0
                                             ? static_cast<Sample>(static_cast<std::int64_t>(value << rest) >> rest)
                                             : static_cast<Sample>(value);
                };
                if (bits == 24)
                    for (std::size_t i = 0; i < count; ++i)
                        put(i, tripleAt(packed + 3 * i));
                else
                    forPackedBits(packed, count, bits, put);
            }
        });
}

} // namespace vorlen
