#pragma once
// The few SQLite calls of the model file's reader and writer, with owners
// that close and finalise on every path. A failing call throws
// MODEL_FILE_PROBLEM with SQLite's text; the public functions of
// model_file.h turn it into MODEL_FILE_ERROR naming the file. Internal to
// host/document.

#include <sqlite3.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

namespace model_file_sql {

struct DB_CLOSE {
  void operator()(sqlite3* db) const noexcept { sqlite3_close_v2(db); }
};
using DB = std::unique_ptr<sqlite3, DB_CLOSE>;

struct STMT_FINALIZE {
  void operator()(sqlite3_stmt* s) const noexcept { sqlite3_finalize(s); }
};
using STMT = std::unique_ptr<sqlite3_stmt, STMT_FINALIZE>;

// Thrown by the reader and writer; turned into MODEL_FILE_ERROR with the path.
struct MODEL_FILE_PROBLEM {
  std::string text;
};

[[noreturn]] inline void fail(const std::string& text) {
  throw MODEL_FILE_PROBLEM{text};
}

inline void exec(sqlite3* db, const char* sql) {
  char* message = nullptr;
  if (sqlite3_exec(db, sql, nullptr, nullptr, &message) != SQLITE_OK) {
    std::string text = message != nullptr ? message : sqlite3_errmsg(db);
    sqlite3_free(message);
    fail(text);
  }
}

inline STMT prepare(sqlite3* db, const char* sql) {
  sqlite3_stmt* s = nullptr;
  if (sqlite3_prepare_v2(db, sql, -1, &s, nullptr) != SQLITE_OK) {
    sqlite3_finalize(s);
    fail(sqlite3_errmsg(db));
  }
  return STMT(s);
}

// Steps a statement: true for a row, false when done; fails on an error.
inline bool step(sqlite3* db, sqlite3_stmt* s) {
  const int rc = sqlite3_step(s);
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  fail(sqlite3_errmsg(db));
}

inline void done(sqlite3* db, sqlite3_stmt* s) {
  if (step(db, s)) fail("a statement returned rows");
  sqlite3_reset(s);
  sqlite3_clear_bindings(s);
}

inline std::string errno_text() {
  return std::strerror(errno);
}

}  // namespace model_file_sql
