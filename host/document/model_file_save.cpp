// Saving model files (model_file.h).
//
// The temporary file is written without a journal and without SQLite's own
// syncs: nobody reads it before it is complete, a failure deletes it, and one
// fsync of the finished file (then of its folder, after the rename) gives
// the durability. Pages of 64 KiB keep a body's blob of tens of megabytes in
// few overflow chains; small models get pages of 4 KiB.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <unordered_map>

#include "host/document/body_codec.h"
#include "host/document/checksum.h"
#include "host/document/feature_codec.h"
#include "host/document/graphics_file.h"
#include "host/document/model_file.h"
#include "host/document/model_file_sql.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_tree.h"
#include "host/model/part_data.h"
#include "host/model/part_graphics.h"
#include "host/model/universal_feature.h"
#include "host/ui/viewport.h"

namespace {

using namespace model_file_sql;

const char* kind_name(PARCEL_KIND k) {
  switch (k) {
    case PARCEL_KIND::part:
      return "part";
    case PARCEL_KIND::assembly:
      return "assembly";
    case PARCEL_KIND::container:
      break;
  }
  return "container";
}

void put_transform(std::string& out, const TRANSFORM3& tm) {
  double v[12];
  for (int i = 0; i < 3; ++i) {
    const VECTOR3 r = tm.row(i);
    v[3 * i] = r.x();
    v[3 * i + 1] = r.y();
    v[3 * i + 2] = r.z();
  }
  const VECTOR3& t = tm.translation_vector();
  v[9] = t.x();
  v[10] = t.y();
  v[11] = t.z();
  out.assign(reinterpret_cast<const char*>(v), sizeof v);
}

constexpr const char* kSchemaSql =
    "CREATE TABLE model_info(key TEXT PRIMARY KEY, value) WITHOUT ROWID;"
    "CREATE TABLE bodies(id INTEGER PRIMARY KEY, data BLOB NOT NULL, checksum INTEGER NOT NULL);"
    "CREATE TABLE contents(id INTEGER PRIMARY KEY, kind TEXT NOT NULL, sysid INTEGER NOT NULL,"
    " body INTEGER REFERENCES bodies(id), color_r REAL, color_g REAL, color_b REAL,"
    " transparency REAL, graphics BLOB);"
    "CREATE TABLE instances(id INTEGER PRIMARY KEY, contents INTEGER NOT NULL REFERENCES "
    "contents(id),"
    " parent INTEGER REFERENCES contents(id), position INTEGER NOT NULL, name TEXT NOT NULL,"
    " tm BLOB NOT NULL, sysid INTEGER NOT NULL);"
    // Universal features: on a contents or on an instance, in their order there.
    "CREATE TABLE features(id INTEGER PRIMARY KEY, contents INTEGER REFERENCES contents(id),"
    " instance INTEGER REFERENCES instances(id), position INTEGER NOT NULL, data BLOB NOT NULL,"
    " refs BLOB);"
    // How parts show beyond their own data, where that is not the default.
    "CREATE TABLE show_settings(contents INTEGER PRIMARY KEY REFERENCES contents(id),"
    " edged INTEGER NOT NULL, see_through INTEGER NOT NULL);";

// The temporary file: made beside the target, removed unless handed over.
class TEMPORARY_FILE {
 public:
  explicit TEMPORARY_FILE(const std::string& target) {
    const std::size_t slash = target.find_last_of('/');
    folder_ = slash == std::string::npos ? "." : (slash == 0 ? "/" : target.substr(0, slash));
    const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
    if (base.empty()) fail("the path names a folder, not a file");
    struct stat st {};
    if (::stat(target.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) fail("the path names a folder");
    std::string name = (slash == std::string::npos ? std::string() : target.substr(0, slash + 1)) +
                       "." + base + ".XXXXXX";
    const int fd = ::mkstemp(name.data());
    if (fd < 0) fail("cannot make a file in \"" + folder_ + "\": " + errno_text());
    ::close(fd);
    name_ = name;
    // The finished file gets the permissions of the one it replaces, or those
    // of any new file of the user.
    mode_t mode = 0;
    if (::stat(target.c_str(), &st) == 0) {
      mode = st.st_mode & 07777;
    } else {
      const mode_t mask = ::umask(0);
      ::umask(mask);
      mode = 0666 & ~mask;
    }
    ::chmod(name_.c_str(), mode);
  }
  ~TEMPORARY_FILE() {
    if (!name_.empty()) ::unlink(name_.c_str());
  }
  TEMPORARY_FILE(const TEMPORARY_FILE&) = delete;
  TEMPORARY_FILE& operator=(const TEMPORARY_FILE&) = delete;

  const std::string& name() const { return name_; }

  // Forces the file to disk, renames it over `target`, forces the folder.
  void commit(const std::string& target) {
    const int fd = ::open(name_.c_str(), O_RDONLY);
    if (fd < 0 || ::fsync(fd) != 0) {
      const std::string why = errno_text();
      if (fd >= 0) ::close(fd);
      fail("cannot write the file to disk: " + why);
    }
    ::close(fd);
    if (std::rename(name_.c_str(), target.c_str()) != 0) {
      fail("cannot replace the file: " + errno_text());
    }
    name_.clear();
    const int dir = ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY);
    if (dir >= 0) {
      ::fsync(dir);
      ::close(dir);
    }
  }

