vorlen_bench(warps_bench.cpp LINKS vorlen_normalization)
