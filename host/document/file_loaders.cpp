#include "host/document/file_loaders.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "host/document/graphics_file.h"
#include "host/document/model_file.h"

namespace {

bool model_recognizes(const std::string& head) {
  return looks_like_model_file(head);
}

std::vector<NPARCEL*> model_load(const std::string& path, LOAD_MODE) {
  return load_model_file(path);
}

bool graphics_recognizes(const std::string& head) { return looks_like_graphics_file(head); }

// A graphics or lightweight file gives one graphics-only part.
std::vector<NPARCEL*> graphics_load(const std::string& path, LOAD_MODE) {
  return {load_graphics_file(path)};
}

std::vector<FILE_LOADER>& loaders() {
  static std::vector<FILE_LOADER>* table = new std::vector<FILE_LOADER>{
      {"model file", &model_recognizes, &model_load},
      {"graphics file", &graphics_recognizes, &graphics_load}};
  return *table;
}

}  // namespace

void register_file_loader(const FILE_LOADER& loader) {
  for (FILE_LOADER& l : loaders()) {
    if (std::strcmp(l.name, loader.name) == 0) {
      l = loader;
      return;
    }
  }
  loaders().push_back(loader);
}

std::vector<NPARCEL*> load_file(const std::string& path, LOAD_MODE mode) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw MODEL_FILE_ERROR(path, std::string("cannot be opened: ") + std::strerror(errno));
  std::string head(512, '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(in.gcount()));
  in.close();
  for (const FILE_LOADER& l : loaders()) {
    if (l.recognizes(head)) return l.load(path, mode);
  }
  if (head.empty()) throw MODEL_FILE_ERROR(path, "is empty");
  throw MODEL_FILE_ERROR(path, "is not a file that Lumesh loads (not a model or graphics file)");
}
