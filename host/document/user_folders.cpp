#include "host/document/user_folders.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "host/document/document_error.h"

#ifndef LUMESH_HOST_VERSION
#define LUMESH_HOST_VERSION "0.1"
#endif

namespace {

std::optional<std::string> variable(const char* name) {
  const char* v = std::getenv(name);
  if (v == nullptr || *v == '\0') return std::nullopt;
  return std::string(v);
}

std::string without_trailing_slashes(std::string s) {
  while (s.size() > 1 && s.back() == '/') s.pop_back();
  return s;
}

std::optional<std::string> home_folder() {
  if (auto home = variable("HOME")) return home;
  if (const passwd* pw = ::getpwuid(::getuid()); pw != nullptr && pw->pw_dir != nullptr && *pw->pw_dir) {
    return std::string(pw->pw_dir);
  }
  return std::nullopt;
}

bool is_folder(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

const char* host_name() { return "lumesh"; }
const char* host_version() { return LUMESH_HOST_VERSION; }

std::string host_user_folder() {
  std::string base;
  if (auto appdata = variable("APPDATA")) {
    base = *appdata;
  } else if (auto xdg = variable("XDG_CONFIG_HOME"); xdg && xdg->front() == '/') {
    base = *xdg;
  } else if (auto home = home_folder()) {
    base = without_trailing_slashes(*home) + "/.config";
  } else {
    throw DOCUMENT_ERROR("~/.config", "can't be found: neither APPDATA, XDG_CONFIG_HOME nor HOME is set.");
  }
  return without_trailing_slashes(base) + "/" + host_name() + "/" + host_version();
}

void make_user_folder(const std::string& folder) {
  // Each missing folder from the top down; an existing one is taken as it is.
  for (std::size_t slash = folder.find('/', 1);; slash = folder.find('/', slash + 1)) {
    const std::string part = slash == std::string::npos ? folder : folder.substr(0, slash);
    if (!is_folder(part) && ::mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) {
      throw DOCUMENT_ERROR(part, std::string("can't be made as a folder: ") + std::strerror(errno) + ".");
    }
    if (!is_folder(part)) throw DOCUMENT_ERROR(part, "is not a folder.");
    if (slash == std::string::npos) break;
  }
  if (::access(folder.c_str(), W_OK | X_OK) != 0) {
    throw DOCUMENT_ERROR(folder, "is a folder the user can't write to.");
  }
}

std::optional<std::string> corporate_customization_folder() {
  auto v = variable("TVCORPCUSTOMIZEDIR");
  return v ? std::optional<std::string>(without_trailing_slashes(*v)) : std::nullopt;
}

std::optional<std::string> site_customization_folder() {
  auto v = variable("TVSITECUSTOMIZEDIR");
  return v ? std::optional<std::string>(without_trailing_slashes(*v)) : std::nullopt;
}

std::string host_temporary_folder() {
  auto t = variable("TMPDIR");
  if (t && t->front() == '/') return without_trailing_slashes(*t);
  return "/tmp";
}
