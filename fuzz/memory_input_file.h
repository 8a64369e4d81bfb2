#pragma once
// The readers under fuzzing open a path, and have no way in from memory. An
// anonymous in-memory file, reached through /proc, is a path that costs no
// disk and leaves nothing behind when a finding ends the process. One per
// process, rewritten for every input. A failing system call aborts, which
// libFuzzer reports as a finding, since no input can be tried without it.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

class MEMORY_INPUT_FILE {
 public:
  explicit MEMORY_INPUT_FILE(const char* name) : fd_(memfd_create(name, 0)) {
    if (fd_ < 0) fail("memfd_create failed");
    path_ = "/proc/self/fd/" + std::to_string(fd_);
  }
  ~MEMORY_INPUT_FILE() { close(fd_); }
  MEMORY_INPUT_FILE(const MEMORY_INPUT_FILE&) = delete;
  MEMORY_INPUT_FILE& operator=(const MEMORY_INPUT_FILE&) = delete;

  void assign(const std::uint8_t* data, std::size_t size) {
    if (ftruncate(fd_, 0) != 0) fail("ftruncate failed");
    std::size_t done = 0;
    while (done < size) {
      const ssize_t n = pwrite(fd_, data + done, size - done, static_cast<off_t>(done));
      if (n <= 0) fail("pwrite failed");
      done += static_cast<std::size_t>(n);
    }
  }

  // ASCII only, so it widens character by character.
  const std::string& path() const { return path_; }
  std::wstring wide_path() const { return std::wstring(path_.begin(), path_.end()); }

 private:
  [[noreturn]] static void fail(const char* what) {
    std::fprintf(stderr, "fuzz input file: %s\n", what);
    std::abort();
  }

  int fd_;
  std::string path_;
};
