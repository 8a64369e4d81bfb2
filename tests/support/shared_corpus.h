#pragma once
// Where the shared test corpus lies: the folder named by the environment
// variable LUMESH_SHARED_CORPUS when it is set, otherwise the one the build
// was configured with (beside the source tree). A fresh clone has none;
// tests that need it skip, saying where they looked.

#include <cstdlib>
#include <filesystem>

namespace corpus_test {

inline std::filesystem::path shared_corpus() {
  const char* env = std::getenv("LUMESH_SHARED_CORPUS");
  if (env != nullptr && *env != '\0') return env;
#ifdef LUMESH_SHARED_CORPUS
  return LUMESH_SHARED_CORPUS;
#else
  return {};
#endif
}

// The public files (real parts of others, with their manifest).
inline std::filesystem::path public_corpus() { return shared_corpus() / "public"; }
// The generated parts with their ground truth.
inline std::filesystem::path generated_corpus() { return shared_corpus() / "generated"; }

}  // namespace corpus_test
