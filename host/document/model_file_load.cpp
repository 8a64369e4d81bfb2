// Loading model files (model_file.h).
//
// Each body's blob carries a 64-bit checksum: SQLite checks the structure of
// its pages, not their contents, and a flipped byte in a blob would otherwise
// decode into silently wrong geometry.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <unordered_map>

#include "host/document/body_codec.h"
#include "host/document/checksum.h"
#include "host/document/feature_codec.h"
#include "host/document/graphics_file.h"
#include "host/document/model_file.h"
#include "host/document/model_file_sql.h"
#include "host/kernel/entity/entity_registry.h"
#include "host/kernel/topology/body.h"
#include "host/model/model_restore.h"
#include "host/model/model_tree.h"
#include "host/model/parcel_path.h"
#include "host/model/part_data.h"
#include "host/model/part_graphics.h"
#include "host/model/universal_feature.h"
#include "host/ui/viewport.h"

MODEL_FILE_ERROR::MODEL_FILE_ERROR(const std::string& path, const std::string& problem)
    : std::runtime_error("model file \"" + path + "\": " + problem) {}

namespace {

using namespace model_file_sql;

struct CONTENTS_REC {
  std::int64_t id = 0;
  PARCEL_KIND kind = PARCEL_KIND::part;
  std::uint64_t sysid = 0;
  std::int64_t body = 0;  // 0: none
  bool has_color = false;
  RGB_COLOR color;
  bool has_transparency = false;
  double transparency = 0.0;
  std::shared_ptr<const PART_GRAPHICS> graphics;  // a graphics-only part's triangles
  std::vector<std::size_t> instances;             // indices into INSTANCE_REC, by id
  std::vector<std::size_t> children;              // indices, by position
};

struct INSTANCE_REC {
  std::int64_t id = 0;
  std::size_t contents = 0;  // index into the contents
  std::int64_t parent = 0;   // contents id, 0 for a top
  std::int64_t position = 0;
  std::string name;
  TRANSFORM3 tm;
  std::uint64_t sysid = 0;
  NPARCEL* made = nullptr;
};

struct FEATURE_REC {
  bool on_contents = true;
  std::size_t place = 0;  // index into contents or instances
  FEATURE_RECORD record;
  std::vector<FEATURE_REFERENCE_RECORD> refs;
};

struct FILE_MODEL {
  std::vector<std::pair<std::size_t, SHOW_SETTINGS>> shows;  // contents index, settings
  std::vector<CONTENTS_REC> contents;
  std::vector<INSTANCE_REC> instances;
  std::vector<FEATURE_REC> features;  // in the order of their places' lists
  std::vector<std::size_t> tops;                                         // by position
  std::map<std::int64_t, std::pair<std::string, std::uint64_t>> bodies;  // id -> blob, checksum
};

double column_unit(sqlite3_stmt* s, int col, const char* what) {
  const double v = sqlite3_column_double(s, col);
  if (!(v >= 0.0 && v <= 1.0)) fail(std::string("a ") + what + " outside [0, 1]");
  return v;
}

int schema_of(sqlite3* db) {
  STMT s = prepare(db, "PRAGMA user_version");
  return step(db, s.get()) ? sqlite3_column_int(s.get(), 0) : 0;
}

// Features, decoded here so that a damaged one refuses the file before the
// model is touched.
void read_features(sqlite3* db, FILE_MODEL& m,
                   const std::unordered_map<std::int64_t, std::size_t>& contents_index) {
  std::unordered_map<std::int64_t, std::size_t> instance_index;
  for (std::size_t i = 0; i < m.instances.size(); ++i) instance_index[m.instances[i].id] = i;
  STMT s = prepare(db, "SELECT contents, instance, data, refs FROM features ORDER BY id");
  while (step(db, s.get())) {
    FEATURE_REC f;
    const bool on_contents = sqlite3_column_type(s.get(), 0) != SQLITE_NULL;
    const bool on_instance = sqlite3_column_type(s.get(), 1) != SQLITE_NULL;
    if (on_contents == on_instance) fail("a feature that hangs on no one place");
    f.on_contents = on_contents;
    if (on_contents) {
      const auto it = contents_index.find(sqlite3_column_int64(s.get(), 0));
      if (it == contents_index.end()) fail("a feature whose object is missing");
      f.place = it->second;
    } else {
      const auto it = instance_index.find(sqlite3_column_int64(s.get(), 1));
      if (it == instance_index.end()) fail("a feature whose object is missing");
      f.place = it->second;
    }
    auto blob = [&](int col) {
      const auto* data = static_cast<const char*>(sqlite3_column_blob(s.get(), col));
      return std::string_view(data != nullptr ? data : "", static_cast<std::size_t>(sqlite3_column_bytes(s.get(), col)));
    };
    try {
      f.record = decode_feature(blob(2));
      if (sqlite3_column_type(s.get(), 3) != SQLITE_NULL) f.refs = decode_feature_references(blob(3));
    } catch (const std::exception& e) {
      fail(std::string("a damaged feature: ") + e.what());
    }
    m.features.push_back(std::move(f));
  }
}

FILE_MODEL read_model(sqlite3* db) {
  FILE_MODEL m;
  std::unordered_map<std::int64_t, std::size_t> contents_index;
  {
    STMT s = prepare(db,
                     "SELECT id, kind, sysid, body, color_r, color_g, color_b, transparency,"
                     " graphics FROM contents ORDER BY id");
    while (step(db, s.get())) {
      CONTENTS_REC c;
      c.id = sqlite3_column_int64(s.get(), 0);
      const char* kind = reinterpret_cast<const char*>(sqlite3_column_text(s.get(), 1));
      const std::string k = kind != nullptr ? kind : "";
      if (k == "part") {
        c.kind = PARCEL_KIND::part;
      } else if (k == "assembly") {
        c.kind = PARCEL_KIND::assembly;
      } else if (k == "container") {
        c.kind = PARCEL_KIND::container;
      } else {
        fail("an object of unknown kind \"" + k + "\"");
      }
      c.sysid = static_cast<std::uint64_t>(sqlite3_column_int64(s.get(), 2));
      if (sqlite3_column_type(s.get(), 3) != SQLITE_NULL) {
        c.body = sqlite3_column_int64(s.get(), 3);
        if (c.kind != PARCEL_KIND::part) fail("a body in an object that is not a part");
      }
      if (sqlite3_column_type(s.get(), 4) != SQLITE_NULL) {
        if (c.kind != PARCEL_KIND::part) fail("a colour on an object that is not a part");
        c.has_color = true;
        c.color = {column_unit(s.get(), 4, "colour"), column_unit(s.get(), 5, "colour"),
                   column_unit(s.get(), 6, "colour")};
      }
      if (sqlite3_column_type(s.get(), 7) != SQLITE_NULL) {
        if (c.kind != PARCEL_KIND::part) fail("a transparency on an object that is not a part");
        c.has_transparency = true;
        c.transparency = column_unit(s.get(), 7, "transparency");
      }
      if (sqlite3_column_type(s.get(), 8) != SQLITE_NULL) {
        if (c.kind != PARCEL_KIND::part || c.body != 0) {
          fail("graphics on an object that is no graphics-only part");
        }
        const auto* data = static_cast<const char*>(sqlite3_column_blob(s.get(), 8));
        const std::string bytes(data != nullptr ? data : "",
                                static_cast<std::size_t>(sqlite3_column_bytes(s.get(), 8)));
        try {
          c.graphics = parse_graphics_file(bytes, "graphics").graphics;
        } catch (const std::exception& e) {
          fail(std::string("the graphics of a part are damaged: ") + e.what());
        }
        if (c.graphics == nullptr) fail("the graphics of a part are damaged");
      }
      contents_index[c.id] = m.contents.size();
      m.contents.push_back(c);
    }
  }
  {
    STMT s = prepare(db,
                     "SELECT id, contents, parent, position, name, tm, sysid FROM instances"
                     " ORDER BY id");
    while (step(db, s.get())) {
      INSTANCE_REC r;
      r.id = sqlite3_column_int64(s.get(), 0);
      const auto it = contents_index.find(sqlite3_column_int64(s.get(), 1));
      if (it == contents_index.end()) fail("an object whose contents are missing");
      r.contents = it->second;
      if (sqlite3_column_type(s.get(), 2) != SQLITE_NULL) {
        r.parent = sqlite3_column_int64(s.get(), 2);
        if (contents_index.count(r.parent) == 0) fail("an object whose parent is missing");
      }
      r.position = sqlite3_column_int64(s.get(), 3);
      const char* name = reinterpret_cast<const char*>(sqlite3_column_text(s.get(), 4));
      r.name = name != nullptr ? name : "";
      if (sqlite3_column_bytes(s.get(), 5) != 12 * static_cast<int>(sizeof(double))) {
        fail("an object with a damaged transform");
      }
      double v[12];
      std::memcpy(v, sqlite3_column_blob(s.get(), 5), sizeof v);
      const double rows[3][3] = {{v[0], v[1], v[2]}, {v[3], v[4], v[5]}, {v[6], v[7], v[8]}};
      try {
        r.tm = TRANSFORM3::from_matrix(rows, VECTOR3(v[9], v[10], v[11]));
      } catch (const std::exception&) {
        fail("an object with a transform that is no transform");
      }
      r.sysid = static_cast<std::uint64_t>(sqlite3_column_int64(s.get(), 6));
      m.contents[r.contents].instances.push_back(m.instances.size());
      m.instances.push_back(r);
    }
  }
  {
    STMT s = prepare(db, "SELECT id, data, checksum FROM bodies ORDER BY id");
    while (step(db, s.get())) {
      const auto* data = static_cast<const char*>(sqlite3_column_blob(s.get(), 1));
      const int n = sqlite3_column_bytes(s.get(), 1);
      m.bodies[sqlite3_column_int64(s.get(), 0)] = {
          std::string(data != nullptr ? data : "", static_cast<std::size_t>(n)),
          static_cast<std::uint64_t>(sqlite3_column_int64(s.get(), 2))};
    }
  }
  if (schema_of(db) >= 2) {
    read_features(db, m, contents_index);
    STMT s = prepare(db, "SELECT contents, edged, see_through FROM show_settings");
    while (step(db, s.get())) {
      const auto it = contents_index.find(sqlite3_column_int64(s.get(), 0));
      if (it == contents_index.end()) fail("a show setting whose object is missing");
      SHOW_SETTINGS show;
      show.edged = sqlite3_column_int(s.get(), 1) != 0;
      show.see_through = sqlite3_column_int(s.get(), 2) != 0;
      m.shows.emplace_back(it->second, show);
    }
  }
  // The graph: every contents shown, each body used once, children of a
  // part are containers, no contents inside itself.
  std::unordered_map<std::int64_t, int> body_uses;
  for (CONTENTS_REC& c : m.contents) {
    if (c.instances.empty()) fail("an object that nothing shows");
    if (c.body != 0) {
      if (m.bodies.count(c.body) == 0) fail("a part whose body is missing");
      if (++body_uses[c.body] > 1) fail("a body that two parts hold");
    }
  }
  std::map<std::pair<std::int64_t, std::int64_t>, std::size_t> by_place;
  for (std::size_t i = 0; i < m.instances.size(); ++i) {
    const INSTANCE_REC& r = m.instances[i];
    if (!by_place.try_emplace({r.parent, r.position}, i).second) fail("two objects in one place");
  }
  for (const auto& [place, i] : by_place) {
    const INSTANCE_REC& r = m.instances[i];
    if (place.first == 0) {
      m.tops.push_back(i);
      continue;
    }
    CONTENTS_REC& parent = m.contents[contents_index.at(place.first)];
    if (parent.kind == PARCEL_KIND::part && m.contents[r.contents].kind != PARCEL_KIND::container) {
      fail("a part that holds a part or an assembly");
    }
    parent.children.push_back(i);
  }
  // Cycles: a depth-first walk over contents with an explicit stack.
  std::vector<int> state(m.contents.size(), 0);  // 0 new, 1 on the path, 2 done
  for (std::size_t root = 0; root < m.contents.size(); ++root) {
    if (state[root] != 0) continue;
    std::vector<std::pair<std::size_t, std::size_t>> stack{{root, 0}};
    state[root] = 1;
    while (!stack.empty()) {
      auto& [c, next] = stack.back();
      if (next == m.contents[c].children.size()) {
        state[c] = 2;
        stack.pop_back();
        continue;
      }
      const std::size_t child = m.instances[m.contents[c].children[next++]].contents;
      if (state[child] == 1) fail("an object that contains itself");
      if (state[child] == 0) {
        state[child] = 1;
        stack.push_back({child, 0});
      }
    }
  }
  return m;
}

// Keeps the saved sysids from fresh entities while the load makes its own,
// and gives back the ones no entity took, on every path.
class SYSID_RESERVATION {
 public:
  void add(std::uint64_t sysid) {
    if (ENTITY_REGISTRY::instance().reserve(sysid)) kept_.push_back(sysid);
  }
  // True when the sysid was free before this load: an entity that has it
  // now was made by the load. Sorted on first use: only feature references
  // ask, and a million-facet body should not pay for a set it never needs.
  bool ours(std::uint64_t sysid) const {
    if (sorted_.size() != kept_.size()) {
      sorted_ = kept_;
      std::sort(sorted_.begin(), sorted_.end());
    }
    return std::binary_search(sorted_.begin(), sorted_.end(), sysid);
  }
  ~SYSID_RESERVATION() {
    for (std::uint64_t s : kept_) ENTITY_REGISTRY::instance().release(s);
  }

