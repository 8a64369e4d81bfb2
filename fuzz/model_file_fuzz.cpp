// libFuzzer target of the model file loader. The first byte of an input
// chooses what the rest is:
//   even  a whole model file, loaded as `load-tv` loads it;
//   odd   one body's blob, decoded directly (past the file's checksum, which
//         would otherwise stop nearly every mutation before the decoder);
//         blobs that hold CAD geometry are refused before OpenCASCADE reads
//         them, since its reader is not ours to fuzz here.
// Each input must end in a loaded model, or a decoded body, that passes the
// kernel's checker, or in the loader's documented error (MODEL_FILE_ERROR,
// or BLOB_ERROR and std::runtime_error of the decoder). Anything else ends
// the run as a finding: another exception, a crash, a sanitizer report, a
// failed kernel assertion, an entity left alive after the model is emptied,
// a leak or a hang.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/memory_input_file.h"
#include "host/base/assertion.h"
#include "host/document/body_codec.h"
#include "host/document/byte_codec.h"
#include "host/document/model_file.h"
#include "host/kernel/entity/entity.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_tree.h"
#include "host/model/part_data.h"

namespace {

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "model_file_fuzz: %s\n", what);
  std::abort();
}

void on_assertion(const ASSERTION_REPORT& r) {
  std::fprintf(stderr, "model_file_fuzz: kernel assertion '%s': %s at %s\n", r.condition, r.message,
               r.file);
  std::abort();
}

void check(const BODY* b) {
  const BODY_CHECK c = check_body(b);
  if (!c.ok()) {
    std::fprintf(stderr, "model_file_fuzz: %s\n", c.problems.front().c_str());
    fail("a loaded body fails the kernel's checker");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static MEMORY_INPUT_FILE input("model_file_fuzz");
  static const ASSERTION_HANDLER previous = set_assertion_handler(&on_assertion);
  (void)previous;
  if (size == 0) return 0;
  root_parcel();
  HISTORY::instance().forget();
  const std::uint64_t entities = ENTITY::registered_count();
  if ((data[0] & 1) == 0) {
    input.assign(data + 1, size - 1);
    try {
      for (NPARCEL* p : load_model_file(input.path())) {
        (void)p;
      }
    } catch (const MODEL_FILE_ERROR&) {
    }
    std::vector<NPARCEL*> stack(children(root_parcel()).begin(), children(root_parcel()).end());
    while (!stack.empty()) {
      NPARCEL* p = stack.back();
      stack.pop_back();
      if (const BODY* b = get_part_body(p)) check(b);
      for (NPARCEL* c : children(p)) stack.push_back(c);
    }
    while (inq_num_children(root_parcel()) > 0) destroy_parcel(inq_child(root_parcel(), 0));
  } else {
    const std::string_view blob(reinterpret_cast<const char*>(data + 1), size - 1);
    try {
      BODY* b = decode_body(blob, false);
      check(b);
      b->lose();
    } catch (const BLOB_ERROR&) {
    } catch (const std::runtime_error&) {
    } catch (const TV_EXCEPTION&) {
      // A surface or curve the kernel refuses to make (a degenerate plane).
    }
  }
  HISTORY::instance().forget();
  if (ENTITY::registered_count() != entities) fail("the load left kernel entities alive");
  return 0;
}
