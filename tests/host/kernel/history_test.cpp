// The state manager: noted states come back exactly, forward again until the
// future is cut, and memory is given back when no state needs it.

#include <map>
#include <vector>

#include "host/kernel/geometry/plane.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "kernel_fixture.h"

namespace {

// What a test compares entity by entity: each face's sysid with its shell's
// sysid, its colour and whether it is alive.
struct FACE_RECORD {
  std::uint64_t shell = 0;
  bool alive = false;
  bool coloured = false;
  double r = 0, g = 0, b = 0;
  bool operator==(const FACE_RECORD& o) const {
    return shell == o.shell && alive == o.alive && coloured == o.coloured && r == o.r &&
           g == o.g && b == o.b;
  }
};

using SNAPSHOT = std::map<std::uint64_t, FACE_RECORD>;

SNAPSHOT snapshot(const std::vector<std::pair<FACE*, std::uint64_t>>& faces) {
  SNAPSHOT s;
  for (auto [f, id] : faces) {
    FACE_RECORD r;
    r.alive = ENTITY::is_live(f, id);
    if (r.alive) {
      r.shell = f->shell() != nullptr ? f->shell()->sysid() : 0;
      r.coloured = f->get_color(r.r, r.g, r.b);
    }
    s[id] = r;
  }
  return s;
}

std::vector<std::pair<FACE*, std::uint64_t>> faces_of(BODY* body) {
  std::vector<std::pair<FACE*, std::uint64_t>> out;
  body->scan_faces(
      [](FACE* f, void* arg) {
        static_cast<std::vector<std::pair<FACE*, std::uint64_t>>*>(arg)->emplace_back(f, f->sysid());
        return SCAN_CONTINUE;
      },
      &out);
  return out;
}

class HistoryTest : public KernelTest {};

TEST_F(HistoryTest, RecoverBringsBackShellsSubshellsColoursAndDestroyedFaces) {
  HISTORY& h = HISTORY::instance();
  BODY* body = make_triangle_cube(10);
  const auto faces = faces_of(body);
  ASSERT_EQ(faces.size(), 12u);
  const auto noted = h.note_state();
  const SNAPSHOT before = snapshot(faces);
  SHELL* shell = body->shell(0);
  const int all_before = shell->number_of_all_faces();

  // Change everything the state manager must undo.
  auto* sub = new SUBSHELL();
  shell->add_subshell(sub);
  sub->add_face(faces[0].first);
  sub->add_face(faces[1].first);
  faces[2].first->set_color(1, 0, 0);
  faces[3].first->set_color(0, 1, 0);
  faces[3].first->set_transparency(0.5);
  faces[4].first->lose();
  faces[5].first->lose();
  const std::uint64_t sub_id = sub->sysid();
  const SNAPSHOT after = snapshot(faces);
  EXPECT_NE(before, after);
  EXPECT_FALSE(ENTITY::is_live(faces[4].first, faces[4].second));
  EXPECT_EQ(shell->number_of_all_faces(), all_before - 2);

  ASSERT_TRUE(h.recover_state(noted));
  EXPECT_EQ(snapshot(faces), before);
  EXPECT_EQ(ENTITY::lookup(sub_id), nullptr);
  EXPECT_EQ(shell->first_subshell(), nullptr);
  EXPECT_EQ(shell->number_of_all_faces(), all_before);
  double t = 0;
  EXPECT_FALSE(faces[3].first->get_transparency(t));
  const BODY_CHECK check = check_body(body);
  EXPECT_TRUE(check.ok()) << check.problems.front();
  EXPECT_EQ(check.euler(), 2);
  EXPECT_EQ(check.open_edges, 0);

  // And forward again to the changed state.
  ASSERT_TRUE(h.recover_state(noted + 1));
  EXPECT_EQ(snapshot(faces), after);
  EXPECT_EQ(ENTITY::lookup(sub_id), sub);
  EXPECT_TRUE(check_body(body).ok());
  body->lose();
}

TEST_F(HistoryTest, RmFutureCutsRedoAndANewChangeStartsAfresh) {
  HISTORY& h = HISTORY::instance();
  BODY* body = make_triangle_cube(1);
  const auto faces = faces_of(body);
  const auto s0 = h.note_state();
  faces[0].first->set_color(1, 1, 1);
  const auto s1 = h.note_state();
  faces[1].first->set_color(0, 0, 1);
  const auto s2 = h.note_state();
  ASSERT_EQ(s1, s0 + 1);
  ASSERT_EQ(s2, s0 + 2);

  ASSERT_TRUE(h.recover_state(s0));
  EXPECT_TRUE(h.has_future());
  ASSERT_TRUE(h.recover_state(s2));  // forward is allowed while the future stands
  double r, g, b;
  EXPECT_TRUE(faces[1].first->get_color(r, g, b));
  ASSERT_TRUE(h.recover_state(s1));
  h.rm_future();
  EXPECT_FALSE(h.has_future());
  EXPECT_FALSE(h.recover_state(s2));
  EXPECT_FALSE(faces[1].first->get_color(r, g, b));

  // A new change after the cut, noted and undone.
  faces[2].first->lose();
  const auto s2b = h.note_state();
  EXPECT_EQ(s2b, s2);
  EXPECT_FALSE(ENTITY::is_live(faces[2].first, faces[2].second));
  ASSERT_TRUE(h.recover_state(s1));
  EXPECT_TRUE(ENTITY::is_live(faces[2].first, faces[2].second));
  EXPECT_TRUE(faces[0].first->get_color(r, g, b));
  EXPECT_TRUE(check_body(body).ok());
  body->lose();
}

TEST_F(HistoryTest, AChangeWhileAFutureStandsCutsIt) {
  HISTORY& h = HISTORY::instance();
  BODY* body = make_triangle_cube(1);
  const auto faces = faces_of(body);
  const auto s0 = h.note_state();
  faces[0].first->set_color(1, 0, 0);
  const auto s1 = h.note_state();
  h.recover_state(s0);
  faces[1].first->set_color(0, 1, 0);
  EXPECT_FALSE(h.has_future());
  EXPECT_FALSE(h.recover_state(s1 + 1));
  const auto s1b = h.note_state();
  double r, g, b;
  EXPECT_FALSE(faces[0].first->get_color(r, g, b));
  EXPECT_TRUE(faces[1].first->get_color(r, g, b));
  EXPECT_EQ(s1b, s1);
  body->lose();
}

TEST_F(HistoryTest, CurrentStateNotesUnnotedChanges) {
  HISTORY& h = HISTORY::instance();
  BODY* body = make_triangle_cube(1);
  const auto faces = faces_of(body);
  const auto s0 = h.current_state();
  EXPECT_FALSE(h.has_unnoted_changes());
  faces[0].first->set_color(1, 0, 0);
  EXPECT_TRUE(h.has_unnoted_changes());
  const auto s1 = h.current_state();
  EXPECT_EQ(s1, s0 + 1);
  EXPECT_EQ(h.note_state(), s1);  // nothing new: still the same state
  h.recover_state(s0);
  double r, g, b;
  EXPECT_FALSE(faces[0].first->get_color(r, g, b));
  body->lose();
}

TEST_F(HistoryTest, UnknownStatesAreRefused) {
  HISTORY& h = HISTORY::instance();
  const auto s = h.note_state();
  EXPECT_FALSE(h.recover_state(s + 5));
  EXPECT_EQ(h.position(), s);
}

TEST_F(HistoryTest, WhatIsMadeAndDestroyedInOneChangeSetIsFreedAtOnce) {
  const auto start = ENTITY::registered_count();
  BODY* body = make_triangle_cube(3);
  EXPECT_GT(ENTITY::registered_count(), start);
  body->lose();
  EXPECT_EQ(ENTITY::registered_count(), start);
  EXPECT_EQ(HISTORY::instance().dormant_count(), 0u);
}

TEST_F(HistoryTest, DestroyedEntitiesStayDormantUntilForgotten) {
  HISTORY& h = HISTORY::instance();
  const auto start = ENTITY::registered_count();
  BODY* body = make_triangle_cube(3);
  const auto body_id = body->sysid();
  h.note_state();
  const auto with_body = ENTITY::registered_count();
  body->lose();
  EXPECT_EQ(ENTITY::lookup(body_id), nullptr);
  EXPECT_EQ(ENTITY::registered_count(), with_body);  // kept for undo
  EXPECT_GT(h.dormant_count(), 0u);
  h.note_state();
  h.forget();
  EXPECT_EQ(h.dormant_count(), 0u);
  EXPECT_EQ(ENTITY::registered_count(), start);
}

TEST_F(HistoryTest, CuttingTheFutureFreesWhatOnlyTheFutureKnew) {
  HISTORY& h = HISTORY::instance();
  const auto start = ENTITY::registered_count();
  const auto s0 = h.note_state();
  BODY* body = make_triangle_cube(3);
  const auto body_id = body->sysid();
  h.note_state();
  h.recover_state(s0);
  EXPECT_EQ(ENTITY::lookup(body_id), nullptr);
  h.rm_future();
  EXPECT_EQ(ENTITY::registered_count(), start);
}

TEST_F(HistoryTest, OldStatesAreForgottenBeyondTheLimit) {
  HISTORY& h = HISTORY::instance();
  const auto old_limit = h.max_states();
  h.set_max_states(3);
  const auto start = ENTITY::registered_count();
  BODY* body = make_triangle_cube(1);
  const auto first = h.note_state();
  body->lose();
  for (int i = 0; i < 5; ++i) {
    BODY* b = make_triangle_cube(1);
    h.note_state();
    b->lose();
    h.note_state();
  }
  EXPECT_FALSE(h.recover_state(first));
  EXPECT_LE(h.newest_state() - h.oldest_state(), 3u);
  // Only the bodies still recoverable are kept.
  EXPECT_LT(ENTITY::registered_count() - start, 3u * 126u);  // a cube is 126 entities
  h.set_max_states(old_limit);
}

TEST_F(HistoryTest, SurfacesOfDestroyedFacesLiveAsLongAsTheyCanComeBack) {
  HISTORY& h = HISTORY::instance();
  BODY* body = make_triangle_cube(1);
  FACE* f = body->shell(0)->first_face();
  surface* sf = f->geometry();
  const auto sf_id = sf->sysid();
  h.note_state();
  f->lose();
  h.note_state();
  EXPECT_EQ(ENTITY::lookup(sf_id), sf);  // the dormant face still holds it
  body->lose();
  h.forget();
  EXPECT_EQ(ENTITY::lookup(sf_id), nullptr);
}

TEST_F(HistoryTest, RecoveredBodyKeepsItsTransformAndAttributes) {
  HISTORY& h = HISTORY::instance();
  BODY* body = make_triangle_cube(1);
  body->add_attribute(std::make_shared<FACE_PART_ATT>());
  const auto s0 = h.note_state();
  body->set_transform(TRANSFORM3::translation(VECTOR3(1, 2, 3)));
  body->remove_attribute(FACE_PART_ATT::kName);
  EXPECT_FALSE(is_face_part(body));
  h.recover_state(s0);
  EXPECT_TRUE(body->transform().is_identity());
  EXPECT_TRUE(is_face_part(body));
  body->lose();
}

}  // namespace
