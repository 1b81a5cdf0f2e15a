vorlen_bench(cubes_bench.cpp LINKS vorlen_shapes vorlen_images vorlen_reconstruction)
target_include_directories(vorlen-bench PRIVATE ${PROJECT_SOURCE_DIR}/tests)
