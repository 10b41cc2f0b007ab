# The two commands of the README: `make demo` and `make test`. Both install what is missing first.
BUILD ?= build
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60
CMAKE_ARGS ?=
# Tests share one Xvfb. Without -noreset the server resets whenever its last client leaves, and a
# test connecting at that moment is dropped ("could not connect to display") under ctest -j.
XVFB = xvfb-run -a -s "-screen 0 1280x1024x24 -noreset"

.PHONY: deps configure build test demo ecg docs clean tsan asan fuzz

deps:
	bash scripts/install-deps

configure: deps
	cmake -S . -B $(BUILD) $(CMAKE_ARGS)

build: configure
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && $(XVFB) ctest --output-on-failure -j $(JOBS)

demo: build
	bash scripts/run-demo $(BUILD)

# A recorded electrocardiogram streamed into kivscope at ten times real time, with screenshots.
ecg: build
	bash scripts/run-ecg $(BUILD)

docs: configure
	cmake --build $(BUILD) --target docs

clean:
	rm -rf $(BUILD)

# Sanitizer runs of the whole suite (ThreadSanitizer for the threaded store, AddressSanitizer
# for memory): `make tsan`, `make asan`.
tsan asan: deps
	cmake -S . -B build-$@ -DKIV_SANITIZE=$(subst tsan,thread,$(subst asan,address,$@)) -DKIV_BUILD_BENCH=OFF -DKIV_BUILD_EXAMPLES=OFF
	cmake --build build-$@ -j $(JOBS)
	cd build-$@ && $(XVFB) ctest --output-on-failure -j $(JOBS) $(CTEST_ARGS)

# libFuzzer runs of the readers of untrusted input (clang), FUZZ_SECONDS per target:
# `make fuzz`, or `make fuzz FUZZ_SECONDS=600` for a longer search.
fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B build-fuzz -DKIV_FUZZ=ON -DKIV_BUILD_BENCH=OFF -DKIV_BUILD_EXAMPLES=OFF
	cmake --build build-fuzz -j $(JOBS) --target make_fuzz_seeds fuzz_velotext fuzz_velobinary fuzz_valueformat fuzz_streamdecoders
	bash scripts/run-fuzz build-fuzz $(FUZZ_SECONDS)
