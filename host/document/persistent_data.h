#pragma once
// The host's persistent data: records that outlive the session, one per
// (application, key, subkey), kept per user in one SQLite database in the
// user folder (user_folders.h).
//
// A record is a text, the printed form of a Lisp value; this store knows no
// Lisp (the binding prints and reads). SQLite gives what a settings file
// needs and a file of our own would have to build: a write is one
// transaction, so a crash or a full disk leaves the previous records; two
// sessions of the same user that write at once are serialised by its lock
// instead of one losing the other's records; and one record is changed
// without rewriting the others.
//
// The database is opened for each call and closed before it returns, so a
// record written by another session is seen at the next read. Reading never
// creates anything; the first write creates the user folder and the file.
// Every failure throws DOCUMENT_ERROR naming the file: a file that is no
// SQLite database or is damaged, a database of another program or of a newer
// schema, a folder or file that can't be written.

#include <optional>
#include <string>

struct PERSISTENT_KEY {
  std::string application;
  std::string key;
  std::string subkey;  // empty: the record of the key itself
};

class PERSISTENT_STORE {
 public:
  // The store in the file `path`; nothing is opened yet.
  explicit PERSISTENT_STORE(std::string path) : path_(std::move(path)) {}
  // The user's store: persistent_data.sqlite in host_user_folder().
  static PERSISTENT_STORE user_store();

  const std::string& path() const { return path_; }

  // The record's text; none when there is no such record or no file yet.
  std::optional<std::string> get(const PERSISTENT_KEY& key) const;
  // Stores or replaces the record, in one transaction.
  void set(const PERSISTENT_KEY& key, const std::string& text) const;
  // Removes the record; true when there was one. No file is created.
  bool remove(const PERSISTENT_KEY& key) const;

  // The schema version this host writes.
  static constexpr int schema_version = 1;

 private:
  std::string path_;
};
