# Builds, runs and tests the package in a virtual environment of its own, .venv.
#
#   make demo              reduction of hematite, from the class interface over a shipped data file
#   make test              every test, and those of compiled code once more under the sanitizers
#   make test-long         whole sweeps, fuzzing and long property runs as well
#   make lint              formatting and static checks
#   make benchmark         times of the engine and of the Python interface
#   make benchmark-peers   answers and times beside those of other open programs
#   make benchmark-size    docs/cost-against-size.svg
#   make benchmark-memory  memory that a large system and long runs hold

PYTHON ?= python3
VENV := .venv
BIN := $(VENV)/bin
PY := $(abspath $(BIN)/python)
# A stamp, so that an installation that broke off is done again.
ENVIRONMENT := $(VENV)/build-tools

# The wheel is built without isolation, so that a second build compiles only what has changed.
BUILD_TOOLS := scikit-build-core cmeel-eigen cmake ninja
SOURCES := pyproject.toml CMakeLists.txt README.md $(shell find src cmake -type f -not -path '*/__pycache__/*')

SITE_PACKAGES = $$($(PY) -c 'import sysconfig; print(sysconfig.get_path("purelib"))')
CONFIGURE = $(BIN)/cmake -DCMAKE_MAKE_PROGRAM=$(abspath $(BIN)/ninja) -DPython_EXECUTABLE=$(PY) \
	-DCMAKE_PREFIX_PATH=$(SITE_PACKAGES)

# What the sanitizers need inside an interpreter that was built without them.
SANITIZED_SITE := build/sanitize/site
SANITIZED_FAULTS = $$(ls $(CURDIR)/build/sanitize/tests/friendly/faults/friendly.*.so)
SANITIZED = PYTHONPATH=$(SANITIZED_SITE) PYTHONMALLOC=malloc ASAN_OPTIONS=detect_leaks=0 \
	LD_PRELOAD="$$($(CXX) -print-file-name=libasan.so) $$($(CXX) -print-file-name=libubsan.so)"

# Tests run side by side; benchmarks have a run of their own.
PYTEST = pytest -n auto --dist worksteal -p no:benchmark

# Tests that have run without the sanitizers take smaller samples with them.
SANITIZED_SAMPLES = TESSARA_CORES=standin TESSARA_RANDOM_CALLS=2500

.NOTPARALLEL:
# What calls the compiled modules in many ways, the longest first; `test-long` runs all that reaches
# them.
SANITIZED_TESTS = tests/friendly tests/basic tests/system/test_classes.py \
	tests/system/test_queries.py tests/system/test_result_objects.py tests/system/test_streams.py

.PHONY: demo test test-python test-sanitized test-long test-faults test-release test-fuzz lint \
	benchmark benchmark-peers benchmark-size benchmark-memory clean

demo: $(VENV)/package
	$(BIN)/python examples/reduction_of_hematite.py

test: test-python test-sanitized

test-python: $(VENV)/package $(VENV)/test-tools
	$(BIN)/$(PYTEST)

# Builds with warnings as errors, runs the engine's tests, then those of both extension modules.
test-sanitized: $(VENV)/test-tools
	$(CONFIGURE) --preset sanitize
	$(BIN)/cmake --build --preset sanitize
	$(BIN)/ctest --preset sanitize --output-on-failure --parallel 2
	rm -rf $(SANITIZED_SITE)
	mkdir -p $(SANITIZED_SITE)
	cp -R src/tessara $(SANITIZED_SITE)
	$(BIN)/cmake --install build/sanitize --component python --prefix $(SANITIZED_SITE)
	$(SANITIZED) $(SANITIZED_SAMPLES) TESSARA_FRIENDLY_FAULTS="$(SANITIZED_FAULTS)" \
		$(BIN)/$(PYTEST) $(SANITIZED_TESTS)

test-long: SANITIZED_TESTS = tests/friendly tests/basic tests/system
test-long: SANITIZED_SAMPLES =
test-long: test test-faults test-release test-fuzz
	$(BIN)/$(PYTEST) -m long

# Every call of the interpreter fails once in every method, with what `test-sanitized` has built.
test-faults:
	$(SANITIZED) TESSARA_FRIENDLY_FAULTS="$(SANITIZED_FAULTS)" \
		$(BIN)/$(PYTEST) -m long tests/friendly/test_faults.py

test-release: $(VENV)/test-tools
	$(CONFIGURE) --preset release -DTESSARA_BENCHMARKS=OFF
	$(BIN)/cmake --build --preset release
	$(BIN)/ctest --preset release --output-on-failure --parallel 2
	build/release/tests/engine/engine_sweeps 100000 whole

