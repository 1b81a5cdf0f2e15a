vorlen_bench(snake_bench.cpp LINKS vorlen_snake)
