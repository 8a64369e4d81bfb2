#pragma once
// The loaders of files that `load-tv` reads: each file kind says whether a
// file's first bytes are its own and loads it into the model. load_file asks
// them in the order they were registered; the loaders of model files and of
// graphics and lightweight files (graphics_file.h) come built in, and other
// kinds register theirs at start-up.

#include <string>
#include <vector>

class NPARCEL;

enum class LOAD_MODE {
  ALL_AS_NEW,  // the file's top objects become new children of the root
};

struct FILE_LOADER {
  const char* name;  // for messages: "model file"
  // True when `head` (up to the first 512 bytes of the file) is this kind's.
  bool (*recognizes)(const std::string& head);
  // Loads the file; throws an exception whose text names the file, and then
  // leaves the model unchanged.
  std::vector<NPARCEL*> (*load)(const std::string& path, LOAD_MODE mode);
};

// Adds a loader after those already there; a loader of the same name is replaced.
void register_file_loader(const FILE_LOADER& loader);

// Loads `path` with the loader that recognises it. Throws MODEL_FILE_ERROR
// (model_file.h) for a file that cannot be opened or that no loader knows.
std::vector<NPARCEL*> load_file(const std::string& path, LOAD_MODE mode);
