vorlen_bench(threshold_bench.cpp LINKS vorlen_images vorlen_shapes)