FUZZ_SECONDS ?= 300
FUZZ_OPTIONS = -max_total_time=$(FUZZ_SECONDS) -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
test-fuzz: $(VENV)/test-tools
	tools/install-system-packages clang
	$(CONFIGURE) --preset fuzz
	$(BIN)/cmake --build --preset fuzz
	mkdir -p build/fuzz/corpus build/fuzz/tdf_corpus
	build/fuzz/tests/fuzz/make_tdf_corpus build/fuzz/tdf_seeds tests/fuzz/corpus/*.dat
	build/fuzz/tests/fuzz/fuzz_dat_reader $(FUZZ_OPTIONS) build/fuzz/corpus tests/fuzz/corpus
	build/fuzz/tests/fuzz/fuzz_tdf_reader $(FUZZ_OPTIONS) build/fuzz/tdf_corpus build/fuzz/tdf_seeds

lint: $(VENV)/dev-tools $(VENV)/test-tools
	$(BIN)/ruff format --check
	$(BIN)/ruff check
	$(BIN)/clang-format --dry-run --Werror $$(git ls-files '*.cpp' '*.hpp')
	$(CONFIGURE) --preset tidy -DCMAKE_CXX_CLANG_TIDY="$(abspath $(BIN)/clang-tidy);--quiet"
	$(BIN)/cmake --build --preset tidy -- -k 0

benchmark: $(VENV)/package $(VENV)/test-tools
	tools/install-system-packages benchmark
	$(CONFIGURE) --preset release -DTESSARA_BENCHMARKS=ON
	$(BIN)/cmake --build --preset release --target engine_benchmarks basic_standin friendly
	build/release/benchmarks/engine_benchmarks --benchmark_min_time=0.2 \
		--benchmark_filter=-cost_against_size
	$(BIN)/pytest benchmarks --ignore=benchmarks/over_standin --benchmark-only
	TESSARA_FRIENDLY=$$(ls build/release/src/tessara/friendly/friendly.*.so) \
		TESSARA_BASIC=$$(ls build/release/benchmarks/basic.*.so) \
		$(BIN)/pytest benchmarks/over_standin --benchmark-only

# The other programs are a benchmark's business only; the package never needs them.
benchmark-peers: $(VENV)/package $(VENV)/benchmark-tools
	cd benchmarks && $(PY) -m peers

# Drawn again where times have changed; the figure is kept in docs.
benchmark-size: $(VENV)/test-tools $(VENV)/benchmark-tools
	tools/install-system-packages benchmark
	$(CONFIGURE) --preset release -DTESSARA_BENCHMARKS=ON
	$(BIN)/cmake --build --preset release --target engine_benchmarks
	build/release/benchmarks/engine_benchmarks --benchmark_filter=cost_against_size \
		--benchmark_repetitions=5 --benchmark_enable_random_interleaving=true \
		--benchmark_min_time=0.02 --benchmark_report_aggregates_only=true \
		--benchmark_out=build/cost-against-size.json --benchmark_out_format=json
	$(PY) benchmarks/cost_against_size.py build/cost-against-size.json docs/cost-against-size.svg

# The resident set before and after long runs.
benchmark-memory: $(VENV)/test-tools
	tools/install-system-packages benchmark
	$(CONFIGURE) --preset release -DTESSARA_BENCHMARKS=ON
	$(BIN)/cmake --build --preset release --target memory_use
	build/release/benchmarks/memory_use

$(ENVIRONMENT):
	tools/install-system-packages compiler
	$(PYTHON) -m venv $(VENV)
	$(BIN)/pip install --quiet --upgrade pip
	$(BIN)/pip install --quiet $(BUILD_TOOLS)
	touch $@

$(VENV)/package: $(ENVIRONMENT) $(SOURCES)
	$(BIN)/pip install --quiet 'click>=8.1'
	PATH="$(abspath $(BIN)):$$PATH" $(BIN)/pip install --no-build-isolation --no-deps --force-reinstall .
	touch $@

$(VENV)/test-tools: $(ENVIRONMENT) pyproject.toml
	tools/install-system-packages googletest
	$(BIN)/pip install --quiet 'pytest>=8' 'hypothesis>=6.100' 'pytest-benchmark>=5' 'pytest-xdist>=3.5' \
		'numpy>=1.26' 'mypy>=1.11'
	touch $@

$(VENV)/benchmark-tools: $(ENVIRONMENT) pyproject.toml
	$(BIN)/pip install --quiet 'cantera>=3.1' 'pycalphad>=0.11' 'matplotlib>=3.8'
	touch $@

$(VENV)/dev-tools: $(ENVIRONMENT) pyproject.toml
	$(BIN)/pip install --quiet 'clang-format==18.1.8' 'clang-tidy==18.1.8' 'ruff>=0.6'
	touch $@

clean:
	rm -rf build $(VENV)
