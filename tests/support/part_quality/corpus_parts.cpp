// Finding and sorting out the corpus's STEP files.

#include "support/part_quality/corpus_parts.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>

#include "host/base/mod_info.h"
#include "host/exchange/step_check.h"
#include "support/shared_corpus.h"

namespace part_quality {

fs::path shared_corpus_root() { return corpus_test::shared_corpus(); }

std::vector<fs::path> corpus_step_files(const fs::path& root) {
  std::vector<fs::path> out;
  const fs::path dir = root / "public" / "step";
  std::error_code ec;
  if (root.empty() || !fs::is_directory(dir, ec)) return out;
  for (fs::recursive_directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    if (!it->is_regular_file(ec)) continue;
    std::string ext = it->path().extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (ext == ".step" || ext == ".stp") out.push_back(it->path());
  }
  std::sort(out.begin(), out.end());
  return out;
}

std::string part_name(const fs::path& file) {
  return (file.parent_path().filename() / file.stem()).generic_string();
}

namespace {

// True when the file has an OPEN_SHELL entity: its writer meant a shell
// that is not closed, whatever OCCT makes of it.
bool states_open_shell(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    if (line.find("OPEN_SHELL") != std::string::npos) return true;
  }
  return false;
}

}  // namespace

std::string unusable_reason(const fs::path& file) {
  STEP_SHAPE_SUMMARY s;
  try {
    s = check_step_file(file.string());
  } catch (const TV_EXCEPTION&) {
    return "refused by the STEP reader (corrupt, or no B-rep shape OCCT can transfer)";
  }
  if (s.solids == 0) {
    return s.free_shells > 0
               ? (s.closed ? "a closed shell but no solid" : "an open shell, no solid")
               : "no solid, no shell (loose faces)";
  }
  if (s.solids > 1)
    return "an assembly or several solids (" + std::to_string(s.solids) + " solids)";
  if (s.free_shells > 0) return "a solid with loose shells beside it";
  if (!s.closed) return "the solid's shell is open";
  if (states_open_shell(file)) return "the file states its shell open (OPEN_SHELL)";
  if (!s.valid) return "the solid fails OCCT's shape checker";
  return {};
}

}  // namespace part_quality
