#pragma once
// Files that appear whole or not at all: a writer fills a temporary file in
// the target's folder, which is renamed over the target only when complete
// and removed on every other path. Failures throw TV_EXCEPTION
// (CANNOT_WRITE_FILE): a path that ends in '/' or names a folder, a folder
// that is missing or takes no files, a failed write or rename.

#include <string>

class ATOMIC_FILE {
 public:
  // Makes the empty temporary file beside `path`, with the permissions any
  // new file of the user gets.
  explicit ATOMIC_FILE(std::string path);
  // Removes the temporary file unless commit() got through.
  ~ATOMIC_FILE();
  ATOMIC_FILE(const ATOMIC_FILE&) = delete;
  ATOMIC_FILE& operator=(const ATOMIC_FILE&) = delete;

  // Where the writer writes.
  const std::string& temporary_name() const { return temporary_; }
  // Renames the temporary file over the target.
  void commit();

 private:
  std::string path_;
  std::string temporary_;  // empty once committed
};

// Writes `bytes` as the file `path`, whole or not at all.
void write_file_atomically(const std::string& path, const std::string& bytes);
