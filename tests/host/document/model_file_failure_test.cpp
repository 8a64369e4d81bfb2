// Model files that cannot be read or written: a clear error naming the file,
// the model as it was, the earlier file unchanged, the process alive. A save
// killed half-way leaves the earlier file loadable.

#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>
#include <iterator>

#include "host/document/file_loaders.h"
#include "host/document/model_file.h"
#include "tests/host/document/model_file_fixture.h"

namespace {

class ModelFileFailureTest : public ModelFileFixture {
 protected:
  static std::string read_bytes(const std::string& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  static void write_bytes(const std::string& p, const std::string& bytes) {
    std::ofstream(p, std::ios::binary | std::ios::trunc) << bytes;
  }
  // A saved model of one part with a body, then an empty session.
  std::string saved_model(const std::string& name) {
    NPARCEL* part = create_npart3("Block");
    add_body_to_part(part, make_bored_block(20, 30, 10, 4, 12));
    insert_in_graph(part);
    save_model_file(path(name));
    destroy_parcel(part);
    HISTORY::instance().forget();
    return path(name);
  }
  // The load fails with an error naming the file and containing `what`,
  // and changes neither the model nor the entities.
  void expect_refused(const std::string& file, const std::string& what) {
    insert_in_graph(create_npart3("Bystander"));
    HISTORY::instance().forget();
    const std::uint64_t entities = ENTITY::registered_count();
    try {
      load_file(file, LOAD_MODE::ALL_AS_NEW);
      ADD_FAILURE() << file << " was loaded";
    } catch (const MODEL_FILE_ERROR& e) {
      const std::string text = e.what();
      EXPECT_NE(text.find(file), std::string::npos) << text;
      EXPECT_NE(text.find(what), std::string::npos) << text;
    }
    HISTORY::instance().forget();
    EXPECT_EQ(ENTITY::registered_count(), entities);
    ASSERT_EQ(inq_num_children(root_parcel()), 1);
    EXPECT_EQ(inq_child(root_parcel(), 0)->name(), "Bystander");
    destroy_parcel(inq_child(root_parcel(), 0));
  }
  static void set_user_version(const std::string& file, int version) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, ("PRAGMA user_version=" + std::to_string(version)).c_str(), nullptr,
                           nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
  }
};

TEST_F(ModelFileFailureTest, MissingFile) {
  expect_refused(path("nowhere.lmx"), "cannot be opened");
}

TEST_F(ModelFileFailureTest, EmptyFile) {
  write_bytes(path("empty.lmx"), "");
  expect_refused(path("empty.lmx"), "is empty");
}

TEST_F(ModelFileFailureTest, GarbageAndForeignFiles) {
  write_bytes(path("garbage.lmx"), std::string(5000, '\x5a'));
  expect_refused(path("garbage.lmx"), "not a file that Lumesh loads");
  write_bytes(path("part.stl"),
              "solid part\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
              "vertex 0 1 0\nendloop\nendfacet\nendsolid part\n");
  expect_refused(path("part.stl"), "not a file that Lumesh loads");
}

TEST_F(ModelFileFailureTest, AnSqliteDatabaseOfSomeoneElse) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(path("other.db").c_str(), &db), SQLITE_OK);
  ASSERT_EQ(
      sqlite3_exec(db, "CREATE TABLE t(x); INSERT INTO t VALUES(1);", nullptr, nullptr, nullptr),
      SQLITE_OK);
  sqlite3_close(db);
  expect_refused(path("other.db"), "not a file that Lumesh loads");
  // An empty database is a file of zero bytes to SQLite, or a bare header.
  ASSERT_EQ(sqlite3_open(path("bare.db").c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, "PRAGMA user_version=1; VACUUM;", nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(db);
  expect_refused(path("bare.db"), "not a file that Lumesh loads");
}

TEST_F(ModelFileFailureTest, ANewerSchemaIsRefused) {
  const std::string file = saved_model("newer.lmx");
  set_user_version(file, kModelFileSchema + 1);
  expect_refused(file, "newer schema");
}

TEST_F(ModelFileFailureTest, ModelFileWithTablesMissingIsRefused) {
  const std::string file = saved_model("broken.lmx");
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, "DROP TABLE instances", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(db);
  expect_refused(file, "no such table");
}

TEST_F(ModelFileFailureTest, DamagedRowsAreRefused) {
  const char* edits[][2] = {
      {"UPDATE bodies SET data = substr(data, 1, length(data) - 7)", "is damaged"},
      {"UPDATE contents SET kind = 'gear'", "unknown kind"},
      {"UPDATE contents SET color_r = 7", "outside [0, 1]"},
      {"UPDATE contents SET graphics = x'00'", "no graphics-only part"},
      {"UPDATE contents SET graphics = x'4c4d58475241504800', body = NULL", "graphics of a part are damaged"},
      {"UPDATE instances SET tm = x'00'", "damaged transform"},
      {"UPDATE instances SET contents = 99", "contents are missing"},
      {"UPDATE contents SET body = 42", "body is missing"},
      {"INSERT INTO instances SELECT 2, contents, contents, 0, 'in', tm, 77 FROM instances",
       "holds a part"},
      {"UPDATE contents SET kind = 'assembly', body = NULL;"
       "INSERT INTO instances SELECT 2, contents, contents, 0, 'loop', tm, 77 FROM instances",
       "contains itself"},
  };
  for (const auto& [sql, what] : edits) {
    const std::string file = saved_model("damaged.lmx");
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
    sqlite3_close(db);
    expect_refused(file, what);
  }
}

TEST_F(ModelFileFailureTest, EveryTruncationIsRefusedOrLoadsWhole) {
  const std::string file = saved_model("whole.lmx");
  const std::string bytes = read_bytes(file);
  // SQLite's pages are 64 KiB: cut inside the header, the first page and
  // every later page.
  for (std::size_t n :
       {std::size_t{0}, std::size_t{50}, std::size_t{99}, std::size_t{100}, std::size_t{4096},
        std::size_t{65535}, std::size_t{65536}, std::size_t{65537}, bytes.size() - 1}) {
    if (n >= bytes.size()) continue;
    write_bytes(path("cut.lmx"), bytes.substr(0, n));
    insert_in_graph(create_npart3("Bystander"));
    try {
      load_file(path("cut.lmx"), LOAD_MODE::ALL_AS_NEW);
      ADD_FAILURE() << "a file cut at " << n << " bytes was loaded";
    } catch (const MODEL_FILE_ERROR& e) {
      EXPECT_NE(std::string(e.what()).find(path("cut.lmx")), std::string::npos);
      if (n >= 100) {
        EXPECT_NE(std::string(e.what()).find("truncated"), std::string::npos) << e.what();
      }
    }
    ASSERT_EQ(inq_num_children(root_parcel()), 1) << n;
    destroy_parcel(inq_child(root_parcel(), 0));
    HISTORY::instance().forget();
  }
}

TEST_F(ModelFileFailureTest, UnwritablePathsLeaveTheEarlierFile) {
  insert_in_graph(create_npart3("Part"));
  try {
    save_model_file(path("no/such/folder/m.lmx"));
    ADD_FAILURE() << "saved into a missing folder";
  } catch (const MODEL_FILE_ERROR& e) {
    EXPECT_NE(std::string(e.what()).find("no/such/folder/m.lmx"), std::string::npos) << e.what();
  }
  EXPECT_THROW(save_model_file(dir_), MODEL_FILE_ERROR);
  EXPECT_THROW(save_model_file(dir_ + "/"), MODEL_FILE_ERROR);
  destroy_parcel(inq_child(root_parcel(), 0));
}

// The disk fills up half-way: a child process that may write no more than
// 64 KiB per file saves a model far larger over an earlier file.
TEST_F(ModelFileFailureTest, AFullDiskLeavesTheEarlierFile) {
  const std::string file = saved_model("full.lmx");
  const std::string before = read_bytes(file);
  NPARCEL* part = create_npart3("Big");
  add_body_to_part(part, make_triangle_torus(100, 50, 100, 30));
  insert_in_graph(part);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{64 * 1024, 64 * 1024};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    int code = 1;
    try {
      save_model_file(file);
    } catch (const MODEL_FILE_ERROR& e) {
      code = std::string(e.what()).find(file) != std::string::npos ? 0 : 2;
    }
    std::_Exit(code);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << "the save did not fail with an error naming the file";
  EXPECT_EQ(read_bytes(file), before);
  destroy_parcel(part);
  HISTORY::instance().forget();
  const std::vector<NPARCEL*> tops = load_model_file(file);
  ASSERT_EQ(tops.size(), 1u);
  EXPECT_EQ(tops[0]->name(), "Block");
  destroy_parcel(tops[0]);
}

// A child saves a large model over and over; it is killed while it writes.
// Whatever moment the kill hits, the file loads: the earlier model or a
// complete newer one.
TEST_F(ModelFileFailureTest, ASaveKilledHalfWayLeavesALoadableFile) {
  const std::string file = saved_model("killed.lmx");
  for (int round = 0; round < 3; ++round) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      NPARCEL* part = create_npart3("Big");
      add_body_to_part(part, make_triangle_torus(300, 200, 100, 30));
      insert_in_graph(part);
      for (;;) save_model_file(file);
    }
    // Wait until the child is writing its temporary file, then a little more.
    bool writing = false;
    for (int i = 0; i < 2000 && !writing; ++i) {
      ::usleep(5000);
      if (DIR* d = ::opendir(dir_.c_str())) {
        while (const dirent* e = ::readdir(d)) {
          if (std::string(e->d_name).rfind(".killed.lmx.", 0) == 0) writing = true;
        }
        ::closedir(d);
      }
    }
    EXPECT_TRUE(writing);
    ::usleep(static_cast<useconds_t>(20000 * round));
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    const std::vector<NPARCEL*> tops = load_model_file(file);
    ASSERT_EQ(tops.size(), 1u);
    EXPECT_TRUE(tops[0]->name() == "Block" || tops[0]->name() == "Big") << tops[0]->name();
    destroy_parcel(tops[0]);
    HISTORY::instance().forget();
  }
}

}  // namespace
