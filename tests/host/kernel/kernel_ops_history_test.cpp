// Kernel operations through the history: recovering a noted state brings
// back shells, subshells, faces, loops and colours exactly, and going
// forward again redoes the operations.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "host/kernel/entity/entity.h"
#include "host/kernel/history/history.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/merge_faces.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/ops/split_body.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/coedge.h"
#include "host/kernel/topology/edge.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/loop.h"
#include "host/kernel/topology/shell.h"
#include "host/kernel/topology/topology.h"
#include "host/kernel/topology/vertex.h"
#include "kernel_fixture.h"
#include "support/split_bodies.h"

namespace {

class KernelOpsHistoryTest : public KernelTest {};

// Everything a body is made of, by sysid, in order: shells and their
// subshells, faces with surface, sense and colour, loops with their coedges'
// edges and senses, and each edge's vertices.
void dump_shell(const SHELL* s, std::ostringstream& out) {
  out << "shell " << s->sysid() << " type " << s->shell_type() << " {";
  std::vector<COEDGE*> ring;
  for (const FACE* f = s->first_face(); f != nullptr; f = f->next_in_shell()) {
    out << " face " << f->sysid() << " sf " << f->geometry()->sysid() << (f->sense() ? " rev" : "");
    double r, g, b;
    if (f->get_color(r, g, b)) out << " color " << r << "," << g << "," << b;
    for (const LOOP* l = f->loop(); l != nullptr; l = l->next()) {
      out << " loop " << l->sysid() << " t" << l->loop_type() << " [";
      TOPOLOGY::ring(l->start(), ring);
      for (const COEDGE* c : ring) {
        out << " " << c->sysid() << ":" << c->edge()->sysid() << (c->sense() ? "-" : "+") << "("
            << c->edge()->start()->sysid() << ">" << c->edge()->end()->sysid() << ")";
      }
      out << " ]";
    }
  }
  for (const SUBSHELL* sub = s->first_subshell(); sub != nullptr; sub = sub->next_subshell()) {
    out << " sub ";
    dump_shell(sub, out);
  }
  out << " }";
}

std::string dump(const BODY* b) {
  std::ostringstream out;
  out << "body " << b->sysid();
  for (const SHELL* s : b->shells()) dump_shell(s, out);
  return out.str();
}

TEST_F(KernelOpsHistoryTest, ColourMergeAndSplitComeBackExactly) {
  HISTORY& h = HISTORY::instance();
  BODY* body = make_cut_holed_block();
  // A second shell to split off, and a facet set under the first.
  BODY* cube = make_triangle_cube(1.0);
  body->add_shell(cube->shell(0));
  cube->lose();
  auto* sub = new SUBSHELL();
  sub->add_face(body->shell(1)->first_face());
  sub->add_face(body->shell(1)->last_face());
  body->shell(1)->add_subshell(sub);
  body->shell(0)->first_face()->set_color(0, 1, 0);
  const std::string before = dump(body);
  const std::uint64_t body_id = body->sysid();
  const HISTORY::STATE_ID noted = h.note_state();

  FACE* painted = body->shell(0)->last_face();
  painted->set_color(1, 0, 0);
  painted->remove_attribute(COLOR_ATT::kName);
  body->shell(0)->first_face()->remove_attribute(COLOR_ATT::kName);
  MERGE_3D_RESULT merged;
  ASSERT_EQ(merge_3d(body, {.ignore_attributes = true}, &merged), nullptr);
  ASSERT_GT(merged.faces_removed, 0);
  std::vector<BODY*> bodies;
  ASSERT_EQ(split_body_3d(body, bodies), nullptr);
  ASSERT_EQ(bodies.size(), 2u);
  const std::uint64_t split_id = bodies[1]->sysid();
  sub->detach();
  sub->lose();
  const std::string after = dump(body);
  ASSERT_NE(after, before);

  ASSERT_TRUE(h.recover_state(noted));
  ASSERT_TRUE(ENTITY::is_live(body, body_id));
  EXPECT_EQ(dump(body), before);
  EXPECT_TRUE(check_body(body).ok());
  EXPECT_EQ(ENTITY::lookup(split_id), nullptr) << "the split-off body outlived the undo";
  EXPECT_EQ(body->number_of_faces(), 28);

  // Forward again: the merge, the split and the removed subshell are back.
  ASSERT_TRUE(h.recover_state(h.newest_state()));
  EXPECT_EQ(dump(body), after);
  EXPECT_TRUE(check_body(body).ok());
  BODY* split = static_cast<BODY*>(ENTITY::lookup(split_id));
  ASSERT_NE(split, nullptr);
  EXPECT_TRUE(check_body(split).ok());
  split->lose();
  body->lose();
}

TEST_F(KernelOpsHistoryTest, UndoOfAMergeRestoresHandlesOfTheJoinedFaces) {
  HISTORY& h = HISTORY::instance();
  BODY* tube = make_split_tube(2.0, 3.0, 16, true, 1e-8);
  FACE* second = tube->shell(0)->last_face();
  const std::uint64_t second_id = second->sysid();
  const std::string before = dump(tube);
  const HISTORY::STATE_ID noted = h.note_state();
  ASSERT_EQ(merge_3d(tube, {}), nullptr);
  EXPECT_FALSE(ENTITY::is_live(second, second_id));
  ASSERT_TRUE(h.recover_state(noted));
  EXPECT_TRUE(ENTITY::is_live(second, second_id));
  EXPECT_EQ(second->shell(), tube->shell(0));
  EXPECT_EQ(dump(tube), before);
  tube->lose();
}

}  // namespace
