#pragma once
// The real CAD parts of the shared corpus: the STEP files of
// public/step/, each either usable as one part (one valid solid, read into
// one kernel body) or set aside with the reason.

#include <filesystem>
#include <string>
#include <vector>

namespace part_quality {

namespace fs = std::filesystem;

// The shared corpus: the environment variable LUMESH_SHARED_CORPUS when set
// and not empty, else the folder next to the repository that the build
// names. The folder may be absent; callers skip then.
fs::path shared_corpus_root();

// The STEP files (.step, .stp in any case) below `root`/public/step, sorted
// by path; empty when the folder is absent.
std::vector<fs::path> corpus_step_files(const fs::path& root);

// The name a report uses for a file: its path below public/step without the
// extension ("prusa/plug-aligner").
std::string part_name(const fs::path& file);

// Why the file can't serve as one real part, or empty when it can: it must
// read back through OCCT's checker as exactly one valid, closed solid and no
// other shape (not an assembly, not an open shell, not corrupt), and must
// not state an open shell that OCCT closes on reading. Reads the file.
std::string unusable_reason(const fs::path& file);

}  // namespace part_quality
