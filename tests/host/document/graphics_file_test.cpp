// Graphics files and graphics-only parts: what a part draws, stored, joined
// with its dummy entry and loaded as a new part that draws the same, has a
// box and colours, and has no solid body.

#include "host/document/graphics_file.h"

#include <algorithm>
#include <limits>

#include "host/base/mod_info.h"
#include "host/document/document_error.h"
#include "host/document/graphics_db.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/model/model_errors.h"
#include "host/model/model_tree.h"
#include "host/model/part_data.h"
#include "host/model/part_graphics.h"
#include "tests/host/document/document_fixture.h"
#include "tests/host/model/model_fixture.h"

namespace {

class GraphicsFileTest : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    scratch_ = make_scratch_folder();
  }
  void TearDown() override {
    while (xdbik_finalize()) {
    }
    std::error_code ec;
    std::filesystem::remove_all(scratch_, ec);
    ModelTest::TearDown();
  }
  std::string file(const std::string& name) const { return scratch_ + "/" + name; }

  // A coloured, half transparent part with a bored block, one face red.
  NPART3* coloured_part() {
    NPART3* p = create_npart3("block");
    BODY* body = make_bored_block(10, 8, 4, 1, 12);
    EXPECT_EQ(add_body_to_part(p, body), nullptr);
    EXPECT_EQ(set_part_color(p, 0.2, 0.4, 0.6), nullptr);
    EXPECT_EQ(set_part_transparency(p, 0.5), nullptr);
    body->scan_faces(
        [](FACE* f, void*) {
          f->set_color(1, 0, 0);
          return SCAN_STOP;
        },
        nullptr);
    return p;
  }

  // The text of the DOCUMENT_ERROR of loading `bytes`; "" when none.
  std::string load_error(const std::string& bytes) {
    write_text(file("bad.lmxg"), bytes);
    try {
      load_graphics_file(file("bad.lmxg"));
    } catch (const DOCUMENT_ERROR& e) {
      return e.what();
    }
    return "";
  }

  // The same for bytes in memory, read as the file "memory.lmxg" would be.
  static std::string parse_error(const std::string& bytes) {
    try {
      parse_graphics_file(bytes, "memory.lmxg");
    } catch (const DOCUMENT_ERROR& e) {
      return e.what();
    }
    return "";
  }

  std::string scratch_;
};

std::size_t triangles_of_body(const BODY* body) {
  std::size_t n = 0;
  body->scan_faces(
      [](FACE* f, void* data) {
        FACE_TESSELLATION t;
        EXPECT_EQ(f->tessellate(t), nullptr);
        *static_cast<std::size_t*>(data) += t.triangles.size();
        return SCAN_CONTINUE;
      },
      &n);
  return n;
}

void expect_box_near(const BOX3& a, const BOX3& b) {
  ASSERT_FALSE(a.is_nil());
  ASSERT_FALSE(b.is_nil());
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(a.lower()[i], b.lower()[i], 1e-5);
    EXPECT_NEAR(a.upper()[i], b.upper()[i], 1e-5);
  }
}

TEST_F(GraphicsFileTest, APartDrawsTheTessellationOfItsBodyWithItsColours) {
  NPART3* p = coloured_part();
  const PART_GRAPHICS g = part_graphics(p);
  EXPECT_EQ(static_cast<int>(g.patches.size()), p->body()->number_of_faces());
  EXPECT_EQ(g.triangle_count(), triangles_of_body(p->body()));
  expect_box_near(g.box(), p->body()->bound());
  EXPECT_EQ(g.color, (RGB_COLOR{0.2, 0.4, 0.6}));
  EXPECT_EQ(g.transparency, 0.5f);
  EXPECT_EQ(std::count_if(g.patches.begin(), g.patches.end(), [](const GRAPHICS_PATCH& x) { return x.color; }), 1);
  for (const GRAPHICS_PATCH& patch : g.patches) {
    ASSERT_EQ(patch.normals.size(), patch.positions.size());
    for (const auto& n : patch.normals) EXPECT_NEAR(n[0] * n[0] + n[1] * n[1] + n[2] * n[2], 1.0, 1e-5);
  }
  NASMB3* a = create_nasmb3("a");
  EXPECT_THROW(part_graphics(a), TV_EXCEPTION);
  EXPECT_THROW(part_graphics(nullptr), TV_EXCEPTION);
  EXPECT_EQ(destroy_parcel(a), nullptr);
  EXPECT_EQ(destroy_parcel(p), nullptr);
}

TEST_F(GraphicsFileTest, ABodyIsDrawnInThePartsFrame) {
  NPART3* p = create_npart3("moved");
  BODY* body = make_triangle_cube(1);
  body->set_transform(TRANSFORM3::translation(VECTOR3(5, 0, 0)));
  ASSERT_EQ(add_body_to_part(p, body), nullptr);
  expect_box_near(part_graphics(p).box(), BOX3(POSITION3(5, 0, 0), POSITION3(6, 1, 1)));
  EXPECT_EQ(destroy_parcel(p), nullptr);
}

