// STEP files whose entities refer to themselves, in a cycle or down a chain
// of a hundred thousand: OCCT follows such references recursively while it
// reads, so these files must be refused by every reader of the layer, as
// unreadable, before OCCT walks them, and the process must live on.

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "host/exchange/step_check.h"
#include "host/exchange/step_export.h"
#include "host/exchange/step_import.h"
#include "host/exchange/step_model.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/sample_bodies.h"
#include "tests/host/exchange/exchange_fixture.h"

namespace {

class StepReferenceTest : public ExchangeTest {
 protected:
  // A valid file of a block with a hole, as text.
  std::string block_text() {
    BODY* block = make_bored_block(40, 30, 10, 5, 8);
    write_step({{block, TRANSFORM3(), "block", false, 0, 0, 0}}, path("block.step"));
    block->lose();
    return text_of("block.step");
  }

  // Every reader of the layer refuses the text as an unreadable file.
  void expect_refused(const std::string& text) {
    std::ofstream(path("bad.step"), std::ios::binary) << text;
    expect_unreadable([&] { read_step(path("bad.step")); }, "read_step");
    expect_unreadable([&] { read_step_model(path("bad.step")); }, "read_step_model");
    expect_unreadable([&] { check_step_file(path("bad.step")); }, "check_step_file");
    EXPECT_EQ(assertions(), 0u);
  }

  template <class F>
  static void expect_unreadable(F read, const char* who) {
    try {
      read();
      ADD_FAILURE() << who << " read the file";
    } catch (const TV_EXCEPTION& e) {
      EXPECT_EQ(e.info(), k2_error(K2_ERROR::UNREADABLE_FILE)) << who;
    }
  }
};

// Files that tie references into a cycle. OCCT holds its entities by
// reference count, so the entities of such a file, refused unread, are never
// freed; the sanitizer run gives these tests the suppression of leaks made in
// OCCT's parser (tests/CMakeLists.txt).
class StepReferenceCyclesTest : public StepReferenceTest {};
// Chains without cycles, which free everything.
class StepReferenceChainsTest : public StepReferenceTest {};

struct ORIENTED_EDGE_USE {
  std::string name;     // "#38"
  std::string element;  // "#39": the edge it orients
  std::size_t element_at = 0;
};

// The oriented edges of the file, in order.
std::vector<ORIENTED_EDGE_USE> oriented_edges(const std::string& text) {
  static const std::regex use(R"((#\d+)\s*=\s*ORIENTED_EDGE\('[^']*',\*,\*,(#\d+),)");
  std::vector<ORIENTED_EDGE_USE> out;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), use); it != std::sregex_iterator();
       ++it) {
    out.push_back({(*it)[1].str(), (*it)[2].str(), static_cast<std::size_t>(it->position(2))});
  }
  return out;
}

TEST_F(StepReferenceChainsTest, TheUntouchedFileReads) {
  const std::string text = block_text();
  ASSERT_GT(oriented_edges(text).size(), 10u);
  std::ofstream(path("good.step"), std::ios::binary) << text;
  std::vector<BODY*> bodies = read_step(path("good.step"));
  ASSERT_EQ(bodies.size(), 1u);
  for (BODY* b : bodies) b->lose();
  EXPECT_EQ(check_step_file(path("good.step")).solids, 1);
}

TEST_F(StepReferenceCyclesTest, OrientedEdgeOfItselfIsRefused) {
  std::string text = block_text();
  const ORIENTED_EDGE_USE e = oriented_edges(text).front();
  text.replace(e.element_at, e.element.size(), e.name);
  expect_refused(text);
}

TEST_F(StepReferenceCyclesTest, TwoOrientedEdgesOfEachOtherAreRefused) {
  std::string text = block_text();
  const std::vector<ORIENTED_EDGE_USE> uses = oriented_edges(text);
  const ORIENTED_EDGE_USE a = uses[0], b = uses[1];
  // The later one first, so that the earlier offset stays right.
  text.replace(b.element_at, b.element.size(), a.name);
  text.replace(a.element_at, a.element.size(), b.name);
  expect_refused(text);
}

