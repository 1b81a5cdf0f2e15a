vorlen_bench(spatial_bench.cpp LINKS vorlen_shapes)
