vorlen_bench(voxels_bench.cpp LINKS vorlen_images)
