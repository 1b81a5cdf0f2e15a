# Eigen is the reference of the dense linear algebra, here only.
find_package(Eigen3 REQUIRED NO_MODULE)
vorlen_bench(numerics_bench.cpp LINKS vorlen_numerics Eigen3::Eigen)
set_source_files_properties(numerics_bench.cpp PROPERTIES COMPILE_OPTIONS -Wno-maybe-uninitialized)