TEST_F(StepReferenceCyclesTest, NameDefinedTwiceThatTiesACycleIsRefused) {
  // A second definition of an edge's name as an oriented edge of one of the
  // oriented edges that use that edge: whichever definition the parser
  // keeps, references have to go round.
  std::string text = block_text();
  const ORIENTED_EDGE_USE e = oriented_edges(text).front();
  const std::string twice = e.element + " = ORIENTED_EDGE('',*,*," + e.name + ",.T.);\n";
  const std::size_t data = text.find("DATA;");
  ASSERT_NE(data, std::string::npos);
  text.insert(data + 6, twice);
  std::ofstream(path("twice.step"), std::ios::binary) << text;
  // Refused, or read into bodies that the kernel accepts; never a crash.
  try {
    for (BODY* b : read_step(path("twice.step"))) b->lose();
  } catch (const TV_EXCEPTION& refused) {
    EXPECT_EQ(refused.info(), k2_error(K2_ERROR::UNREADABLE_FILE));
  }
  EXPECT_EQ(assertions(), 0u);
}

TEST_F(StepReferenceCyclesTest, EntitiesOutsideTheModelThatTieACycleAreRefused) {
  // Reduced from a file the STEP fuzz target made of a cube: the faces and
  // edges stand in the header, where the model does not list them, and the
  // data section's loop refers to oriented edges through them. OCCT's model
  // check followed the edges round until the stack ran out; the references of
  // entities the model does not list count as well.
  const std::string text = R"STEP(ISO-10303-21;
HEADER;
#23 = UNCERTAINTY_MEASURE_WITH_UNIT(LENGTH_MEASURE(1.E-06),#20,
  'distance_accuracy_value','confusion accuracy');
#24 = PRODUCT_RELATED_PRODUCT_CATEGORY('part',$,(#7));
#25 = SHAPE_DEFINITION_REPRESENTATION(#26,#32);
#26 = PRODUCT_DEFINITION_SHAPE('','',#27);
#27 = PRODUCT_DEFINITION('design','',#28,#31);
#28 = PRODUCT_DEFINITION_FORMATION('','',#29);
#29 = PRODUCT('cube','cube','',(#30));
#30 = PRODUCT_CONTEXT('',#2,'mechanical');
#31 = PRODUCT_DEFINITION_CONTEXT('part definition',#2,'design');
#32 = ADVANCED_BREP_SHAPE_REPRESENTATION('',(#11,#33),#273);
#33 = MANIFOLD_SOLID_BREP('',#34);
#34 = CLOSED_SHELL('',(#35,#67,#90,#122,#145,#166,#182,#203,#219,#235,
    #246,#262));
