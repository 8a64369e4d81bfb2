# Lumesh: the two commands a new machine needs are `make run` and `make test`.
# Each installs what is missing, configures, builds and runs.

JOBS      ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE     ?= cmake
GENERATOR ?= Ninja
RELEASE   := build/release
TEST      := build/test
SANITIZE  := build/sanitize
FUZZ      := build/fuzz
FUZZ_SECONDS ?= 60

# ccache (the compiler launcher, see CMakeLists.txt) finds its earlier work in
# any clone: paths below the checkout are hashed relative to it, and the build
# folder is left out of the hash of builds with debug information.
export CCACHE_BASEDIR := $(CURDIR)
export CCACHE_NOHASHDIR := 1

.PHONY: all deps build run test test-sanitize fuzz bench clean

all: build

deps:
	@bash scripts/install-deps.sh

$(RELEASE)/build.ninja: | deps
	$(CMAKE) -S . -B $(RELEASE) -G $(GENERATOR) -DCMAKE_BUILD_TYPE=Release -DLUMESH_TESTS=OFF

build: deps $(RELEASE)/build.ninja
	$(CMAKE) --build $(RELEASE) -j $(JOBS)

# The main job on a bundled sample: the module says what it is, then imports
# the sample part (made by the project's own generator, as STL and as 3MF)
# with plane and cylinder recognition and prints the load's report.
SAMPLE := $(RELEASE)/examples/flanged_plate
run: build
	./$(RELEASE)/app/lumesh examples/about.lsp
	./$(RELEASE)/examples/make_sample_part $(SAMPLE).stl
	./$(RELEASE)/app/lumesh import $(SAMPLE).stl --planes --cylinders
	./$(RELEASE)/examples/make_sample_part $(SAMPLE).3mf
	./$(RELEASE)/app/lumesh import $(SAMPLE).3mf --planes --cylinders --json

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

$(FUZZ)/build.ninja: | deps
	$(CMAKE) -S . -B $(FUZZ) -G $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ -DLUMESH_FUZZ=ON -DLUMESH_TESTS=OFF -DLUMESH_BENCH=OFF

# The STL readers, the STEP import, the graphics file reader, then the model
# file loader, under libFuzzer for FUZZ_SECONDS each. Any crash, sanitizer report, leak or input slower than the timeout
# ends the run with an error and leaves the input in $(FUZZ)/findings; inputs
# that reach new code collect in $(FUZZ)/corpus and $(FUZZ)/step-corpus for
# the next run. STEP seeds are files of the host's own writer, a few KB each.
# OpenCASCADE's parser leaks a few entities of some malformed files; it calls
# none of our code, so fuzz/step_import.supp leaves leaks that start inside it
# out (full stacks are needed to see through OCCT's frames).
fuzz: deps $(FUZZ)/build.ninja
	$(CMAKE) --build $(FUZZ) -j $(JOBS) --target stl_reader_fuzz step_import_fuzz make_step_seeds graphics_file_fuzz \
	  model_file_fuzz make_model_seeds
	bash fuzz/make_seeds.sh $(FUZZ)/seeds
	mkdir -p $(FUZZ)/corpus $(FUZZ)/findings $(FUZZ)/step-seeds $(FUZZ)/step-corpus
	UBSAN_OPTIONS=print_stacktrace=1 ./$(FUZZ)/fuzz/stl_reader_fuzz $(FUZZ)/corpus $(FUZZ)/seeds \
	  -dict=fuzz/stl.dict -max_len=4096 -timeout=10 -max_total_time=$(FUZZ_SECONDS) \
	  -artifact_prefix=$(FUZZ)/findings/ -print_final_stats=1
	./$(FUZZ)/fuzz/make_step_seeds $(FUZZ)/step-seeds
	ASAN_OPTIONS=fast_unwind_on_malloc=0 LSAN_OPTIONS=suppressions=fuzz/step_import.supp \
	UBSAN_OPTIONS=print_stacktrace=1 ./$(FUZZ)/fuzz/step_import_fuzz $(FUZZ)/step-corpus $(FUZZ)/step-seeds \
	  -dict=fuzz/step.dict -max_len=16384 -timeout=10 -max_total_time=$(FUZZ_SECONDS) \
	  -artifact_prefix=$(FUZZ)/findings/step- -print_final_stats=1
	mkdir -p $(FUZZ)/graphics-corpus
	UBSAN_OPTIONS=print_stacktrace=1 ./$(FUZZ)/fuzz/graphics_file_fuzz $(FUZZ)/graphics-corpus fuzz/graphics_seeds \
	  -dict=fuzz/graphics.dict -max_len=4096 -timeout=10 -max_total_time=$(FUZZ_SECONDS) \
	  -artifact_prefix=$(FUZZ)/findings/graphics- -print_final_stats=1
	mkdir -p $(FUZZ)/model-seeds $(FUZZ)/model-corpus
	./$(FUZZ)/fuzz/make_model_seeds $(FUZZ)/model-seeds
	UBSAN_OPTIONS=print_stacktrace=1 ./$(FUZZ)/fuzz/model_file_fuzz $(FUZZ)/model-corpus $(FUZZ)/model-seeds \
	  -max_len=65536 -timeout=10 -max_total_time=$(FUZZ_SECONDS) \
	  -artifact_prefix=$(FUZZ)/findings/model- -print_final_stats=1

bench: deps $(TEST)/build.ninja
	$(CMAKE) --build $(TEST) -j $(JOBS)
	for b in $(TEST)/bench/*_bench; do $$b; done

clean:
	rm -rf build
