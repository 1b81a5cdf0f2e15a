vorlen_bench(document_bench.cpp LINKS vorlen_document)
