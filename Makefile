SHELL := /bin/bash
# Front door. `make demo` builds and runs the demo; `make test` builds and
# runs the tests. Everything else goes through CMake in build/.
JOBS ?= $(shell nproc)
BUILD ?= build

.PHONY: all demo test test-native test-sanitize test-tsan test-valgrind fuzz bench format format-check clean

all:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD) -j $(JOBS)

demo: all
	$(BUILD)/bin/kvpcv_demo out

test: all
	cd $(BUILD) && ctest -j $(JOBS) --output-on-failure

# The suite again with kernels built for this machine's processor: the same
# references must hold bit for bit.
test-native:
	cmake -S . -B build-native -DCMAKE_BUILD_TYPE=Release -DKVP_NATIVE=ON -DKVP_BUILD_BENCH=OFF -DKVP_BUILD_EXAMPLES=OFF
	cmake --build build-native -j $(JOBS)
	cd build-native && ctest -j $(JOBS) --output-on-failure

test-sanitize:
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKVP_SANITIZE=ON -DKVP_BUILD_BENCH=OFF -DKVP_BUILD_EXAMPLES=OFF
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1 ctest -j $(JOBS) --output-on-failure

# The concurrency test under ThreadSanitizer, built with clang so that the
# OpenMP runtime's race-detection tool can describe its own synchronisation.
ARCHER ?= $(firstword $(wildcard /usr/lib/llvm-*/lib/libarcher.so))
test-tsan:
	CC=clang CXX=clang++ cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKVP_TSAN=ON -DKVP_BUILD_BENCH=OFF -DKVP_BUILD_EXAMPLES=OFF
	cmake --build build-tsan -j $(JOBS) --target test_concurrency
	TSAN_OPTIONS="halt_on_error=1 ignore_noninstrumented_modules=1 suppressions=$(CURDIR)/tests/concurrency/tsan.supp" OMP_TOOL_LIBRARIES=$(ARCHER) build-tsan/bin/test_concurrency

# Every test program under valgrind's memcheck, on the small sweep.
VALGRIND = valgrind -q --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite --show-possibly-lost=no
test-valgrind: all
	@set -e; for t in $(BUILD)/bin/test_*; do \
	  case $$t in *test_c_api) continue;; esac; \
	  echo "valgrind $$t"; KVT_SMALL=1 OMP_NUM_THREADS=2 $(VALGRIND) $$t --gtest_brief=1 > /dev/null; \
	done; echo "valgrind: clean"

# Every libFuzzer target for a bounded time from its seed corpus (clang).
FUZZ_SECONDS ?= 20
# A fixed seed makes a run repeatable; FUZZ_SEED=0 lets each run pick its own.
FUZZ_SEED ?= 1
fuzz:
	CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKVP_FUZZ=ON -DKVP_BUILD_BENCH=OFF -DKVP_BUILD_EXAMPLES=OFF
	@set -e; for src in tests/fuzz/fuzz_*.cpp; do \
	  t=$$(basename $$src .cpp); mkdir -p build-fuzz/new/$$t; \
	  cmake --build build-fuzz -j $(JOBS) --target $$t > build-fuzz/build-$$t.log 2>&1 || { cat build-fuzz/build-$$t.log; exit 1; }; \
	  echo "fuzz $$t for $(FUZZ_SECONDS) s"; \
	  build-fuzz/bin/$$t -seed=$(FUZZ_SEED) -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 build-fuzz/new/$$t tests/fuzz/corpus/$$t 2>&1 | grep -E 'stat::number_of_executed_units|ERROR|SUMMARY' ; \
	  test $${PIPESTATUS[0]} -eq 0; \
	done

bench: all
	$(BUILD)/bin/kvpcv_bench --benchmark_counters_tabular=true

# Source formatting with the checked-in .clang-format.
FORMAT_FILES = $(shell git ls-files '*.cpp' '*.h' '*.c')
format:
	clang-format -i $(FORMAT_FILES)
format-check:
	clang-format --dry-run -Werror $(FORMAT_FILES)

clean:
	rm -rf $(BUILD) build-asan build-tsan build-native build-fuzz out
