#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace vorlen {

/// Registers a kernel and its plain reference, NAME/vorlen and NAME/reference, at the same sizes.
inline void compare(const std::string& name, void (*kernel)(benchmark::State&), void (*reference)(benchmark::State&),
                    std::initializer_list<std::vector<std::int64_t>> sizes) {
    auto* const mine = benchmark::RegisterBenchmark((name + "/vorlen").c_str(), kernel);
    auto* const other = benchmark::RegisterBenchmark((name + "/reference").c_str(), reference);
    for (auto* const each : {mine, other}) {
        each->Unit(benchmark::kMillisecond);
        for (const std::vector<std::int64_t>& size : sizes)
            each->Args(size);
    }
}

} // namespace vorlen
