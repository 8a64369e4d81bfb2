// The persistent data store: records by application, key and subkey, kept
// in the user's folder, and its refusals of files that are not its own.

#include "host/document/persistent_data.h"

#include <sqlite3.h>

#include "host/document/document_error.h"
#include "host/document/user_folders.h"
#include "tests/host/document/document_fixture.h"

namespace {

class PersistentDataTest : public DocumentTest {
 protected:
  // Runs SQL on a database file of the test's own making.
  static void sql(const std::string& path, const char* text) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, text, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    sqlite3_close(db);
  }
  // The text of the DOCUMENT_ERROR that `f` throws; "" when it throws none.
  template <class F>
  static std::string error_of(F f) {
    try {
      f();
    } catch (const DOCUMENT_ERROR& e) {
      return e.what();
    }
    return "";
  }
};

const PERSISTENT_KEY kSettings{"\"LUMESH\"", "\"LMX_SETTINGS\"", ":VALUES"};

TEST_F(PersistentDataTest, TheUserStoreLiesInTheUserFolder) {
  EXPECT_EQ(PERSISTENT_STORE::user_store().path(), host_user_folder() + "/persistent_data.sqlite");
  EXPECT_EQ(host_user_folder().rfind(scratch() + "/appdata/lumesh/", 0), 0u);
}

TEST_F(PersistentDataTest, ReadingCreatesNothing) {
  const PERSISTENT_STORE store = PERSISTENT_STORE::user_store();
  EXPECT_FALSE(store.get(kSettings));
  EXPECT_FALSE(store.remove(kSettings));
  EXPECT_FALSE(std::filesystem::exists(scratch() + "/appdata"));
}

TEST_F(PersistentDataTest, RecordsAreKeptByApplicationKeyAndSubkey) {
  const PERSISTENT_STORE store = PERSISTENT_STORE::user_store();
  store.set(kSettings, "(:MERGE T)");
  store.set({"\"LUMESH\"", "\"LMX_SETTINGS\"", ""}, "(:OTHER 1)");
  store.set({"\"OTHER\"", "\"LMX_SETTINGS\"", ":VALUES"}, "(:X 2)");
  EXPECT_EQ(store.get(kSettings), "(:MERGE T)");
  EXPECT_EQ(store.get({"\"LUMESH\"", "\"LMX_SETTINGS\"", ""}), "(:OTHER 1)");
  EXPECT_EQ(store.get({"\"OTHER\"", "\"LMX_SETTINGS\"", ":VALUES"}), "(:X 2)");
  // Replacing keeps one record.
  store.set(kSettings, "(:MERGE NIL :FACE_LIMIT 10)");
  EXPECT_EQ(store.get(kSettings), "(:MERGE NIL :FACE_LIMIT 10)");
  EXPECT_TRUE(store.remove(kSettings));
  EXPECT_FALSE(store.get(kSettings));
  EXPECT_EQ(store.get({"\"OTHER\"", "\"LMX_SETTINGS\"", ":VALUES"}), "(:X 2)");
}

TEST_F(PersistentDataTest, AnotherStoreOnTheSameFileSeesTheRecords) {
  // Each call opens and closes the file: what one session wrote, the next
  // (or another one running at the same time) reads.
  PERSISTENT_STORE::user_store().set(kSettings, "(:A \"\xC3\xA4\")");
  const PERSISTENT_STORE again(host_user_folder() + "/persistent_data.sqlite");
  EXPECT_EQ(again.get(kSettings), "(:A \"\xC3\xA4\")");
}

TEST_F(PersistentDataTest, AGarbageFileIsAnErrorNamingItAndIsLeftAlone) {
  const std::string path = scratch() + "/store.sqlite";
  write_text(path, std::string(5000, 'x'));
  const PERSISTENT_STORE store(path);
  const std::string read = error_of([&] { store.get(kSettings); });
  EXPECT_NE(read.find(path), std::string::npos) << read;
  EXPECT_NE(read.find("damaged or not a persistent data file"), std::string::npos) << read;
  EXPECT_NE(error_of([&] { store.set(kSettings, "(:A 1)"); }).find(path), std::string::npos);
  EXPECT_EQ(read_bytes(path), std::string(5000, 'x'));  // nothing lost, nothing written
}

TEST_F(PersistentDataTest, ATruncatedStoreIsAnError) {
  const PERSISTENT_STORE store(scratch() + "/store.sqlite");
  for (int i = 0; i < 12; ++i) store.set({"\"A\"", "\"K" + std::to_string(i) + "\"", ""}, std::string(1000, 'v'));
  const std::string bytes = read_bytes(store.path());
  ASSERT_GT(bytes.size(), 4096u);
  write_text(store.path(), bytes.substr(0, 100));  // a header cut short
  EXPECT_NE(error_of([&] { store.get({"\"A\"", "\"K1\"", ""}); }).find(store.path()), std::string::npos);
}

TEST_F(PersistentDataTest, AnotherProgramsDatabaseIsRefused) {
  const std::string path = scratch() + "/foreign.sqlite";
  sql(path, "CREATE TABLE things (x INTEGER); INSERT INTO things VALUES (1);");
  const PERSISTENT_STORE store(path);
  const std::string e = error_of([&] { store.set(kSettings, "(:A 1)"); });
  EXPECT_NE(e.find("another program"), std::string::npos) << e;
  EXPECT_NE(error_of([&] { store.get(kSettings); }).find(path), std::string::npos);
}

TEST_F(PersistentDataTest, ANewerSchemaIsRefused) {
  const PERSISTENT_STORE store(scratch() + "/store.sqlite");
  store.set(kSettings, "(:A 1)");
  sql(store.path(), "PRAGMA user_version = 7;");
  const std::string e = error_of([&] { store.get(kSettings); });
  EXPECT_NE(e.find("newer version"), std::string::npos) << e;
  EXPECT_NE(e.find(store.path()), std::string::npos) << e;
}

TEST_F(PersistentDataTest, AnUnwritableUserFolderIsAnErrorAndReadingStillWorks) {
  // A file stands where the user folder's parent should be: no one, not
  // even the superuser, can make the folder.
  write_text(scratch() + "/blocked", "a file");
  env().set("APPDATA", scratch() + "/blocked");
  const PERSISTENT_STORE store = PERSISTENT_STORE::user_store();
  const std::string e = error_of([&] { store.set(kSettings, "(:A 1)"); });
  EXPECT_NE(e.find(scratch() + "/blocked"), std::string::npos) << e;
  EXPECT_FALSE(store.get(kSettings));
  EXPECT_EQ(read_bytes(scratch() + "/blocked"), "a file");
}

}  // namespace
