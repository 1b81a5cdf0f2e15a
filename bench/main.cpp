#include <benchmark/benchmark.h>

namespace vorlen {

BENCHMARK_MAIN();

} // namespace vorlen
