# Lumesh: the two commands a new machine needs are `make run` and `make test`.
# Each installs what is missing, configures, builds and runs.

JOBS      ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE     ?= cmake
GENERATOR ?= Ninja
RELEASE   := build/release
TEST      := build/test
SANITIZE  := build/sanitize

.PHONY: all deps build run test test-sanitize bench clean

all: build

deps:
	@bash scripts/install-deps.sh

$(RELEASE)/build.ninja: | deps
	$(CMAKE) -S . -B $(RELEASE) -G $(GENERATOR) -DCMAKE_BUILD_TYPE=Release -DLUMESH_TESTS=OFF

build: deps $(RELEASE)/build.ninja
	$(CMAKE) --build $(RELEASE) -j $(JOBS)

# The main job on a bundled sample: the kernel's sample body, then the module.
run: build
	./$(RELEASE)/app/lumesh sample
	./$(RELEASE)/app/lumesh examples/about.lsp

$(TEST)/build.ninja: | deps
	$(CMAKE) -S . -B $(TEST) -G $(GENERATOR) -DCMAKE_BUILD_TYPE=Release -DLUMESH_TESTS=ON -DLUMESH_STRICT=ON

test: deps $(TEST)/build.ninja
	$(CMAKE) --build $(TEST) -j $(JOBS)
	cd $(TEST) && ctest --output-on-failure -j $(JOBS)

$(SANITIZE)/build.ninja: | deps
	$(CMAKE) -S . -B $(SANITIZE) -G $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUMESH_TESTS=ON -DLUMESH_SANITIZE=ON -DLUMESH_BENCH=OFF

test-sanitize: deps $(SANITIZE)/build.ninja
	$(CMAKE) --build $(SANITIZE) -j $(JOBS)
	cd $(SANITIZE) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

bench: deps $(TEST)/build.ninja
	$(CMAKE) --build $(TEST) -j $(JOBS)
	for b in $(TEST)/bench/*_bench; do $$b; done

clean:
	rm -rf build
