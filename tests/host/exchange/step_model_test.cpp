#include "host/exchange/step_model.h"

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepBuilderAPI_MakeFace.hxx>
#include <gp_Pln.hxx>

#include <fstream>
#include <regex>

#include "host/exchange/step_import.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/foreign_face.h"
#include "tests/host/exchange/exchange_fixture.h"
#include "tests/support/xcaf_files.h"

namespace {

class StepModelTest : public ExchangeTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(assertions(), 0u) << "the import broke a kernel invariant";
    ExchangeTest::TearDown();
  }
};

// The kernel error that reading `path` raises, or null after a clean read.
MOD_INFO* read_error(const std::string& path, const STEP_MODEL_LIMITS& limits = {}) {
  try {
    STEP_MODEL m = read_step_model(path, limits);
  } catch (const TV_EXCEPTION& e) {
    return e.info();
  }
  return nullptr;
}

int find_node(const STEP_MODEL& m, const std::string& name) {
  for (std::size_t i = 0; i < m.nodes().size(); ++i) {
    if (m.nodes()[i].name == name) return static_cast<int>(i);
  }
  return -1;
}

void expect_near(const POSITION3& a, const POSITION3& b) {
  EXPECT_NEAR((a - b).len(), 0.0, 1e-9) << "(" << a.x() << ", " << a.y() << ", " << a.z() << ") vs ("
                                        << b.x() << ", " << b.y() << ", " << b.z() << ")";
}

TEST_F(StepModelTest, SharedPartIsDescribedOnceAndPlacedTwice) {
  ASSERT_TRUE(write_frame_assembly(path("frame.step")));
  const STEP_MODEL m = read_step_model(path("frame.step"));
  ASSERT_EQ(m.nodes().size(), 2u);
  ASSERT_EQ(m.roots().size(), 1u);
  const STEP_NODE& frame = m.nodes()[static_cast<std::size_t>(m.roots()[0].node)];
  EXPECT_EQ(frame.name, "frame");
  EXPECT_EQ(m.roots()[0].name, "frame");
  EXPECT_TRUE(m.roots()[0].placement.is_identity());
  EXPECT_TRUE(frame.assembly);
  EXPECT_EQ(frame.body, nullptr);
  ASSERT_EQ(frame.components.size(), 2u);
  // Both instances show the one part, which comes before its assembly.
  const int part = frame.components[0].node;
  EXPECT_EQ(frame.components[1].node, part);
  EXPECT_LT(part, m.roots()[0].node);
  const STEP_NODE& bracket = m.nodes()[static_cast<std::size_t>(part)];
  EXPECT_EQ(bracket.name, "bracket");
  EXPECT_FALSE(bracket.assembly);
  EXPECT_TRUE(bracket.components.empty());
  EXPECT_EQ(frame.components[0].name, "left");
  EXPECT_EQ(frame.components[1].name, "right");
  // The colour as written.
  ASSERT_TRUE(bracket.has_color);
  EXPECT_NEAR(bracket.r, 1.0, 1e-6);
  EXPECT_NEAR(bracket.g, 0.0, 1e-6);
  EXPECT_NEAR(bracket.b, 0.0, 1e-6);
  // The body stays in the part's frame: the box at the origin.
  ASSERT_NE(bracket.body, nullptr);
  EXPECT_EQ(bracket.body->number_of_faces(), 6);
  EXPECT_TRUE(check_body(bracket.body).ok());
  const BOX3 box = bracket.body->bound();
  expect_near(box.lower(), POSITION3(0, 0, 0));
  expect_near(box.upper(), POSITION3(10, 20, 30));
  // The placements, applied to the box's far corner: moved along x, and
  // turned a quarter about z (x goes to y, y to -x) then moved along y.
  expect_near(POSITION3(10, 20, 30) * frame.components[0].placement, POSITION3(110, 20, 30));
  expect_near(POSITION3(10, 20, 30) * frame.components[1].placement, POSITION3(-20, 60, 30));
}

