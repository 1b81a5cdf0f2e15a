vorlen_bench(shapes_bench.cpp LINKS vorlen_shapes)
