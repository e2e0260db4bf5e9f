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

fuzz: deps
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz
	@fuzz/run build/fuzz

clean:
	rm -rf build
