#pragma once

#include <fstream>
#include <string>

#include <benchmark/benchmark.h>

namespace vorlen {

/// Of this process, in MB, by the system's word for it.
inline double processMemory(const std::string& word) {
    std::ifstream file("/proc/self/status");
    for (std::string read; file >> read;)
        if (double kilobytes = 0; read == word && file >> kilobytes)
            return kilobytes / 1024;
    return 0;
}

/// Lets the peak be what is there now.
inline void forgetPeakMemory() {
    std::ofstream("/proc/self/clear_refs") << 5;
}

/// Now and at most, as counters of the case.
inline void tellMemory(benchmark::State& state) {
    state.counters["memory_MB"] = processMemory("VmRSS:");
    state.counters["peak_MB"] = processMemory("VmHWM:");
}

} // namespace vorlen
