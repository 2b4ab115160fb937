# Front door. `make demo` builds and runs the demo; `make test` builds and
# runs the tests. Everything else goes through CMake in build/.
JOBS ?= $(shell nproc)
BUILD ?= build

.PHONY: all demo test test-sanitize bench clean

all:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD) -j $(JOBS)

demo: all
	$(BUILD)/bin/kvpcv_demo out

test: all
	cd $(BUILD) && ctest -j $(JOBS) --output-on-failure

test-sanitize:
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKVP_SANITIZE=ON -DKVP_BUILD_BENCH=OFF -DKVP_BUILD_EXAMPLES=OFF
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1 ctest -j $(JOBS) --output-on-failure

bench: all
	$(BUILD)/bin/kvpcv_bench --benchmark_counters_tabular=true

clean:
	rm -rf $(BUILD) build-asan out
