#include "host/document/persistent_data.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <utility>

#include "host/document/document_error.h"
#include "host/document/user_folders.h"

namespace {

// "LMXP": marks the database as this host's persistent data, so that another
// program's SQLite file is refused instead of being written into.
constexpr int kApplicationId = 0x4C4D5850;
// Another session writing at the same moment holds the lock for a few
// milliseconds; waiting this long covers it without hanging on a stuck one.
constexpr int kBusyTimeoutMs = 5000;

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool exists(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0;
}

// One open connection; closed on every way out.
class CONNECTION {
 public:
  CONNECTION(const std::string& path, bool create) : path_(path) {
    const int flags = create ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READWRITE;
    const int rc = sqlite3_open_v2(path.c_str(), &db_, flags, nullptr);
    if (rc != SQLITE_OK) fail("can't be opened as the persistent data");
    sqlite3_busy_timeout(db_, kBusyTimeoutMs);
  }
  ~CONNECTION() { sqlite3_close(db_); }
  CONNECTION(const CONNECTION&) = delete;
  CONNECTION& operator=(const CONNECTION&) = delete;

  [[noreturn]] void fail(const std::string& what) const {
    const int code = db_ != nullptr ? sqlite3_errcode(db_) : SQLITE_CANTOPEN;
    std::string reason = db_ != nullptr ? sqlite3_errmsg(db_) : "out of memory";
    if (code == SQLITE_NOTADB || code == SQLITE_CORRUPT) {
      reason = "it is damaged or not a persistent data file of " + std::string(host_name());
    }
    throw DOCUMENT_ERROR(path_, what + ": " + reason + ".");
  }

  void exec(const char* sql, const char* what) const {
    if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail(what);
  }

  int pragma(const char* sql) const {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db_, sql, -1, &st, nullptr) != SQLITE_OK) fail("can't be read");
    int value = 0;
    const int rc = sqlite3_step(st);
    if (rc == SQLITE_ROW) value = sqlite3_column_int(st, 0);
    sqlite3_finalize(st);
    if (rc != SQLITE_ROW) fail("can't be read");
    return value;
  }

  // Checks that the file is ours and of a schema this host reads. An empty
  // database holds no records: false, unless `create` gives it the schema.
  bool check_schema(bool create) const {
    const int id = pragma("PRAGMA application_id");
    const int version = pragma("PRAGMA user_version");
    if (id == 0 && version == 0 && pragma("SELECT count(*) FROM sqlite_master") == 0) {
      if (!create) return false;
      exec("BEGIN IMMEDIATE;"
           "CREATE TABLE IF NOT EXISTS record (application TEXT NOT NULL, key TEXT NOT NULL,"
           " subkey TEXT NOT NULL, value TEXT NOT NULL, PRIMARY KEY (application, key, subkey));"
           "PRAGMA application_id = 1280137296;"
           "PRAGMA user_version = 1;"
           "COMMIT;",
           "can't be made");
      return true;
    }
    if (id != kApplicationId) {
      throw DOCUMENT_ERROR(path_, "is a database of another program, not the persistent data of " +
                                      std::string(host_name()) + ".");
    }
    if (version > PERSISTENT_STORE::schema_version) {
      throw DOCUMENT_ERROR(path_, "was written by a newer version of " + std::string(host_name()) +
                                      " (schema " + std::to_string(version) + "); this one reads schema " +
                                      std::to_string(PERSISTENT_STORE::schema_version) + ".");
    }
    return true;
  }

  sqlite3_stmt* prepare(const char* sql) const {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db_, sql, -1, &st, nullptr) != SQLITE_OK) fail("can't be read");
    return st;
  }

  sqlite3* db() const { return db_; }

 private:
  std::string path_;
  sqlite3* db_ = nullptr;
};

// A prepared statement bound to a key; finalized on every way out.
class STATEMENT {
 public:
  STATEMENT(const CONNECTION& c, const char* sql, const PERSISTENT_KEY& k) : st_(c.prepare(sql)) {
    sqlite3_bind_text(st_, 1, k.application.data(), static_cast<int>(k.application.size()), SQLITE_TRANSIENT);
    sqlite3_bind_text(st_, 2, k.key.data(), static_cast<int>(k.key.size()), SQLITE_TRANSIENT);
    sqlite3_bind_text(st_, 3, k.subkey.data(), static_cast<int>(k.subkey.size()), SQLITE_TRANSIENT);
  }
  ~STATEMENT() { sqlite3_finalize(st_); }
  STATEMENT(const STATEMENT&) = delete;
  STATEMENT& operator=(const STATEMENT&) = delete;
  sqlite3_stmt* get() const { return st_; }

 private:
  sqlite3_stmt* st_;
};

}  // namespace

PERSISTENT_STORE PERSISTENT_STORE::user_store() {
  return PERSISTENT_STORE(host_user_folder() + "/persistent_data.sqlite");
}

std::optional<std::string> PERSISTENT_STORE::get(const PERSISTENT_KEY& key) const {
  if (!exists(path_)) return std::nullopt;
  CONNECTION c(path_, false);
  if (!c.check_schema(false)) return std::nullopt;
  STATEMENT st(c, "SELECT value FROM record WHERE application = ?1 AND key = ?2 AND subkey = ?3", key);
  const int rc = sqlite3_step(st.get());
  if (rc == SQLITE_DONE) return std::nullopt;
  if (rc != SQLITE_ROW) c.fail("can't be read");
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(st.get(), 0));
  const int n = sqlite3_column_bytes(st.get(), 0);
  return std::string(text != nullptr ? text : "", static_cast<std::size_t>(n));
}

void PERSISTENT_STORE::set(const PERSISTENT_KEY& key, const std::string& text) const {
  make_user_folder(folder_of(path_));
  CONNECTION c(path_, true);
  c.check_schema(true);
  STATEMENT st(c, "INSERT OR REPLACE INTO record (application, key, subkey, value) VALUES (?1, ?2, ?3, ?4)",
               key);
  sqlite3_bind_text(st.get(), 4, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
  // A single statement is its own transaction: the record is written whole
  // or not at all.
  if (sqlite3_step(st.get()) != SQLITE_DONE) c.fail("can't be written");
}

bool PERSISTENT_STORE::remove(const PERSISTENT_KEY& key) const {
  if (!exists(path_)) return false;
  CONNECTION c(path_, false);
  if (!c.check_schema(false)) return false;
  STATEMENT st(c, "DELETE FROM record WHERE application = ?1 AND key = ?2 AND subkey = ?3", key);
  if (sqlite3_step(st.get()) != SQLITE_DONE) c.fail("can't be written");
  return sqlite3_changes(c.db()) > 0;
}
