# Thin wrapper over CMake. `make run` and `make test` are the two commands a newcomer needs.
BUILD_DIR  ?= build
ASAN_DIR   ?= build-asan
TSAN_DIR   ?= build-tsan
FUZZ_DIR   ?= build-fuzz
BUILD_TYPE ?= RelWithDebInfo
JOBS       ?= $(shell nproc)
# Most tests spend their time waiting on the line, so twice as many run as there are cores.
TEST_JOBS  ?= $(shell echo $$(( $$(nproc) * 2 )))
CMAKE_GEN  := -G Ninja
# The sanitizer builds: -O1 keeps the instrumented suite quick and is what both sanitizers are meant
# for; line tables (-g1) are all their reports need, and cost a fifth less to compile than -g.
SAN_BUILD  := -DCMAKE_BUILD_TYPE=Debug "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g1"

# `make translations` refreshes translations/lichtwart_de.ts from the sources (new texts unfinished).
.PHONY: all deps configure build translations test test-asan test-tsan run bench fuzz fuzz-build fuzz-campaign soak package package-check clean

all: build

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt:
	cmake -S . -B $(BUILD_DIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

configure: deps $(BUILD_DIR)/CMakeCache.txt

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

translations: configure
	cmake --build $(BUILD_DIR) --target update_translations

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(TEST_JOBS) -LE soak

# ASAN_TESTS / TSAN_TESTS='tst_a tst_b' build and run only these tests (with the simulator and the
# CLI, which many of them start); empty: the whole suite.
empty :=
space := $(empty) $(empty)
only_tests = $(if $(1),-R '^($(subst $(space),|,$(strip $(1))))$$')
only_targets = $(if $(1),--target $(1) strelo-sim lichtwart-cli)

test-asan: deps
	cmake -S . -B $(ASAN_DIR) $(CMAKE_GEN) $(SAN_BUILD) -DLICHTWART_SANITIZE=address
	cmake --build $(ASAN_DIR) -j $(JOBS) $(call only_targets,$(ASAN_TESTS))
	cd $(ASAN_DIR) && ctest --output-on-failure -j $(TEST_JOBS) -LE 'soak|nosan' $(call only_tests,$(ASAN_TESTS))

# Qt's own event dispatcher instead of glib's: glib's locks are invisible to the sanitizer (see
# tests/tsan.supp).
test-tsan: deps
	cmake -S . -B $(TSAN_DIR) $(CMAKE_GEN) $(SAN_BUILD) -DLICHTWART_SANITIZE=thread
	cmake --build $(TSAN_DIR) -j $(JOBS) $(call only_targets,$(TSAN_TESTS))
	cd $(TSAN_DIR) && QT_NO_GLIB=1 ctest --output-on-failure -j $(TEST_JOBS) -LE 'soak|nosan' \
	  $(call only_tests,$(TSAN_TESTS))

run: build
	@scripts/run-demo.sh $(BUILD_DIR)

bench: build
	@scripts/run-bench.sh $(BUILD_DIR)

fuzz-build: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLICHTWART_FUZZ=ON
	cmake --build $(FUZZ_DIR) -j $(JOBS) --target fuzzers

fuzz: fuzz-build
	@scripts/run-fuzz.sh $(FUZZ_DIR) $${FUZZ_SECONDS:-60}

# The long local campaigns: ten minutes a target; inputs that raise coverage join fuzz/corpus.
fuzz-campaign: fuzz-build
	@FUZZ_MERGE=1 scripts/run-fuzz.sh $(FUZZ_DIR) $${FUZZ_SECONDS:-600}

soak: build
	cd $(BUILD_DIR) && ctest --output-on-failure -L soak

# The Debian package build/lichtwart_<version>_amd64.deb, and the same package tried as installed.
package: build
	cd $(BUILD_DIR) && cpack -G DEB

package-check: package
	@scripts/check-package.sh $(BUILD_DIR)

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR) $(TSAN_DIR) $(FUZZ_DIR)