 private:
  std::string folder_;
  std::string name_;  // empty once renamed
};

// Numbers the contents and instances below the tops, parents before
// children. The root's children are the tops; a top's parent is "none".
struct GRAPH {
  std::vector<PARCEL_STRUCT*> contents;
  std::unordered_map<const PARCEL_STRUCT*, std::int64_t> contents_id;
  struct PLACED {
    NPARCEL* instance;
    std::int64_t parent;  // contents id, 0 for a top
    std::int64_t position;
  };
  std::vector<PLACED> instances;
};

GRAPH collect(const std::vector<NPARCEL*>& tops) {
  GRAPH g;
  auto add_contents = [&](PARCEL_STRUCT* c) {
    auto [it, fresh] =
        g.contents_id.try_emplace(c, static_cast<std::int64_t>(g.contents.size() + 1));
    if (fresh) g.contents.push_back(c);
    return fresh;
  };
  std::vector<PARCEL_STRUCT*> todo;
  std::int64_t position = 0;
  for (NPARCEL* top : tops) {
    g.instances.push_back({top, 0, position++});
    if (add_contents(top->shared_data())) todo.push_back(top->shared_data());
  }
  // Breadth first over contents; each contents' children once.
  for (std::size_t i = 0; i < todo.size(); ++i) {
    PARCEL_STRUCT* c = todo[i];
    const std::int64_t id = g.contents_id[c];
    std::int64_t k = 0;
    for (NPARCEL* child : c->children()) {
      g.instances.push_back({child, id, k++});
      if (add_contents(child->shared_data())) todo.push_back(child->shared_data());
    }
  }
  return g;
}

// The features filed with the model, of every contents and instance saved.
// References keep their items' sysids and paths; the load resolves them.
void write_features(sqlite3* db, const GRAPH& g) {
  STMT insert = prepare(db,
                        "INSERT INTO features(id, contents, instance, position, data, refs)"
                        " VALUES(?,?,?,?,?,?)");
  std::int64_t id = 0;
  auto write = [&](const std::vector<THIN_UNIVERSAL_FEATURE*>& list, int column, std::int64_t place) {
    std::int64_t position = 0;
    for (const THIN_UNIVERSAL_FEATURE* f : list) {
      if (!f->options().filed) continue;
      const std::string data = encode_feature({f->options(), f->name(), f->memory()});
      std::vector<FEATURE_REFERENCE_RECORD> refs;
      for (const SEL_ITEM& s : universal_feature_ref_sel_items(*f)) {
        FEATURE_REFERENCE_RECORD r;
        r.item = s.item()->sysid();
        for (const NPARCEL* p : s.path().instances()) r.path.push_back(p->sysid());
        refs.push_back(std::move(r));
      }
      const std::string ref_bytes = encode_feature_references(refs);
      sqlite3_stmt* s = insert.get();
      sqlite3_bind_int64(s, 1, ++id);
      sqlite3_bind_int64(s, column, place);
      sqlite3_bind_int64(s, 4, position++);
      sqlite3_bind_blob64(s, 5, data.data(), data.size(), SQLITE_TRANSIENT);
      sqlite3_bind_blob64(s, 6, ref_bytes.data(), ref_bytes.size(), SQLITE_TRANSIENT);
      done(db, s);
    }
  };
  for (std::size_t i = 0; i < g.contents.size(); ++i) {
    write(g.contents[i]->features(), 2, static_cast<std::int64_t>(i + 1));
  }
  for (std::size_t i = 0; i < g.instances.size(); ++i) {
    write(g.instances[i].instance->features(), 3, static_cast<std::int64_t>(i + 1));
  }
}

void write_model(sqlite3* db, const std::vector<NPARCEL*>& tops) {
  const GRAPH g = collect(tops);
  // Small pages for small models (each table takes at least one), large ones
  // once bodies run to megabytes.
  std::size_t faces = 0;
  for (const PARCEL_STRUCT* c : g.contents) {
    if (c->kind() != PARCEL_KIND::part) continue;
    if (const BODY* b = static_cast<const PART_STRUCT*>(c)->body())
      faces += static_cast<std::size_t>(b->number_of_faces());
  }
  exec(db, faces > 20000 ? "PRAGMA page_size=65536;" : "PRAGMA page_size=4096;");
  exec(db, "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF;");
  exec(db, ("PRAGMA application_id=" + std::to_string(kModelFileApplicationId) +
            "; PRAGMA user_version=" + std::to_string(kModelFileSchema) + ";")
               .c_str());
  exec(db, "BEGIN");
  exec(db, kSchemaSql);
  exec(db, "INSERT INTO model_info VALUES('format','lumesh-model'),('writer','lumesh')");

  STMT body_insert = prepare(db, "INSERT INTO bodies(id, data, checksum) VALUES(?,?,?)");
  STMT contents_insert =
      prepare(db,
              "INSERT INTO contents(id, kind, sysid, body, color_r, color_g, color_b, transparency,"
              " graphics) VALUES(?,?,?,?,?,?,?,?,?)");
  std::int64_t body_id = 0;
  for (std::size_t i = 0; i < g.contents.size(); ++i) {
    PARCEL_STRUCT* c = g.contents[i];
    sqlite3_stmt* s = contents_insert.get();
    sqlite3_bind_int64(s, 1, static_cast<std::int64_t>(i + 1));
    sqlite3_bind_text(s, 2, kind_name(c->kind()), -1, SQLITE_STATIC);
    sqlite3_bind_int64(s, 3, static_cast<std::int64_t>(c->sysid()));
    if (c->kind() == PARCEL_KIND::part) {
      auto* part = static_cast<PART_STRUCT*>(c);
      if (BODY* body = part->body(); body != nullptr) {
        std::string blob;
        try {
          blob = encode_body(*body);
        } catch (const std::exception& e) {
          fail(e.what());
        }
        sqlite3_stmt* b = body_insert.get();
        sqlite3_bind_int64(b, 1, ++body_id);
        sqlite3_bind_blob64(b, 2, blob.data(), blob.size(), SQLITE_STATIC);
        sqlite3_bind_int64(b, 3, static_cast<std::int64_t>(checksum64(blob)));
        done(db, b);
        sqlite3_bind_int64(s, 4, body_id);
      }
      RGB_COLOR rgb;
      if (part->get_color(rgb)) {
        sqlite3_bind_double(s, 5, rgb.r);
        sqlite3_bind_double(s, 6, rgb.g);
        sqlite3_bind_double(s, 7, rgb.b);
      }
      float t = 0;
      if (part->get_transparency(t)) sqlite3_bind_double(s, 8, static_cast<double>(t));
      // A graphics-only part keeps its triangles, in the graphics files' own
      // form (graphics_file.h).
      if (const PART_GRAPHICS* graphics = part->graphics()) {
        const std::string bytes = graphics_file_bytes(*graphics);
        sqlite3_bind_blob64(s, 9, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
      }
    }
    done(db, s);
  }
  STMT instance_insert = prepare(db,
                                 "INSERT INTO instances(id, contents, parent, position, name, tm, "
                                 "sysid) VALUES(?,?,?,?,?,?,?)");
  std::string tm;
  for (std::size_t i = 0; i < g.instances.size(); ++i) {
    const GRAPH::PLACED& p = g.instances[i];
    sqlite3_stmt* s = instance_insert.get();
    sqlite3_bind_int64(s, 1, static_cast<std::int64_t>(i + 1));
    sqlite3_bind_int64(s, 2, g.contents_id.at(p.instance->shared_data()));
    if (p.parent != 0) sqlite3_bind_int64(s, 3, p.parent);
    sqlite3_bind_int64(s, 4, p.position);
    sqlite3_bind_text(s, 5, p.instance->name().c_str(), -1, SQLITE_TRANSIENT);
    put_transform(tm, p.instance->tm());
    sqlite3_bind_blob(s, 6, tm.data(), static_cast<int>(tm.size()), SQLITE_TRANSIENT);
    sqlite3_bind_int64(s, 7, static_cast<std::int64_t>(p.instance->sysid()));
    done(db, s);
  }
  write_features(db, g);
  STMT show_insert = prepare(db, "INSERT INTO show_settings(contents, edged, see_through) VALUES(?,?,?)");
  for (std::size_t i = 0; i < g.contents.size(); ++i) {
    const SHOW_SETTINGS show = viewports().show_settings(g.contents[i]);
    if (show.edged && !show.see_through) continue;
    sqlite3_stmt* s = show_insert.get();
    sqlite3_bind_int64(s, 1, static_cast<std::int64_t>(i + 1));
    sqlite3_bind_int(s, 2, show.edged ? 1 : 0);
    sqlite3_bind_int(s, 3, show.see_through ? 1 : 0);
    done(db, s);
  }
  show_insert.reset();
  body_insert.reset();
  contents_insert.reset();
  instance_insert.reset();
  exec(db, "COMMIT");
}

}  // namespace

void save_model_file(const std::string& path) {
  std::vector<NPARCEL*> tops(children(root_parcel()).begin(), children(root_parcel()).end());
  save_model_file(path, tops);
}

void save_model_file(const std::string& path, const std::vector<NPARCEL*>& tops) {
  try {
    for (NPARCEL* p : tops) {
      if (p == nullptr || !p->is_alive() || is_root_parcel(p))
        fail("an object to save is not there");
    }
    TEMPORARY_FILE temporary(path);
    {
      sqlite3* raw = nullptr;
      const int rc =
          sqlite3_open_v2(temporary.name().c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
      DB db(raw);
      if (rc != SQLITE_OK) fail(raw != nullptr ? sqlite3_errmsg(raw) : "cannot open a database");
      write_model(db.get(), tops);
      if (sqlite3_close(db.release()) != SQLITE_OK) fail("cannot close the database");
    }
    temporary.commit(path);
  } catch (const model_file_sql::MODEL_FILE_PROBLEM& p) {
    throw MODEL_FILE_ERROR(path, p.text);
  } catch (const std::bad_alloc&) {
    throw MODEL_FILE_ERROR(path, "out of memory");
  }
}
