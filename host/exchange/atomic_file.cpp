#include "host/exchange/atomic_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>

#include "host/kernel/kernel_errors.h"

namespace {

[[noreturn]] void cannot_write() { k2_throw(K2_ERROR::CANNOT_WRITE_FILE); }

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

}  // namespace

ATOMIC_FILE::ATOMIC_FILE(std::string path) : path_(std::move(path)) {
  struct stat st {};
  if (path_.empty() || path_.back() == '/') cannot_write();
  if (::stat(path_.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) cannot_write();
  const std::string folder = folder_of(path_);
  if (::stat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) cannot_write();
  std::string name = path_ + ".tmp-XXXXXX";
  const int fd = ::mkstemp(name.data());
  if (fd < 0) cannot_write();
  // mkstemp makes the file private; the finished file gets the permissions
  // any new file of the user gets.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(fd, 0666 & ~mask);
  ::close(fd);
  temporary_ = std::move(name);
}

ATOMIC_FILE::~ATOMIC_FILE() {
  if (!temporary_.empty()) std::remove(temporary_.c_str());
}

void ATOMIC_FILE::commit() {
  if (temporary_.empty() || std::rename(temporary_.c_str(), path_.c_str()) != 0) cannot_write();
  temporary_.clear();
}

void write_file_atomically(const std::string& path, const std::string& bytes) {
  ATOMIC_FILE file(path);
  {
    std::ofstream out(file.temporary_name(), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) cannot_write();
  }
  file.commit();
}
