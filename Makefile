# A thin face over CMake: the commands that people type.
BUILD := build/release
SAMPLE := build/sample
PREFIX ?= /usr/local

.PHONY: all run truth test soak bench sanitize fuzz lint lint-all format docs install deb setup build programs sample pictures study test-study test-slurm python clean

all: build

setup:
	@scripts/setup

build: setup
	@cmake --preset release >/dev/null
	@cmake --build --preset release

# The programs alone, without the tests.
programs: setup
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target vorlen vorlen-cli vorlen-render vorlen-sample vorlen-picture

sample: programs
	@$(BUILD)/bin/vorlen-sample $(SAMPLE)

run: sample
	@scripts/run-sample $(BUILD)/bin $(SAMPLE)

# Bodies of known measures against what is measured of them: docs/accuracy.md; made cohorts against how their landmarks
# lie after registration: docs/cohorts-accuracy.md (some minutes). With DATA=FOLDER also how well real
# sections that lie there are registered when they were moved in known ways.
truth: setup
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target vorlen-truth vorlen-truth-cohorts
	@$(BUILD)/bin/vorlen-truth > docs/accuracy.md.new
	@mv docs/accuracy.md.new docs/accuracy.md
	@cat docs/accuracy.md
	@$(BUILD)/bin/vorlen-truth-cohorts > docs/cohorts-accuracy.md.new
	@mv docs/cohorts-accuracy.md.new docs/cohorts-accuracy.md
	@cat docs/cohorts-accuracy.md
	@[ -z "$(DATA)" ] || scripts/truth-alignment "$(DATA)"

# A small study of six altered samples, two groups with a known difference; ends with build/study/report.html.
study: sample
	@scripts/setup study
	@/usr/bin/python3 workflow/scripts/altered.py $(SAMPLE)/sample.sdf build/study-input
	@/usr/bin/snakemake -s workflow/Snakefile --profile workflow/profiles/local --config program=$(BUILD)/bin/vorlen-cli
	@echo "Report: build/study/report.html"

# The study, and whether it has found what was altered and nothing else.
test-study: study
	@VORLEN_STUDY=build/study VORLEN_CLI=$(BUILD)/bin/vorlen-cli /usr/bin/python3 tests/scripts/study_test.py

# The module for Python, build/release/python/vorlen, and its tests. Whoever has made it gets it by make install, too.
python: setup
	@scripts/setup python
	@cmake --preset release -DVORLEN_PYTHON=ON >/dev/null
	@cmake --build --preset release --target vorlen_core
	@cd $(BUILD) && ctest --output-on-failure -R '^test_python$$'

# The same through the profile for Slurm, on one that is started for it: needs root.
test-slurm: study
	@scripts/setup slurm
	@VORLEN_STUDY=build/study VORLEN_CLI=$(BUILD)/bin/vorlen-cli VORLEN_SLURM=1 \
	    /usr/bin/python3 tests/scripts/study_test.py SmallStudy.test_a_cluster_ends_with_the_same_bytes

# The pictures of the documentation, made anew from the sample stack.
pictures: sample
	@cmake --build --preset release --target vorlen-guide vorlen-cohort
	@scripts/draw-pictures $(BUILD)/bin $(SAMPLE)

# What fails is tried once more: a moment in which the machine stands still stops no change, and stays in what is written.
TRIED := --output-on-failure -j2 --repeat until-pass:2

test: build
	@cd $(BUILD) && ctest $(TRIED)

# A program at work is killed at 200 moments, and its document is there each time; then the main window.
soak: build
	@VORLEN_KILLS=200 $(BUILD)/bin/test_editing --gtest_filter='JournalKill.*'
	@VORLEN_KILLS=200 scripts/with-display $(BUILD)/bin/test_ui_workday

# What takes minutes there and goes ways that shorter tests go as well is left to the release.
LONG := *registerBringsTheUnregisteredSampleBack:*outputThatCannotBeWritten*:*aLargeMeshIsWrittenInPieces:Truth.*

# The runtime of clang 14 takes blocks of thread-local memory for those of a glibc before 2.25 where their address happens
# to look so, and then ends in its own leak check; without its interceptor it does not look at them.
sanitize fuzz: export ASAN_OPTIONS := intercept_tls_get_addr=0

sanitize: setup
	@cmake --preset sanitize >/dev/null
	@cmake --build --preset sanitize
	@cd build/sanitize && GTEST_FILTER='-$(LONG)' ctest $(TRIED)

# Hunts for inputs that end a reader, for SECONDS with each target; what is found lies in build/fuzz.
SECONDS ?= 120
FUZZED := stack image pages voxel shape
fuzz: setup
	@cmake --preset sanitize >/dev/null
	@cmake --build --preset sanitize --target $(FUZZED:%=fuzz_%)
	@mkdir -p $(FUZZED:%=build/fuzz/%)
	@for name in $(FUZZED); do (cd build/fuzz && ../sanitize/bin/fuzz_$$name -max_total_time=$(SECONDS) \
	    -rss_limit_mb=1024 -timeout=10 -print_final_stats=1 $$name ../../tests/fuzz/corpus/$$name) || exit 1; done

bench: setup
	@cmake --preset release -DVORLEN_BENCH=ON >/dev/null
	@cmake --build --preset release --target vorlen-bench vorlen-bench-draw vorlen-bench-view vorlen-bench-scale vorlen-bench-section
	@scripts/bench $(BUILD)

# Formatting, includes against links, clang-tidy over what has changed, as far as it gets in three minutes; lint-all: to
# the end.
lint:
	@scripts/setup lint
	@scripts/lint

lint-all:
	@scripts/setup lint
	@scripts/lint --all

# The headers as a book, build/docs/html, and the picture of the floors.
docs:
	@scripts/setup docs
	@scripts/draw-architecture
	@scripts/docs

format:
	@scripts/setup lint
	@scripts/format

install: build
	@cmake --install $(BUILD) --prefix $(PREFIX)
	@scripts/refresh-desktop $(PREFIX)

deb: build
	@cpack --config $(BUILD)/CPackConfig.cmake -B build/packages

clean:
	@rm -rf build