TEST_F(GraphicsFileTest, BytesReadBackAsTheyWere) {
  NPART3* p = coloured_part();
  const PART_GRAPHICS g = part_graphics(p);
  const GRAPHICS_FILE_CONTENTS c = parse_graphics_file(graphics_file_bytes(g), "memory");
  ASSERT_TRUE(c.graphics);
  EXPECT_FALSE(c.dummy);
  EXPECT_EQ(*c.graphics, g);
  const DUMMY_ENTRY e{42, "P", "block", "3"};
  const GRAPHICS_FILE_CONTENTS d = parse_graphics_file(dummy_file_bytes(e) + graphics_file_bytes(g), "memory");
  EXPECT_EQ(d.dummy, e);
  EXPECT_EQ(*d.graphics, g);
  EXPECT_TRUE(looks_like_graphics_file(graphics_file_bytes(g)));
  EXPECT_FALSE(looks_like_graphics_file("solid x\n"));
  EXPECT_EQ(destroy_parcel(p), nullptr);
}

TEST_F(GraphicsFileTest, ALoadedGraphicsFileIsAGraphicsOnlyPart) {
  NPART3* p = coloured_part();
  ASSERT_GT(store_part_graphics(p, file("block.lmxg")), 0u);
  const PART_GRAPHICS drawn = part_graphics(p);

  NPART3* light = load_graphics_file(file("block.lmxg"));
  ASSERT_NE(light, nullptr);
  EXPECT_EQ(light->name(), "block");
  EXPECT_EQ(inq_parent(light), root_parcel());
  EXPECT_TRUE(is_graphics_only_part(light));
  EXPECT_FALSE(is_graphics_only_part(p));
  EXPECT_EQ(get_part_body(light), nullptr);
  // It draws the same triangles, box and colours.
  EXPECT_EQ(part_graphics(light), drawn);
  RGB_COLOR c;
  ASSERT_TRUE(get_part_color(light, c));
  EXPECT_EQ(c, (RGB_COLOR{0.2, 0.4, 0.6}));
  float t = 0;
  ASSERT_TRUE(get_part_transparency(light, t));
  EXPECT_EQ(t, 0.5f);
  // A new colour shows at once.
  ASSERT_EQ(set_part_color(light, 1, 1, 0), nullptr);
  EXPECT_EQ(part_graphics(light).color, (RGB_COLOR{1, 1, 0}));
  EXPECT_EQ(part_graphics(light).patches, drawn.patches);

  // No operation on solids takes it for one.
  BODY* body = make_triangle_cube(1);
  EXPECT_EQ(add_body_to_part(light, body), model_error(MODEL_ERROR::GRAPHICS_ONLY));
  EXPECT_EQ(get_part_body(light), nullptr);
  body->lose();
  try {
    require_part_body(light);
    FAIL() << "a graphics-only part gave a body";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), model_error(MODEL_ERROR::GRAPHICS_ONLY));
    EXPECT_NE(e.info()->message().find("lightweight"), std::string::npos);
  }
  EXPECT_EQ(require_part_body(p), p->body());
  NPART3* empty = create_npart3("empty");
  EXPECT_THROW(require_part_body(empty), TV_EXCEPTION);
  EXPECT_THROW(require_part_body(nullptr), TV_EXCEPTION);
  // Instances share the graphics.
  NPARCEL* second = create_instance(light, "again");
  EXPECT_TRUE(is_graphics_only_part(second));
  for (NPARCEL* x : {static_cast<NPARCEL*>(p), static_cast<NPARCEL*>(light), second,
                     static_cast<NPARCEL*>(empty)}) {
    EXPECT_EQ(destroy_parcel(x), nullptr);
  }
}

