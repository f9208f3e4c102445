# The two everyday commands: `make demo` and `make test`.
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: demo test test-wasm test-package test-platforms package wasm fuzz bench format deps clean

deps:
	@./scripts/ensure-deps.sh

# Builds the release library, the command-line tool and the example host, and
# lays out every sample network under examples/ into out/ (SVG, HTML and JSON).
demo: deps
	cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DNETLOOM_BUILD_TESTS=OFF
	cmake --build build/release --target netloom-cli netloom_demo -j $(JOBS)
	./scripts/run-demo.sh build/release/tools/netloom out

# Configures with AddressSanitizer and UndefinedBehaviorSanitizer, builds the
# library, tests and benchmarks, and runs every test; then the concurrent-layout
# test under ThreadSanitizer and the Python bindings' tests.
test: deps
	cmake -S . -B build/test -DCMAKE_BUILD_TYPE=Debug -DNETLOOM_SANITIZE=ON \
	      -DNETLOOM_BUILD_TESTS=ON -DNETLOOM_BUILD_BENCH=ON
	cmake --build build/test -j $(JOBS)
	cd build/test && ctest --output-on-failure -j $(JOBS)
	@# Layouts on many threads at once under ThreadSanitizer: the library and one test program.
	cmake -S . -B build/tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DNETLOOM_TSAN=ON \
	      -DNETLOOM_BUILD_TESTS=OFF -DNETLOOM_BUILD_EXAMPLES=OFF -DNETLOOM_BUILD_TOOLS=OFF
	cmake --build build/tsan -j $(JOBS)
	cd build/tsan && ctest --output-on-failure
	@# The Python bindings load into an uninstrumented interpreter: built apart, without sanitizers.
	cmake -S . -B build/python -DCMAKE_BUILD_TYPE=Release -DNETLOOM_BUILD_PYTHON=ON \
	      -DNETLOOM_BUILD_TESTS=OFF -DNETLOOM_BUILD_EXAMPLES=OFF -DNETLOOM_BUILD_TOOLS=OFF \
	      -DPython_EXECUTABLE=/usr/bin/python3
	cmake --build build/python -j $(JOBS)
	cd build/python && ctest --output-on-failure
	@$(MAKE) --no-print-directory test-package
	@$(MAKE) --no-print-directory test-wasm
	@$(MAKE) --no-print-directory test-platforms

# Debian packages of the library in build/package/packages/: libnetloom0 (the
# shared library) and libnetloom-dev (headers, CMake package, pkg-config file).
package: deps
	cmake -S . -B build/package -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
	      -DNETLOOM_BUILD_TESTS=OFF -DNETLOOM_BUILD_EXAMPLES=OFF -DNETLOOM_BUILD_TOOLS=OFF
	cmake --build build/package -j $(JOBS)
	cd build/package && cpack -G DEB

# Unpacks the .deb files into a scratch root and builds and runs a host program
# against them, through find_package(netloom CONFIG) and through pkg-config.
test-package: package
	cmake -DDEB_DIR=$(CURDIR)/build/package/packages -DSOURCE_DIR=$(CURDIR)/tests/install \
	      -DWORK_DIR=$(CURDIR)/build/package/deb_check -DCONFIG=Release \
	      -P tests/install/check_install.cmake

# The WebAssembly package (js/): the library compiled with Emscripten into
# js/dist/netloom_wasm.mjs and .wasm. Debian's Emscripten runs its JavaScript
# helpers with the machine's node, which finds Debian's acorn only on NODE_PATH.
EMSDK_ENV = NODE_PATH=/usr/share/nodejs
wasm: deps
	$(EMSDK_ENV) emcmake cmake -S . -B build/wasm -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF \
	      -DNETLOOM_BUILD_WASM=ON -DNETLOOM_BUILD_TESTS=OFF -DNETLOOM_BUILD_EXAMPLES=OFF \
	      -DNETLOOM_BUILD_TOOLS=OFF
	$(EMSDK_ENV) cmake --build build/wasm -j $(JOBS)

# Node's tests of the package (the exactness test against build/test's native
# twin of the entry points), the demo page in headless Chromium, and the packed
# npm package built into a page by esbuild, Vite and webpack (from the npm registry).
test-wasm:
	@if ! command -v emcmake >/dev/null; then \
	    echo "SKIPPED: the WebAssembly package's tests: Emscripten is not installed (apt-get install emscripten)"; \
	else \
	    $(MAKE) --no-print-directory wasm && \
	    NETLOOM_NATIVE_TWIN=$(CURDIR)/build/test/tests/native_twin node --test js/test/ && \
	    /usr/bin/python3 js/test/browser_test.py build/wasm/demo.png && \
	    /usr/bin/python3 js/test/package_test.py; \
	fi

# The same bits on every platform we claim: the library and a host that prints
# every output bit, built for 32-bit x86 Linux, 64-bit ARM Linux (qemu-user)
# and Windows x86-64 and i686 (MinGW-w64 DLLs, run under wine), compared with
# the native build; and the library's tests on 64-bit ARM under qemu. A target
# whose tools are missing is reported as skipped.
test-platforms:
	@if ./scripts/ensure-deps.sh platforms; then \
	    JOBS=$(JOBS) ./scripts/test-platforms.sh build/platforms; \
	else \
	    echo "SKIPPED: the cross-platform check: its compilers, qemu and wine are not installed (see above)"; \
	fi

# Builds the libFuzzer targets with clang and runs each for FUZZ_SECONDS on its
# starting corpus and the inputs of past findings (fuzz/).
FUZZ_SECONDS ?= 60
fuzz:
	@./scripts/ensure-deps.sh fuzz
	CXX=clang++ cmake -S . -B build/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DNETLOOM_BUILD_FUZZERS=ON \
	      -DNETLOOM_BUILD_TESTS=OFF -DNETLOOM_BUILD_EXAMPLES=OFF -DNETLOOM_BUILD_TOOLS=OFF
	cmake --build build/fuzz -j $(JOBS) --target layout_fuzzer parsers_fuzzer
	./scripts/run-fuzzers.sh build/fuzz/fuzz $(FUZZ_SECONDS)

# Optimised benchmarks (not part of the tests).
bench:
	@./scripts/ensure-deps.sh bench
	cmake -S . -B build/bench -DCMAKE_BUILD_TYPE=Release -DNETLOOM_BUILD_TESTS=OFF \
	      -DNETLOOM_BUILD_BENCH=ON
	cmake --build build/bench -j $(JOBS)
	@echo "benchmarks are in build/bench/bench/"

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf build
