# Front door: every target installs missing Debian packages first.
BUILD_DIR ?= build
ASAN_DIR  ?= build-asan
JOBS      ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: all deps configure build test demo bench format clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) $(CMAKE_FLAGS)

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS) --timeout 300

demo: build
	@bash scripts/run-demo.sh $(BUILD_DIR)

bench: build
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target effectbench
	@QT_QPA_PLATFORM=offscreen $(BUILD_DIR)/bench/effectbench --benchmark_counters_tabular=true

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	@rm -rf $(BUILD_DIR) $(ASAN_DIR)
