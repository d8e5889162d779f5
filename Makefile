# Front door: every target installs missing Debian packages first.
BUILD_DIR ?= build
ASAN_DIR  ?= build-asan
JOBS      ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: all deps configure build test test-asan demo bench format clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) $(CMAKE_FLAGS)

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS) --timeout 300

# The whole suite built with AddressSanitizer (and LeakSanitizer), for the lifetime paths: workers
# that outlive their players, queued images after a stop, detached file removers.
test-asan: deps
	@cmake -S . -B $(ASAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DEFFECTDISPLAY_BUILD_BENCH=OFF \
		-DCMAKE_CXX_FLAGS="-fsanitize=address -fno-omit-frame-pointer" \
		-DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address" -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=address"
	@cmake --build $(ASAN_DIR) -j $(JOBS)
	@# softpipe: llvmpipe's JIT registers unwind tables under a lock that the sanitizer's own
	@# unwinding takes again, which deadlocks the OpenGL tests.
	@cd $(ASAN_DIR) && GALLIUM_DRIVER=softpipe ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:fast_unwind_on_malloc=0 \
		LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan-suppressions.txt:print_suppressions=0 \
		ctest --output-on-failure -j $(JOBS) --timeout 900 -E package_consumer

demo: build
	@bash scripts/run-demo.sh $(BUILD_DIR)

bench: build
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target effectbench textbench scrollbench playtextbench rssrenewbench rssbench foldbench
	@QT_QPA_PLATFORM=offscreen $(BUILD_DIR)/bench/effectbench --benchmark_counters_tabular=true
	@QT_QPA_PLATFORM=offscreen $(BUILD_DIR)/bench/textbench --benchmark_counters_tabular=true
	@QT_QPA_PLATFORM=offscreen $(BUILD_DIR)/bench/scrollbench
	@QT_QPA_PLATFORM=offscreen $(BUILD_DIR)/bench/playtextbench
	@QT_QPA_PLATFORM=offscreen $(BUILD_DIR)/bench/rssrenewbench
	@QT_QPA_PLATFORM=offscreen $(BUILD_DIR)/bench/rssbench --benchmark_counters_tabular=true
	@QT_QPA_PLATFORM=offscreen scripts/with-display.sh $(BUILD_DIR)/bench/foldbench

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	@rm -rf $(BUILD_DIR) $(ASAN_DIR)
