// split_body_3d, BODY(SHELL*, resolution) and subshells.

#include "host/kernel/ops/split_body.h"

#include <gtest/gtest.h>

#include "host/base/mod_info.h"
#include "host/kernel/kernel_errors.h"
#include "host/kernel/ops/body_checker.h"
#include "host/kernel/ops/sample_bodies.h"
#include "host/kernel/topology/body.h"
#include "host/kernel/topology/face.h"
#include "host/kernel/topology/shell.h"
#include "kernel_fixture.h"

namespace {

class SplitBodyTest : public KernelTest {};

// A body of three cubes, one shell each; the middle one holds a subshell.
BODY* three_cubes() {
  BODY* body = make_triangle_cube(1.0);
  for (int i = 0; i < 2; ++i) {
    BODY* other = make_triangle_cube(2.0 + i);
    body->add_shell(other->shell(0));
    other->lose();
  }
  auto* sub = new SUBSHELL();
  sub->add_face(body->shell(1)->first_face());
  body->shell(1)->add_subshell(sub);
  return body;
}

TEST_F(SplitBodyTest, OneBodyPerShellInOrderWithTransformAndMarker) {
  BODY* body = three_cubes();
  body->set_transform(TRANSFORM3::translation(VECTOR3(1, 2, 3)));
  body->add_attribute(std::make_shared<FACE_PART_ATT>());
  SHELL* s0 = body->shell(0);
  SHELL* s1 = body->shell(1);
  SHELL* s2 = body->shell(2);
  std::vector<BODY*> bodies;
  ASSERT_EQ(split_body_3d(body, bodies), nullptr);
  ASSERT_EQ(bodies.size(), 3u);
  EXPECT_EQ(bodies[0], body);
  EXPECT_EQ(body->number_of_shells(), 1);
  EXPECT_EQ(body->shell(0), s0);
  EXPECT_EQ(bodies[1]->shell(0), s1);
  EXPECT_EQ(bodies[2]->shell(0), s2);
  for (BODY* b : bodies) {
    EXPECT_TRUE(check_body(b).ok());
    EXPECT_EQ(b->number_of_faces(), 12);
    EXPECT_TRUE(b->transform() == body->transform());
    EXPECT_TRUE(is_face_part(b));
    EXPECT_EQ(b->resabs(), body->resabs());
  }
  // The subshell went with its shell.
  ASSERT_NE(s1->first_subshell(), nullptr);
  EXPECT_EQ(s1->first_subshell()->body(), bodies[1]);
  for (BODY* b : bodies) b->lose();
}

TEST_F(SplitBodyTest, OneShellStaysAndNoShellIsRefused) {
  BODY* cube = make_triangle_cube(1.0);
  std::vector<BODY*> bodies;
  ASSERT_EQ(split_body_3d(cube, bodies), nullptr);
  ASSERT_EQ(bodies.size(), 1u);
  EXPECT_EQ(bodies[0], cube);
  cube->lose();
  BODY* empty = new BODY();
  EXPECT_EQ(split_body_3d(empty, bodies), k2_error(K2_ERROR::EMPTY_BODY));
  EXPECT_TRUE(bodies.empty());
  EXPECT_EQ(split_body_3d(nullptr, bodies), k2_error(K2_ERROR::MISSING_GEOMETRY));
  empty->lose();
}

TEST_F(SplitBodyTest, BodyAroundAShellTakesItAndRefusesASubshell) {
  BODY* body = three_cubes();
  SHELL* s2 = body->shell(2);
  auto* b = new BODY(s2, 0.5);
  EXPECT_EQ(body->number_of_shells(), 2);
  EXPECT_EQ(s2->body(), b);
  EXPECT_EQ(b->resabs(), 0.5);
  SUBSHELL* sub = body->shell(1)->first_subshell();
  try {
    new BODY(sub, 0.5);
    ADD_FAILURE() << "a subshell became the shell of a body";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), k2_error(K2_ERROR::BAD_TOPOLOGY));
  }
  try {
    new BODY(nullptr, -1.0);
    ADD_FAILURE() << "a negative resolution was taken";
  } catch (const TV_EXCEPTION& e) {
    EXPECT_EQ(e.info(), k2_error(K2_ERROR::WRONG_TYPE));
  }
  EXPECT_EQ(sub->parent(), body->shell(1));
  b->lose();
  body->lose();
}

TEST_F(SplitBodyTest, SubshellsDetachAttachAndDestroy) {
  BODY* body = three_cubes();
  SHELL* s1 = body->shell(1);
  SUBSHELL* sub = s1->first_subshell();
  EXPECT_EQ(s1->number_of_all_faces(), 12);
  EXPECT_TRUE(sub->detach());
  EXPECT_FALSE(sub->detach());
  EXPECT_EQ(sub->parent(), nullptr);
  EXPECT_EQ(sub->body(), nullptr);
  EXPECT_EQ(s1->number_of_all_faces(), 11);
  EXPECT_EQ(body->number_of_faces(), 35);
  // Its face still shares edges with the body's faces, which is why a
  // detached subshell is only ever a step before attaching or destroying it.
  body->shell(2)->add_subshell(sub);
  EXPECT_EQ(sub->body(), body);
  EXPECT_EQ(body->shell(2)->number_of_all_faces(), 13);
  EXPECT_TRUE(check_body(body).ok());
  sub->lose();
  EXPECT_EQ(body->number_of_faces(), 35);
  EXPECT_TRUE(check_body(body).ok());
  body->lose();
}

}  // namespace
