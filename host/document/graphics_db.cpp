#include "host/document/graphics_db.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <random>

#include "host/document/document_error.h"
#include "host/document/user_folders.h"
#include "host/exchange/atomic_file.h"

namespace {

int g_depth = 0;
struct OPEN_DUMMY {
  std::string path;
  std::optional<DUMMY_ENTRY> entry;
};
std::optional<OPEN_DUMMY> g_dummy;

void need_session(const char* what) {
  if (g_depth == 0) {
    throw GRAPHICS_DB_ERROR(std::string(what) +
                            " needs the graphics database interface: call xdbik-initialize first.");
  }
}

}  // namespace

const char* xdbik_access_string() { return "LUMESH-GRAPHICS"; }

void xdbik_initialize(const std::string& access) {
  if (access != xdbik_access_string()) {
    throw GRAPHICS_DB_ERROR("The access string \"" + access + "\" is not this host's; it is \"" +
                            xdbik_access_string() + "\".");
  }
  ++g_depth;
}

bool xdbik_finalize() {
  if (g_depth == 0) return false;
  if (--g_depth == 0) g_dummy.reset();
  return true;
}

bool xdbik_initialized() { return g_depth > 0; }

void tv_db_open_dummy_file(const std::string& path) {
  need_session("Opening a dummy file");
  if (g_dummy) throw GRAPHICS_DB_ERROR("The dummy file '" + g_dummy->path + "' is still open; close it first.");
  if (path.empty()) throw GRAPHICS_DB_ERROR("A dummy file needs a name.");
  g_dummy = OPEN_DUMMY{path, std::nullopt};
}

void tv_db_generate_dummy(const DUMMY_ENTRY& entry) {
  need_session("Generating a dummy entry");
  if (!g_dummy) throw GRAPHICS_DB_ERROR("No dummy file is open: call tv-db-open-dummy-file first.");
  if (g_dummy->entry) throw GRAPHICS_DB_ERROR("The dummy file '" + g_dummy->path + "' has its entry already.");
  g_dummy->entry = entry;
}

void tv_db_close_dummy_file() {
  need_session("Closing a dummy file");
  if (!g_dummy) throw GRAPHICS_DB_ERROR("No dummy file is open.");
  OPEN_DUMMY d = std::move(*g_dummy);
  g_dummy.reset();
  if (!d.entry) throw GRAPHICS_DB_ERROR("The dummy file '" + d.path + "' was closed without an entry.");
  try {
    write_file_atomically(d.path, dummy_file_bytes(*d.entry));
  } catch (const TV_EXCEPTION&) {
    throw DOCUMENT_ERROR(d.path, "can't be written (is its folder there and writable?).");
  }
}

std::string inquire_unique_filename(const std::string& folder, const std::string& extension) {
  std::string dir = folder.empty() ? host_temporary_folder() : folder;
  while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
  std::string ext = extension;
  if (!ext.empty() && ext.front() != '.') ext.insert(ext.begin(), '.');
  if (ext.find('/') != std::string::npos) throw DOCUMENT_ERROR(ext, "can't be an extension: it holds a '/'.");
  static std::mt19937_64 random{std::random_device{}()};
  static const char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  for (int attempt = 0; attempt < 100; ++attempt) {
    std::string name = dir + "/lmx";
    for (int i = 0; i < 10; ++i) name.push_back(kLetters[random() % (sizeof(kLetters) - 1)]);
    name += ext;
    const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0) {
      ::close(fd);
      return name;
    }
    if (errno != EEXIST) {
      throw DOCUMENT_ERROR(dir, std::string("takes no new files: ") + std::strerror(errno) + ".");
    }
  }
  throw DOCUMENT_ERROR(dir, "has no free file name left to give.");
}