 private:
  std::vector<std::uint64_t> kept_;
  mutable std::vector<std::uint64_t> sorted_;
};

// The features, once every object of the file is in the model. A reference
// is kept when its item and every instance of its path came back with the
// sysids they were saved with, and still form a selection.
void restore_features(const FILE_MODEL& m, const SYSID_RESERVATION& reservation) {
  for (const FEATURE_REC& f : m.features) {
    NPARCEL* holder = f.on_contents ? m.instances[m.contents[f.place].instances.front()].made
                                    : m.instances[f.place].made;
    ENTITY* place = feature_place(holder, f.on_contents);
    THIN_UNIVERSAL_FEATURE* made =
        make_thin_universal_feature(place, f.record.options, f.record.memory, f.record.name);
    std::vector<SEL_ITEM> items;
    for (const FEATURE_REFERENCE_RECORD& r : f.refs) {
      if (!reservation.ours(r.item)) continue;
      ENTITY* item = ENTITY::lookup(r.item);
      PARCEL_PATH path;
      bool whole = item != nullptr;
      for (std::uint64_t s : r.path) {
        auto* p = whole && reservation.ours(s) ? entity_cast<NPARCEL>(ENTITY::lookup(s)) : nullptr;
        whole = p != nullptr;
        path.push_back(p);
      }
      if (!whole) continue;
      try {
        items.push_back(make_sel_item(item, path));
      } catch (const std::exception&) {
        // A path that no longer leads to its item: the reference is left out.
      }
    }
    if (!items.empty()) add_universal_feature_entities(*made, items);
  }
}

std::vector<NPARCEL*> apply_model(FILE_MODEL& m) {
  SYSID_RESERVATION reservation;
  for (const CONTENTS_REC& c : m.contents) reservation.add(c.sysid);
  for (const INSTANCE_REC& r : m.instances) reservation.add(r.sysid);
  for (const auto& [id, blob] : m.bodies) {
    if (checksum64(blob.first) != blob.second) fail("body " + std::to_string(id) + " is damaged");
    try {
      for (std::uint64_t s : body_sysids(blob.first)) reservation.add(s);
    } catch (const std::exception& e) {
      fail("body " + std::to_string(id) + " is damaged: " + e.what());
    }
  }
  // Bodies first: they are the part that can fail.
  struct BODIES {
    std::map<std::int64_t, BODY*> made;
    ~BODIES() {
      for (auto& [id, b] : made) {
        if (b != nullptr) b->lose();
      }
    }
  } bodies;
  for (auto& [id, blob] : m.bodies) {
    try {
      bodies.made[id] = decode_body(blob.first);
    } catch (const std::exception& e) {
      fail("body " + std::to_string(id) + " is damaged: " + e.what());
    }
    std::string().swap(blob.first);
  }
  // The parcels. Every step below is one the checks above allow, so the
  // model operations do not refuse; should one, everything made goes again.
  std::vector<NPARCEL*> made;
  auto undo = [&] {
    for (NPARCEL* p : made) {
      if (p->is_alive() && p->parent_contents() == nullptr) destroy_parcel(p);
    }
  };
  try {
    auto check = [](MOD_INFO* status) {
      if (status != nullptr) fail(status->message());
    };
    for (CONTENTS_REC& c : m.contents) {
      INSTANCE_REC& first = m.instances[c.instances.front()];
      first.made = restore_parcel(c.kind, first.name, c.sysid, first.sysid);
      made.push_back(first.made);
      for (std::size_t k = 1; k < c.instances.size(); ++k) {
        INSTANCE_REC& r = m.instances[c.instances[k]];
        r.made = restore_instance(first.made, r.name, r.sysid);
        made.push_back(r.made);
      }
      if (c.graphics != nullptr) restore_part_graphics(first.made, c.graphics);
      if (c.body != 0) {
        check(add_body_to_part(first.made, bodies.made.at(c.body)));
        bodies.made.at(c.body) = nullptr;
      }
      if (c.has_color) check(set_part_color(first.made, c.color.r, c.color.g, c.color.b));
      if (c.has_transparency) check(set_part_transparency(first.made, c.transparency));
    }
    for (INSTANCE_REC& r : m.instances) {
      if (!r.tm.is_identity()) check(set_tm(r.made, r.tm));
    }
    for (CONTENTS_REC& c : m.contents) {
      NPARCEL* parent = m.instances[c.instances.front()].made;
      for (std::size_t i : c.children) check(insert_child(parent, m.instances[i].made));
    }
    std::vector<NPARCEL*> tops;
    for (std::size_t i : m.tops) tops.push_back(m.instances[i].made);
    std::size_t inserted = 0;
    try {
      for (; inserted < tops.size(); ++inserted) check(insert_in_graph(tops[inserted]));
    } catch (...) {
      for (std::size_t k = 0; k < inserted; ++k) destroy_parcel(tops[k]);
      throw;
    }
    restore_features(m, reservation);
    for (const auto& [index, show] : m.shows) {
      const PARCEL_STRUCT* c = m.instances[m.contents[index].instances.front()].made->shared_data();
      if (c->kind() != PARCEL_KIND::part) continue;
      viewports().set_show_setting(c, "3DGEO_EDGED", show.edged);
      viewports().set_show_setting(c, "3DGEO_PART_TRANSPARENCY", show.see_through);
    }
    return tops;
  } catch (...) {
    undo();
    throw;
  }
}

void check_head(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) fail(std::string("cannot be opened: ") + errno_text());
  std::string head(100, '\0');
  in.read(head.data(), 100);
  head.resize(static_cast<std::size_t>(in.gcount()));
  if (head.empty()) fail("is empty");
  if (!looks_like_model_file(head)) fail("is not a Lumesh model file");
  const auto byte = [&](int i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(head[i]));
  };
  const std::uint32_t version = byte(60) << 24 | byte(61) << 16 | byte(62) << 8 | byte(63);
  if (version > static_cast<std::uint32_t>(kModelFileSchema)) {
    fail("was written with a newer schema (" + std::to_string(version) +
         ") than this Lumesh reads (" + std::to_string(kModelFileSchema) + ")");
  }
  if (version == 0) fail("is not a Lumesh model file (no schema)");
  // SQLite's header says how many pages the database has, when the count is
  // current (bytes 24-27 equal 92-95); a shorter file was cut off.
  const std::uint32_t page = byte(16) << 8 | byte(17);
  const std::uint64_t page_size = page == 1 ? 65536 : page;
  const std::uint32_t pages = byte(28) << 24 | byte(29) << 16 | byte(30) << 8 | byte(31);
  if (std::memcmp(head.data() + 24, head.data() + 92, 4) == 0 && pages > 0) {
    in.clear();
    in.seekg(0, std::ios::end);
    const auto size = static_cast<std::uint64_t>(in.tellg());
    if (size < page_size * pages) {
      fail("is truncated (" + std::to_string(size) + " of " + std::to_string(page_size * pages) +
           " bytes)");
    }
  }
}

}  // namespace

bool looks_like_model_file(const std::string& head) {
  static const char kSqlite[] = "SQLite format 3";  // with its terminating zero: 16 bytes
  if (head.size() < 100 || std::memcmp(head.data(), kSqlite, 16) != 0) return false;
  const auto byte = [&](int i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(head[i]));
  };
  const std::uint32_t app = byte(68) << 24 | byte(69) << 16 | byte(70) << 8 | byte(71);
  return app == kModelFileApplicationId;
}

std::vector<NPARCEL*> load_model_file(const std::string& path) {
  try {
    check_head(path);
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READONLY, nullptr);
    DB db(raw);
    if (rc != SQLITE_OK) fail(raw != nullptr ? sqlite3_errmsg(raw) : "cannot open the database");
    FILE_MODEL m = read_model(db.get());
    db.reset();
    return apply_model(m);
  } catch (const model_file_sql::MODEL_FILE_PROBLEM& p) {
    throw MODEL_FILE_ERROR(path, p.text);
  } catch (const std::bad_alloc&) {
    throw MODEL_FILE_ERROR(path, "out of memory");
  }
}
