# Thin wrapper around CMake; `make run`, `make test` and `make bench` do all the set-up.
BUILD ?= build
JOBS ?= $(shell nproc)

.PHONY: all deps build run test bench fuzz clean

all: build

deps:
	@./scripts/install-deps

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

run: build
	"$(BUILD)/Nimbra Mobile Launcher.app/Contents/MacOS/nimbra-mobile-launcher"

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# Benchmarks build only when asked for; this turns them on in the build tree.
bench: deps $(BUILD)/CMakeCache.txt
	cmake -S . -B $(BUILD) -DLAUNCHER_BENCHMARKS=ON
	cmake --build $(BUILD) -j $(JOBS)
	./bench/run $(BUILD)

# The fuzzer needs clang and a build dir of its own; FUZZ_SECONDS sets how long it runs.
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 60

fuzz:
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DLAUNCHER_FUZZ=ON
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target fuzz_config
	./fuzz/run $(FUZZ_BUILD) $(FUZZ_SECONDS)

clean:
	rm -rf $(BUILD)