#35 = ADVANCED_FACE('',(#36),#62,.T.);
#36 = FACE_BOUND('',#37,.T.);
#37 = EDGE_LOOP('',(#38,#48,#56));
#38 = ORIENTED_EDGE('',*,*,#39,.T.);
#39 = EDGE_CURVE('',#40,#42,#44,.T.);
#40 = VERTEX_POINT('',#41);
#41 = CARTESIAN_POINT('',(CYLINDRICAL_SURFACE0.,0.,0.));
#42 = VERTEX_POINT('',#43);
#43 = CARTESIAN_POINT('',(0.,10.,0.));
#44 = LINE('',#45,#46);
#45 = CARTESIAN_POINT('',(0.,0.,0.));
#46 = VECTOR('',#47,1.);
#47 = DIRECTION('',(0.,1.,0.));
#48 = ORIENTED_EDGE('',*,*,#49,.T.);
#49 = EDGE_CURVE('',#42,#50,#52,.T.);
#50 = VERTEX_POINT('',#51);
#51 = CARTESIAN_POINT('',(10.,10.,0.));
#52 = LINE('',#53,#54);
#53 = CARTESIAN_POINT('',(0.,10.,0.));
#54 = VECTOR('',#55,1.);
#55 = DIRECTION('',(1.,0.,0.));
#56 = ORIENTED_EDGE('',*,*,#57,.F.);
#58 = LINE('',#59,#60);
#59 = CARTESIAN_POINT('',(0.,0.,0.));
#60 = VECTOR('',#61,1.);
#61 = DIRECTION('',(0.707106781187,0.707106781187,0.));
#62 = PLANE('',#63);
#63 = AXIS2_PLACEMENT_3D('',#64,#65,#66);
#64 = CARTESIAN_POINT('',(0.,0.,0.));
#65 = DIRECTION('',(0.,0.,-1.));
#66 = DIRECTION('',(1.,0.,0.));
#67 = ADVANCED_FACE('',(#68),#85,.T.);
#68 = FACE_BOUND('',#69,.T.);
#69 = EDGE_LOOP('',(#70,#71,#79));
#70 = ORIENTED_EDGE('',*,*,#57,.T.);
#71 = ORIENTED_EDGE('',*,*,#72,.F.);
#72 = EDGE_CURVE('',#73,#50,#75,.T.);
#73 = VERTEX_POINT('',#74);
#74 = CARTESIAN_POINT('',(10.,0.,0.));
#75 = LINE('',#76,#77);
#76 = CARTESIAN_POINT('',(10.,0.,0.));
#77 = VECTOR('',#78,1.);
#78 = DIRECTION('',(0.,1.,0.));
#79 = ORIENTED_EDGE('',*,*,#80,.F.);
ENDSEC;
DATA;
#156 = EDGE_LOOP('',(#157,#158,#159,#165));
#157 = ORIENTED_EDGE('',*,*,#57,.T.);
#158 = ORIENTED_EDGE('',*,*,#126,.T.);
#159 = ORIENTED_EDGE('',*,*,#160,.F.);
#165 = ORIENTED_EDGE('',*,*,#80,.F.);
ENDSEC;
END-ISO-10303-21;)STEP";
  expect_refused(text + "\n");
}

TEST_F(StepReferenceCyclesTest, AGeometricEntityThatFailedToLoadIsRefusedBeforeTheModelCheck) {
  // A direction whose ratios don't load has none; OCCT's model check reads
  // them without looking. The file is refused before that check runs.
  std::string text = block_text();
  const std::size_t at = text.find("DIRECTION('',(");
  ASSERT_NE(at, std::string::npos);
  text.replace(at, 14, "DIRECTION('',$,(");
  expect_refused(text);
}

TEST_F(StepReferenceChainsTest, ChainOfAHundredThousandOrientedEdgesIsRefused) {
  std::string text = block_text();
  const ORIENTED_EDGE_USE e = oriented_edges(text).front();
  // The first oriented edge orients the head of a chain of oriented edges,
  // the last of which orients the real edge.
  const int length = 100000;
  std::string chain;
  for (int i = 0; i < length; ++i) {
    chain += "#" + std::to_string(900000 + i) + " = ORIENTED_EDGE('',*,*,";
    chain += i + 1 < length ? "#" + std::to_string(900000 + i + 1) : e.element;
    chain += ",.T.);\n";
  }
  text.replace(e.element_at, e.element.size(), "#900000");
  const std::size_t end = text.rfind("ENDSEC;");
  ASSERT_NE(end, std::string::npos);
  text.insert(end, chain);
  expect_refused(text);
}

TEST_F(StepReferenceChainsTest, ShortChainOfOrientedEdgesIsNoReasonToRefuse) {
  // The schema lets an oriented edge orient another; three deep is far from
  // any limit, and the file is read (OCCT makes no solid of it, but that is
  // its reading of the shape, not a refusal).
  std::string text = block_text();
  const ORIENTED_EDGE_USE e = oriented_edges(text).front();
  const std::string chain = "#900000 = ORIENTED_EDGE('',*,*,#900001,.T.);\n"
                            "#900001 = ORIENTED_EDGE('',*,*," + e.element + ",.T.);\n";
  text.replace(e.element_at, e.element.size(), "#900000");
  text.insert(text.rfind("ENDSEC;"), chain);
  std::ofstream(path("short.step"), std::ios::binary) << text;
  EXPECT_NO_THROW(check_step_file(path("short.step")));
}

}  // namespace
