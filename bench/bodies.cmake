vorlen_bench(bodies_bench.cpp LINKS vorlen_shapes)
