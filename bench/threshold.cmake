vorlen_bench(threshold_bench.cpp LINKS vorlen_shapes vorlen_images)
