find_package(Qt6 6.4 REQUIRED COMPONENTS Core)
vorlen_bench(journal_bench.cpp LINKS vorlen_document vorlen_editing Qt6::Core)