TEST_F(GraphicsFileTest, TheLightweightFileIsTheDummyEntryAndTheGraphicsJoined) {
  NPART3* p = coloured_part();
  xdbik_initialize(xdbik_access_string());
  const std::string dummy = inquire_unique_filename(scratch_, "");
  const std::string graphics = inquire_unique_filename(scratch_, "");
  const std::string light = inquire_unique_filename(scratch_, ".tvpc");
  tv_db_open_dummy_file(dummy);
  tv_db_generate_dummy({p->shared_data()->sysid(), "P", "block as light", "1"});
  tv_db_close_dummy_file();
  ASSERT_GT(store_part_graphics(p, graphics), 0u);
  join_lightweight_file(dummy, graphics, light);
  EXPECT_EQ(read_bytes(light), read_bytes(dummy) + read_bytes(graphics));
  EXPECT_TRUE(xdbik_finalize());

  const GRAPHICS_FILE_CONTENTS c = read_graphics_file(light);
  ASSERT_TRUE(c.dummy);
  EXPECT_EQ(c.dummy->sysid, p->shared_data()->sysid());
  NPART3* loaded = load_graphics_file(light);
  EXPECT_EQ(loaded->name(), "block as light");  // the dummy entry's name
  EXPECT_EQ(part_graphics(loaded), part_graphics(p));

  // The wrong order, or a damaged input, leaves no file.
  const std::string out = file("out.tvpc");
  EXPECT_THROW(join_lightweight_file(graphics, dummy, out), DOCUMENT_ERROR);
  EXPECT_THROW(join_lightweight_file(dummy, dummy, out), DOCUMENT_ERROR);
  EXPECT_THROW(join_lightweight_file(dummy, file("missing"), out), DOCUMENT_ERROR);
  EXPECT_FALSE(std::filesystem::exists(out));
  EXPECT_EQ(destroy_parcel(p), nullptr);
  EXPECT_EQ(destroy_parcel(loaded), nullptr);
}

TEST_F(GraphicsFileTest, EveryCutOfALightweightFileIsAClearErrorAndChangesNothing) {
  NPART3* p = create_npart3("cube");
  ASSERT_EQ(add_body_to_part(p, make_triangle_cube(2)), nullptr);
  const std::string bytes = dummy_file_bytes({7, "P", "cube", "1"}) + graphics_file_bytes(part_graphics(p));
  EXPECT_EQ(destroy_parcel(p), nullptr);
  const int children = inq_num_children(root_parcel());
  for (std::size_t n = 0; n < bytes.size(); ++n) {
    const std::string e = n % 97 == 0 ? load_error(bytes.substr(0, n)) : parse_error(bytes.substr(0, n));
    const std::string name = n % 97 == 0 ? file("bad.lmxg") : "memory.lmxg";
    if (n == dummy_file_bytes({7, "P", "cube", "1"}).size()) {
      // A cut at the end of the dummy entry leaves a whole dummy file: it
      // reads, and holds no graphics to load.
      EXPECT_EQ(e, "");
      EXPECT_NE(load_error(bytes.substr(0, n)).find("no graphics"), std::string::npos);
      continue;
    }
    EXPECT_NE(e.find(name), std::string::npos) << "cut at " << n << ": " << e;
  }
  EXPECT_EQ(inq_num_children(root_parcel()), children);
}

TEST_F(GraphicsFileTest, DamagedAndForeignFilesAreRefused) {
  NPART3* p = create_npart3("cube");
  ASSERT_EQ(add_body_to_part(p, make_triangle_cube(2)), nullptr);
  const std::string good = graphics_file_bytes(part_graphics(p));
  EXPECT_EQ(destroy_parcel(p), nullptr);
  EXPECT_NE(load_error("").find("is empty"), std::string::npos);
  EXPECT_NE(load_error("solid cube\nendsolid\n").find("not a graphics file"), std::string::npos);
  EXPECT_NE(load_error(std::string(1000, '\0')).find("not a graphics file"), std::string::npos);
  // Any changed byte after the head: the checksum (or the head's own checks) refuses it.
  for (std::size_t i = 8; i < good.size(); ++i) {
    std::string bad = good;
    bad[i] = static_cast<char>(bad[i] ^ 0x5a);
    EXPECT_NE(parse_error(bad), "") << "byte " << i;
  }
  std::string twice = good + good;
  EXPECT_NE(load_error(twice).find("graphics twice"), std::string::npos);
  EXPECT_NE(load_error(good + dummy_file_bytes({1, "P", "x", "1"})).find("must come first"), std::string::npos);
  EXPECT_NE(load_error(good + "x").find("not a valid graphics file"), std::string::npos);
  EXPECT_THROW(load_graphics_file(file("missing.lmxg")), DOCUMENT_ERROR);
  EXPECT_EQ(inq_num_children(root_parcel()), 0);
}

