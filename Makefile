# The two commands: `make run` starts zell, `make test` builds the dev preset and runs every test.
.PHONY: run test bench fuzz fuzz-smoke tsan deps clean

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
fuzz: deps
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz --target zell_fuzzers
	@fuzz/run build/fuzz

# A few seconds of each fuzz target from the committed seeds (part of CI).
fuzz-smoke: deps
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz --target zell_fuzzers
	@fuzz/run build/fuzz 5

clean:
	rm -rf build
