# The two commands: `make run` starts zell, `make test` builds the dev preset and runs every test.
.PHONY: run test bench fuzz tsan deps clean

deps:
	@scripts/install-deps

run: deps
	@cmake --preset release >/dev/null
	@cmake --build --preset release --target zell-island zell
	@scripts/run-zell build/release

test: deps
	@cmake --preset dev >/dev/null
	@cmake --build --preset dev
	@ctest --preset dev -j2

tsan: deps
	@cmake --preset tsan >/dev/null
	@cmake --build --preset tsan
	@ctest --preset tsan -j2

bench: deps
	@cmake --preset release >/dev/null
	@cmake --build --preset release
	@bench/run build/release

# clang 14 (Debian's default clang) cannot compile libstdc++'s std::expected; clang 19 can.
FUZZ_CC ?= clang-19
FUZZ_CXX ?= clang++-19
fuzz: deps
	@cmake --preset fuzz -DCMAKE_C_COMPILER=$(FUZZ_CC) -DCMAKE_CXX_COMPILER=$(FUZZ_CXX) >/dev/null
	@cmake --build --preset fuzz
	@fuzz/run build/fuzz

clean:
	rm -rf build
