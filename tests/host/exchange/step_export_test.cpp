#include "host/exchange/step_export.h"

#include <cstdio>
#include <fstream>
#include <sstream>

#include "host/exchange/step_check.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/sample_bodies.h"
#include "tests/host/exchange/exchange_fixture.h"

namespace {

std::string read_all(const std::string& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

K2_ERROR error_of(const std::function<void()>& f) {
  try {
    f();
  } catch (const TV_EXCEPTION& e) {
    for (K2_ERROR k :
         {K2_ERROR::CANNOT_WRITE_FILE, K2_ERROR::CANNOT_CONVERT_BODY, K2_ERROR::UNREADABLE_FILE}) {
      if (e.info() == k2_error(k)) return k;
    }
    ADD_FAILURE() << "another error: " << e.what();
  }
  ADD_FAILURE() << "no error";
  return K2_ERROR::BAD_TOPOLOGY;
}

class StepExportTest : public ExchangeTest {};

TEST_F(StepExportTest, BoxBecomesOneValidClosedSolid) {
  BODY* box = make_box(10, 20, 30);
  write_step({{box, TRANSFORM3(), "box", false, 0, 0, 0}}, path("box.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("box.step"));
  EXPECT_TRUE(s.valid);
  EXPECT_EQ(s.solids, 1);
  EXPECT_EQ(s.free_shells, 0);
  EXPECT_TRUE(s.closed);
  EXPECT_EQ(s.faces, 6);
  EXPECT_EQ(s.planar_faces, 6);
  EXPECT_EQ(s.straight_edges, 12);
  EXPECT_EQ(s.edges, 12);
  EXPECT_NEAR(s.volume, 6000.0, 1e-6 * 6000.0);
  EXPECT_NEAR(s.min[0], 0.0, 1e-6);
  EXPECT_NEAR(s.max[2], 30.0, 1e-6);
  EXPECT_EQ(files(), std::vector<std::string>{"box.step"});
  box->lose();
}

TEST_F(StepExportTest, BoredBlockKeepsItsHoleAsAnExactCylinder) {
  BODY* block = make_bored_block(40, 30, 10, 5, 32);
  const BODY_MEASURES m = measure(block);
  write_step({{block, TRANSFORM3(), "bored block", true, 0.8, 0.2, 0.1}}, path("block.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("block.step"));
  EXPECT_TRUE(s.valid);
  EXPECT_EQ(s.solids, 1);
  EXPECT_TRUE(s.closed);
  EXPECT_EQ(s.faces, m.faces);
  EXPECT_EQ(s.planar_faces, m.planes);
  EXPECT_EQ(s.cylindrical_faces, m.cylinders);
  // The hole's rims are exact circles, not 32 chords each.
  EXPECT_EQ(s.circular_edges, 2);
  // The block's 12 edges, the two rims and the hole's seam; the bridges are gone.
  EXPECT_EQ(s.edges, 12 + 2 + 1);
  EXPECT_GE(s.straight_edges, 12);
  EXPECT_NEAR(s.volume, m.volume, 0.01 * m.volume);
  EXPECT_NEAR(s.volume, 40 * 30 * 10 - M_PI * 25 * 10, 1e-4 * s.volume);
  block->lose();
}

TEST_F(StepExportTest, ObliqueCutGivesAnExactEllipse) {
  BODY* post = make_slanted_post(3, 5, 0.5, 48);
  const BODY_MEASURES m = measure(post);
  write_step({{post, TRANSFORM3(), "post", false, 0, 0, 0}}, path("post.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("post.step"));
  EXPECT_TRUE(s.valid);
  EXPECT_EQ(s.solids, 1);
  EXPECT_EQ(s.planar_faces, 2);
  EXPECT_EQ(s.cylindrical_faces, 1);
  EXPECT_EQ(s.circular_edges, 1);
  EXPECT_EQ(s.elliptic_edges, 1);
  EXPECT_NEAR(s.volume, m.volume, 0.01 * m.volume);
  EXPECT_NEAR(s.volume, M_PI * 9 * 5, 1e-4 * s.volume);
  post->lose();
}

TEST_F(StepExportTest, RoundedEdgeGetsExactArcs) {
  BODY* block = make_rounded_block(10, 4, 3, 12);
  const BODY_MEASURES m = measure(block);
  ASSERT_EQ(m.faces, 7);
  write_step({{block, TRANSFORM3(), "rounded", false, 0, 0, 0}}, path("round.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("round.step"));
  EXPECT_TRUE(s.valid);
  EXPECT_EQ(s.solids, 1);
  EXPECT_TRUE(s.closed);
  EXPECT_EQ(s.planar_faces, 6);
  EXPECT_EQ(s.cylindrical_faces, 1);
  EXPECT_EQ(s.circular_edges, 2);
  // 4 straight profile edges top and bottom, the 2 arcs, 5 vertical edges.
  EXPECT_EQ(s.edges, 4 + 4 + 2 + 5);
  EXPECT_NEAR(s.volume, m.volume, 0.01 * m.volume);
  EXPECT_NEAR(s.volume, (100 - 9 + M_PI * 9 / 4) * 4, 1e-4 * s.volume);
  block->lose();
}

// A face on part of a cylinder whose parameters start in the middle of it:
// its curves on the surface must not jump by a period within the wire. A
// long narrow round of one or two chords, as fillets of real meshes come,
// crosses itself on the surface when they do.
TEST_F(StepExportTest, RoundsAcrossTheCylindersParameterStartStayValid) {
  for (const int segments : {1, 2, 12}) {
    for (const double seam : {0.25 * M_PI, 0.5 * M_PI - 1e-3, 1.0}) {
      BODY* block = make_rounded_block(10, 60, 0.5, segments, seam);
      const BODY_MEASURES m = measure(block);
      write_step({{block, TRANSFORM3(), "rounded", false, 0, 0, 0}}, path("round.step"));
      const STEP_SHAPE_SUMMARY s = check_step_file(path("round.step"));
      EXPECT_TRUE(s.valid) << segments << " chords, seam at " << seam;
      EXPECT_EQ(s.solids, 1);
      EXPECT_TRUE(s.closed);
      EXPECT_EQ(s.cylindrical_faces, 1);
      EXPECT_NEAR(s.volume, m.volume, 0.01 * m.volume);
      block->lose();
    }
  }
}

TEST_F(StepExportTest, NameAndColourReachTheFile) {
  BODY* box = make_box(1, 1, 1);
  write_step({{box, TRANSFORM3(), "named box", true, 0.25, 0.5, 1.0}}, path("named.step"));
  const std::string text = read_all(path("named.step"));
  EXPECT_NE(text.find("'named box'"), std::string::npos);
  EXPECT_NE(text.find("COLOUR_RGB"), std::string::npos);
  EXPECT_NE(text.find("AUTOMOTIVE_DESIGN"), std::string::npos);  // AP214
  box->lose();
}

TEST_F(StepExportTest, ScaledPlacementScalesTheVolume) {
  BODY* box = make_box(1, 2, 3);
  write_step({{box, TRANSFORM3::scaling(2.0), "", false, 0, 0, 0}}, path("scaled.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("scaled.step"));
  EXPECT_TRUE(s.valid);
  EXPECT_NEAR(s.volume, 6 * 8, 1e-6 * 48);
  EXPECT_NEAR(s.max[2], 6, 1e-4);
  box->lose();
}

TEST_F(StepExportTest, PerforatedPlateIsOneValidSolid) {
  BODY* plate = make_perforated_plate(3, 2, 4.0, 2.0, 1.2, 16);
  const BODY_MEASURES m = measure(plate);
  write_step({{plate, TRANSFORM3(), "plate", false, 0, 0, 0}}, path("plate.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("plate.step"));
  EXPECT_TRUE(s.valid);
  EXPECT_EQ(s.solids, 1);
  EXPECT_TRUE(s.closed);
  EXPECT_EQ(s.faces, m.faces);
  EXPECT_EQ(s.planar_faces, m.planes);
  EXPECT_EQ(s.cylindrical_faces, 6);
  EXPECT_EQ(s.circular_edges, 12);
  EXPECT_NEAR(s.volume, m.volume, 0.01 * m.volume);
  plate->lose();
}

TEST_F(StepExportTest, OpenBodyBecomesAShellNotASolid) {
  BODY* open = make_box(10, 10, 10, true);
  write_step({{open, TRANSFORM3(), "tray", false, 0, 0, 0}}, path("tray.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("tray.step"));
  EXPECT_TRUE(s.valid);
  EXPECT_EQ(s.solids, 0);
  EXPECT_EQ(s.shells, 1);
  EXPECT_EQ(s.free_shells, 1);
  EXPECT_FALSE(s.closed);
  EXPECT_EQ(s.faces, 5);
  EXPECT_EQ(s.volume, 0.0);
  open->lose();
}

TEST_F(StepExportTest, AssemblyPlacesEachItem) {
  BODY* a = make_box(10, 10, 10);
  BODY* b = make_bored_block(40, 30, 10, 5, 32);
  const TRANSFORM3 up = TRANSFORM3::translation(VECTOR3(100, 0, 50));
  // A quarter turn about z, then moved: x' = -y, y' = x.
  const TRANSFORM3 turned = TRANSFORM3::rotation(POSITION3(), VECTOR3(0, 0, 1), M_PI / 2) *
                            TRANSFORM3::translation(VECTOR3(-200, 0, 0));
  write_step({{a, up, "cube", true, 1, 0, 0}, {b, turned, "block", false, 0, 0, 0}},
             path("asm.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("asm.step"));
  EXPECT_TRUE(s.valid);
  EXPECT_EQ(s.solids, 2);
  EXPECT_TRUE(s.closed);
  EXPECT_EQ(s.faces, 6 + 7);
  EXPECT_NEAR(s.volume, 1000 + 40 * 30 * 10 - M_PI * 25 * 10, 1e-3 * s.volume);
  // The cube spans x in [100, 110], z in [50, 60]; the turned block x in
  // [-230, -200], y in [0, 40].
  EXPECT_NEAR(s.min[0], -230, 1e-4);
  EXPECT_NEAR(s.max[0], 110, 1e-4);
  EXPECT_NEAR(s.min[1], 0, 1e-4);
  EXPECT_NEAR(s.max[1], 40, 1e-4);
  EXPECT_NEAR(s.min[2], 0, 1e-4);
  EXPECT_NEAR(s.max[2], 60, 1e-4);
  a->lose();
  b->lose();
}

TEST_F(StepExportTest, SinglePlacedItemIsMoved) {
  BODY* a = make_box(10, 10, 10);
  write_step({{a, TRANSFORM3::translation(VECTOR3(5, 6, 7)), "", false, 0, 0, 0}},
             path("moved.step"));
  const STEP_SHAPE_SUMMARY s = check_step_file(path("moved.step"));
  EXPECT_EQ(s.solids, 1);
  EXPECT_NEAR(s.min[0], 5, 1e-4);
  EXPECT_NEAR(s.max[2], 17, 1e-4);
  a->lose();
}

TEST_F(StepExportTest, UnwritablePathsFailCleanly) {
  BODY* a = make_box(1, 1, 1);
  const std::vector<STEP_EXPORT_ITEM> items{{a, TRANSFORM3(), "", false, 0, 0, 0}};
  EXPECT_EQ(error_of([&] { write_step(items, "/nonexistent-dir/x.step"); }),
            K2_ERROR::CANNOT_WRITE_FILE);
  // A folder of that name, and a path through a file.
  ASSERT_EQ(::mkdir(path("folder").c_str(), 0755), 0);
  EXPECT_EQ(error_of([&] { write_step(items, path("folder")); }), K2_ERROR::CANNOT_WRITE_FILE);
  struct stat st {};
  EXPECT_EQ(::stat(path("folder").c_str(), &st), 0);
  EXPECT_TRUE(S_ISDIR(st.st_mode));
  ::rmdir(path("folder").c_str());
  { std::ofstream(path("plain")) << "x"; }
  EXPECT_EQ(error_of([&] { write_step(items, path("plain") + "/x.step"); }),
            K2_ERROR::CANNOT_WRITE_FILE);
  EXPECT_EQ(error_of([&] { write_step(items, ""); }), K2_ERROR::CANNOT_WRITE_FILE);
  EXPECT_EQ(files(), std::vector<std::string>{"plain"});
  a->lose();
}

TEST_F(StepExportTest, ReadOnlyFolderLeavesNothing) {
  if (::geteuid() == 0) GTEST_SKIP() << "root writes into read-only folders";
  BODY* a = make_box(1, 1, 1);
  ASSERT_EQ(::mkdir(path("ro").c_str(), 0555), 0);
  EXPECT_EQ(error_of([&] {
              write_step({{a, TRANSFORM3(), "", false, 0, 0, 0}}, path("ro/x.step"));
            }),
            K2_ERROR::CANNOT_WRITE_FILE);
  ::rmdir(path("ro").c_str());
  a->lose();
}

TEST_F(StepExportTest, RefusedBodyLeavesTheOldFileAlone) {
  { std::ofstream(path("keep.step")) << "old contents"; }
  BODY* a = make_box(1, 1, 1);
  BODY* empty = new BODY();
  EXPECT_EQ(error_of([&] {
              write_step({{a, TRANSFORM3(), "", false, 0, 0, 0},
                          {nullptr, TRANSFORM3(), "", false, 0, 0, 0}},
                         path("keep.step"));
            }),
            K2_ERROR::CANNOT_CONVERT_BODY);
  EXPECT_EQ(error_of([&] {
              write_step({{empty, TRANSFORM3(), "", false, 0, 0, 0}}, path("keep.step"));
            }),
            K2_ERROR::CANNOT_CONVERT_BODY);
  EXPECT_EQ(error_of([&] { write_step({}, path("keep.step")); }), K2_ERROR::CANNOT_CONVERT_BODY);
  // A placement that shears cannot be written.
  const double shear[3][3] = {{1, 0, 0}, {0.5, 1, 0}, {0, 0, 1}};
  EXPECT_EQ(error_of([&] {
              write_step({{a, TRANSFORM3::from_matrix(shear, VECTOR3()), "", false, 0, 0, 0}},
                         path("keep.step"));
            }),
            K2_ERROR::CANNOT_CONVERT_BODY);
  empty->lose();
  EXPECT_EQ(read_all(path("keep.step")), "old contents");
  EXPECT_EQ(files(), std::vector<std::string>{"keep.step"});
  // And a good write replaces it whole.
  write_step({{a, TRANSFORM3(), "", false, 0, 0, 0}}, path("keep.step"));
  EXPECT_EQ(check_step_file(path("keep.step")).solids, 1);
  EXPECT_EQ(files(), std::vector<std::string>{"keep.step"});
  a->lose();
}

TEST_F(StepExportTest, ReadingBadFilesFailsCleanly) {
  EXPECT_EQ(error_of([&] { check_step_file(path("missing.step")); }), K2_ERROR::UNREADABLE_FILE);
  { std::ofstream(path("empty.step")); }
  EXPECT_EQ(error_of([&] { check_step_file(path("empty.step")); }), K2_ERROR::UNREADABLE_FILE);
  { std::ofstream(path("junk.step")) << "this is not STEP\n\x01\x02\xff;;;(((\n"; }
  EXPECT_EQ(error_of([&] { check_step_file(path("junk.step")); }), K2_ERROR::UNREADABLE_FILE);
  EXPECT_EQ(error_of([&] { check_step_file(dir_); }), K2_ERROR::UNREADABLE_FILE);
  // Every cut of a good file either reads as a shape or fails with the error.
  BODY* a = make_box(1, 2, 3);
  write_step({{a, TRANSFORM3(), "", false, 0, 0, 0}}, path("good.step"));
  a->lose();
  const std::string good = read_all(path("good.step"));
  ASSERT_GT(good.size(), 100u);
  for (std::size_t cut : {std::size_t{10}, good.size() / 4, good.size() / 2, good.size() - 30}) {
    { std::ofstream(path("cut.step"), std::ios::binary) << good.substr(0, cut); }
    try {
      const STEP_SHAPE_SUMMARY s = check_step_file(path("cut.step"));
      EXPECT_LE(s.solids, 1) << cut;
    } catch (const TV_EXCEPTION& e) {
      EXPECT_EQ(e.info(), k2_error(K2_ERROR::UNREADABLE_FILE)) << cut;
    }
  }
}

}  // namespace
