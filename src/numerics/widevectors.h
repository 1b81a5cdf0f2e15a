#pragma once

#include <cstring>
#include <type_traits>
#include <utility>

namespace vorlen {

/// A function that must become part of its caller, so that it is compiled for the caller's instructions.
#define VORLEN_INLINED inline __attribute__((always_inline))
/// The same for a lambda; stands between its parameters and its body.
#define VORLEN_INLINED_LAMBDA __attribute__((always_inline))

/// A function that is compiled twice, for the plain processor and for one with wide vectors; which version runs is
/// chosen when the program is loaded, which the sanitizers do not survive. VORLEN_FUSED is for sums of products.
#if !defined(__x86_64__) || defined(__SANITIZE_ADDRESS__)
#define VORLEN_WIDE
#define VORLEN_FUSED
#elif !defined(__clang__)
#define VORLEN_WIDE __attribute__((target_clones("arch=x86-64-v3", "default")))
#define VORLEN_FUSED VORLEN_WIDE
#elif __has_feature(address_sanitizer)
#define VORLEN_WIDE
#define VORLEN_FUSED
#else // which asks for one kind of instructions only, and knows a processor by its maker's name alone
#define VORLEN_WIDE __attribute__((target_clones("avx2", "default")))
#define VORLEN_FUSED __attribute__((target_clones("fma", "default")))
#endif

/// Loops that are compiled twice, for the plain processor and for one with wide vectors, of which the better is taken
/// at run time. What a body calls must be inlined (VORLEN_INLINED), or it stays plain.
namespace widevectors {

/// What one vector instruction of so many bytes handles. A long double stands alone.
template <class T, int bytes>
struct Pack {
    typedef T Type __attribute__((vector_size(bytes)));
    static constexpr int lanes = bytes / int(sizeof(T));
};
/// A long double, which no vector holds.
template <int bytes>
struct Pack<long double, bytes> {
    typedef long double Type;
    static constexpr int lanes = 1;
};

// Packs go by reference: one that is passed by value has no calling convention on the plain processor.
template <class V, class T>
VORLEN_INLINED void load(V& pack, const T* from) {
    std::memcpy(&pack, from, sizeof pack);
}
template <class V, class T>
VORLEN_INLINED void store(T* to, const V& pack) {
    std::memcpy(to, &pack, sizeof pack);
}

namespace detail {

template <class Body, int... index>
VORLEN_INLINED void unrolledOver(std::integer_sequence<int, index...>, const Body& body) {
    (body(std::integral_constant<int, index>()), ...);
}

#if defined(__x86_64__)
template <class Body>
__attribute__((target("arch=x86-64-v3"))) void runWide(const Body body) {
    body(std::integral_constant<int, 32>());
}
inline bool hasWide() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma");
}
#endif

template <class Body>
void runPlain(const Body body) {
    body(std::integral_constant<int, 16>());
}

} // namespace detail

/// Calls the body, a lambda marked VORLEN_INLINED_LAMBDA, with the constants from 0 to count - 1, without a loop: the
/// arrays of packs that it indexes then live in registers.
template <int count, class Body>
VORLEN_INLINED void unrolled(const Body& body) {
    detail::unrolledOver(std::make_integer_sequence<int, count>(), body);
}

/// Runs the body, a lambda marked VORLEN_INLINED_LAMBDA, with a constant that tells the bytes of a vector.
template <class Body>
void run(const Body& body) {
#if defined(__x86_64__)
    if (detail::hasWide()) {
        detail::runWide(body);
        return;
    }
#endif
    detail::runPlain(body);
}

} // namespace widevectors

} // namespace vorlen