TEST_F(GraphicsFileTest, AStoredIndexOutOfRangeIsRefusedEvenWithAGoodChecksum) {
  PART_GRAPHICS g;
  GRAPHICS_PATCH patch;
  patch.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  patch.normals = {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
  patch.triangles = {{0, 1, 3}};
  g.patches.push_back(patch);
  EXPECT_NE(load_error(graphics_file_bytes(g)).find("refers to a position"), std::string::npos);
  g.patches[0].triangles = {{0, 1, 2}};
  g.patches[0].positions[1][0] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_NE(load_error(graphics_file_bytes(g)).find("finite"), std::string::npos);
}

TEST_F(GraphicsFileTest, AnUnwritableGraphicsFileIsAnError) {
  NPART3* p = create_npart3("cube");
  ASSERT_EQ(add_body_to_part(p, make_triangle_cube(2)), nullptr);
  EXPECT_THROW(store_part_graphics(p, file("no/such/folder/x.lmxg")), DOCUMENT_ERROR);
  NASMB3* a = create_nasmb3("a");
  EXPECT_THROW(store_part_graphics(a, file("x.lmxg")), TV_EXCEPTION);
  EXPECT_FALSE(std::filesystem::exists(file("x.lmxg")));
  EXPECT_EQ(destroy_parcel(a), nullptr);
  EXPECT_EQ(destroy_parcel(p), nullptr);
}

TEST_F(GraphicsFileTest, LoadingIsUndoneByTheHistory) {
  NPART3* p = create_npart3("cube");
  ASSERT_EQ(add_body_to_part(p, make_triangle_cube(2)), nullptr);
  store_part_graphics(p, file("cube.lmxg"));
  EXPECT_EQ(destroy_parcel(p), nullptr);
  const HISTORY::STATE_ID before = HISTORY::instance().note_state();
  NPART3* light = load_graphics_file(file("cube.lmxg"));
  EXPECT_EQ(inq_num_children(root_parcel()), 1);
  ASSERT_TRUE(HISTORY::instance().recover_state(before));
  EXPECT_EQ(inq_num_children(root_parcel()), 0);
  (void)light;
}

TEST_F(GraphicsFileTest, TheDummyFileFollowsItsProtocol) {
  EXPECT_THROW(tv_db_open_dummy_file(file("d")), GRAPHICS_DB_ERROR);  // no session
  EXPECT_THROW(xdbik_initialize("some other host"), GRAPHICS_DB_ERROR);
  EXPECT_FALSE(xdbik_initialized());
  xdbik_initialize(xdbik_access_string());
  xdbik_initialize(xdbik_access_string());  // nested
  EXPECT_THROW(tv_db_generate_dummy({1, "P", "x", "1"}), GRAPHICS_DB_ERROR);  // nothing open
  EXPECT_THROW(tv_db_close_dummy_file(), GRAPHICS_DB_ERROR);
  tv_db_open_dummy_file(file("d"));
  EXPECT_THROW(tv_db_open_dummy_file(file("e")), GRAPHICS_DB_ERROR);  // one at a time
  EXPECT_THROW(tv_db_close_dummy_file(), GRAPHICS_DB_ERROR);          // no entry: closed, not written
  EXPECT_FALSE(std::filesystem::exists(file("d")));
  tv_db_open_dummy_file(file("d"));
  tv_db_generate_dummy({1, "P", "x", "1"});
  EXPECT_THROW(tv_db_generate_dummy({2, "P", "y", "1"}), GRAPHICS_DB_ERROR);
  tv_db_close_dummy_file();
  EXPECT_EQ(read_graphics_file(file("d")).dummy, (DUMMY_ENTRY{1, "P", "x", "1"}));
  // The last finalize discards a dummy file left open.
  tv_db_open_dummy_file(file("left-open"));
  tv_db_generate_dummy({1, "P", "x", "1"});
  EXPECT_TRUE(xdbik_finalize());
  EXPECT_TRUE(xdbik_initialized());
  EXPECT_TRUE(xdbik_finalize());
  EXPECT_FALSE(xdbik_finalize());
  EXPECT_FALSE(std::filesystem::exists(file("left-open")));
  xdbik_initialize(xdbik_access_string());
  tv_db_open_dummy_file(file("no/folder/d"));
  tv_db_generate_dummy({1, "P", "x", "1"});
  EXPECT_THROW(tv_db_close_dummy_file(), DOCUMENT_ERROR);
  tv_db_open_dummy_file(file("d2"));  // closed all the same
  EXPECT_TRUE(xdbik_finalize());
}

TEST_F(GraphicsFileTest, UniqueNamesAreNewFilesOfTheirOwn) {
  std::set<std::string> names;
  for (int i = 0; i < 50; ++i) {
    const std::string n = inquire_unique_filename(scratch_, i % 2 ? ".tvpc" : "tvpc");
    EXPECT_TRUE(names.insert(n).second);
    EXPECT_EQ(n.rfind(scratch_ + "/", 0), 0u);
    EXPECT_EQ(n.substr(n.size() - 5), ".tvpc");
    EXPECT_TRUE(std::filesystem::is_regular_file(n));
    EXPECT_EQ(std::filesystem::file_size(n), 0u);
  }
  const std::string plain = inquire_unique_filename(scratch_ + "/", "");
  EXPECT_EQ(plain.find(".", scratch_.size()), std::string::npos);
  EXPECT_THROW(inquire_unique_filename(file("missing-folder"), ""), DOCUMENT_ERROR);
  EXPECT_THROW(inquire_unique_filename(scratch_, "a/b"), DOCUMENT_ERROR);
}

}  // namespace
