vorlen_bench(snake_bench.cpp LINKS vorlen_shapes vorlen_images vorlen_snake)