TEST_F(StepModelTest, NestedAssembliesKeepTheirLevels) {
  ASSERT_TRUE(write_machine_assembly(path("machine.step")));
  const STEP_MODEL m = read_step_model(path("machine.step"));
  ASSERT_EQ(m.nodes().size(), 4u);
  ASSERT_EQ(m.roots().size(), 1u);
  const int machine = find_node(m, "machine"), axle = find_node(m, "axle");
  const int bracket = find_node(m, "bracket"), post = find_node(m, "post");
  ASSERT_GE(machine, 0);
  ASSERT_GE(axle, 0);
  ASSERT_GE(bracket, 0);
  ASSERT_GE(post, 0);
  EXPECT_EQ(m.roots()[0].node, machine);
  // Every node after the nodes it places.
  for (std::size_t i = 0; i < m.nodes().size(); ++i) {
    for (const STEP_COMPONENT& c : m.nodes()[i].components) EXPECT_LT(c.node, static_cast<int>(i));
  }
  const STEP_NODE& top = m.nodes()[static_cast<std::size_t>(machine)];
  ASSERT_EQ(top.components.size(), 2u);
  EXPECT_EQ(top.components[0].node, axle);
  EXPECT_EQ(top.components[1].node, post);
  const STEP_NODE& inner = m.nodes()[static_cast<std::size_t>(axle)];
  ASSERT_EQ(inner.components.size(), 2u);
  EXPECT_EQ(inner.components[0].node, bracket);
  EXPECT_EQ(inner.components[1].node, bracket);
  EXPECT_EQ(inner.components[0].name, "");  // the file names it not
  EXPECT_EQ(inner.components[1].name, "upper");
  // The upper bracket's corner in the machine's frame: its own placement
  // first, then the axle's.
  expect_near(POSITION3(10, 20, 30) * inner.components[1].placement * top.components[0].placement,
              POSITION3(10, 20, 180));
  const STEP_NODE& cyl = m.nodes()[static_cast<std::size_t>(post)];
  ASSERT_TRUE(cyl.has_color);
  EXPECT_NEAR(cyl.b, 1.0, 1e-6);
  EXPECT_NEAR(cyl.r, 0.0, 1e-6);
  ASSERT_NE(cyl.body, nullptr);
  EXPECT_EQ(cyl.body->number_of_faces(), 3);
  EXPECT_NEAR(cyl.body->bound().upper().z(), 40.0, 1e-6);
}

TEST_F(StepModelTest, PlainPartFileGivesOnePart) {
  ASSERT_TRUE(write_plain_part(path("plain.step"), xcaf_box(4, 5, 6)));
  const STEP_MODEL m = read_step_model(path("plain.step"));
  ASSERT_EQ(m.nodes().size(), 1u);
  ASSERT_EQ(m.roots().size(), 1u);
  const STEP_NODE& n = m.nodes()[0];
  EXPECT_FALSE(n.assembly);
  EXPECT_FALSE(n.has_color);
  ASSERT_NE(n.body, nullptr);
  EXPECT_EQ(n.body->number_of_faces(), 6);
  expect_near(n.body->bound().upper(), POSITION3(4, 5, 6));
  // The flat reader agrees.
  std::vector<BODY*> flat = read_step(path("plain.step"));
  ASSERT_EQ(flat.size(), 1u);
  EXPECT_EQ(flat[0]->number_of_faces(), 6);
  flat[0]->lose();
}

TEST_F(StepModelTest, FacesWithoutSolidMakeAFacePart) {
  const TopoDS_Shape square = BRepBuilderAPI_MakeFace(gp_Pln(gp::XOY()), 0, 3, 0, 4).Shape();
  ASSERT_TRUE(write_plain_part(path("sheet.step"), square));
  const STEP_MODEL m = read_step_model(path("sheet.step"));
  ASSERT_EQ(m.nodes().size(), 1u);
  ASSERT_NE(m.nodes()[0].body, nullptr);
  EXPECT_EQ(m.nodes()[0].body->number_of_faces(), 1);
  EXPECT_TRUE(is_face_part(m.nodes()[0].body));
}

TEST_F(StepModelTest, FileWithoutFacesIsUnreadable) {
  const TopoDS_Shape edge = BRepBuilderAPI_MakeEdge(gp_Pnt(0, 0, 0), gp_Pnt(1, 2, 3)).Shape();
  ASSERT_TRUE(write_plain_part(path("wire.step"), edge));
  EXPECT_EQ(read_error(path("wire.step")), k2_error(K2_ERROR::UNREADABLE_FILE));
}

