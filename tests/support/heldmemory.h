#pragma once

#include <fstream>
#include <unistd.h>

// Compilers tell in two ways that the address sanitizer is on.
#if defined(__SANITIZE_ADDRESS__)
#define VORLEN_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VORLEN_ADDRESS_SANITIZER 1
#endif
#endif
#ifdef VORLEN_ADDRESS_SANITIZER
#include <sanitizer/allocator_interface.h>
#endif

namespace vorlen {

#ifdef VORLEN_ADDRESS_SANITIZER
constexpr bool addressSanitizer = true;
#else
constexpr bool addressSanitizer = false;
#endif

/// Memory that this process holds, in bytes: what is resident, or under the address sanitizer, which keeps freed memory
/// back, what is allocated.
inline long heldMemory() {
#ifdef VORLEN_ADDRESS_SANITIZER
    return static_cast<long>(__sanitizer_get_current_allocated_bytes());
#else
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
#endif
}

} // namespace vorlen
