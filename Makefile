# Thin wrapper over CMake. `make run` and `make test` are the two commands a newcomer needs.
BUILD_DIR  ?= build
ASAN_DIR   ?= build-asan
TSAN_DIR   ?= build-tsan
FUZZ_DIR   ?= build-fuzz
BUILD_TYPE ?= RelWithDebInfo
JOBS       ?= $(shell nproc)
CMAKE_GEN  := -G Ninja

.PHONY: all deps configure build test test-asan test-tsan run bench fuzz soak clean

all: build

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt:
	cmake -S . -B $(BUILD_DIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

configure: deps $(BUILD_DIR)/CMakeCache.txt

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS) -LE soak

test-asan: deps
	cmake -S . -B $(ASAN_DIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DLICHTWART_SANITIZE=address
	cmake --build $(ASAN_DIR) -j $(JOBS)
	cd $(ASAN_DIR) && ctest --output-on-failure -j $(JOBS) -LE 'soak|nosan'

# Qt's own event dispatcher instead of glib's: glib's locks are invisible to the sanitizer (see
# tests/tsan.supp). TSAN_TESTS='-R name' runs a subset.
test-tsan: deps
	cmake -S . -B $(TSAN_DIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DLICHTWART_SANITIZE=thread
	cmake --build $(TSAN_DIR) -j $(JOBS)
	cd $(TSAN_DIR) && QT_NO_GLIB=1 ctest --output-on-failure -j $(JOBS) -LE 'soak|nosan' $(TSAN_TESTS)

run: build
	@scripts/run-demo.sh $(BUILD_DIR)

bench: build
	@scripts/run-bench.sh $(BUILD_DIR)

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLICHTWART_FUZZ=ON
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target fuzzers
	@scripts/run-fuzz.sh $(FUZZ_DIR) $${FUZZ_SECONDS:-60}

soak: build
	cd $(BUILD_DIR) && ctest --output-on-failure -L soak

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR) $(TSAN_DIR) $(FUZZ_DIR)