TEST_F(StepModelTest, BadFilesAreUnreadable) {
  const MOD_INFO* unreadable = k2_error(K2_ERROR::UNREADABLE_FILE);
  EXPECT_EQ(read_error(path("missing.step")), unreadable);
  EXPECT_EQ(read_error(dir_), unreadable);
  std::ofstream(path("empty.step")).close();
  EXPECT_EQ(read_error(path("empty.step")), unreadable);
  std::ofstream(path("junk.step")) << "ISO-10303-21;\nnot really\n";
  EXPECT_EQ(read_error(path("junk.step")), unreadable);
  // An assembly file cut short at a spread of lengths: a clean error or a
  // complete description, never a crash.
  ASSERT_TRUE(write_machine_assembly(path("machine.step")));
  std::ifstream in(path("machine.step"), std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  for (int k = 1; k < 32; ++k) {
    const std::size_t n = text.size() * static_cast<std::size_t>(k) / 32;
    std::ofstream(path("cut.step"), std::ios::binary) << text.substr(0, n);
    MOD_INFO* e = read_error(path("cut.step"));
    if (e != nullptr) {
      EXPECT_EQ(e, unreadable) << "cut at " << n;
    }
  }
}

// The text of the file with the first argument of every entity of `type`
// replaced by an enumeration where the schema wants a string, so that
// exactly those entities fail to load.
std::string with_broken(const std::string& text, const std::string& type) {
  return std::regex_replace(text, std::regex(type + "\\('[^']*'"), type + "(.BROKEN.");
}

TEST_F(StepModelTest, BrokenColoursCostTheColoursAndBrokenGeometryTheFile) {
  ASSERT_TRUE(write_frame_assembly(path("frame.step")));
  std::ifstream in(path("frame.step"), std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const std::string colour = text.find("COLOUR_RGB(") != std::string::npos ? "COLOUR_RGB"
                                                                           : "DRAUGHTING_PRE_DEFINED_COLOUR";
  const std::string no_colours = with_broken(text, colour);
  ASSERT_NE(no_colours, text) << "the file has no colour of that form";
  std::ofstream(path("colours.step"), std::ios::binary) << no_colours;
  const STEP_MODEL m = read_step_model(path("colours.step"));
  const int bracket = find_node(m, "bracket");
  ASSERT_GE(bracket, 0);
  EXPECT_FALSE(m.nodes()[static_cast<std::size_t>(bracket)].has_color);
  EXPECT_EQ(m.nodes()[static_cast<std::size_t>(bracket)].body->number_of_faces(), 6);
  std::vector<BODY*> flat = read_step(path("colours.step"));
  EXPECT_EQ(flat.size(), 2u);
  for (BODY* b : flat) b->lose();
  // The same damage to a point of the shape refuses the file.
  const std::string no_points = with_broken(text, "CARTESIAN_POINT");
  ASSERT_NE(no_points, text);
  std::ofstream(path("points.step"), std::ios::binary) << no_points;
  EXPECT_EQ(read_error(path("points.step")), k2_error(K2_ERROR::UNREADABLE_FILE));
  EXPECT_THROW(read_step(path("points.step")), TV_EXCEPTION);
  // The intact file keeps its colour.
  const STEP_MODEL intact = read_step_model(path("frame.step"));
  EXPECT_TRUE(intact.nodes()[static_cast<std::size_t>(find_node(intact, "bracket"))].has_color);
}

TEST_F(StepModelTest, LimitsRefuseDeepAndLargeStructures) {
  // Five assemblies, each inside the one before, the last holding a box.
  XCAF_TEST_FILE f;
  TDF_Label inner = f.part(xcaf_box(1, 1, 1), "cube");
  for (int level = 5; level >= 1; --level) {
    const TDF_Label a = f.assembly("level-" + std::to_string(level));
    f.place(a, inner, xcaf_translation(1, 0, 0), "at-" + std::to_string(level));
    inner = a;
  }
  ASSERT_TRUE(f.write(path("deep.step")));
  const MOD_INFO* refused = k2_error(K2_ERROR::BAD_PRODUCT_STRUCTURE);
  STEP_MODEL_LIMITS limits;
  limits.max_depth = 4;
  EXPECT_EQ(read_error(path("deep.step"), limits), refused);
  limits.max_depth = 5;
  EXPECT_EQ(read_error(path("deep.step"), limits), nullptr);
  // Five placements along x add up.
  const STEP_MODEL m = read_step_model(path("deep.step"));
  ASSERT_EQ(m.nodes().size(), 6u);
  POSITION3 p(0, 0, 0);
  for (int i = 0; i < 5; ++i) {
    const STEP_NODE& n = m.nodes()[static_cast<std::size_t>(i + 1)];
    ASSERT_EQ(n.components.size(), 1u);
    EXPECT_EQ(n.components[0].node, i);
    p = p * n.components[0].placement;
  }
  expect_near(p, POSITION3(5, 0, 0));

  ASSERT_TRUE(write_frame_assembly(path("frame.step")));
  limits = STEP_MODEL_LIMITS();
  limits.max_components = 1;
  EXPECT_EQ(read_error(path("frame.step"), limits), refused);
  limits.max_components = 2;
  EXPECT_EQ(read_error(path("frame.step"), limits), nullptr);
}

TEST_F(StepModelTest, AssemblyThatContainsItselfIsRefused) {
  ASSERT_TRUE(write_frame_assembly(path("frame.step")));
  std::ifstream in(path("frame.step"), std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // The instance "right" turned around: the part now holds the assembly
  // that holds the part.
  const std::regex right("(NEXT_ASSEMBLY_USAGE_OCCURRENCE\\('[^']*','right','[^']*',)(#[0-9]+),(#[0-9]+),");
  const std::string cyclic = std::regex_replace(text, right, "$1$3,$2,");
  ASSERT_NE(cyclic, text);
  std::ofstream(path("cyclic.step"), std::ios::binary) << cyclic;
  const MOD_INFO* e = read_error(path("cyclic.step"));
  EXPECT_TRUE(e == k2_error(K2_ERROR::UNREADABLE_FILE) || e == k2_error(K2_ERROR::BAD_PRODUCT_STRUCTURE))
      << (e == nullptr ? "read" : e->message());
}

TEST_F(StepModelTest, ReleasedBodiesStayWithTheCaller) {
  ASSERT_TRUE(write_frame_assembly(path("frame.step")));
  BODY* kept = nullptr;
  {
    STEP_MODEL m = read_step_model(path("frame.step"));
    STEP_MODEL moved = std::move(m);
    kept = moved.nodes()[0].body;
    ASSERT_NE(kept, nullptr);
    moved.release_bodies();
  }
  EXPECT_EQ(kept->number_of_faces(), 6);
  kept->lose();
}

}  // namespace
