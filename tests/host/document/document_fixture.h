#pragma once
// Shared pieces of the tests of the user's documents: a scratch folder per
// test, removed afterwards, and environment variables set for one test and
// restored after it, so the user's real folders are never touched.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>

// Sets variables for the lifetime of the object; restores the old values.
class SCOPED_ENV {
 public:
  SCOPED_ENV() = default;
  SCOPED_ENV(const SCOPED_ENV&) = delete;
  SCOPED_ENV& operator=(const SCOPED_ENV&) = delete;
  ~SCOPED_ENV() {
    for (const auto& [name, value] : saved_) {
      if (value) {
        ::setenv(name.c_str(), value->c_str(), 1);
      } else {
        ::unsetenv(name.c_str());
      }
    }
  }
  void set(const std::string& name, const std::string& value) {
    remember(name);
    ::setenv(name.c_str(), value.c_str(), 1);
  }
  void unset(const std::string& name) {
    remember(name);
    ::unsetenv(name.c_str());
  }

 private:
  void remember(const std::string& name) {
    if (saved_.count(name)) return;
    const char* v = ::getenv(name.c_str());
    saved_[name] = v ? std::optional<std::string>(v) : std::nullopt;
  }
  std::map<std::string, std::optional<std::string>> saved_;
};

inline std::string make_scratch_folder() {
  std::string t = (std::filesystem::temp_directory_path() / "lmxdoc-XXXXXX").string();
  if (::mkdtemp(t.data()) == nullptr) throw std::runtime_error("no scratch folder");
  return t;
}

inline void write_text(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

inline std::string read_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

// Every file and folder below `root`, with its size and time of change, so
// that a test can show that nothing in it was written.
inline std::map<std::string, std::string> snapshot(const std::string& root) {
  std::map<std::string, std::string> out;
  if (!std::filesystem::exists(root)) return out;
  for (const auto& e : std::filesystem::recursive_directory_iterator(root)) {
    struct stat st {};
    ::stat(e.path().c_str(), &st);
    out[e.path().string()] = std::to_string(st.st_size) + "@" + std::to_string(st.st_mtim.tv_sec) + "." +
                             std::to_string(st.st_mtim.tv_nsec);
  }
  return out;
}

// A test with its own scratch folder and a user folder inside it (APPDATA
// points there); the corporate and site variables are unset.
class DocumentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    scratch_ = make_scratch_folder();
    env_.set("APPDATA", scratch_ + "/appdata");
    env_.unset("TVCORPCUSTOMIZEDIR");
    env_.unset("TVSITECUSTOMIZEDIR");
  }
  void TearDown() override {
    std::error_code ec;
    std::filesystem::permissions(scratch_, std::filesystem::perms::owner_all, ec);
    std::filesystem::remove_all(scratch_, ec);
  }
  const std::string& scratch() const { return scratch_; }
  SCOPED_ENV& env() { return env_; }

 private:
  std::string scratch_;
  SCOPED_ENV env_;
};
