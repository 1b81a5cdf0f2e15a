vorlen_bench(filters_bench.cpp LINKS vorlen_images)
