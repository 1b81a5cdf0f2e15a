#include "numerics/recommendedrandomengine.h"

#include <ctime>

namespace vorlen {

RecommendedRandomEngine::RecommendedRandomEngine() {
    init(-1);
}

long RecommendedRandomEngine::init(long seed) {
    if (seed < 1)
        seed = static_cast<long>(std::time(nullptr));
    constexpr std::uint64_t start = 0x38ECAC5FB3251641;
    __u = static_cast<std::uint64_t>(seed) ^ start;
    __v = start;
    __w = 1;
    uniformLL();
    __v = __u;
    uniformLL();
    __w = __v;
    uniformLL();
    return seed;
}

long RecommendedRandomEngine::uniformL() {
    const std::uint64_t x = uniformLL();
    return static_cast<long>(x < 0x80000000u ? x : x % 0x7fffffffu);
}

double RecommendedRandomEngine::uniformLF() {
    return static_cast<double>(uniformLL()) * 5.421011e-20;
}

std::uint64_t RecommendedRandomEngine::uniformLL() {
    __u = __u * 2862933555777941757u + 7046029254386353087u;
    __v ^= __v >> 17;
    __v ^= __v << 31;
    __v ^= __v >> 8;
    __w = 4294957665u * (__w & 0xffffffffu) + (__w >> 32);
    std::uint64_t x = __u ^ (__u << 21);
    x ^= x >> 35;
    x ^= x << 4;
    return (x + __v) ^ __w;
}

} // namespace vorlen
