# Thin wrapper around CMake; `make run`, `make test` and `make bench` do all the set-up.
BUILD ?= build
JOBS ?= $(shell nproc)

.PHONY: all deps build run test sanitize bench fuzz clean

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

# The unit, gui and process tests again under AddressSanitizer and UBSan, in a build dir of
# their own. Every process the tests start, detached ones too, writes its reports to
# SANITIZE_REPORTS; any report there fails the run, even one whose test passed.
SANITIZE_BUILD ?= build-sanitize
SANITIZE_REPORTS = $(abspath $(SANITIZE_BUILD))/sanitizer-reports

$(SANITIZE_BUILD)/CMakeCache.txt:
	cmake -S . -B $(SANITIZE_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLAUNCHER_SANITIZE=ON

sanitize: deps $(SANITIZE_BUILD)/CMakeCache.txt
	cmake --build $(SANITIZE_BUILD) -j $(JOBS)
	rm -rf "$(SANITIZE_REPORTS)" && mkdir -p "$(SANITIZE_REPORTS)"
	cd $(SANITIZE_BUILD) && \
	ASAN_OPTIONS=log_path="$(SANITIZE_REPORTS)/asan":log_exe_name=1 \
	LSAN_OPTIONS=suppressions="$(CURDIR)/tests/lsan.supp":print_suppressions=0 \
	UBSAN_OPTIONS=log_path="$(SANITIZE_REPORTS)/ubsan":log_exe_name=1:print_stacktrace=1 \
	ctest --output-on-failure -j $(JOBS) -L 'unit|gui|process'; status=$$?; \
	if [ -n "$$(ls -A "$(SANITIZE_REPORTS)")" ]; then \
		cat "$(SANITIZE_REPORTS)"/*; echo "sanitize: reports above, in $(SANITIZE_REPORTS)"; status=1; \
	fi; exit $$status

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
