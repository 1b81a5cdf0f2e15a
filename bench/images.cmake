vorlen_bench(images_bench.cpp LINKS vorlen_images)
