// libFuzzer target of the STEP import. Every input is read as a STEP file; the
// reading must end in one of two ways: bodies that pass the kernel's checker,
// or the import's one documented error (UNREADABLE_FILE). Anything else ends
// the run as a finding: another exception, a crash, a sanitizer report, a
// failed kernel assertion, a kernel entity left alive after its bodies are
// lost, a leak or a hang.
//
// OpenCASCADE's reader is not built with the fuzzer's coverage hooks, so the
// fuzzer is guided by the import's own code (the plan of each body and the
// checks around the transfer); the seeds and the dictionary bring it inputs
// that get through the reader's grammar to that code.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/base/assertion.h"
#include "fuzz/memory_input_file.h"
#include "host/base/mod_info.h"
#include "host/exchange/step_import.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/history/history.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/topology/body.h"

namespace {

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "step_import_fuzz: %s\n", what);
  std::abort();
}

void on_assertion(const ASSERTION_REPORT& r) {
  std::fprintf(stderr, "step_import_fuzz: kernel assertion '%s': %s at %s\n", r.condition,
               r.message, r.file);
  std::abort();
}


}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static MEMORY_INPUT_FILE input("step_import_fuzz");
  static const ASSERTION_HANDLER previous = set_assertion_handler(&on_assertion);
  (void)previous;
  input.assign(data, size);

  const std::uint64_t entities = ENTITY::registered_count();
  std::vector<BODY*> bodies;
  try {
    bodies = read_step(input.path());
  } catch (const TV_EXCEPTION& e) {
    if (e.info() != k2_error(K2_ERROR::UNREADABLE_FILE)) fail("an error other than UNREADABLE_FILE");
  }
  for (const BODY* b : bodies) {
    const BODY_CHECK c = check_body(b);
    if (!c.ok()) {
      std::fprintf(stderr, "step_import_fuzz: %s\n", c.problems.front().c_str());
      fail("an imported body fails the kernel's checker");
    }
  }
  for (BODY* b : bodies) b->lose();
  HISTORY::instance().forget();
  if (ENTITY::registered_count() != entities) fail("the import left kernel entities alive");
  return 0;
}
